// Ridge texture test of one block: the pair step, the three count thresholds
// and the column pass that only runs for row counts of 16 to 40.
#include "direction/direction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

namespace {

// A 40 x 30 image of two-pixel vertical stripes of 0 and 255 (hits everywhere
// around the block) with the block at (7, 5) holding exactly rowHits row pairs
// and colHits column pairs that differ by step. Both are stripes of 100 and
// 100 + step on a neutral 110: rows 0 to 2 carry the row pairs, rows 5 to 15
// the column pairs; stripes never pair across each other.
std::vector<unsigned char> Placed(int rowHits, int colHits, int step)
{
    std::vector<unsigned char> img(40 * 30);
    for (size_t i = 0; i < img.size(); i++)
        img[i] = (i % 40 / 2) % 2 ? 0 : 255;
    for (int r = 0; r < 16; r++)
        for (int c = 0; c < 16; c++) {
            int level = 110;
            if (14 * r + std::max(c - 2, 0) < rowHits)
                level = (c / 2) % 2 ? 100 + step : 100;
            else if (r >= 5 && 9 * c + std::max(r - 7, 0) < colHits)
                level = ((r - 5) / 2) % 2 ? 100 + step : 100;
            img[(5 + r) * 40 + 7 + c] = static_cast<unsigned char>(level);
        }
    return img;
}

TEST(BlockEstimate, Thresholds)
{
    struct Case
    {
        int rowHits, colHits, step, expected;
    };
    const Case cases[] = {
        {40, 0, 21, 0},   // 40 row hits alone are not enough
        {41, 0, 21, 1},   // 41 are
        {41, 0, 20, 0},   // a step of 20 is no hit
        {40, 10, 21, 0},  // the column pass adds to the row count: 50 are not enough
        {40, 11, 21, 1},  // 51 are
        {16, 35, 21, 1},  // 16 row hits enter the column pass
        {15, 144, 21, 0}, // 15 are rejected before it
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> img = Placed(c.rowHits, c.colHits, c.step);
        EXPECT_EQ(BlockDrct1(img.data(), 40, 30, 7, 5), c.expected) << c.rowHits << " + " << c.colHits;
        EXPECT_EQ(BlockDrct(img.data(), 40, 30, 7, 5, INT_MIN), c.expected) << c.rowHits << " + " << c.colHits;
    }
}

} // namespace
