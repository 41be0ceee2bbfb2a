// The effects engine on the Ek7DxSnd library.
#include "audio/EffectsEngine.h"

#include "maker/Ek7DxSnd/Ek7DxSnd.h"

namespace {

class Ek7DxSndEngine : public EffectsEngine {
public:
    int init(HWND owner, const std::string& wavePath, int* defaultSpeed, int* lowestSpeed, int* highestSpeed) override
    {
        return InitDSound(owner, wavePath.c_str(), defaultSpeed, lowestSpeed, highestSpeed);
    }
    void setEffects(const int effects[][2], int count) override { SetEffects(effects, count); }
    int play(std::uint32_t start, const int effects[][2], int count) override
    {
        return PlayDSound(start, effects, count);
    }
    int adjust(int index, int value) override { return AdjEffects(index, value); }
    std::uint32_t position() override { return GetPosn(); }
    void setPosition(int hundredths) override { SetPosn(hundredths); }
    bool playing() override { return IsPlayingDSound(); }
    void stop() override { StopDSound(); }
    void clean() override { CleanDSound(); }
    int render(const std::string& targetPath) override { return RenderDSound(targetPath.c_str()); }
};

}  // namespace

std::unique_ptr<EffectsEngine> makeEffectsEngine()
{
    return std::make_unique<Ek7DxSndEngine>();
}
