#include "locate/locate.h"

#include "block_map.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using Entry = std::array<int, 6>; // box left, top, right, bottom (pixels), angle, label
using Entries = std::vector<Entry>;
constexpr int U = -5; // preset in every output entry

// The entries the locator writes for map (changed in place; work, if given, receives the labelled map). The
// entries past the count must stay as preset.
Entries Locate(BlockMap& map, BlockMap* work = nullptr)
{
    BlockMap own(map.w, map.h, 77);
    tagRECT boxes[10];
    int angles[10];
    signed char labels[10];
    for (int i = 0; i < 10; i++)
        boxes[i] = {U, U, U, U}, angles[i] = labels[i] = U;
    const int n = FindFpPos(map.data(), map.w, map.h, (work ? work : &own)->data(), boxes, angles, labels);
    Entries out;
    for (int i = 0; i < 10; i++)
        out.push_back({boxes[i].left, boxes[i].top, boxes[i].right, boxes[i].bottom, angles[i], labels[i]});
    EXPECT_EQ(Entries(out.begin() + n, out.end()), Entries(10 - n, Entry{U, U, U, U, U, U}));
    out.resize(n);
    return out;
}

// Rectangles of ridge blocks on a 34 x 90 map. Upright regions: the turned map is the working map moved.
TEST(FindFpPos, WidthHeightAndDrops)
{
    const struct
    {
        std::vector<std::array<int, 4>> areas;
        Entries out;
    } rows[] = {
        {{}, {}},
        // right - left = 9: measured, not emitted; 10 is, the pixel box ending one past the last block
        {{{5, 3, 14, 22}}, {}},
        {{{5, 3, 15, 22}}, {{80, 48, 256, 368, 90, 9}}},
        // bottom - top = 37 (592 pixels): kept whole; 38 (608): rows top + 37 on are cut
        {{{5, 2, 15, 39}}, {{80, 32, 256, 640, 90, 9}}},
        {{{5, 2, 15, 40}}, {{80, 32, 256, 624, 90, 9}}},
        // below an earlier region, sharing columns: dropped
        {{{5, 2, 15, 21}, {8, 25, 18, 44}}, {{80, 32, 256, 352, 90, 9}}},
        // sharing one column only: kept, the least right must exceed the greatest left
        {{{5, 2, 15, 21}, {15, 25, 25, 44}}, {{80, 32, 256, 352, 90, 9}, {240, 400, 416, 720, 90, 10}}},
        // a region too narrow to come out still drops the one below
        {{{5, 2, 14, 21}, {8, 25, 18, 44}}, {}},
        // tops 62 blocks apart: both stay; 63: the lower goes
        {{{2, 1, 12, 20}, {20, 63, 30, 82}}, {{32, 16, 208, 336, 90, 9}, {320, 1008, 496, 1328, 90, 10}}},
        {{{2, 1, 12, 20}, {20, 64, 30, 83}}, {{32, 16, 208, 336, 90, 9}}},
        // a one-column region gets no slot and drops nothing
        {{{3, 1, 3, 82}, {10, 65, 20, 84}}, {{160, 1040, 336, 1360, 90, 10}}},
    };
    for (const auto& [areas, out] : rows) {
        BlockMap map(34, 90);
        for (const auto& a : areas)
            map.fill(a[0], a[1], a[2], a[3], 1);
        EXPECT_EQ(Locate(map), out) << areas.size() << " regions, the last from row " << areas.back()[1];
    }
}

// An L whose foot is cut off keeps the angle measured with the foot, although what remains stands upright.
TEST(FindFpPos, CutRegionKeepsItsAngle)
{
    BlockMap map = BlockMap(40, 60).fill(5, 2, 15, 46, 1).fill(16, 40, 35, 46, 1);
    BlockMap labelled = BlockMap(40, 60).fill(5, 2, 15, 46, 9).fill(16, 40, 35, 46, 9);
    tagRECT box{};
    const int before = GetFpPos(labelled.data(), labelled.w, labelled.h, 9, &box, true);
    ASSERT_NE(before, 90);
    EXPECT_EQ(Locate(map), (Entries{{80, 32, 256, 16 * 39, before, 9}}));
}

// Two regions at 120 degrees, far apart: turned upright, the right one (label 9, its top row being higher) lies
// more than 62 blocks below the left one and is the one dropped.
TEST(FindFpPos, EarlierRegionLowerInTheTurnedMapIsDropped)
{
    BlockMap map = BlockMap(200, 40).bar(180, 17, 120, 12.25, 2.25, 1).bar(20, 19, 120, 12.25, 2.25, 1);
    EXPECT_EQ(Locate(map), (Entries{{208, 128, 448, 496, 117, 10}}));
}

// Eleven upright regions side by side, the tops rising to the right so that the labels run right to left: the
// ten leftmost come out, left to right.
TEST(FindFpPos, TenOfElevenLeftToRight)
{
    BlockMap map(140, 40);
    for (int i = 0; i < 11; i++)
        map.fill(2 + 12 * i, 13 - i, 12 + 12 * i, 32 - i, 1);
    const Entries out = Locate(map);
    ASSERT_EQ(out.size(), 10u);
    for (int i = 0; i < 10; i++)
        EXPECT_EQ(out[i][5], 19 - i) << i;
}

// Three fingers at 90, 66 and 105 degrees and a flat region at 0 below the middle one. The flat region is
// dropped, but its angle is in the mean (261 / 4 = 65): the map turns by 25 degrees and the 66 finger, lower than
// the 105 one, comes out right of it. Without the flat region the mean is 87 and the order the plain one.
TEST(FindFpPos, MeanAngleIsTakenBeforeTheDrops)
{
    const Entry a{192, 256, 368, 656, 90, 10}, b{496, 256, 704, 656, 66, 11}, c{672, 32, 848, 432, 105, 9};
    for (bool flat : {false, true}) {
        BlockMap map = BlockMap(72, 60).fill(12, 16, 22, 40, 1).bar(37, 28, 66, 12.25, 2.25, 1);
        map.bar(47, 14, 105, 12.25, 2.75, 1).bar(37, 48, 0, 12.25, 2.25, flat ? 1 : 0);
        EXPECT_EQ(Locate(map), (flat ? Entries{a, c, b} : Entries{a, b, c})) << flat;
    }
}

// A hole 4 blocks wide in a region closes row by row, and the blocks closed become 1 in the direction map. The
// single-cell fill takes the hole's left corners first, in the working map only.
TEST(FindFpPos, ClosedNotchesBecomeRidgeBlocks)
{
    BlockMap map = BlockMap(30, 40).fill(5, 3, 15, 24, 1).fill(9, 8, 12, 18, 0), work(30, 40);
    const BlockMap expected = BlockMap(30, 40).fill(5, 3, 15, 24, 1).fill(9, 8, 9, 8, 0).fill(9, 18, 9, 18, 0);
    Locate(map, &work);
    EXPECT_EQ(map.text() + work.text(), expected.text() + BlockMap(30, 40).fill(5, 3, 15, 24, 9).text());
}

} // namespace
