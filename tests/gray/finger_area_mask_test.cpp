// Finger area mask: the dark threshold, the centre search, the band scans and
// their miss counts, the band merging and the strict edges of what is kept.
#include "gray/gray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

struct Rect
{
    int c0, r0, c1, r1, level;
}; // inclusive corners, painted in order
struct Pixel
{
    int c, r, level;
}; // an output pixel and the level it must have
struct Case
{
    int w, h, back;
    std::vector<Rect> rects;
    std::vector<Pixel> expected;
};

void Check(const std::vector<Case>& cases)
{
    for (const Case& c : cases) {
        // The output starts stale: what the mask leaves out must be written 255.
        std::vector<unsigned char> img(size_t(c.w) * c.h, c.back), out(img.size(), 7);
        for (const Rect& rect : c.rects)
            for (int r = rect.r0; r <= rect.r1; r++)
                std::fill_n(&img[size_t(r) * c.w + rect.c0], rect.c1 - rect.c0 + 1, rect.level);
        FindTheFpGrad(img.data(), c.w, c.h, out.data());
        for (const Pixel& p : c.expected)
            EXPECT_EQ(out[size_t(p.r) * c.w + p.c], p.level)
                << "case " << &c - cases.data() << " at " << p.c << "," << p.r;
    }
}

// A 9 x 9 patch in the middle of a white 400 x 400 image whose one-pixel border
// (1596 pixels, never probed) sets the mean of the pixels below 215. Each pair
// of rows: a patch of T - 1 is dark and kept, one of T is not.
TEST(FingerAreaMask, DarkThreshold)
{
    Check({
        {400, 400, 52, {{1, 1, 398, 398, 255}, {196, 196, 204, 204, 209}}, {{200, 200, 209}}}, // mean 59: T 210
        {400, 400, 52, {{1, 1, 398, 398, 255}, {196, 196, 204, 204, 210}}, {{200, 200, 255}}},
        {400, 400, 100, {{1, 1, 398, 398, 255}, {196, 196, 204, 204, 225}}, {{200, 200, 225}}}, // 185 + 500 / 12
        {400, 400, 100, {{1, 1, 398, 398, 255}, {196, 196, 204, 204, 226}}, {{200, 200, 255}}},
        {400, 400, 119, {{1, 1, 398, 398, 255}, {196, 196, 204, 204, 233}}, {{200, 200, 233}}}, // mean 119: T 234
        {400, 400, 119, {{1, 1, 398, 398, 255}, {196, 196, 204, 204, 234}}, {{200, 200, 255}}},
        {400, 400, 120, {{1, 1, 398, 398, 255}, {196, 196, 204, 204, 234}}, {{200, 200, 234}}}, // mean 120: T 235
    });
}

TEST(FingerAreaMask, WhatIsKept)
{
    Check({
        // Uniform: the span and the column reach run from the first to the last probe, 3 to 396, both excluded.
        {400,
         400,
         100,
         {},
         {{4, 4, 100}, {3, 4, 255}, {4, 3, 255}, {395, 395, 100}, {396, 395, 255}, {395, 396, 255}}},
        {400, 40, 100, {}, {{200, 20, 255}}}, // no row sets the span
        {400, 41, 100, {}, {{200, 20, 100}}}, // row 20 does
        {5, 100, 0, {}, {{2, 50, 255}}},      // below 6 x 6: all white
        {100, 5, 0, {}, {{50, 2, 255}}},
        // Probes of columns 198, 201 and 204 miss; column 202 takes its reach from band 65, two bands away.
        {400, 400, 250, {{180, 0, 194, 399, 0}, {206, 0, 220, 399, 0}}, {{202, 100, 250}}},
    });
}

// Stripe A (240..259) is thinned to 240..241 on rows 198..202, stripe B
// (141..160) is not: at distance 40 from the middle the right probe sees 10
// dark pixels, the left one 15. One more dark pixel makes the right one a hit,
// and it wins being tried first.
TEST(FingerAreaMask, CentreSearch)
{
    const Rect b = {141, 0, 160, 399, 0}, a = {240, 0, 259, 399, 0}, thinned = {242, 198, 259, 202, 250};
    Check({
        {400, 400, 250, {b, a, thinned, {242, 200, 242, 200, 0}}, {{250, 100, 0}, {150, 100, 255}}},
        {400, 400, 250, {b, a, thinned}, {{150, 100, 0}, {250, 100, 255}}}, // 10 dark pixels are no hit
    });
}

// Dark columns 180..220, whose last hit is probe column 219, and more dark
// columns right of them; the span's right end is (rightmost, 200), white.
TEST(FingerAreaMask, SidewaysScan)
{
    const Rect main = {180, 0, 220, 399, 0};
    Check({
        {400, 400, 250, {main, {230, 0, 232, 399, 0}}, {{230, 200, 0}, {231, 200, 255}}}, // misses 222, 225, 228, hit
        {400, 400, 250, {main, {233, 0, 235, 399, 0}}, {{219, 200, 255}, {220, 200, 255}}}, // a fourth miss ends it
        // 2 misses, hit, 2 misses, hit: a hit restarts the count.
        {400, 400, 250, {main, {227, 0, 229, 399, 0}, {236, 0, 238, 399, 0}}, {{236, 200, 0}, {237, 200, 255}}},
        {400, 400, 250, {main, {231, 0, 231, 399, 0}}, {{219, 200, 255}, {220, 200, 255}}}, // 5 dark pixels: no hit
        {400,
         400,
         250,
         {main, {231, 0, 231, 399, 0}, {230, 201, 230, 201, 0}},
         {{220, 200, 0}, {231, 200, 255}}}, // 6
    });
}

// A dark band over rows 480..520 of a 60 x 1000 image (probes from row 498)
// and a three-row strip beyond it: the downward scan survives 150 missed
// probes, the upward one 25. The reach row itself stays white.
TEST(FingerAreaMask, VerticalScans)
{
    const Rect band = {0, 480, 59, 520, 0};
    Check({
        {60, 1000, 250, {band, {0, 971, 59, 973, 0}}, {{30, 971, 0}, {30, 972, 255}}}, // 150 misses, then a hit at
                                                                                       // 972
        {60, 1000, 250, {band, {0, 974, 59, 976, 0}}, {{30, 518, 0}, {30, 519, 255}}}, // 151 end the scan
        {60, 1000, 250, {band, {0, 401, 59, 403, 0}}, {{30, 403, 0}, {30, 402, 255}}}, // 25 misses, then a hit at 402
        {60, 1000, 250, {band, {0, 398, 59, 400, 0}}, {{30, 481, 0}, {30, 480, 255}}}, // 26 end the scan
    });
}

} // namespace
