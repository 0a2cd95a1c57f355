// Shortens a region that is too tall for one finger to its upper rows.
#include "locate/locate.h"

#include <algorithm>

namespace {

// A region keeps at most this many block rows ...
constexpr int KEPT_ROWS = 37;
// ... and is cut only when bottom - top reaches this.
constexpr int CUT_SPAN = 38;

} // namespace

void CutLongFpDrct(signed char* map, int w, int h, signed char label, tagRECT& rect)
{
    // 64-bit bounds: rect may hold any values; only rows inside the map are cut.
    if (static_cast<long long>(rect.bottom) - rect.top < CUT_SPAN)
        return;
    const long long first = std::max(static_cast<long long>(rect.top) + KEPT_ROWS, 0LL);
    const long long last = std::min(static_cast<long long>(rect.bottom), h - 1LL);

    // Only cells of this label go; other values in the cut rows stay.
    for (long long y = first; y <= last; y++) {
        signed char* row = map + y * w;
        for (int x = 0; x < w; x++)
            if (row[x] == label)
                row[x] = 0;
    }

    // The new box is measured over the whole map, not just the old box.
    int left = w;
    int right = 0;
    int top = h;
    int bottom = 0;
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++)
            if (map[y * w + x] == label) {
                if (x < left)
                    left = x;
                if (x > right)
                    right = x;
                if (y < top)
                    top = y;
                if (y > bottom)
                    bottom = y;
            }
    rect.left = left;
    rect.top = top;
    rect.right = right;
    rect.bottom = bottom;
}
