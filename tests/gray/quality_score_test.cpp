// Quality score: finger pixel count, mean gray closeness, the order of the
// double-precision terms and the cap.
#include "gray/gray.h"

#include <gtest/gtest.h>

#include <vector>

TEST(QualityScore, Scores)
{
    // n1 pixels of level1 then n2 of level2, w wide.
    struct Case
    {
        int level1, n1, level2, n2, w, expected;
    };
    const Case cases[] = {
        {100, 0, 0, 0, 10, 0},         // height 0
        {100, 1000, 0, 0, 1000, 0},    // 1000 finger pixels are not enough
        {100, 1000, 199, 1, 1001, 60}, // level 199 is the 1001st: 0.31 + 60
        {100, 1000, 200, 1, 1001, 0},  // level 200 is no finger pixel
        {100, 126000, 0, 0, 400, 99},  // raw 99.375
        {100, 128000, 0, 0, 400, 98},  // raw 100 is reported as 98
        {100, 4320, 109, 480, 48, 61}, // mean 100.9 truncates to 100: 1.5 + 60
        {199, 160000, 0, 0, 400, 50},  // mean 199: 50 + 0.6
        {0, 92800, 0, 0, 320, 28},     // the area term comes out as 28.999...
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> img(c.n1, static_cast<unsigned char>(c.level1));
        img.insert(img.end(), c.n2, static_cast<unsigned char>(c.level2));
        EXPECT_EQ(GetQuality(img.data(), c.w, static_cast<int>(img.size()) / c.w), c.expected)
            << c.n1 << " + " << c.n2;
    }
}
