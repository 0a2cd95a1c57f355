// Background gray: one window (mean, upper mean, peak level) and the nine
// sample windows of the whole image.
#include "gray/gray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

TEST(BackgroundGray, WindowEstimate)
{
    struct Case
    {
        const char* what;
        std::vector<std::pair<int, int>> runs; // (level, count), filling rows of `width`
        int width, expected;
    };
    const Case cases[] = {
        {"uniform", {{180, 1024}}, 32, 180},
        {"all black: level 0 is never a peak", {{0, 1024}}, 32, 0},
        {"no level from 1 up holds 10: half the upper mean", {{0, 20}, {40, 5}}, 5, 20},
        {"the mean level is in the upper mean: (10 + 20) / 2 / 2", {{0, 1}, {10, 1}, {20, 1}}, 3, 7},
        {"upper mean 200, 10 pixels of 255", {{0, 40}, {145, 10}, {255, 10}}, 6, 227},
        {"9 pixels of 255 are no peak", {{100, 91}, {255, 9}}, 10, 177},
        {"10 pixels of 255 are", {{100, 90}, {255, 10}}, 10, 255},
    };
    for (const Case& c : cases) {
        // The window at (3, 2) of a 40-wide image of 255.
        std::vector<unsigned char> img(40 * 40, 255);
        int i = 0;
        for (auto [level, count] : c.runs)
            for (int k = 0; k < count; k++, i++)
                img[(2 + i / c.width) * 40 + 3 + i % c.width] = static_cast<unsigned char>(level);
        EXPECT_EQ(GetBkGray1(img.data(), 40, 40, 3, 2, c.width, i / c.width), c.expected) << c.what;
    }
    for (auto [ww, wh] : {std::pair{0, 5}, {5, -1}, {-3, 4}})
        EXPECT_EQ(GetBkGray1(nullptr, 10, 10, 0, 0, ww, wh), 0) << "empty window " << ww << " x " << wh;
}

// Image of 255 with the nine sample windows at 100, those listed in bright
// (row-major over the 3 x 3 table) at 250. A window read one pixel off its
// place sees 255 and lifts the result.
int Samples(int w, int h, std::vector<int> bright = {})
{
    std::vector<unsigned char> img(static_cast<size_t>(w) * h, 255);
    const int xs[] = {16, w / 2, w - 48}, ys[] = {16, h / 2, h - 48};
    for (int k = 0; k < 9; k++)
        for (int y = ys[k / 3]; y < ys[k / 3] + 32; y++)
            for (int x = xs[k % 3]; x < xs[k % 3] + 32; x++)
                img[static_cast<size_t>(y) * w + x] = std::count(bright.begin(), bright.end(), k) ? 250 : 100;
    return FastBkGray(img.data(), w, h);
}

TEST(BackgroundGray, NineSampleWindows)
{
    EXPECT_EQ(Samples(200, 200), 100);
    EXPECT_EQ(Samples(301, 257), 100) << "halves rounded down";
    for (int k = 0; k < 9; k++)
        EXPECT_EQ(Samples(301, 257, {k}), 175) << "one bright window: (250 + 100) / 2, window " << k;
    EXPECT_EQ(Samples(240, 220, {2, 6}), 250) << "two bright windows";
    EXPECT_EQ(Samples(199, 1000), 0);
    EXPECT_EQ(Samples(1000, 199), 0);
}

} // namespace
