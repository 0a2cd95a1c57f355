#include "extract/extract.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace {

constexpr unsigned char BK = 250;        // background gray; Pattern never takes it
constexpr unsigned char UNTOUCHED = 165; // the caller's content of a finger buffer
constexpr signed char LABEL = 20;

using Buf = std::vector<unsigned char>;

unsigned char Pattern(int x, int y)
{
    return static_cast<unsigned char>((x * 7 + y * 13) % 241);
}

struct Scene
{
    int w, h;
    Buf img;
    std::vector<signed char> work;

    Scene(int w_, int h_, const std::function<unsigned char(int, int)>& pixel)
        : w(w_), h(h_), img(w_ * h_), work((w_ / 16) * ((h_ + 15) / 16), 0)
    {
        for (int i = 0; i < w * h; i++)
            img[i] = pixel(i % w, i / w);
    }
    unsigned char At(int x, int y) const { return img[y * w + x]; }
    Buf Window(int x0, int y0, int outW, int outH) const
    {
        Buf win;
        for (int y = y0; y < y0 + outH; y++)
            win.insert(win.end(), img.begin() + y * w + x0, img.begin() + y * w + x0 + outW);
        return win;
    }
    // Fingers 0..n-1 into buffers prefilled with UNTOUCHED; returns GetRoatedFp's result.
    int Extract(int n, tagRECT* boxes, int* angles, int outW, int outH, std::vector<Buf>& bufs, tagPOINT* centres)
    {
        signed char labels[2] = {LABEL, LABEL};
        unsigned char* ptrs[2];
        bufs.assign(2, Buf(outW * outH, UNTOUCHED));
        for (int i = 0; i < 2; i++)
            ptrs[i] = bufs[i].data();
        return GetRoatedFp(img.data(), w, h, work.data(), n, boxes, angles, labels, BK, ptrs, outW, outH, centres);
    }
    Buf Extract(tagRECT box, int angle, int outW, int outH, tagPOINT* centre = nullptr)
    {
        std::vector<Buf> bufs;
        tagPOINT c;
        EXPECT_EQ(Extract(1, &box, &angle, outW, outH, bufs, centre ? centre : &c), 1);
        return bufs[0];
    }
};

// count 0: nothing written, boxes not even clamped. An empty box reads nothing and comes out as
// fill; the other box is clamped in place to w - 1, h - 1.
TEST(RotatedExtraction, CountZeroEmptyBoxAndClamp)
{
    Scene s(320, 368, Pattern);
    tagRECT boxes[2] = {{100, 300, 100, 50}, {16, 40, 400, 400}};
    int angles[2] = {30, 90};
    tagPOINT centres[2] = {{-1, -1}, {-1, -1}};
    std::vector<Buf> bufs;
    EXPECT_EQ(s.Extract(0, boxes, angles, 256, 360, bufs, centres), 1);
    EXPECT_EQ(boxes[1].right, 400);
    EXPECT_EQ(centres[0].x, -1);
    EXPECT_EQ(bufs[0], Buf(256 * 360, UNTOUCHED));
    ASSERT_EQ(s.Extract(2, boxes, angles, 256, 360, bufs, centres), 1);
    EXPECT_EQ(bufs[0], Buf(256 * 360, BK));
    EXPECT_EQ(boxes[1].right, 319);
    EXPECT_EQ(boxes[1].bottom, 367);
    ASSERT_EQ(centres[1].x, 184); // no label: the box's middle block
    ASSERT_EQ(centres[1].y, 203);
    EXPECT_EQ(bufs[1], s.Window(56, 7, 256, 360)); // 23 >= 368 - 360 steps back to 7
}

// The plain window is the image window exactly (no fill); a turned finger's buffer holds fill.
TEST(RotatedExtraction, PlainWindow)
{
    struct Row { int w, h, outW, outH, angle, cx, cy, x0, y0; }; // x0 -1: turned; -2: nothing copied
    const Row rows[] = {
        {640, 480, 256, 360, 86, 136, 190, 8, 10}, {640, 480, 256, 360, 90, 136, 190, 8, 10},
        {640, 480, 256, 360, 94, 136, 190, 8, 10}, {640, 480, 256, 360, 85, 136, 190, -1, 0},
        {640, 480, 256, 360, 95, 136, 190, -1, 0}, {640, 480, 256, 360, 150, 136, 190, -1, 0},
        {256, 480, 256, 360, 30, 136, 190, 0, 10},   // outW == w: plain; 8 steps back to -1, held at 0
        {640, 368, 256, 368, 30, 136, 190, 8, 0},    // outH == h: the same for rows
        {800, 480, 256, 360, 90, 696, 200, 543, 20}, // 568 reaches the end (>= 544): one short of the last fit
        {800, 480, 256, 360, 90, 104, 100, 0, 0},    // before the start, both ways
        {800, 480, 256, 360, 90, 600, 300, 472, 119}, // 472 fits; 120 == h - outH steps back to 119
        {808, 480, 256, 360, 90, 680, 290, 551, 110}, // 552 == w - outW would fit exactly, still 551
        {640, 352, 256, 360, 90, 328, 200, -2, 0},    // the window is taller than the image
    };
    for (const Row& r : rows) {
        Scene s(r.w, r.h, Pattern);
        s.work[(r.cy / 16) * (r.w / 16) + (r.cx - 8) / 16] = LABEL; // centre column 16 * bx + 8
        tagPOINT centre;
        const Buf buf = s.Extract({0, r.cy - 50, 200, r.cy + 50}, r.angle, r.outW, r.outH, &centre);
        ASSERT_EQ(centre.x, r.cx);
        if (r.x0 == -1)
            EXPECT_NE(std::find(buf.begin(), buf.end(), BK), buf.end()) << "angle " << r.angle;
        else if (r.x0 == -2)
            EXPECT_EQ(buf, Buf(r.outW * r.outH, UNTOUCHED));
        else
            EXPECT_EQ(buf, s.Window(r.x0, r.y0, r.outW, r.outH)) << "angle " << r.angle << " cx " << r.cx;
    }
}

// Every angle above 134 turns by 45 degrees.
TEST(RotatedExtraction, SteepFingersTurnBy45)
{
    Scene s(480, 480, Pattern);
    const tagRECT box{40, 60, 340, 420};
    const Buf at135 = s.Extract(box, 135, 256, 360);
    EXPECT_EQ(s.Extract(box, 150, 256, 360), at135);
    EXPECT_EQ(s.Extract(box, 179, 256, 360), at135);
    EXPECT_NE(s.Extract(box, 134, 256, 360), at135);
}

// Angle 0 turns a quarter counter-clockwise without interpolation. The 401 x 300 box lands in a
// 304 x 404 buffer, box column sx on row 402 - sx and box row sy on column sy + 2. The content
// (columns 2..301, middle 151) starts in row 2 and is copied from row 4.
TEST(RotatedExtraction, QuarterTurnMapsEveryPixel)
{
    Scene s(448, 352, Pattern);
    const Buf buf = s.Extract({20, 30, 421, 330}, 0, 256, 360);
    for (int j = 0; j < 360; j++)
        for (int i = 0; i < 256; i++)
            ASSERT_EQ(buf[j * 256 + i], s.At(20 + 398 - j, 30 + 21 + i)) << i << "," << j;
}

// The same turn of one partial row of a 400 x 300 box (304 x 403 buffer, box columns 0..99): a
// vertical line in rows 302..401 of the turned buffer, found only where it crosses the lattice.
TEST(RotatedExtraction, ContentSearchOnLattice)
{
    struct Row { int boxRow, col, firstRow, rows; };
    const Row rows[] = {
        {14, 16, 130, 100}, // on lattice column 16: top 302, the 100 rows centred in 360
        {13, 15, 298, 62},  // off it: top 4 by default, rows 302..363 copied from row 298
    };
    for (const Row& r : rows) {
        Scene s(448, 352, [&](int x, int y) { return y == 30 + r.boxRow && x >= 20 && x < 120 ? 60 : BK; });
        const Buf buf = s.Extract({20, 30, 420, 330}, 0, 256, 360);
        for (int j = 0; j < 360; j++)
            for (int i = 0; i < 256; i++) {
                const bool line = i == r.col && j >= r.firstRow && j < r.firstRow + r.rows;
                ASSERT_EQ(buf[j * 256 + i], line ? 60 : BK) << "box row " << r.boxRow << " at " << i << "," << j;
            }
    }
}

// A 300 x 500 box turned by +-30 degrees needs a 512 x 585 buffer. A dark dot at the box centre is
// its only content: it lands on cell (256, 292), on lattice column 256 but between lattice rows
// (so the copy starts at column 0), and smears one row up, to the content's top row 291. The
// rows from 291 to 583 are centred in outH.
TEST(RotatedExtraction, TurnedBufferSize)
{
    struct Row { int angle, outH, dotRow; };
    const Row rows[] = {{120, 360, 34}, {120, 361, 35}, {60, 360, 34}, {60, 361, 35}};
    for (const Row& r : rows) {
        Scene s(400, 592, [](int x, int y) { return x == 190 && y == 290 ? 0 : BK; });
        const Buf buf = s.Extract({40, 40, 340, 540}, r.angle, 300, r.outH);
        EXPECT_EQ(buf[r.dotRow * 300 + 256], 0) << "angle " << r.angle << " outH " << r.outH;
        EXPECT_NE(buf[(r.dotRow - 1) * 300 + 256], BK);
        EXPECT_EQ(buf[(r.dotRow - 2) * 300 + 256], BK);
    }
}

// Bilinear interpolation reproduces a linear ramp exactly: each cell holds the ramp at its sample
// point, rounded down. A 9 x 9 box at +30 degrees lands off the lattice, so cell (X, Y) from the
// box centre shows at (136 + X, 182 - Y) of a 272 x 368 buffer.
TEST(RotatedExtraction, BilinearRamp)
{
    Scene s(320, 400, [](int x, int y) {
        return x >= 100 && x <= 109 && y >= 100 && y <= 109 ? 20 + 10 * (x - 100) + 3 * (y - 100) : BK;
    });
    const Buf buf = s.Extract({100, 100, 109, 109}, 120, 272, 368);
    struct Row { int x, y, value; }; // sample point (u, v) in the box, in 1/2048 pixel
    const Row rows[] = {
        {0, 0, 72},   // (8192, 8192): the box centre
        {0, 1, 64},   // (7168, 6418)
        {1, 0, 79},   // (9966, 7168)
        {-1, 0, 64},  // (6418, 9216)
        {0, -1, 79},  // (9216, 9966)
        {-4, 0, 43},  // (1096, 12288)
        {3, -2, 108}, // (15562, 8668)
        {2, 3, 63},   // (8668, 822)
        {5, 0, 107},  // (17062, 3072): in the last column
        {0, -5, 109}, // (13312, 17062): in the last row
        {-5, 0, BK},  // (-678, 13312): before the first column, not column 0
        {0, 5, BK},   // (3072, -678): above the first row
        {6, 0, BK},   // (18836, 2048): past the last column
    };
    for (const Row& r : rows)
        EXPECT_EQ(buf[(182 - r.y) * 272 + 136 + r.x], r.value) << r.x << "," << r.y;
}

} // namespace
