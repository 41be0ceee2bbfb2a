#include "audio/LevelBars.h"

#include <QHBoxLayout>
#include <QProgressBar>
#include <QWidget>

#include <algorithm>

#include "audio/RecordingFlags.h"
#include "res/resource.h"

LevelBars::LevelBars(QWidget* host, RecordingFlags& flags) : m_flags(flags)
{
    auto* row = new QHBoxLayout(host);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    for (int i = 0; i < kCount; ++i) {
        auto* bar = new QProgressBar(host);
        bar->setObjectName(QString::number(controlId(i)));
        bar->setRange(0, kSpan);
        bar->setValue(0);
        bar->setTextVisible(false);
        bar->setToolTip(i < kCount / 2 ? QStringLiteral("Left") : QStringLiteral("Right"));
        if (i == kCount / 2)
            row->addSpacing(8);
        row->addWidget(bar);
        m_bars.push_back(bar);
    }
}

int LevelBars::controlId(int i)
{
    return i < kCount - 1 ? IDC_LEVEL_BAR_FIRST + 2 * i : IDC_LEVEL_BAR_LAST;
}

void LevelBars::follow()
{
    if (!m_flags.LevelUpdated)
        return;
    m_flags.LevelUpdated = 0;
    const int levels[2] = {m_flags.LevelMeterOn ? m_flags.LeftLevel : 0, m_flags.LevelMeterOn ? m_flags.RightLevel : 0};
    for (int i = 0; i < kCount; ++i) {
        const int level = levels[i < kCount / 2 ? 0 : 1];
        const int segment = i % (kCount / 2);
        m_bars[static_cast<std::size_t>(i)]->setValue(std::clamp(level - segment * kSpan, 0, kSpan));
    }
}
