#include "audio/MeetingRecorder.h"

#include <fstream>

#include "core/AppData.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace {

constexpr std::size_t kFieldCount = 12;
constexpr int kMarksPlace = 7;

}  // namespace

std::vector<std::string> MeetingRecorder::lineFields(const MeetingEntry& entry) const
{
    std::vector<std::string> fields(kFieldCount);
    fields[0] = recIdText();
    fields[1] = "1";
    fields[2] = "0";
    fields[4] = oneLine(entry.subject).substr(0, kSubjectMax);
    fields[5] = oneLine(entry.attendees).substr(0, kAttendeesMax);
    fields[7] = startText();
    fields[8] = endText();
    fields[10] = oneLine(entry.cost).substr(0, 20);
    fields[11] = std::to_string(quality());
    return fields;
}

int MeetingRecorder::save(const MeetingEntry& entry)
{
    // The attendees are searched for as keywords are.
    std::string keywords = entry.keywords;
    if (!entry.attendees.empty())
        keywords += (keywords.empty() ? "" : " ") + entry.attendees;
    return file('M', lineFields(entry), kMarksPlace, keywords, entry.comments);
}

void MeetingRecorder::setAgenda(std::vector<std::string> items)
{
    m_agenda = std::move(items);
    m_reached = 0;
}

bool MeetingRecorder::nextAgendaItem()
{
    if (m_reached >= m_agenda.size() || state() == State::Closed)
        return false;
    addMark(m_agenda[m_reached++]);
    return true;
}

std::string MeetingRecorder::upcomingItem() const
{
    return m_reached < m_agenda.size() ? m_agenda[m_reached] : std::string();
}

MeetingEntry MeetingRecorder::previous(const AppData& app)
{
    MeetingEntry last;
    std::ifstream in(components::workspacePath(app.TempDir, components::kMeeting), std::ios::binary);
    std::string line(indexline::kLineBytes, '\0');
    while (in.read(line.data(), static_cast<std::streamsize>(line.size()))) {
        if (line.compare(0, 8, indexline::kDeletedRecId) == 0 || indexline::field(line, 2) != "1")
            continue;
        last.subject = indexline::showField(indexline::field(line, 5));
        last.attendees = indexline::showField(indexline::field(line, 6));
    }
    return last;
}
