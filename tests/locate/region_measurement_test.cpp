#include "compat/compat.h"
#include "locate/locate.h"

#include "block_map.h"

#include <gtest/gtest.h>

#include <array>

namespace {

constexpr int L = 9, KEEP = -7; // the label; a field the scan must not write

// The label on blocks x0..x1, y0..y1 of a 9 x 10 map that holds another label in its last columns.
TEST(GetHVMinRect, BoxAndWidth)
{
    const struct
    {
        int x0, y0, x1, y1;
        std::array<int, 4> box;
        int width;
    } rows[] = {
        {2, 3, 6, 8, {2, 3, 6, 8}, 4},
        {0, 3, 0, 5, {0, 3, KEEP, 5}, 0},           // only column 0: right is never looked for there
        {2, 0, 4, 0, {2, 0, 4, KEEP}, 2},           // only row 0: bottom is never looked for there
        {1, 1, 0, 0, {KEEP, KEEP, KEEP, KEEP}, -9}, // absent: the width is -w
    };
    for (const auto& r : rows) {
        BlockMap map = BlockMap(9, 10).fill(7, 1, 8, 9, L + 1).fill(r.x0, r.y0, r.x1, r.y1, L);
        tagRECT rect{KEEP, KEEP, KEEP, KEEP};
        GetHVMinRect(map.data(), map.w, map.h, L, rect);
        EXPECT_EQ((std::array<int, 4>{rect.left, rect.top, rect.right, rect.bottom}), r.box) << r.x0 << ", " << r.y0;
        EXPECT_EQ(GetRctXWidth(map.data(), map.w, map.h, L), r.width) << r.x0 << ", " << r.y0;
    }
}

TEST(RoatedDrct, QuarterTurnCounterClockwise)
{
    BlockMap map = BlockMap(11, 11).fill(5, 2, 5, 8, L).fill(9, 1, 9, 1, 3), out(11, 11, 99);
    tagRECT unused{};
    RoatedDrct(map.data(), map.w, map.h, L, unused, 90, out.data());
    // The vertical bar through the pivot (5, 5) lies down, its top end on the left.
    EXPECT_EQ(out.text(), BlockMap(11, 11).fill(2, 5, 8, 5, L).fill(1, 1, 1, 1, 3).text());
}

// Bars on a 40 x 40 map beside a region of another label; the search is narrowest at the turns given.
TEST(GetFpPos, NarrowestTurnAndStreaks)
{
    const struct
    {
        double angle, cx, cy, along, across;
        bool search;
        int expected;
    } rows[] = {
        {90.25, 20.25, 20, 12.25, 1.25, true, 93}, // 0 and 177 only: the later turn wins, no streak
        {60, 20, 20, 12.25, 1.25, true, 60},       // 30 only
        {0, 20, 20, 12.25, 1.25, true, 0},         // 90 only
        {150, 20, 20, 12.25, 1.25, true, 150},     // 120 only
        {45, 9, 31, 12.25, 1.25, true, 45},        // off centre, 45: the region is centred before the turns
        {57.5, 20, 20, 6.75, 0.75, true, 54},      // 30, 33 and 36: a streak not lasting to 177 is forgotten
        {93.5, 20, 20, 6.25, 0.75, true, 96},      // 171, 174 and 177, wider at 168: 177 - 6 / 2
        {94, 20, 20, 5.25, 0.75, true, 97},        // 171, 174, 177 and, tying the earlier minimum, 168: 177 - 9 / 2
        {0, 20, 20, 0.25, 0.25, true, 90},         // every turn (one block): one column, no search
        {60, 20, 20, 12.25, 1.25, false, 90},      // no search asked
    };
    for (const auto& r : rows) {
        BlockMap map = BlockMap(40, 40).bar(r.cx, r.cy, r.angle, r.along, r.across, L);
        map.bar(4, 4, 45, 3.25, 1.25, L + 1);
        tagRECT rect{};
        EXPECT_EQ(GetFpPos(map.data(), map.w, map.h, L, &rect, r.search), r.expected) << r.angle;
    }
}

} // namespace
