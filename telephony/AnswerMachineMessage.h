// One answer-machine message, from the moment the call is answered to its
// filing in the data store as an "Answer Machine Message" record (type "2").
//
// The RecID and the work-file names are taken when the call is answered, not
// when it ends: a call that never ends still uses up its RecID. Filing builds
// the twelve-place index line and hands the message to the store's filing
// door (RecordFiler, the phone family). A message the store cannot take is
// kept beside the store and filed when the store is next opened.
//
// No line library calls here: the caller's texts and the end time come in as
// values, so filing is tested without a telephone line.
#pragma once

#include <ctime>
#include <string>

struct AppData;

class AnswerMachineMessage {
public:
    // The line state block keeps each caller text in 80 bytes with its zero.
    static constexpr std::size_t kCallerTextMax = 79;
    static constexpr const char* kRecordType = "2";
    static constexpr const char* kKeywords = "Answer Machine Message";
    // The line library's own files for the recording, in the workspace.
    static constexpr const char* kBufferName = "xbuffer.wav";
    static constexpr const char* kDataName = "xdata.wav";

    // Answering: allocates the RecID, takes the DateStamp base name, the four
    // work-file paths, the start date text and time, and creates the "vxs"
    // work file empty. False when the store has no RecID left (nothing is
    // prepared) or that file cannot be created (the RecID is used up all the
    // same).
    bool prepare(AppData& app);
    // The same with the start time given (tests).
    bool prepareAt(AppData& app, std::time_t start);

    bool prepared() const { return m_recId > 0; }
    long recId() const { return m_recId; }
    const std::string& baseName() const { return m_baseName; }
    const std::string& wavePath() const { return m_wave; }    // "vxw": what the line library saves
    const std::string& linePath() const { return m_line; }    // "vxl"
    const std::string& infoPath() const { return m_info; }    // "vxs"
    const std::string& recordPath() const { return m_record; }  // "vxz"
    const std::string& startText() const { return m_startText; }
    std::time_t startTime() const { return m_startTime; }

    static std::string bufferPath(const std::string& workspace);
    static std::string dataPath(const std::string& workspace);

    // A caller text as it is filed: control characters become blanks, the
    // text is cut to kCallerTextMax bytes, and every blank becomes 0xAC.
    static std::string callerField(const std::string& text);

    // The index line of a message: RecID, "2", name, -, number, -, -, start,
    // end, duration, "7", 0; padded to 400 characters and "\n".
    static std::string indexLine(long recId, const std::string& callerName, const std::string& callerNumber,
                                 const std::string& startText, const std::string& endText,
                                 const std::string& duration);

    // Files the message in the store open in app. 0, or the code of the
    // message shown (108, 109, 110): the message is then kept beside the
    // store (kept() tells whether that worked). A wave the line library could
    // not save is filed as an empty sound, so that who called and when is
    // kept.
    int file(AppData& app, const std::string& callerName, const std::string& callerNumber);
    int fileAt(AppData& app, const std::string& callerName, const std::string& callerNumber, std::time_t end);
    bool kept() const { return m_kept; }

    // After file(): the line as filed and its position in the family file.
    const std::string& filedLine() const { return m_filedLine; }
    unsigned linePosition() const { return m_position; }

    // Deletes the work files and the line library's files of this message.
    void discardWorkFiles() const;

private:
    long m_recId = 0;
    std::string m_workspace;
    std::string m_baseName;
    std::string m_wave;
    std::string m_line;
    std::string m_info;
    std::string m_record;
    std::string m_startText;
    std::time_t m_startTime = 0;
    std::string m_filedLine;
    unsigned m_position = 0;
    bool m_kept = false;
};
