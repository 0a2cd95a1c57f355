#include "locate/locate.h"

#include "block_map_text.h"

#include <gtest/gtest.h>

namespace {

TEST(GetRoatedDrctSize, DiagonalExtentsPlusMargin)
{
    struct Row
    {
        int bw, bh, theta, ow, oh;
    };
    const Row rows[] = {
        {10, 8, 0, 13, 11},     // unturned: 3 more each way
        {11, 9, 0, 14, 12},
        {1, 1, 0, 4, 4},        // a single block
        {10, 8, -90, 11, 13},   // quarter turn swaps the sides
        {11, 9, -90, 12, 14},
        {100, 94, -45, 139, 139}, // largest map: the longer diagonal decides both
        {100, 94, 89, 98, 104},
    };
    for (const Row& row : rows) {
        int ow = -1;
        int oh = -1;
        GetRoatedDrctSize(row.bw, row.bh, row.theta, ow, oh);
        EXPECT_EQ(ow, row.ow) << row.bw << " x " << row.bh << " by " << row.theta;
        EXPECT_EQ(oh, row.oh) << row.bw << " x " << row.bh << " by " << row.theta;
    }
}

// A bw x bh map holding a different non-zero value in every block.
BlockMap Numbered(int bw, int bh)
{
    BlockMap map(bw, bh);
    for (int i = 0; i < bw * bh; i++)
        map.cells[i] = static_cast<signed char>(i % 126 + 1);
    return map;
}

TEST(RoatedHoleDrct, UnturnedMapIsMovedIntoTheMiddle)
{
    struct Row
    {
        int bw, bh, dx, dy; // an even side moves by one block, an odd one by two
    };
    const Row rows[] = {{10, 8, 1, 1}, {11, 9, 2, 2}, {11, 8, 2, 1}, {10, 9, 1, 2}};
    for (const Row& row : rows) {
        BlockMap work = Numbered(row.bw, row.bh);
        BlockMap out(row.bw + 3, row.bh + 3, 99);
        RoatedHoleDrct(work.data(), work.w, work.h, 0, out.data(), out.w, out.h);
        BlockMap expected(out.w, out.h);
        for (int y = 0; y < row.bh; y++)
            for (int x = 0; x < row.bw; x++)
                expected.at(x + row.dx, y + row.dy) = work.at(x, y);
        EXPECT_EQ(BlockMapText(out), BlockMapText(expected)) << row.bw << " x " << row.bh;
    }
}

TEST(RoatedHoleDrct, QuarterTurnCounterClockwise)
{
    const BlockMap work = ParseBlockMap(R"(
        1 2 3
        4 5 6
    )");
    BlockMap out(5, 6, 99);
    RoatedHoleDrct(const_cast<signed char*>(work.cells.data()), work.w, work.h, -90, out.data(), out.w, out.h);
    // The right column comes to the top, read downward as the new row.
    EXPECT_EQ(BlockMapText(out), Normalised(R"(
        . . . . .
        . . . . .
        . 3 6 . .
        . 2 5 . .
        . 1 4 . .
        . . . . .
    )"));
}

TEST(RoatedHoleDrct, TiltedTurnRoundsTowardMinusInfinity)
{
    BlockMap work(5, 4);
    for (int i = 0; i < 20; i++)
        work.cells[i] = static_cast<signed char>(i + 1);
    int ow = 0;
    int oh = 0;
    GetRoatedDrctSize(work.w, work.h, -30, ow, oh);
    ASSERT_EQ(ow, 8);
    ASSERT_EQ(oh, 8);
    BlockMap out(ow, oh, 99);
    RoatedHoleDrct(work.data(), work.w, work.h, -30, out.data(), ow, oh);
    // Turned 30 degrees counter-clockwise about block 13. Below the centre the
    // source is found by shifts of negative products: block (4, 5) takes 17,
    // from column 1, row 3 (truncation would give 13).
    EXPECT_EQ(BlockMapText(out), Normalised(R"(
        . . . .  . 5  . .
        . . . .  4 5  . .
        . . 2 3  9 9 15 .
        . . 6 7 13 14 20 .
        . . 6 12 13 18 19 .
        . . . 16 17 . . .
        . . . .  . .  . .
        . . . .  . .  . .
    )"));
}

} // namespace
