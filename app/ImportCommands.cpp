#include "app/ImportCommands.h"

#include <QApplication>
#include <QProgressDialog>

#include "app/CommandTable.h"
#include "core/AppData.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "res/resource.h"
#include "store/SoundImport.h"

namespace importcommands {
namespace {

// A progress dialog that shows itself only when an import takes a while,
// and whose Cancel stops the import before its next record.
class ImportProgressDialog {
public:
    ImportProgressDialog(QWidget* owner, const QString& text) : m_dialog(text, QStringLiteral("Stop"), 0, 1, owner)
    {
        m_dialog.setWindowTitle(QStringLiteral("Navo import"));
        m_dialog.setWindowModality(Qt::WindowModal);
        m_dialog.setMinimumDuration(500);
        m_dialog.setAutoClose(false);
        m_dialog.setAutoReset(false);
    }
    ~ImportProgressDialog() { m_dialog.close(); }

    ImportProgress callback()
    {
        return [this](std::size_t done, std::size_t total) {
            m_dialog.setMaximum(static_cast<int>(total));
            m_dialog.setLabelText(m_label.arg(done).arg(total));
            m_dialog.setValue(static_cast<int>(done));
            return !m_dialog.wasCanceled();
        };
    }

private:
    QProgressDialog m_dialog;
    QString m_label = QStringLiteral("Importing %1 of %2...");
};

FileDialogRequest request(const std::string& title, const std::string& filter)
{
    FileDialogRequest chooser;
    chooser.open = true;
    chooser.title = title;
    chooser.filter = filter;
    chooser.fileMustExist = true;
    return chooser;
}

int listFor(const AppData& app)
{
    return app.CurrentListType >= kListDictation && app.CurrentListType <= kListVideo ? app.CurrentListType
                                                                                      : kListDictation;
}

void importStore(AppData& app, QWidget* owner, const Wiring& wiring)
{
    const std::optional<std::string> path =
        currentPrompt().chooseFile(request("Import Navo Data Store", kStoreFilter));
    if (!path)
        return;
    ImportReport report;
    {
        RecordImport import(app);
        import.setComponentMerge(wiring.mergeComponents);
        ImportProgressDialog progress(owner, QStringLiteral("Importing the data store..."));
        report = import.importStore(*path, progress.callback());
    }
    showReport(report);
    if (wiring.refill && report.imported > 0)
        wiring.refill(listFor(app));
}

void importRecordFiles(AppData& app, QWidget* owner, const Wiring& wiring, const char* title, const char* filter)
{
    const std::vector<std::string> paths = currentPrompt().chooseFiles(request(title, filter));
    if (paths.empty())
        return;
    ImportReport report;
    {
        RecordImport import(app);
        ImportProgressDialog progress(owner, QStringLiteral("Importing recordings..."));
        report = import.importRecordFiles(paths, progress.callback());
    }
    showReport(report);
    if (wiring.refill && report.imported > 0)
        wiring.refill(listFor(app));
}

void importSoundFiles(AppData& app, QWidget* owner, const Wiring& wiring, const char* title, const char* filter,
                      bool video)
{
    const std::vector<std::string> paths = currentPrompt().chooseFiles(request(title, filter));
    if (paths.empty())
        return;
    const int listType = video ? static_cast<int>(kListVideo) : listFor(app);
    ImportReport report;
    {
        RecordImport records(app);
        ImportProgressDialog progress(owner, QStringLiteral("Importing sound files..."));
        report = SoundImport(app, records).importFiles(paths, listType, progress.callback());
    }
    showReport(report);
    if (wiring.refill && report.imported > 0)
        wiring.refill(listType);
}

}  // namespace

void showReport(const ImportReport& report)
{
    const bool trouble = report.refused() || !report.failed.empty();
    AfxMessageBox(report.summary(), trouble ? MB_ICONEXCLAMATION : MB_ICONINFORMATION);
}

void registerCommands(CommandTable& commands, AppData& app, QWidget* owner, Wiring wiring)
{
    // Every import needs an open store to file into. (The menu's states are
    // set once, so this is asked when the command runs.)
    const auto storeOpen = [&app] {
        if (!app.DataStorePath.empty() && app.StoreUnusable == kStoreHealthy)
            return true;
        AfxMessageBox("No Navo data store is open to import into.", MB_ICONEXCLAMATION);
        return false;
    };
    commands.add(ID_IMPORT_DATASTORE, [&app, owner, wiring, storeOpen] {
        if (storeOpen())
            importStore(app, owner, wiring);
    });
    commands.add(ID_IMPORT_MESSAGE_FILE, [&app, owner, wiring, storeOpen] {
        if (storeOpen())
            importRecordFiles(app, owner, wiring, "Import Navo Message Files", kRecordFilter);
    });
    commands.add(ID_IMPORT_VIDEO_FILE, [&app, owner, wiring, storeOpen] {
        if (storeOpen())
            importRecordFiles(app, owner, wiring, "Import Navo Video Files", kVideoRecordFilter);
    });
    struct Sound {
        int id;
        const char* title;
        const char* filter;
        bool video;
    };
    static const Sound sounds[] = {
        {ID_IMPORT_WAV, "Import WAV Files", "Wave Files (*.wav)|*.wav|All Files (*.*)|*.*||", false},
        {ID_IMPORT_MP3, "Import MP3 Files", "MP3 Files (*.mp3)|*.mp3|All Files (*.*)|*.*||", false},
        {ID_IMPORT_WMA, "Import WMA Files", "Windows Media Audio (*.wma)|*.wma|All Files (*.*)|*.*||", false},
        {ID_IMPORT_OGG, "Import OGG Files", "Ogg Vorbis Files (*.ogg)|*.ogg|All Files (*.*)|*.*||", false},
        {ID_IMPORT_WMV, "Import WMV Files", "Windows Media Video (*.wmv)|*.wmv|All Files (*.*)|*.*||", true},
    };
    for (const Sound& sound : sounds)
        commands.add(sound.id, [&app, owner, wiring, storeOpen, &sound] {
            if (storeOpen())
                importSoundFiles(app, owner, wiring, sound.title, sound.filter, sound.video);
        });
}

}  // namespace importcommands
