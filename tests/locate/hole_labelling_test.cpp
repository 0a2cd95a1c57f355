#include "locate/locate.h"

#include "block_map.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// n blocks snaking from (1, 1): runs of `run` blocks on the odd rows, alternately rightward and leftward, joined
// at their ends. Every leftward run needs a backward pass of its own, so one missed pass leaves the region short.
BlockMap Snake(int n, int run)
{
    BlockMap map(run + 2, 2 * n / run + 3);
    for (int k = 0; k < n; k++) {
        const int q = k / (run + 1), j = std::min(k % (run + 1), run - 1); // block j of run q, or the joint after it
        map.at(q % 2 == 0 ? 1 + j : run - j, 1 + 2 * q + (k % (run + 1) == run)) = 1;
    }
    return map;
}

TEST(SetHole, RegionSizeLimits)
{
    const struct
    {
        int n, run, kept;
    } rows[] = {{81, 12, 0}, {82, 12, 1}, {1600, 40, 1}, {1601, 40, 0}};
    for (const auto& [n, run, kept] : rows) {
        BlockMap map = Snake(n, run);
        EXPECT_EQ(SetHole(map.data(), map.w, map.h), kept) << n;
    }
}

// Seeds in row-major order: the corner region at (1, 0), (10, 0), the right rectangle, then the left one, which
// touches the right one only at a corner. The corner region takes in its row-0 and column-0 blocks through the
// backward pass. (10, 0) touches it only on its left: a region of its own, erased, its label reused. (0, 10)
// touches it only from above: never joined and never a seed, it keeps its 1, as does (0, 11) below it.
TEST(SetHole, SeedOrderRowZeroColumnZeroAndDiagonals)
{
    BlockMap map = BlockMap(26, 21).fill(0, 0, 9, 9, 1).fill(0, 10, 0, 11, 1).fill(10, 0, 10, 0, 1);
    map.fill(15, 2, 24, 10, 1).fill(5, 11, 14, 19, 1);
    BlockMap expected = BlockMap(26, 21).fill(0, 0, 9, 9, 9).fill(0, 10, 0, 11, 1);
    expected.fill(15, 2, 24, 10, 10).fill(5, 11, 14, 19, 11);
    EXPECT_EQ(SetHole(map.data(), map.w, map.h), 3);
    EXPECT_EQ(map.text(), expected.text());
}

// 120 regions of 9 x 10 blocks, 12 to a row: labels 9..126, then two left at 1.
TEST(SetHole, LabelsRunOutAfter126)
{
    BlockMap map(121, 111);
    for (int k = 0; k < 120; k++)
        map.fill(1 + 10 * (k % 12), 1 + 11 * (k / 12), 9 + 10 * (k % 12), 10 + 11 * (k / 12), 1);
    EXPECT_EQ(SetHole(map.data(), map.w, map.h), 118);
    for (int k = 0; k < 120; k++)
        EXPECT_EQ(map.at(9 + 10 * (k % 12), 10 + 11 * (k / 12)), k < 118 ? 9 + k : 1) << k;
}

TEST(SetHole, CornerFixAndTinyRegions)
{
    const char* const rows[][2] = {
        {"5 9 .|1 . .", "9 9 .|1 . ."}, // corner fix, whatever the corner held
        {"5 9 .|. . .", "5 9 .|. . ."}, // no fix: the block below the corner is 0
        {"1 . .|1 . .", "1 . .|1 . ."}, // no fix: the block right of the corner is 0
        {"1 1 .|. . .", "1 . .|. . ."}, // an empty forward pass ends the growth: no backward pass takes in (0, 0)
    };
    for (const auto& row : rows) {
        BlockMap map(row[0]);
        SetHole(map.data(), map.w, map.h);
        EXPECT_EQ(map.text(), BlockMap(row[1]).text()) << row[0];
    }
}

} // namespace
