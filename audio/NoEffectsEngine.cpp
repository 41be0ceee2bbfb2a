// A build without the effects library: no engine, so the player's effects
// stay unavailable.
#include "audio/EffectsEngine.h"

std::unique_ptr<EffectsEngine> makeEffectsEngine()
{
    return nullptr;
}
