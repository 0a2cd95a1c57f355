// Hand judgement and the turn of finger centres about the lower-left corner.
#include "api/api.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

struct Centre
{
    int x, y, angle;
};

struct Records
{
    KOVRAL_INFO_ r[KOVRAL_MAX_RECORDS] = {};
    Records(std::initializer_list<Centre> centres)
    {
        int i = 0;
        for (const Centre& c : centres) {
            r[i].x = c.x;
            r[i].y = c.y;
            r[i].angle = c.angle;
            i++;
        }
    }
};

class HandJudgement : public ::testing::Test
{
protected:
    void SetUp() override { KOVRAL_Init(1600, 1500); }
    void TearDown() override { KOVRAL_Uninit(); }
};

TEST_F(HandJudgement, FourFingers)
{
    struct Case
    {
        const char* what;
        Records records;
        int expected;
    };
    const Case cases[] = {
        {"highest 1, lowest 3", {{300, 700, 90}, {600, 600, 90}, {900, 650, 90}, {1200, 800, 90}}, 1},
        {"highest 2, lowest 0", {{300, 800, 90}, {600, 650, 90}, {900, 600, 90}, {1200, 700, 90}}, 0},
        {"angles averaging 90 do not turn", {{300, 700, 80}, {600, 600, 85}, {900, 650, 95}, {1200, 800, 100}}, 1},
        {"all turned rows equal: undecidable", {{600, 700, 90}, {600, 700, 90}, {600, 700, 90}, {600, 700, 90}}, -1},
        // Leaning 30 degrees to the left: turned upright, the rightmost finger
        // lies lowest although its image row is the highest.
        {"turn decides", {{300, 900, 120}, {600, 700, 120}, {900, 520, 120}, {1200, 380, 120}}, 0},
        {"equal rows keep the earlier record", {{300, 600, 90}, {600, 600, 90}, {900, 800, 90}, {1200, 800, 90}}, 1},
    };
    for (const Case& c : cases) {
        KOVRAL_INFO_ copy[KOVRAL_MAX_RECORDS];
        std::copy(std::begin(c.records.r), std::end(c.records.r), copy);
        EXPECT_EQ(KOVRAL_JudegeFingers(4, copy), c.expected) << c.what;
    }
}

TEST_F(HandJudgement, CountAndStateRules)
{
    Records four{{300, 700, 90}, {600, 600, 90}, {900, 650, 90}, {1200, 800, 90}};
    EXPECT_EQ(KOVRAL_JudegeFingers(3, four.r), -1) << "three are turned but never judged";
    EXPECT_EQ(KOVRAL_JudegeFingers(2, four.r), -1);
    EXPECT_EQ(KOVRAL_JudegeFingers(5, four.r), -1);
    EXPECT_EQ(KOVRAL_JudegeFingers(4, nullptr), -1);
    EXPECT_EQ(KOVRAL_JudegeFingers(3, nullptr), -1);
    KOVRAL_Uninit();
    EXPECT_EQ(KOVRAL_JudegeFingers(4, four.r), -2);
    EXPECT_EQ(KOVRAL_JudegeFingers(3, four.r), -2);
    EXPECT_EQ(KOVRAL_JudegeFingers(2, four.r), -1) << "the count is checked first";
    EXPECT_EQ(KOVRAL_JudegeFingers(4, nullptr), -2);
}

// g_ImgH is 1500 here: the corner is (0, 1500).
TEST_F(HandJudgement, TurnAboutTheCorner)
{
    struct Case
    {
        const char* what;
        Centre in;
        int meanAngle;  // all records carry it
        Centre out;
    };
    const Case cases[] = {
        {"no turn keeps the centre", {300, 1000, 90}, 90, {300, 1000, 90}},
        {"quarter turn", {300, 1000, 0}, 0, {-500, 1200, 90}},
        {"on the corner's column: distance form", {0, 1000, 80}, 80, {-86, 1007, 90}},
        {"on the corner's row: distance form", {300, 1500, 80}, 80, {295, 1447, 90}},
        {"on the corner itself", {0, 1500, 45}, 45, {0, 1500, 90}},
    };
    for (const Case& c : cases) {
        KOVRAL_INFO_ in[2] = {}, out[2] = {};
        in[0].x = in[1].x = c.in.x;
        in[0].y = in[1].y = c.in.y;
        in[0].angle = in[1].angle = c.meanAngle;
        RoatedFingers(2, in, out);
        EXPECT_NEAR(out[0].x, c.out.x, 1) << c.what;
        EXPECT_NEAR(out[0].y, c.out.y, 1) << c.what;
        EXPECT_EQ(out[0].angle, c.out.angle) << c.what;
    }
}

TEST_F(HandJudgement, MeanTruncatesTowardZero)
{
    KOVRAL_INFO_ in[4] = {}, out[4] = {};
    const int angles[] = {100, 100, 100, 101};  // mean 100.25 -> 100, d = -10
    for (int i = 0; i < 4; i++) {
        in[i].angle = angles[i];
        in[i].x = 500;
        in[i].y = 700;
    }
    RoatedFingers(4, in, out);
    EXPECT_EQ(out[3].angle, 91);
    const int negative[] = {-1, -1, -1, -2};  // mean -1.25 -> -1, d = 91
    for (int i = 0; i < 4; i++)
        in[i].angle = negative[i];
    RoatedFingers(4, in, out);
    EXPECT_EQ(out[0].angle, 90);
}

TEST_F(HandJudgement, RoatedFingersWritesOnlyWhatItShould)
{
    KOVRAL_INFO_ in[11] = {}, out[11];
    unsigned char marker = 0;
    for (auto& r : out) {
        r.x = r.y = r.angle = 4242;
        r.quality = 7;
        r.pFpImg = &marker;
    }
    RoatedFingers(0, in, out);
    RoatedFingers(11, in, out);
    RoatedFingers(4, nullptr, out);
    RoatedFingers(4, in, nullptr);
    for (const auto& r : out)
        EXPECT_EQ(r.x, 4242);
    RoatedFingers(2, in, out);
    EXPECT_NE(out[0].x, 4242);
    EXPECT_EQ(out[0].quality, 7) << "quality and buffer are not fields of the turn";
    EXPECT_EQ(out[0].pFpImg, &marker);
    EXPECT_EQ(out[2].x, 4242);
}

// Records come from callers: extreme values must not overflow. The angle sum
// wraps modulo 2^32; turned coordinates beyond the int range saturate.
TEST_F(HandJudgement, ExtremeRecordsAreDefined)
{
    KOVRAL_INFO_ in[4] = {}, out[4] = {};
    for (auto& r : in) {
        r.angle = INT_MAX;
        r.x = INT_MAX;
        r.y = INT_MIN;
    }
    RoatedFingers(4, in, out);  // sum wraps to -4: mean -1, d = 91
    EXPECT_EQ(out[0].angle, static_cast<int>(static_cast<unsigned>(INT_MAX) + 91u));
    EXPECT_GE(KOVRAL_JudegeFingers(4, in), -1);
}

} // namespace
