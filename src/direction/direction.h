// Direction field: whether each 16 x 16 block of a gray image carries ridge
// texture, as one signed byte per block (0 no, 1 yes).
#ifndef KOVRAL_DIRECTION_H
#define KOVRAL_DIRECTION_H

#include <kovral.h>

#include <cstddef>

#include "work_memory.h"

// Tests the 16 x 16 block whose top-left pixel is (x, y) of img (row stride w).
// h is not used; the caller keeps x + 15 < w and y + 15 < the image height.
// Returns 1 when the block shows ridge texture, else 0.
KOVRAL_API unsigned char BlockDrct1(unsigned char* img, int w, int h, int x, int y);

// BlockDrct1 with an ignored sixth argument.
KOVRAL_API unsigned char BlockDrct(unsigned char* img, int w, int h, int x, int y, int param);

// Writes the direction map of the w x h image into map: (w / 16) columns by
// h / 16 rounded up rows, cleared first; nothing outside them is written.
// Only blocks near a 64 x 64 probe that found texture are tested. param is
// passed on to BlockDrct. Allocates a small probe grid; if that fails the map
// stays all 0. Returns 1.
KOVRAL_API int Directions(unsigned char* img, int w, int h, signed char* map, int param);

// Directions with its probe grid taken from memory.
int MapDirections(unsigned char* img, int w, int h, signed char* map, int param, WorkMemory& memory);

// Reserves in memory what MapDirections takes for images up to w x h.
bool ReserveDirectionMemory(WorkMemory& memory, int w, int h);

#endif
