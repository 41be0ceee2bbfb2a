// The Mixing Studio as the main window reaches it.
#pragma once

#include "core/StartupServices.h"

#include <QColor>

#include <functional>
#include <string>

class StudioLauncher : public StudioService {
public:
    using HelpOpener = std::function<bool(const std::string&)>;
    using QualityColour = std::function<QColor(int)>;
    StudioLauncher(HelpOpener openHelp, QualityColour colour);

    bool run(AppData& app, QWidget* owner) override;

private:
    HelpOpener m_openHelp;
    QualityColour m_colour;
};
