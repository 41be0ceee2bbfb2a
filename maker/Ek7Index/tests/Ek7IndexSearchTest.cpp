#include "IndexFixture.h"

#include <sqlite3.h>

#include <vector>

namespace {

using Ids = std::vector<std::uint32_t>;

class SearchTest : public IndexTest {
protected:
    void SetUp() override
    {
        IndexTest::SetUp();
        Ek7IndexEntry budget = entry(1, "Quarterly budget review", 401, "Board minutes");
        Ek7IndexEntry cafe = entry(2, "Lunch at the Caf\xE9 M\xFCller", 802, "Supplier call");
        Ek7IndexEntry site = entry(3, "site visit, budget (draft)", 1203, "Road works");
        site.extraText = "bring the plans";
        for (Ek7IndexEntry* e : {&budget, &cafe, &site})
            ASSERT_NE(Ek7IndexAdd(e), 0) << Ek7IndexLastError();
    }

    Ids find(const char* words)
    {
        Ids ids{999};
        const int code = Ek7IndexSearch(m_index.c_str(), words, &ids);
        EXPECT_EQ(code, kEk7IndexOk) << words;
        return ids;
    }

    // FTS5's own check that the search rows match the entries exactly.
    void expectSearchRowsInStep()
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open_v2(m_index.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
        const int rc = sqlite3_exec(
            db, "INSERT INTO entry_search(entry_search, rank) VALUES ('integrity-check', 1)",
            nullptr, nullptr, nullptr);
        EXPECT_EQ(rc, SQLITE_OK) << sqlite3_errmsg(db);
        sqlite3_close(db);
    }
};

}  // namespace

TEST_F(SearchTest, FindsByKeywordSubjectAndExtraTextIgnoringCaseAndAccents)
{
    EXPECT_EQ(find("budget"), (Ids{1, 3}));
    EXPECT_EQ(find("BUDGET draft"), (Ids{3}));
    EXPECT_EQ(find("minutes"), (Ids{1}));   // subject, field 5 of the line
    EXPECT_EQ(find("Road\xACworks"), (Ids{3}));
    EXPECT_EQ(find("plans"), (Ids{3}));     // extra text
    EXPECT_EQ(find("cafe muller"), (Ids{2}));
    EXPECT_EQ(find("budget lunch"), (Ids{}));
    EXPECT_EQ(find("  "), (Ids{}));
    EXPECT_EQ(find("bud"), (Ids{}));        // whole words only
}

TEST_F(SearchTest, QuerySyntaxInTheWordsIsOnlyText)
{
    EXPECT_EQ(find("(draft)"), (Ids{3}));
    EXPECT_EQ(find("budget OR lunch"), (Ids{}));
    EXPECT_EQ(find("budget NOT site"), (Ids{}));
    EXPECT_EQ(find("\"budget"), (Ids{1, 3}));
    EXPECT_EQ(find("budget*"), (Ids{1, 3}));
    EXPECT_EQ(find("keywords:budget"), (Ids{}));
    EXPECT_EQ(find("- ^ :"), (Ids{}));
}

TEST_F(SearchTest, FollowsDeleteUpdateAndStoredSearchFields)
{
    Ek7IndexEntry gone = entry(1, "");
    ASSERT_NE(Ek7IndexDel(&gone), 0);
    EXPECT_EQ(find("budget"), (Ids{3}));
    EXPECT_EQ(find("minutes"), (Ids{}));

    Ek7IndexEntry edited = entry(3, "harbour survey", 1203, "Road works");
    edited.extraText = nullptr;
    ASSERT_NE(Ek7IndexUpd(&edited), 0);
    EXPECT_EQ(find("budget"), (Ids{}));
    EXPECT_EQ(find("harbour"), (Ids{3}));
    EXPECT_EQ(find("plans"), (Ids{3}));  // extra text kept

    // A new subject through a new line, stored again with SFS.
    Ek7IndexEntry renamed = entry(2, "Lunch", 802, "Invoice query");
    ASSERT_NE(Ek7IndexUpd(&renamed), 0);
    ASSERT_NE(Ek7IndexSFS(&renamed), 0);
    EXPECT_EQ(find("supplier"), (Ids{}));
    EXPECT_EQ(find("invoice"), (Ids{2}));
    // SFS with nothing new rewrites the same rows.
    renamed.line = nullptr;
    renamed.keywords = nullptr;
    ASSERT_NE(Ek7IndexSFS(&renamed), 0);
    EXPECT_EQ(find("invoice lunch"), (Ids{2}));

    expectSearchRowsInStep();
}
