// Direction map scan: the probe grid, the cells a probe hit opens, the shifted
// last row and column, the partial last row, and the map bounds.
#include "direction/direction.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>
#include <vector>

namespace {

// LOW and HIGH are 21 apart and each within 11 of BACK: only they pair up.
constexpr unsigned char BACK = 110, LOW = 100, HIGH = 121, STALE = 0x5A;
using Blocks = std::set<std::pair<int, int>>; // (block column, block row)

struct Image
{
    int w, h;
    std::vector<unsigned char> px = std::vector<unsigned char>(size_t(w) * h, BACK);

    // Two-pixel vertical stripes over sw x sh pixels from (x, y): every row pair
    // inside them counts, none across their border.
    void Texture(int x, int y, int sw, int sh)
    {
        for (int r = y; r < y + sh; r++)
            for (int c = x; c < x + sw; c++)
                px[size_t(r) * w + c] = (c / 2) % 2 ? HIGH : LOW;
    }

    // The nonzero map blocks; the bytes past the map must keep their stale value.
    Blocks Scan()
    {
        const int bw = w / 16, size = bw * ((h + 15) / 16);
        std::vector<signed char> map(size + 64, STALE);
        EXPECT_EQ(Directions(px.data(), w, h, map.data(), 2), 1);
        EXPECT_EQ(std::vector<signed char>(map.begin() + size, map.end()), std::vector<signed char>(64, STALE));
        Blocks ones;
        for (int i = 0; i < size; i++)
            if (map[i] != 0)
                ones.insert({i % bw, i / bw});
        return ones;
    }
};

// Each listed block is striped in its left half, so it is also found from one
// pixel further left.
TEST(DirectionScan, ProbesAndTheCellsTheyOpen)
{
    const struct
    {
        int w, h;
        Blocks textured, expected;
    } cases[] = {
        {160, 128, {{6, 2}}, {}},       // one probe column: (96, 32) is not probed
        {161, 128, {{6, 2}}, {{6, 2}}}, // two
        {128, 160, {{2, 6}}, {}},       // one probe row
        {128, 161, {{2, 6}}, {{2, 6}}}, // two
        {320, 96, {{2, 2}}, {}},        // no probe row at all
        // Probe hit (6, 6) opens its cell and the eight around it; blocks two cells away stay 0.
        {320,
         320,
         {{6, 6}, {4, 4}, {0, 0}, {11, 3}, {7, 11}, {12, 6}, {6, 13}, {19, 19}, {13, 0}},
         {{6, 6}, {4, 4}, {0, 0}, {11, 3}, {7, 11}}},
        // The rightmost 10 columns lie in no block; block column 19 is tested at its own place.
        {330, 256, {{14, 2}, {19, 0}}, {{14, 2}, {19, 0}}},
    };
    for (const auto& c : cases) {
        Image img{c.w, c.h};
        for (auto [bx, by] : c.textured)
            img.Texture(16 * bx, 16 * by, 8, 16);
        EXPECT_EQ(img.Scan(), c.expected) << c.w << " x " << c.h;
    }
}

// 320 wide, probe hit (14, 18) opening block columns 8 to 19 and rows 12 to 23
// (no hit when the probe block is textured from x 240 instead of 224). From row
// 336 down, columns 303 to 307 are striped: a block from x 303 holds three row
// pairs per row and accepts, one from 304 only two.
// Stripes over all of block column 0 from h - 17 lie far from the probe hit.
// Rows h - 17, h - 10 and h - 2 of block column 8 are striped: only a block
// from h - 17 holds all three.
TEST(DirectionScan, LastRowAndColumn)
{
    const struct
    {
        int h, probeX;
        Blocks expected;
    } cases[] = {
        {368, 224, {{14, 18}, {19, 21}, {8, 22}, {19, 22}}}, // last row from 351, last column from 303
        {359, 224, {{14, 18}, {19, 21}, {8, 22}, {19, 22}}}, // 7 rows left over: no second test
        {360, 224, {{14, 18}, {19, 21}, {0, 22}, {8, 22}}},  // 8: tested again everywhere, from x 16C
        {360, 240, {}},                                      // not without a probe hit
    };
    for (const auto& c : cases) {
        Image img{320, c.h};
        img.Texture(c.probeX, 288, 16, 16);
        img.Texture(303, 336, 5, c.h - 336);
        img.Texture(0, c.h - 17, 16, 17);
        for (int y : {c.h - 17, c.h - 10, c.h - 2})
            img.Texture(128, y, 16, 1);
        EXPECT_EQ(img.Scan(), c.expected) << c.h << ", probe block from x " << c.probeX;
    }
}

} // namespace
