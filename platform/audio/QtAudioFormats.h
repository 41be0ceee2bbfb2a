// Between Navo's PCM descriptions and Qt's audio formats.
#pragma once

#include "platform/audio/PcmConverter.h"
#include "platform/audio/WaveTypes.h"

#include <QAudioFormat>

QAudioFormat toQtFormat(const WAVEFORMATEX& format);
// False for a Qt format with no PcmLayout (an unknown sample type).
bool toPcmLayout(const QAudioFormat& format, PcmLayout& layout);
