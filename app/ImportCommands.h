// The File menu's imports (2150 data store, 2151 record files, 8024 video
// record files, 2152 WAV, 2172 MP3, 2173 WMA, 2174 OGG, 8023 WMV): the
// files are chosen through the prompt (several at once where that makes
// sense), the import runs with a progress dialog that can stop it between
// records, and a report says what came in, what was there already and what
// failed and why. The work itself is RecordImport's and SoundImport's.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "store/RecordImport.h"

class CommandTable;
class QWidget;
struct AppData;

namespace importcommands {

// What the commands need from the window: the list to refill afterwards
// (the list type the records went to) and the phone book, templates and
// agendas merge for a store import (none: only records come in).
struct Wiring {
    std::function<void(int listType)> refill;
    ComponentMerge mergeComponents;
};

void registerCommands(CommandTable& commands, AppData& app, QWidget* owner, Wiring wiring);

// The report's message-box text and flags (an exclamation when anything was
// refused or failed).
void showReport(const ImportReport& report);

// The choosers' filters.
inline constexpr const char* kStoreFilter = "Navo Files (*.vxt)|*.vxt||";
inline constexpr const char* kRecordFilter = "Navo Recordings (*.vxz)|*.vxz|All Files (*.*)|*.*||";
inline constexpr const char* kVideoRecordFilter = "Navo Video Recordings (*.vxv;*.vxz)|*.vxv;*.vxz|All Files (*.*)|*.*||";

}  // namespace importcommands
