// Whole splits of generated slaps: what a user of the library cares about.
#include <kovral.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "slapgen.h"
#include "split_cases.h"

namespace {

using split_cases::LegacySplit;
using split_cases::UNTOUCHED;

constexpr int OUT_W = 320;
constexpr int OUT_H = 480;

LegacySplit Split(const slapgen::Slap& slap, int outW = OUT_W, int outH = OUT_H)
{
    LegacySplit r(outW, outH);
    r.Split(slap);
    return r;
}

// Axis in degrees (90 vertical), from second moments, of the finger area
// around the buffer's centre: the pixels below 200 connected to it, so that
// the edge of a neighbouring finger inside the cut does not count.
double CentralAxisAngle(const std::vector<unsigned char>& img, int w, int h)
{
    std::vector<char> seen(img.size(), 0);
    std::vector<int> stack;
    for (int x = w / 2; x < w && stack.empty(); x++)
        if (img[h / 2 * w + x] < 200)
            stack.push_back(h / 2 * w + x);
    double n = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
    while (!stack.empty()) {
        const int p = stack.back(), x = p % w, y = p / w;
        stack.pop_back();
        if (seen[p] || img[p] >= 200)
            continue;
        seen[p] = 1;
        n++, sx += x, sy += y, sxx += double(x) * x, syy += double(y) * y, sxy += double(x) * y;
        for (int q : {x > 0 ? p - 1 : p, x < w - 1 ? p + 1 : p, y > 0 ? p - w : p, y < h - 1 ? p + w : p})
            stack.push_back(q);
    }
    const double mxx = sxx / n - sx * sx / n / n, myy = syy / n - sy * sy / n / n, mxy = sxy / n - sx * sy / n / n;
    return std::fabs(0.5 * std::atan2(2 * mxy, mxx - myy) * 180 / M_PI);
}

bool Inside(const KOVRAL_INFO_& r, const slapgen::Truth& t)
{
    return r.x >= t.left && r.x < t.right && r.y >= t.top && r.y < t.bottom;
}

struct SplitEndToEnd : ::testing::Test
{
    void SetUp() override { KOVRAL_Init(1600, 1500); }
    void TearDown() override { KOVRAL_Uninit(); }

    // The checks every found finger must pass: centre on the fingertip,
    // angle near the truth, turned upright, white around, records and
    // buffers beyond the count untouched. The angle search keeps the last of
    // equally narrow turns, which pulls single angles a few degrees low; the
    // mean over the hand stays close.
    void ExpectFingers(const slapgen::Slap& slap, const LegacySplit& r, int count, bool checkImages = true)
    {
        ASSERT_EQ(r.rc, KOVRAL_OK);
        ASSERT_EQ(r.count, count);
        double angleError = 0;
        for (int i = 0; i < r.count; i++) {
            const KOVRAL_INFO_& f = r.info[i];
            EXPECT_TRUE(Inside(f, slap.truth[i])) << "finger " << i << " at " << f.x << "," << f.y;
            EXPECT_NEAR(f.angle, slap.truth[i].angle, 10) << "finger " << i;
            angleError += f.angle - slap.truth[i].angle;
            EXPECT_LE(f.quality, 99);
            if (!checkImages)
                continue;
            const double axis = CentralAxisAngle(r.pixels[i], r.outW, r.outH);
            EXPECT_NEAR(axis, 90 + f.angle - slap.truth[i].angle, 5) << "finger " << i << " is not upright";
            for (int x = 0; x < r.outW; x++)
                EXPECT_EQ(r.pixels[i][x], 255) << "top row, finger " << i;
            for (int y = 0; y < r.outH; y++)
                EXPECT_EQ(r.pixels[i][y * r.outW], 255) << "left column, finger " << i;
        }
        for (int i = r.count; i < KOVRAL_MAX_RECORDS; i++) {
            const KOVRAL_INFO_& u = r.info[i];
            EXPECT_TRUE(u.x == -999 && u.y == -999 && u.angle == -999 && u.quality == 200)
                << "record " << i << " beyond the count was written";
            EXPECT_EQ(r.pixels[i], std::vector<unsigned char>(r.pixels[i].size(), UNTOUCHED));
        }
        if (r.count > 0) {
            EXPECT_NEAR(angleError / r.count, 0, 6) << "mean angle error";
        }
    }
};

// Each hand also judged: a right hand's little finger is the lowest one on the
// right, which the judgement reports as KOVRAL_JUDGE_LEFT.
TEST_F(SplitEndToEnd, FourFingerHands)
{
    const struct
    {
        int tilt;
        bool rightHand;
    } cases[] = {{0, true}, {0, false}, {20, true}, {-25, false}, {15, false}, {-30, true}, {30, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "tilt " << c.tilt << (c.rightHand ? " right" : " left"));
        const auto slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, c.tilt, c.rightHand, 11));
        LegacySplit r = Split(slap);
        ExpectFingers(slap, r, 4);
        EXPECT_EQ(KOVRAL_JudegeFingers(4, r.info), c.rightHand ? KOVRAL_JUDGE_LEFT : KOVRAL_JUDGE_RIGHT);
    }
}

TEST_F(SplitEndToEnd, SlapLayouts)
{
    const slapgen::Finger four[] = {{300, 500, 90}, {650, 450, 88}, {1000, 470, 92}, {1320, 560, 90}};
    std::vector<slapgen::Finger> six;
    for (int i = 0; i < 6; i++)
        six.push_back({150 + i * 260, 500, 90, 200, 360});
    const struct
    {
        const char* what;
        int w, h, outW, outH;
        std::vector<slapgen::Finger> fingers;
        int count;
        bool checkImages = true;
    } cases[] = {
        {"no finger: nothing touched", 1600, 1000, OUT_W, OUT_H, {}, 0},
        {"one finger", 1600, 1000, OUT_W, OUT_H, {four, four + 1}, 1},
        {"two fingers", 1600, 1000, OUT_W, OUT_H, {four, four + 2}, 2},
        {"three fingers", 1600, 1000, OUT_W, OUT_H, {four, four + 3}, 3},
        {"six fingertips: the four leftmost", 1600, 1000, OUT_W, OUT_H, six, 4},
        {"smallest image", 256, 360, 256, 360, {{128, 190, 90, 190, 320}}, 1},
        {"largest image", 1600, 1500, OUT_W, OUT_H, {{400, 700, 90}, {800, 650, 90}, {1200, 720, 90}}, 3},
        {"buffer as wide as the image: plain windows",
         800,
         700,
         800,
         480,
         {{250, 350, 90}, {560, 330, 80}},
         2,
         false},
        {"height 367, buffer taller than the 352 rows used",
         900,
         367,
         OUT_W,
         367,
         {{450, 190, 90, 200, 320}},
         1,
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        slapgen::SlapSpec plan;
        plan.width = c.w, plan.height = c.h, plan.fingers = c.fingers;
        const auto slap = slapgen::Generate(plan);
        ExpectFingers(slap, Split(slap, c.outW, c.outH), c.count, c.checkImages);
    }
}

TEST_F(SplitEndToEnd, QualityFollowsContrastAndCentreArea)
{
    slapgen::SlapSpec clean;
    clean.fingers = {{500, 600, 90}, {1000, 600, 90}};
    slapgen::SlapSpec faint = clean;
    faint.ridge = 110, faint.valley = 185;
    const LegacySplit c = Split(slapgen::Generate(clean)), f = Split(slapgen::Generate(faint));
    ASSERT_EQ(c.count, 2);
    ASSERT_EQ(f.count, 2);
    for (int i = 0; i < 2; i++) {
        EXPECT_GT(c.info[i].quality, f.info[i].quality) << i;
        EXPECT_GT(f.info[i].quality, 0) << i;
    }
    // A fingertip centred above row 310 is cut and reported, but scores 0.
    slapgen::SlapSpec high;
    high.fingers = {{800, 230, 90, 220, 380}};
    const LegacySplit h = Split(slapgen::Generate(high));
    ASSERT_EQ(h.count, 1);
    EXPECT_LT(h.info[0].y, 310);
    EXPECT_EQ(h.info[0].quality, 0);
}

} // namespace
