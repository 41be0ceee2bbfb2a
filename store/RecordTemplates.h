// Record templates: named sets of a new recording's texts (its list type,
// subject, keywords and comments), kept in the store's templates component
// ("Telvarine.vxc"), one template a line:
//   "<list type> <name> <subject> <keywords> <comments>\n"
// with spaces inside a text as 0xAC and line breaks as spaces, as in index
// lines. Every change goes into the store at once, so templates survive a
// crash as well as a restart.
#pragma once

#include <string>
#include <vector>

struct AppData;

struct RecordTemplate {
    std::string name;
    int listType = 1;  // CurrentListType of the recorder it opens
    std::string subject;
    std::string keywords;
    std::string comments;
    bool operator==(const RecordTemplate& o) const
    {
        return name == o.name && listType == o.listType && subject == o.subject && keywords == o.keywords
            && comments == o.comments;
    }
};

namespace recordtemplates {

inline constexpr std::size_t kNameMax = 60;

// The open store's templates (a line that cannot be read is left out).
std::vector<RecordTemplate> load(const AppData& app);
// Writes them all (replacing the working copy only once it is complete) and
// puts the component into the store. 0; 109 when the working copy could not
// be written (nothing changed) or the store could not take it now (the
// store's next save does).
int save(const AppData& app, const std::vector<RecordTemplate>& all);

std::string lineOf(const RecordTemplate& t);
bool parse(const std::string& line, RecordTemplate* t);

}  // namespace recordtemplates
