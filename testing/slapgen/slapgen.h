// Synthetic 500 ppi slap images with known fingers, for tests, benchmarks and
// the demo. Deterministic: the same plan always gives the same bytes (own
// random generator and sine; no C library randomness or transcendentals).
//
// Conventions
// - Image coordinates: x to the right, y downward, row 0 at the top.
// - Finger axis angle in whole degrees, counter-clockwise from the horizontal
//   as the image is viewed: 90 is upright (fingertip up), below 90 the upper
//   end leans to the right, above 90 to the left. The upper end of a finger
//   at angle a lies in the direction (cos a, -sin a) from its centre.
// - A fingertip is an elongated rounded shape: a rounded top, nearly parallel
//   sides and a lower end that fades out at the crease to the middle
//   phalanx. Its centre (cx, cy) is the middle of its axis; it reaches
//   length / 2 towards the tip and length / 2 towards the crease.
// - Ridges: a smooth sinusoidal profile, dark ridges of gray `ridge` between
//   light valleys of gray `valley`, with ink breaks, pores and a slight
//   wiggle, flowing in whorls, loops or arches around a core inside the
//   fingertip, turned with the finger; the flow, the core and the ink follow
//   from seed and the finger's place in the list. A 16 x 16 block inside a
//   fingertip has dozens of pixel pairs two apart that differ by 21 or more;
//   the background has none as long as noise is 10 or less, the smudge none
//   as long as noise is 5 or less.
// - Size: a fingertip makes a ridge region of about width x length / 270
//   blocks of 16 x 16; below about 110 x 200 pixels it falls under 82 blocks.
// - Contrast: the defaults (ridge 60, valley 190) give clear texture. With
//   ridge 170 and valley 190 (noise 4) the fingertips are faint gray shapes
//   whose blocks show no ridge texture to a two-apart difference test of 21;
//   ridge 150 leaves a scattered fifth of their blocks textured, ridge 120
//   with valley 175 about two thirds (at that contrast ridges running within
//   about 30 degrees of the horizontal give too few across-pairs).
// - Hands: a slap is viewed as the scanner sees it, palm down. In a
//   right-hand slap the index finger is leftmost and the little finger
//   rightmost; a left-hand slap mirrors it (little finger leftmost). The
//   middle finger reaches highest, the little finger lowest and is the
//   shortest. So in an untilted right hand the topmost finger lies left of
//   the bottommost one, in a left hand right of it.
#ifndef KOVRAL_SLAPGEN_H
#define KOVRAL_SLAPGEN_H

#include <cstdint>
#include <vector>

namespace slapgen {

struct Finger
{
    int cx = 0; // centre of the fingertip, pixels
    int cy = 0;
    int angle = 90;   // axis angle in degrees, 90 upright, below 90 leaning right
    int width = 220;  // fingertip width, pixels (about 180..260)
    int length = 380; // fingertip length, pixels (about 300..450)
    int period = 9;   // ridge period, pixels (about 8..11)
};

struct SlapSpec
{
    int width = 1600;
    int height = 1000;
    std::vector<Finger> fingers; // any order; truth comes back left to right; later ones cover earlier ones
    uint32_t seed = 1;           // ridge flow, ink and noise; the fingers' places and sizes are the plan's
    int background = 225;        // platen gray (about 200..245)
    int ridge = 60;              // ridge gray (about 30..90)
    int valley = 190;            // valley gray inside the finger
    int noise = 4;               // amplitude of uniform noise over the whole image, gray levels
    bool smudge = false;         // a dark untextured blot, with soft edges, drawn under the fingers
    int smudgeX = -1;            // its centre; either negative: centred under the fingers, half-way
    int smudgeY = -1;            // between their lowest reach and the bottom edge
    bool phalanges = false;      // also draw each finger's middle phalanx below the crease (not in the truth)
    int dry = 0;                 // 0..100: a dry print, ridges broken into more and longer ink breaks
    int wet = 0;                 // 0..100: a wet print, ink spreading from the ridges into the valleys
};

struct Truth
{
    int cx, cy, angle;            // as in the plan
    int left, top, right, bottom; // box of the fingertip, right/bottom one past; all 0 when it lies outside
};

struct Slap
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels; // width x height, row-major
    std::vector<Truth> truth;    // left to right by cx (ties: top to bottom by cy)
};

// Draws the slap described by plan. Truth boxes are the axis-aligned bounds,
// clipped to the image, of the pixels that the fingertip covers at least half
// (the soft rim and the fade at the crease count half-way).
Slap Generate(const SlapSpec& plan);

// A plausible four-finger hand (index, middle, ring, little) on a width x
// height image, every finger at angle 90 + tilt, turned by tilt degrees about
// the hand's centre (positive tilts lean the upper ends to the left) and
// centred in the image. rightHand puts the index finger leftmost, otherwise
// the little finger is leftmost. The fingers keep a gap of gap pixels across
// their axes (0: touching, negative: overlapping; -1 picks about 50..80).
// Fingertips are about 185..225 wide and 330..420 long; the whole hand fits
// inside the image with a margin, shrunk where the image is too small for it
// (it keeps full size upright from about 1120 x 700, at tilt 15 in 1600 x 1000).
// Sizes and places vary a little with seed. The fingers are listed left to
// right as the upright hand has them (so also for moderate tilts), with ridge
// periods of 9 or 10; every other field of the plan keeps its default.
SlapSpec FourFingerHand(int width, int height, int tilt, bool rightHand, uint32_t seed, int gap = -1);

// Writes a binary PGM (P5, maxval 255). Returns false on failure.
bool WritePgm(const char* path, const Slap& slap);

// Reads a binary PGM (P5, maxval 255, comment lines allowed) into pixels,
// width and height; truth is left empty. Returns false on failure.
bool ReadPgm(const char* path, Slap& slap);

} // namespace slapgen

#endif
