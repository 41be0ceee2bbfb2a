#include "app/RecordMailer.h"

#include <filesystem>
#include <system_error>

#include "audio/CompressorDialog.h"
#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/ShowCodedMessage.h"
#include "platform/FileOps.h"
#include "platform/WaitCursor.h"
#include "store/RecordMail.h"

namespace {

constexpr int kExtractFailed = 111;  // "Error extracting Navo file from the data store"

// Whatever a command before left behind (a crash) goes; the folder is
// made afresh, private.
bool freshFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::remove_all(folder, error);
    if (!std::filesystem::create_directories(folder, error))
        return false;
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
    return !error;
}

}  // namespace

RecordMailer::RecordMailer()
    : RecordMailer(
          [](bool videoList, const ExportOptions& initial, QWidget* owner) {
              return ExportOptionsDialog::ask(kCaption, videoList, initial, owner);
          },
          [](const std::vector<std::string>& recordFiles, bool convert, bool compress, const std::string& workFolder,
             QWidget* owner) { CompressorDialog::run(recordFiles, convert, compress, workFolder, owner); })
{
}

RecordMailer::RecordMailer(AskOptions askOptions, RunCompressor runCompressor)
    : m_askOptions(std::move(askOptions)), m_runCompressor(std::move(runCompressor))
{
}

int RecordMailer::sendRecords(AppData& app, const std::vector<std::string>& recordFileNames, QWidget* owner)
{
    if (recordFileNames.empty())
        return -1;
    ExportOptions initial;
    // "Compress before sending" in Options is the box's first state.
    initial.compress = ProfileValues(app).compress();
    const std::optional<ExportOptions> options = m_askOptions(app.CurrentListType == kListVideo, initial, owner);
    if (!options)
        return -1;

    // The wait cursor while Navo works on its own; the dialogs in between
    // keep the ordinary one.
    std::optional<WaitCursor> wait(std::in_place);
    const std::string folder = fileops::joinPath(app.TempDir, kFolderName);
    std::vector<std::string> paths;
    int extracted = kExtractFailed;
    if (freshFolder(folder))
        extracted = recordmail::extractRecords(app.DataStorePath, folder, recordFileNames, &paths);
    if (extracted != 0) {
        wait.reset();
        ShowCodedMessage(extracted, MB_ICONEXCLAMATION);
        std::error_code error;
        std::filesystem::remove_all(folder, error);
        return -1;
    }
    std::vector<int> lockFailures;
    if (options->lock) {
        for (const std::string& path : paths) {
            if (const int locked = recordmail::lockRecord(path, folder); locked != 0)
                lockFailures.push_back(locked);
        }
    }
    wait.reset();
    for (int failure : lockFailures)
        ShowCodedMessage(failure, MB_ICONEXCLAMATION);
    if (options->convert || options->compress)
        m_runCompressor(paths, options->convert, options->compress, folder, owner);

    wait.emplace();
    const int result = recordmail::sendFiles(paths);
    wait.reset();
    if (result == recordmail::kCancelled)
        ShowCodedMessage(result, MB_ICONINFORMATION);
    else if (result == recordmail::kFailed)
        ShowCodedMessage(result, MB_ICONEXCLAMATION);

    // The clean-up of the extracted files: the composer has its own copies.
    std::error_code error;
    std::filesystem::remove_all(folder, error);
    return result;
}
