// The last step of a split for each finger: whiten its surroundings and
// score it.
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

bool ReserveCleaningMemory(WorkMemory& memory, int width, int height)
{
    return memory.Reserve(WorkBuffer::FingerScratch,
                          static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        && ReserveMaskMemory(memory, width, height);
}

bool CleanFingers(unsigned char* const* fingers, int count, int outW, int outH, const tagPOINT* centres,
                  std::uint8_t* quality, WorkMemory& memory)
{
    const std::size_t size = static_cast<std::size_t>(outW) * static_cast<std::size_t>(outH);
    // One cleaned copy serves every finger.
    WorkLease<unsigned char> scratch(memory, WorkBuffer::FingerScratch, size);
    if (!scratch)
        return false;
    for (int i = 0; i < count; i++) {
        unsigned char* finger = fingers[i];
        // Mask into the scratch buffer, whitened on the way back: cleaned in place.
        if (!MaskFingerArea(finger, outW, outH, scratch.get(), memory))
            return false;
        WhitenInto(scratch.get(), size, finger);
        // The score keeps its low eight bits.
        quality[i] = InCentreArea(centres[i]) ? static_cast<std::uint8_t>(GetQuality(finger, outW, outH)) : 0;
    }
    return true;
}
