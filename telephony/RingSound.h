// The incoming-call window's ring: a WAVE resource played over and over
// until stopped (PlaySound with the loop flag). Built on Qt Multimedia's
// QSoundEffect where the build has it (RingSoundQt.cpp); without it the ring
// is skipped with a trace (RingSoundSilent.cpp), and nothing else changes.
#pragma once

#include <QUrl>

#include <memory>

class RingSound {
public:
    RingSound();
    ~RingSound();
    RingSound(const RingSound&) = delete;
    RingSound& operator=(const RingSound&) = delete;

    // Starts playing source in a loop; false when it cannot be played here.
    bool start(const QUrl& source);
    void stop();
    bool isPlaying() const;

private:
    struct Player;
    std::unique_ptr<Player> m_player;
};
