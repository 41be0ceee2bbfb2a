// Meeting agendas: named lists of agenda items, kept in the store's
// "Telvarine.vxa" component.
//
// That component began life as a counter: a new store is seeded with the nine
// characters "999999999" and no line end, and opening an older store adds it
// in that form. The agendas therefore live after the counter, so the seed and
// every store made before agendas existed stay valid as they are:
//   "<counter>"                        no agendas (the seeded form, unchanged)
//   "<counter>\n<agenda>\n<agenda>\n"  one agenda a line
// The counter is whatever stands before the first line end (normally the
// seed) and is written back unchanged. An agenda line is its name and its
// items as fields separated by single spaces, spaces inside a text stored as
// 0xAC and line breaks as spaces, as in index lines and templates. Each
// change goes into the store at once, so agendas survive a crash as well as a
// restart. An exported agendas file (".vxa") is the component as it is.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct AppData;

struct MeetingAgenda {
    std::string name;
    std::vector<std::string> items;
    bool operator==(const MeetingAgenda& o) const { return name == o.name && items == o.items; }
};

namespace meetingagendas {

inline constexpr std::size_t kNameMax = 60;
// An item becomes an index mark's comment, which holds 49 characters.
inline constexpr std::size_t kItemMax = 49;
inline constexpr std::size_t kItemsMax = 99;

// The component's text for a counter and agendas, and back. parse() is
// strict: false (with the 1-based line in *badLine, 0 for the counter) when
// the counter is not nine digits or a line is not an agenda.
std::string text(const std::string& counter, const std::vector<MeetingAgenda>& all);
bool parse(const std::string& text, std::string* counter, std::vector<MeetingAgenda>* all, int* badLine = nullptr);

// The open store's agendas (an unreadable component reads as none).
std::vector<MeetingAgenda> load(const AppData& app);
// Writes them after the store's counter and puts the component into the
// store. 0, or 109 when it could not be written; then nothing changed.
int save(const AppData& app, const std::vector<MeetingAgenda>& all);

}  // namespace meetingagendas

// The agendas dialog's work: create, rename, delete and edit items, each
// change saved into the store at once. A refused change returns a message
// for the user and leaves the agendas as they were.
class MeetingAgendaBook {
public:
    explicit MeetingAgendaBook(const AppData& app);

    const std::vector<MeetingAgenda>& agendas() const { return m_agendas; }

    // "" on success, else what to tell the user.
    std::string create(const std::string& name);
    std::string rename(std::size_t index, const std::string& name);
    std::string remove(std::size_t index);
    // Empty items are dropped, long ones cut to kItemMax.
    std::string setItems(std::size_t index, const std::vector<std::string>& items);

private:
    std::string checkName(const std::string& name, std::size_t except) const;
    std::string commit(const std::vector<MeetingAgenda>& all);

    const AppData& m_app;
    std::vector<MeetingAgenda> m_agendas;
};
