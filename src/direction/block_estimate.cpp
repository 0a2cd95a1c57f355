// Ridge texture test of one 16 x 16 block: counts strong gray steps between
// pixels two apart, across the rows first and down the columns only when the
// row count alone is undecided.
#include "direction/direction.h"
#include "block_grid.h"

#include <emmintrin.h>

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

// Per lane, 1 where the two rows of 16 pixels differ by at least MIN_STEP.
inline __m128i Steps(__m128i a, __m128i b)
{
    const __m128i difference = _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
    const __m128i small = _mm_cmpeq_epi8(_mm_subs_epu8(difference, _mm_set1_epi8(MIN_STEP - 1)), _mm_setzero_si128());
    return _mm_andnot_si128(small, _mm_set1_epi8(1));
}

// Sum of the 16 byte lanes.
inline int LaneSum(__m128i counts)
{
    const __m128i sums = _mm_sad_epu8(counts, _mm_setzero_si128());
    return _mm_cvtsi128_si32(sums) + _mm_cvtsi128_si32(_mm_unpackhi_epi64(sums, sums));
}

} // namespace

unsigned char BlockDrct1(unsigned char* img, int w, int /*h*/, int x, int y)
{
    const unsigned char* block = img + static_cast<long long>(y) * w + x;
    const auto row = [&](int r) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + static_cast<long long>(r) * w));
    };

    // Row pass: every row against itself shifted by the gap; the last
    // PAIR_GAP lanes pair with nothing and are dropped.
    const __m128i rowPairs = _mm_srli_si128(_mm_set1_epi8(-1), PAIR_GAP);
    __m128i counts = _mm_setzero_si128();
    for (int r = 0; r < BLOCK_SIZE; r++) {
        const __m128i pixels = row(r);
        counts = _mm_add_epi8(counts, _mm_and_si128(Steps(pixels, _mm_srli_si128(pixels, PAIR_GAP)), rowPairs));
    }
    int count = LaneSum(counts);
    if (count > ACCEPT_ROWS)
        return 1;
    if (count < MIN_ROWS)
        return 0;

    // Column pass: it only adds, so stopping after any row once past
    // ACCEPT_BOTH decides as the full count does.
    counts = _mm_setzero_si128();
    for (int r = 0; r < BLOCK_SIZE - PAIR_GAP; r++)
        counts = _mm_add_epi8(counts, Steps(row(r), row(r + PAIR_GAP)));
    count += LaneSum(counts);
    return count > ACCEPT_BOTH ? 1 : 0;
}

unsigned char BlockDrct(unsigned char* img, int w, int h, int x, int y, int /*param*/)
{
    return BlockDrct1(img, w, h, x, y);
}
