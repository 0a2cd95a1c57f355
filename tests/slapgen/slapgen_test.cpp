// The synthetic slap generator that the end-to-end tests stand on: the same plan gives the same bytes,
// the truth matches what is drawn, ridge texture lies inside the fingertips only, and hands follow the
// stated layout.
#include "slapgen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>
#include <tuple>
#include <utility>

namespace {

using namespace slapgen;

// Pixel pairs two apart, across and down, from the 16 x 16 block centred on (cx, cy) that differ by 21 or
// more. The pairs reach two pixels past the block's right and lower edges.
int TextureHits(const Slap& s, int cx, int cy)
{
    int hits = 0;
    for (int y = cy - 8; y < cy + 8; y++)
        for (int x = cx - 8; x < cx + 8; x++)
            for (const int next : {y * s.width + x + 2, (y + 2) * s.width + x})
                hits += std::abs(s.pixels[y * s.width + x] - s.pixels[next]) >= 21;
    return hits;
}

// Truth comes left to right, bounds the drawn fingertip (not the middle phalanx below its crease), is
// clipped by the image and empty for a finger outside it. The upper end of a finger at 60 degrees leans
// right: it lies in the direction (cos a, -sin a) from the centre.
TEST(Slapgen, TruthBoxesOrderAndAngles)
{
    const Slap s = Generate({.fingers = {{.cx = 300, .cy = 350},
                                         {.cx = 900, .cy = 250, .angle = 0},
                                         {.cx = 800, .cy = 650, .angle = 60},
                                         {.cx = -400, .cy = 500},
                                         {.cx = 1590, .cy = 900}},
                             .phalanges = true});
    // Each within 5 pixels (soft rim, ragged outline).
    const struct
    {
        size_t i;
        int left, top, right, bottom;
    } boxes[] = {{0, 0, 0, 0, 0},             // outside
                 {1, 190, 160, 410, 540},     // upright 220 x 380
                 {3, 710, 140, 1090, 360},    // lying, tip to the right
                 {4, 1480, 710, 1600, 1000}}; // cut by the right and bottom edges
    for (const auto& b : boxes) {
        const Truth& t = s.truth.at(b.i);
        EXPECT_LE(std::max({std::abs(t.left - b.left), std::abs(t.top - b.top), std::abs(t.right - b.right),
                            std::abs(t.bottom - b.bottom)}),
                  5)
            << "truth " << b.i << " at " << t.cx;
    }
    // Textured: the upright finger's middle phalanx, and 150 pixels from the centre towards the upper end of
    // the finger at 60 degrees.
    EXPECT_GT(std::min(TextureHits(s, 300, 640), TextureHits(s, 800 + 75, 650 - 130)), 50);
}

// Hands: the same plan gives the same bytes; the fingertips are listed left to right, at 90 + tilt; in
// the upright hand's own frame the middle finger reaches highest and the little finger lowest, the
// little finger rightmost in a right hand and leftmost in a left one. Every fingertip centre is
// textured, and blocks 24 pixels clear of every box, the smudge among them, have no texture at all.
TEST(Slapgen, HandLayoutAndTexture)
{
    const std::pair<int, bool> hands[] = {{0, true}, {0, false}, {20, true}, {-25, false}};
    for (const auto& [tilt, rightHand] : hands) {
        SlapSpec plan = FourFingerHand(1600, 1000, tilt, rightHand, 11);
        plan.smudge = true;
        const Slap s = Generate(plan);
        EXPECT_EQ(Generate(plan).pixels, s.pixels);
        const double turn = tilt * std::numbers::pi / 180;
        double reach[4]; // of each tip, upward in the hand's frame from the image centre
        for (int i = 0; i < 4; i++) {
            const Finger& f = plan.fingers.at(i);
            reach[i] = f.length / 2.0 - (f.cx - 800) * std::sin(turn) - (f.cy - 500) * std::cos(turn);
            EXPECT_TRUE(f.angle == 90 + tilt && (i == 0 || plan.fingers[i - 1].cx < f.cx)) << "finger " << i;
            EXPECT_GT(TextureHits(s, s.truth.at(i).cx, s.truth[i].cy), 80) << "tilt " << tilt << " finger " << i;
        }
        EXPECT_EQ(std::max_element(reach, reach + 4) - reach, rightHand ? 1 : 2) << "middle, tilt " << tilt;
        EXPECT_EQ(std::min_element(reach, reach + 4) - reach, rightHand ? 3 : 0) << "little, tilt " << tilt;
        for (int y = 8; y + 10 <= s.height; y += 16)
            for (int x = 8; x + 8 <= s.width; x += 16)
                ASSERT_EQ(std::none_of(s.truth.begin(), s.truth.end(),
                                       [&](const Truth& t) {
                                           return x + 32 > t.left && x - 32 < t.right && y + 32 > t.top
                                               && y - 32 < t.bottom;
                                       })
                              ? TextureHits(s, x, y)
                              : 0,
                          0)
                    << "tilt " << tilt << " block at " << x << "," << y;
    }
}

TEST(Slapgen, PgmRoundTrip)
{
    const Slap s = Generate({.width = 300, .height = 400, .fingers = {{.cx = 150, .cy = 200}}});
    const std::string path = testing::TempDir() + "slapgen_round_trip.pgm";
    Slap back;
    ASSERT_TRUE(WritePgm(path.c_str(), s) && ReadPgm(path.c_str(), back));
    EXPECT_EQ(std::tuple(back.width, back.height, back.pixels), std::tuple(300, 400, s.pixels));
    std::remove(path.c_str());
}

} // namespace
