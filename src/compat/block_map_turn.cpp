// Nearest-cell turn of a block map about its centre cell, into a map of the
// same size.
#include "compat/compat.h"
#include "geometry/geometry.h"

#include <cassert>
#include <cstddef>
#include <cstring>

void RoatedDrct(signed char* map, int w, int h, signed char /*label*/, tagRECT& /*rect*/, int angle, signed char* out)
{
    assert(w > 0 && h > 0);
    const std::size_t cells = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    if (angle == 0) {
        std::memcpy(out, map, cells);
        return;
    }
    std::memset(out, 0, cells);
    const int cx = w / 2;
    const int cy = h / 2;
    const FixedTurn t = FixedTurnOf(-angle);
    for (int row = 0; row < h; row++) {
        const int y = cy - row; // grows upward
        for (int col = 0; col < w; col++) {
            const int x = col - cx;
            const int sx = TurnedColumn(t, cx, x, y);
            const int sy = TurnedRow(t, cy, x, y);
            if (sx >= 0 && sx < w && sy >= 0 && sy < h)
                out[row * w + col] = map[sy * w + sx];
        }
    }
}
