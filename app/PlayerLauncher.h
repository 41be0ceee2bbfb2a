// The message player as the main window reaches it: dialog 115 on a record
// of a list, with the six playback hot keys of the shell registered on its
// window while it is open.
#pragma once

#include "core/StartupServices.h"

class PlayerLauncher : public PlayerService {
public:
    int play(AppData& app, const std::vector<std::string>& recIds, int index, QWidget* owner) override;
};
