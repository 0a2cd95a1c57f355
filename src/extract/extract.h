// Finger extraction: centres from the labelled working map and the upright
// cut of every finger into the caller's buffers.
#ifndef KOVRAL_EXTRACT_H
#define KOVRAL_EXTRACT_H

#include <kovral.h>

#include <cstddef>

#include "work_memory.h"

// Cuts fingers 0..count-1 out of the w x h image into outBufs[i] (outW x outH
// bytes each), turned upright, and writes their centres (source pixels) into
// centres. boxes are in pixels (right and bottom one past the last) and are
// clamped in place to w - 1 and h - 1; work is the bw x bh labelled map. A
// finger within 4 degrees of upright (or outW == w, or outH == h) is copied
// as a plain window; any other is turned by bilinear interpolation, cells
// whose sample falls outside the box taking bkGray. Returns 1, or 0 when a
// work row of the turn could not be allocated (earlier fingers' buffers are
// already written).
// Boxes start inside the image (left, top >= 0). A box that the clamp leaves
// empty (right <= left or bottom <= top) reads no pixel: turned, its buffer
// comes out all bkGray; near upright it still gets the window at its centre.
// A plain window taller or wider than the image leaves its buffer untouched.
KOVRAL_API int GetRoatedFp(unsigned char* img, int w, int h, signed char* work, int count, tagRECT* boxes,
                           int* angles, signed char* labels, unsigned char bkGray, unsigned char** outBufs, int outW,
                           int outH, tagPOINT* centres);

// GetRoatedFp with its turned buffers taken from memory.
int CutFingers(unsigned char* img, int w, int h, signed char* work, int count, tagRECT* boxes, int* angles,
               signed char* labels, unsigned char bkGray, unsigned char** outBufs, int outW, int outH,
               tagPOINT* centres, WorkMemory& memory);

// Reserves in memory what CutFingers takes for images up to w x h.
bool ReserveCutMemory(WorkMemory& memory, int w, int h);

// Cuts fingers 0..count-1 of the w x h16 image about the given centres:
// the outW x outH buffer's middle cell on the centre, copied as the plain
// window that WindowStart places for a finger CutAsWindow takes as one, else
// turned by CutTurn(angle) with bilinear interpolation, bkGray where the
// turned buffer leaves the image. What it covers is what FingerCorners gives.
void CutFingersAbout(const unsigned char* img, int w, int h16, int count, const tagPOINT* centres, const int* angles,
                     unsigned char bkGray, unsigned char** outBufs, int outW, int outH);

// Writes the centre of fingers 0..count-1 into centres: the box's middle row
// (or an outH window starting 8 pixels above a tall box), and the middle of
// the finger's label run in that block row of work (bw columns). bh, angles
// and outW are not used.
KOVRAL_API void GetCenter(signed char* work, int bw, int bh, int count, tagRECT* boxes, int* angles,
                          signed char* labels, int outW, int outH, tagPOINT* centres);

// Copies the dw x dh window at (x0, y0) of the sw x sh image src into dst.
// Copies nothing when the window leaves src (also for a negative x0 or y0),
// when a pointer is null or dh <= 0.
KOVRAL_API void CutImageBuf(unsigned char* dst, int dw, int dh, unsigned char* src, int x0, int y0, int sw, int sh);

// Widens boxes 0..n-1 by 16 pixels on every side, clamped to 2..w-3 and
// 2..h16-3.
void WidenFingerBoxes(tagRECT* boxes, int n, int w, int h16);

#endif
