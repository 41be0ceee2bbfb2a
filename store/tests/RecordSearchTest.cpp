// Search through the paths that change records: filing (a dictation with
// comments and mark comments, a recorded call with the caller's name),
// editing, deleting, and an index the last session left behind that the
// next opening repairs.
#include <gtest/gtest.h>

#include "StoreFixture.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/IndexRepair.h"
#include "store/RecordDeletion.h"
#include "store/RecordEditor.h"
#include "store/RecordSearch.h"

class RecordSearchTest : public OpenStoreFixture {
protected:
    long file(char family, std::vector<std::string> fields, const std::string& keywords, const std::string& comments)
    {
        const NewRecordNames names = prepareNewRecording(app);
        fields[0] = indexlineRecId(names.recId);
        RecordingToFile rec;
        rec.recId = names.recId;
        rec.baseName = names.baseName;
        rec.family = family;
        rec.fields = std::move(fields);
        rec.keywords = keywords;
        rec.extraText = comments;
        FakeRecording source;
        RecordFiler filer(app);
        EXPECT_EQ(filer.save(rec, source), 0);
        return names.recId;
    }

    std::vector<long> ids(const std::string& words, unsigned families = 0, int fromDay = 0, int toDay = 0)
    {
        SearchRequest request;
        request.words = words;
        request.families = families;
        request.fromDay = fromDay;
        request.toDay = toDay;
        request.newestFirst = true;
        const SearchAnswer answer = RecordSearch(app.TempDir).run(request);
        EXPECT_EQ(answer.code, 0);
        EXPECT_EQ(answer.total, answer.rows.size());
        std::vector<long> out;
        for (std::size_t row = 0; row < answer.rows.size(); ++row)
            out.push_back(std::atol(answer.rows.recId(row).c_str()));
        return out;
    }
};

TEST_F(RecordSearchTest, FiledEditedAndDeletedRecordsAreFoundAsTheyAreNow)
{
    const long dictation = file('R', {"", "0", "0", "", "Quarterly planning", "", "chapter two", "03/01/2026 09:00:00",
                                      "03/01/2026 09:05:00", "", "", "0"},
                                "budget", "ask Ingrid about the lease");
    const long call = file('P', {"", "3", "Marguerite Okafor", "0161 496 0000", "Supplier call", "", "",
                                 "20/06/2026 11:00:00", "20/06/2026 11:10:00", "", "", "1"},
                           "", " ");

    EXPECT_EQ(ids("quarter"), std::vector<long>{dictation});
    EXPECT_EQ(ids("ingrid"), std::vector<long>{dictation});
    EXPECT_EQ(ids("chapter"), std::vector<long>{dictation});
    EXPECT_EQ(ids("okafor"), std::vector<long>{call});
    EXPECT_EQ(ids("0161"), std::vector<long>{call});
    EXPECT_EQ(ids("", kEk7FamilyPhone), std::vector<long>{call});
    EXPECT_EQ(ids("", 0, 20260101, 20260103), std::vector<long>{dictation});
    EXPECT_EQ(ids("", 0, 20260620, 20260620), std::vector<long>{call});
    EXPECT_EQ(ids(""), (std::vector<long>{call, dictation}));

    // The phone list's columns for phone results alone: name and number.
    SearchRequest phones;
    phones.families = kEk7FamilyPhone;
    const SearchAnswer answer = RecordSearch(app.TempDir).run(phones);
    ASSERT_EQ(answer.rows.size(), 1u);
    EXPECT_EQ(answer.listType, 3);
    EXPECT_EQ(answer.rows.cell(0, 1), "0161 496 0000");
    EXPECT_EQ(answer.rows.cell(0, 2), "Marguerite Okafor");

    // An edit is found by its new words at once, no longer by the old ones.
    RecordEditor editor(app);
    EditableRecord record;
    ASSERT_EQ(editor.load(indexline::recIdText(dictation), &record), 0);
    ASSERT_EQ(editor.save(record, "Annual review", "tenancy renewal"), 0);
    editor.discard(record);
    EXPECT_EQ(ids("annual"), std::vector<long>{dictation});
    EXPECT_EQ(ids("tenancy"), std::vector<long>{dictation});
    EXPECT_TRUE(ids("quarterly").empty());
    EXPECT_TRUE(ids("ingrid").empty());

    // A deleted record is gone from every search.
    ASSERT_EQ(deleteRecords(app, {indexline::recIdText(call)}), 0);
    EXPECT_TRUE(ids("okafor").empty());
    EXPECT_EQ(ids(""), std::vector<long>{dictation});
}

TEST_F(RecordSearchTest, AnIndexLostWithACrashIsRebuiltSearchableAtOpening)
{
    const long call = file('P', {"", "3", "Desmond Hale", "07700 900123", "Quote", "", "", "21/06/2026 12:00:00",
                                 "21/06/2026 12:01:00", "", "", "0"},
                           "", "wants the blue model");
    // The session ended before the index was saved: the workspace copy is
    // an empty index again, the family file and record file are in place.
    const std::string index = components::workspacePath(app.TempDir, components::kIndex);
    writeAll(index, "");
    EXPECT_TRUE(ids("desmond").empty());
    const indexrepair::Result repaired = indexrepair::reconcile(app.TempDir, app.DataStorePath);
    EXPECT_EQ(repaired.added, 1);
    EXPECT_EQ(ids("desmond"), std::vector<long>{call});
    EXPECT_EQ(ids("blue"), std::vector<long>{call});
    EXPECT_EQ(ids("", kEk7FamilyPhone, 20260621, 20260621), std::vector<long>{call});
}
