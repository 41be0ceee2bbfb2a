#include "telephony/module/ProviderIcons.h"

#include <array>

namespace {

constexpr int kSize = 16;

struct Icon {
    std::array<TAPIDWORD, kSize * kSize> pixels{};
    NAVOICON handle{kSize, kSize, nullptr};

    Icon(TAPIDWORD colour, bool notch)
    {
        for (int y = 0; y < kSize; ++y) {
            for (int x = 0; x < kSize; ++x) {
                const double dx = x - 7.5;
                const double dy = y - 7.5;
                TAPIDWORD pixel = 0;  // transparent
                if (dx * dx + dy * dy <= 7.8 * 7.8)
                    pixel = colour;
                // The handset: a bar with an ear and a mouth piece.
                const bool bar = y >= 6 && y <= 7 && x >= 3 && x <= 12;
                const bool ends = y >= 8 && y <= 9 && (x == 3 || x == 4 || x == 11 || x == 12);
                const bool mark = notch && y >= 11 && y <= 12 && x >= 6 && x <= 9;
                if (bar || ends || mark)
                    pixel = 0xFFFFFFFF;
                pixels[static_cast<std::size_t>(y * kSize + x)] = pixel;
            }
        }
        handle.lpPixels = pixels.data();
    }
};

}  // namespace

const NAVOICON* ProviderIcons::sipLine()
{
    static const Icon icon(0xFF1E5AA8, false);
    return &icon.handle;
}

const NAVOICON* ProviderIcons::testLine()
{
    static const Icon icon(0xFFD9822B, true);
    return &icon.handle;
}
