// Quality score, pixel by pixel.
#include "reference.h"

#include <cstdint>
#include <cstdlib>

namespace reference {

int GetQuality(const unsigned char* image, int width, int height)
{
    if (height == 0)
        return 0;
    uint64_t count = 0;
    uint64_t sum = 0;
    const uint64_t total = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
    for (uint64_t i = 0; i < total; i++)
        if (image[i] < 200) {
            count++;
            sum += image[i];
        }
    const double n = static_cast<double>(count);
    if (n <= 1000.0)
        return 0;
    const int mean = static_cast<int>(static_cast<double>(sum) / n);
    const int closeness = 100 - std::abs(mean - 100);
    const int raw = static_cast<int>(n / 160000.0 * 100.0 * 0.5 + closeness * 0.6);
    return raw > 99 ? 98 : raw;
}

} // namespace reference
