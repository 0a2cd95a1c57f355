// Count and sum of the pixels below a level, sixteen pixels at a time.
#include "gray/gray.h"

#include <emmintrin.h>

DarkSums SumBelow(const unsigned char* image, std::size_t pixels, int level)
{
    DarkSums sums{0, 0};
    std::size_t p = 0;
    if (level > 0 && level <= 256) {
        // x < level as x == min(x, level - 1), unsigned.
        const __m128i highest = _mm_set1_epi8(static_cast<char>(level - 1));
        const __m128i one = _mm_set1_epi8(1);
        const __m128i zero = _mm_setzero_si128();
        __m128i count = zero;
        __m128i sum = zero;
        for (; p + 16 <= pixels; p += 16) {
            const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(image + p));
            const __m128i below = _mm_cmpeq_epi8(_mm_min_epu8(x, highest), x);
            sum = _mm_add_epi64(sum, _mm_sad_epu8(_mm_and_si128(x, below), zero));
            count = _mm_add_epi64(count, _mm_sad_epu8(_mm_and_si128(below, one), zero));
        }
        alignas(16) std::uint64_t lanes[2];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), count);
        sums.count = lanes[0] + lanes[1];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), sum);
        sums.sum = lanes[0] + lanes[1];
    }
    for (; p < pixels; p++) {
        if (image[p] < level) {
            sums.count++;
            sums.sum += image[p];
        }
    }
    return sums;
}
