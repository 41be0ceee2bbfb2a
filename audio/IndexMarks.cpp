#include "audio/IndexMarks.h"

#include <fstream>

namespace indexmarks {

namespace {

constexpr char kSpaceMark = '\xAC';
constexpr std::size_t kPaddedText = 60;

// Field n (from 0) of a record, separated by single spaces.
std::string word(const std::string& text, int n)
{
    std::size_t start = 0;
    for (int i = 0; i < n; ++i) {
        const std::size_t space = text.find(' ', start);
        if (space == std::string::npos)
            return {};
        start = space + 1;
    }
    const std::size_t end = text.find(' ', start);
    return text.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

}  // namespace

std::string record(const IndexMark& mark)
{
    std::string comment = mark.comment.substr(0, kCommentMax);
    for (char& c : comment)
        if (c == ' ')
            c = kSpaceMark;
    std::string text = mark.time.substr(0, kTimeMax) + " " + comment + " " + mark.flag.substr(0, 1);
    text.resize(kPaddedText, ' ');
    return text + " ";
}

bool save(const std::string& path, const std::vector<IndexMark>& marks)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (const IndexMark& mark : marks)
        out << record(mark);
    out.flush();
    return static_cast<bool>(out);
}

std::vector<IndexMark> load(const std::string& path)
{
    std::vector<IndexMark> marks;
    std::ifstream in(path, std::ios::binary);
    std::string text(kRecordBytes, '\0');
    while (in.read(text.data(), static_cast<std::streamsize>(text.size())) || in.gcount() > 0) {
        const std::string got = text.substr(0, static_cast<std::size_t>(in.gcount()));
        IndexMark mark;
        mark.time = word(got, 0);
        mark.comment = word(got, 1);
        for (char& c : mark.comment)
            if (c == kSpaceMark)
                c = ' ';
        mark.flag = word(got, 2);
        if (mark.flag.empty())
            mark.flag = "0";
        if (mark.flag == "1" && mark.comment == "insert end")
            mark.flag = "2";
        marks.push_back(mark);
        if (in.gcount() < static_cast<std::streamsize>(kRecordBytes))
            break;
    }
    return marks;
}

std::string joinedComments(const std::vector<IndexMark>& marks)
{
    std::string text;
    for (const IndexMark& mark : marks) {
        if (!text.empty())
            text += ' ';
        text += mark.comment;
    }
    return text.substr(0, kJoinedMax);
}

}  // namespace indexmarks
