// Synthetic 500 ppi slap images with known fingers, for tests, benchmarks and
// the demo. Deterministic: the same spec always gives the same bytes.
#ifndef KOVRAL_SLAPGEN_H
#define KOVRAL_SLAPGEN_H

#include <cstdint>
#include <vector>

namespace slapgen {

struct Finger
{
    int cx = 0;           // centre of the fingertip, pixels
    int cy = 0;
    int angle = 90;       // axis angle in degrees, 90 upright, below 90 leaning right
    int width = 220;      // fingertip width, pixels (about 180..260)
    int length = 380;     // fingertip length, pixels (about 300..450)
    int period = 9;       // ridge period, pixels (about 8..11)
};

struct SlapSpec
{
    int width = 1600;
    int height = 1000;
    std::vector<Finger> fingers;   // any order; truth comes back left to right
    uint32_t seed = 1;
    int background = 225;          // platen gray (about 200..245)
    int ridge = 60;                // ridge gray (about 30..90)
    int valley = 190;              // valley gray inside the finger
    int noise = 4;                 // amplitude of uniform noise, gray levels
    bool smudge = false;           // a dark untextured blot below the fingers
};

struct Truth
{
    int cx, cy, angle;
    int left, top, right, bottom;  // box of the fingertip, right/bottom one past
};

struct Slap
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;   // width x height, row-major
    std::vector<Truth> truth;      // left to right by cx
};

// Draws the slap described by spec.
Slap Generate(const SlapSpec& spec);

// A four-finger hand, fingertips reaching highest in the middle, turned by
// tilt degrees about the image centre (positive tilts lean the fingers'
// upper ends to the left, i.e. angles above 90). rightHand mirrors the
// finger lengths (the little finger on the left).
SlapSpec FourFingerHand(int width, int height, int tilt, bool rightHand, uint32_t seed);

// Writes / reads a binary PGM (P5, maxval 255). Return false on failure.
bool WritePgm(const char* path, const Slap& slap);

} // namespace slapgen

#endif
