// Finger localisation on block maps: one signed byte per 16 x 16 block,
// row-major. Working-map values: 0 background, 1..8 ridge blocks in no
// region, 9..126 region labels. Rectangles on block maps have inclusive
// bounds.
#ifndef KOVRAL_LOCATE_H
#define KOVRAL_LOCATE_H

#include <kovral.h>

#include <cstddef>

#include "work_memory.h"

// Lowest and highest region label.
constexpr signed char FIRST_LABEL = 9;
constexpr signed char LAST_LABEL = 126;

// Labels the 4-connected ridge regions of the bw x bh map in place: regions of
// 82..1600 blocks get the labels 9, 10, ... in seed order, others are erased
// to 0. Returns the number of kept regions (0..118).
KOVRAL_API int SetHole(signed char* map, int bw, int bh);

// Single-cell fill, in place on the bw x bh working map: a background block
// that has a positive left or right neighbour takes the value of the first
// equal opposite pair (left/right, up/down, the two diagonals). Border blocks
// never change. No allocation.
KOVRAL_API void FillSingleBlank(signed char* work, int bw, int bh);

// Notch closing for one label, in place: the first gap of 1..4 blocks in each
// row of the region is bridged when the region continues above and below the
// gap's first column. Bridged blocks become label in work and 1 in map (both
// bw x bh). No allocation.
KOVRAL_API void CloseFpNotch(signed char* work, signed char* map, int bw, int bh, signed char label);

// Writes the bounding box of label's cells in the w x h map into rect. A
// field whose scan finds nothing keeps the caller's value (right never looks
// at column 0, bottom never at row 0).
KOVRAL_API void GetHVMinRect(signed char* map, int w, int h, signed char label, tagRECT& rect);

// Last column holding label (0 if none from column 1 on) minus the first (w if
// none): the horizontal extent less one; -w for an absent label.
KOVRAL_API int GetRctXWidth(signed char* map, int w, int h, signed char label);

// Writes label's bounding box into *rect and, with bGetAngle, returns its axis
// angle (0..179, 90 upright) from a search for the narrowest turn; without it,
// or for a region one column wide, returns 90. Allocates two w x h work maps;
// if that fails the box is still written and 90 returned.
KOVRAL_API int GetFpPos(signed char* map, int w, int h, signed char label, tagRECT* rect, bool bGetAngle);

// GetFpPos with its work map taken from memory (w x h bytes).
int MeasureRegion(signed char* map, int w, int h, signed char label, tagRECT* rect, bool bGetAngle,
                  WorkMemory& memory);

// Cuts a region taller than 38 block rows down to its top 37 rows, in place,
// and writes the box of what remains into rect. Shorter regions: no change.
KOVRAL_API void CutLongFpDrct(signed char* map, int w, int h, signed char label, tagRECT& rect);

// Size in blocks of the working map turned by theta degrees: the turned
// diagonal extents plus a margin of 4.
KOVRAL_API void GetRoatedDrctSize(int bw, int bh, int theta, int& ow, int& oh);

// Writes into out (ow x oh bytes, from GetRoatedDrctSize) the bw x bh working
// map turned by -theta about its centre block and centred in out; cells whose
// source is outside the map are 0.
KOVRAL_API void RoatedHoleDrct(signed char* work, int bw, int bh, int theta, signed char* out, int ow, int oh);

// Finds up to ten finger candidates on the bw x bh direction map, left to
// right in the frame where the fingers stand upright on average. work (bw x
// bh bytes) receives the labelled map; map gains 1 where notches were closed.
// Writes entries 0..n-1 of boxes (pixels, right and bottom one past the
// last), angles (degrees) and labels; later entries are untouched. Returns n
// (0..10); 0 also when the turned map cannot be allocated.
KOVRAL_API int FindFpPos(signed char* map, int bw, int bh, signed char* work, tagRECT* boxes, int* angles,
                         signed char* labels);

// FindFpPos with its work maps taken from memory.
int LocateFingers(signed char* map, int bw, int bh, signed char* work, tagRECT* boxes, int* angles,
                  signed char* labels, WorkMemory& memory);

// Reserves in memory what LocateFingers takes for maps up to bw x bh.
bool ReserveLocateMemory(WorkMemory& memory, int bw, int bh);

// Bytes of the largest turned working map of a bw x bh map.
std::size_t TurnedMapCells(int bw, int bh);

#endif
