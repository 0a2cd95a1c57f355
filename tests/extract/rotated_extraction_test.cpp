// Fingers cut out upright: the choice between plain window and turn, the window's place, and the turned
// buffer's mapping, size, interpolation and content placement.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "finger_cut.h"

namespace {

using namespace finger_cut;

// A box is clamped in place to w - 1, h - 1, which leaves this one empty: it reads nothing and comes out
// as fill.
TEST(RotatedExtraction, ClampAndEmptyBox)
{
    const Cut cut(320, 368, {100, 367, 400, 400}, 30, 256, 360);
    EXPECT_EQ(std::tuple(cut.box.right, cut.box.bottom, cut.out == Buf(256 * 360, BK)), std::tuple(319, 367, true));
}

// The plain window is the image window exactly (no fill); a turned finger's buffer holds fill. The box
// rows put the centre on row cy; x0 -1: turned; -2: nothing copied.
TEST(RotatedExtraction, PlainWindow)
{
    const struct
    {
        int w, h, outW, outH, angle, labelCol, cy, x0, y0;
    } rows[] = {
        // Within 4 degrees of upright; just beyond.
        {640, 480, 256, 360, 86, 8, 190, 8, 10},
        {640, 480, 256, 360, 94, 8, 190, 8, 10},
        {640, 480, 256, 360, 85, 8, 190, -1, 0},
        {640, 480, 256, 360, 95, 8, 190, -1, 0},
        // Steep: turned by 45. outW == w: plain, 8 steps back to -1, held at 0.
        {640, 480, 256, 360, 150, 8, 190, -1, 0},
        {256, 480, 256, 360, 30, 8, 190, 0, 10},
        // outH == h: the same for rows. 568 reaches the end (>= 544): one short of the last fit.
        {640, 368, 256, 368, 30, 8, 190, 8, 0},
        {800, 480, 256, 360, 90, 43, 200, 543, 20},
        // 552 == w - outW would fit exactly, still 551; 472 fits, but 120 == h - outH steps back to 119.
        {808, 480, 256, 360, 90, 42, 290, 551, 110},
        {800, 480, 256, 360, 90, 37, 300, 472, 119},
        // Before the start, both ways; a window taller than the image.
        {800, 480, 256, 360, 90, 6, 100, 0, 0},
        {640, 352, 256, 360, 90, 20, 200, -2, 0},
    };
    for (const auto& r : rows) {
        const Buf out
            = Cut(r.w, r.h, {0, r.cy - 50, 200, r.cy + 50}, r.angle, r.outW, r.outH, PATTERN, r.labelCol).out;
        Buf expected(r.outW * r.outH, UNTOUCHED);
        for (int i = 0; r.x0 >= 0 && i < r.outW * r.outH; i++)
            expected[i] = static_cast<unsigned char>(PATTERN(r.x0 + i % r.outW, r.y0 + i / r.outW));
        EXPECT_TRUE(r.x0 == -1 ? std::find(out.begin(), out.end(), BK) != out.end() : out == expected)
            << "angle " << r.angle << " centre column " << 16 * r.labelCol + 8;
    }
}

// Every angle above 134 turns by 45 degrees.
TEST(RotatedExtraction, SteepFingersTurnBy45)
{
    const Buf at135 = Cut(480, 480, {40, 60, 340, 420}, 135, 256, 360).out;
    EXPECT_EQ(Cut(480, 480, {40, 60, 340, 420}, 136, 256, 360).out, at135);
    EXPECT_NE(Cut(480, 480, {40, 60, 340, 420}, 134, 256, 360).out, at135);
}

// Angle 0 turns a quarter counter-clockwise without interpolation. The 401 x 300 box lands in a
// 304 x 404 buffer, box column sx on row 402 - sx and box row sy on column sy + 2. The content
// (columns 2..301, middle 151) starts in row 2 and is copied from row 4.
TEST(RotatedExtraction, QuarterTurnMapsEveryPixel)
{
    const Buf out = Cut(448, 352, {20, 30, 421, 330}, 0, 256, 360).out;
    for (int j = 0; j < 360; j++)
        for (int i = 0; i < 256; i++)
            ASSERT_EQ(out[j * 256 + i], PATTERN(20 + 398 - j, 30 + 21 + i)) << i << "," << j;
}

// The same turn of a 400 x 300 box (a 304 x 403 buffer) whose only content, box row 13 of columns 0..99,
// turns into column 15, rows 302..401, which meets no lattice row or column. So the content is placed as
// if it were at the top left: rows 302..363 copied from row 298 of column 15.
TEST(RotatedExtraction, ContentOffTheLattice)
{
    const auto line = [](int x, int y) { return y == 30 + 13 && x >= 20 && x < 120 ? 60 : BK; };
    const Buf out = Cut(448, 352, {20, 30, 420, 330}, 0, 256, 360, line).out;
    EXPECT_EQ(std::tuple(std::count(out.begin(), out.end(), BK), out[298 * 256 + 15], out[359 * 256 + 15]),
              std::tuple(256 * 360 - 62, 60, 60));
}

// A 300 x 500 box turned by +-30 degrees needs a 512 x 585 buffer. A dark dot at the box centre is
// its only content: it lands on cell (256, 292), on lattice column 256 but between lattice rows
// (so the copy starts at column 0), and smears one row up, to the content's top row 291. The
// rows from 291 to 583 are centred in outH.
TEST(RotatedExtraction, TurnedBufferSize)
{
    const auto dot = [](int x, int y) { return x == 190 && y == 290 ? 0 : BK; };
    const struct
    {
        int angle, outH, at;
    } rows[] = {{120, 360, 34 * 300 + 256}, {60, 361, 35 * 300 + 256}};
    for (const auto& r : rows) {
        const Buf out = Cut(400, 592, {40, 40, 340, 540}, r.angle, 300, r.outH, dot).out;
        // The dot, the smear above it and fill above that.
        EXPECT_EQ(std::tuple(out[r.at], out[r.at - 300] != BK, out[r.at - 600]), std::tuple(0, true, BK)) << r.angle;
    }
}

// Bilinear interpolation reproduces a linear ramp exactly: each cell holds the ramp at its sample
// point, rounded down. A 9 x 9 box at +30 degrees lands off the lattice, so cell (X, Y) from the
// box centre shows at (136 + X, 182 - Y) of a 272 x 368 buffer.
TEST(RotatedExtraction, BilinearRamp)
{
    const auto ramp = [](int x, int y) { return 20 + 10 * (x - 100) + 3 * (y - 100); }; // read only inside the box
    const Buf out = Cut(320, 400, {100, 100, 109, 109}, 120, 272, 368, ramp).out;
    // Cell (X, Y) and its value; in the comments the sample point (u, v) in the box, in 1/2048 pixel.
    const struct
    {
        int x, y, value;
    } rows[] = {
        // (8192, 8192) the box centre; (9966, 7168); (9216, 9966); (15562, 8668); (8668, 822).
        {0, 0, 72},
        {1, 0, 79},
        {0, -1, 79},
        {3, -2, 108},
        {2, 3, 63},
        // (17062, 3072) in the last column; (13312, 17062) in the last row; (-678, 13312) before the first
        // column; (3072, -678) above the first row; (18836, 2048) past the last column.
        {5, 0, 107},
        {0, -5, 109},
        {-5, 0, BK},
        {0, 5, BK},
        {6, 0, BK},
    };
    for (const auto& r : rows)
        EXPECT_EQ(out[(182 - r.y) * 272 + 136 + r.x], r.value) << r.x << "," << r.y;
}

} // namespace
