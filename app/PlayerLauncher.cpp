#include "app/PlayerLauncher.h"

#include "app/HotKeys.h"
#include "audio/MessagePlayerDialog.h"
#include "platform/CallbackWindow.h"

int PlayerLauncher::play(AppData& app, const std::vector<std::string>& recIds, int index, QWidget* owner)
{
    // The sound devices' notification windows need their class.
    if (!CallbackWindow::isClassRegistered())
        CallbackWindow::registerClass();
    MessagePlayerDialog::HotKeyHooks hooks;
    hooks.registerKeys = [](HWND window) { return registerHotKeys(window); };
    hooks.unregisterKeys = [](HWND window) { unregisterHotKeys(window); };
    hooks.actionOf = [](int position) {
        return std::string(HotKeys::entries().at(static_cast<std::size_t>(position - 1)).action);
    };
    MessagePlayerDialog dialog(app, recIds, index, owner, hooks);
    if (dialog.openPlayer() == 0)
        dialog.exec();
    return dialog.heardCount();
}
