// Filing a recording: every recorder ends with this procedure. It writes the
// work files, builds the index line, puts the record file, its line and its
// index entry into the store, and whatever happens deletes the work files.
//
// The recorder supplies what only it knows through RecordingSource (moving to
// the end, the length, the wave itself); the rest is the same for every
// record type.
#pragma once

#include <string>
#include <vector>

struct AppData;

// One recording about to be filed.
struct RecordingToFile {
    long recId = 0;
    std::string baseName;           // DateStamp: base name of the work files
    std::string attachment;         // full path of an attached file, or ""
    std::string replacedAttachment; // member dropped from the record file first, or ""
    char family = 'R';              // R, P, M, D, T or V: which save call files it
    // The line's fields in order, as plain texts (spaces and line breaks
    // allowed; they are cleaned when the line is built).
    std::vector<std::string> fields;
    std::string keywords;           // searchable free text
    std::string extraText;          // " " when there is none
    // A re-recorded record keeps its RecID and its record file.
    bool reRecorded = false;
    std::string recordFileName;
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
    explicit RecordFiler(AppData& app);

    // Work-file paths for a base name: the wave, the "vxl" line file and the
    // "vxs" search and audit file.
    static std::string wavePath(const std::string& workspace, const std::string& baseName);
    static std::string linePath(const std::string& workspace, const std::string& baseName);
    static std::string infoPath(const std::string& workspace, const std::string& baseName);

    // The record file name in the store for a RecID ("%08d.vxz").
    static std::string recordFileName(long recId);

    // Files the recording. 0, or the code of the message shown (108, 109,
    // 110). The duration field (10) is filled from the source's length.
    int save(RecordingToFile& recording, RecordingSource& source);

    // After save: the line's fields 1..14 as the list shows them, and the
    // line's position in its family file (0 when filing failed).
    const std::vector<std::string>& columns() const { return m_columns; }
    long linePosition() const { return m_position; }

private:
    int file(RecordingToFile& recording, RecordingSource& source);
    int fileNew(const RecordingToFile& recording, const std::string& line, const std::string& wave,
                const std::string& lineFile, const std::string& info);
    int fileAgain(const RecordingToFile& recording, const std::string& line, const std::string& lineFile);
    void dropMember(const std::string& recordFileName, const std::string& member);
    bool addToIndex(const RecordingToFile& recording, const std::string& line);

    AppData& m_app;
    std::vector<std::string> m_columns;
    long m_position = 0;
};
