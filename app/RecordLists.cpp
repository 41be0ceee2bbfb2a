#include "app/RecordLists.h"

#include "core/AppData.h"
#include "maker/Ek7Srch/SearchLogRows.h"
#include "res/resource.h"

namespace recordlists {

namespace {

const std::vector<Column> kStandardColumns = {{"ID", 100}, {"Subject", 280}, {"Date", 80}, {"Time", 65},
                                              {"Duration", 70}, {"", 0},        {"", 0}};
const std::vector<Column> kDiaryColumns = {{"ID", 100},        {"Subject", 280}, {"Diary Date", 80},
                                           {"Diary Time", 65}, {"Duration", 70}, {"", 0},
                                           {"", 0}};
const std::vector<Column> kPhoneColumns = {{"ID", 80},   {"Phone Number", 120}, {"Name", 180},
                                           {"Date", 80}, {"Time", 65},          {"Duration", 70},
                                           {"", 1},      {"", 1}};

const ListSpec kSpecs[] = {
    {kListDictation, SearchLogRows::kDictation, "Telvarine.vxr", "Dictation", "Searching messages...",
     "Total dictations found = ", kStandardColumns},
    {kListMeeting, SearchLogRows::kMeeting, "Telvarine.vxm", "Meeting", "Meeting List : 0 items returned",
     "Total meetings found = ", kStandardColumns},
    {kListPhone, SearchLogRows::kPhone, "Telvarine.vxp", "Phone", "Phone Call List : 0 items returned",
     "Total phone calls found = ", kPhoneColumns},
    {kListDiary, SearchLogRows::kDiary, "Telvarine.vxd", "Diary", "Searching diary...",
     "Total diary entries found = ", kDiaryColumns},
    {kListTranslation, SearchLogRows::kTranslation, "Telvarine.vxr", "Translation", "Searching messages...",
     "Total translations found = ", kStandardColumns},
    {kListVideo, SearchLogRows::kVideo, "Telvarine.vxr", "Video", "Searching messages...",
     "Total videos found = ", kStandardColumns},
};

const int kChooserOrder[] = {kListDictation, kListVideo, kListMeeting, kListTranslation, kListPhone, kListDiary};

}  // namespace

const ListSpec* specFor(int listType)
{
    for (const ListSpec& spec : kSpecs)
        if (spec.listType == listType)
            return &spec;
    return nullptr;
}

std::string countText(int listType, int found, int newMessages)
{
    const ListSpec* spec = specFor(listType);
    if (!spec)
        return {};
    std::string text = spec->countPrefix + std::to_string(found);
    if (listType == kListPhone && newMessages > 0)
        text += " : You have " + std::to_string(newMessages) + " new messages.";
    return text;
}

int listTypeAtChooserPosition(int position)
{
    return position >= 0 && position < 6 ? kChooserOrder[position] : kListNone;
}

int chooserPositionOfListType(int listType)
{
    for (int position = 0; position < 6; ++position)
        if (kChooserOrder[position] == listType)
            return position;
    return -1;
}

std::map<int, bool> contextMenuStates(int listType, int selected, bool callWaiting)
{
    // The menu's own starting states: the record's editing commands on,
    // everything that depends on the list or the selection off.
    std::map<int, bool> states = {
        {ID_RECORD_EDIT, true},            {ID_RECORD_DELETE, true},          {ID_RECORD_PRINT, true},
        {ID_RECORD_PLAY, false},           {ID_RECORD_SEND, false},           {ID_RECORD_REDIAL, false},
        {ID_RECORD_ADD_TO_PHONEBOOK, false}, {ID_RECORD_NEW_DICTATION, false}, {ID_RECORD_USE_AS_GREETING, false},
        {ID_RECORD_2108, false},           {ID_RECORD_FROM_TEMPLATE, true},   {ID_RECORD_EXPORT_NAVO, false},
        {ID_RECORD_EXPORT_WAV, false},     {ID_RECORD_EXPORT_MP3, false},     {ID_RECORD_EXPORT_WMA, false},
        {ID_RECORD_EXPORT_OGG, false},     {ID_RECORD_EXPORT_WMV, false},     {ID_RECORD_PLAY_OVER_LINE, false},
    };
    states[ID_RECORD_PLAY] = true;
    states[ID_RECORD_EXPORT_NAVO] = true;
    if (listType == kListVideo) {
        states[ID_RECORD_EXPORT_WMV] = true;
    } else {
        for (int id : {ID_RECORD_EXPORT_WAV, ID_RECORD_EXPORT_WMA, ID_RECORD_EXPORT_MP3, ID_RECORD_EXPORT_OGG})
            states[id] = true;
    }
    states[ID_RECORD_SEND] = true;
    states[ID_RECORD_PLAY_OVER_LINE] = callWaiting && selected == 1;
    if (listType == kListPhone) {
        states[ID_RECORD_ADD_TO_PHONEBOOK] = true;
        states[ID_RECORD_REDIAL] = selected == 1;
    }
    if (listType == kListDictation && selected == 1) {
        states[ID_RECORD_NEW_DICTATION] = true;
        states[ID_RECORD_USE_AS_GREETING] = true;
        states[ID_RECORD_2108] = true;
    }
    return states;
}

std::string deleteQuestion(const std::vector<std::string>& recIds)
{
    if (recIds.size() == 1)
        return "Are you sure you want to delete message ID : " + recIds.front();
    return "Are you sure you want to delete the selected records";
}

LineState lineState(bool monitoring, bool answerMachineOn, int newMessages)
{
    // A closed line shows closed, whatever the answer machine's switch says.
    if (!monitoring)
        return LineState::Closed;
    if (answerMachineOn)
        return newMessages > 0 ? LineState::AnsweringNew : LineState::Answering;
    return newMessages > 0 ? LineState::MonitoringNew : LineState::Monitoring;
}

}  // namespace recordlists
