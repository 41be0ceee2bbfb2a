// A fresh folder with an empty "Telvarine.vxi" for each test, and entries
// built the way the recorders build them.
#pragma once

#include "maker/Ek7Index/Ek7Index.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class IndexTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/Ek7IndexTest.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
        m_index = m_dir + "/Telvarine.vxi";
        m_store = m_dir + "/Store.vxt";
        std::ofstream(m_index, std::ios::binary);
    }

    void TearDown() override { std::filesystem::remove_all(m_dir); }

    // A 401-byte index line: RecID, type, flag, empty, subject, empty, second
    // text, start, end, duration, empty, number; then one space and padding.
    static std::string indexLine(std::uint32_t recId, const std::string& type,
                                 std::string subject)
    {
        for (char& c : subject) {
            if (c == ' ')
                c = '\xAC';
        }
        char id[16];
        std::snprintf(id, sizeof id, "%08u", static_cast<unsigned>(recId));
        std::string line = std::string(id) + " " + type + " 0  " + subject +
                           "  note 22/11/2026\xAC" "01:30:05 22/11/2026\xAC" "01:31:00 00:00:55  3 ";
        line.append(line.size() < 400 ? 400 - line.size() : 0, ' ');
        return line + "\n";
    }

    // An entry whose texts live as long as the fixture.
    Ek7IndexEntry entry(std::uint32_t recId, const std::string& keywords,
                        std::uint32_t position = 401, const std::string& subject = "Subject",
                        const std::string& type = "0")
    {
        const std::string& line = keep(indexLine(recId, type, subject));
        Ek7IndexEntry e{};
        e.storeLocation1 = m_index.c_str();
        e.storeLocation2 = m_store.c_str();
        e.workspace = m_dir.c_str();
        e.recId = recId;
        e.recordType = keep(type).c_str();
        e.startTime = "22/11/2026\xAC" "01:30:05";
        e.keywords = keep(keywords).c_str();
        e.extraText = " ";
        e.linePosition = position;
        e.reserved = 0;
        e.line = line.c_str();
        return e;
    }

    const std::string& keep(std::string text)
    {
        m_texts.push_back(std::move(text));
        return m_texts.back();
    }

    std::string read(std::uint32_t recId)
    {
        char buffer[EK7_INDEX_RECORD_MAX];
        std::memset(buffer, 'x', sizeof buffer);
        if (!Ek7IndexRead(recId, m_index.c_str(), buffer))
            return "<" + std::to_string(Ek7IndexLastError()) + ">";
        return buffer;
    }

    static std::string field(int number, const std::string& record)
    {
        std::string out(record.size() + 1, 'x');
        const int length = Ek7IndexField(number, record.c_str(), &out[0]);
        out.resize(static_cast<std::size_t>(length));
        return out;
    }

    std::uint64_t count()
    {
        std::uint64_t n = 0;
        EXPECT_EQ(Ek7IndexCount(m_index.c_str(), &n), kEk7IndexOk);
        return n;
    }

    static std::string bytesOf(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    std::string m_dir;
    std::string m_index;
    std::string m_store;
    std::deque<std::string> m_texts;  // stable addresses for the entries' texts
};
