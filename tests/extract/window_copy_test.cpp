// Window copy out of a gray image and block painting of a signed byte map.
#include "compat/compat.h"
#include "extract/extract.h"

#include <gtest/gtest.h>

#include <climits>
#include <numeric>
#include <string>
#include <vector>

namespace {

// A 10 x 6 source whose pixel (c, r) is 10 r + c.
TEST(WindowCopy, CopiesOnlyWindowsInsideTheSource)
{
    const struct
    {
        int dw, dh, x0, y0;
        bool copies;
    } rows[] = {
        {4, 3, 6, 3, true},        {10, 6, 0, 0, true},       {4, 3, 7, 3, false},
        {4, 3, 6, 4, false},                                                       // edges reached, passed
        {4, 3, -1, 0, false},      {4, 3, 0, -1, false},      {4, 0, 0, 0, false}, // negative x0, y0; no row
        {1, 1, INT_MAX, 0, false}, {1, 1, 0, INT_MAX, false},                      // the window's end beyond int
    };
    std::vector<unsigned char> src(60);
    std::iota(src.begin(), src.end(), 0);
    for (const auto& r : rows) {
        std::vector<unsigned char> dst(64, 255), expected(64, 255);
        for (int i = 0; r.copies && i < r.dw * r.dh; i++)
            expected[i] = static_cast<unsigned char>(10 * (r.y0 + i / r.dw) + r.x0 + i % r.dw);
        CutImageBuf(dst.data(), r.dw, r.dh, src.data(), r.x0, r.y0, 10, 6);
        EXPECT_EQ(dst, expected) << r.dw << "x" << r.dh << " at " << r.x0 << "," << r.y0;
    }
    std::vector<unsigned char> dst(60, 255);
    CutImageBuf(dst.data(), 4, 3, nullptr, 0, 0, 10, 6); // a null source copies nothing
    EXPECT_EQ(dst, std::vector<unsigned char>(60, 255));
}

// A size 4 block at (1, 1) of a 7 x 6 map whose last column holds '|' as a row separator: the diagonal
// cells of every half and the cells around the block.
TEST(BlockPaint, HalvesAndDegenerateBlocks)
{
    const std::string none = "......|......|......|......|......|......|";
    const std::string one = "......|.#....|......|......|......|......|";
    const struct
    {
        int size, mode;
        std::string painted;
    } rows[] = {
        {4, 0, "......|.####.|.####.|.####.|.####.|......|"},
        // Below the anti-diagonal, which stays out, and down to it.
        {4, 1, "......|......|....#.|...##.|..###.|......|"},
        {4, 3, "......|.####.|.###..|.##...|.#....|......|"},
        // Below the main diagonal, which stays out, and down to it.
        {4, 2, "......|......|.#....|.##...|.###..|......|"},
        {4, 4, "......|.####.|..###.|...##.|....#.|......|"},
        {1, 0, one},
        {1, 3, one},
        {1, 4, one},
        {1, 1, none},
        {1, 2, none}, // a single cell has no lower half
        {4, 5, none},
        {4, -1, none},
        {0, 0, none},
        {-1, 0, none}, // unknown modes, empty sizes
    };
    for (const auto& r : rows) {
        std::vector<signed char> map(none.begin(), none.end());
        SetBlockValue(map.data(), 7, 6, 1, 1, r.size, '#', r.mode);
        EXPECT_EQ(std::string(map.begin(), map.end()), r.painted) << "size " << r.size << " mode " << r.mode;
    }
}

} // namespace
