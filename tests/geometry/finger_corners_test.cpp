// The region a split cut out for a finger, as kovral_finger_corners reports
// it: a plain window must be the very window the cut copied; a turned
// finger's corners span its buffer, turned as the cut turns it.
#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "finger_cut.h"

namespace {

using namespace finger_cut;

struct Corners
{
    tagPOINT p[4] = {};
    int rc;
    Corners(int w, int h, int outW, int outH, int x, int y, int angle)
        : rc(kovral_finger_corners(w, h, outW, outH, x, y, angle, p))
    { }
};

TEST(FingerCorners, PlainWindowIsTheWindowCopied)
{
    const struct
    {
        int w, h, outW, outH, angle;
    } rows[] = {
        {1600, 1000, 320, 480, 90},                              // upright
        {1600, 1000, 320, 480, 86},                              // 4 degrees off: still a window
        {1600, 1000, 320, 480, 94}, {1600, 1000, 1600, 480, 60}, // as wide as the image: a window at any angle
        {1600, 1000, 320, 992, 60},                              // as high as the rows used (1000 rounded to 992)
        {640, 368, 256, 368, 120},                               // h a multiple of 16, outH == h
    };
    for (const auto& r : rows) {
        // A finger in block column 20, cut from the rows a split uses.
        const Cut cut(r.w, r.h / 16 * 16, {280, 152, 376, 248}, r.angle, r.outW, r.outH, PATTERN, 20);
        const Corners c(r.w, r.h, r.outW, r.outH, cut.centre.x, cut.centre.y, r.angle);
        ASSERT_EQ(c.rc, KOVRAL_OK);
        const tagPOINT tl = c.p[0];
        EXPECT_EQ(std::tuple(c.p[1].x - tl.x, c.p[2].y - tl.y, c.p[3].x, c.p[3].y),
                  std::tuple(r.outW, r.outH, c.p[1].x, c.p[2].y));
        Buf window(cut.out.size());
        for (int i = 0; i < r.outW * r.outH; i++)
            window[i] = static_cast<unsigned char>(PATTERN(tl.x + i % r.outW, tl.y + i / r.outW));
        EXPECT_EQ(cut.out, window) << "angle " << r.angle << " " << r.outW << " x " << r.outH;
    }
}

// A buffer as high as the image but taller than the rows used is turned, not
// copied (the overlay of kovral-split once drew a window there).
TEST(FingerCorners, BufferAsHighAsImageButNotItsRowsIsTurned)
{
    const Corners c(1600, 1000, 320, 1000, 800, 500, 60);
    ASSERT_EQ(c.rc, KOVRAL_OK);
    EXPECT_NE(c.p[0].y, c.p[1].y) << "a turned box has no level top edge";
}

// Turned fingers: the edges have the buffer's lengths and run along the
// finger's axis (angle a; above 134 the cut turns by 45 only, as for 135).
TEST(FingerCorners, TurnedBoxFollowsTheAxis)
{
    const struct
    {
        int angle, axis;
    } rows[] = {{60, 60}, {120, 120}, {30, 30}, {134, 134}, {150, 135}, {179, 135}};
    const double pi = std::acos(-1.0);
    for (const auto& r : rows) {
        const Corners c(1600, 1000, 320, 480, 800, 500, r.angle);
        ASSERT_EQ(c.rc, KOVRAL_OK);
        const double a = r.axis * pi / 180;
        // Top edge along the finger's right (sin a, cos a); left edge down the axis (-cos a, sin a).
        const double topX = c.p[1].x - c.p[0].x, topY = c.p[1].y - c.p[0].y;
        const double sideX = c.p[2].x - c.p[0].x, sideY = c.p[2].y - c.p[0].y;
        EXPECT_NEAR(topX, 320 * std::sin(a), 2.0) << r.angle;
        EXPECT_NEAR(topY, 320 * std::cos(a), 2.0) << r.angle;
        EXPECT_NEAR(sideX, -480 * std::cos(a), 2.0) << r.angle;
        EXPECT_NEAR(sideY, 480 * std::sin(a), 2.0) << r.angle;
        // Centred on the finger.
        EXPECT_NEAR((c.p[0].x + c.p[3].x) / 2.0, 800, 1.5) << r.angle;
        EXPECT_NEAR((c.p[0].y + c.p[3].y) / 2.0, 500, 1.5) << r.angle;
    }
}

TEST(FingerCorners, RefusedRequests)
{
    tagPOINT p[4];
    const struct
    {
        int w, h, outW, outH, x, y;
        tagPOINT* corners;
    } rows[] = {
        {1600, 1000, 320, 480, 800, 500, nullptr}, // no corners
        {255, 1000, 256, 480, 100, 500, p},        // image too narrow
        {1600, 1501, 320, 480, 800, 500, p},       // image too high
        {1600, 1000, 255, 480, 800, 500, p},       // finger too narrow
        {1600, 1000, 320, 1001, 800, 500, p},      // finger higher than the image
        {1600, 1000, 320, 480, -1, 500, p},        // centre outside
        {1600, 1000, 320, 480, 800, 1000, p},
    };
    for (const auto& r : rows)
        EXPECT_EQ(kovral_finger_corners(r.w, r.h, r.outW, r.outH, r.x, r.y, 90, r.corners), KOVRAL_EINVAL)
            << r.w << " x " << r.h << " " << r.outW << " x " << r.outH << " at " << r.x << "," << r.y;
}

} // namespace
