// Gray-level analysis on 8-bit images (row-major, no padding, 0 black).
#ifndef KOVRAL_GRAY_H
#define KOVRAL_GRAY_H

#include <kovral.h>

#include <cstddef>
#include <cstdint>

#include "work_memory.h"

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
// of source whose pixels outside the finger area are 255. Allocates four
// small work arrays; when it cannot, destination is left as it was. Images
// below 6 x 6 come out all 255.
KOVRAL_API void FindTheFpGrad(const unsigned char* source, int width, int height, unsigned char* destination);

// FindTheFpGrad with its work arrays taken from memory. Returns false, with
// destination untouched, when they cannot be had.
bool MaskFingerArea(const unsigned char* source, int width, int height, unsigned char* destination,
                    WorkMemory& memory);

// Quality score 0..99 of a finished finger image: finger area (pixels below
// 200) and closeness of their mean gray to 100.
KOVRAL_API int GetQuality(const unsigned char* image, int width, int height);

// Cleans fingers 0..count-1 (outW x outH each) in place: outside the finger
// area white, levels above 240 to 255; then scores them into quality (0 for
// a finger whose centre lies outside the area where scores count). The
// cleaned copy and the mask's arrays come from memory; when they cannot be
// had, returns false, and the fingers cleaned so far stay cleaned.
bool CleanFingers(unsigned char* const* fingers, int count, int outW, int outH, const tagPOINT* centres,
                  std::uint8_t* quality, WorkMemory& memory);

// Reserves in memory what MaskFingerArea and CleanFingers take for finger
// images up to width x height.
bool ReserveMaskMemory(WorkMemory& memory, int width, int height);
bool ReserveCleaningMemory(WorkMemory& memory, int width, int height);

// Number and sum of the pixels of image[0..pixels) below level.
struct DarkSums
{
    std::uint64_t count;
    std::uint64_t sum;
};
DarkSums SumBelow(const unsigned char* image, std::size_t pixels, int level);

#endif
