// Message codes: the numbers that operations return and ShowCodedMessage
// shows ("... : Error 108", "... : Info 006"). Each code leads to a string of
// the string table, or, for the few codes whose text never had a string
// number, to a text kept here.
//
// A code that is not in the catalogue shows string 692, "Message issued but
// not defined : Error 1000".
#pragma once

#include <cstddef>
#include <string>

struct CodedMessage {
    int code;
    unsigned stringId;  // 0: the text has no string number
    // UTF-8. The text when stringId is 0; otherwise the text to show while
    // the string's own wording is missing from the table (may be null).
    const char* fallbackUtf8;
};

class MessageCatalogue {
public:
    static constexpr unsigned kUndefinedMessage = 692;

    // The entries must stay alive as long as the catalogue and be in code
    // order, each code once (the program's own table is checked when it
    // compiles).
    MessageCatalogue(const CodedMessage* first, std::size_t count);

    static const MessageCatalogue& builtIn();

    const CodedMessage* find(int code) const;

    // The string number for the code: kUndefinedMessage for an unknown code,
    // 0 for a known code whose text has no string number (see textFor).
    unsigned stringFor(int code) const;

    // The text to show, as Windows-1252 bytes. Never empty: a code whose
    // wording is unknown shows the undefined-message text.
    std::string textFor(int code) const;

    const CodedMessage* begin() const { return m_first; }
    const CodedMessage* end() const { return m_first + m_count; }
    std::size_t size() const { return m_count; }

private:
    const CodedMessage* m_first;
    std::size_t m_count;
};

unsigned MessageStringFor(int code);
std::string MessageTextFor(int code);
