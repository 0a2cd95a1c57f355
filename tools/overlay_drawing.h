// A picture of what a split found: the slap reduced to at most 800 pixels
// wide, with every finger's cut-out box, centre, axis and position drawn on it.
#ifndef KOVRAL_TOOLS_OVERLAY_DRAWING_H
#define KOVRAL_TOOLS_OVERLAY_DRAWING_H

#include "image_decoding.h"

#include <cstdint>
#include <vector>

namespace kovral_tool {

inline constexpr int kOverlayMaxWidth = 800;

struct RgbImage
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels; // width x height x 3, row-major
};

struct FingerMark
{
    int x = 0; // centre in slap pixels
    int y = 0;
    int angle = 90;   // axis, degrees, 90 upright, below 90 leaning right
    int position = 1; // 1.. left to right
};

// The box is where the finger image came from, as kovral_finger_corners
// gives it: a fingerW x fingerH window for a finger cut without turning,
// otherwise a box of that size about the centre, turned as the finger was
// turned upright. The axis points to the fingertip.
RgbImage DrawOverlay(const GrayImage& slap, const std::vector<FingerMark>& fingers, int fingerW, int fingerH);

} // namespace kovral_tool

#endif
