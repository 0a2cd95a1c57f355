#include "locate/locate.h"

#include "block_map_text.h"
#include "tilted_bar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

namespace {

constexpr signed char L = 9;
constexpr int KEEP = -7; // a field the scan must not write

// left, top, right, bottom, comparable and printable.
std::array<int, 4> Box(const tagRECT& r)
{
    return {r.left, r.top, r.right, r.bottom};
}

TEST(GetHVMinRect, FieldsWithoutHitKeepTheCallersValue)
{
    struct Row
    {
        const char* what;
        int x0, y0, x1, y1; // label block range; x0 < 0: absent
        tagRECT expected;
    };
    const Row rows[] = {
        {"ordinary region", 2, 3, 6, 8, {2, 3, 6, 8}},
        {"only column 0: right is never looked for there", 0, 3, 0, 5, {0, 3, KEEP, 5}},
        {"only row 0: bottom is never looked for there", 2, 0, 4, 0, {2, 0, 4, KEEP}},
        {"corner block only", 0, 0, 0, 0, {0, 0, KEEP, KEEP}},
        {"absent", -1, 0, 0, 0, {KEEP, KEEP, KEEP, KEEP}},
    };
    for (const Row& row : rows) {
        BlockMap map(9, 10);
        map.fill(7, 1, 8, 9, L + 1); // another label never counts
        if (row.x0 >= 0)
            map.fill(row.x0, row.y0, row.x1, row.y1, L);
        tagRECT rect{KEEP, KEEP, KEEP, KEEP};
        GetHVMinRect(map.data(), map.w, map.h, L, rect);
        EXPECT_EQ(Box(rect), Box(row.expected)) << row.what;
    }
}

TEST(GetRctXWidth, ExtentLessOne)
{
    struct Row
    {
        const char* what;
        int x0, x1; // label columns; x0 < 0: absent
        int expected;
    };
    const Row rows[] = {
        {"columns 2..7", 2, 7, 5},
        {"one column", 5, 5, 0},
        {"only column 0", 0, 0, 0},
        {"absent gives -w", -1, 0, -9},
    };
    for (const Row& row : rows) {
        BlockMap map(9, 6);
        if (row.x0 >= 0)
            map.fill(row.x0, 2, row.x1, 3, L);
        EXPECT_EQ(GetRctXWidth(map.data(), map.w, map.h, L), row.expected) << row.what;
    }
}

TEST(RoatedDrct, QuarterTurnAndCopy)
{
    BlockMap map(11, 11);
    map.fill(5, 2, 5, 8, L); // vertical bar through the pivot (5, 5)
    map.at(9, 1) = 3;
    tagRECT unused{};
    BlockMap out(11, 11, 99);
    RoatedDrct(map.data(), map.w, map.h, L, unused, 0, out.data());
    EXPECT_EQ(BlockMapText(out), BlockMapText(map)) << "t = 0 copies every value";

    RoatedDrct(map.data(), map.w, map.h, L, unused, 90, out.data());
    BlockMap expected(11, 11);
    expected.fill(2, 5, 8, 5, L); // counter-clockwise: the bar's top end goes left
    expected.at(1, 1) = 3;
    EXPECT_EQ(BlockMapText(out), BlockMapText(expected));
}

TEST(GetFpPos, NoSearchGivesUpright)
{
    BlockMap bar(40, 40);
    DrawBar(bar, 20, 20, 60, 12.25, 1.25, L);
    tagRECT rect{};
    EXPECT_EQ(GetFpPos(bar.data(), bar.w, bar.h, L, &rect, false), 90) << "bGetAngle false";
    EXPECT_EQ(Box(rect), Box(tagRECT{13, 9, 27, 31}));

    // A single block stays narrowest up to the turn of 90: a search would answer 0.
    BlockMap block(40, 40);
    block.at(20, 20) = L;
    EXPECT_EQ(GetFpPos(block.data(), block.w, block.h, L, &rect, true), 90) << "one column";
    EXPECT_EQ(Box(rect), Box(tagRECT{20, 20, 20, 20}));

    // Absent label: the caller's box stands and decides.
    BlockMap empty(40, 40);
    rect = {5, 1, 3, 2};
    EXPECT_EQ(GetFpPos(empty.data(), empty.w, empty.h, L, &rect, true), 90) << "absent";
    EXPECT_EQ(Box(rect), Box(tagRECT{5, 1, 3, 2}));
}

TEST(GetFpPos, BarsComeOutAtTheirAngle)
{
    struct Row
    {
        double angle, cx, cy;
    };
    std::vector<Row> rows;
    for (int a = 0; a < 180; a += 15)
        rows.push_back({static_cast<double>(a), 20, 20});
    rows.push_back({60, 11, 27}); // off centre: the region is centred before the turns
    rows.push_back({120, 29, 12});
    for (const Row& row : rows) {
        BlockMap map(40, 40);
        DrawBar(map, row.cx, row.cy, row.angle, 12.25, 1.25, L);
        DrawBar(map, 4, 4, 45, 3.25, 1.25, L + 1); // another region does not disturb
        tagRECT rect{};
        const int angle = GetFpPos(map.data(), map.w, map.h, L, &rect, true);
        const int off = std::abs(angle - static_cast<int>(row.angle));
        EXPECT_LE(std::min(off, 180 - off), 3) << "bar at " << row.angle << " gave " << angle;
    }
}

// Widths of the label per search turn (the map is already centred on the region).
std::vector<int> Widths(BlockMap& map)
{
    std::vector<int> widths;
    BlockMap turned(map.w, map.h);
    tagRECT unused{};
    for (int t = 0; t <= 177; t += 3) {
        RoatedDrct(map.data(), map.w, map.h, L, unused, t, turned.data());
        widths.push_back(GetRctXWidth(turned.data(), turned.w, turned.h, L));
    }
    return widths;
}

TEST(GetFpPos, NarrowestTurnAndStreaks)
{
    struct Row
    {
        const char* what;
        std::function<void(BlockMap&)> draw; // centred on (20, 20)
        std::vector<int> narrowest;          // turns reaching the smallest width
        bool tieAt168;                       // turn 168 as narrow as the turns before it
        int expected;
    };
    const Row rows[] = {
        {"narrowest at 0 and 177 only: the later turn wins, no streak",
         [](BlockMap& m) {
             m.fill(20, 9, 20, 9, L); // two strips, the upper one column left
             m.fill(19, 10, 20, 19, L);
             m.fill(19, 20, 21, 20, L);
             m.fill(20, 21, 21, 30, L);
             m.fill(20, 31, 20, 31, L);
         },
         {0, 177}, false, 93},
        {"narrowest at 30 only", [](BlockMap& m) { DrawBar(m, 20, 20, 60, 12.25, 1.25, L); }, {30}, false, 60},
        {"narrowest at 30, 33, 36; a streak not lasting to 177 is forgotten",
         [](BlockMap& m) { DrawBar(m, 20, 20, 57.5, 6.75, 0.75, L); }, {30, 33, 36}, false, 54},
        {"wider at 168, narrowest 171..177: best 177 - 6 / 2",
         [](BlockMap& m) { DrawBar(m, 20, 20, 93.5, 6.25, 0.75, L); }, {171, 174, 177}, false, 96},
        {"168 ties the earlier minimum and starts the streak: best 177 - 9 / 2",
         [](BlockMap& m) { DrawBar(m, 20, 20, 94, 5.25, 0.75, L); }, {171, 174, 177}, true, 97},
    };
    for (const Row& row : rows) {
        BlockMap map(40, 40);
        row.draw(map);
        const std::vector<int> widths = Widths(map);
        const int least = *std::min_element(widths.begin(), widths.end());
        std::vector<int> narrowest;
        for (size_t i = 0; i < widths.size(); i++)
            if (widths[i] == least)
                narrowest.push_back(static_cast<int>(3 * i));
        ASSERT_EQ(narrowest, row.narrowest) << row.what;
        ASSERT_EQ(widths[56] == *std::min_element(widths.begin(), widths.begin() + 56), row.tieAt168) << row.what;

        tagRECT rect{};
        EXPECT_EQ(GetFpPos(map.data(), map.w, map.h, L, &rect, true), row.expected) << row.what;
    }
}

} // namespace
