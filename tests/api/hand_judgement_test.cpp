// Hand judgement and the turn of finger centres about the lower-left corner.
#include "api/api.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

// Records from (x, y, angle) triples; the rest zero.
struct Records
{
    KOVRAL_INFO_ r[KOVRAL_MAX_RECORDS] = {};
    Records(std::initializer_list<std::array<int, 3>> centres)
    {
        int i = 0;
        for (const auto& c : centres)
            r[i].x = c[0], r[i].y = c[1], r[i++].angle = c[2];
    }
};

struct HandJudgement : ::testing::Test
{
    void SetUp() override { KOVRAL_Init(1600, 1500); } // the corner is (0, 1500)
    void TearDown() override { KOVRAL_Uninit(); }
};

TEST_F(HandJudgement, FourFingers)
{
    const struct
    {
        const char* what;
        Records records;
        int expected;
    } cases[] = {
        {"highest 1, lowest 3", {{300, 700, 90}, {600, 600, 90}, {900, 650, 90}, {1200, 800, 90}}, 1},
        {"highest 2, lowest 0", {{300, 800, 90}, {600, 650, 90}, {900, 600, 90}, {1200, 700, 90}}, 0},
        {"angles averaging 90 do not turn", {{300, 700, 80}, {600, 600, 85}, {900, 650, 95}, {1200, 800, 100}}, 1},
        {"all turned rows equal", {{600, 700, 90}, {600, 700, 90}, {600, 700, 90}, {600, 700, 90}}, -1},
        // Leaning 30 degrees left: upright, the rightmost finger is the lowest
        // although its image row is the highest.
        {"the turn decides", {{300, 900, 120}, {600, 700, 120}, {900, 520, 120}, {1200, 380, 120}}, 0},
        {"ties keep the earlier record", {{300, 600, 90}, {600, 600, 90}, {900, 800, 90}, {1200, 800, 90}}, 1},
    };
    for (const auto& c : cases) {
        Records copy = c.records;
        EXPECT_EQ(KOVRAL_JudegeFingers(4, copy.r), c.expected) << c.what;
    }
}

TEST_F(HandJudgement, CountBeforeState)
{
    Records four{{300, 700, 90}, {600, 600, 90}, {900, 650, 90}, {1200, 800, 90}};
    const int counts[] = {3, 2, 5, 4, 3};
    KOVRAL_INFO_* records[] = {four.r, four.r, four.r, nullptr, nullptr};
    const int initialised[] = {-1, -1, -1, -1, -1}; // three are turned but never judged
    const int uninitialised[] = {-2, -1, -1, -2, -2};
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(KOVRAL_JudegeFingers(counts[i], records[i]), initialised[i]) << i;
    KOVRAL_Uninit();
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(KOVRAL_JudegeFingers(counts[i], records[i]), uninitialised[i]) << i;
}

TEST_F(HandJudgement, TurnAboutTheCorner)
{
    const struct
    {
        const char* what;
        std::array<int, 3> in, out; // x, y, angle of all four records
    } cases[] = {
        {"no turn keeps the centre", {300, 1000, 90}, {300, 1000, 90}},
        {"quarter turn", {300, 1000, 0}, {-500, 1200, 90}},
        {"on the corner's column: distance form", {0, 1000, 80}, {-86, 1007, 90}},
        {"on the corner's row: distance form", {300, 1500, 80}, {295, 1447, 90}},
        {"on the corner itself", {0, 1500, 45}, {0, 1500, 90}},
    };
    for (const auto& c : cases) {
        KOVRAL_INFO_ in[4] = {}, out[4] = {};
        for (auto& r : in)
            r.x = c.in[0], r.y = c.in[1], r.angle = c.in[2];
        RoatedFingers(4, in, out);
        EXPECT_NEAR(out[0].x, c.out[0], 1) << c.what;
        EXPECT_NEAR(out[0].y, c.out[1], 1) << c.what;
        EXPECT_EQ(out[0].angle, c.out[2]) << c.what;
    }
}

// The mean angle truncates toward zero; the angle sum wraps modulo 2^32 and
// turned coordinates beyond the int range saturate.
TEST_F(HandJudgement, MeanAngleAndExtremes)
{
    const struct
    {
        int angles[4], turnedFirst;
    } cases[] = {
        {{100, 100, 100, 101}, 90},                           // mean 100.25 -> 100
        {{-1, -1, -1, -2}, 90},                               // mean -1.25 -> -1
        {{INT_MAX, INT_MAX, INT_MAX, INT_MAX}, INT_MIN + 90}, // sum wraps to -4: turn 91
    };
    for (const auto& c : cases) {
        KOVRAL_INFO_ in[4] = {}, out[4] = {};
        for (int i = 0; i < 4; i++)
            in[i] = {INT_MAX, INT_MIN, c.angles[i], 0, nullptr};
        RoatedFingers(4, in, out);
        EXPECT_EQ(out[0].angle, c.turnedFirst);
    }
}

TEST_F(HandJudgement, RoatedFingersWritesOnlyItsFields)
{
    Records in{{300, 700, 90}, {600, 600, 90}};
    unsigned char marker = 0;
    KOVRAL_INFO_ out[11];
    for (auto& r : out)
        r = {4242, 4242, 4242, 7, &marker};
    RoatedFingers(0, in.r, out);
    RoatedFingers(11, in.r, out);
    RoatedFingers(4, nullptr, out);
    RoatedFingers(4, in.r, nullptr);
    EXPECT_EQ(out[0].x, 4242);
    RoatedFingers(2, in.r, out);
    EXPECT_EQ(out[1].x, 600);
    EXPECT_EQ(out[1].quality, 7);
    EXPECT_EQ(out[1].pFpImg, &marker);
    EXPECT_EQ(out[2].x, 4242);
}

} // namespace
