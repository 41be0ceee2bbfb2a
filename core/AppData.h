// The application data block: paths, names and flags that start-up works out
// once and that many windows and threads read afterwards.
//
// There is one block per process (theAppData()); windows are handed a
// reference to it rather than reaching for the global, so tests can give each
// window a block of its own.
#pragma once

#include <atomic>
#include <string>

#include "platform/WinTypes.h"

struct LineState;

// Which record list the main window shows.
enum ListType : int {
    kListNone = 0,
    kListDictation = 1,
    kListMeeting = 2,
    kListPhone = 3,
    kListDiary = 4,
    kListTranslation = 5,
    kListVideo = 6,
};

// Store state: 0 open and healthy, 1 the user cancelled choosing a store,
// 2 building or opening a store failed. Only 0 is saved at exit.
enum StoreState : int {
    kStoreHealthy = 0,
    kStoreCancelled = 1,
    kStoreFailed = 2,
};

struct AppData {
    // Paths end as the program builds them: AppDir with "/", the others not.
    std::string AppDir;
    std::string IniPath;
    std::string ProfileSection;
    std::string ProfileDir;
    std::string DataStorePath;
    std::string DataStoreName;
    std::string TempDir;

    int CurrentListType = kListNone;
    int RecordingQuality = 0;
    int PromptOnExport = 0;
    int PhoneWarning = 0;          // mirrors "PhWarn"
    int StoreUnusable = kStoreHealthy;
    int StartupFailed = 0;
    // The highest RecID of the open store or issued since it was opened.
    long HighestRecId = 0;
    UINT WordMessage = 0;

    // Shared with worker threads: they poll these and stop when cleared.
    std::atomic<int> DiaryMonitorRunning{0};
    std::atomic<int> MainWindowAlive{0};

    // The currency sign shown with costs (Windows-1252, at most 200 bytes).
    // The Options dialog writes it at once, so other windows see a change
    // before OK, and keep it after Cancel.
    std::string Currency = "\xA3";

    LineState* lineState = nullptr;
    // The chosen-entry buffers: whom the phone book, the dialer or Redial
    // asked to call (WM_USER+155 with lParam 0 reads them).
    std::string ChosenName;
    std::string ChosenNumber;

    static constexpr std::size_t kCurrencyMax = 200;
    void setCurrency(const std::string& sign) { Currency = sign.substr(0, kCurrencyMax); }
};

AppData& theAppData();
