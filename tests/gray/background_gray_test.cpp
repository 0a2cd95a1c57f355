// Background gray: the window estimate (mean, upper mean, peak level) seen
// through the nine sample windows of the whole image.
#include "gray/gray.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// An image of 255 whose nine sample windows hold level(i) at their pixel i
// (raster order; 100 when level is null), except the windows whose bit is set
// in bright (bit 3 * row + column), which are all 250. A window read off its
// place sees 255 and lifts the result.
int Estimate(int w, int h, int (*level)(int), int bright = 0)
{
    std::vector<unsigned char> img(size_t(w) * h, 255);
    const int xs[] = {16, w / 2, w - 48}, ys[] = {16, h / 2, h - 48};
    for (int k = 0; k < 9; k++)
        for (int i = 0; i < 32 * 32; i++)
            img[size_t(ys[k / 3] + i / 32) * w + xs[k % 3] + i % 32] = bright >> k & 1 ? 250 : level ? level(i) : 100;
    return FastBkGray(img.data(), w, h);
}

TEST(BackgroundGray, Estimate)
{
    const struct
    {
        int w, h;
        int (*level)(int);
        int bright, expected;
    } cases[] = {
        {301, 257, [](int i) { return i < 256 ? 0
                                   : i < 768  ? 20
                                              : 40; }, 0,
         33},                                                         // the mean 20 is in the upper mean 26
        {301, 257, [](int i) { return i < 9 ? 255 : 100; }, 0, 177},  // 9 pixels of 255 are no peak: (255 + 100) / 2
        {301, 257, [](int i) { return i < 10 ? 255 : 100; }, 0, 255}, // 10 are
        {200, 200, nullptr, 1 << 2 | 1 << 6, 250}, // two bright windows: equal estimates both count
        {199, 1000, nullptr, 0, 0},
        {1000, 199, nullptr, 0, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Estimate(c.w, c.h, c.level, c.bright), c.expected) << c.w << " x " << c.h << ", " << c.expected;
    // Halves rounded down; one bright window gives (250 + 100) / 2.
    for (int k = 0; k < 9; k++)
        EXPECT_EQ(Estimate(301, 257, nullptr, 1 << k), 175) << "bright window " << k;
    EXPECT_EQ(GetBkGray1(nullptr, 10, 10, 0, 0, 0, 5), 0) << "empty window";
}

} // namespace
