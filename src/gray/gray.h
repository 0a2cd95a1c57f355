// Gray-level analysis on 8-bit images (row-major, no padding, 0 black).
#ifndef KOVRAL_GRAY_H
#define KOVRAL_GRAY_H

#include <kovral.h>

#include <cstddef>
#include <cstdint>

// Background gray of the width x height image from nine 32 x 32 samples
// inset 16 pixels: the mean of the two highest window estimates. Returns
// 0..255, or 0 when width or height is below 200. Reads at most 9216 pixels.
KOVRAL_API int FastBkGray(const unsigned char* image, int width, int height);

// Background gray of one window (top-left (x, y), windowWidth x windowHeight,
// row stride width): the mean of the upper mean and the brightest level that
// holds 10 pixels. height is not used. Returns 0..255; a window with no pixel
// (a width or height of 0 or less) gives 0. The caller keeps the window
// inside the image.
KOVRAL_API int GetBkGray1(const unsigned char* image, int width, int height, int x, int y, int windowWidth,
                          int windowHeight);

// Writes into destination (width x height bytes, distinct from source) a copy
// of source whose pixels outside the finger area are 255. Allocates small
// work arrays (throws std::bad_alloc when it cannot). Images below
// 6 x 6 come out all 255.
KOVRAL_API void FindTheFpGrad(const unsigned char* source, int width, int height, unsigned char* destination);

// Quality score 0..99 of a finished finger image: finger area (pixels below
// 200) and closeness of their mean gray to 100.
KOVRAL_API int GetQuality(const unsigned char* image, int width, int height);

// Cleans and scores fingers 0..n-1 in place: outside the finger area white,
// levels above 240 to 255; then fills x, y, angle and quality of their
// records, all after the last cleaning, so that a cleaning that throws
// std::bad_alloc leaves every record as it was. scratch holds outW x outH
// bytes.
KOVRAL_API void FinishFingers(KOVRAL_INFO_* pInfo, int n, int outW, int outH, const tagPOINT* centres,
                              const int* angles, unsigned char* scratch);

// Number and sum of the pixels of image[0..pixels) below level.
struct DarkSums
{
    std::uint64_t count;
    std::uint64_t sum;
};
DarkSums SumBelow(const unsigned char* image, std::size_t pixels, int level);

#endif
