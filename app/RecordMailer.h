// Send selected records: the options dialog (152), the records taken out of
// the store into the workspace folder "mail", locked and compressed there
// as asked, handed to the mail composer, and removed again. The main window
// and the search results call it through MailService.
//
// The options and the compressor are seams (the real dialogs unless given)
// so that the whole command runs in tests without a window.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/ExportOptionsDialog.h"
#include "core/StartupServices.h"

class RecordMailer : public MailService {
public:
    static constexpr const char* kCaption = "Navo - Send email Options";
    // The folder of the workspace the copies are made in; it is removed
    // when the command ends.
    static constexpr const char* kFolderName = "mail";

    using AskOptions = std::function<std::optional<ExportOptions>(bool videoList, const ExportOptions& initial,
                                                                  QWidget* owner)>;
    using RunCompressor = std::function<void(const std::vector<std::string>& recordFiles, bool convert,
                                             bool compress, const std::string& workFolder, QWidget* owner)>;

    RecordMailer();
    RecordMailer(AskOptions askOptions, RunCompressor runCompressor);

    int sendRecords(AppData& app, const std::vector<std::string>& recordFileNames, QWidget* owner) override;

private:
    AskOptions m_askOptions;
    RunCompressor m_runCompressor;
};
