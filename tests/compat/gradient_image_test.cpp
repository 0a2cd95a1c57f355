// Gradient image: the half image, Sobel with repeated edges, the clipped box
// average, the cap and the rejected arguments.
#include "compat/compat.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using Row = std::vector<unsigned char>;

// getGrads on a width x height image of 255 whose half-image pixel (r, c),
// source pixel (2r, 2c), is half(r, c); out starts as 77 everywhere.
Row Grads(int width, int height, int radius, int (*half)(int, int))
{
    Row image(size_t(width) * height), out(size_t(width / 2) * (height / 2), 77);
    for (int i = 0; i < width * height; i++)
        image[i] = i / width % 2 || i % width % 2 ? 255 : half(i / width / 2, i % width / 2);
    getGrads(image.data(), width, height, out.data(), radius);
    return out;
}

TEST(GradientImage, StepAndCorner)
{
    // A 41 x 41 image (its last column and row dropped) whose half steps from 0
    // to 255 at column 10: gradient 1020 in columns 9 and 10 of every row.
    // Radius 4 averages 9 x 2040 or 9 x 1020 over 81; radius 0 caps at 255.
    const Row radius4 = {0, 0, 0, 0, 0, 113, 226, 226, 226, 226, 226, 226, 226, 226, 113, 0, 0, 0, 0, 0};
    const Row radius0 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (int radius : {4, 0}) {
        const Row out = Grads(41, 41, radius, [](int, int c) { return c < 10 ? 0 : 255; });
        for (int r = 0; r < 20; r++)
            EXPECT_EQ(Row(out.begin() + 20 * r, out.begin() + 20 * r + 20), radius ? radius4 : radius0) << r;
    }
    // Only the corner is 10: with the edges repeated outward the 2 x 2 corner
    // has gradients 60, 40 / 40, 20, the rest 0. Radius 16 spans the whole
    // 10 x 10 half everywhere: 160 / 100.
    const auto corner = [](int r, int c) { return r == 0 && c == 0 ? 10 : 0; };
    const Row plain = Grads(20, 20, 0, corner);
    EXPECT_EQ((Row{plain[0], plain[1], plain[2], plain[10], plain[11]}), (Row{60, 40, 0, 40, 20}));
    EXPECT_EQ(Grads(20, 20, 16, corner), Row(100, 1));
}

TEST(GradientImage, RejectedArgumentsLeaveOutUntouched)
{
    for (auto [w, h, radius] : {std::array{40, 40, 17}, {40, 40, -1}, {3, 40, 1}, {40, 3, 1}})
        EXPECT_EQ(Grads(w, h, radius, [](int r, int c) { return r + c; }), Row(size_t(w / 2) * (h / 2), 77))
            << w << " x " << h << ", radius " << radius;
}

} // namespace
