// Ridge texture test of one 16 x 16 block: counts strong gray steps between
// pixels two apart, across the rows first and down the columns only when the
// row count alone is undecided.
#include "direction/direction.h"
#include "block_grid.h"

#include <cstdlib>

namespace {

// Pairs are compared two pixels apart, so each line holds BLOCK_SIZE - PAIR_GAP pairs.
constexpr int PAIR_GAP = 2;
// A pair counts when its gray values differ by at least this much.
constexpr int MIN_STEP = 21;
// After the row pass: accept above ACCEPT_ROWS, reject below MIN_ROWS.
constexpr int ACCEPT_ROWS = 40;
constexpr int MIN_ROWS = 16;
// Rows and columns together: accept above this.
constexpr int ACCEPT_BOTH = 50;

bool IsStep(const unsigned char* a, const unsigned char* b)
{
    return std::abs(static_cast<int>(*a) - static_cast<int>(*b)) >= MIN_STEP;
}

} // namespace

unsigned char BlockDrct1(unsigned char* img, int w, int /*h*/, int x, int y)
{
    const unsigned char* block = img + static_cast<long long>(y) * w + x;

    int count = 0;
    for (int r = 0; r < BLOCK_SIZE; r++) {
        const unsigned char* row = block + static_cast<long long>(r) * w;
        for (int c = 0; c < BLOCK_SIZE - PAIR_GAP; c++)
            count += IsStep(row + c, row + c + PAIR_GAP);
    }
    if (count > ACCEPT_ROWS)
        return 1;
    if (count < MIN_ROWS)
        return 0;

    // The column pass adds to the row count and may stop after any row.
    for (int r = 0; r < BLOCK_SIZE - PAIR_GAP; r++) {
        const unsigned char* row = block + static_cast<long long>(r) * w;
        const unsigned char* below = row + static_cast<long long>(PAIR_GAP) * w;
        for (int c = 0; c < BLOCK_SIZE; c++)
            count += IsStep(row + c, below + c);
        if (count > ACCEPT_BOTH)
            return 1;
    }
    return 0;
}

unsigned char BlockDrct(unsigned char* img, int w, int h, int x, int y, int /*param*/)
{
    return BlockDrct1(img, w, h, x, y);
}
