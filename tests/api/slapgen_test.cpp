// The synthetic slap generator that the end-to-end tests stand on: the same
// spec gives the same bytes, the truth matches what is drawn, ridge texture
// lies inside the fingertips only, and hands follow the stated layout.
#include "slapgen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>

namespace {

using slapgen::Finger;
using slapgen::Slap;
using slapgen::SlapSpec;
using slapgen::Truth;

constexpr int BLOCK = 16;
constexpr int HIT_DIFFERENCE = 21;

// Pixel pairs two apart, across and down, inside the block at (x, y) that differ by 21 or more (at most 448).
int TextureHits(const Slap& s, int x, int y)
{
    int hits = 0;
    for (int r = 0; r < BLOCK; r++)
        for (int c = 0; c < BLOCK; c++) {
            const int p = s.pixels[(y + r) * s.width + x + c];
            if (c + 2 < BLOCK && std::abs(p - s.pixels[(y + r) * s.width + x + c + 2]) >= HIT_DIFFERENCE)
                hits++;
            if (r + 2 < BLOCK && std::abs(p - s.pixels[(y + r + 2) * s.width + x + c]) >= HIT_DIFFERENCE)
                hits++;
        }
    return hits;
}

int CentreHits(const Slap& s, int cx, int cy)
{
    return TextureHits(s, cx - BLOCK / 2, cy - BLOCK / 2);
}

Finger MakeFinger(int cx, int cy, int angle, int width = 220, int length = 380)
{
    Finger f;
    f.cx = cx;
    f.cy = cy;
    f.angle = angle;
    f.width = width;
    f.length = length;
    return f;
}

SlapSpec OneFinger(int width, int height, Finger f, uint32_t seed = 1)
{
    SlapSpec spec;
    spec.width = width;
    spec.height = height;
    spec.seed = seed;
    spec.fingers = {f};
    return spec;
}

TEST(Slapgen, SameSpecGivesSameBytes)
{
    SlapSpec spec = slapgen::FourFingerHand(1600, 1000, 12, true, 7);
    spec.smudge = true;
    spec.phalanges = true;
    const Slap a = slapgen::Generate(spec);
    const Slap b = slapgen::Generate(spec);
    EXPECT_EQ(a.pixels, b.pixels);
    ASSERT_EQ(a.truth.size(), b.truth.size());
    for (size_t i = 0; i < a.truth.size(); i++)
        EXPECT_EQ(a.truth[i].left, b.truth[i].left);

    spec.seed++;
    EXPECT_NE(slapgen::Generate(spec).pixels, a.pixels);

    const SlapSpec again = slapgen::FourFingerHand(1600, 1000, 12, true, 7);
    for (size_t i = 0; i < again.fingers.size(); i++) {
        EXPECT_EQ(again.fingers[i].cx, spec.fingers[i].cx);
        EXPECT_EQ(again.fingers[i].length, spec.fingers[i].length);
    }
}

TEST(Slapgen, BoxIsTheDrawnFingertip)
{
    constexpr int W = 220;
    constexpr int L = 380;
    constexpr int SLACK = 5; // soft rim and ragged outline
    struct Row
    {
        int angle, boxWidth, boxHeight;
    };
    const Row rows[] = {
        {90, W, L},  // upright
        {0, L, W},   // lying, tip to the right
        {180, L, W}, // lying, tip to the left
    };
    for (const Row& row : rows) {
        const Slap s = slapgen::Generate(OneFinger(800, 700, MakeFinger(400, 350, row.angle, W, L)));
        ASSERT_EQ(s.truth.size(), 1u);
        const Truth& t = s.truth[0];
        EXPECT_EQ(t.angle, row.angle);
        EXPECT_NEAR(t.left, 400 - row.boxWidth / 2, SLACK) << row.angle;
        EXPECT_NEAR(t.right, 400 + row.boxWidth / 2, SLACK) << row.angle;
        EXPECT_NEAR(t.top, 350 - row.boxHeight / 2, SLACK) << row.angle;
        EXPECT_NEAR(t.bottom, 350 + row.boxHeight / 2, SLACK) << row.angle;
    }

    // The rounded top: the tip's own end leans with the finger.
    const Slap right = slapgen::Generate(OneFinger(800, 700, MakeFinger(400, 350, 60)));
    const Slap left = slapgen::Generate(OneFinger(800, 700, MakeFinger(400, 350, 120)));
    const int tipX = static_cast<int>(400 + std::cos(60 * std::numbers::pi / 180) * 150);
    const int tipY = static_cast<int>(350 - std::sin(60 * std::numbers::pi / 180) * 150);
    EXPECT_GT(CentreHits(right, tipX, tipY), 100);
    EXPECT_EQ(CentreHits(left, tipX, tipY), 0);
}

TEST(Slapgen, TruthComesLeftToRightAndClipped)
{
    SlapSpec spec;
    spec.fingers = {MakeFinger(1200, 500, 90), MakeFinger(300, 500, 80), MakeFinger(750, 450, 100),
                    MakeFinger(1590, 900, 90), MakeFinger(-400, 500, 90)};
    const Slap s = slapgen::Generate(spec);
    ASSERT_EQ(s.truth.size(), 5u);
    const int expectedCx[] = {-400, 300, 750, 1200, 1590};
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(s.truth[i].cx, expectedCx[i]);

    // Wholly outside: an empty box.
    EXPECT_EQ(s.truth[0].left, 0);
    EXPECT_EQ(s.truth[0].right, 0);
    // Cut by the right and bottom edges.
    EXPECT_EQ(s.truth[4].right, spec.width);
    EXPECT_EQ(s.truth[4].bottom, spec.height);
    for (int i = 1; i < 5; i++) {
        const Truth& t = s.truth[i];
        EXPECT_TRUE(t.left <= t.cx && t.cx < t.right && t.top <= t.cy && t.cy < t.bottom) << i;
        EXPECT_TRUE(t.left >= 0 && t.top >= 0 && t.right <= spec.width && t.bottom <= spec.height) << i;
    }
}

TEST(Slapgen, SizesAndGrayLevels)
{
    struct Row
    {
        int width, height, noise;
    };
    const Row rows[] = {
        {256, 360, 0},   // smallest split, no noise: the background is exact
        {257, 361, 4},   // odd sizes
        {1600, 1500, 4}, // largest split
        {1000, 700, 10}, // strong noise
    };
    for (const Row& row : rows) {
        const int size = std::min(row.width, row.height) / 2;
        SlapSpec spec = OneFinger(row.width, row.height, MakeFinger(row.width / 2, row.height / 2, 90, size, size));
        spec.noise = row.noise;
        const Slap s = slapgen::Generate(spec);
        ASSERT_EQ(s.width, row.width);
        ASSERT_EQ(s.height, row.height);
        ASSERT_EQ(s.pixels.size(), static_cast<size_t>(row.width) * row.height);

        int lo = 255;
        int hi = 0;
        for (int y = 0; y < 8; y++)
            for (int x = 0; x < row.width; x++) {
                lo = std::min<int>(lo, s.pixels[y * row.width + x]);
                hi = std::max<int>(hi, s.pixels[y * row.width + x]);
            }
        EXPECT_EQ(lo, spec.background - row.noise) << row.width;
        EXPECT_EQ(hi, spec.background + row.noise) << row.width;

        const Truth& t = s.truth[0];
        int darkest = 255;
        for (int y = t.top; y < t.bottom; y++)
            for (int x = t.left; x < t.right; x++)
                darkest = std::min<int>(darkest, s.pixels[y * row.width + x]);
        EXPECT_GE(darkest, spec.ridge - row.noise) << row.width;
        EXPECT_LE(darkest, spec.ridge + 20) << row.width;
    }
}

TEST(Slapgen, TextureInsideFingertipsOnly)
{
    for (uint32_t seed = 1; seed <= 6; seed++) {
        SlapSpec spec = slapgen::FourFingerHand(1600, 1000, static_cast<int>(seed * 7) - 21, seed % 2 == 0, seed);
        spec.smudge = true;
        spec.smudgeX = 150;
        spec.smudgeY = 880;
        const Slap s = slapgen::Generate(spec);
        for (const Truth& t : s.truth)
            EXPECT_GT(CentreHits(s, t.cx, t.cy), 80) << "seed " << seed << " finger at " << t.cx;

        // Blocks well clear of every box, the smudge among them, have no hit at all.
        for (int y = 0; y + BLOCK <= s.height; y += BLOCK)
            for (int x = 0; x + BLOCK <= s.width; x += BLOCK) {
                bool clear = true;
                for (const Truth& t : s.truth)
                    if (x + BLOCK > t.left - 24 && x < t.right + 24 && y + BLOCK > t.top - 24 && y < t.bottom + 24)
                        clear = false;
                if (clear) {
                    ASSERT_EQ(TextureHits(s, x, y), 0) << "seed " << seed << " block at " << x << "," << y;
                }
            }
        EXPECT_LT(s.pixels[880 * s.width + 150], 120) << "the smudge is dark";
    }
}

TEST(Slapgen, LowContrastFingertipsLoseTheirTexture)
{
    SlapSpec spec = slapgen::FourFingerHand(1600, 1000, 0, true, 3);
    spec.ridge = 170;
    spec.valley = 190;
    const Slap s = slapgen::Generate(spec);
    for (const Truth& t : s.truth) {
        EXPECT_LT(CentreHits(s, t.cx, t.cy), 16) << t.cx;
        EXPECT_LT(s.pixels[t.cy * s.width + t.cx], spec.background - 15) << "still a visible shape";
    }
}

TEST(Slapgen, FourFingerHandLayout)
{
    struct Row
    {
        int tilt;
        bool rightHand;
        int gap;
    };
    const Row rows[] = {
        {0, true, -1},   // upright right hand: index .. little from left to right
        {0, false, -1},  // upright left hand: mirrored
        {20, true, -1},  // upper ends lean left
        {-25, false, -1}, // upper ends lean right
        {0, true, 0},    // touching fingertips
    };
    for (const Row& row : rows) {
        const SlapSpec spec = slapgen::FourFingerHand(1600, 1000, row.tilt, row.rightHand, 11, row.gap);
        const Slap s = slapgen::Generate(spec);
        ASSERT_EQ(spec.fingers.size(), 4u);
        ASSERT_EQ(s.truth.size(), 4u);

        const int little = row.rightHand ? 3 : 0;
        const int middle = row.rightHand ? 1 : 2;
        const double t = row.tilt * std::numbers::pi / 180;
        double tipHeight[4]; // upward distance of each tip in the hand's own upright frame
        for (int i = 0; i < 4; i++) {
            const Finger& f = spec.fingers[i];
            EXPECT_EQ(f.angle, 90 + row.tilt);
            EXPECT_LE(spec.fingers[little].length, f.length);
            if (i > 0) {
                EXPECT_LT(spec.fingers[i - 1].cx, f.cx) << "listed left to right";
            }
            const double a = f.angle * std::numbers::pi / 180;
            const double x = f.cx + std::cos(a) * f.length / 2 - 800;
            const double y = f.cy - std::sin(a) * f.length / 2 - 500;
            tipHeight[i] = -(x * std::sin(t) + y * std::cos(t));

            const Truth& box = s.truth[i];
            EXPECT_TRUE(box.left > 0 && box.top > 0 && box.right < s.width && box.bottom < s.height) << i;
        }
        for (int i = 0; i < 4; i++) {
            EXPECT_GE(tipHeight[middle], tipHeight[i]) << "tilt " << row.tilt;
            EXPECT_LE(tipHeight[little], tipHeight[i]) << "tilt " << row.tilt;
        }
        if (row.tilt == 0)
            for (int i = 0; i + 1 < 4; i++) {
                const int between = s.truth[i + 1].left - s.truth[i].right;
                if (row.gap == 0) {
                    EXPECT_LE(between, 1) << "touching";
                } else {
                    EXPECT_GE(between, 40) << "apart";
                }
            }
    }
}

TEST(Slapgen, PhalangesStayOutOfTheTruth)
{
    SlapSpec spec = OneFinger(800, 1000, MakeFinger(400, 300, 90));
    const Slap bare = slapgen::Generate(spec);
    spec.phalanges = true;
    const Slap full = slapgen::Generate(spec);
    EXPECT_EQ(full.truth[0].top, bare.truth[0].top);
    EXPECT_EQ(full.truth[0].bottom, bare.truth[0].bottom);
    // Below the crease: bare platen without, ridges with.
    EXPECT_EQ(CentreHits(bare, 400, 300 + 190 + 100), 0);
    EXPECT_GT(CentreHits(full, 400, 300 + 190 + 100), 50);
}

TEST(Slapgen, PgmRoundTrip)
{
    const Slap s = slapgen::Generate(OneFinger(300, 400, MakeFinger(150, 200, 90, 180, 300)));
    const std::string path = testing::TempDir() + "slapgen_round_trip.pgm";
    ASSERT_TRUE(slapgen::WritePgm(path.c_str(), s));
    Slap back;
    ASSERT_TRUE(slapgen::ReadPgm(path.c_str(), back));
    EXPECT_EQ(back.width, 300);
    EXPECT_EQ(back.height, 400);
    EXPECT_EQ(back.pixels, s.pixels);
    std::remove(path.c_str());

    EXPECT_FALSE(slapgen::ReadPgm(path.c_str(), back)) << "missing file";
    FILE* ascii = std::fopen(path.c_str(), "wb");
    ASSERT_NE(ascii, nullptr);
    std::fputs("P2\n2 1\n255\n0 255\n", ascii);
    std::fclose(ascii);
    EXPECT_FALSE(slapgen::ReadPgm(path.c_str(), back)) << "plain PGM";
    std::remove(path.c_str());
}

} // namespace
