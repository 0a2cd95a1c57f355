// A generated slap and a split request read from a fuzz input: fingers at
// fuzzed places, angles and sizes, or a whole hand at a fuzzed tilt, with
// fuzzed noise, contrast, smudge and finger buffer sizes.
//
// Layout, in order (see fuzz_bytes.h):
//   flags u8: bit 0 whole hand, bit 1 smudge, bit 2 middle phalanges,
//             bit 3 right hand
//   w, h, outW, outH u16 folded into the limits; seed u32
//   hand: tilt u8 (-90..90), gap u8 (-1..150, -1 picks one)
//   else: count u8 (% 7), per finger cx, cy, angle, length u16 and width,
//         period u8
//   background, ridge, valley, noise u8 (folded into plausible ranges)
//   smudge x, y u16
#ifndef KOVRAL_SLAP_INPUT_H
#define KOVRAL_SLAP_INPUT_H

#include "fuzz_bytes.h"
#include "slapgen.h"
#include "split_harness.h"

namespace slap_input {

constexpr int MAX_FINGERS_DRAWN = 6;
constexpr int OUTSIDE = 200; // finger centres may lie this far outside the image

// Fills r (sizes, no spoil) and returns the slap, exactly w x h pixels.
inline slapgen::Slap Read(FuzzBytes& in, split_harness::Request& r)
{
    const uint8_t flags = in.U8();
    r.w = in.Range16(KOVRAL_MIN_WIDTH, KOVRAL_MAX_WIDTH);
    r.h = in.Range16(KOVRAL_MIN_HEIGHT, KOVRAL_MAX_HEIGHT);
    r.outW = in.Range16(KOVRAL_MIN_WIDTH, r.w);
    r.outH = in.Range16(KOVRAL_MIN_HEIGHT, r.h);
    const uint32_t seed = in.U32();

    slapgen::SlapSpec plan;
    if (flags & 1) {
        const int tilt = in.Range8(-90, 90);
        const int gap = in.Range8(-1, 150);
        plan = slapgen::FourFingerHand(r.w, r.h, tilt, flags & 8, seed, gap);
    } else {
        plan.width = r.w;
        plan.height = r.h;
        plan.seed = seed;
        plan.fingers.resize(in.U8() % (MAX_FINGERS_DRAWN + 1));
        for (slapgen::Finger& f : plan.fingers) {
            f.cx = in.Range16(-OUTSIDE, r.w + OUTSIDE);
            f.cy = in.Range16(-OUTSIDE, r.h + OUTSIDE);
            f.angle = in.Range16(-180, 360);
            f.length = in.Range16(200, 560);
            f.width = in.Range8(100, 340);
            f.period = in.Range8(5, 16);
        }
    }
    plan.background = in.Range8(150, 255);
    plan.ridge = in.Range8(0, 160);
    plan.valley = in.Range8(80, 255);
    plan.noise = in.Range8(0, 40);
    plan.smudge = flags & 2;
    plan.phalanges = flags & 4;
    plan.smudgeX = in.Range16(-1, r.w);
    plan.smudgeY = in.Range16(-1, r.h);

    slapgen::Slap slap = slapgen::Generate(plan);
    FUZZ_CHECK(slap.width == r.w && slap.height == r.h);
    FUZZ_CHECK(slap.pixels.size() == static_cast<size_t>(r.w) * static_cast<size_t>(r.h));
    slap.pixels.shrink_to_fit(); // exactly w x h bytes, so that a read past them is seen
    return slap;
}

} // namespace slap_input

#endif
