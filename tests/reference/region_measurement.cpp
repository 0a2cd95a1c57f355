// Region box, extent and angle search, each column and row scanned on its own.
#include "reference.h"
#include "locate/locate.h"
#include "geometry/geometry.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <new>

namespace {

// The search turns the region by 0, 3, ..., 177 degrees.
constexpr int TURN_STEP = 3;
constexpr int LAST_TURN = 177;
// The previous width starts this far above the first minimum (w), so the
// first turn starts no streak.
constexpr int PREV_WIDTH_MARGIN = 9;
// Angles of turns beyond a quarter are folded back through this value.
constexpr int THREE_QUARTERS = 270;

bool ColumnHolds(const signed char* map, int w, int h, int x, signed char label)
{
    for (int y = 0; y < h; y++)
        if (map[y * w + x] == label)
            return true;
    return false;
}

bool RowHolds(const signed char* map, int w, int y, signed char label)
{
    const signed char* row = map + y * w;
    for (int x = 0; x < w; x++)
        if (row[x] == label)
            return true;
    return false;
}

// Copies map into centred (both w x h, centred cleared) so that cell (mx, my)
// lands on (w / 2, h / 2). Offsets are taken in 64 bits: the box may hold any
// caller values when the label is absent.
void CentreOn(const signed char* map, int w, int h, long long mx, long long my, signed char* centred)
{
    const long long x0 = mx - w / 2;
    const long long y0 = my - h / 2;
    const int spanX = 2 * (w / 2);
    const int spanY = 2 * (h / 2);
    for (int dy = 0; dy < spanY; dy++) {
        const long long y = y0 + dy;
        if (y < 0 || y >= h)
            continue;
        for (int dx = 0; dx < spanX; dx++) {
            const long long x = x0 + dx;
            if (x >= 0 && x < w)
                centred[dy * w + dx] = map[y * w + x];
        }
    }
}

// Cells around the forward-turned box of a region that may sample it: the
// turn's floor rounding moves a sample by less than one cell, the fixed-point
// sine and cosine by far less than another.
constexpr int SAMPLE_MARGIN = 2;

// GetRctXWidth of the map that RoatedDrct would turn by t, without building
// it: only the output cells near the forward-turned box of the label's cells
// (box, in map) can take the label, and each of them samples its source cell
// exactly as the turn does. Same answer, a fraction of the cells visited.
int TurnedXWidth(const signed char* map, int w, int h, signed char label, int t, const tagRECT& box)
{
    const int cx = w / 2;
    const int cy = h / 2;
    const FixedTurn turn = FixedTurnOf(-t);
    // Output position (x, y) of source corner (X, Y): the inverse of the
    // sampling rotation, with y growing upward.
    double xMin = w, xMax = -w, yMin = h, yMax = -h;
    for (int X : {box.left - cx, box.right + 1 - cx})
        for (int Y : {cy - box.top + 1, cy - box.bottom - 1}) {
            const double x = ForwardX(turn, X, Y) / double(FIXED_ONE);
            const double y = ForwardY(turn, X, Y) / double(FIXED_ONE);
            xMin = std::min(xMin, x), xMax = std::max(xMax, x);
            yMin = std::min(yMin, y), yMax = std::max(yMax, y);
        }
    const int col0 = std::max(0, static_cast<int>(std::floor(xMin)) + cx - SAMPLE_MARGIN);
    const int col1 = std::min(w - 1, static_cast<int>(std::ceil(xMax)) + cx + SAMPLE_MARGIN);
    const int row0 = std::max(0, cy - static_cast<int>(std::ceil(yMax)) - SAMPLE_MARGIN);
    const int row1 = std::min(h - 1, cy - static_cast<int>(std::floor(yMin)) + SAMPLE_MARGIN);

    int first = w;
    int last = 0; // column 0 never counts as the last column
    for (int row = row0; row <= row1; row++) {
        const int y = cy - row;
        for (int col = col0; col <= col1; col++) {
            const int x = col - cx;
            const int sx = TurnedColumn(turn, cx, x, y);
            const int sy = TurnedRow(turn, cy, x, y);
            if (sx >= 0 && sx < w && sy >= 0 && sy < h && map[sy * w + sx] == label) {
                first = std::min(first, col);
                last = std::max(last, col);
            }
        }
    }
    return last - first;
}

} // namespace

namespace reference {

void GetHVMinRect(signed char* map, int w, int h, signed char label, tagRECT& rect)
{
    // Each field keeps the caller's value when its scan finds nothing.
    for (int x = 0; x < w; x++)
        if (ColumnHolds(map, w, h, x, label)) {
            rect.left = x;
            break;
        }
    for (int x = w - 1; x >= 1; x--) // column 0 is never the right edge
        if (ColumnHolds(map, w, h, x, label)) {
            rect.right = x;
            break;
        }
    for (int y = 0; y < h; y++)
        if (RowHolds(map, w, y, label)) {
            rect.top = y;
            break;
        }
    for (int y = h - 1; y >= 1; y--) // row 0 is never the bottom edge
        if (RowHolds(map, w, y, label)) {
            rect.bottom = y;
            break;
        }
}

int GetRctXWidth(signed char* map, int w, int h, signed char label)
{
    int first = w;
    for (int x = 0; x < w; x++)
        if (ColumnHolds(map, w, h, x, label)) {
            first = x;
            break;
        }
    int last = 0;
    for (int x = w - 1; x >= 1; x--)
        if (ColumnHolds(map, w, h, x, label)) {
            last = x;
            break;
        }
    return last - first;
}

int GetFpPos(signed char* map, int w, int h, signed char label, tagRECT* rect, bool bGetAngle)
{
    assert(w > 0 && h > 0);
    reference::GetHVMinRect(map, w, h, label, *rect);
    if (rect->left >= rect->right || !bGetAngle)
        return UPRIGHT;

    const std::size_t cells = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    signed char* centred = new (std::nothrow) signed char[cells];
    if (centred == nullptr)
        return UPRIGHT; // without a work map the box stands and the region counts as upright
    std::memset(centred, 0, cells);
    const long long mx = (static_cast<long long>(rect->left) + rect->right) / 2;
    const long long my = (static_cast<long long>(rect->top) + rect->bottom) / 2;
    CentreOn(map, w, h, mx, my, centred);
    tagRECT box{};
    reference::GetHVMinRect(centred, w, h, label, box);

    // Narrowest turn; ties go to the later turn. run grows by 3 for every turn
    // that reaches the running minimum right after another one did.
    int minWidth = w;
    int prevWidth = w + PREV_WIDTH_MARGIN;
    int run = 0;
    int best = UPRIGHT;
    for (int t = 0; t <= LAST_TURN; t += TURN_STEP) {
        const int width
            = t == 0 ? reference::GetRctXWidth(centred, w, h, label) : TurnedXWidth(centred, w, h, label, t, box);
        if (width <= minWidth) {
            run = (minWidth == prevWidth) ? run + TURN_STEP : 0;
            minWidth = width;
            best = t;
        } else {
            run = 0;
        }
        prevWidth = width;
    }
    delete[] centred;

    // Only a streak that lasts to the last turn survives; it pulls best back.
    if (run != 0)
        best -= run / 2;
    return best > UPRIGHT ? THREE_QUARTERS - best : UPRIGHT - best;
}

} // namespace reference
