// Sine and cosine of whole degrees, from tables filled when the library loads.
#ifndef KOVRAL_TRIG_H
#define KOVRAL_TRIG_H

#include <kovral.h>

constexpr double PI = 3.141592653589793;
constexpr int HALF_TURN = 180; // degrees

// Fixed-point scale of sindn/cosdn: a product with a coordinate comes back to
// coordinate units with an arithmetic shift right by FIXED_SHIFT, which rounds
// toward minus infinity.
constexpr int FIXED_ONE = 2048;
constexpr int FIXED_SHIFT = 11;

// Fills the four angle tables in its constructor; g_SinCos is its only
// instance, so the tables are complete before any exported call.
class KOVRAL_API InitSinCos
{
public:
    InitSinCos();
};

extern KOVRAL_API InitSinCos g_SinCos;

// Sine / cosine of a degrees, pure table lookups. For -179..179 and 181..359:
// above 180 the value at a - 180 is negated; below 0 the sine is negated and
// the cosine kept, at -a. Any other int (180, -180 and below, 360 and above)
// is first reduced modulo 360 into 0..359, and 180 folds to the negated value
// at 0 (sine 0, cosine -1): every int gives the sine and cosine as the tables
// hold them, and no argument reads outside the tables.
KOVRAL_API float sind(int a);
KOVRAL_API float cosd(int a);
// The same scaled by FIXED_ONE and rounded half away from zero from the float
// value.
KOVRAL_API int sindn(int a);
KOVRAL_API int cosdn(int a);

#endif
