// Widening of finger boxes: one block on every side, clamped near the border.
#include "extract/extract.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

TEST(WidenFingerBoxes, ClampsAtEachSide)
{
    struct Case
    {
        tagRECT in, out;
    };
    // 1600 x 1500 image: h16 = 1488, clamps at 2, 1597 and 1485.
    const Case cases[] = {
        {{17, 17, 500, 500}, {2, 2, 516, 516}}, // 17 - 16 = 1: below 2
        {{18, 18, 500, 500}, {2, 2, 516, 516}}, // exactly 2
        {{19, 19, 500, 500}, {3, 3, 516, 516}},
        {{100, 100, 1568, 1456}, {84, 84, 1584, 1472}}, // inside: plain widening
        {{100, 100, 1581, 1470}, {84, 84, 1597, 1485}}, // reaches the clamp exactly
        {{100, 100, 1582, 1488}, {84, 84, 1597, 1485}}, // beyond it
        {{0, 0, 1600, 1488}, {2, 2, 1597, 1485}},       // the whole image
    };
    for (const Case& c : cases) {
        tagRECT boxes[2] = {c.in, {1, 1, 1, 1}};
        WidenFingerBoxes(boxes, 1, 1600, 1488);
        const tagRECT& b = boxes[0];
        EXPECT_EQ(std::tuple(b.left, b.top, b.right, b.bottom),
                  std::tuple(c.out.left, c.out.top, c.out.right, c.out.bottom))
            << c.in.left << ", " << c.in.right;
        EXPECT_EQ(boxes[1].left, 1) << "only the first n boxes change";
    }
}

} // namespace
