#include "store/RecordTemplates.h"

#include <fstream>

#include "core/AppData.h"
#include "platform/FileOps.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace recordtemplates {

namespace {

constexpr int kNotWritten = 109;

}  // namespace

std::string lineOf(const RecordTemplate& t)
{
    return std::to_string(t.listType) + " " + indexline::cleanField(t.name.substr(0, kNameMax)) + " "
         + indexline::cleanField(t.subject) + " " + indexline::cleanField(t.keywords) + " "
         + indexline::cleanField(t.comments) + "\n";
}

bool parse(const std::string& line, RecordTemplate* t)
{
    const std::vector<std::string> f = indexline::fields(line, 5);
    if (f[0].size() != 1 || f[0][0] < '1' || f[0][0] > '6' || f[1].empty())
        return false;
    t->listType = f[0][0] - '0';
    t->name = indexline::showField(f[1]);
    t->subject = indexline::showField(f[2]);
    t->keywords = indexline::showField(f[3]);
    t->comments = indexline::showField(f[4]);
    return true;
}

std::vector<RecordTemplate> load(const AppData& app)
{
    std::vector<RecordTemplate> all;
    std::ifstream in(components::workspacePath(app.TempDir, components::kTemplates), std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        RecordTemplate t;
        if (parse(line, &t))
            all.push_back(t);
    }
    return all;
}

int save(const AppData& app, const std::vector<RecordTemplate>& all)
{
    std::string text;
    for (const RecordTemplate& t : all)
        text += lineOf(t);
    fileops::TempFile file;
    if (file.create(app.TempDir, components::kTemplates) != 0
        || fileops::writeAll(file.fd(), text.data(), text.size()) != 0 || file.finish(true) != 0
        || file.publish() != 0)
        return kNotWritten;
    return components::putIntoStore(app.DataStorePath, app.TempDir, components::kTemplates) ? 0 : kNotWritten;
}

}  // namespace recordtemplates
