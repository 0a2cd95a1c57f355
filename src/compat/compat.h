// Exported functions that no split calls, kept for compatibility: callers
// of the library may use them, so their names, signatures and results stay.
#ifndef KOVRAL_COMPAT_H
#define KOVRAL_COMPAT_H

#include <kovral.h>

// Writes into out ((width / 2) x (height / 2) bytes) the Sobel gradient of
// the half-size image averaged over a (2 radius + 1) square window, capped at
// 255. radius above 16 or below 0, or a width or height below 4: nothing is
// written. Allocates work buffers; when it cannot, nothing is written.
KOVRAL_API void getGrads(const unsigned char* image, int width, int height, unsigned char* out, int radius);

// Sets blockWidth x blockHeight pixels from (x, y) of image (row stride
// stride) to value. Nothing when either size is 0 or less.
KOVRAL_API void ImgBlockSet(unsigned char* image, int x, int y, int blockWidth, int blockHeight, int stride,
                            unsigned char value);

// Sets to value every 2 x 2 block of the width x height image whose mask cell
// is 255; mask has (width + 1) / 2 cells per row and (height + 1) / 2 rows.
KOVRAL_API void DelUseless(unsigned char* image, int width, int height, const unsigned char* mask,
                           unsigned char value);

// Writes into out (w x h bytes, distinct from map) the w x h map turned
// counter-clockwise by angle degrees about cell (w / 2, h / 2), nearest cell.
// label and rect are not used.
KOVRAL_API void RoatedDrct(signed char* map, int w, int h, signed char label, tagRECT& rect, int angle,
                           signed char* out);

// Shrinks every region of the w x h map by one block, in place: a positive
// block with a 4-neighbour of exactly 0 is cleared; decisions use the values
// on entry, and any block holding 120 on entry is cleared too. In a map of
// one or two columns only the corner blocks of the first and last row are
// tested.
KOVRAL_API void DrctSuojin(signed char* map, int w, int h);

// Grows every region of the w x h map by one block, in place, from the
// positive blocks of the interior rows and columns. Precedence for a block
// between regions: lower, right, left, upper neighbour.
KOVRAL_API void DrctKuozhan(signed char* map, int w, int h);

// Fills exact-0 blocks inside rect (clamped in place to rows 1..h-3 and
// columns 1..w-3 where it reaches the border) with the mean of the blocks to
// the left and two to the right, else above and two below, when both are
// positive. w and h are 16-bit.
KOVRAL_API void DelDrctBlank(signed char* map, short w, short h, tagRECT& rect);

// Paints the size x size block at (x, y) of buf (row stride w) with value:
// mode 0 whole, 1 lower-right half (j + k >= size), 2 lower-left (j < k),
// 3 upper-left (j + k <= size - 1), 4 upper-right (j >= k). Nothing for
// size <= 0 or another mode. The caller keeps the block inside buf.
KOVRAL_API void SetBlockValue(signed char* buf, int w, int h, int x, int y, int size, signed char value, int mode);

#endif
