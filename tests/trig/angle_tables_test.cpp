// Sine and cosine of whole degrees: table values, the fold rules and
// arguments outside the folding domain.
#include "trig/trig.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace {

TEST(AngleTables, FixedPointValues)
{
    struct Case
    {
        int a, sin, cos;
    };
    const Case cases[] = {
        {0, 0, 2048},        // exact start values
        {1, 36, 2048},       // smallest step: 2047.69 rounds up
        {2, 71, 2047},
        {30, 1024, 1774},    // half sine exactly
        {45, 1448, 1448},
        {90, 2048, 0},
        {120, 1774, -1024},
        {179, 36, -2048},    // last entry
        {-30, -1024, 1774},  // below zero: sine negated, cosine kept
        {-177, -107, -2045}, // deepest trial turn of the angle search
        {210, -1024, -1774}, // above 180: both negated at a - 180
        {270, -2048, 0},
        {359, -36, 2048},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(sindn(c.a), c.sin) << c.a;
        EXPECT_EQ(cosdn(c.a), c.cos) << c.a;
    }
}

TEST(AngleTables, FloatValues)
{
    EXPECT_EQ(sind(30), 0.5f);
    EXPECT_EQ(sind(90), 1.0f);
    EXPECT_EQ(cosd(0), 1.0f);
    EXPECT_EQ(cosd(90), static_cast<float>(std::cos(90 * 3.141592653589793 / 180)));
    EXPECT_NE(cosd(90), 0.0f) << "the float of cos(pi/2) in double, not 0";
    EXPECT_EQ(cosd(270), -cosd(90));
    EXPECT_EQ(sind(-45), -sind(45));
}

// The fixed-point entries are the float entries times 2048, rounded half away
// from zero, over the whole folding domain.
TEST(AngleTables, FixedPointFollowsFloat)
{
    for (int a = -179; a <= 359; a++) {
        if (a == 180)
            continue;
        EXPECT_EQ(sindn(a), static_cast<int>(std::lround(sind(a) * 2048.0f))) << a;
        EXPECT_EQ(cosdn(a), static_cast<int>(std::lround(cosd(a) * 2048.0f))) << a;
        EXPECT_NEAR(sind(a), std::sin(a * 3.141592653589793 / 180), 1e-6) << a;
    }
}

// Outside the folding domain an argument is reduced modulo 360 first, so
// every int gives its true sine and cosine and nothing reads past the tables.
TEST(AngleTables, OutsideTheDomain)
{
    struct Case
    {
        int a, same;
    };
    const Case cases[] = {
        {180, 180},      // no table entry: sine 0, cosine -1
        {-180, 180},
        {360, 0},
        {361, 1},
        {-181, 179},
        {720 + 45, 45},
        {-360 - 30, -30},
        {INT_MAX, INT_MAX % 360},
        {INT_MIN, (INT_MIN % 360) + 360},
    };
    EXPECT_EQ(sindn(180), 0);
    EXPECT_EQ(cosdn(180), -2048);
    EXPECT_EQ(cosd(180), -1.0f);
    for (const Case& c : cases) {
        const int ref = c.same == 180 ? 180 : c.same;
        EXPECT_EQ(sindn(c.a), sindn(ref)) << c.a;
        EXPECT_EQ(cosdn(c.a), cosdn(ref)) << c.a;
        EXPECT_EQ(sind(c.a), sind(ref)) << c.a;
        EXPECT_EQ(cosd(c.a), cosd(ref)) << c.a;
    }
}

} // namespace
