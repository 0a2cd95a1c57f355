// Repairs of single missing blocks and short notches in the labelled working
// map, in place and in scan order.
#include "locate/locate.h"

#include <algorithm>
#include <cassert>

namespace {

// Notch closing visits rows 0..bh - NOTCH_TAIL_ROWS and searches downward no
// further than that row either, so the last NOTCH_TAIL_ROWS rows are never closed.
constexpr int NOTCH_TAIL_ROWS = 13;
// Farthest the label may resume to the right of the notch start a: a gap of
// one to four blocks.
constexpr int MAX_NOTCH_SPAN = 5;
// The upward search stops at this row; rows above it are never examined.
constexpr int NOTCH_TOP_SEARCH_ROW = 1;

// First column a >= 1 holding label and followed by a block that does not;
// -1 when there is none.
int FindNotchStart(const signed char* row, int bw, signed char label)
{
    for (int x = 1; x + 1 < bw; x++)
        if (row[x] == label && row[x + 1] != label)
            return x;
    return -1;
}

bool ColumnHolds(const signed char* work, int bw, int x, int firstRow, int lastRow, signed char label)
{
    for (int y = firstRow; y <= lastRow; y++)
        if (work[y * bw + x] == label)
            return true;
    return false;
}

} // namespace

void FillSingleBlank(signed char* work, int bw, int bh)
{
    if (bh <= 2 || bw <= 2)
        return;
    assert(work != nullptr);

    // Opposite neighbour pairs as offsets, in the order they are tried:
    // left/right, up/down, up-left/down-right, up-right/down-left.
    const int pairs[4][2] = {{-1, 1}, {-bw, bw}, {-bw - 1, bw + 1}, {-bw + 1, bw - 1}};
    for (int y = 1; y < bh - 1; y++)
        for (int x = 1; x < bw - 1; x++) {
            signed char* p = work + y * bw + x;
            if (*p != 0 || (p[-1] <= 0 && p[1] <= 0))
                continue;
            // Blocks filled earlier in this pass count with their new value.
            for (const auto& pair : pairs)
                if (p[pair[0]] == p[pair[1]]) {
                    *p = p[pair[0]]; // a first equal pair of zeros ends the search too
                    break;
                }
        }
}

void CloseFpNotch(signed char* work, signed char* map, int bw, int bh, signed char label)
{
    if (bh < NOTCH_TAIL_ROWS)
        return;
    assert(work != nullptr && map != nullptr);

    const int lastRow = bh - NOTCH_TAIL_ROWS;
    for (int i = 0; i <= lastRow; i++) {
        signed char* row = work + i * bw;
        const int a = FindNotchStart(row, bw, label);
        if (a < 0)
            continue;
        // Only the first gap of the row counts; b must leave the last column free.
        const int lastB = std::min(a + MAX_NOTCH_SPAN, bw - 2);
        int b = a + 2;
        while (b <= lastB && row[b] != label)
            b++;
        if (b > lastB)
            continue;
        // The upward search sees rows already closed in this call.
        const int gap = a + 1;
        if (!ColumnHolds(work, bw, gap, NOTCH_TOP_SEARCH_ROW, i - 1, label)
            || !ColumnHolds(work, bw, gap, i + 1, lastRow, label))
            continue;
        for (int x = gap; x <= b; x++) {
            row[x] = label;
            map[i * bw + x] = 1;
        }
    }
}
