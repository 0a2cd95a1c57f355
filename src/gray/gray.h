// Gray-level analysis on 8-bit images (row-major, no padding, 0 black).
#ifndef KOVRAL_GRAY_H
#define KOVRAL_GRAY_H

#include <kovral.h>

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
// small work arrays (throws std::bad_alloc when it cannot). Images below
// 6 x 6 come out all 255.
KOVRAL_API void FindTheFpGrad(const unsigned char* source, int width, int height, unsigned char* destination);

// Quality score 0..99 of a finished finger image: finger area (pixels below
// 200) and closeness of their mean gray to 100.
KOVRAL_API int GetQuality(const unsigned char* image, int width, int height);

// Writes into out ((width / 2) x (height / 2) bytes) the Sobel gradient of
// the half-size image averaged over a (2 radius + 1) square window, capped at
// 255. radius above 16 or below 0, or a width or height below 4: nothing is
// written. Allocates work buffers (throws std::bad_alloc when it cannot).
KOVRAL_API void getGrads(const unsigned char* image, int width, int height, unsigned char* out, int radius);

// Sets blockWidth x blockHeight pixels from (x, y) of image (row stride
// stride) to value. Nothing when either size is 0 or less.
KOVRAL_API void ImgBlockSet(unsigned char* image, int x, int y, int blockWidth, int blockHeight, int stride,
                            unsigned char value);

// Sets to value every 2 x 2 block of the width x height image whose mask cell
// is 255; mask has (width + 1) / 2 cells per row and (height + 1) / 2 rows.
KOVRAL_API void DelUseless(unsigned char* image, int width, int height, const unsigned char* mask,
                           unsigned char value);

#endif
