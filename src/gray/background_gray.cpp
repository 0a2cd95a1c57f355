// Gray level of the empty background: per window, the mean of the pixels at
// or above the window mean together with the brightest well-filled level;
// for the image, the two highest of nine sample windows.
#include "gray/gray.h"

namespace {

constexpr int LEVELS = 256;
// The peak level is the brightest level holding at least this many pixels.
constexpr int PEAK_COUNT = 10;
// Sample windows: this size, inset this far from the image border.
constexpr int SAMPLE = 32;
constexpr int INSET = 16;
// Images narrower or lower than this are not estimated.
constexpr int MIN_SIZE = 200;
constexpr int SAMPLES_PER_SIDE = 3;

} // namespace

int GetBkGray1(const unsigned char* image, int width, int /*height*/, int x, int y, int windowWidth, int windowHeight)
{
    if (windowWidth <= 0 || windowHeight <= 0)
        return 0;

    int histogram[LEVELS] = {};
    for (int row = y; row < y + windowHeight; row++) {
        const unsigned char* line = image + static_cast<long long>(row) * width + x;
        for (int col = 0; col < windowWidth; col++)
            histogram[line[col]]++;
    }

    // 64-bit sums: the same values as 32-bit ones wherever those do not overflow.
    long long sum = 0;
    for (int level = 0; level < LEVELS; level++)
        sum += static_cast<long long>(level) * histogram[level];
    const int mean = static_cast<int>(sum / (static_cast<long long>(windowWidth) * windowHeight));

    long long upperSum = 0;
    long long upperCount = 0;
    for (int level = mean; level < LEVELS; level++) {
        upperSum += static_cast<long long>(level) * histogram[level];
        upperCount += histogram[level];
    }
    const int upperMean = static_cast<int>(upperSum / upperCount);

    // Level 0 is never a peak: without a filled level above it the peak is 0.
    int peak = 0;
    for (int level = LEVELS - 1; level > 0; level--)
        if (histogram[level] >= PEAK_COUNT) {
            peak = level;
            break;
        }
    return (upperMean + peak) / 2;
}

int FastBkGray(const unsigned char* image, int width, int height)
{
    if (width < MIN_SIZE || height < MIN_SIZE)
        return 0;

    // The middle samples start at the half-way line rather than centring on it.
    const int xs[SAMPLES_PER_SIDE] = {INSET, width / 2, width - INSET - SAMPLE};
    const int ys[SAMPLES_PER_SIDE] = {INSET, height / 2, height - INSET - SAMPLE};
    int best = -1;
    int second = -1;
    for (int y : ys)
        for (int x : xs) {
            const int g = GetBkGray1(image, width, height, x, y, SAMPLE, SAMPLE);
            if (g > best) {
                second = best;
                best = g;
            } else if (g > second) {
                second = g;
            }
        }
    return (best + second) / 2;
}
