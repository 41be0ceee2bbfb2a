#include "telephony/PhoneBookImport.h"

#include <set>
#include <utility>

#include "core/AppData.h"
#include "platform/FileOps.h"
#include "store/ComponentFiles.h"
#include "telephony/PhoneBook.h"

namespace phonebookimport {

using componentexchange::kBadSource;
using componentexchange::kImported;
using componentexchange::kNotWritten;

int importPhoneBook(const AppData& app, const std::string& bytes, const std::string& source, MergeReport* report,
                    std::string* error)
{
    if (bytes.size() % PhoneBook::kLineSize != 0) {
        *error = source + ": it is not a phone book (its length is not a whole number of "
               + std::to_string(PhoneBook::kLineSize) + "-byte lines)";
        return kBadSource;
    }
    for (std::size_t at = 0; at < bytes.size(); at += PhoneBook::kLineSize)
        if (!PhoneBook::isLine(bytes.data() + at)) {
            *error = source + ": entry " + std::to_string(at / PhoneBook::kLineSize + 1)
                   + " is not a phone book line";
            return kBadSource;
        }

    const std::string path = components::workspacePath(app.TempDir, components::kPhoneBook);
    const PhoneBook book(path, components::workspacePath(app.TempDir, PhoneBook::kTempName));
    std::string current;
    if (const int read = fileops::readWholeFile(path, &current); read != 0 && read != ENOENT) {
        *error = path + ": the phone book could not be read";
        return kNotWritten;
    }
    std::set<std::pair<std::string, std::string>> here;
    for (const PhoneBookEntry& e : PhoneBook::entriesOf(current))
        here.emplace(e.name, e.number);
    std::size_t room = PhoneBook::kMaxEntries - std::min(PhoneBook::kMaxEntries, current.size() / PhoneBook::kLineSize);

    MergeReport counted;
    std::string lines;
    for (const PhoneBookEntry& e : PhoneBook::entriesOf(bytes)) {
        if (!here.emplace(e.name, e.number).second) {
            ++counted.skipped;
        } else if (room == 0) {
            ++counted.leftOut;
        } else {
            lines.append(bytes, static_cast<std::size_t>(e.offset), PhoneBook::kLineSize);
            --room;
            ++counted.added;
        }
    }
    if (!lines.empty()) {
        std::uint64_t end = 0;
        bool ok = book.appendLines(lines, &end) == 0;
        if (ok && !components::putIntoStore(app.DataStorePath, app.TempDir, components::kPhoneBook)) {
            fileops::UniqueFd file(fileops::openFile(path, fileops::Access::ReadWrite));
            if (file.valid())
                fileops::truncateFile(file.get(), end);
            ok = false;
        }
        if (!ok) {
            *error = app.DataStorePath + ": the phone book could not be saved into this data store";
            return kNotWritten;
        }
    }
    *report = counted;
    return kImported;
}

int importFromStore(const AppData& app, const std::string& storePath, MergeReport* report, std::string* error)
{
    std::string bytes;
    const int read = componentexchange::readFromStore(storePath, components::kPhoneBook, &bytes, error);
    return read != kImported ? read : importPhoneBook(app, bytes, storePath, report, error);
}

int importFromFile(const AppData& app, const std::string& path, MergeReport* report, std::string* error)
{
    std::string bytes;
    const int read = componentexchange::readFromFile(path, &bytes, error);
    return read != kImported ? read : importPhoneBook(app, bytes, path, report, error);
}

}  // namespace phonebookimport
