// Angle and box geometry shared by the locator, the extraction, the hand
// judgement and callers that draw what a split cut out: what upright means,
// which fingers are cut as a plain window, where that window lies, and the
// nearest-cell turn that every turned block map and finger buffer samples.
#ifndef KOVRAL_GEOMETRY_H
#define KOVRAL_GEOMETRY_H

#include <kovral.h>

#include "trig/trig.h"

// Axis angle of an upright finger, degrees.
constexpr int UPRIGHT = 90;
// A finger at most this many degrees off upright is cut as a plain window.
constexpr int UPRIGHT_TOLERANCE = 4;
// Fingers at a larger angle are turned by STEEP_TURN only.
constexpr int STEEPEST_ANGLE = 134;
constexpr int STEEP_TURN = 45;
// Cells (blocks of a turned map, pixels of a turned finger) added to each
// turned extent.
constexpr int TURN_MARGIN = 4;

// The turn, in degrees, by which the cut stands a finger of this axis angle
// upright.
inline int CutTurn(int angle)
{
    return angle > STEEPEST_ANGLE ? STEEP_TURN : angle - UPRIGHT;
}

// True when the cut copies the finger as a plain outW x outH window of the
// w x h image rather than turning it: near upright, or a buffer as wide or as
// high as the image.
bool CutAsWindow(int angle, int w, int h, int outW, int outH);

// Start of an n-long window centred on c in a length of size. A window that
// would reach the end starts one position before the last that fits; never
// below 0.
int WindowStart(int c, int n, int size);

// Cosine and sine of a whole-degree turn, scaled by FIXED_ONE.
struct FixedTurn
{
    int c;
    int s;
};

inline FixedTurn FixedTurnOf(int degrees)
{
    return {cosdn(degrees), sindn(degrees)};
}

// The nearest-cell turn: the cell at offset (x, y) from an output centre, y
// growing upward, samples source cell (TurnedColumn, TurnedRow) about the
// source centre (cx, cy). The arithmetic shift rounds toward minus infinity.
inline int TurnedColumn(FixedTurn t, int cx, int x, int y)
{
    return cx + ((t.c * x - t.s * y) >> FIXED_SHIFT);
}

inline int TurnedRow(FixedTurn t, int cy, int x, int y)
{
    return cy - ((t.s * x + t.c * y) >> FIXED_SHIFT);
}

// Where the turn takes source offset (x, y), y upward, scaled by FIXED_ONE:
// the inverse of the sampling above, up to its rounding. Turned extents are
// measured with it.
inline int ForwardX(FixedTurn t, int x, int y)
{
    return t.c * x + t.s * y;
}

inline int ForwardY(FixedTurn t, int x, int y)
{
    return t.c * y - t.s * x;
}

// Corners (top left, top right, bottom left, bottom right; top is the
// fingertip end) in source pixels of the outW x outH buffer of a finger with
// this centre and axis angle, cut from a w x h16 image (h16: the rows that
// take part in a split). A plain window is the exact window copied; a turned
// finger's buffer about its centre, turned as the cut turns it.
void FingerCorners(int w, int h16, int outW, int outH, tagPOINT centre, int angle, tagPOINT corners[4]);

#endif
