// Fingers cut about centres given by the caller (the accurate locator's):
// the finger buffer's middle lies on the centre, turned upright by the cut's
// turn, so that FingerCorners describes exactly what was cut.
#include "extract/extract.h"
#include "geometry/geometry.h"

#include <cstddef>

namespace {

constexpr int BILINEAR_SHIFT = 2 * FIXED_SHIFT;

std::size_t Area(int w, int h)
{
    return static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
}

// Cell (x, y) from the buffer's middle, y upward, samples the source at the
// turned position by bilinear interpolation; positions whose four neighbours
// are not all inside the image get bkGray.
void TurnAbout(const unsigned char* img, int w, int h, tagPOINT centre, FixedTurn t, unsigned char bkGray,
               unsigned char* out, int outW, int outH)
{
    for (int row = 0; row < outH; row++) {
        const int y = outH / 2 - row;
        unsigned char* cells = out + Area(outW, row);
        for (int col = 0; col < outW; col++) {
            const int x = col - outW / 2;
            const int u = FIXED_ONE * centre.x + t.c * x - t.s * y;
            const int v = FIXED_ONE * centre.y - (t.s * x + t.c * y);
            const int sx = u >> FIXED_SHIFT;
            const int sy = v >> FIXED_SHIFT;
            if (sx < 0 || sx >= w - 1 || sy < 0 || sy >= h - 1) {
                cells[col] = bkGray;
                continue;
            }
            const int fx = u - FIXED_ONE * sx;
            const int fy = v - FIXED_ONE * sy;
            const unsigned char* p = img + Area(w, sy) + sx;
            const int e = (p[0] * (FIXED_ONE - fx) + p[1] * fx) * (FIXED_ONE - fy)
                + (p[w] * (FIXED_ONE - fx) + p[w + 1] * fx) * fy;
            cells[col] = static_cast<unsigned char>(e >> BILINEAR_SHIFT);
        }
    }
}

} // namespace

void CutFingersAbout(const unsigned char* img, int w, int h16, int count, const tagPOINT* centres, const int* angles,
                     unsigned char bkGray, unsigned char** outBufs, int outW, int outH)
{
    for (int i = 0; i < count; i++) {
        if (CutAsWindow(angles[i], w, h16, outW, outH)) {
            const int x0 = WindowStart(centres[i].x, outW, w);
            const int y0 = WindowStart(centres[i].y, outH, h16);
            CutImageBuf(outBufs[i], outW, outH, const_cast<unsigned char*>(img), x0, y0, w, h16);
            continue;
        }
        TurnAbout(img, w, h16, centres[i], FixedTurnOf(CutTurn(angles[i])), bkGray, outBufs[i], outW, outH);
    }
}
