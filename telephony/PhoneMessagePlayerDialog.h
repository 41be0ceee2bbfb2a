// The Phone Message Player (dialog 138): plays a filed recording into the
// call in progress ("Play over the phone line", command 2114).
//
// On opening it takes the record file out of the store into the workspace
// and finds its sound; a recording whose quality is not 0 is converted to
// the line's form first (Ek7AcmConvert). Play: Ek7TapiPlayFile; Stop:
// Ek7TapiStopPlaying; Cancel: Ek7TapiStopPlaying and close. The record's
// work files are deleted from the workspace when it goes.
//
// Stop and Cancel stop the playing only, never Ek7TapiStop: that would end
// the line's recording of the call too, and a phone recorder recording the
// same call would lose the rest of it.
#pragma once

#include <QDialog>

#include <memory>
#include <string>
#include <vector>

struct AppData;
namespace Ui {
class PhoneMessagePlayerDialog;
}

class PhoneMessagePlayerDialog : public QDialog {
public:
    // recordFileName "%08d.vxz"; quality the record's recording quality.
    PhoneMessagePlayerDialog(AppData& app, std::string recordFileName, int quality, QWidget* parent = nullptr);
    ~PhoneMessagePlayerDialog() override;

    // Extracts (and converts) the recording: 0, or the code shown.
    int prepare();
    // The file played into the call.
    const std::string& playPath() const { return m_playPath; }

    // Runs it modally for the selected record: prepare, then exec.
    static void run(AppData& app, const std::string& recordFileName, int quality, QWidget* parent);

protected:
    void reject() override;

private:
    void play();
    void stop();
    void showButtons(bool playing);

    AppData& m_app;
    std::string m_recordFileName;
    int m_quality;
    std::unique_ptr<Ui::PhoneMessagePlayerDialog> m_ui;
    std::vector<std::string> m_workFiles;
    std::string m_playPath;
};
