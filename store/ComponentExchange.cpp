#include "store/ComponentExchange.h"

#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "core/AppData.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileOps.h"
#include "platform/TempName.h"
#include "store/ComponentFiles.h"
#include "store/MeetingAgendas.h"
#include "store/RecordTemplates.h"

namespace componentexchange {

namespace {

constexpr int kStoreRefused = 109;

std::string reasonOf(int err)
{
    return err == ENOENT ? "there is no such file" : err == EISDIR ? "it is a folder" : std::strerror(err);
}

// The form a component has when nothing was ever put in it.
std::string emptyForm(const char* component)
{
    return std::strcmp(component, components::kCounterA) == 0 ? components::kCounterSeed : "";
}

bool writeFile(const std::string& path, const std::string& bytes, int* err)
{
    fileops::TempFile file;
    *err = file.create(fileops::parentFolderOf(path), fileops::baseNameOf(path));
    if (*err == 0)
        *err = fileops::writeAll(file.fd(), bytes.data(), bytes.size());
    if (*err == 0)
        *err = file.finish(true);
    if (*err == 0)
        *err = file.publish();
    return *err == 0;
}

// A name not used by any of names: name, else "name (2)", "name (3)" ...
// kept within max characters.
std::string freeName(const std::string& name, const std::vector<std::string>& names, std::size_t max)
{
    const auto taken = [&](const std::string& n) {
        for (const std::string& used : names)
            if (used == n)
                return true;
        return false;
    };
    if (!taken(name))
        return name;
    for (int n = 2;; ++n) {
        const std::string suffix = " (" + std::to_string(n) + ")";
        const std::string candidate = name.substr(0, max - std::min(max, suffix.size())) + suffix;
        if (!taken(candidate))
            return candidate;
    }
}

// Whether name is what freeName() makes of original: "original (n)".
bool renamedFrom(const std::string& name, const std::string& original, std::size_t max)
{
    const std::size_t open = name.rfind(" (");
    if (open == std::string::npos || name.back() != ')' || open + 3 >= name.size())
        return false;
    const std::string digits = name.substr(open + 2, name.size() - open - 3);
    if (digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const std::size_t suffix = name.size() - open;
    return name.compare(0, open, original.substr(0, max - std::min(max, suffix))) == 0;
}

// Adds each incoming item not already here, renaming it when its name is
// taken. Already here: the same content under the same name, or under the
// name an earlier import gave it. T has a `name`.
template <class T>
std::vector<T> merged(std::vector<T> here, const std::vector<T>& incoming, std::size_t nameMax, MergeReport* report)
{
    for (T item : incoming) {
        bool present = false;
        for (T h : here) {
            const bool sameName = h.name == item.name || renamedFrom(h.name, item.name, nameMax);
            h.name = item.name;
            present = present || (sameName && h == item);
        }
        if (present) {
            ++report->skipped;
            continue;
        }
        std::vector<std::string> names;
        for (const T& h : here)
            names.push_back(h.name);
        const std::string name = freeName(item.name, names, nameMax);
        if (name != item.name) {
            item.name = name;
            ++report->renamed;
        }
        here.push_back(item);
        ++report->added;
    }
    return here;
}

std::string lineText(int line)
{
    return "line " + std::to_string(line);
}

}  // namespace

bool exportComponent(const AppData& app, const char* component, const std::string& path, std::string* error)
{
    std::string bytes;
    const int read = fileops::readWholeFile(components::workspacePath(app.TempDir, component), &bytes);
    if (read == ENOENT) {
        bytes = emptyForm(component);
    } else if (read != 0) {
        *error = std::string(component) + ": " + reasonOf(read);
        return false;
    }
    int err = 0;
    if (!writeFile(path, bytes, &err)) {
        *error = path + ": " + std::strerror(err);
        return false;
    }
    return true;
}

int readFromStore(const std::string& storePath, const char* component, std::string* bytes, std::string* error)
{
    std::error_code ec;
    const std::string folder = uniqueTempName("NavoImport");
    if (!std::filesystem::create_directory(folder, ec)) {
        *error = storePath + ": no temporary folder to read it in (" + ec.message() + ")";
        return kBadSource;
    }
    const char* names[] = {component};
    const int got = RPS_Get(storePath.c_str(), folder.c_str(), names, 1);
    int read = 0;
    if (got == kRpsOk)
        read = fileops::readWholeFile(fileops::joinPath(folder, component), bytes);
    std::filesystem::remove_all(folder, ec);
    if (got == kRpsErrMemberMissing) {
        *error = storePath + ": the data store has no " + component;
        return kNoMember;
    }
    if (got != kRpsOk) {
        *error = storePath + ": " + rpsErrorText(got);
        return kBadSource;
    }
    if (read != 0) {
        *error = storePath + ": " + component + " could not be read (" + reasonOf(read) + ")";
        return kBadSource;
    }
    return kImported;
}

int readFromFile(const std::string& path, std::string* bytes, std::string* error)
{
    const int read = fileops::readWholeFile(path, bytes);
    if (read != 0) {
        *error = path + ": " + reasonOf(read);
        return kBadSource;
    }
    return kImported;
}

int replaceComponent(const AppData& app, const char* component, const std::string& bytes)
{
    const std::string path = components::workspacePath(app.TempDir, component);
    std::string before;
    const bool existed = fileops::readWholeFile(path, &before) == 0;
    int err = 0;
    if (!writeFile(path, bytes, &err))
        return kStoreRefused;
    if (components::putIntoStore(app.DataStorePath, app.TempDir, component))
        return 0;
    // The store still has the old one; so must the workspace.
    if (existed)
        writeFile(path, before, &err);
    else
        fileops::removeFile(path);
    return kStoreRefused;
}

int importTemplates(const AppData& app, const std::string& bytes, const std::string& source, MergeReport* report,
                    std::string* error)
{
    std::vector<RecordTemplate> incoming;
    std::size_t at = 0;
    for (int line = 1; at < bytes.size(); ++line) {
        const std::size_t end = bytes.find('\n', at);
        const std::string text = bytes.substr(at, end == std::string::npos ? std::string::npos : end - at);
        at = end == std::string::npos ? bytes.size() : end + 1;
        RecordTemplate t;
        if (text.find('\0') != std::string::npos || !recordtemplates::parse(text, &t)) {
            *error = source + ": " + lineText(line) + " is not a record template";
            return kBadSource;
        }
        incoming.push_back(t);
    }
    MergeReport counted;
    const std::vector<RecordTemplate> all =
        merged(recordtemplates::load(app), incoming, recordtemplates::kNameMax, &counted);
    if (counted.added > 0) {
        std::string text;
        for (const RecordTemplate& t : all)
            text += recordtemplates::lineOf(t);
        if (replaceComponent(app, components::kTemplates, text) != 0) {
            *error = app.DataStorePath + ": the templates could not be saved into this data store";
            return kNotWritten;
        }
    }
    *report = counted;
    return kImported;
}

int importTemplatesFromStore(const AppData& app, const std::string& storePath, MergeReport* report,
                             std::string* error)
{
    std::string bytes;
    const int read = readFromStore(storePath, components::kTemplates, &bytes, error);
    return read != kImported ? read : importTemplates(app, bytes, storePath, report, error);
}

int importTemplatesFromFile(const AppData& app, const std::string& path, MergeReport* report, std::string* error)
{
    std::string bytes;
    const int read = readFromFile(path, &bytes, error);
    return read != kImported ? read : importTemplates(app, bytes, path, report, error);
}

int importAgendas(const AppData& app, const std::string& bytes, const std::string& source, MergeReport* report,
                  std::string* error)
{
    std::string counter;
    std::vector<MeetingAgenda> incoming;
    int bad = 0;
    if (bytes.find('\0') != std::string::npos || !meetingagendas::parse(bytes, &counter, &incoming, &bad)) {
        *error = source + ": " + (bad == 0 ? std::string("it does not begin with the agendas' nine-digit counter")
                                           : lineText(bad) + " is not a meeting agenda");
        return kBadSource;
    }
    MergeReport counted;
    const std::vector<MeetingAgenda> all =
        merged(meetingagendas::load(app), incoming, meetingagendas::kNameMax, &counted);
    if (counted.added > 0 && meetingagendas::save(app, all) != 0) {
        *error = app.DataStorePath + ": the agendas could not be saved into this data store";
        return kNotWritten;
    }
    *report = counted;
    return kImported;
}

int importAgendasFromStore(const AppData& app, const std::string& storePath, MergeReport* report,
                           std::string* error)
{
    std::string bytes;
    const int read = readFromStore(storePath, components::kCounterA, &bytes, error);
    return read != kImported ? read : importAgendas(app, bytes, storePath, report, error);
}

int importAgendasFromFile(const AppData& app, const std::string& path, MergeReport* report, std::string* error)
{
    std::string bytes;
    const int read = readFromFile(path, &bytes, error);
    return read != kImported ? read : importAgendas(app, bytes, path, report, error);
}

std::string reportText(const MergeReport& report)
{
    std::string text = std::to_string(report.added) + " added, " + std::to_string(report.skipped)
                     + " already here and skipped.";
    if (report.renamed > 0)
        text += "\n" + std::to_string(report.renamed) + " added under a new name, as theirs was already in use.";
    if (report.leftOut > 0)
        text += "\n" + std::to_string(report.leftOut)
              + " not imported: the phone book holds at most 5000 entries.";
    return text;
}

}  // namespace componentexchange
