// Direction map scan: the probe grid, the cells a probe hit opens, the shifted
// last row and column, the partial last row, and the map bounds.
#include "direction/direction.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

// LOW and HIGH are 21 apart and each within 11 of the background: only pixels
// of those two levels two apart make a pair that counts.
constexpr unsigned char BACK = 110, LOW = 100, HIGH = 121;
constexpr signed char STALE = 0x5A;

using Blocks = std::vector<std::pair<int, int>>; // (block column, block row)
using Map = std::vector<std::string>;              // a digit per block, a string per block row

struct Image
{
    int w, h;
    std::vector<unsigned char> px;
    Image(int w_, int h_) : w(w_), h(h_), px(static_cast<size_t>(w_) * h_, BACK) {}
    unsigned char& at(int x, int y) { return px[static_cast<size_t>(y) * w + x]; }

    // Vertical stripes two pixels wide (every row pair counts), or background.
    void Texture(int x, int y, int sw = 16, int sh = 16, bool on = true)
    {
        for (int r = y; r < y + sh; r++)
            for (int c = x; c < x + sw; c++)
                at(c, r) = !on ? BACK : (c / 2) % 2 ? HIGH : LOW;
    }

    // Over rows [y, y + rows): a ramp stepping up by 21 just after the pairs
    // (x0, x0 + 2), (x0 + 6, x0 + 8), (x0 + 13, x0 + 15). Only a block starting
    // at x0 holds all three pairs (48 row hits); one pixel either side, 32.
    void Steps(int x0, int y, int rows)
    {
        for (int c = 0; c < w; c++) {
            int level = BACK;
            for (int s : {x0, x0 + 6, x0 + 13})
                if (s % 2 == c % 2 && s + 2 <= c)
                    level += HIGH - LOW;
            for (int r = y; r < y + rows; r++)
                at(c, r) = static_cast<unsigned char>(level);
        }
    }

    Map Of(const std::vector<signed char>& map) const
    {
        Map rows((h + 15) / 16);
        for (size_t i = 0; i < map.size(); i++)
            rows[i / (w / 16)] += static_cast<char>('0' + map[i]);
        return rows;
    }

    // Scans twice into a buffer of stale bytes: both scans must agree and
    // leave the bytes past the map alone.
    Map Scan()
    {
        const size_t size = static_cast<size_t>(w / 16) * ((h + 15) / 16);
        std::vector<signed char> buf(size + 64, STALE);
        EXPECT_EQ(Directions(px.data(), w, h, buf.data(), 2), 1);
        const std::vector<signed char> first(buf.begin(), buf.begin() + size);
        EXPECT_EQ(Directions(px.data(), w, h, buf.data(), 2), 1);
        EXPECT_EQ(std::vector<signed char>(buf.begin(), buf.begin() + size), first) << "second scan differs";
        EXPECT_EQ(std::vector<signed char>(buf.begin() + size, buf.end()), std::vector<signed char>(64, STALE));
        return Of(first);
    }

    Map With(const Blocks& ones) const
    {
        std::vector<signed char> map(static_cast<size_t>(w / 16) * ((h + 15) / 16), 0);
        for (auto [c, r] : ones)
            map[static_cast<size_t>(r) * (w / 16) + c] = 1;
        return Of(map);
    }
};

TEST(DirectionScan, ProbeGrid)
{
    struct Case
    {
        int w, h;
        Blocks textured; // empty: the whole image
        Blocks expected;
    };
    const Case cases[] = {
        {160, 128, {{6, 2}}, {}},       // one probe column: (96, 32) is not probed
        {161, 128, {{6, 2}}, {{6, 2}}}, // two probe columns
        {128, 160, {{2, 6}}, {}},       // one probe row
        {128, 161, {{2, 6}}, {{2, 6}}}, // two probe rows
        {320, 96, {}, {}},              // no probe row at all
        {96, 320, {}, {}},
        {0, 0, {}, {}},
    };
    for (const Case& c : cases) {
        Image img(c.w, c.h);
        if (c.textured.empty())
            img.Texture(0, 0, c.w, c.h);
        for (auto [bx, by] : c.textured)
            img.Texture(16 * bx, 16 * by);
        EXPECT_EQ(img.Scan(), img.With(c.expected)) << c.w << " x " << c.h;
    }
}

TEST(DirectionScan, OnlyCellsNextToAProbeHitAreTested)
{
    Image img(320, 320);
    img.Texture(0, 0, 320, 320);
    for (int y = 32; y < 320; y += 64)
        for (int x = 32; x < 320; x += 64)
            img.Texture(x, y, 16, 16, false); // probes without texture: nothing is found
    EXPECT_EQ(img.Scan(), img.With({}));

    Image one(320, 320);
    const Blocks near = {{6, 6}, {4, 4}, {0, 0}, {11, 3}, {7, 11}}; // probe hit of cell (1, 1), its cell and neighbours
    const Blocks far = {{12, 6}, {6, 13}, {19, 19}, {13, 0}};       // two cells or more away
    for (const Blocks& set : {near, far})
        for (auto [bx, by] : set)
            one.Texture(16 * bx, 16 * by);
    EXPECT_EQ(one.Scan(), one.With(near));
}

TEST(DirectionScan, LastRowAndColumnAreTestedOnePixelBack)
{
    // 23 rows, the last tested from row 351: only there a block holds all three
    // striped rows (42 row hits). Probe hits in cell row 4 open the last row.
    Image img(320, 368);
    for (int y : {351, 358, 366})
        img.Texture(0, y, 320, 1);
    Blocks ones;
    for (int x = 32; x < 256; x += 64) {
        img.Texture(x, 288);
        ones.push_back({x / 16, 18});
    }
    for (int c = 0; c < 20; c++)
        ones.push_back({c, 22});
    EXPECT_EQ(img.Scan(), img.With(ones));

    // Last column from w - 17 when w is a multiple of 16; with w = 330 the
    // rightmost 10 columns lie in no block and block column 19 starts at 304.
    for (auto [w, x0] : {std::pair{320, 303}, {330, 304}}) {
        Image cols(w, 256);
        cols.Steps(x0, 0, 256);
        cols.Texture(224, 32); // probe hit of cell (3, 0): opens block rows 0 to 7 of column 19
        Blocks expected = {{14, 2}};
        for (int r = 0; r < 8; r++)
            expected.push_back({19, r});
        EXPECT_EQ(cols.Scan(), cols.With(expected)) << w;
    }
}

// A last row of 8 pixel rows or more is tested again everywhere at unshifted
// columns, replacing what the block pass found; not when no probe hit.
TEST(DirectionScan, PartialLastRow)
{
    struct Case
    {
        int h;
        bool probe;
        Blocks expected;
    };
    const Case cases[] = {
        {359, true, {{14, 18}, {19, 21}, {19, 22}}}, // 7 rows left: block pass only
        {360, true, {{14, 18}, {19, 21}, {0, 22}}},  // 8 left: (0, 22) found unmarked, (19, 22) redone at x 304
        {360, false, {}},
    };
    for (const Case& c : cases) {
        Image img(320, c.h);
        if (c.probe)
            img.Texture(224, 288);        // cell (3, 4): opens block columns 8 to 19
        img.Steps(303, 336, c.h - 336);   // accepted at x 303 only
        img.Texture(0, c.h - 17, 16, 17); // far from every probe hit
        EXPECT_EQ(img.Scan(), img.With(c.expected)) << c.h << (c.probe ? "" : " without probe hit");
    }
}

} // namespace
