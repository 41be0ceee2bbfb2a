#include "store/MeetingAgendas.h"

#include <algorithm>

#include "core/AppData.h"
#include "platform/FileOps.h"
#include "store/ComponentExchange.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace meetingagendas {

namespace {

constexpr int kNotWritten = 109;
constexpr std::size_t kCounterSize = 9;

bool parseLine(const std::string& line, MeetingAgenda* agenda)
{
    std::vector<std::string> fields;
    std::size_t at = 0;
    while (true) {
        const std::size_t space = line.find(' ', at);
        fields.push_back(line.substr(at, space == std::string::npos ? std::string::npos : space - at));
        if (space == std::string::npos)
            break;
        at = space + 1;
    }
    const bool empty = std::any_of(fields.begin(), fields.end(), [](const std::string& f) { return f.empty(); });
    if (empty || fields[0].size() > kNameMax || fields.size() - 1 > kItemsMax)
        return false;
    agenda->name = indexline::showField(fields[0]);
    agenda->items.clear();
    for (std::size_t i = 1; i < fields.size(); ++i) {
        if (fields[i].size() > kItemMax)
            return false;
        agenda->items.push_back(indexline::showField(fields[i]));
    }
    return true;
}

// The counter before the first line end, and the lines after it.
std::vector<std::string> split(const std::string& text, std::string* counter)
{
    std::vector<std::string> lines;
    std::size_t at = text.find('\n');
    *counter = text.substr(0, at);
    while (at != std::string::npos && at + 1 < text.size()) {
        const std::size_t end = text.find('\n', at + 1);
        lines.push_back(text.substr(at + 1, end == std::string::npos ? std::string::npos : end - at - 1));
        at = end;
    }
    return lines;
}

std::string workingText(const AppData& app)
{
    std::string bytes;
    fileops::readWholeFile(components::workspacePath(app.TempDir, components::kCounterA), &bytes);
    return bytes;
}

}  // namespace

std::string text(const std::string& counter, const std::vector<MeetingAgenda>& all)
{
    std::string out = counter;
    for (const MeetingAgenda& a : all) {
        out += '\n';
        out += indexline::cleanField(a.name.substr(0, kNameMax));
        for (const std::string& item : a.items)
            if (!item.empty())  // an empty field would end the line's reading
                out += ' ' + indexline::cleanField(item.substr(0, kItemMax));
    }
    if (!all.empty())
        out += '\n';
    return out;
}

bool parse(const std::string& text, std::string* counter, std::vector<MeetingAgenda>* all, int* badLine)
{
    const std::vector<std::string> lines = split(text, counter);
    if (counter->size() != kCounterSize
        || !std::all_of(counter->begin(), counter->end(), [](char c) { return c >= '0' && c <= '9'; })) {
        if (badLine != nullptr)
            *badLine = 0;
        return false;
    }
    all->clear();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        MeetingAgenda agenda;
        if (!parseLine(lines[i], &agenda)) {
            if (badLine != nullptr)
                *badLine = static_cast<int>(i) + 2;  // the counter is line 1
            return false;
        }
        all->push_back(agenda);
    }
    return true;
}

std::vector<MeetingAgenda> load(const AppData& app)
{
    std::string counter;
    std::vector<MeetingAgenda> all;
    for (const std::string& line : split(workingText(app), &counter)) {
        MeetingAgenda agenda;
        if (parseLine(line, &agenda))
            all.push_back(agenda);
    }
    return all;
}

int save(const AppData& app, const std::vector<MeetingAgenda>& all)
{
    std::string counter;
    split(workingText(app), &counter);
    if (counter.empty())
        counter = components::kCounterSeed;
    return componentexchange::replaceComponent(app, components::kCounterA, text(counter, all)) == 0 ? 0
                                                                                                    : kNotWritten;
}

}  // namespace meetingagendas

MeetingAgendaBook::MeetingAgendaBook(const AppData& app) : m_app(app), m_agendas(meetingagendas::load(app))
{
}

std::string MeetingAgendaBook::checkName(const std::string& name, std::size_t except) const
{
    if (name.empty())
        return "Give the agenda a name.";
    if (name.size() > meetingagendas::kNameMax)
        return "An agenda's name has at most 60 characters.";
    for (std::size_t i = 0; i < m_agendas.size(); ++i)
        if (i != except && m_agendas[i].name == name)
            return "There is already an agenda named \"" + name + "\".";
    return {};
}

std::string MeetingAgendaBook::commit(const std::vector<MeetingAgenda>& all)
{
    if (meetingagendas::save(m_app, all) != 0)
        return "The meeting agendas could not be saved into the data store. Nothing was changed.";
    m_agendas = all;
    return {};
}

std::string MeetingAgendaBook::create(const std::string& name)
{
    if (std::string refused = checkName(name, m_agendas.size()); !refused.empty())
        return refused;
    std::vector<MeetingAgenda> all = m_agendas;
    all.push_back(MeetingAgenda{name, {}});
    return commit(all);
}

std::string MeetingAgendaBook::rename(std::size_t index, const std::string& name)
{
    if (index >= m_agendas.size())
        return "Choose an agenda first.";
    if (std::string refused = checkName(name, index); !refused.empty())
        return refused;
    std::vector<MeetingAgenda> all = m_agendas;
    all[index].name = name;
    return commit(all);
}

std::string MeetingAgendaBook::remove(std::size_t index)
{
    if (index >= m_agendas.size())
        return "Choose an agenda first.";
    std::vector<MeetingAgenda> all = m_agendas;
    all.erase(all.begin() + static_cast<std::ptrdiff_t>(index));
    return commit(all);
}

std::string MeetingAgendaBook::setItems(std::size_t index, const std::vector<std::string>& items)
{
    if (index >= m_agendas.size())
        return "Choose an agenda first.";
    std::vector<std::string> kept;
    for (std::string item : items) {
        item = indexline::showField(indexline::cleanField(item));  // line breaks as spaces
        const auto first = item.find_first_not_of(' ');
        if (first == std::string::npos)
            continue;
        item = item.substr(first, item.find_last_not_of(' ') - first + 1).substr(0, meetingagendas::kItemMax);
        kept.push_back(item);
    }
    if (kept.size() > meetingagendas::kItemsMax)
        return "An agenda has at most 99 items.";
    std::vector<MeetingAgenda> all = m_agendas;
    all[index].items = kept;
    return commit(all);
}
