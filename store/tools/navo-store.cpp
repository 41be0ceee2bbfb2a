// navo-store: look into a Navo data store from the command line.
//
//   navo-store list STORE [TYPE]      records by type: dictation, meeting,
//                                     phone, diary, translation, video, all
//   navo-store show STORE RECID       one record: its fields and its files
//   navo-store extract [--force] STORE RECID [FOLDER]
//                                     the record's sound into FOLDER (default
//                                     .); an existing file is kept unless
//                                     --force is given
//   navo-store check STORE            integrity of the store, every line and
//                                     every record file read through
//   navo-store --help                 this text, on standard output
//
// Exit status (see kExit... below): 0 done, or check found nothing; 1 check
// found problems; 2 usage; 3 no such data store; 4 no such record, or no
// sound in it; 5 the store is busy; 6 permission denied; 7 damaged or not a
// Navo data store; 8 the output file exists or cannot be written; 9 no
// scratch folder in the temporary folder; 10 the store cannot be read.
//
// It reads the store through the same code Navo files with, from a private
// scratch copy, and never writes to the store.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <system_error>
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

constexpr int kExitOk = 0;
constexpr int kExitProblems = 1;
constexpr int kExitUsage = 2;
constexpr int kExitNoStore = 3;
constexpr int kExitNoRecord = 4;
constexpr int kExitBusy = 5;
constexpr int kExitPermission = 6;
constexpr int kExitDamaged = 7;
constexpr int kExitOutput = 8;
constexpr int kExitScratch = 9;
constexpr int kExitUnreadable = 10;

const char kUsage[] =
    "usage: navo-store list STORE [dictation|meeting|phone|diary|translation|video|all]\n"
    "       navo-store show STORE RECID\n"
    "       navo-store extract [--force] STORE RECID [FOLDER]\n"
    "       navo-store check STORE\n"
    "       navo-store --help\n"
    "exit status: 0 done; 1 check found problems; 2 usage; 3 no such data store;\n"
    "  4 no such record or no sound in it; 5 store busy; 6 permission denied;\n"
    "  7 damaged or not a Navo data store; 8 output file exists or cannot be written;\n"
    "  9 no scratch folder in the temporary folder; 10 the store cannot be read\n";

int usage()
{
    std::cerr << kUsage;
    return kExitUsage;
}

int fail(int status, const std::string& text)
{
    std::cerr << "navo-store: " << text << "\n";
    return status;
}

// A store call's failure as its own message and exit status.
int storeFailure(const std::string& store, int rc)
{
    switch (rpsErrorClass(rc)) {
    case kRpsClassStoreFile:
        return fail(kExitNoStore, store + ": no such data store");
    case kRpsClassNotStore:
        return fail(kExitDamaged, store + ": damaged or not a Navo data store (" + rpsErrorText(rc) + ")");
    case kRpsClassBusy:
        return fail(kExitBusy, store + ": busy: another program is writing it; try again when it has finished");
    default:
        return fail(kExitUnreadable, store + ": cannot be read (" + rpsErrorText(rc) + ")");
    }
}

// Why the store path cannot be used, before any store call: a clear message
// for what the store layer would only call "not a store".
std::optional<int> unusableStore(const std::string& store)
{
    std::error_code error;
    const fs::file_status status = fs::status(store, error);
    if (status.type() == fs::file_type::not_found)
        return fail(kExitNoStore, store + ": no such data store");
    if (status.type() == fs::file_type::directory)
        return fail(kExitNoStore, store + ": is a folder, not a Navo data store");
    if (error && error != std::errc::no_such_file_or_directory) {
        if (error == std::errc::permission_denied)
            return fail(kExitPermission, store + ": permission denied");
        return fail(kExitUnreadable, store + ": " + error.message());
    }
    if (std::FILE* file = std::fopen(store.c_str(), "rb")) {
        std::fclose(file);
        return std::nullopt;
    }
    const std::error_code open(errno, std::generic_category());
    if (open == std::errc::permission_denied)
        return fail(kExitPermission, store + ": permission denied");
    return fail(kExitUnreadable, store + ": " + open.message());
}

// A private folder for the copies the tool reads; ok() false (and said why)
// when the temporary folder cannot hold one.
class Scratch {
public:
    Scratch() : m_path(uniqueTempName("navo-store"))
    {
        std::error_code error;
        if (!fs::create_directory(m_path, error)) {
            if (!error)
                error = std::make_error_code(std::errc::file_exists);
            const std::string folder = fs::path(m_path).parent_path().string();
            fail(kExitScratch, "cannot make a scratch folder in the temporary folder " + folder + ": " +
                                   error.message() + " (set TMPDIR to a writable folder)");
            return;
        }
        fs::permissions(m_path, fs::perms::owner_all, fs::perm_options::replace, error);
        m_made = true;
    }
    ~Scratch()
    {
        std::error_code error;
        if (m_made)
            fs::remove_all(m_path, error);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    bool ok() const { return m_made; }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    bool m_made = false;
};

struct Line {
    std::string familyName;
    long position;
    std::string text;
};

const char* const kFamilies[] = {components::kDictation, components::kMeeting, components::kPhone,
                                 components::kDiary};

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

bool endsWith(const std::string& text, const char* end)
{
    const std::size_t n = std::strlen(end);
    return text.size() >= n && text.compare(text.size() - n, n, end) == 0;
}

long recIdOf(const Line& line)
{
    return std::atol(indexline::field(line.text, 1).c_str());
}

// The live lines of the four family files, as the store holds them.
int readLines(const std::string& store, const std::string& folder, std::vector<Line>* lines)
{
    const int got = RPS_Get(store.c_str(), folder.c_str(), kFamilies, 4);
    if (got != 0)
        return storeFailure(store, got);
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
    return kExitOk;
}

const Line* findLine(const std::vector<Line>& lines, long recId)
{
    for (const Line& line : lines)
        if (recIdOf(line) == recId)
            return &line;
    return nullptr;
}

// Whether a record file member holds a sound, by its content: the answer
// machine's messages keep theirs as ".vxw", dictations as ".wav".
bool isSoundMember(const std::string& name)
{
    return endsWith(name, ".wav") || endsWith(name, ".vxw");
}

std::uint32_t le32(const std::string& bytes, std::size_t at)
{
    return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at])) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + 1])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + 2])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + 3])) << 24;
}

std::string readFile(const std::string& path)
{
    std::string bytes;
    if (std::FILE* file = std::fopen(path.c_str(), "rb")) {
        char chunk[65536];
        std::size_t n = 0;
        while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0)
            bytes.append(chunk, n);
        std::fclose(file);
    }
    return bytes;
}

bool startsWithRiff(const std::string& path)
{
    char head[4] = {};
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        return false;
    const bool riff = std::fread(head, 1, 4, file) == 4 && std::memcmp(head, "RIFF", 4) == 0;
    std::fclose(file);
    return riff;
}

// What is wrong with a RIFF wave, or "" when its chunks hold together: a
// format chunk, and sound data wholly inside the file.
std::string waveFault(const std::string& bytes)
{
    if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "WAVE") != 0)
        return "no RIFF wave header";
    if (std::uint64_t(le32(bytes, 4)) + 8 > bytes.size())
        return "cut short: the header gives " + std::to_string(le32(bytes, 4) + 8ULL) + " bytes, the file has " +
               std::to_string(bytes.size());
    bool format = false;
    std::size_t at = 12;
    while (at + 8 <= bytes.size()) {
        const std::string id = bytes.substr(at, 4);
        const std::uint64_t size = le32(bytes, at + 4);
        if (at + 8 + size > bytes.size())
            return "the \"" + id + "\" chunk runs past the end of the file";
        if (id == "fmt ")
            format = size >= 16;
        if (id == "data")
            return format ? "" : "sound data without a valid format chunk";
        at += 8 + size + (size & 1);
    }
    return "no sound data chunk";
}

int list(const std::string& store, const std::string& filter)
{
    if (!typeMatches(filter, 0) && !typeMatches(filter, 1) && !typeMatches(filter, 2) && !typeMatches(filter, 4) &&
        !typeMatches(filter, 9) && !typeMatches(filter, 10))
        return usage();
    Scratch scratch;
    if (!scratch.ok())
        return kExitScratch;
    std::vector<Line> lines;
    if (const int rc = readLines(store, scratch.path(), &lines))
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
    return kExitOk;
}

int show(const std::string& store, long recId)
{
    Scratch scratch;
    if (!scratch.ok())
        return kExitScratch;
    std::vector<Line> lines;
    if (const int rc = readLines(store, scratch.path(), &lines))
        return rc;
    const Line* line = findLine(lines, recId);
    if (!line)
        return fail(kExitNoRecord, "no record " + std::to_string(recId) + " in " + store);
    const std::vector<std::string> f = indexline::fields(line->text, 14);
    std::cout << "Record " << f[0] << " (" << line->familyName << " at " << line->position << ")\n";
    for (std::size_t i = 0; i < f.size(); ++i)
        if (!f[i].empty())
            std::cout << "  field " << i + 1 << ": " << indexline::showField(f[i]) << "\n";
    const std::string recordFile = RecordFiler::recordFileName(recId);
    if (ExtractFile(store.c_str(), recordFile.c_str(), scratch.path().c_str()) != 0)
        return fail(kExitNoRecord, "the record file " + recordFile + " is missing from the store");
    const std::string local = scratch.path() + "/" + recordFile;
    std::vector<std::string> members;
    VXlistMembers(local.c_str(), &members);
    std::cout << "Files in " << recordFile << ":\n";
    for (const std::string& member : members) {
        std::cout << "  " << member << "  " << CheckFileSize(local.c_str(), member.c_str()) << " bytes\n";
        if (endsWith(member, ".vxs")) {
            RecordInfo info;
            if (recordinfo::readFromRecordFile(local, member, scratch.path(), &info) == 0)
                std::cout << "  " << recordinfo::describe(info) << "\n";
        }
    }
    return kExitOk;
}

int extract(const std::string& store, long recId, const std::string& folder, bool force)
{
    Scratch scratch;
    if (!scratch.ok())
        return kExitScratch;
    const std::string recordFile = RecordFiler::recordFileName(recId);
    const int exists = RPS_Exists(store.c_str(), recordFile.c_str());
    if (exists == 1)
        return fail(kExitNoRecord, "no record " + std::to_string(recId) + " in " + store);
    if (exists != 0)
        return storeFailure(store, exists);
    if (const int rc = ExtractFile(store.c_str(), recordFile.c_str(), scratch.path().c_str()))
        return fail(kExitDamaged, "the record file " + recordFile + " cannot be read (code " + std::to_string(rc) + ")");
    const std::string local = scratch.path() + "/" + recordFile;
    std::vector<std::string> members;
    VXlistMembers(local.c_str(), &members);
    for (const std::string& member : members) {
        if (!isSoundMember(member))
            continue;
        if (const int rc = ExtractFile(local.c_str(), member.c_str(), scratch.path().c_str()))
            return fail(kExitDamaged, "the sound " + member + " of record " + std::to_string(recId) +
                                          " cannot be read (code " + std::to_string(rc) + ")");
        const std::string sound = scratch.path() + "/" + member;
        if (!startsWithRiff(sound))
            continue;
        // A wave under the name players know, whatever the member was called.
        const fs::path target = fs::path(folder) / fs::path(member).replace_extension(".wav");
        std::error_code error;
        if (!force && fs::symlink_status(target, error).type() != fs::file_type::not_found)
            return fail(kExitOutput, target.string() + " exists; give --force to replace it");
        const auto options = force ? fs::copy_options::overwrite_existing : fs::copy_options::none;
        if (!fs::copy_file(sound, target, options, error))
            return fail(kExitOutput, "could not write " + target.string() + ": " + error.message());
        std::cout << target.string() << "\n";
        return kExitOk;
    }
    return fail(kExitNoRecord, "record " + std::to_string(recId) + " holds no sound");
}

// Every member of one record file read through (the archive's checksums
// are checked on the way) and every sound in it parsed.
void checkRecordFile(const std::string& store, const std::string& recordFile, const std::string& scratch,
                     const std::function<void(const std::string&)>& problem)
{
    const std::string folder = scratch + "/record";
    std::error_code error;
    fs::remove_all(folder, error);
    fs::create_directory(folder, error);
    if (const int rc = ExtractFile(store.c_str(), recordFile.c_str(), folder.c_str())) {
        problem("the record file " + recordFile + " cannot be taken from the store (code " + std::to_string(rc) + ")");
        return;
    }
    const std::string local = folder + "/" + recordFile;
    const std::string members = folder + "/members";
    fs::create_directory(members, error);
    if (const int rc = VXopenVXZ(local.c_str(), members.c_str())) {
        problem("the record file " + recordFile + " is damaged (code " + std::to_string(rc) + ")");
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(members, error)) {
        const std::string name = entry.path().filename().string();
        if (!isSoundMember(name))
            continue;
        const std::string fault = waveFault(readFile(entry.path().string()));
        if (!fault.empty())
            problem("the sound " + name + " in " + recordFile + " is damaged: " + fault);
    }
}

bool isRecordFileName(const std::string& name)
{
    return name.size() == 12 && endsWith(name, ".vxz") &&
           name.find_first_not_of("0123456789") == 8;
}

int check(const std::string& store)
{
    int problems = 0;
    auto problem = [&problems](const std::string& text) {
        std::cout << "PROBLEM: " << text << "\n";
        ++problems;
    };
    if (const int rc = RPS_Check(store.c_str())) {
        if (rpsErrorClass(rc) == kRpsClassNotStore)
            problem("the store file is damaged or not a Navo data store (" + std::string(rpsErrorText(rc)) + ")");
        return storeFailure(store, rc);
    }
    std::vector<std::string> members;
    if (const int rc = RPS_List(store.c_str(), &members))
        return storeFailure(store, rc);
    for (const char* name : components::extracted())
        if (std::find(members.begin(), members.end(), name) == members.end())
            problem(std::string("component ") + name + " is missing");

    Scratch scratch;
    if (!scratch.ok())
        return kExitScratch;
    std::vector<Line> lines;
    if (const int rc = readLines(store, scratch.path(), &lines))
        return rc;
    for (const char* name : kFamilies) {
        std::error_code error;
        const auto size = fs::file_size(scratch.path() + "/" + name, error);
        if (!error && size % indexline::kLineBytes != 0)
            problem(std::string(name) + " ends in a partial line");
    }
    std::map<long, std::vector<const Line*>> byRecId;
    for (const Line& line : lines)
        byRecId[recIdOf(line)].push_back(&line);
    for (const auto& [recId, sameId] : byRecId) {
        const std::string name = RecordFiler::recordFileName(recId);
        if (sameId.size() > 1) {
            std::string where;
            for (const Line* line : sameId)
                where += (where.empty() ? "" : ", ") + line->familyName + " at " + std::to_string(line->position);
            problem("record " + indexline::recIdText(recId) + " has " + std::to_string(sameId.size()) +
                    " lines (" + where + ")");
        }
        if (std::find(members.begin(), members.end(), name) == members.end())
            problem("record " + indexline::recIdText(recId) + " has a line but no record file");
        else
            checkRecordFile(store, name, scratch.path(), problem);
    }
    for (const std::string& member : members) {
        if (isRecordFileName(member) && byRecId.count(std::atol(member.c_str())) == 0)
            problem("the record file " + member + " has no line in any family file");
    }
    const char* index[] = {components::kIndex};
    std::uint64_t entries = 0;
    if (RPS_Get(store.c_str(), scratch.path().c_str(), index, 1) == 0 &&
        Ek7IndexCount((scratch.path() + "/" + components::kIndex).c_str(), &entries) == 0)
        std::cout << entries << " index entries (as of the last save)\n";
    else
        problem("the index cannot be read");
    std::cout << lines.size() << " records; " << (problems == 0 ? "no problems found" : "problems found") << "\n";
    return problems == 0 ? kExitOk : kExitProblems;
}

int run(std::vector<std::string> args)
{
    if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
        std::cout << kUsage;
        return kExitOk;
    }
    bool force = false;
    if (args.size() > 1 && args[0] == "extract" && args[1] == "--force") {
        force = true;
        args.erase(args.begin() + 1);
    }
    if (args.size() < 2)
        return usage();
    const std::string& command = args[0];
    const std::string& store = args[1];
    const bool known = (command == "list" && args.size() <= 3) || (command == "show" && args.size() == 3) ||
                       (command == "extract" && (args.size() == 3 || args.size() == 4)) ||
                       (command == "check" && args.size() == 2);
    if (!known)
        return usage();
    if (const auto status = unusableStore(store))
        return *status;
    if (command == "list")
        return list(store, args.size() > 2 ? args[2] : "all");
    if (command == "show")
        return show(store, std::atol(args[2].c_str()));
    if (command == "extract")
        return extract(store, std::atol(args[2].c_str()), args.size() == 4 ? args[3] : ".", force);
    return check(store);
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& e) {
        // Nothing here should throw; if something does, say so instead of aborting.
        return fail(kExitUnreadable, std::string("unexpected failure: ") + e.what());
    }
}
