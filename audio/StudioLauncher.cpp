#include "audio/StudioLauncher.h"

#include "audio/MixingStudioDialog.h"

StudioLauncher::StudioLauncher(HelpOpener openHelp) : m_openHelp(std::move(openHelp)) {}

bool StudioLauncher::run(AppData& app, QWidget* owner)
{
    return runMixingStudio(app, owner, m_openHelp) == 1;
}
