#include "gray/gray.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr unsigned char SENTINEL = 77;

// Runs getGrads on a width x height image whose half-image pixel (r, c), that
// is source pixel (2r, 2c), is half(r, c); every other source pixel is 255.
template <typename Half>
std::vector<unsigned char> Grads(int width, int height, int radius, Half half)
{
    std::vector<unsigned char> image(size_t(width) * height, 255);
    for (int r = 0; 2 * r < height; r++)
        for (int c = 0; 2 * c < width; c++)
            image[size_t(2 * r) * width + 2 * c] = half(r, c);
    std::vector<unsigned char> out(size_t(width / 2) * (height / 2) + 16, SENTINEL);
    getGrads(image.data(), width, height, out.data(), radius);
    return out;
}

// Half image 20 x 20 stepping from low to high at column 10. Every output row
// has the same profile: a window's rows all carry the same gradients.
TEST(GradientImage, VerticalStep)
{
    struct Row { int low, high, radius; std::vector<int> profile; };
    const std::vector<Row> rows = {
        // 1020 at columns 9 and 10; radius 4 averages 9 x 2040 or 9 x 1020 over 81
        {0, 255, 4, {0, 0, 0, 0, 0, 113, 226, 226, 226, 226, 226, 226, 226, 226, 113, 0, 0, 0, 0, 0}},
        // radius 0 is the gradient itself, capped at 255
        {0, 255, 0, {0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {0, 10, 0, {0, 0, 0, 0, 0, 0, 0, 0, 0, 40, 40, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (const Row& row : rows) {
        const auto out = Grads(40, 40, row.radius, [&](int, int c) { return c < 10 ? row.low : row.high; });
        for (int r = 0; r < 20; r++)
            for (int c = 0; c < 20; c++)
                ASSERT_EQ(out[r * 20 + c], row.profile[c]) << "radius " << row.radius << " at " << r << "," << c;
        EXPECT_EQ(out[400], SENTINEL);
    }
}

// Only the corner pixel is 10: the edge rows and columns repeat outward, so
// the gradients of the 2 x 2 corner are 60, 40, 40, 20. With radius 1 the
// corner window holds those four and divides by 4.
TEST(GradientImage, CornerWindow)
{
    const auto corner = [](int r, int c) { return r == 0 && c == 0 ? 10 : 0; };
    const auto plain = Grads(20, 20, 0, corner);
    EXPECT_EQ(plain[0], 60);
    EXPECT_EQ(plain[1], 40);
    EXPECT_EQ(plain[10], 40);
    EXPECT_EQ(plain[11], 20);
    EXPECT_EQ(plain[2], 0);
    EXPECT_EQ(Grads(20, 20, 1, corner)[0], 40);
}

// Width 401: the half image is 200 wide and takes only even source columns
// of even source rows (the 255 between them never shows).
TEST(GradientImage, OddWidthUsesEvenColumns)
{
    const auto out = Grads(401, 9, 2, [](int, int) { return 0; });
    for (int i = 0; i < 800; i++)
        ASSERT_EQ(out[i], 0) << i;
    EXPECT_EQ(out[800], SENTINEL);
}

TEST(GradientImage, RejectedArgumentsLeaveOutUntouched)
{
    struct Row { int width, height, radius; };
    const Row rows[] = {{40, 40, 17}, {40, 40, -1}, {3, 40, 1}, {40, 3, 1}};
    for (const Row& row : rows) {
        const auto out = Grads(row.width, row.height, row.radius, [](int r, int c) { return (r * 7 + c * 13) & 255; });
        for (unsigned char v : out)
            ASSERT_EQ(v, SENTINEL) << row.width << "x" << row.height << " radius " << row.radius;
    }
}

} // namespace
