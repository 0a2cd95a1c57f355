// Region box, horizontal extent and angle search against their column by
// column versions, on random maps of every shape from one cell up: labels
// absent, only in column or row 0, touching every border, and boxes preset
// with stale values that an absent label must leave alone.
#include "locate/locate.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <vector>

#include "reference.h"

namespace {

bool operator==(const tagRECT& a, const tagRECT& b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

TEST(MeasurementEquivalence, RandomMaps)
{
    std::mt19937 rng(5);
    const auto uniform = [&](int lo, int hi) { return lo + static_cast<int>(rng() % unsigned(hi - lo + 1)); };
    for (int round = 0; round < 600; round++) {
        // Mostly block-map sizes, sometimes a single row or column.
        const int w = round % 10 == 0 ? 1 : uniform(1, 120), h = round % 10 == 1 ? 1 : uniform(1, 100);
        std::vector<signed char> map(static_cast<std::size_t>(w) * h, 0);
        for (int k = uniform(0, 6); k > 0; k--) { // blobs and bars, slanted, with holes
            const int label = uniform(9, 11), x = uniform(-5, w), y = uniform(-5, h);
            const int bw = uniform(1, 25), bh = uniform(1, 45), slant = uniform(-4, 4);
            for (int dy = 0; dy < bh; dy++)
                for (int dx = 0; dx < bw; dx++) {
                    const int px = x + dx + slant * dy / 4, py = y + dy;
                    if (px >= 0 && px < w && py >= 0 && py < h && rng() % 8 != 0)
                        map[static_cast<std::size_t>(py) * w + px] = static_cast<signed char>(label);
                }
        }
        if (round % 7 == 0) // a label in column 0 or row 0 only
            map[round % 2 ? 0 : static_cast<std::size_t>(uniform(0, h - 1)) * w] = 12;
        for (signed char label = 9; label <= 13; label++) {
            SCOPED_TRACE(testing::Message() << "round " << round << " " << w << "x" << h << " label " << +label);
            const tagRECT stale{uniform(-3, 3), uniform(-3, 3), uniform(-3, 200), INT_MAX};
            tagRECT fast = stale, slow = stale;
            GetHVMinRect(map.data(), w, h, label, fast);
            reference::GetHVMinRect(map.data(), w, h, label, slow);
            EXPECT_TRUE(fast == slow);
            EXPECT_EQ(GetRctXWidth(map.data(), w, h, label), reference::GetRctXWidth(map.data(), w, h, label));
            for (bool angle : {true, false}) {
                fast = stale, slow = stale;
                EXPECT_EQ(GetFpPos(map.data(), w, h, label, &fast, angle),
                          reference::GetFpPos(map.data(), w, h, label, &slow, angle));
                EXPECT_TRUE(fast == slow);
            }
        }
    }
}

} // namespace
