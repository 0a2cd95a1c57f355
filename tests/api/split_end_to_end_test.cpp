// Whole splits of generated slaps: what a user of the library cares about.
#include <kovral.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "slapgen.h"

namespace {

constexpr int OUT_W = 320;
constexpr int OUT_H = 480;
constexpr unsigned char UNTOUCHED = 0xA5;

struct SplitResult
{
    int rc = 0;
    int count = -1;
    std::vector<std::vector<unsigned char>> pixels;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
};

// Splits slap into ten buffers of outW x outH pre-filled with UNTOUCHED.
SplitResult Split(const slapgen::Slap& slap, int outW = OUT_W, int outH = OUT_H)
{
    SplitResult r;
    for (auto& record : r.info) {
        r.pixels.emplace_back(static_cast<size_t>(outW) * outH, UNTOUCHED);
        record.pFpImg = r.pixels.back().data();
        record.x = record.y = record.angle = -999;
        record.quality = 200;
    }
    std::vector<unsigned char> image = slap.pixels;
    r.rc = KOVRAL_DoSplit(image.data(), slap.width, slap.height, nullptr, outW, outH, &r.count, r.info);
    return r;
}

// Axis in degrees (90 vertical), from second moments, of the finger area
// around the buffer's centre: the pixels below 200 connected to it, so that
// the edge of a neighbouring finger inside the cut does not count.
double CentralAxisAngle(const std::vector<unsigned char>& img, int w, int h)
{
    std::vector<char> seen(img.size(), 0);
    std::vector<int> stack;
    for (int d = 0; d < w / 4 && stack.empty(); d++)
        for (int x : {w / 2 + d, w / 2 - d})
            if (img[static_cast<size_t>(h / 2) * w + x] < 200) {
                stack.push_back(h / 2 * w + x);
                break;
            }
    double n = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
    while (!stack.empty()) {
        const int p = stack.back();
        stack.pop_back();
        if (seen[p] || img[p] >= 200)
            continue;
        seen[p] = 1;
        const double x = p % w, y = p / w;
        n++;
        sx += x;
        sy += y;
        sxx += x * x;
        syy += y * y;
        sxy += x * y;
        if (p % w > 0)
            stack.push_back(p - 1);
        if (p % w < w - 1)
            stack.push_back(p + 1);
        if (p >= w)
            stack.push_back(p - w);
        if (p < (h - 1) * w)
            stack.push_back(p + w);
    }
    if (n == 0)
        return 0;
    const double mxx = sxx / n - (sx / n) * (sx / n);
    const double myy = syy / n - (sy / n) * (sy / n);
    const double mxy = sxy / n - (sx / n) * (sy / n);
    return std::fabs(0.5 * std::atan2(2 * mxy, mxx - myy) * 180 / M_PI);
}

bool Inside(const KOVRAL_INFO_& r, const slapgen::Truth& t)
{
    return r.x >= t.left && r.x < t.right && r.y >= t.top && r.y < t.bottom;
}

class SplitEndToEnd : public ::testing::Test
{
protected:
    void SetUp() override { KOVRAL_Init(1600, 1500); }
    void TearDown() override { KOVRAL_Uninit(); }

    // The checks every found finger must pass. The angle search keeps the
    // last of equally narrow turns, which pulls single angles a few degrees
    // low; the mean over the hand stays close.
    void ExpectFingers(const slapgen::Slap& slap, const SplitResult& r)
    {
        ASSERT_EQ(r.rc, KOVRAL_OK);
        ASSERT_EQ(r.count, static_cast<int>(slap.truth.size()));
        double angleError = 0;
        for (int i = 0; i < r.count; i++) {
            const KOVRAL_INFO_& f = r.info[i];
            EXPECT_TRUE(Inside(f, slap.truth[i])) << "finger " << i << " at " << f.x << "," << f.y;
            EXPECT_NEAR(f.angle, slap.truth[i].angle, 10) << "finger " << i;
            angleError += f.angle - slap.truth[i].angle;
            EXPECT_LE(f.quality, 99);
            // Turned by the measured angle: upright up to that angle's error.
            const double axis = CentralAxisAngle(r.pixels[i], OUT_W, OUT_H);
            EXPECT_NEAR(axis, 90 + f.angle - slap.truth[i].angle, 5) << "finger " << i << " is not upright";
            // White outside the finger area: the outermost rows and columns.
            for (int x = 0; x < OUT_W; x++)
                EXPECT_EQ(r.pixels[i][x], 255) << "top row, finger " << i;
            for (int y = 0; y < OUT_H; y++)
                EXPECT_EQ(r.pixels[i][static_cast<size_t>(y) * OUT_W], 255) << "left column, finger " << i;
        }
        for (int i = r.count; i < KOVRAL_MAX_RECORDS; i++) {
            EXPECT_EQ(r.info[i].x, -999) << "record " << i << " beyond the count";
            EXPECT_EQ(r.pixels[i][0], UNTOUCHED);
            EXPECT_EQ(r.pixels[i].back(), UNTOUCHED);
        }
        EXPECT_NEAR(angleError / r.count, 0, 6) << "mean angle error";
    }
};

TEST_F(SplitEndToEnd, FourFingerHands)
{
    struct Case
    {
        const char* what;
        int tilt;
        bool rightHand;
    };
    const Case cases[] = {
        {"upright right hand", 0, true},
        {"upright left hand", 0, false},
        {"tilted 20 to the left", 20, true},
        {"tilted 25 to the right", -25, false},
        {"tilted 15", 15, false},
        {"tilted -30", -30, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const auto slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, c.tilt, c.rightHand, 11));
        ExpectFingers(slap, Split(slap));
    }
}

TEST_F(SplitEndToEnd, OneToFourFingers)
{
    const slapgen::Finger all[] = {{300, 500, 90}, {650, 450, 88}, {1000, 470, 92}, {1320, 560, 90}};
    for (int n = 1; n <= 4; n++) {
        SCOPED_TRACE(n);
        slapgen::SlapSpec spec;
        spec.fingers.assign(all, all + n);
        const auto slap = slapgen::Generate(spec);
        ExpectFingers(slap, Split(slap));
    }
}

TEST_F(SplitEndToEnd, SixFingertipsGiveTheFourLeftmost)
{
    slapgen::SlapSpec spec;
    for (int i = 0; i < 6; i++)
        spec.fingers.push_back({150 + i * 260, 500, 90, 200, 360});
    const auto slap = slapgen::Generate(spec);
    const SplitResult r = Split(slap);
    ASSERT_EQ(r.rc, KOVRAL_OK);
    ASSERT_EQ(r.count, 4);
    for (int i = 0; i < 4; i++)
        EXPECT_TRUE(Inside(r.info[i], slap.truth[i])) << i;
}

TEST_F(SplitEndToEnd, NoFingerTouchesNothing)
{
    slapgen::SlapSpec spec;  // no fingers: background and noise only
    const auto slap = slapgen::Generate(spec);
    const SplitResult r = Split(slap);
    EXPECT_EQ(r.rc, KOVRAL_OK);
    EXPECT_EQ(r.count, 0);
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++) {
        EXPECT_EQ(r.info[i].x, -999);
        EXPECT_EQ(r.info[i].quality, 200);
        EXPECT_EQ(r.pixels[i][OUT_W * OUT_H / 2], UNTOUCHED);
    }
}

TEST_F(SplitEndToEnd, SizesAtTheLimits)
{
    struct Case
    {
        const char* what;
        int w, h, outW, outH;
        std::vector<slapgen::Finger> fingers;
    };
    const Case cases[] = {
        {"smallest image", 256, 360, 256, 360, {{128, 190, 90, 190, 320}}},
        {"largest image", 1600, 1500, 320, 480, {{400, 700, 90}, {800, 650, 90}, {1200, 720, 90}}},
        {"finger buffer as wide as the image", 800, 700, 800, 480, {{250, 350, 90}, {560, 330, 80}}},
        {"height not a multiple of 16, buffer taller than h16", 900, 367, 320, 367, {{450, 190, 90, 200, 320}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        slapgen::SlapSpec spec;
        spec.width = c.w;
        spec.height = c.h;
        spec.fingers = c.fingers;
        const auto slap = slapgen::Generate(spec);
        const SplitResult r = Split(slap, c.outW, c.outH);
        ASSERT_EQ(r.rc, KOVRAL_OK);
        EXPECT_EQ(r.count, static_cast<int>(c.fingers.size()));
        for (int i = 0; i < r.count; i++)
            EXPECT_TRUE(Inside(r.info[i], slap.truth[i])) << i;
    }
}

TEST_F(SplitEndToEnd, QualityFollowsContrastAndCentreArea)
{
    slapgen::SlapSpec clean;
    clean.fingers = {{500, 600, 90}, {1000, 600, 90}};
    slapgen::SlapSpec faint = clean;
    faint.ridge = 110;
    faint.valley = 185;
    const SplitResult c = Split(slapgen::Generate(clean));
    const SplitResult f = Split(slapgen::Generate(faint));
    ASSERT_EQ(c.count, 2);
    ASSERT_EQ(f.count, 2);
    for (int i = 0; i < 2; i++) {
        EXPECT_GT(c.info[i].quality, f.info[i].quality) << i;
        EXPECT_GT(f.info[i].quality, 0) << i;
    }

    // A fingertip centred near the top of the image lies outside the centre
    // area (rows 310..1320): it is cut and reported, but scores 0.
    slapgen::SlapSpec high;
    high.fingers = {{800, 230, 90, 220, 380}};
    const SplitResult h = Split(slapgen::Generate(high));
    ASSERT_EQ(h.count, 1);
    EXPECT_LT(h.info[0].y, 310);
    EXPECT_EQ(h.info[0].quality, 0);
}

// The same split twice, and after a fresh Init, gives identical bytes.
TEST_F(SplitEndToEnd, Deterministic)
{
    const auto slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, 12, true, 5));
    const SplitResult a = Split(slap);
    const SplitResult b = Split(slap);
    KOVRAL_Uninit();
    KOVRAL_Init(1600, 1500);
    const SplitResult c = Split(slap);
    ASSERT_EQ(a.count, 4);
    for (const SplitResult* other : {&b, &c}) {
        EXPECT_EQ(other->count, a.count);
        for (int i = 0; i < a.count; i++) {
            EXPECT_EQ(other->pixels[i], a.pixels[i]);
            EXPECT_EQ(other->info[i].x, a.info[i].x);
            EXPECT_EQ(other->info[i].y, a.info[i].y);
            EXPECT_EQ(other->info[i].angle, a.info[i].angle);
            EXPECT_EQ(other->info[i].quality, a.info[i].quality);
        }
    }
}

// The hand judgement tells a right hand from a left hand on real splits.
TEST_F(SplitEndToEnd, HandJudgementTellsHandsApart)
{
    for (int tilt : {0, 15, -20}) {
        SCOPED_TRACE(tilt);
        SplitResult right = Split(slapgen::Generate(slapgen::FourFingerHand(1600, 1000, tilt, true, 3)));
        SplitResult left = Split(slapgen::Generate(slapgen::FourFingerHand(1600, 1000, tilt, false, 3)));
        ASSERT_EQ(right.count, 4);
        ASSERT_EQ(left.count, 4);
        EXPECT_EQ(KOVRAL_JudegeFingers(4, right.info), KOVRAL_JUDGE_LEFT);
        EXPECT_EQ(KOVRAL_JudegeFingers(4, left.info), KOVRAL_JUDGE_RIGHT);
    }
}

} // namespace
