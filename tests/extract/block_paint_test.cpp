#include "extract/extract.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

constexpr int W = 24;
constexpr int H = 20;
constexpr int X = 3; // the block's top-left cell
constexpr int Y = 2;

struct Painted
{
    std::vector<signed char> buf = std::vector<signed char>(W * H, 0);
    void paint(int size, int mode, signed char value = 1) { SetBlockValue(buf.data(), W, H, X, Y, size, value, mode); }
    int count(signed char value) const { return static_cast<int>(std::count(buf.begin(), buf.end(), value)); }
    bool at(int j, int k) const { return buf[(Y + k) * W + X + j] != 0; } // offsets within the block
};

TEST(BlockPaint, HalvesOfASize16Block)
{
    struct Row { int mode, cells; bool topLeft, topRight, bottomLeft, bottomRight; };
    const Row rows[] = {
        {0, 256, true, true, true, true},
        {1, 120, false, false, false, true}, // the anti-diagonal stays out
        {2, 120, false, false, true, false}, // the main diagonal stays out
        {3, 136, true, true, true, false},
        {4, 136, true, true, false, true},
    };
    for (const Row& row : rows) {
        Painted p;
        p.paint(16, row.mode);
        EXPECT_EQ(p.count(1), row.cells) << "mode " << row.mode; // no cell outside the block
        EXPECT_EQ(p.at(0, 0), row.topLeft) << "mode " << row.mode;
        EXPECT_EQ(p.at(15, 0), row.topRight) << "mode " << row.mode;
        EXPECT_EQ(p.at(0, 15), row.bottomLeft) << "mode " << row.mode;
        EXPECT_EQ(p.at(15, 15), row.bottomRight) << "mode " << row.mode;
    }
}

// Modes 1 and 3, and 2 and 4, cover the block exactly once between them.
TEST(BlockPaint, ComplementaryHalves)
{
    for (auto [first, second] : {std::pair{1, 3}, std::pair{2, 4}}) {
        Painted p;
        p.paint(16, first, 1);
        p.paint(16, second, 2);
        EXPECT_EQ(p.count(1), 120); // the second half overwrote none of the first
        EXPECT_EQ(p.count(2), 136);
        EXPECT_EQ(p.count(0), W * H - 256);
    }
}

TEST(BlockPaint, DegenerateBlocksAndModes)
{
    struct Row { int size, mode, cells; };
    const Row rows[] = {
        {1, 0, 1}, {1, 1, 0}, {1, 2, 0}, {1, 3, 1}, {1, 4, 1}, // a single cell has no lower half
        {16, 5, 0}, {16, -1, 0},                               // unknown modes
        {0, 0, 0}, {-1, 0, 0},                                 // empty sizes
    };
    for (const Row& row : rows) {
        Painted p;
        p.paint(row.size, row.mode, -3);
        EXPECT_EQ(p.count(-3), row.cells) << "size " << row.size << " mode " << row.mode;
    }
}

} // namespace
