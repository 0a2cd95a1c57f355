// The plain window of a finger and the corners of what a cut covers.
#include "geometry/geometry.h"

#include <cstdlib>

bool CutAsWindow(int angle, int w, int h, int outW, int outH)
{
    return std::abs(CutTurn(angle)) <= UPRIGHT_TOLERANCE || w == outW || h == outH;
}

int WindowStart(int c, int n, int size)
{
    int start = c - n / 2;
    if (start < 0)
        return 0;
    if (start >= size - n) {
        start = size - n - 1;
        if (start < 0)
            start = 0;
    }
    return start;
}

void FingerCorners(int w, int h16, int outW, int outH, tagPOINT centre, int angle, tagPOINT corners[4])
{
    if (CutAsWindow(angle, w, h16, outW, outH)) {
        const int x0 = WindowStart(centre.x, outW, w);
        const int y0 = WindowStart(centre.y, outH, h16);
        corners[0] = {x0, y0};
        corners[1] = {x0 + outW, y0};
        corners[2] = {x0, y0 + outH};
        corners[3] = {x0 + outW, y0 + outH};
        return;
    }
    // The buffer's cell (x, y) from its middle, y upward, takes the source
    // pixel the turn gives; the corners are the outer edges of its corner cells.
    const FixedTurn t = FixedTurnOf(CutTurn(angle));
    const int left = -(outW / 2);
    const int right = outW - outW / 2;
    const int top = outH / 2;
    const int bottom = top - outH;
    const int xs[4] = {left, right, left, right};
    const int ys[4] = {top, top, bottom, bottom};
    for (int i = 0; i < 4; i++)
        corners[i] = {TurnedColumn(t, centre.x, xs[i], ys[i]), TurnedRow(t, centre.y, xs[i], ys[i])};
}
