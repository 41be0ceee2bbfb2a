// The recorders' level meter: two bars, left and right, 0..99, following the
// levels the sound devices store in the recording flags. A timer reads them
// whenever LevelUpdated is set and clears it; with the level meter off the
// bars fall back to nothing.
#pragma once

#include <QTimer>
#include <QWidget>

struct RecordingFlags;

class LevelMeter : public QWidget {
    Q_OBJECT
public:
    static constexpr int kPollMs = 50;

    explicit LevelMeter(QWidget* parent = nullptr);

    // The flags it follows (the application's unless told otherwise).
    void follow(RecordingFlags& flags);

    int leftLevel() const { return m_left; }
    int rightLevel() const { return m_right; }

    // Reads the flags now, as the timer does.
    void poll();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    RecordingFlags* m_flags;
    QTimer m_timer;
    int m_left = 0;
    int m_right = 0;
};
