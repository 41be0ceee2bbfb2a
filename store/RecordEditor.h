// Editing the descriptive text of a filed record without touching its sound:
// the record is opened into the workspace, its subject and comments change,
// and the record file, its line and its index entry are written back.
#pragma once

#include <string>
#include <vector>

struct AppData;

struct EditableRecord {
    std::string recId;      // "%08d"
    int recordType = 0;
    std::string startTime;  // as shown (spaces, not 0xAC)
    std::string endTime;
    std::string duration;
    std::string keywords;
    std::string subject;
    std::string comments;
    bool locked = false;
    // Where it lives.
    long position = 0;
    std::string line;
    std::string recordFileName;
    std::string baseName;
};

class RecordEditor {
public:
    static constexpr int kLocked = 6;

    explicit RecordEditor(AppData& app);

    // 0, or the message code of what went wrong: 111 the record file cannot
    // be taken from the store, 112/113 it cannot be read, 6 it is locked
    // (the record is loaded all the same, for showing).
    int load(const std::string& recIdText, EditableRecord* record);

    // Writes the new subject and comments back. 0, 6 (locked), 109 (record
    // file or line not written) or 110 (index not updated).
    int save(const EditableRecord& record, const std::string& subject, const std::string& comments);

    // Replacing a record's line: the record's line becomes fields (as the
    // line's places, already cleaned), every workspace file that is a member
    // of its record file goes back into it, and its index entry follows.
    // The record's line work file and info file must be in the workspace
    // (load() leaves them there). A workspace file named newMember joins
    // the record file besides. 0, 109 or 110; on 0 record->line and
    // record->position are the new ones.
    int replaceLine(EditableRecord* record, const std::vector<std::string>& fields,
                    const std::string& newMember = "");

    // Removes the record's working copies from the workspace.
    void discard(const EditableRecord& record);

private:
    AppData& m_app;
};
