// The Mixing Studio as the main window reaches it.
#pragma once

#include "core/StartupServices.h"

#include <functional>
#include <string>

class StudioLauncher : public StudioService {
public:
    using HelpOpener = std::function<bool(const std::string&)>;
    explicit StudioLauncher(HelpOpener openHelp);

    bool run(AppData& app, QWidget* owner) override;

private:
    HelpOpener m_openHelp;
};
