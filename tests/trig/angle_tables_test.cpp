// Sine and cosine of whole degrees: table values, the fold rules and
// arguments outside the folding domain.
#include "trig/trig.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <tuple>
#include <utility>

namespace {

constexpr double PI = 3.141592653589793;

// Over the whole folding domain: the float entries are the double sine and cosine, and the fixed-point
// entries those float values times 2048, rounded half away from zero. cos 90 is not 0 but the float of
// cos(pi / 2) in double.
TEST(AngleTables, FloatValuesAndRounding)
{
    EXPECT_EQ(std::tuple(sind(30), sind(90), cosd(0)), std::tuple(0.5f, 1.0f, 1.0f));
    EXPECT_EQ(cosd(90), static_cast<float>(std::cos(90 * PI / 180)));
    EXPECT_NE(cosd(90), 0.0f);
    EXPECT_EQ(cosd(270), -cosd(90));
    for (int a = -179; a <= 359; a++) {
        if (a == 180)
            continue;
        EXPECT_NEAR(sind(a), std::sin(a * PI / 180), 1e-6) << a;
        EXPECT_NEAR(cosd(a), std::cos(a * PI / 180), 1e-6) << a;
        EXPECT_EQ(sindn(a), std::lround(sind(a) * 2048.0f)) << a;
        EXPECT_EQ(cosdn(a), std::lround(cosd(a) * 2048.0f)) << a;
    }
}

// Outside the folding domain an argument is reduced modulo 360 first, so every int gives the table's sine
// and cosine and nothing reads past the tables; 180 folds to the negated values at 0.
TEST(AngleTables, OutsideTheDomain)
{
    EXPECT_EQ(std::tuple(sindn(180), cosdn(180), cosd(180)), std::tuple(0, -2048, -1.0f));
    const std::pair<int, int> cases[] = {{-180, 180},
                                         {360, 0},
                                         {361, 1},
                                         {-181, 179},
                                         {765, 45},
                                         {-390, -30},
                                         {INT_MAX, INT_MAX % 360},
                                         {INT_MIN, INT_MIN % 360 + 360}};
    for (auto [a, same] : cases)
        EXPECT_EQ(std::tuple(sindn(a), cosdn(a), sind(a), cosd(a)),
                  std::tuple(sindn(same), cosdn(same), sind(same), cosd(same)))
            << a;
}

} // namespace
