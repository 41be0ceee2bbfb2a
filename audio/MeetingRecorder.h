// The Meeting Recorder's work, without a window: an EngineRecorder that
// files its recording as a meeting record (type "1", VXsaveM) with its
// subject, attendees and what the meeting cost.
#pragma once

#include <string>
#include <vector>

#include "audio/EngineRecorder.h"

struct MeetingEntry {
    std::string subject;
    std::string attendees;
    std::string keywords;
    std::string comments;
    std::string cost;  // the cost timer's text when the meeting ended
};

class MeetingRecorder : public EngineRecorder {
public:
    static constexpr std::size_t kAttendeesMax = 100;

    using EngineRecorder::EngineRecorder;

    // The line: RecID, "1", "0", "", subject, attendees, marks, start, end,
    // duration, cost, quality.
    std::vector<std::string> lineFields(const MeetingEntry& entry) const;
    // OK: 0, 110, or kKeptOpen (see EngineRecorder::file).
    int save(const MeetingEntry& entry);

    // The agenda the meeting follows (its items), from the first item on.
    void setAgenda(std::vector<std::string> items);
    // Reaches the next agenda item: an index mark at the current position
    // with the item's text as its comment. False when no item is left or
    // the recorder is closed.
    bool nextAgendaItem();
    // The item nextAgendaItem() reaches, or "" when none is left.
    std::string upcomingItem() const;
    std::size_t itemsReached() const { return m_reached; }

    // "Prime": the subject and attendees of the last meeting filed in the
    // open store (empty when there is none).
    static MeetingEntry previous(const AppData& app);

private:
    std::vector<std::string> m_agenda;
    std::size_t m_reached = 0;
};
