// One finger cut upright out of a generated image, as a split cuts it: for the
// tests of the cut itself and of the corners that describe it.
#ifndef KOVRAL_TESTS_SUPPORT_FINGER_CUT_H
#define KOVRAL_TESTS_SUPPORT_FINGER_CUT_H

#include "extract/extract.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace finger_cut {

constexpr unsigned char BK = 250;        // background gray; the pattern never takes it
constexpr unsigned char UNTOUCHED = 165; // the caller's content of a finger buffer
using Buf = std::vector<unsigned char>;

constexpr auto PATTERN = [](int x, int y) { return (x * 7 + y * 13) % 241; };

// The finger in box b of the w x h image pixel(x, y), cut into an outW x outH
// buffer prefilled with UNTOUCHED. Every block of the map holds its column
// index, so the finger's label is the block column of its centre, which lands
// on pixel column 16 label + 8 (-1 matches nothing). box and centre are as the
// cut leaves them.
struct Cut
{
    Buf out;
    tagRECT box;
    tagPOINT centre{};
    Cut(int w, int h, tagRECT b, int angle, int outW, int outH, const std::function<int(int, int)>& pixel = PATTERN,
        signed char label = -1)
        : out(static_cast<size_t>(outW) * outH, UNTOUCHED), box(b)
    {
        Buf img(static_cast<size_t>(w) * h);
        for (size_t i = 0; i < img.size(); i++)
            img[i] = static_cast<unsigned char>(pixel(static_cast<int>(i % w), static_cast<int>(i / w)));
        std::vector<signed char> work((w / 16) * ((h + 15) / 16));
        for (size_t i = 0; i < work.size(); i++)
            work[i] = static_cast<signed char>(i % (w / 16));
        unsigned char* buf = out.data();
        EXPECT_EQ(GetRoatedFp(img.data(), w, h, work.data(), 1, &box, &angle, &label, BK, &buf, outW, outH, &centre),
                  1);
    }
};

} // namespace finger_cut

#endif
