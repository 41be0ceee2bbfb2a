#include "store/FamilyFile.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "maker/VXSAVE/VXSAVE.h"
#include "platform/FileOps.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace family {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

File openFile(const std::string& path, const char* mode)
{
    return File(std::fopen(path.c_str(), mode));
}

bool sameRecId(const std::string& line, const std::string& recIdText)
{
    const std::string first = indexline::field(line, 1);
    return !first.empty() && std::atol(first.c_str()) == std::atol(recIdText.c_str());
}

}  // namespace

std::string readLine(const std::string& workspace, const std::string& recIdText, int recordType,
                     long position)
{
    const std::string name = components::familyFileForType(recordType);
    if (name.empty())
        return kBad;
    File file = openFile(components::workspacePath(workspace, name), "rb");
    if (!file || position < 0 || std::fseek(file.get(), position, SEEK_SET) != 0)
        return kLost;
    std::string line(indexline::kLineBytes, '\0');
    // A line cut short by a damaged file is as lost as a missing one.
    if (std::fread(line.data(), 1, line.size(), file.get()) != line.size())
        return kLost;
    return sameRecId(line, recIdText) ? line : kLost;
}

long replaceRecordLine(const std::string& recordFileName, const std::string& workspace,
                       const std::string& storePath, const std::string& extra,
                       const std::string& familyName, const std::string& lineFile)
{
    const std::string familyPath = components::workspacePath(workspace, familyName);
    const std::string tempPath = components::workspacePath(workspace, "templog.tmp");
    long written = 0;
    {
        File familyIn = openFile(familyPath, "rb");
        File lineIn = openFile(lineFile, "rb");
        fileops::UniqueFd temp(fileops::openFile(tempPath, fileops::Access::CreateTruncate));
        if (!familyIn || !lineIn || !temp.valid())
            return 0;
        std::string newLine(indexline::kLineBytes, '\0');
        if (std::fread(newLine.data(), 1, newLine.size(), lineIn.get()) != newLine.size())
            return 0;
        const std::string recId = indexline::field(newLine, 1);

        std::string line(indexline::kLineBytes, '\0');
        std::string pending;  // written in large pieces, not line by line
        long position = 0;
        std::size_t got;
        while ((got = std::fread(line.data(), 1, line.size(), familyIn.get())) > 0) {
            const std::string current = line.substr(0, got);
            const bool replace = got == line.size() && sameRecId(current, recId);
            if (replace)
                written = position;
            pending += replace ? newLine : current;
            position += static_cast<long>(got);
            if (pending.size() >= 256 * 1024) {
                if (fileops::writeAll(temp.get(), pending.data(), pending.size()) != 0)
                    return 0;
                pending.clear();
            }
        }
        if (fileops::writeAll(temp.get(), pending.data(), pending.size()) != 0 || temp.close() != 0)
            return 0;
    }
    // No line of that RecID (or only one at 0): nothing may change.
    if (written == 0) {
        fileops::removeFile(tempPath);
        return 0;
    }
    // The rewritten record file and the family file with its new line go
    // into the store in one transaction; the workspace copy follows only
    // when the store has both.
    const char* sources[] = {tempPath.c_str()};
    const char* members[] = {familyName.c_str()};
    if (VXsaveVXZWith(recordFileName.c_str(), workspace.c_str(), storePath.c_str(), extra.c_str(), sources, members,
                      1)
        > 0) {
        fileops::removeFile(tempPath);
        return 0;
    }
    if (fileops::renameFile(tempPath, familyPath) != 0) {
        fileops::removeFile(tempPath);
        return 0;
    }
    return written;
}

bool markDeleted(const std::string& familyPath, const std::string& recIdText, long position, bool* failed)
{
    if (failed != nullptr)
        *failed = false;
    fileops::UniqueFd file(fileops::openFile(familyPath, fileops::Access::ReadWrite));
    if (!file.valid() || position < 0)
        return false;
    const auto at = static_cast<std::uint64_t>(position);
    std::string line(indexline::kLineBytes, '\0');
    std::size_t got = 0;
    if (fileops::preadUpTo(file.get(), line.data(), line.size(), at, &got) != 0 || got != line.size()
        || !sameRecId(line, recIdText))
        return false;
    const std::string first = indexline::field(line, 1);
    if (first.size() != 8)
        return false;
    const bool marked = fileops::pwriteAll(file.get(), indexline::kDeletedRecId, 8, at) == 0;
    if (failed != nullptr)
        *failed = !marked;
    return marked;
}

}  // namespace family
