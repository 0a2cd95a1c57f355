// The overlay draws each finger's box where the library says the finger was
// cut out: for a buffer as high as the rows a split uses, the plain window
// the cut copied, not a turned box.
#include "overlay_drawing.h"

#include <gtest/gtest.h>

namespace {

using kovral_tool::FingerMark;
using kovral_tool::GrayImage;

TEST(OverlayDrawing, BoxOfAFingerCutAsAPlainWindow)
{
    GrayImage slap;
    slap.width = 1600;
    slap.height = 1000;
    slap.pixels.assign(static_cast<size_t>(slap.width) * slap.height, 128);
    // 60 degrees, but a 320 x 992 buffer is as high as the 992 rows used: the
    // cut copies columns 640..959, rows 0..991; the overlay is half size.
    const auto out = kovral_tool::DrawOverlay(slap, {FingerMark{800, 500, 60, 1}}, 320, 992);
    ASSERT_EQ(out.width, 800);
    const auto red = [&](int x, int y) {
        const uint8_t* p = &out.pixels[(static_cast<size_t>(y) * out.width + x) * 3];
        return p[0] == 235 && p[1] == 40 && p[2] == 40;
    };
    // The window's left and right edges, clear of the axis and the label.
    for (int y : {100, 250, 400}) {
        EXPECT_TRUE(red(320, y)) << "left edge, row " << y;
        EXPECT_TRUE(red(480, y)) << "right edge, row " << y;
        EXPECT_FALSE(red(340, y)) << "inside, row " << y;
    }
}

} // namespace
