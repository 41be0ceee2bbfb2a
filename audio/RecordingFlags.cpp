#include "audio/RecordingFlags.h"

RecordingFlags& theRecordingFlags()
{
    static RecordingFlags flags;
    return flags;
}
