// Pieces of files standing for a recording: insert, overwrite, erase.
#include "audio/WaveEditList.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The list read out with letters for sources and offsets, e.g. "a0..9|b0..3".
std::string layout(const WaveEditList& list)
{
    std::string out;
    list.forEach(0, list.length(), [&](int source, std::uint64_t offset, std::uint64_t length) {
        if (!out.empty())
            out += "|";
        out += static_cast<char>('a' + source) + std::to_string(offset) + ".." + std::to_string(offset + length - 1);
    });
    return out;
}

}  // namespace

TEST(WaveEditList, InsertSplitsAndMovesTheRestLater)
{
    WaveEditList list;
    list.insert(0, {0, 100, 10});           // a100..109
    list.insert(4, {1, 0, 3});              // into the middle
    EXPECT_EQ(layout(list), "a100..103|b0..2|a104..109");
    EXPECT_EQ(list.length(), 13u);
    list.insert(99, {1, 3, 2});             // beyond the end: appended
    EXPECT_EQ(layout(list), "a100..103|b0..2|a104..109|b3..4");
}

TEST(WaveEditList, ContiguousRecordingStaysOnePiece)
{
    WaveEditList list;
    list.insert(0, {0, 0, 1000});
    // A recording inserted at 500 in 50 steps of 8 bytes from one scratch file.
    for (std::uint64_t i = 0; i < 50; ++i)
        list.insert(500 + i * 8, {1, i * 8, 8});
    EXPECT_EQ(layout(list), "a0..499|b0..399|a500..999");
    EXPECT_EQ(list.pieces().size(), 3u);
}

TEST(WaveEditList, OverwriteReplacesAndGrowsPastTheEnd)
{
    WaveEditList list;
    list.insert(0, {0, 0, 10});
    list.overwrite(3, {1, 0, 4});
    EXPECT_EQ(layout(list), "a0..2|b0..3|a7..9");
    EXPECT_EQ(list.length(), 10u);
    list.overwrite(8, {1, 4, 5});           // two bytes replaced, three added
    EXPECT_EQ(layout(list), "a0..2|b0..3|a7..7|b4..8");
    EXPECT_EQ(list.length(), 13u);
}

TEST(WaveEditList, EraseJoinsWhatWasSplit)
{
    WaveEditList list;
    list.insert(0, {0, 0, 10});
    list.insert(5, {1, 0, 2});
    list.erase(5, 2);                        // the insert taken out again
    EXPECT_EQ(layout(list), "a0..9");
    EXPECT_EQ(list.pieces().size(), 1u);
    list.erase(8, 100);                      // clipped at the end
    list.erase(0, 3);
    EXPECT_EQ(layout(list), "a3..7");
    list.erase(5, 1);                        // at the end: nothing
    EXPECT_EQ(list.length(), 5u);
}

TEST(WaveEditList, ForEachReadsAnyStretchAcrossPieces)
{
    WaveEditList list;
    list.insert(0, {0, 0, 4});
    list.insert(4, {1, 10, 4});
    list.insert(8, {0, 20, 4});
    std::string seen;
    list.forEach(3, 6, [&](int source, std::uint64_t offset, std::uint64_t length) {
        seen += std::to_string(source) + ":" + std::to_string(offset) + "+" + std::to_string(length) + " ";
    });
    EXPECT_EQ(seen, "0:3+1 1:10+4 0:20+1 ");
}
