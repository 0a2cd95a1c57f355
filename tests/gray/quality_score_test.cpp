// Quality score: finger pixel count, mean gray closeness, the order of the
// double-precision terms and the cap.
#include "gray/gray.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(QualityScore, Scores)
{
    struct Case
    {
        const char* what;
        std::vector<std::pair<int, int>> runs; // (level, pixel count) of a w-wide image
        int w, expected;
    };
    const Case cases[] = {
        {"empty", {}, 10, 0},
        {"all white", {{255, 10000}}, 100, 0},
        {"level 200 is no finger pixel", {{200, 160000}}, 400, 0},
        {"1000 finger pixels", {{100, 1000}}, 1000, 0},
        {"1001 finger pixels: 0.31 + 60", {{100, 1001}}, 1001, 60},
        {"level 199 counts as the 1001st", {{100, 1000}, {199, 1}}, 1001, 60},
        {"level 200 does not", {{100, 1000}, {200, 1}}, 1001, 0},
        {"white pixels stay out of the mean", {{100, 2000}, {255, 2000}}, 100, 60},
        {"400 x 160 at 100: 20 + 60", {{100, 64000}}, 400, 80},
        {"400 x 400 at 199: 50 + 0.6", {{199, 160000}}, 400, 50},
        {"raw 99.375 stays 99", {{100, 126000}}, 400, 99},
        {"raw 100 is reported as 98", {{100, 128000}}, 400, 98},
        {"mean 100.9 truncates to 100: 1.5 + 60", {{100, 4320}, {109, 480}}, 48, 61},
        {"320 x 290 at 0: the area term is 28.999...", {{0, 92800}}, 320, 28},
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> img;
        for (auto [level, count] : c.runs)
            img.insert(img.end(), count, static_cast<unsigned char>(level));
        EXPECT_EQ(GetQuality(img.data(), c.w, static_cast<int>(img.size()) / c.w), c.expected) << c.what;
    }
    EXPECT_EQ(GetQuality(nullptr, 0, 10), 0);
}

} // namespace
