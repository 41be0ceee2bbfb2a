// The message player (dialog 115, "Navo Internal Message Player"): plays a
// filed record, walks the list it was opened from, keeps marks, inserts
// speech, and shows the effects panel ("Effects...") that plays the sound
// through the effects engine. The layout comes from
// res/ui/MessagePlayerDialog.ui; MessagePlayer does the work.
//
// While open it owns the six playback hot keys (registered through the
// hooks the caller passes, since they live in the application shell) and
// obeys the mini-player message "Message from Navo mini player".
#pragma once

#include <QDialog>
#include <QTimer>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "audio/MessagePlayer.h"

struct AppData;

namespace Ui {
class MessagePlayerDialog;
}

class MessagePlayerDialog : public QDialog {
    Q_OBJECT
public:
    static constexpr const char* kMiniPlayerMessage = "Message from Navo mini player";
    static constexpr int kTimerMs = 100;
    static constexpr int kShrinkExtra = 40;

    struct HotKeyHooks {
        // 0, or the 1-based position of the key that was refused.
        std::function<int(HWND)> registerKeys;
        std::function<void(HWND)> unregisterKeys;
        // The action of a key position, for the refusal message.
        std::function<std::string(int)> actionOf;
    };

    MessagePlayerDialog(AppData& app, std::vector<std::string> recIds, int index, QWidget* parent = nullptr,
                        HotKeyHooks hotKeys = {}, std::unique_ptr<RecorderDevice> device = nullptr,
                        std::unique_ptr<EffectsEngine> effects = makeEffectsEngine());
    ~MessagePlayerDialog() override;

    // Opens the record and takes the hot keys: 0, or the code of what was
    // shown (the dialog then need not run).
    int openPlayer();
    MessagePlayer& player() { return m_player; }
    HWND handle();
    bool effectsShown() const;

    // Answer-machine messages heard while the player was open.
    int heardCount() const { return m_player.heardCount(); }

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    void wire();
    void addToolTips();
    void refresh();
    void refreshMarks();
    void refreshEffects();
    void toggleEffects();
    void showEffectsPanel(bool shown);
    void onOk();
    void finish();

    MessagePlayer m_player;
    HotKeyHooks m_hotKeys;
    std::unique_ptr<Ui::MessagePlayerDialog> m_ui;
    QTimer m_timer;
    UINT m_miniPlayerMessage = 0;
    bool m_keysRegistered = false;
    bool m_finished = false;
};
