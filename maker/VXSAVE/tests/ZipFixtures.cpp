#include "ZipFixtures.h"

#include "TestFiles.h"

#include <zip.h>

#include <stdexcept>

namespace zipfixtures {

void writeZip(const std::string& path, const std::vector<std::pair<std::string, std::string>>& entries)
{
    int error = 0;
    zip_t* zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (zip == nullptr)
        throw std::runtime_error("zip_open failed");
    for (const auto& [name, content] : entries) {
        zip_source_t* source = zip_source_buffer(zip, content.data(), content.size(), 0);
        const zip_int64_t index = zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_RAW);
        if (index < 0) {
            zip_source_free(source);
            zip_discard(zip);
            throw std::runtime_error("zip_file_add refused '" + name + "'");
        }
        zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
    }
    if (zip_close(zip) != 0) {
        zip_discard(zip);
        throw std::runtime_error("zip_close failed");
    }
}

std::map<std::string, std::string> readZip(const std::string& path)
{
    int error = 0;
    zip_t* zip = zip_open(path.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, &error);
    if (zip == nullptr)
        throw std::runtime_error("not a readable zip: " + path);
    std::map<std::string, std::string> entries;
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        zip_file_t* file = zip_fopen_index(zip, index, 0);
        if (file == nullptr) {
            zip_discard(zip);
            throw std::runtime_error("cannot open entry");
        }
        std::string content;
        char buffer[65536];
        zip_int64_t n;
        while ((n = zip_fread(file, buffer, sizeof buffer)) > 0)
            content.append(buffer, static_cast<std::size_t>(n));
        zip_fclose(file);
        if (n < 0) {
            zip_discard(zip);
            throw std::runtime_error("damaged entry");
        }
        entries[zip_get_name(zip, index, 0)] = content;
    }
    zip_discard(zip);
    return entries;
}

void patchBytes(const std::string& path, const std::string& from, const std::string& to)
{
    if (from.size() != to.size())
        throw std::runtime_error("patch must keep the length");
    std::string bytes = testfiles::readFile(path);
    auto at = bytes.find(from);
    if (at == std::string::npos)
        throw std::runtime_error("pattern not in file");
    for (; at != std::string::npos; at = bytes.find(from, at + to.size()))
        bytes.replace(at, from.size(), to);
    testfiles::writeFile(path, bytes);
}

std::string indexLine(const std::string& recId, const std::string& subject)
{
    std::string line = recId + " 0 0  " + subject + " ";
    line.resize(400, ' ');
    return line + "\n";
}

}  // namespace zipfixtures
