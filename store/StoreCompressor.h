// Data store compression: the dead lines (RecID 99999999 or more) leave the
// four family files, every surviving line's new position goes into the
// index, and the store file gives back its free space.
//
// The order of the steps is what keeps a store whole when Navo is killed at
// any moment. The store file is the only thing that outlives the process (a
// new start extracts a fresh workspace from it), and it changes only in
// SQLite transactions, each all or nothing:
//   1-4. Each family file is rewritten in the workspace only: the surviving
//        lines go into "templog.tmp", the index (workspace copy) takes all
//        their new positions in one transaction, then "templog.tmp" is
//        renamed over the family file. The family file stays locked all the
//        while, so a recording filed meanwhile waits and lands in the new
//        file. Until here the store is untouched: a kill leaves it as it was,
//        old lines and old index positions, which agree.
//   5.   The rewritten family files and the index go into the store in one
//        put (so the old lines' space is free before the vacuum), then
//        RPS_Compress vacuums. A kill before the put commits leaves the old
//        state, after it the new one; the vacuum is one transaction too.
//   6.   Save, as ever (it finds the store already holding the new files).
// A family file whose rewrite fails keeps its old lines and old positions
// and is not put into the store.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Event.h"
#include "platform/WinTypes.h"

namespace storecompress {

inline constexpr int kCannotReadFamily = 112;  // the family file cannot be opened
inline constexpr int kNoTemporaryFile = 126;   // "templog.tmp" cannot be made, written or put in place
inline constexpr int kIndexNotUpdated = 110;   // the index did not take the new positions
inline constexpr const char* kTempName = "templog.tmp";

struct FamilyCounts {
    long kept = 0;     // live lines written
    long dropped = 0;  // dead lines left out
};

// Compresses one family file of the workspace: 0 on success, else one of the
// codes above, the family file and the index then as they were.
int compressFamilyFile(const std::string& workspace, const std::string& storePath, const std::string& familyName,
                       FamilyCounts* counts = nullptr);

}  // namespace storecompress

// The worker of the compression dialog. Its seven steps run one after
// another on one thread, each waiting for the event the step before it sets;
// it reports only by posting messages (to the dialog's window in Navo).
class StoreCompressor {
public:
    // wParam: status line 1 or 2; lParam: statusLParam(text, state).
    static constexpr UINT kMsgStatus = WM_USER + 60;
    // wParam: the error log row, 1 to 5.
    static constexpr UINT kMsgErrorRow = WM_USER + 61;
    // The last message; wParam: the result of the save.
    static constexpr UINT kMsgFinished = WM_USER + 62;

    // Status line states, which choose the text colour.
    enum State { kWaiting = 0, kInProgress = 2, kDone = 3, kDoneWithErrors = 4 };
    // Status texts.
    enum Text {
        kTextComponents,          // "Compress components"
        kTextRemoveSpace,         // "Remove unwanted space from data store"
        kTextMessageFolder,       // "Compressing your Message folder"
        kTextMeetingFolder,
        kTextPhoneFolder,
        kTextDiaryFolder,
        kTextComponentsDone,      // "Components have now been compressed"
        kTextComponentsFailed,    // "1 or more components failed ..."
        kTextRemovingSpace,       // "Removing unwanted space from your data store"
        kTextSpaceRemoved,        // "Unwanted space has been removed from your data store"
        kTextCount
    };
    static const char* statusText(int text);
    // Rows 1 to 5; "" for any other number.
    static const char* errorRowText(int row);
    static LPARAM statusLParam(int text, int state) { return text * 16 + state; }
    static int textOf(LPARAM lParam) { return static_cast<int>(lParam / 16); }
    static int stateOf(LPARAM lParam) { return static_cast<int>(lParam % 16); }

    using Post = std::function<void(UINT message, WPARAM wParam, LPARAM lParam)>;
    using Save = std::function<int()>;

    // save is the data store's Save (Part of the open store, 0 on success).
    StoreCompressor(std::string workspace, std::string storePath, Save save, Post post);
    ~StoreCompressor();
    StoreCompressor(const StoreCompressor&) = delete;
    StoreCompressor& operator=(const StoreCompressor&) = delete;

    // Starts the worker and signals its first step.
    void start();
    // Waits until the worker has posted kMsgFinished.
    void wait();

    // The family files whose compression failed (1 to 4) and whether the
    // store kept its wasted space (5), after wait().
    const std::vector<int>& failedRows() const { return m_failedRows; }

private:
    static constexpr int kSteps = 7;
    void run();
    void step(int number);
    void failed(int row);
    void status(int line, int text, int state);
    int putCompressedFamilies();

    std::string m_workspace;
    std::string m_storePath;
    Save m_save;
    Post m_post;
    // Step n waits for m_events[n - 1] and sets m_events[n] when it ends.
    std::array<std::unique_ptr<Event>, kSteps + 1> m_events;
    std::vector<int> m_failedRows;
    std::vector<std::string> m_compressed;  // family files rewritten
    int m_saveResult = 0;
    std::thread m_thread;
};
