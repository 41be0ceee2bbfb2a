// Filing a recording: the one door through which every kind of record goes
// into the data store (dictations with their marks and picture, answer-machine
// messages, recorded calls, diary and meeting entries). It writes the work
// files, builds the index line, and puts the record file and its line into
// the store in one transaction (a failure or a crash leaves both or neither),
// then adds the index entry, which the next opening of the store rebuilds
// from the line if it could not be added.
//
// A filed recording's work files are deleted; a recording that could not be
// filed keeps them, so that the recorder can stay open with its sound and the
// answer machine can keep the message beside the store (KeptRecordings).
//
// The recorder supplies what only it knows through RecordingSource (moving to
// the end, the length, the wave itself); the rest is the same for every
// record type. Every call answers 0 or the code of the message shown.
#pragma once

#include <string>
#include <vector>

struct AppData;

// One recording about to be filed.
struct RecordingToFile {
    long recId = 0;
    std::string baseName;           // DateStamp: base name of the work files
    std::string waveExtension = ".wav";  // ".vxw" for a message the line library saved
    std::string attachment;         // full path of an attached file, or ""
    std::string replacedAttachment; // member dropped from the record file first, or ""
    char family = 'R';              // R, P, M, D, T or V: which save call files it
    // The line's fields in order, as plain texts (spaces and line breaks
    // allowed; they are cleaned when the line is built).
    std::vector<std::string> fields;
    std::string duration;           // the duration place; "" = from the source's length
    std::string keywords;           // searchable free text
    std::string extraText;          // " " when there is none
    // A re-recorded record keeps its RecID and its record file.
    bool reRecorded = false;
    std::string recordFileName;
    // The "vxs" work file is already there with the record's audit data (an
    // imported record): it is kept, and only stamped with this save.
    bool keepInfo = false;
    // Workspace files added to the record file once it is filed (marks,
    // a picture chosen after the first filing).
    std::vector<std::string> extraMembers;
    // saveBatch only: the wave itself, when it has no work file (an
    // imported sound); its line and search text then go into the record
    // file from memory too, and no work file of them is written.
    std::string waveBytes;
};

class RecordingSource {
public:
    virtual ~RecordingSource() = default;
    virtual bool fastForward() = 0;
    virtual long lengthMs() = 0;
    virtual void showDuration(const std::string& text) = 0;
    // Writes the recording as a wave file at path.
    virtual bool writeWave(const std::string& path) = 0;
};

class RecordFiler {
public:
    static constexpr int kMissingFile = 108;
    static constexpr int kRecordFileFailed = 109;
    static constexpr int kIndexFailed = 110;

    // The workspace and store of the application data block.
    explicit RecordFiler(const AppData& app);
    RecordFiler(std::string workspace, std::string storePath);

    // Work-file paths for a base name: the wave, the "vxl" line file and the
    // "vxs" search and audit file.
    static std::string wavePath(const std::string& workspace, const std::string& baseName,
                                const std::string& extension = ".wav");
    static std::string linePath(const std::string& workspace, const std::string& baseName);
    static std::string infoPath(const std::string& workspace, const std::string& baseName);

    // The record file name in the store for a RecID ("%08d.vxz").
    static std::string recordFileName(long recId);

    // Files the recording. 0, or the code of the message shown (108, 109,
    // 110). The duration field (10) is filled from the source's length
    // unless the recording brings its own.
    int save(RecordingToFile& recording, RecordingSource& source);

    // Files several new recordings in one store transaction, then their index
    // entries in one more. For recordings whose waves are already in the
    // workspace (imported ones): nothing is played or measured, and each
    // brings its duration. A recording that cannot be filed on its own
    // account (a work file missing, its RecID taken) is left out alone; when
    // the store refuses the transaction none of them is filed. Answers, for
    // each recording, what save() would have answered; no message is shown,
    // the caller reports. Work files go as after save().
    std::vector<int> saveBatch(std::vector<RecordingToFile>& recordings);

    // Whether a result of save() left the recording out of the store (its
    // work files are kept then); 110 is filed, its index entry to come.
    static bool notFiled(int result) { return result == kMissingFile || result == kRecordFileFailed; }

    // The work files of a recording (wave, line, search and audit file).
    static std::vector<std::string> workFiles(const std::string& workspace, const RecordingToFile& recording);

    // After save: the line's fields 1..14 as the list shows them, and the
    // line's position in its family file (0 when filing failed).
    const std::vector<std::string>& columns() const { return m_columns; }
    long linePosition() const { return m_position; }

private:
    int file(RecordingToFile& recording, RecordingSource& source);
    int fileNew(const RecordingToFile& recording, const std::string& line, const std::string& wave,
                const std::string& lineFile, const std::string& info);
    int fileAgain(const RecordingToFile& recording, const std::string& line, const std::string& lineFile);
    int addMembers(const RecordingToFile& recording);
    void dropMember(const std::string& recordFileName, const std::string& member);
    bool addToIndex(const RecordingToFile& recording, const std::string& line);
    void removeFromIndex(long recId);

    std::string m_workspace;
    std::string m_storePath;
    std::vector<std::string> m_columns;
    long m_position = 0;
};
