// Bringing records in from elsewhere: every record of another data store, or
// record files (".vxz") saved on their own. Each record gets a new RecID, so
// nothing already here is overwritten, and goes in through RecordFiler.
// Records are filed in batches (a few dozen, or what came in within a
// moment), each batch in one transaction: an import cut short, stopped or
// crashed, leaves every record either whole in the store or not there at
// all, and loses at most the batch not yet filed. A record that cannot be
// filed on its own account is refused alone, by name. A record whose sound
// and texts the store already holds is skipped, so importing the same thing
// twice adds nothing the second time.
//
// A damaged store is refused as a whole before anything is filed: every
// record file in it is read and checked first. A damaged record file among
// several is refused on its own, by name; the others still come in.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "store/RecordFiler.h"

struct AppData;

struct ImportFailure {
    std::string what;    // the file, or the record ("00000012.vxz in Old.vxt")
    std::string reason;
};

struct ImportReport {
    // Empty when the import ran; otherwise why nothing was imported, naming
    // the file and the reason.
    std::string refusal;
    int imported = 0;
    int skipped = 0;  // already in the store: the same sound and texts
    std::vector<ImportFailure> failed;
    std::vector<long> recIds;  // of the records imported, in order
    std::vector<std::string> notes;  // what came of the phone book, templates and agendas

    bool refused() const { return !refusal.empty(); }
    // The text shown at the end: the counts, then each failure with its reason.
    std::string summary() const;
};

// Called before each item and once at the end (done == total); returning
// false stops the import before the next item (those filed stay filed).
using ImportProgress = std::function<bool(std::size_t done, std::size_t total)>;

// The phone book, templates and agendas of an imported store: sourceStore is
// the store imported, folder holds those of its components "Telvarine.vxb",
// ".vxc" and ".vxa" it has, extracted under their names. Merging them is
// another module's; it adds its failures to the report.
using ComponentMerge =
    std::function<void(const std::string& sourceStore, const std::string& folder, ImportReport* report)>;

class RecordImport {
public:
    explicit RecordImport(AppData& app);
    ~RecordImport();
    RecordImport(const RecordImport&) = delete;
    RecordImport& operator=(const RecordImport&) = delete;

    // Every live record of the store at sourcePath, then its components
    // through the merge given (none: they are left alone).
    ImportReport importStore(const std::string& sourcePath, const ImportProgress& progress = {});
    void setComponentMerge(ComponentMerge merge) { m_merge = std::move(merge); }

    // Record files on disk, each with the index line it carries.
    ImportReport importRecordFiles(const std::vector<std::string>& paths, const ImportProgress& progress = {});

    // A new record whose work files are in the workspace under
    // recording.baseName: its wave (or the wave is in recording.waveBytes),
    // and the extra members it names. Its
    // fields, duration, keywords and extra text are set; the RecID and the
    // family come here. Skipped (its work files removed) when the store
    // already holds it; otherwise queued and filed with the next batch. The
    // work files are this import's from now on: they are gone once the
    // batch is filed or refused. what names it in the report.
    void add(RecordingToFile recording, const std::string& what, ImportReport* report);
    // Files the records queued, in one transaction.
    void flush(ImportReport* report);

private:
    // One record's files as a record file holds them, in a folder.
    struct Prepared {
        std::string folder;
        std::string baseName;       // of the vxl member
        std::string waveExtension;  // ".wav" or ".vxw"
        std::vector<std::string> members;
        std::string line;           // the 401 bytes of the vxl member
    };
    // Reads folder as a record's members (the vxl member names the rest);
    // "" or the reason it is not a record.
    static std::string prepare(const std::string& folder, Prepared* record);
    // Moves the record's members into the workspace under a new base name
    // and adds it.
    void file(const Prepared& record, const std::string& what, ImportReport* report);

    struct Pending {
        RecordingToFile recording;
        std::string what;
        std::string text;     // textKey of its line
        std::string content;  // its content key, "" until needed
    };
    std::string contentOf(Pending& pending);
    bool isDuplicate(Pending& pending);
    std::string storedContentKey(long recId);
    void loadStoreTexts();
    void removeWorkFiles(const RecordingToFile& recording);

    AppData& m_app;
    ComponentMerge m_merge;
    bool m_storeRefused = false;
    bool m_textsLoaded = false;
    std::multimap<std::string, long> m_byText;        // the line without its RecID -> RecIDs here
    std::map<long, std::string> m_contentOf;          // RecID -> key of its sound and search text
    std::string m_scratch;                            // private folder in the workspace
    std::vector<Pending> m_pending;                   // queued, in order
    std::chrono::steady_clock::time_point m_firstPending;
    std::size_t m_pendingBytes = 0;                   // of sound queued in memory
};
