// Cleaning and scoring of cut fingers, with the reference mask and score.
#include "reference.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace reference {

void FinishFingers(KOVRAL_INFO_* pInfo, int n, int outW, int outH, const tagPOINT* centres, const int* angles,
                   unsigned char* scratch)
{
    const std::size_t size = static_cast<std::size_t>(outW) * static_cast<std::size_t>(outH);
    uint8_t quality[KOVRAL_MAX_RECORDS] = {};
    for (int i = 0; i < n; i++) {
        unsigned char* finger = pInfo[i].pFpImg;
        FindTheFpGrad(finger, outW, outH, scratch);
        for (std::size_t p = 0; p < size; p++)
            if (scratch[p] > 240)
                scratch[p] = 255;
        std::memcpy(finger, scratch, size);
        const tagPOINT& c = centres[i];
        const bool inCentreArea = c.x >= 110 && c.x <= 1450 && c.y >= 310 && c.y <= 1320;
        quality[i] = inCentreArea ? static_cast<uint8_t>(GetQuality(finger, outW, outH)) : 0;
    }
    for (int i = 0; i < n; i++) {
        pInfo[i].x = centres[i].x;
        pInfo[i].y = centres[i].y;
        pInfo[i].angle = angles[i];
        pInfo[i].quality = quality[i];
    }
}

} // namespace reference
