// Quality score of a finished finger image from its finger area and the
// closeness of its mean finger gray to 100.
#include "gray/gray.h"

#include <cstdint>
#include <cstdlib>

namespace {

// Pixels below this level are finger pixels.
constexpr int FINGER_LEVEL = 200;
// The gray term needs more finger pixels than this.
constexpr double MIN_AREA = 1000.0;
// Area term: pixels / AREA_DIVISOR * AREA_PERCENT * AREA_WEIGHT.
constexpr double AREA_DIVISOR = 160000.0;
constexpr double AREA_PERCENT = 100.0;
constexpr double AREA_WEIGHT = 0.5;
// Gray term: (IDEAL_GRAY - |mean - IDEAL_GRAY|) * GRAY_WEIGHT.
constexpr int IDEAL_GRAY = 100;
constexpr double GRAY_WEIGHT = 0.6;
// A raw score above MAX_SCORE is reported as CAPPED_SCORE.
constexpr int MAX_SCORE = 99;
constexpr int CAPPED_SCORE = 98;

} // namespace

int GetQuality(const unsigned char* image, int width, int height)
{
    if (height == 0)
        return 0;

    const uint64_t total = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
    const DarkSums finger = SumBelow(image, total, FINGER_LEVEL);
    const double n = static_cast<double>(finger.count);
    if (n <= MIN_AREA)
        return 0;

    const int mean = static_cast<int>(static_cast<double>(finger.sum) / n);
    const int closeness = IDEAL_GRAY - std::abs(mean - IDEAL_GRAY);
    // Double precision in this order: at whole numbers the area term can land
    // just below the exact value (92800 pixels give 28.999..., not 29).
    const int raw = static_cast<int>(n / AREA_DIVISOR * AREA_PERCENT * AREA_WEIGHT + closeness * GRAY_WEIGHT);
    return raw > MAX_SCORE ? CAPPED_SCORE : raw;
}
