#include "platform/Profile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

namespace {

class Profile : public ::testing::Test {
protected:
    std::string path(const char* name = "NAVO.ini") const
    {
        return QDir(m_dir.path()).filePath(QString::fromLatin1(name)).toStdString();
    }

    static void writeFile(const std::string& file, const std::string& bytes)
    {
        std::ofstream(file, std::ios::binary) << bytes;
    }

    static std::string readFile(const std::string& file)
    {
        std::ifstream in(file, std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        return bytes.str();
    }

    // A read into a 256-byte buffer with the program's "Bad" default.
    static std::string get(const std::string& file, const char* section, const char* key,
                           const char* def = "Bad")
    {
        char buffer[256];
        const DWORD n = GetPrivateProfileStringA(section, key, def, buffer, sizeof buffer, file.c_str());
        EXPECT_EQ(n, std::strlen(buffer));
        return buffer;
    }

    static bool put(const std::string& file, const char* section, const char* key, const char* value)
    {
        return WritePrivateProfileStringA(section, key, value, file.c_str()) == TRUE;
    }

    QStringList filesInFolder() const { return QDir(m_dir.path()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir m_dir;
};

const std::string kCrlfFile =
    "; Navo settings\r\n"
    "[Alice]\r\n"
    "RecQual = 1\r\n"
    "; hot keys are kept elsewhere\r\n"
    "PhWarn=Y\r\n"
    "\r\n"
    "[Bob]\r\n"
    "RecQual=2\r\n";

}  // namespace

TEST_F(Profile, MissingFileSectionOrKeyGivesTheDefault)
{
    EXPECT_EQ(get(path("none.ini"), "Alice", "RecQual"), "Bad");
    writeFile(path(), kCrlfFile);
    EXPECT_EQ(get(path(), "Carol", "RecQual"), "Bad");
    EXPECT_EQ(get(path(), "Alice", "Rings"), "Bad");
    EXPECT_EQ(get(path(), "Alice", "Rings", nullptr), "");
    EXPECT_EQ(get(path(), "Alice", "Rings", "Bad   "), "Bad");  // trailing blanks of the default go
    EXPECT_EQ(get(path(), "Alice", "RecQual"), "1");
    EXPECT_EQ(get(path(), "Bob", "RecQual"), "2");
}

TEST_F(Profile, NamesIgnoreCaseAndBlanksValuesLoseBlanksAndQuotes)
{
    writeFile(path(), "Stray=before any section\n"
                      "[J\xFCrgen]\n"
                      ";RecQual=9\n"
                      "  RecQual  =  3  \n"
                      "Title=\"  Navo Files  \"\n"
                      "Single='x'\n"
                      "Half=\"open\n"
                      "NoValue\n"
                      "Empty=\n"
                      "Path=C:\\a;b=c\n"
                      "[ Spaced ]\n"
                      "k=v\n");
    EXPECT_EQ(get(path(), "J\xDCRGEN", "recqual"), "3");
    EXPECT_EQ(get(path(), "  j\xFCrgen ", " RECQUAL "), "3");
    EXPECT_EQ(get(path(), "J\xFCrgen", "Title"), "  Navo Files  ");
    EXPECT_EQ(get(path(), "J\xFCrgen", "Single"), "x");
    EXPECT_EQ(get(path(), "J\xFCrgen", "Half"), "\"open");
    EXPECT_EQ(get(path(), "J\xFCrgen", "NoValue"), "Bad");
    EXPECT_EQ(get(path(), "J\xFCrgen", "Empty"), "");
    EXPECT_EQ(get(path(), "J\xFCrgen", "Path"), "C:\\a;b=c");
    EXPECT_EQ(get(path(), "J\xFCrgen", "Stray"), "Bad");
    EXPECT_EQ(get(path(), "spaced", "K"), "v");
}

TEST_F(Profile, WritesEditInPlaceKeepingEveryOtherByte)
{
    writeFile(path(), kCrlfFile);
    ASSERT_TRUE(put(path(), "alice", "recqual", "3"));  // replaced; spelling and spacing stay
    ASSERT_TRUE(put(path(), "Alice", "Rings", "4"));    // after the last key, before the blank line
    ASSERT_TRUE(put(path(), "Carol", "RecQual", "0"));  // a new section at the end
    ASSERT_TRUE(put(path(), "Bob", "Internet", "N"));   // the last line of the file
    EXPECT_EQ(readFile(path()), "; Navo settings\r\n"
                                "[Alice]\r\n"
                                "RecQual = 3\r\n"
                                "; hot keys are kept elsewhere\r\n"
                                "PhWarn=Y\r\n"
                                "Rings=4\r\n"
                                "\r\n"
                                "[Bob]\r\n"
                                "RecQual=2\r\n"
                                "Internet=N\r\n"
                                "\r\n"
                                "[Carol]\r\n"
                                "RecQual=0\r\n");
}

TEST_F(Profile, NewFilesUseLfAndFilesWithoutAFinalNewlineGetOne)
{
    ASSERT_TRUE(put(path(), "A", "k", "1"));
    ASSERT_TRUE(put(path(), "A", "k2", "2"));
    EXPECT_EQ(readFile(path()), "[A]\nk=1\nk2=2\n");

    writeFile(path("b.ini"), "[A]\nk=1");
    ASSERT_TRUE(put(path("b.ini"), "A", "k2", "2"));
    EXPECT_EQ(readFile(path("b.ini")), "[A]\nk=1\nk2=2\n");

    writeFile(path("c.ini"), "[A]");
    ASSERT_TRUE(put(path("c.ini"), "A", "k", "1"));
    ASSERT_TRUE(put(path("c.ini"), "A", "k", ""));
    EXPECT_EQ(readFile(path("c.ini")), "[A]\nk=\n");
}

TEST_F(Profile, NullValueDeletesTheKeyNullKeyTheSection)
{
    writeFile(path(), kCrlfFile);
    ASSERT_TRUE(put(path(), "ALICE", "phwarn", nullptr));
    ASSERT_TRUE(put(path(), "bob", nullptr, nullptr));
    EXPECT_EQ(readFile(path()), "; Navo settings\r\n"
                                "[Alice]\r\n"
                                "RecQual = 1\r\n"
                                "; hot keys are kept elsewhere\r\n"
                                "\r\n");
    EXPECT_EQ(get(path(), "Alice", "PhWarn"), "Bad");

    // Deleting what is not there succeeds and touches nothing.
    const std::string before = readFile(path());
    EXPECT_TRUE(put(path(), "Alice", "Nothing", nullptr));
    EXPECT_TRUE(put(path(), "Nobody", nullptr, nullptr));
    EXPECT_TRUE(put(path("none.ini"), "Alice", "RecQual", nullptr));
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path("none.ini"))));
    EXPECT_EQ(readFile(path()), before);
    EXPECT_FALSE(put(path(), nullptr, nullptr, nullptr));
}

TEST_F(Profile, ResultsCountCopiedBytesAndTruncate)
{
    writeFile(path(), "[A]\nLong=abcdef\nQuoted=\"abcdef\"\nk2=x\n=nameless\n[BB]\n");
    char buffer[8];
    EXPECT_EQ(GetPrivateProfileStringA("A", "Long", "", buffer, 4, path().c_str()), 3u);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(GetPrivateProfileStringA("A", "Quoted", "", buffer, 4, path().c_str()), 3u);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(GetPrivateProfileStringA("A", "Long", "", buffer, 7, path().c_str()), 6u);
    EXPECT_EQ(GetPrivateProfileStringA("A", "Missing", "Bad", buffer, 3, path().c_str()), 2u);
    EXPECT_STREQ(buffer, "Ba");
    EXPECT_EQ(GetPrivateProfileStringA("A", "Long", "", buffer, 1, path().c_str()), 0u);
    EXPECT_STREQ(buffer, "");

    // Lists of names end with a second NUL; cut short they return size-2.
    char list[32];
    EXPECT_EQ(GetPrivateProfileStringA(nullptr, nullptr, "", list, sizeof list, path().c_str()), 5u);
    EXPECT_EQ(std::string(list, 6), std::string("A\0BB\0\0", 6));
    EXPECT_EQ(GetPrivateProfileStringA(nullptr, nullptr, "", list, 5, path().c_str()), 3u);
    EXPECT_EQ(std::string(list, 5), std::string("A\0B\0\0", 5));
    EXPECT_EQ(GetPrivateProfileStringA("a", nullptr, "", list, sizeof list, path().c_str()), 15u);
    EXPECT_EQ(std::string(list, 16), std::string("Long\0Quoted\0k2\0\0", 16));
    EXPECT_EQ(GetPrivateProfileStringA("BB", nullptr, "Bad", list, sizeof list, path().c_str()), 0u);
    EXPECT_EQ(std::string(list, 2), std::string("\0\0", 2));
}

TEST_F(Profile, StructsAreHexWithAChecksumAndRefusedWhenDamaged)
{
    const unsigned char data[3] = {0x01, 0xAB, 0xFF};  // sum 0x1AB: checksum AB
    ASSERT_EQ(WritePrivateProfileStructA("Alice", "LastPath", data, 3, path().c_str()), TRUE);
    EXPECT_EQ(get(path(), "Alice", "LastPath"), "01ABFFAB");

    unsigned char back[3] = {};
    EXPECT_EQ(GetPrivateProfileStructA("alice", "lastpath", back, 3, path().c_str()), TRUE);
    EXPECT_EQ(std::memcmp(back, data, 3), 0);

    unsigned char untouched[3] = {7, 7, 7};
    EXPECT_EQ(GetPrivateProfileStructA("Alice", "LastPath", untouched, 2, path().c_str()), FALSE);
    ASSERT_TRUE(put(path(), "Alice", "LastPath", "01ABFFAC"));
    EXPECT_EQ(GetPrivateProfileStructA("Alice", "LastPath", untouched, 3, path().c_str()), FALSE);
    ASSERT_TRUE(put(path(), "Alice", "LastPath", "01ABFGAB"));
    EXPECT_EQ(GetPrivateProfileStructA("Alice", "LastPath", untouched, 3, path().c_str()), FALSE);
    EXPECT_EQ(GetPrivateProfileStructA("Alice", "Missing", untouched, 3, path().c_str()), FALSE);
    EXPECT_EQ(untouched[0], 7);

    // A 257-byte path buffer, as start-up writes it, then overwritten by a string.
    char buffer[257] = "/home/alice/Navo/Profiles/alice";
    ASSERT_EQ(WritePrivateProfileStructA("Alice", "LastPath", buffer, sizeof buffer, path().c_str()), TRUE);
    EXPECT_EQ(get(path(), "Alice", "LastPath", "").size(), 255u);  // cut to the 256-byte buffer
    char read[257];
    EXPECT_EQ(GetPrivateProfileStructA("Alice", "LastPath", read, sizeof read, path().c_str()), TRUE);
    EXPECT_STREQ(read, buffer);
}

TEST_F(Profile, FailedWritesReturnFalseAndLeaveTheOldFile)
{
    writeFile(path(), kCrlfFile);

    // Read-only (for root too, as the Windows attribute is).
    ASSERT_EQ(::chmod(path().c_str(), 0444), 0);
    EXPECT_FALSE(put(path(), "Alice", "RecQual", "3"));
    EXPECT_EQ(readFile(path()), kCrlfFile);
    ASSERT_EQ(::chmod(path().c_str(), 0644), 0);

    // A missing folder.
    const std::string lost = QDir(m_dir.path()).filePath("missing/NAVO.ini").toStdString();
    EXPECT_FALSE(put(lost, "Alice", "RecQual", "3"));
    EXPECT_FALSE(QFile::exists(QString::fromStdString(lost)));

    // A full disk, made by a file-size limit: the write fails part-way.
    struct rlimit old {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = old;
    small.rlim_cur = 1024;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = put(path(), "Alice", "Big", std::string(4000, 'x').c_str());
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_FALSE(written);
    EXPECT_EQ(readFile(path()), kCrlfFile);

    EXPECT_EQ(filesInFolder(), QStringList{"NAVO.ini"});  // no temporary file left behind
}

TEST_F(Profile, NewFilesAreTheOwnersAloneAndWritesKeepThePermissions)
{
    const mode_t oldMask = ::umask(022);
    ASSERT_TRUE(put(path("new.ini"), "Alice", "RecQual", "3"));
    ::umask(oldMask);
    struct stat st {};
    ASSERT_EQ(::stat(path("new.ini").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0600u);

    writeFile(path(), kCrlfFile);
    ASSERT_EQ(::chmod(path().c_str(), 0640), 0);
    ASSERT_TRUE(put(path(), "Alice", "RecQual", "3"));
    ASSERT_EQ(::stat(path().c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
}

TEST_F(Profile, EveryValueReadsBackAsWrittenAndPlantsNoOtherLine)
{
    writeFile(path(), kCrlfFile);
    const std::string bob = get(path(), "Bob", "RecQual");
    const char* const values[] = {
        "shared\n[bob]\nLastPath=/tmp/evil",  // a store name made to plant another user's keys
        "a\r\n[Bob]\r\nRecQual=9\r",
        "\n",
        "100%0A sure %25 %0d %2 %%0A %",  // escapes typed by the user stay as typed
        "  padded  ",
        "\"quoted\"",
        "'single'",
        "[Bob]",
        "k=v;x]",
        "\xA3" "10 \xAC \x80 \x99",  // Windows-1252 "£10 ¬ € ™", bytes unchanged
    };
    for (const char* value : values) {
        ASSERT_TRUE(put(path(), "Alice", "LastFile", value)) << value;
        EXPECT_EQ(get(path(), "Alice", "LastFile"), value);
        EXPECT_EQ(get(path(), "Bob", "RecQual"), bob);
        EXPECT_EQ(get(path(), "Bob", "LastPath"), "Bad");
        char sections[32];
        const DWORD n = GetPrivateProfileStringA(nullptr, nullptr, "", sections, sizeof sections, path().c_str());
        EXPECT_EQ(std::string(sections, n), std::string("Alice\0Bob\0", 10));
    }
    // Names that would read back as other lines are refused, and nothing changes.
    const std::string before = readFile(path());
    EXPECT_FALSE(put(path(), "Alice]\n[Bob", "RecQual", "9"));
    EXPECT_FALSE(put(path(), "Ali]ce", "RecQual", "9"));
    EXPECT_FALSE(put(path(), "Alice", "Rec=Qual", "9"));
    EXPECT_FALSE(put(path(), "Alice", "Rec\nQual", "9"));
    EXPECT_FALSE(put(path(), "Alice", "[Bob]", "9"));
    EXPECT_FALSE(put(path(), "Alice", ";RecQual", "9"));
    EXPECT_EQ(readFile(path()), before);
}

TEST_F(Profile, ConcurrentWritersLoseNoKey)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 25; ++i) {
                const std::string key = "K" + std::to_string(t) + "_" + std::to_string(i);
                put(path(), "Shared", key.c_str(), std::to_string(i).c_str());
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 25; ++i) {
            const std::string key = "K" + std::to_string(t) + "_" + std::to_string(i);
            EXPECT_EQ(get(path(), "Shared", key.c_str()), std::to_string(i));
        }
    }
}
