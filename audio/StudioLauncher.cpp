#include "audio/StudioLauncher.h"

#include "audio/MixingStudioDialog.h"

StudioLauncher::StudioLauncher(HelpOpener openHelp, QualityColour colour)
    : m_openHelp(std::move(openHelp)), m_colour(std::move(colour))
{
}

bool StudioLauncher::run(AppData& app, QWidget* owner)
{
    return runMixingStudio(app, owner, m_openHelp, m_colour) == 1;
}
