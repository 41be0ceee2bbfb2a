#include "maker/Ek7Index/internal/DerivedFields.h"

#include "maker/ZOLO/ZOLOWORD.h"
#include "platform/Codepage.h"

#include <cctype>

namespace ek7index {
namespace {

constexpr char kSpaceMark = '\xAC';
constexpr int kNewMessageImage = 7;

std::string lineField(const std::string& line, int n)
{
    std::string field(line.size() + 1, '\0');
    field.resize(static_cast<std::size_t>(word_find(line.c_str(), &field[0], n)));
    for (char& c : field)
        if (c == kSpaceMark || c == '\r' || c == '\n')
            c = ' ';
    return field;
}

// Digits at text[at, at + count) as a number; -1 when any is not a digit.
long digits(const std::string& text, std::size_t at, std::size_t count)
{
    if (at + count > text.size())
        return -1;
    long value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (!std::isdigit(static_cast<unsigned char>(text[i])))
            return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

}  // namespace

int typeCodeOf(const std::string& recordType)
{
    const long value = digits(recordType, 0, recordType.size());
    return recordType.empty() || value < 0 || value > 999 ? -1 : static_cast<int>(value);
}

std::int64_t startKeyOf(const std::string& startTime)
{
    // "dd/mm/yyyy hh:mm:ss", the space stored as a space or 0xAC.
    const long day = digits(startTime, 0, 2);
    const long month = digits(startTime, 3, 2);
    const long year = digits(startTime, 6, 4);
    if (day < 1 || month < 1 || year < 0 || startTime[2] != '/' || startTime[5] != '/')
        return 0;
    std::int64_t key = (static_cast<std::int64_t>(year) * 100 + month) * 100 + day;
    const long hour = digits(startTime, 11, 2);
    const long minute = digits(startTime, 14, 2);
    const long second = digits(startTime, 17, 2);
    if (hour < 0 || minute < 0 || second < 0)
        return key * 1000000;
    return ((key * 100 + hour) * 100 + minute) * 100 + second;
}

DerivedFields deriveFields(const std::string& recordType, const std::string& startTime, const std::string& line)
{
    DerivedFields out;
    out.typeCode = typeCodeOf(recordType);
    out.startKey = startKeyOf(startTime);
    if (line.empty())
        return out;
    if (out.typeCode == 2 || out.typeCode == 3) {
        // Both phone records keep the caller's name in place 3; a recorded
        // call its number in place 4, a message in place 5.
        std::string names;
        for (int place : {3, 4, out.typeCode == 2 ? 5 : 0}) {
            const std::string text = place == 0 ? std::string() : lineField(line, place);
            if (!text.empty())
                names += (names.empty() ? "" : " ") + text;
        }
        out.names = utf8FromAnsi(names);
        out.newMessage = out.typeCode == 2 && lineField(line, 11) == std::to_string(kNewMessageImage);
    } else {
        out.marks = utf8FromAnsi(lineField(line, 7));
    }
    return out;
}

}  // namespace ek7index
