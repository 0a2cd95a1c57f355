// The last step of a split for each finger: whiten its surroundings, score
// it and fill its record.
#include "gray/gray.h"

#include <cstddef>
#include <cstring>

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
        // Mask into the scratch buffer, whiten, copy back: cleaned in place.
        FindTheFpGrad(finger, outW, outH, scratch);
        for (std::size_t p = 0; p < size; p++)
            if (scratch[p] > WHITEN_ABOVE)
                scratch[p] = WHITE;
        std::memcpy(finger, scratch, size);
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
