#include "locate/locate.h"

#include "block_map_text.h"

#include <gtest/gtest.h>

namespace {

BlockMap Replaced(BlockMap map, int from, int to)
{
    for (signed char& v : map.cells)
        v = v == from ? static_cast<signed char>(to) : v;
    return map;
}

// The first n blocks of a serpentine: runs of 12 on rows 1, 3, 5, ...,
// alternately rightward and leftward, joined at their ends. Every leftward run
// needs a backward pass of its own, so one missed pass leaves the region short.
BlockMap Serpentine(int n)
{
    BlockMap map(14, 15);
    for (int k = 0, x = 1, y = 1, dx = 1; k < n; k++) {
        map.at(x, y) = 1;
        if (y % 2 == 0) {
            y++;
            dx = -dx;
        } else if (x + dx < 1 || x + dx > 12) {
            y++;
        } else {
            x += dx;
        }
    }
    return map;
}

// A region of n blocks, 40 to a row from block (1, 1).
BlockMap Block(int n)
{
    BlockMap map(42, 44);
    for (int k = 0; k < n; k++)
        map.at(1 + k % 40, 1 + k / 40) = 1;
    return map;
}

TEST(SetHole, RegionSizeLimits)
{
    struct Row { BlockMap map; bool kept; };
    const Row rows[] = {
        {Block(81), false}, {Block(82), true}, {Block(1600), true}, {Block(1601), false},
        {Serpentine(81), false}, {Serpentine(82), true},
    };
    for (const Row& row : rows) {
        BlockMap map = row.map;
        EXPECT_EQ(SetHole(map.data(), map.w, map.h), row.kept ? 1 : 0);
        EXPECT_EQ(BlockMapText(map), BlockMapText(Replaced(row.map, 1, row.kept ? 9 : 0)));
    }
}

// A 10 x 10 region in the corner joins its row-0 and column-0 blocks through
// the backward pass. (10, 0) touches it only on its left: a one-block region of
// its own, erased. (0, 10) touches it only from above: never tested by a pass
// that could join it and never a seed, it keeps its 1, like (0, 11) below it.
TEST(SetHole, RowZeroAndColumnZeroRules)
{
    BlockMap map(12, 12);
    map.fill(0, 0, 9, 9, 1);
    map.fill(0, 10, 0, 11, 1);
    map.at(10, 0) = map.at(11, 11) = 1;
    BlockMap expected(12, 12);
    expected.fill(0, 0, 9, 9, 9);
    expected.fill(0, 10, 0, 11, 1);
    EXPECT_EQ(SetHole(map.data(), map.w, map.h), 1);
    EXPECT_EQ(BlockMapText(map), BlockMapText(expected));
}

// The seed (1, 0) stays alone: the forward pass never visits row 0, so its
// right neighbour does not join it but seeds the 81 blocks below it (82 in all,
// kept). Joined to the first seed the region would be 83 with (1, 0) in it.
TEST(SetHole, RowZeroNeighboursAreSeparateSeeds)
{
    BlockMap map(12, 10);
    map.fill(2, 1, 10, 9, 1);
    map.fill(1, 0, 2, 0, 1);
    BlockMap expected = Replaced(map, 1, 9);
    expected.at(1, 0) = 0;
    EXPECT_EQ(SetHole(map.data(), map.w, map.h), 1);
    EXPECT_EQ(BlockMapText(map), BlockMapText(expected));
}

// Seeds in row-major order: a 2-block fragment in row 0 (erased, its label
// reused), the right rectangle (top row 2), then the left one (top row 11),
// which touches the right one only at a corner.
TEST(SetHole, LabelsFollowSeedOrderAndDiagonalsDoNotJoin)
{
    BlockMap map(26, 21);
    map.fill(20, 0, 21, 0, 1);
    map.fill(15, 2, 24, 10, 1);
    map.fill(5, 11, 14, 19, 1);
    BlockMap expected(26, 21);
    expected.fill(15, 2, 24, 10, 9);
    expected.fill(5, 11, 14, 19, 10);
    EXPECT_EQ(SetHole(map.data(), map.w, map.h), 2);
    EXPECT_EQ(BlockMapText(map), BlockMapText(expected));
}

// 120 regions of 9 x 10 blocks, 12 to a row: 9..126, then two left at 1.
TEST(SetHole, LabelsRunOutAfter126)
{
    BlockMap map(121, 111);
    for (int k = 0; k < 120; k++)
        map.fill(1 + 10 * (k % 12), 1 + 11 * (k / 12), 9 + 10 * (k % 12), 10 + 11 * (k / 12), 1);
    EXPECT_EQ(SetHole(map.data(), map.w, map.h), 118);
    for (int k = 0; k < 120; k++) {
        const int x = 1 + 10 * (k % 12), y = 1 + 11 * (k / 12);
        EXPECT_EQ(map.at(x, y), k < 118 ? 9 + k : 1) << k;
        EXPECT_EQ(map.at(x + 8, y + 9), map.at(x, y)) << k;
    }
}

// Small maps, some with nothing labelled; the buffers are exactly the map.
TEST(SetHole, SmallMapsAndCornerFix)
{
    const char* const rows[][2] = {
        {". 9 .|1 . .", "9 9 .|1 . ."},         // corner fix, even from 0
        {"5 9 .|1 . .", "9 9 .|1 . ."},         // whatever the corner held
        {"5 9 .|. . .", "5 9 .|. . ."},         // no fix: block below the corner is 0
        {"1 . .|1 . .", "1 . .|1 . ."},         // no fix: block right of the corner is 0
        {"1 1 .|. . .", "1 . .|. . ."},         // no backward pass after an empty forward pass
        {"1 1|1 1", ". .|. ."},                 // a 4-block region, erased
        {"1|1|1|1", "1|1|1|1"},                 // one column: never a seed
        {"1 1 1 1 .", "1 . . . ."},             // one row: one-block regions, erased
        {"1", "1"},
    };
    for (const auto& row : rows) {
        BlockMap map = ParseBlockMap(row[0]);
        EXPECT_EQ(SetHole(map.data(), map.w, map.h), 0);
        EXPECT_EQ(BlockMapText(map), Normalised(row[1])) << row[0];
    }
    signed char cell = 1;
    EXPECT_EQ(SetHole(&cell, 0, 5) + SetHole(&cell, 5, 0) + SetHole(&cell, -3, -2), 0);
    EXPECT_EQ(cell, 1);
}

} // namespace
