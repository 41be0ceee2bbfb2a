// Editing a filed dictation's subject and comments: the record file and its
// line change (search by the new words: RecordSearchTest); its sound does
// not; a locked record refuses.
#include <gtest/gtest.h>

#include "StoreFixture.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/DataStore.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"
#include "store/RecordEditor.h"
#include "store/RecordInfo.h"

class RecordEditorTest : public OpenStoreFixture {};

TEST_F(RecordEditorTest, SubjectAndCommentsChangeTheSoundDoesNot)
{
    fileDictation("Before");
    const long recId = fileDictation("Old subject", "bank letter", 12000);
    ASSERT_EQ(lastResult, 0);
    const std::string waveBefore = storedMember(recId, ".wav");

    RecordEditor editor(app);
    EditableRecord record;
    ASSERT_EQ(editor.load(indexline::recIdText(recId), &record), 0);
    EXPECT_EQ(record.subject, "Old subject");
    EXPECT_EQ(record.keywords, "bank letter");
    EXPECT_EQ(record.startTime, "22/11/2026 10:00:00");
    EXPECT_EQ(record.duration, "00:00:01");
    EXPECT_FALSE(record.locked);
    ASSERT_EQ(editor.save(record, "New subject with spaces", "Call back on Monday"), 0);
    editor.discard(record);

    const std::string line = family::readLine(app.TempDir, indexline::recIdText(recId), 0, record.position);
    EXPECT_EQ(indexline::field(line, 5), "New\xAC" "subject\xAC" "with\xAC" "spaces");
    EXPECT_EQ(line.size(), 401u);
    EXPECT_EQ(storedMember(recId, ".vxl").substr(0, 401), line);
    RecordInfo info;
    ASSERT_TRUE(RecordInfo::parse(storedMember(recId, ".vxs"), &info));
    EXPECT_EQ(info.extraText, "Call back on Monday");
    EXPECT_EQ(storedMember(recId, ".wav"), waveBefore);

    // Opened again, it shows what was saved; the work files were cleared.
    EditableRecord again;
    ASSERT_EQ(editor.load(indexline::recIdText(recId), &again), 0);
    EXPECT_EQ(again.subject, "New subject with spaces");
    EXPECT_EQ(again.comments, "Call back on Monday");
    editor.discard(again);
}

TEST_F(RecordEditorTest, LockedRecordRefusesEditing)
{
    const long recId = fileDictation("Sent locked");
    const std::string recordFile = RecordFiler::recordFileName(recId);
    ASSERT_EQ(ExtractFile(storePath().c_str(), recordFile.c_str(), root().c_str()), 0);
    std::vector<std::string> members;
    VXlistMembers((root() + "/" + recordFile).c_str(), &members);
    std::string vxs;
    for (const std::string& m : members)
        if (m.find(".vxs") != std::string::npos)
            vxs = m;
    RecordInfo info;
    ASSERT_EQ(recordinfo::readFromRecordFile(root() + "/" + recordFile, vxs, root(), &info), 0);
    info.locked = true;
    ASSERT_EQ(recordinfo::updateInRecordFile(root() + "/" + recordFile, vxs, root(), info), 0);
    ASSERT_EQ(RPS_LoadFile(storePath().c_str(), (root() + "/" + recordFile).c_str(), recordFile.c_str()), 0);

    RecordEditor editor(app);
    EditableRecord record;
    EXPECT_EQ(editor.load(indexline::recIdText(recId), &record), RecordEditor::kLocked);
    EXPECT_TRUE(record.locked);
    EXPECT_EQ(editor.save(record, "Changed", ""), RecordEditor::kLocked);
    EXPECT_EQ(indexline::field(family::readLine(app.TempDir, record.recId, 0, record.position), 5), "Sent\xAC" "locked");
    editor.discard(record);
}

TEST_F(RecordEditorTest, UnknownRecordCannotBeRead)
{
    RecordEditor editor(app);
    EditableRecord record;
    EXPECT_EQ(editor.load("00000999", &record), 112);
}
