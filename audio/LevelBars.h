// The ten level bars of the recorders on the wave engine (dialogs 116 and
// 120): the first five follow the left level, the last five the right one,
// each lit by its fifth of the 0..99 range. They read the recording flags
// whenever LevelUpdated is set, and clear it.
#pragma once

#include <vector>

class QProgressBar;
class QWidget;
struct RecordingFlags;

class LevelBars {
public:
    static constexpr int kCount = 10;
    static constexpr int kSpan = 20;  // of the level, per bar

    // Fills host (an empty widget of the layout) with the bars.
    LevelBars(QWidget* host, RecordingFlags& flags);

    // The control number of bar i (0..9): every second number from 10118,
    // the tenth being 10135.
    static int controlId(int i);
    const std::vector<QProgressBar*>& bars() const { return m_bars; }
    // Reads the flags when they have new levels.
    void follow();

private:
    RecordingFlags& m_flags;
    std::vector<QProgressBar*> m_bars;
};
