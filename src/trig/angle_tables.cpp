// Sine and cosine tables of whole degrees 0..179, filled at load time.
#include "trig/trig.h"

#include <math.h>

namespace {

constexpr int TABLE_SIZE = 180;
constexpr int FULL_TURN = 360;

float g_fSinTab[TABLE_SIZE];
float g_fCosTab[TABLE_SIZE];
int g_nSinTab[TABLE_SIZE];
int g_nCosTab[TABLE_SIZE];

// Rounds v * FIXED_ONE half away from zero, all in single precision.
int ToFixed(float v)
{
    float t = v * static_cast<float>(FIXED_ONE);
    if (t > 0.0f)
        t += 0.5f;
    else if (t < 0.0f)
        t -= 0.5f;
    return static_cast<int>(t);
}

// Looks a up in table with the fold rules: above 180 the value at a - 180 is
// negated; below 0 the value at -a, negated when oddBelowZero (the sine).
template <typename T>
T Fold(const T* table, int a, bool oddBelowZero)
{
    if (a >= FULL_TURN || a <= -HALF_TURN)
        a = (a % FULL_TURN + FULL_TURN) % FULL_TURN;
    if (a >= HALF_TURN) // 180 reads as the negated value at 0
        return -table[a - HALF_TURN];
    if (a < 0)
        return oddBelowZero ? -table[-a] : table[-a];
    return table[a];
}

} // namespace

InitSinCos::InitSinCos()
{
    for (int i = 0; i < TABLE_SIZE; i++) {
        double s = 0.0;
        double c = 1.0;
        if (i != 0)
            sincos((i * PI) / HALF_TURN, &s, &c);
        g_fSinTab[i] = static_cast<float>(s);
        g_fCosTab[i] = static_cast<float>(c);
        // The fixed-point entries come from the float values, not the doubles.
        g_nSinTab[i] = ToFixed(g_fSinTab[i]);
        g_nCosTab[i] = ToFixed(g_fCosTab[i]);
    }
}

InitSinCos g_SinCos;

float sind(int a)
{
    return Fold(g_fSinTab, a, true);
}

float cosd(int a)
{
    return Fold(g_fCosTab, a, false);
}

int sindn(int a)
{
    return Fold(g_nSinTab, a, true);
}

int cosdn(int a)
{
    return Fold(g_nCosTab, a, false);
}
