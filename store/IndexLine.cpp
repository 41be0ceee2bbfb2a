#include "store/IndexLine.h"

#include <cstdio>

#include "maker/ZOLO/ZOLOWORD.h"

namespace indexline {

namespace {

std::string padded(std::string line)
{
    line += ' ';
    if (line.size() < kLength)
        line.append(kLength - line.size(), ' ');
    line += '\n';
    return line;
}

}  // namespace

std::string recIdText(long recId)
{
    char text[24];
    std::snprintf(text, sizeof text, "%08ld", recId);
    return text;
}

std::string cleanField(const std::string& text)
{
    std::string field = text;
    for (char& c : field) {
        if (c == '\r' || c == '\n')
            c = ' ';
        if (c == ' ')
            c = kSpaceMark;
    }
    return field;
}

std::string showField(const std::string& field)
{
    std::string text = field;
    for (char& c : text)
        if (c == kSpaceMark)
            c = ' ';
    return text;
}

std::string build(const std::vector<std::string>& fields)
{
    std::string line;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (i > 0)
            line += ' ';
        line += cleanField(fields[i]);
    }
    return padded(std::move(line));
}

std::string fromColumns(const std::vector<std::string>& columns)
{
    std::string line;
    for (int i = 0; i < kColumns; ++i) {
        if (i > 0)
            line += ' ';
        if (i < static_cast<int>(columns.size()))
            line += columns[i];
    }
    return padded(std::move(line));
}

std::string field(const std::string& line, int n)
{
    std::string out(line.size() + 1, '\0');
    const int length = word_find(line.c_str(), out.data(), n);
    out.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return out;
}

std::vector<std::string> fields(const std::string& line, int count)
{
    std::vector<std::string> result;
    result.reserve(count);
    for (int n = 1; n <= count; ++n)
        result.push_back(field(line, n));
    return result;
}

}  // namespace indexline
