// Only in this file: the rest of telephony/ builds without Qt Multimedia.
#include "telephony/RingSound.h"

#include <QSoundEffect>

#include "platform/Trace.h"

struct RingSound::Player {
    QSoundEffect effect;
    bool ringing = false;  // asked to ring; the device may still be starting
};

RingSound::RingSound() = default;

RingSound::~RingSound()
{
    stop();
}

bool RingSound::start(const QUrl& source)
{
    if (source.isEmpty()) {
        OutputDebugString("Ring sound: no sound to play\n");
        return false;
    }
    if (!m_player)
        m_player = std::make_unique<Player>();
    m_player->effect.setSource(source);
    m_player->effect.setLoopCount(QSoundEffect::Infinite);
    m_player->effect.play();
    m_player->ringing = true;
    return true;
}

void RingSound::stop()
{
    if (m_player) {
        m_player->effect.stop();
        m_player->ringing = false;
    }
}

bool RingSound::isPlaying() const
{
    return m_player && m_player->ringing;
}
