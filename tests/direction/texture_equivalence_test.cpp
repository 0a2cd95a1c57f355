// The block texture test against its pair-by-pair version, on blocks whose
// step counts fall on every side of the accept and reject limits: two gray
// levels a step apart (just below, at and above the smallest counted step),
// mixed in every proportion, at the darkest and brightest levels, plus noise.
#include "direction/direction.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "reference.h"

namespace {

TEST(TextureEquivalence, BlocksAroundEveryLimit)
{
    std::mt19937 rng(3);
    constexpr int W = 67, H = 41; // blocks at every offset, rows not aligned
    std::vector<unsigned char> img(W * H);
    int decided[2] = {0, 0};
    for (int round = 0; round < 4000; round++) {
        const int step = 19 + static_cast<int>(rng() % 4); // 19..22: around the smallest counted step
        const int base = round % 3 == 0 ? 0 : round % 3 == 1 ? 255 - step : static_cast<int>(rng() % (256 - step));
        const unsigned share = rng() % 101; // percent of pixels at base + step
        const bool noise = round % 17 == 0;
        for (auto& p : img)
            p = static_cast<unsigned char>(noise ? rng() : rng() % 100 < share ? base + step : base);
        const int x = static_cast<int>(rng() % (W - 15)), y = static_cast<int>(rng() % (H - 15));
        const unsigned char fast = BlockDrct1(img.data(), W, H, x, y);
        ASSERT_EQ(fast, reference::BlockDrct1(img.data(), W, H, x, y))
            << "round " << round << " step " << step << " base " << base << " share " << share;
        decided[fast]++;
    }
    // Both answers were reached many times.
    EXPECT_GT(decided[0], 500);
    EXPECT_GT(decided[1], 500);
}

} // namespace
