// Shrink, grow and blank fill of the regions of a block map, in place.
#include "compat/compat.h"

#include <cassert>

namespace {

// Marks a block that the shrink clears at the end; not 0, so a marked block
// does not make its neighbours background.
constexpr signed char SHRINK_MARK = 120;

// True when (x, y) lies in the w x h map and holds exactly 0. A neighbour
// outside the map never counts, which only matters for maps one block high or
// wide.
bool IsZeroAt(const signed char* map, int w, int h, int x, int y)
{
    return x >= 0 && x < w && y >= 0 && y < h && map[y * w + x] == 0;
}

void MarkIf(signed char* map, int w, int x, int y, bool hasZeroNeighbour)
{
    signed char& v = map[y * w + x];
    if (v > 0 && hasZeroNeighbour)
        v = SHRINK_MARK;
}

} // namespace

void DrctSuojin(signed char* map, int w, int h)
{
    if (w <= 0 || h <= 0)
        return;
    assert(map != nullptr);
    auto zero = [&](int x, int y) { return IsZeroAt(map, w, h, x, y); };

    if (h > 2 && w > 2)
        for (int y = 1; y < h - 1; y++)
            for (int x = 1; x < w - 1; x++)
                MarkIf(map, w, x, y, zero(x - 1, y) || zero(x + 1, y) || zero(x, y + 1) || zero(x, y - 1));

    // Edges without their corners. Maps one or two blocks wide skip this step,
    // so the side blocks of their rows 1..h-2 are never cleared.
    if (w > 2) {
        for (int x = 1; x < w - 1; x++) {
            MarkIf(map, w, x, 0, zero(x - 1, 0) || zero(x + 1, 0) || zero(x, 1));
            MarkIf(map, w, x, h - 1, zero(x - 1, h - 1) || zero(x + 1, h - 1) || zero(x, h - 2));
        }
        for (int y = 1; y < h - 1; y++) {
            MarkIf(map, w, 0, y, zero(1, y) || zero(0, y + 1) || zero(0, y - 1));
            MarkIf(map, w, w - 1, y, zero(w - 2, y) || zero(w - 1, y + 1) || zero(w - 1, y - 1));
        }
    }

    MarkIf(map, w, 0, 0, zero(1, 0) || zero(0, 1));
    MarkIf(map, w, w - 1, 0, zero(w - 2, 0) || zero(w - 1, 1));
    MarkIf(map, w, 0, h - 1, zero(1, h - 1) || zero(0, h - 2));
    MarkIf(map, w, w - 1, h - 1, zero(w - 2, h - 1) || zero(w - 1, h - 2));

    // Resolve the marks; a block that held the mark value on entry goes too.
    const int cells = w * h;
    for (int i = 0; i < cells; i++)
        if (map[i] == SHRINK_MARK)
            map[i] = 0;
}

void DrctKuozhan(signed char* map, int w, int h)
{
    if (w <= 0 || h <= 0)
        return;
    assert(map != nullptr);

    // Grown blocks hold the negated value of their source, so they do not grow
    // in turn; later writes replace earlier ones, which gives a background
    // block between regions the value of its lower, else right, else left,
    // else upper neighbour.
    const int neighbours[4] = {-1, 1, -w, w}; // left, right, upper, lower
    if (h > 2 && w > 2)
        for (int y = 1; y < h - 1; y++)
            for (int x = 1; x < w - 1; x++) {
                signed char* p = map + y * w + x;
                const signed char v = *p;
                if (v <= 0 || (p[-1] > 0 && p[1] > 0 && p[-w] > 0 && p[w] > 0))
                    continue;
                const auto grown = static_cast<signed char>(-v);
                for (const int offset : neighbours)
                    if (p[offset] <= 0)
                        p[offset] = grown;
            }

    // Every negative block of the map, including one negative on entry.
    const int cells = w * h;
    for (int i = 0; i < cells; i++)
        if (map[i] < 0)
            map[i] = static_cast<signed char>(-map[i]);
}

void DelDrctBlank(signed char* map, short w, short h, tagRECT& rect)
{
    if (rect.left <= 0)
        rect.left = 1;
    if (rect.top <= 0)
        rect.top = 1;
    if (rect.right >= w - 2)
        rect.right = w - 3;
    if (rect.bottom >= h - 2)
        rect.bottom = h - 3;
    // After the clamping a non-empty rectangle needs w and h of 4 or more, and
    // every block read (one left, two right, one up, two down) lies in the map.
    if (rect.bottom < rect.top || rect.right < rect.left)
        return;
    assert(map != nullptr && rect.right + 2 < w && rect.bottom + 2 < h);

    const int stride = w;
    for (int y = rect.top; y <= rect.bottom; y++)
        for (int x = rect.left; x <= rect.right; x++) {
            signed char* p = map + y * stride + x;
            if (*p != 0)
                continue;
            // A block filled earlier counts as the left or upper neighbour of later ones.
            if (p[-1] > 0 && p[2] > 0)
                *p = static_cast<signed char>((p[-1] + p[2]) >> 1);
            else if (p[-stride] > 0 && p[2 * stride] > 0)
                *p = static_cast<signed char>((p[-stride] + p[2 * stride]) >> 1);
        }
}
