// Ridge texture test of one 16 x 16 block, pair by pair.
#include "reference.h"

#include <cstdlib>

namespace reference {

unsigned char BlockDrct1(const unsigned char* img, int w, int /*h*/, int x, int y)
{
    const unsigned char* block = img + static_cast<long long>(y) * w + x;
    const auto isStep = [](const unsigned char* a, const unsigned char* b) {
        return std::abs(static_cast<int>(*a) - static_cast<int>(*b)) >= 21;
    };
    int count = 0;
    for (int r = 0; r < 16; r++) {
        const unsigned char* row = block + static_cast<long long>(r) * w;
        for (int c = 0; c < 14; c++)
            count += isStep(row + c, row + c + 2);
    }
    if (count > 40)
        return 1;
    if (count < 16)
        return 0;
    for (int r = 0; r < 14; r++) {
        const unsigned char* row = block + static_cast<long long>(r) * w;
        const unsigned char* below = row + 2LL * w;
        for (int c = 0; c < 16; c++)
            count += isStep(row + c, below + c);
        if (count > 50)
            return 1;
    }
    return 0;
}

} // namespace reference
