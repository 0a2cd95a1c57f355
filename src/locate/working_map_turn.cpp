// The labelled working map turned by the fingers' mean angle, in a map large
// enough to hold all of it.
#include "locate/locate.h"
#include "geometry/geometry.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdlib>

void GetRoatedDrctSize(int bw, int bh, int theta, int& ow, int& oh)
{
    assert(bw > 0 && bh > 0);
    const FixedTurn t = FixedTurnOf(theta);
    const int cx = bw / 2;
    const int cy = bh / 2;
    const int left = -cx;
    const int right = bw - 1 - cx;
    const int top = cy;
    const int bottom = cy - (bh - 1);
    // Corners turned, scaled by FIXED_ONE (y grows upward).
    const int spanX = std::max(std::abs(ForwardX(t, left, top) - ForwardX(t, right, bottom)),
                               std::abs(ForwardX(t, right, top) - ForwardX(t, left, bottom)));
    const int spanY = std::max(std::abs(ForwardY(t, left, top) - ForwardY(t, right, bottom)),
                               std::abs(ForwardY(t, right, top) - ForwardY(t, left, bottom)));
    ow = (spanX >> FIXED_SHIFT) + TURN_MARGIN;
    oh = (spanY >> FIXED_SHIFT) + TURN_MARGIN;
}

std::size_t TurnedMapCells(int bw, int bh)
{
    // The mean angle of regions measured at 0..179 degrees, less upright.
    std::size_t most = 0;
    for (int theta = -UPRIGHT; theta < UPRIGHT; theta++) {
        int ow = 0;
        int oh = 0;
        GetRoatedDrctSize(bw, bh, theta, ow, oh);
        most = std::max(most, static_cast<std::size_t>(ow) * static_cast<std::size_t>(oh));
    }
    return most;
}

void RoatedHoleDrct(signed char* work, int bw, int bh, int theta, signed char* out, int ow, int oh)
{
    assert(bw > 0 && bh > 0 && ow > 0 && oh > 0);
    const FixedTurn t = FixedTurnOf(theta);
    const int cx = bw / 2;
    const int cy = bh / 2;
    const int hx = ow / 2;
    const int hy = oh / 2;
    for (int v = 0; v < oh; v++) {
        const int y = hy - v; // grows upward
        for (int u = 0; u < ow; u++) {
            const int x = u - hx;
            const int col = TurnedColumn(t, cx, x, y);
            const int row = TurnedRow(t, cy, x, y);
            const bool inside = col >= 0 && col < bw && row >= 0 && row < bh;
            out[v * ow + u] = inside ? work[row * bw + col] : 0;
        }
    }
}
