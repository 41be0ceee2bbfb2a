// What each record list looks like and which record commands a selection
// allows: plain data and rules, so the main window only applies them.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace recordlists {

struct Column {
    const char* title;
    int width;
};

struct ListSpec {
    int listType;            // 1 Dictation ... 6 Video
    int searchType;          // SearchLog's search type
    const char* familyFile;  // the component searched
    const char* heading;
    const char* searchingText;
    const char* countPrefix;
    std::vector<Column> columns;  // the last two are the hidden ones
};

// nullptr for a list type that has no list.
const ListSpec* specFor(int listType);

// "Total dictations found = 12", with " : You have 3 new messages." for a
// phone list that has some.
std::string countText(int listType, int found, int newMessages);

// The list type of a record-type chooser position (0 Dictation, 1 Video,
// 2 Meeting, 3 Translation, 4 Phone, 5 Diary); 0 for any other position.
int listTypeAtChooserPosition(int position);
// The chooser position of a list type; -1 for none.
int chooserPositionOfListType(int listType);

// The record menu's commands with whether each is enabled, for a selection
// of `selected` rows in a list; callWaiting: a connected call that nobody
// has taken in hand yet.
std::map<int, bool> contextMenuStates(int listType, int selected, bool callWaiting);

// The question before deleting the selected records.
std::string deleteQuestion(const std::vector<std::string>& recIds);

// Which of the five line-state pictures the Phone item shows.
enum class LineState { Closed, Monitoring, MonitoringNew, Answering, AnsweringNew };
LineState lineState(bool monitoring, bool answerMachineOn, int newMessages);

}  // namespace recordlists
