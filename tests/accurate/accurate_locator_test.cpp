// The accurate locator: its ridge test on drawn patterns, and whole slaps
// from the generator where the fingers, the hand and the flags are known.
#include "accurate/accurate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "reference.h"
#include "slapgen.h"

namespace {

constexpr int SIZE = 96; // pattern images: the middle cell's window lies well inside

std::vector<uint8_t> Draw(const std::function<int(int, int)>& gray)
{
    std::vector<uint8_t> img(SIZE * SIZE);
    for (int y = 0; y < SIZE; y++)
        for (int x = 0; x < SIZE; x++)
            img[static_cast<std::size_t>(y) * SIZE + x] = static_cast<uint8_t>(std::clamp(gray(x, y), 0, 255));
    return img;
}

int Noise(int x, int y, int amplitude)
{
    uint32_t h = static_cast<uint32_t>(x) * 0x8da6b343u ^ static_cast<uint32_t>(y) * 0xd8163841u;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    h ^= h >> 12;
    return static_cast<int>(h % static_cast<uint32_t>(2 * amplitude + 1)) - amplitude;
}

int Stripes(int x, int y, double period, double slope, int mid, int amplitude)
{
    return mid + static_cast<int>(amplitude * std::cos(2 * 3.14159265 * (x + slope * y) / period));
}

TEST(RidgeCells, TellsRidgesFromOtherTexture)
{
    struct Row
    {
        const char* what;
        std::function<int(int, int)> gray;
        bool ridge;
    } rows[] = {
        // Ridges of a usual period and contrast, upright and slanted.
        {"ridges 9 px", [](int x, int y) { return Stripes(x, y, 9, 0, 130, 60) + Noise(x, y, 4); }, true},
        {"slanted ridges 11 px", [](int x, int y) { return Stripes(x, y, 11, 0.7, 130, 60) + Noise(x, y, 4); }, true},
        // A faint print still passes when it stands well above the noise.
        {"faint ridges", [](int x, int y) { return Stripes(x, y, 9, 0.3, 180, 12) + Noise(x, y, 2); }, true},
        // Paper: flat, or noisy without orientation.
        {"flat paper", [](int, int) { return 230; }, false},
        {"white noise", [](int x, int y) { return 128 + Noise(x, y, 40); }, false},
        // Stripes far wider than a ridge period (card lines, shading).
        {"stripes 30 px", [](int x, int y) { return Stripes(x, y, 30, 0, 130, 60); }, false},
        // A pen stroke across white paper: mostly paper.
        {"pen stroke", [](int x, int) { return std::abs(x - 48) <= 1 ? 30 : 235; }, false},
        // A punched hole: black with one round edge.
        {"punched hole", [](int x, int y) { return (x - 30) * (x - 30) + (y - 30) * (y - 30) < 1600 ? 5 : 235; },
         false},
    };
    for (const Row& row : rows) {
        const std::vector<uint8_t> img = Draw(row.gray);
        accurate::CellMap map;
        accurate::FindRidgeCells(img.data(), SIZE, SIZE, map);
        const int mid = (SIZE / accurate::CELL / 2) * map.cw + SIZE / accurate::CELL / 2;
        EXPECT_EQ(map.ridge[static_cast<std::size_t>(mid)] != 0, row.ridge) << row.what;
    }
}

// The ridge test's whole-number sums and row-by-row windows give the same
// cell map as the straightforward float sums, bit for bit, on slaps whose
// sizes leave partial cells at the right and bottom or none.
TEST(RidgeCells, SameAsTheStraightforwardSums)
{
    const slapgen::SlapSpec plans[] = {
        slapgen::FourFingerHand(1600, 1000, 20, true, 3),
        slapgen::FourFingerHand(803, 605, -10, false, 4),
        slapgen::FourFingerHand(400, 361, 0, true, 5),
    };
    for (const slapgen::SlapSpec& plan : plans) {
        const slapgen::Slap slap = slapgen::Generate(plan);
        accurate::CellMap fast;
        accurate::CellMap plain;
        accurate::FindRidgeCells(slap.pixels.data(), slap.width, slap.height, fast);
        reference::FindRidgeCells(slap.pixels.data(), slap.width, slap.height, plain);
        EXPECT_EQ(fast.ridge, plain.ridge) << slap.width << " x " << slap.height;
        EXPECT_EQ(fast.contrast, plain.contrast) << slap.width << " x " << slap.height;
        EXPECT_EQ(fast.dark, plain.dark) << slap.width << " x " << slap.height;
        EXPECT_EQ(fast.noise, plain.noise) << slap.width << " x " << slap.height;
    }
}

struct SlapCase
{
    const char* what;
    slapgen::SlapSpec plan;
    int fingers;        // expected count
    int hand;           // expected hand, or -1 when not checked
    uint32_t flags;     // a flag some finger must carry
    double centre = 40; // largest centre error, pixels
    int angle = 8;      // largest angle error, degrees
};

slapgen::SlapSpec Thumbs(int width = 330, int length = 420)
{
    slapgen::SlapSpec plan;
    plan.width = 1600;
    plan.height = 1000;
    for (int cx : {420, 1180}) {
        slapgen::Finger f;
        f.cx = cx;
        f.cy = 480;
        f.width = width;
        f.length = length;
        f.angle = cx < 800 ? 95 : 85;
        plan.fingers.push_back(f);
    }
    return plan;
}

slapgen::SlapSpec CutLeft()
{
    slapgen::SlapSpec plan = slapgen::FourFingerHand(1600, 1000, 0, true, 7);
    const int dx = 40 - plan.fingers.front().cx;
    for (slapgen::Finger& f : plan.fingers)
        f.cx += dx;
    return plan;
}

TEST(Locate, FindsEveryFingertipAndTellsTheHand)
{
    const SlapCase cases[] = {
        // Separate fingers, each hand, upright and tilted.
        {"right upright", slapgen::FourFingerHand(1600, 1000, 0, true, 3), 4, accurate::HAND_RIGHT, 0},
        {"left tilted", slapgen::FourFingerHand(1600, 1200, -25, false, 4), 4, accurate::HAND_LEFT, 0},
        {"right tilted far", slapgen::FourFingerHand(1600, 1500, 40, true, 5), 4, accurate::HAND_RIGHT, 0},
        // Two wide prints far apart.
        {"thumbs", Thumbs(), 2, accurate::HAND_THUMBS, 0},
        // Regression (a broad thumb split into fingertips): thumbs nearly
        // three fingertips wide each stay one finger.
        {"broad thumbs", Thumbs(560, 460), 2, accurate::HAND_THUMBS, 0, 60},
        // The index finger half outside the image is still reported, flagged.
        {"cut by the border", CutLeft(), 4, -1, accurate::FLAG_CUT_BY_BORDER},
        // Fingertips touching along their sides are split again.
        // (the split line runs straight across the hand, so a fingertip may lose a strip of its side)
        {"touching", slapgen::FourFingerHand(1600, 1000, 0, true, 11, 0), 4, accurate::HAND_RIGHT,
         accurate::FLAG_TOUCHING, 70, 12},
        // Regression (tilted touching hand read as upright): every fingertip
        // touches its neighbour and the hand leans far; seen upright, the
        // staircase of the slanted fingers looked like deeper valleys.
        {"touching leaning right", slapgen::FourFingerHand(1600, 1500, -33, true, 1032, 0), 4, accurate::HAND_RIGHT,
         accurate::FLAG_TOUCHING, 70, 12},
        {"touching leaning left", slapgen::FourFingerHand(1600, 1500, 30, false, 21, 0), 4, accurate::HAND_LEFT,
         accurate::FLAG_TOUCHING, 70, 12},
    };
    for (const SlapCase& c : cases) {
        const slapgen::Slap slap = slapgen::Generate(c.plan);
        accurate::Result r;
        ASSERT_TRUE(accurate::Locate(slap.pixels.data(), slap.width, slap.height, r)) << c.what;
        ASSERT_EQ(r.count, c.fingers) << c.what;
        if (c.hand >= 0) {
            EXPECT_EQ(r.hand, c.hand) << c.what;
        }
        // Every report lies near its fingertip's centre, left to right.
        uint32_t flags = 0;
        for (int i = 0; i < r.count; i++) {
            const slapgen::Truth& t = slap.truth[static_cast<std::size_t>(i)];
            const bool cut = t.left == 0 || t.right == slap.width;
            EXPECT_LT(std::hypot(r.fingers[i].x - t.cx, r.fingers[i].y - t.cy), cut ? 130.0 : c.centre)
                << c.what << " finger " << i;
            if (!cut) {
                EXPECT_LE(std::abs(r.fingers[i].angle - t.angle), c.angle) << c.what << " finger " << i;
            }
            flags |= r.fingers[i].flags;
        }
        EXPECT_EQ(flags & c.flags, c.flags) << c.what;
    }
}

TEST(Locate, ReportsNothingWithoutFingers)
{
    struct Row
    {
        const char* what;
        int w, h, gray, noise;
    } rows[] = {
        {"white", 800, 600, 240, 0},           {"black", 800, 600, 0, 0},  {"noisy paper", 800, 600, 200, 30},
        {"smaller than a cell", 7, 7, 128, 0}, {"one cell", 8, 8, 128, 0},
    };
    for (const Row& row : rows) {
        std::vector<uint8_t> img(static_cast<std::size_t>(row.w) * row.h);
        for (int i = 0; i < row.w * row.h; i++)
            img[static_cast<std::size_t>(i)]
                = static_cast<uint8_t>(std::clamp(row.gray + Noise(i % row.w, i / row.w, row.noise), 0, 255));
        accurate::Result r;
        ASSERT_TRUE(accurate::Locate(img.data(), row.w, row.h, r)) << row.what;
        EXPECT_EQ(r.count, 0) << row.what;
        EXPECT_EQ(r.hand, accurate::HAND_UNKNOWN) << row.what;
    }
}

} // namespace
