// Labelling of the 4-connected ridge regions of a block map, one region at a
// time, by alternating raster passes.
#include "locate/locate.h"

#include <cassert>

namespace {

// Values of ridge blocks that belong to no region yet.
constexpr signed char FIRST_RIDGE = 1;
constexpr signed char LAST_RIDGE = 8;

// Blocks a region must add to its seed to be kept: 82 to 1600 blocks in all.
constexpr int MIN_ADDED = 81;
constexpr int MAX_ADDED = 1599;

bool IsRidge(signed char v)
{
    return v >= FIRST_RIDGE && v <= LAST_RIDGE;
}

// Any label counts, not only the one being grown.
bool IsLabel(signed char v)
{
    return v >= FIRST_LABEL;
}

// Finds the next seed at or after (y, x) in row-major order; column 0 is never
// a seed. Returns false when there is none.
bool FindSeed(const signed char* map, int bw, int bh, int& y, int& x)
{
    for (; y < bh; y++, x = 1)
        for (; x < bw; x++)
            if (IsRidge(map[y * bw + x]))
                return true;
    return false;
}

// Rows 1.. top to bottom, columns 1.. left to right: a ridge block joins when
// its upper or left neighbour holds a label. Row 0 and column 0 are never
// visited. Returns the number of blocks that joined.
int ForwardPass(signed char* map, int bw, int bh, signed char label)
{
    int added = 0;
    for (int y = 1; y < bh; y++) {
        signed char* row = map + y * bw;
        for (int x = 1; x < bw; x++)
            if (IsRidge(row[x]) && (IsLabel(row[x - bw]) || IsLabel(row[x - 1]))) {
                row[x] = label; // counts for the blocks right of and below it
                added++;
            }
    }
    return added;
}

// Whole map bottom to top, right to left: a ridge block joins when its lower or
// right neighbour (where there is one) holds a label. Returns the number of
// blocks that joined.
int BackwardPass(signed char* map, int bw, int bh, signed char label)
{
    int added = 0;
    for (int y = bh - 1; y >= 0; y--) {
        signed char* row = map + y * bw;
        for (int x = bw - 1; x >= 0; x--)
            if (IsRidge(row[x]) && ((y + 1 < bh && IsLabel(row[x + bw])) || (x + 1 < bw && IsLabel(row[x + 1])))) {
                row[x] = label; // counts for the blocks left of and above it
                added++;
            }
    }
    return added;
}

// Grows the region of a freshly labelled seed; returns the blocks added to it.
// A map of one row has no rows for the forward pass, so nothing joins.
int GrowRegion(signed char* map, int bw, int bh, signed char label)
{
    int added = 0;
    for (;;) {
        const int forward = ForwardPass(map, bw, bh, label);
        if (forward == 0)
            break; // the backward pass does not run after an empty forward pass
        added += forward;
        const int backward = BackwardPass(map, bw, bh, label);
        if (backward == 0)
            break;
        added += backward;
    }
    return added;
}

void EraseLabel(signed char* map, int cells, signed char label)
{
    for (int i = 0; i < cells; i++)
        if (map[i] == label)
            map[i] = 0;
}

} // namespace

int SetHole(signed char* map, int bw, int bh)
{
    if (bw <= 0 || bh <= 0)
        return 0;
    assert(map != nullptr);

    int kept = 0;
    int label = FIRST_LABEL;
    // No block ever becomes a ridge block again, so each seed search resumes at
    // the previous seed instead of the top of the map.
    int seedY = 0;
    int seedX = 1;
    while (label <= LAST_LABEL && FindSeed(map, bw, bh, seedY, seedX)) {
        const auto current = static_cast<signed char>(label);
        map[seedY * bw + seedX] = current;
        const int added = GrowRegion(map, bw, bh, current);
        if (added >= MIN_ADDED && added <= MAX_ADDED) {
            kept++;
            label++;
        } else {
            EraseLabel(map, bw * bh, current); // the label is reused by the next region
        }
    }

    // Corner fix: the corner block copies its right neighbour when that one and
    // the block below the corner are both positive, whatever the corner held.
    if (bw >= 2 && bh >= 2 && map[bw] > 0 && map[1] > 0)
        map[0] = map[1];
    return kept;
}
