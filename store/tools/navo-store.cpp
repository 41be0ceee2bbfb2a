// navo-store: look into a Navo data store from the command line.
//
//   navo-store list STORE [TYPE]      records by type: dictation, meeting,
//                                     phone, diary, translation, video, all
//   navo-store show STORE RECID       one record: its fields and its files
//   navo-store extract STORE RECID [FOLDER]
//                                     the record's wave into FOLDER (default .)
//   navo-store check STORE            integrity of the store and its records
//
// It reads the store through the same code Navo files with, from a private
// copy of the components, and never writes to the store.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "maker/Ek7Index/Ek7Index.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/TempName.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecordFiler.h"
#include "store/RecordInfo.h"

namespace fs = std::filesystem;

namespace {

struct Scratch {
    std::string path = uniqueTempName("navo-store");
    Scratch()
    {
        fs::create_directory(path);
        fs::permissions(path, fs::perms::owner_all, fs::perm_options::replace);
    }
    ~Scratch()
    {
        std::error_code error;
        fs::remove_all(path, error);
    }
};

struct Line {
    std::string familyName;
    long position;
    std::string text;
};

const char* const kFamilies[] = {components::kDictation, components::kMeeting, components::kPhone,
                                 components::kDiary};

int usage()
{
    std::cerr << "usage: navo-store list STORE [dictation|meeting|phone|diary|translation|video|all]\n"
                 "       navo-store show STORE RECID\n"
                 "       navo-store extract STORE RECID [FOLDER]\n"
                 "       navo-store check STORE\n";
    return 2;
}

bool typeMatches(const std::string& filter, int type)
{
    if (filter == "all") return true;
    if (filter == "dictation") return type == 0 || type == 5;
    if (filter == "meeting") return type == 1;
    if (filter == "phone") return type == 2 || type == 3;
    if (filter == "diary") return type == 4;
    if (filter == "video") return type == 9;
    if (filter == "translation") return type >= 10 && type <= 16;
    return false;
}

// The live lines of the four family files, as the store holds them.
int readLines(const std::string& store, const std::string& folder, std::vector<Line>* lines)
{
    const char* names[] = {components::kDictation, components::kMeeting, components::kPhone, components::kDiary};
    const int got = RPS_Get(store.c_str(), folder.c_str(), names, 4);
    if (got != 0) {
        std::cerr << "navo-store: " << store << " is not a readable Navo data store (code " << got << ")\n";
        return got;
    }
    for (const char* name : kFamilies) {
        std::FILE* file = std::fopen((folder + "/" + name).c_str(), "rb");
        if (!file)
            continue;
        std::string text(indexline::kLineBytes, '\0');
        long position = 0;
        while (std::fread(text.data(), 1, text.size(), file) == text.size()) {
            if (std::atol(indexline::field(text, 1).c_str()) < 99999999)
                lines->push_back({name, position, text});
            position += static_cast<long>(text.size());
        }
        std::fclose(file);
    }
    return 0;
}

const Line* findLine(const std::vector<Line>& lines, long recId)
{
    for (const Line& line : lines)
        if (std::atol(indexline::field(line.text, 1).c_str()) == recId)
            return &line;
    return nullptr;
}

int list(const std::string& store, const std::string& filter)
{
    if (!typeMatches(filter, 0) && !typeMatches(filter, 1) && !typeMatches(filter, 2) && !typeMatches(filter, 4) &&
        !typeMatches(filter, 9) && !typeMatches(filter, 10))
        return usage();
    Scratch scratch;
    std::vector<Line> lines;
    if (const int rc = readLines(store, scratch.path, &lines))
        return rc;
    int shown = 0;
    for (const Line& line : lines) {
        const std::vector<std::string> f = indexline::fields(line.text, 12);
        if (!typeMatches(filter, std::atoi(f[1].c_str())))
            continue;
        std::cout << f[0] << "\ttype " << f[1] << "\t" << indexline::showField(f[4]) << "\t"
                  << indexline::showField(f[7]) << "\t" << indexline::showField(f[9]) << "\n";
        ++shown;
    }
    std::cout << shown << " record" << (shown == 1 ? "" : "s") << "\n";
    return 0;
}

int show(const std::string& store, long recId)
{
    Scratch scratch;
    std::vector<Line> lines;
    if (const int rc = readLines(store, scratch.path, &lines))
        return rc;
    const Line* line = findLine(lines, recId);
    if (!line) {
        std::cerr << "navo-store: no record " << recId << " in " << store << "\n";
        return 1;
    }
    const std::vector<std::string> f = indexline::fields(line->text, 14);
    std::cout << "Record " << f[0] << " (" << line->familyName << " at " << line->position << ")\n";
    for (std::size_t i = 0; i < f.size(); ++i)
        if (!f[i].empty())
            std::cout << "  field " << i + 1 << ": " << indexline::showField(f[i]) << "\n";
    const std::string recordFile = RecordFiler::recordFileName(recId);
    if (ExtractFile(store.c_str(), recordFile.c_str(), scratch.path.c_str()) != 0) {
        std::cerr << "navo-store: the record file " << recordFile << " is missing from the store\n";
        return 1;
    }
    const std::string local = scratch.path + "/" + recordFile;
    std::vector<std::string> members;
    VXlistMembers(local.c_str(), &members);
    std::cout << "Files in " << recordFile << ":\n";
    for (const std::string& member : members) {
        std::cout << "  " << member << "  " << CheckFileSize(local.c_str(), member.c_str()) << " bytes\n";
        if (member.size() > 4 && member.compare(member.size() - 4, 4, ".vxs") == 0) {
            RecordInfo info;
            if (recordinfo::readFromRecordFile(local, member, scratch.path, &info) == 0)
                std::cout << "  " << recordinfo::describe(info) << "\n";
        }
    }
    return 0;
}

int extract(const std::string& store, long recId, const std::string& folder)
{
    Scratch scratch;
    const std::string recordFile = RecordFiler::recordFileName(recId);
    if (ExtractFile(store.c_str(), recordFile.c_str(), scratch.path.c_str()) != 0) {
        std::cerr << "navo-store: no record " << recId << " in " << store << "\n";
        return 1;
    }
    const std::string local = scratch.path + "/" + recordFile;
    std::vector<std::string> members;
    VXlistMembers(local.c_str(), &members);
    for (const std::string& member : members) {
        if (member.size() > 4 && member.compare(member.size() - 4, 4, ".wav") == 0) {
            if (const int rc = ExtractFile(local.c_str(), member.c_str(), folder.c_str())) {
                std::cerr << "navo-store: could not write " << member << " into " << folder << " (code " << rc
                          << ")\n";
                return 1;
            }
            std::cout << folder << "/" << member << "\n";
            return 0;
        }
    }
    std::cerr << "navo-store: record " << recId << " holds no wave\n";
    return 1;
}

int check(const std::string& store)
{
    int problems = 0;
    auto problem = [&problems](const std::string& text) {
        std::cout << "PROBLEM: " << text << "\n";
        ++problems;
    };
    if (const int rc = RPS_Check(store.c_str())) {
        problem("the store file is damaged or not a Navo data store (code " + std::to_string(rc) + ")");
        return 1;
    }
    for (const char* name : components::extracted())
        if (CheckForFile(store.c_str(), name) != 0)
            problem(std::string("component ") + name + " is missing");

    Scratch scratch;
    std::vector<Line> lines;
    if (readLines(store, scratch.path, &lines) != 0)
        return 1;
    for (const char* name : kFamilies) {
        std::error_code error;
        const auto size = fs::file_size(scratch.path + "/" + name, error);
        if (!error && size % indexline::kLineBytes != 0)
            problem(std::string(name) + " ends in a partial line");
    }
    for (const Line& line : lines) {
        const long recId = std::atol(indexline::field(line.text, 1).c_str());
        if (CheckForFile(store.c_str(), RecordFiler::recordFileName(recId).c_str()) != 0)
            problem("record " + indexline::recIdText(recId) + " has a line but no record file");
    }
    const char* index[] = {components::kIndex};
    std::uint64_t entries = 0;
    if (RPS_Get(store.c_str(), scratch.path.c_str(), index, 1) == 0 &&
        Ek7IndexCount((scratch.path + "/" + components::kIndex).c_str(), &entries) == 0)
        std::cout << entries << " index entries (as of the last save)\n";
    else
        problem("the index cannot be read");
    std::cout << lines.size() << " records; " << (problems == 0 ? "no problems found" : "problems found") << "\n";
    return problems == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
        return usage();
    const std::string command = argv[1];
    const std::string store = argv[2];
    if (!fs::is_regular_file(store)) {
        std::cerr << "navo-store: " << store << ": no such data store\n";
        return 1;
    }
    if (command == "list")
        return list(store, argc > 3 ? argv[3] : "all");
    if (command == "show" && argc == 4)
        return show(store, std::atol(argv[3]));
    if (command == "extract" && (argc == 4 || argc == 5))
        return extract(store, std::atol(argv[3]), argc == 5 ? argv[4] : ".");
    if (command == "check" && argc == 3)
        return check(store);
    return usage();
}
