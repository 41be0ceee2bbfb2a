#include "telephony/RingSound.h"

#include "platform/Trace.h"

struct RingSound::Player {};

RingSound::RingSound() = default;
RingSound::~RingSound() = default;

bool RingSound::start(const QUrl&)
{
    OutputDebugString("Ring sound skipped: this build has no Qt Multimedia\n");
    return false;
}

void RingSound::stop() {}

bool RingSound::isPlaying() const
{
    return false;
}
