// The last step of a split for each finger: whiten its surroundings, score
// it and fill its record.
#include "gray/gray.h"

#include <cstddef>
#include <emmintrin.h>

namespace {

// Cleaned levels above this become white.
constexpr unsigned char WHITEN_ABOVE = 240;
constexpr unsigned char WHITE = 255;
// A finger keeps its score only with its centre in this area of the source
// image (absolute pixels, bounds included, whatever the image size).
constexpr int CENTRE_AREA_LEFT = 110;
constexpr int CENTRE_AREA_RIGHT = 1450;
constexpr int CENTRE_AREA_TOP = 310;
constexpr int CENTRE_AREA_BOTTOM = 1320;

bool InCentreArea(const tagPOINT& c)
{
    return c.x >= CENTRE_AREA_LEFT && c.x <= CENTRE_AREA_RIGHT && c.y >= CENTRE_AREA_TOP && c.y <= CENTRE_AREA_BOTTOM;
}

// to[p] = from[p], levels above WHITEN_ABOVE as WHITE.
void WhitenInto(const unsigned char* from, std::size_t size, unsigned char* to)
{
    static_assert(WHITE == 255, "whitening sets every bit");
    const __m128i lowestWhitened = _mm_set1_epi8(static_cast<char>(WHITEN_ABOVE + 1));
    std::size_t p = 0;
    for (; p + 16 <= size; p += 16) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + p));
        const __m128i above = _mm_cmpeq_epi8(_mm_max_epu8(x, lowestWhitened), x);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + p), _mm_or_si128(x, above));
    }
    for (; p < size; p++)
        to[p] = from[p] > WHITEN_ABOVE ? WHITE : from[p];
}

} // namespace

void FinishFingers(KOVRAL_INFO_* pInfo, int n, int outW, int outH, const tagPOINT* centres, const int* angles,
                   unsigned char* scratch)
{
    const std::size_t size = static_cast<std::size_t>(outW) * static_cast<std::size_t>(outH);
    // The records are written only once every finger is cleaned: a cleaning
    // that cannot get memory throws, and then no record has been touched.
    uint8_t quality[KOVRAL_MAX_RECORDS] = {};
    for (int i = 0; i < n; i++) {
        unsigned char* finger = pInfo[i].pFpImg;
        // Mask into the scratch buffer, whitened on the way back: cleaned in place.
        FindTheFpGrad(finger, outW, outH, scratch);
        WhitenInto(scratch, size, finger);
        // The score keeps its low eight bits.
        quality[i] = InCentreArea(centres[i]) ? static_cast<uint8_t>(GetQuality(finger, outW, outH)) : 0;
    }
    for (int i = 0; i < n; i++) {
        pInfo[i].x = centres[i].x;
        pInfo[i].y = centres[i].y;
        pInfo[i].angle = angles[i];
        pInfo[i].quality = quality[i];
    }
}
