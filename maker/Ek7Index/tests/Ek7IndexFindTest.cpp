// Ek7IndexFind over real index files: words in every searched text, the
// narrowing by family, date and new messages, order and pages, changes seen
// at once, and an index written by the first format brought up to date.
#include "IndexFixture.h"

#include <sqlite3.h>

#include <algorithm>

namespace {

// A phone line: name in place 3, number in place 4 (a recorded call) or 5 (a
// message, with image 7 in place 11 when it is new).
std::string phoneLine(std::uint32_t recId, const std::string& type, const std::string& name,
                      const std::string& number, const std::string& start, bool newMessage)
{
    auto mark = [](std::string text) {
        std::replace(text.begin(), text.end(), ' ', '\xAC');
        return text;
    };
    char id[16];
    std::snprintf(id, sizeof id, "%08u", static_cast<unsigned>(recId));
    const bool message = type == "2";
    std::string line = std::string(id) + " " + type + " " + mark(name) + " " + (message ? "" : mark(number)) + " " +
                       (message ? mark(number) : "Call") + "   " + mark(start) + " " + mark(start) + " 00:01:00 " +
                       (newMessage ? "7" : "0") + " 0 ";
    line.append(400 - line.size(), ' ');
    return line + "\n";
}

}  // namespace

class FindTest : public IndexTest {
protected:
    std::vector<std::uint32_t> find(const char* words, unsigned families = 0, std::int64_t from = 0,
                                    std::int64_t to = 0, bool newOnly = false,
                                    Ek7IndexQuery::Order order = Ek7IndexQuery::Newest, std::uint64_t* total = nullptr)
    {
        Ek7IndexQuery query;
        query.words = words;
        query.families = families;
        query.from = from;
        query.to = to;
        query.newMessagesOnly = newOnly;
        query.order = order;
        std::vector<Ek7IndexHit> hits;
        EXPECT_EQ(Ek7IndexFind(m_index.c_str(), query, &hits, total), kEk7IndexOk);
        std::vector<std::uint32_t> ids;
        for (const Ek7IndexHit& hit : hits)
            ids.push_back(hit.recId);
        return ids;
    }

    void addPhone(std::uint32_t recId, const std::string& type, const std::string& name, const std::string& number,
                  const std::string& start, bool newMessage = false)
    {
        Ek7IndexEntry e = entry(recId, "", 401);
        e.recordType = keep(type).c_str();
        e.startTime = keep(start).c_str();
        e.line = keep(phoneLine(recId, type, name, number, start, newMessage)).c_str();
        ASSERT_NE(Ek7IndexAdd(&e), 0);
    }

    void addDictation(std::uint32_t recId, const std::string& subject, const std::string& comments,
                      const std::string& start)
    {
        Ek7IndexEntry e = entry(recId, "budget", 401, subject);
        e.extraText = keep(comments).c_str();
        e.startTime = keep(start).c_str();
        ASSERT_NE(Ek7IndexAdd(&e), 0);
    }
};

TEST_F(FindTest, FindsEveryTextByWordStartsAndNarrowsByFamilyDateAndNewMessages)
{
    addDictation(1, "Quarterly planning", "ask Ingrid about the lease", "03/01/2026 09:00:00");
    addDictation(2, "Holiday rota", " ", "15/06/2026 10:00:00");
    addPhone(3, "3", "Marguerite Okafor", "0161 496 0000", "20/06/2026 11:00:00");
    addPhone(4, "2", "Desmond Hale", "07700 900123", "21/06/2026 12:00:00", true);
    addPhone(5, "2", "Desmond Hale", "07700 900123", "01/02/2026 08:00:00", false);

    // Subject, comments (extra text), caller name, number, the mark comment
    // the fixture line keeps in place 7, each by the start of a word.
    EXPECT_EQ(find("quarterly"), std::vector<std::uint32_t>{1});
    EXPECT_EQ(find("plan"), std::vector<std::uint32_t>{1});
    EXPECT_EQ(find("ingr lease"), std::vector<std::uint32_t>{1});
    EXPECT_EQ(find("okafor"), std::vector<std::uint32_t>{3});
    EXPECT_EQ(find("900123"), (std::vector<std::uint32_t>{4, 5}));
    EXPECT_EQ(find("note"), (std::vector<std::uint32_t>{2, 1}));
    EXPECT_TRUE(find("quarterly okafor").empty());
    EXPECT_TRUE(find("OR").empty());

    // Families, dates (both ends included), new messages only.
    EXPECT_EQ(find("", kEk7FamilyPhone), (std::vector<std::uint32_t>{4, 3, 5}));
    EXPECT_EQ(find("", kEk7FamilyDictation | kEk7FamilyMeeting), (std::vector<std::uint32_t>{2, 1}));
    EXPECT_TRUE(find("", kEk7FamilyVideo).empty());
    EXPECT_EQ(find("", 0, 20260601000000, 20260620235959), (std::vector<std::uint32_t>{3, 2}));
    EXPECT_EQ(find("", 0, 20260621120000), std::vector<std::uint32_t>{4});
    EXPECT_EQ(find("desmond", 0, 0, 0, true), std::vector<std::uint32_t>{4});

    // Pages and the total of all matches (the ranking has its own test).
    addDictation(6, "lease lease", "lease", "01/01/2025 00:00:00");
    Ek7IndexQuery page;
    page.limit = 2;
    page.offset = 2;
    std::vector<Ek7IndexHit> hits;
    std::uint64_t total = 0;
    ASSERT_EQ(Ek7IndexFind(m_index.c_str(), page, &hits, &total), kEk7IndexOk);
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0].recId, 2u);  // newest first: 4, 3 | 2, 5 | 1, 6
    EXPECT_EQ(hits[1].recId, 5u);
    EXPECT_EQ(hits[0].line.substr(0, 8), "00000002");
    EXPECT_EQ(total, 6u);
}

// Words alone are ranked apart from the table: how often each word occurs,
// the rarer word weighing more; pages of the ranking; and past rankLimit
// matches, newest first with the count of all.
TEST_F(FindTest, RanksByFrequencyAndRarityPagesAndFallsBackToNewestWhenTooMany)
{
    for (std::uint32_t recId = 1; recId <= 4; ++recId)
        addDictation(recId, "ledger", " ", "01/01/2026 09:00:00");
    addDictation(11, "ledger audit audit", " ", "02/01/2026 09:00:00");
    addDictation(12, "ledger ledger audit", " ", "03/01/2026 09:00:00");
    addDictation(13, "audit", "ledger", "04/01/2026 09:00:00");
    // "audit" is in 3 of 7, "ledger" in all: 11 holding the rare word twice
    // comes before 12 holding the common one twice.
    EXPECT_EQ(find("audit ledger", 0, 0, 0, false, Ek7IndexQuery::Relevance),
              (std::vector<std::uint32_t>{11, 12, 13}));
    EXPECT_EQ(find("audit ledger", kEk7FamilyDictation, 0, 0, false, Ek7IndexQuery::Relevance),
              (std::vector<std::uint32_t>{11, 12, 13}));

    Ek7IndexQuery query;
    query.words = "ledg";
    query.limit = 2;
    query.offset = 1;
    std::vector<Ek7IndexHit> hits;
    std::uint64_t total = 0;
    ASSERT_EQ(Ek7IndexFind(m_index.c_str(), query, &hits, &total), kEk7IndexOk);
    ASSERT_EQ(hits.size(), 2u);  // 12 (twice) first, then the rest newest first
    EXPECT_EQ(hits[0].recId, 13u);
    EXPECT_EQ(hits[1].recId, 11u);
    EXPECT_EQ(hits[1].line.substr(0, 8), "00000011");
    EXPECT_EQ(total, 7u);

    query.rankLimit = 0;  // always ranked
    ASSERT_EQ(Ek7IndexFind(m_index.c_str(), query, &hits, &total), kEk7IndexOk);
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0].recId, 13u);
    EXPECT_EQ(total, 7u);
    query.rankLimit = 6;
    ASSERT_EQ(Ek7IndexFind(m_index.c_str(), query, &hits, &total), kEk7IndexOk);
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0].recId, 12u);
    EXPECT_EQ(hits[1].recId, 11u);
    EXPECT_EQ(total, 7u);
}

// Edits and deletions through the store are covered with the store; here the
// calls that change a part of an entry: comments alone, a line without its type.
TEST_F(FindTest, PartialChangesKeepEveryColumnInStep)
{
    addPhone(3, "3", "Marguerite Okafor", "0161 496 0000", "20/06/2026 11:00:00");
    Ek7IndexEntry comments{};
    comments.storeLocation1 = m_index.c_str();
    comments.recId = 3;
    comments.extraText = "tenancy renewal";
    ASSERT_NE(Ek7IndexSFS(&comments), 0);
    EXPECT_EQ(find("tenancy okafor"), std::vector<std::uint32_t>{3});

    // The type comes from the line itself: the new name is a name.
    Ek7IndexEntry renamed{};
    renamed.storeLocation1 = m_index.c_str();
    renamed.recId = 3;
    renamed.linePosition = 802;
    const std::string line = phoneLine(3, "3", "Priya Raman", "0161 496 0000", "20/06/2026 11:00:00", false);
    renamed.line = line.c_str();
    ASSERT_NE(Ek7IndexUpd(&renamed), 0);
    EXPECT_EQ(find("priya tenancy"), std::vector<std::uint32_t>{3});
    EXPECT_TRUE(find("okafor").empty());
    EXPECT_EQ(find("", kEk7FamilyPhone, 20260620000000, 20260620235959), std::vector<std::uint32_t>{3});
}

TEST_F(FindTest, AnIndexOfTheFirstFormatIsBroughtUpToDate)
{
    // The first format, as older Navo wrote it: no derived columns, search
    // over keywords, extra text and subject only.
    const char* firstFormat = R"sql(
PRAGMA application_id = 1164654409; PRAGMA user_version = 1;
CREATE TABLE entry(rec_id INTEGER PRIMARY KEY, record_type TEXT NOT NULL, start_time TEXT NOT NULL,
    line_position INTEGER NOT NULL, reserved INTEGER NOT NULL, keywords TEXT NOT NULL,
    extra_text TEXT NOT NULL, subject TEXT NOT NULL, line BLOB);
CREATE VIRTUAL TABLE entry_search USING fts5(keywords, extra_text, subject, content = 'entry',
    content_rowid = 'rec_id', tokenize = 'unicode61 remove_diacritics 2');
CREATE TRIGGER entry_search_add AFTER INSERT ON entry BEGIN
    INSERT INTO entry_search(rowid, keywords, extra_text, subject)
        VALUES (new.rec_id, new.keywords, new.extra_text, new.subject);
END;
)sql";
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(m_index.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, firstFormat, nullptr, nullptr, nullptr), SQLITE_OK);
    const std::string line = phoneLine(7, "2", "Desmond Hale", "07700 900123", "21/06/2026 12:00:00", true);
    sqlite3_stmt* insert = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db,
                                 "INSERT INTO entry VALUES (7, '2', '21/06/2026 12:00:00', 401, 0,"
                                 " 'Answer Machine Message', ' ', '07700 900123', ?1)",
                                 -1, &insert, nullptr),
              SQLITE_OK);
    sqlite3_bind_blob(insert, 1, line.data(), static_cast<int>(line.size()), SQLITE_TRANSIENT);
    ASSERT_EQ(sqlite3_step(insert), SQLITE_DONE);
    sqlite3_finalize(insert);
    sqlite3_close(db);

    // Reading leaves it as it is; the first search (or the opening of the
    // store, through Ek7IndexUpgrade) upgrades it.
    EXPECT_NE(read(7).find("Answer"), std::string::npos);
    EXPECT_EQ(find("desmond", kEk7FamilyPhone, 20260621000000, 20260621235959, true),
              std::vector<std::uint32_t>{7});
    EXPECT_EQ(find("answer"), std::vector<std::uint32_t>{7});
    EXPECT_EQ(Ek7IndexUpgrade(m_index.c_str()), kEk7IndexOk);

    // Afterwards a change keeps every column and search row in step.
    Ek7IndexEntry removal{};
    removal.storeLocation1 = m_index.c_str();
    removal.recId = 7;
    ASSERT_NE(Ek7IndexDel(&removal), 0);
    EXPECT_TRUE(find("desmond").empty());
    addDictation(8, "After the upgrade", " ", "01/07/2026 09:00:00");
    EXPECT_EQ(find("upgr"), std::vector<std::uint32_t>{8});

    // A file that was never an index is not touched by the upgrade.
    const std::string other = m_dir + "/other.db";
    ASSERT_EQ(sqlite3_open(other.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE t(x)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    const std::string before = bytesOf(other);
    EXPECT_EQ(Ek7IndexUpgrade(other.c_str()), kEk7IndexNotAnIndex);
    EXPECT_EQ(bytesOf(other), before);
}
