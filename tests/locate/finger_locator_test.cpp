#include "locate/locate.h"

#include "block_map_text.h"
#include "tilted_bar.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

constexpr int UNTOUCHED = -5;

struct Rect
{
    int x0, y0, x1, y1; // inclusive block range of a ridge area
};

struct Found
{
    int n = 0;
    std::vector<std::array<int, 4>> boxes; // all ten entries, left top right bottom
    std::vector<int> angles;
    std::vector<int> labels;
    BlockMap work;
};

// Runs the locator on map (changed in place) with every output entry preset.
Found Locate(BlockMap& map)
{
    Found f;
    f.work = BlockMap(map.w, map.h, 77);
    tagRECT boxes[10];
    int angles[10];
    signed char labels[10];
    for (int i = 0; i < 10; i++) {
        boxes[i] = {UNTOUCHED, UNTOUCHED, UNTOUCHED, UNTOUCHED};
        angles[i] = UNTOUCHED;
        labels[i] = UNTOUCHED;
    }
    f.n = FindFpPos(map.data(), map.w, map.h, f.work.data(), boxes, angles, labels);
    for (int i = 0; i < 10; i++) {
        f.boxes.push_back({boxes[i].left, boxes[i].top, boxes[i].right, boxes[i].bottom});
        f.angles.push_back(angles[i]);
        f.labels.push_back(labels[i]);
    }
    return f;
}

BlockMap Ridges(int bw, int bh, const std::vector<Rect>& areas)
{
    BlockMap map(bw, bh);
    for (const Rect& r : areas)
        map.fill(r.x0, r.y0, r.x1, r.y1, 1);
    return map;
}

void ExpectUntouchedFrom(const Found& f, int first)
{
    for (int i = first; i < 10; i++) {
        EXPECT_EQ(f.boxes[i], (std::array<int, 4>{UNTOUCHED, UNTOUCHED, UNTOUCHED, UNTOUCHED})) << i;
        EXPECT_EQ(f.angles[i], UNTOUCHED) << i;
        EXPECT_EQ(f.labels[i], UNTOUCHED) << i;
    }
}

TEST(FindFpPos, NothingFound)
{
    struct Row
    {
        const char* what;
        std::vector<Rect> areas;
        int expected;
    };
    const Row rows[] = {
        {"empty map", {}, 0},
        {"only specks of 81 blocks", {{2, 2, 10, 10}, {15, 2, 23, 10}}, 0},
        {"region 10 columns wide: measured, not emitted", {{5, 3, 14, 22}}, 0},
        {"11 columns wide is emitted", {{5, 3, 15, 22}}, 1},
    };
    for (const Row& row : rows) {
        BlockMap map = Ridges(30, 26, row.areas);
        Found f = Locate(map);
        ASSERT_EQ(f.n, row.expected) << row.what;
        ExpectUntouchedFrom(f, f.n);
    }
    BlockMap map = Ridges(30, 26, {{5, 3, 15, 22}});
    Found f = Locate(map);
    // Pixel box: right and bottom one past the last block's pixels.
    EXPECT_EQ(f.boxes[0], (std::array<int, 4>{80, 48, 256, 368}));
    EXPECT_EQ(f.angles[0], 90);
    EXPECT_EQ(f.labels[0], FIRST_LABEL);

    // Degenerate sizes read nothing.
    signed char none = 1;
    EXPECT_EQ(FindFpPos(&none, 0, 1, &none, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(FindFpPos(&none, 1, -1, &none, nullptr, nullptr, nullptr), 0);
}

TEST(FindFpPos, TallRegionsAreCut)
{
    struct Row
    {
        int span; // bottom - top in blocks
        int bottomPixel;
    };
    const Row rows[] = {
        {37, 16 * 40}, // 592 pixels: kept whole
        {38, 16 * 39}, // 608 pixels: rows top + 37 on go
    };
    for (const Row& row : rows) {
        BlockMap map = Ridges(30, 50, {{5, 2, 15, 2 + row.span}});
        Found f = Locate(map);
        ASSERT_EQ(f.n, 1) << row.span;
        EXPECT_EQ(f.boxes[0], (std::array<int, 4>{80, 32, 256, row.bottomPixel})) << row.span;
        EXPECT_EQ(f.work.at(10, 2 + row.span), row.span == 37 ? FIRST_LABEL : 0) << row.span;
    }

    // An L whose foot is cut off keeps the angle measured with the foot,
    // although what remains stands upright.
    BlockMap map = Ridges(40, 60, {{5, 2, 15, 46}, {16, 40, 35, 46}});
    BlockMap labelled = map;
    for (signed char& v : labelled.cells)
        v = v != 0 ? FIRST_LABEL : 0;
    tagRECT box{};
    const int before = GetFpPos(labelled.data(), labelled.w, labelled.h, FIRST_LABEL, &box, true);
    ASSERT_NE(before, 90);
    Found f = Locate(map);
    ASSERT_EQ(f.n, 1);
    EXPECT_EQ(f.boxes[0], (std::array<int, 4>{80, 32, 256, 16 * 39}));
    EXPECT_EQ(f.angles[0], before);
}

TEST(FindFpPos, RegionsBelowOthersAreDropped)
{
    struct Row
    {
        const char* what;
        std::vector<Rect> areas; // the first is the upper region
        std::vector<int> labels;
    };
    const Row rows[] = {
        {"below, sharing columns", {{5, 2, 15, 21}, {8, 25, 18, 44}}, {9}},
        {"below, sharing one column only: min right must exceed max left", {{5, 2, 15, 21}, {15, 25, 25, 44}}, {9, 10}},
        {"below, columns apart", {{5, 2, 15, 21}, {17, 25, 27, 44}}, {9, 10}},
        {"a region too narrow to be emitted still drops the one below", {{5, 2, 14, 21}, {8, 25, 18, 44}}, {}},
        {"tops 62 blocks apart", {{2, 1, 12, 20}, {20, 63, 30, 82}}, {9, 10}},
        {"tops 63 blocks apart: the lower goes", {{2, 1, 12, 20}, {20, 64, 30, 83}}, {9}},
        {"a one-column region gets no slot and drops nothing", {{3, 1, 3, 82}, {10, 65, 20, 84}}, {10}},
    };
    for (const Row& row : rows) {
        BlockMap map = Ridges(34, 90, row.areas);
        Found f = Locate(map);
        ASSERT_EQ(f.n, static_cast<int>(row.labels.size())) << row.what;
        for (int i = 0; i < f.n; i++)
            EXPECT_EQ(f.labels[i], row.labels[i]) << row.what;
    }
}

// Two regions at 120 degrees, far apart: turned upright, the right one (the
// earlier label, its top row being higher) lies more than 62 blocks below the
// left one and is the one dropped.
TEST(FindFpPos, EarlierRegionLowerInTheTurnedMapIsDropped)
{
    BlockMap map(200, 40);
    DrawBar(map, 180, 17, 120, 12.25, 2.25, 1);
    DrawBar(map, 20, 19, 120, 12.25, 2.25, 1);
    Found f = Locate(map);
    ASSERT_EQ(f.n, 1);
    EXPECT_EQ(f.labels[0], FIRST_LABEL + 1);
}

TEST(FindFpPos, UprightRegionsComeLeftToRight)
{
    // Seeds come top first: labels 9 (right), 10 (middle), 11 (left).
    BlockMap map = Ridges(44, 30, {{30, 2, 40, 21}, {2, 8, 12, 27}, {16, 5, 26, 24}});
    Found f = Locate(map);
    ASSERT_EQ(f.n, 3);
    EXPECT_EQ(f.labels[0], 11);
    EXPECT_EQ(f.labels[1], 10);
    EXPECT_EQ(f.labels[2], 9);
    EXPECT_EQ(f.boxes[0][0], 32);
    EXPECT_EQ(f.boxes[1][0], 256);
    EXPECT_EQ(f.boxes[2][0], 480);
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(f.angles[i], 90);
}

TEST(FindFpPos, TenOfElevenRegions)
{
    std::vector<Rect> areas;
    for (int i = 0; i < 11; i++)
        areas.push_back({2 + 12 * i, 3, 12 + 12 * i, 22});
    BlockMap map = Ridges(140, 30, areas);
    Found f = Locate(map);
    ASSERT_EQ(f.n, 10);
    for (int i = 0; i < 10; i++) {
        EXPECT_EQ(f.labels[i], FIRST_LABEL + i) << i;
        EXPECT_EQ(f.boxes[i][0], 16 * (2 + 12 * i)) << i;
    }
}

// Three fingers at 90, 66 and 105 degrees and a flat region at 0 below the
// middle one. The flat region is dropped, but its angle is in the mean
// (261 / 4 = 65): the map turns by 25 degrees, and the 66 finger, lower than
// the 105 one, comes out right of it. Without the flat region the mean is 87
// and the order is the plain one.
TEST(FindFpPos, MeanAngleIsTakenBeforeTheDrops)
{
    for (bool flat : {false, true}) {
        BlockMap map(72, 60);
        map.fill(12, 16, 22, 40, 1);
        DrawBar(map, 37, 28, 66, 12.25, 2.25, 1);
        DrawBar(map, 47, 14, 105, 12.25, 2.75, 1);
        if (flat)
            DrawBar(map, 37, 48, 0, 12.25, 2.25, 1);
        Found f = Locate(map);
        ASSERT_EQ(f.n, 3) << flat;
        const std::vector<int> angles(f.angles.begin(), f.angles.begin() + 3);
        EXPECT_EQ(angles, (flat ? std::vector<int>{90, 105, 66} : std::vector<int>{90, 66, 105}));
    }
}

TEST(FindFpPos, ClosedNotchesBecomeRidgeBlocks)
{
    // A ring: a hole 4 blocks wide inside one region, region above and below.
    BlockMap map = Ridges(30, 40, {{5, 3, 15, 24}});
    map.fill(9, 8, 12, 18, 0);
    BlockMap expected = map;
    expected.fill(9, 8, 12, 18, 1);
    // The single-cell fill takes the hole's left corners first, in work only.
    expected.at(9, 8) = 0;
    expected.at(9, 18) = 0;
    Found f = Locate(map);
    ASSERT_EQ(f.n, 1);
    EXPECT_EQ(BlockMapText(map), BlockMapText(expected));
    for (int y = 8; y <= 18; y++)
        for (int x = 9; x <= 12; x++)
            EXPECT_EQ(f.work.at(x, y), FIRST_LABEL) << x << ", " << y;
}

} // namespace
