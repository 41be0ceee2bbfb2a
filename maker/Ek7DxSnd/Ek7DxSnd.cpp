#include "maker/Ek7DxSnd/Ek7DxSnd.h"

#include "maker/Ek7DxSnd/FxPlayer.h"

#include <memory>
#include <mutex>

namespace {

// The one current player; the calls may come from any thread.
std::mutex g_mutex;
std::unique_ptr<FxPlayer> g_player;

}  // namespace

int InitDSound(HWND /*owner*/, const char* wavePath, int* defaultSpeed, int* lowestSpeed, int* highestSpeed)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_player.reset();
    if (wavePath == nullptr || *wavePath == '\0')
        return kDxErrOpen;
    auto player = std::make_unique<FxPlayer>();
    if (const int result = player->open(wavePath); result != kDxOk)
        return result;
    if (defaultSpeed != nullptr)
        *defaultSpeed = player->normalRate();
    if (lowestSpeed != nullptr)
        *lowestSpeed = player->lowestRate();
    if (highestSpeed != nullptr)
        *highestSpeed = player->highestRate();
    g_player = std::move(player);
    return kDxOk;
}

void SetEffects(const int effects[][2], int count)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_player)
        g_player->setEffects(effects, count);
}

int PlayDSound(std::uint32_t start, const int effects[][2], int count)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (!g_player)
        return kDxErrState;
    g_player->setEffects(effects, count);
    return g_player->play(start);
}

int AdjEffects(int index, int value)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_player ? g_player->adjust(index, value) : value;
}

std::uint32_t GetPosn()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_player ? g_player->position() : 0;
}

void SetPosn(int hundredths)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_player)
        g_player->setPosition(hundredths);
}

bool IsPlayingDSound()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_player && g_player->isPlaying();
}

void StopDSound()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_player)
        g_player->stop();
}

void CleanDSound()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_player.reset();
}

int RenderDSound(const char* targetPath)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (!g_player)
        return kDxErrState;
    if (targetPath == nullptr || *targetPath == '\0')
        return kDxErrWrite;
    return g_player->render(targetPath);
}
