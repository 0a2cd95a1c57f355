// The labelled working map turned by the fingers' mean angle, in a map large
// enough to hold all of it.
#include "locate/locate.h"
#include "trig/trig.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>

namespace {

// Background blocks added around the turned map's diagonal extents.
constexpr int TURN_MARGIN = 4;

} // namespace

void GetRoatedDrctSize(int bw, int bh, int theta, int& ow, int& oh)
{
    assert(bw > 0 && bh > 0);
    const int s = sindn(theta);
    const int c = cosdn(theta);
    const int cx = bw / 2;
    const int cy = bh / 2;
    const int left = -cx;
    const int right = bw - 1 - cx;
    const int top = cy;
    const int bottom = cy - (bh - 1);
    // Corners turned, scaled by FIXED_ONE (y grows upward).
    auto turnedX = [&](int x, int y) { return c * x + s * y; };
    auto turnedY = [&](int x, int y) { return c * y - s * x; };
    const int spanX = std::max(std::abs(turnedX(left, top) - turnedX(right, bottom)),
                               std::abs(turnedX(right, top) - turnedX(left, bottom)));
    const int spanY = std::max(std::abs(turnedY(left, top) - turnedY(right, bottom)),
                               std::abs(turnedY(right, top) - turnedY(left, bottom)));
    ow = (spanX >> FIXED_SHIFT) + TURN_MARGIN;
    oh = (spanY >> FIXED_SHIFT) + TURN_MARGIN;
}

void RoatedHoleDrct(signed char* work, int bw, int bh, int theta, signed char* out, int ow, int oh)
{
    assert(bw > 0 && bh > 0 && ow > 0 && oh > 0);
    const int s = sindn(theta);
    const int c = cosdn(theta);
    const int cx = bw / 2;
    const int cy = bh / 2;
    const int hx = ow / 2;
    const int hy = oh / 2;
    for (int v = 0; v < oh; v++) {
        const int y = hy - v; // grows upward
        for (int u = 0; u < ow; u++) {
            const int x = u - hx;
            // Arithmetic shifts: the source block is rounded toward minus infinity.
            const int col = cx + ((c * x - s * y) >> FIXED_SHIFT);
            const int row = cy - ((s * x + c * y) >> FIXED_SHIFT);
            const bool inside = col >= 0 && col < bw && row >= 0 && row < bh;
            out[v * ow + u] = inside ? work[row * bw + col] : 0;
        }
    }
}
