// Bounding box, horizontal extent and axis angle of one labelled region.
#include "locate/locate.h"
#include "geometry/geometry.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <emmintrin.h>

namespace {

// The search turns the region by 0, 3, ..., 177 degrees.
constexpr int TURN_STEP = 3;
constexpr int LAST_TURN = 177;
// The previous width starts this far above the first minimum (w), so the
// first turn starts no streak.
constexpr int PREV_WIDTH_MARGIN = 9;
// Angles of turns beyond a quarter are folded back through this value.
constexpr int THREE_QUARTERS = 270;

// First and last column of one row holding label, sixteen cells at a time;
// false when the row holds none.
bool RowExtent(const signed char* row, int w, signed char label, int& first, int& last)
{
    const __m128i wanted = _mm_set1_epi8(label);
    const auto matches = [&](int x) {
        return _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x)), wanted));
    };
    int x = 0;
    first = -1;
    for (; x + 16 <= w && first < 0; x += 16)
        if (const int m = matches(x))
            first = x + __builtin_ctz(m);
    for (; x < w && first < 0; x++)
        if (row[x] == label)
            first = x;
    if (first < 0)
        return false;
    // From the end back towards first.
    for (x = w; x - 16 >= first;) {
        x -= 16;
        if (const int m = matches(x)) {
            last = x + 31 - __builtin_clz(static_cast<unsigned>(m));
            return true;
        }
    }
    for (last = x - 1; row[last] != label; last--) {
    }
    return true;
}

// The extremes of label's cells in the w x h map; top < 0 when there is none.
struct Extent
{
    int left, right, top, bottom;
};

Extent ExtentOf(const signed char* map, int w, int h, signed char label)
{
    Extent e{w, -1, -1, -1};
    for (int y = 0; y < h; y++) {
        int first, last;
        if (!RowExtent(map + static_cast<std::ptrdiff_t>(y) * w, w, label, first, last))
            continue;
        if (e.top < 0)
            e.top = y;
        e.bottom = y;
        e.left = std::min(e.left, first);
        e.right = std::max(e.right, last);
    }
    return e;
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
    // The columns dx of the span whose source x0 + dx lies in 0 .. w - 1.
    const long long dxFrom = std::max(0LL, -x0);
    const long long dxTo = std::min<long long>(spanX, w - x0);
    if (dxFrom >= dxTo)
        return;
    for (int dy = 0; dy < spanY; dy++) {
        const long long y = y0 + dy;
        if (y < 0 || y >= h)
            continue;
        std::memcpy(centred + dy * w + dxFrom, map + y * w + x0 + dxFrom, static_cast<std::size_t>(dxTo - dxFrom));
    }
}

// Floor of p / q for q > 0.
long long FloorDiv(long long p, long long q)
{
    return p >= 0 ? p / q : -((q - 1 - p) / q);
}

// Narrows [from, to] (inclusive) to the r where lo <= a + d r < hi.
void KeepWithin(long long a, long long d, long long lo, long long hi, int& from, int& to)
{
    long long first, last;
    if (d > 0) {
        first = -FloorDiv(a - lo, d); // ceil((lo - a) / d)
        last = FloorDiv(hi - 1 - a, d);
    } else if (d < 0) {
        first = -FloorDiv(hi - 1 - a, -d); // ceil((a - hi + 1) / -d)
        last = FloorDiv(a - lo, -d);
    } else {
        if (a < lo || a >= hi)
            to = from - 1;
        return;
    }
    const long long kept0 = std::max<long long>(from, first);
    const long long kept1 = std::min<long long>(to, last);
    if (kept0 > kept1) {
        to = from - 1;
        return;
    }
    from = static_cast<int>(kept0);
    to = static_cast<int>(kept1);
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

    // Column by column from each side, only the rows whose sample lands in
    // the box (a run found by division, the sample moving linearly down a
    // column): the first column with a hit from the left is first, from the
    // right last.
    const long long boxLeft = static_cast<long long>(FIXED_ONE) * (box.left - cx);
    const long long boxRight = static_cast<long long>(FIXED_ONE) * (box.right + 1 - cx);
    const long long boxBelow = static_cast<long long>(FIXED_ONE) * (cy - box.bottom);
    const long long boxAbove = static_cast<long long>(FIXED_ONE) * (cy - box.top + 1);
    const auto columnHolds = [&](int col) {
        const int x = col - cx;
        int from = row0;
        int to = row1;
        // Unshifted sample offsets at row r (y = cy - r): t.c x - t.s y grows
        // by t.s per row, t.s x + t.c y falls by t.c.
        KeepWithin(static_cast<long long>(turn.c) * x - static_cast<long long>(turn.s) * cy, turn.s, boxLeft,
                   boxRight, from, to);
        KeepWithin(static_cast<long long>(turn.s) * x + static_cast<long long>(turn.c) * cy, -turn.c, boxBelow,
                   boxAbove, from, to);
        for (int row = from; row <= to; row++) {
            const int y = cy - row;
            const int sx = TurnedColumn(turn, cx, x, y);
            const int sy = TurnedRow(turn, cy, x, y);
            assert(sx >= box.left && sx <= box.right && sy >= box.top && sy <= box.bottom);
            if (map[sy * w + sx] == label)
                return true;
        }
        return false;
    };
    int first = w;
    for (int col = col0; col <= col1; col++)
        if (columnHolds(col)) {
            first = col;
            break;
        }
    int last = 0; // column 0 never counts as the last column
    for (int col = col1; col >= std::max(first, 1); col--)
        if (columnHolds(col)) {
            last = col;
            break;
        }
    return last - first;
}

} // namespace

void GetHVMinRect(signed char* map, int w, int h, signed char label, tagRECT& rect)
{
    // Each field keeps the caller's value when no cell counts for it; column
    // 0 is never the right edge, row 0 never the bottom.
    const Extent e = ExtentOf(map, w, h, label);
    if (e.top < 0)
        return;
    rect.left = e.left;
    rect.top = e.top;
    if (e.right >= 1)
        rect.right = e.right;
    if (e.bottom >= 1)
        rect.bottom = e.bottom;
}

int GetRctXWidth(signed char* map, int w, int h, signed char label)
{
    // Column w as the first when there is none; column 0 never the last.
    const Extent e = ExtentOf(map, w, h, label);
    return std::max(e.right, 0) - e.left;
}

int GetFpPos(signed char* map, int w, int h, signed char label, tagRECT* rect, bool bGetAngle)
{
    WorkMemory memory(WorkMemory::ONE_OFF);
    return MeasureRegion(map, w, h, label, rect, bGetAngle, memory);
}

int MeasureRegion(signed char* map, int w, int h, signed char label, tagRECT* rect, bool bGetAngle,
                  WorkMemory& memory)
{
    assert(w > 0 && h > 0);
    GetHVMinRect(map, w, h, label, *rect);
    if (rect->left >= rect->right || !bGetAngle)
        return UPRIGHT;

    const std::size_t cells = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    WorkLease<signed char> lease(memory, WorkBuffer::CentredMap, cells);
    if (!lease)
        return UPRIGHT; // without a work map the box stands and the region counts as upright
    signed char* centred = lease.get();
    std::memset(centred, 0, cells);
    const long long mx = (static_cast<long long>(rect->left) + rect->right) / 2;
    const long long my = (static_cast<long long>(rect->top) + rect->bottom) / 2;
    CentreOn(map, w, h, mx, my, centred);
    tagRECT box{};
    GetHVMinRect(centred, w, h, label, box);

    // Narrowest turn; ties go to the later turn. run grows by 3 for every turn
    // that reaches the running minimum right after another one did.
    int minWidth = w;
    int prevWidth = w + PREV_WIDTH_MARGIN;
    int run = 0;
    int best = UPRIGHT;
    for (int t = 0; t <= LAST_TURN; t += TURN_STEP) {
        const int width = t == 0 ? GetRctXWidth(centred, w, h, label) : TurnedXWidth(centred, w, h, label, t, box);
        if (width <= minWidth) {
            run = (minWidth == prevWidth) ? run + TURN_STEP : 0;
            minWidth = width;
            best = t;
        } else {
            run = 0;
        }
        prevWidth = width;
    }

    // Only a streak that lasts to the last turn survives; it pulls best back.
    if (run != 0)
        best -= run / 2;
    return best > UPRIGHT ? THREE_QUARTERS - best : UPRIGHT - best;
}
