// The numbered string table: every message, tool tip and label text that the
// program loads by number, exactly as it must appear (doubled spaces, trailing
// spaces and line breaks are part of the text).
//
// The texts are kept as UTF-8 in the source and converted when loaded:
// LoadString gives Windows-1252 bytes for the program's own text handling
// ("£" is the single byte 0xA3), LoadStringQ gives the same text for the UI.
// A number that is not in the table loads as an empty text, as it did on
// Windows.
#pragma once

#include <QString>

#include <cstddef>
#include <string>

struct StringEntry {
    unsigned id;
    const char* utf8;
};

class StringTable {
public:
    // The entries must stay alive as long as the table; lookups are binary
    // searches, so they must be in number order, each number once (the
    // program's own table is checked when it compiles).
    StringTable(const StringEntry* first, std::size_t count);

    // The program's table.
    static const StringTable& builtIn();

    const StringEntry* find(unsigned id) const;
    bool has(unsigned id) const { return find(id) != nullptr; }
    std::string load(unsigned id) const;  // Windows-1252; "" when absent
    QString loadQ(unsigned id) const;     // "" when absent

    const StringEntry* begin() const { return m_first; }
    const StringEntry* end() const { return m_first + m_count; }
    std::size_t size() const { return m_count; }

private:
    const StringEntry* m_first;
    std::size_t m_count;
};

// The program's string table, by number.
std::string LoadString(unsigned id);
QString LoadStringQ(unsigned id);
bool HasString(unsigned id);
