// The Navo Mixing Studio (dialog 140): the recordings of the store, the
// chosen one's stretch (sliders, spins, msec and hh:mm:ss fields), its index
// marks, the merge list, Play List and the button that builds the list and
// opens the Dictation Recorder on it. Layout from
// res/ui/MixingStudioDialog.ui; MixingStudio does the work.
#pragma once

#include <QColor>
#include <QDialog>

#include <functional>
#include <memory>
#include <string>

#include "audio/MixingStudio.h"

class QTimer;
class QTreeWidgetItem;
struct AppData;

namespace Ui {
class MixingStudioDialog;
}

class MixingStudioDialog : public QDialog {
    Q_OBJECT
public:
    // The text colour of a recording quality, as the main window's lists use.
    using QualityColour = std::function<QColor(int)>;

    // opener: what the build button does with "build.wav" (the main window
    // passes the Dictation Recorder).
    MixingStudioDialog(AppData& app, MixingStudio::RecorderOpener opener, QWidget* parent = nullptr,
                       QualityColour colour = {});
    ~MixingStudioDialog() override;

    MixingStudio& studio() { return m_studio; }
    // Fills the recordings list from the store.
    void loadRecordings();
    long extractFrom() const { return m_from; }
    long extractTo() const { return m_to; }

protected:
    void reject() override;

private:
    void wire();
    void refresh();
    void refreshRows();
    void refreshExtract();
    void choose(QTreeWidgetItem* item);
    void setFrom(long ms);
    void setTo(long ms);
    int selectedRow() const;

    MixingStudio m_studio;
    QualityColour m_colour;
    std::unique_ptr<Ui::MixingStudioDialog> m_ui;
    QTimer* m_progressTimer = nullptr;
    long m_from = 0;
    long m_to = 0;
    bool m_filling = false;
};

// Opens the studio modally over parent; the build opens the Dictation
// Recorder on it (Help through openHelp). 1 when a recording was filed from
// it, else 0.
int runMixingStudio(AppData& app, QWidget* parent, std::function<bool(const std::string&)> openHelp = {},
                    MixingStudioDialog::QualityColour colour = {});
