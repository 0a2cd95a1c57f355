// Finger area mask, probe by probe, pixel by pixel.
#include "reference.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace {

constexpr unsigned char WHITE = 255;
constexpr int MIN_SIDE = 6; // smaller images come out all white

// Dark threshold from the mean of the pixels below DARK_CANDIDATE.
constexpr int DARK_CANDIDATE = 215;
constexpr int LOW_MEAN = 60;   // means below it: LOW_THRESHOLD
constexpr int HIGH_MEAN = 120; // means from it on: HIGH_THRESHOLD
constexpr int LOW_THRESHOLD = 210;
constexpr int HIGH_THRESHOLD = 235;
constexpr int RAMP_BASE = 185; // between them: RAMP_BASE + RAMP_NUM * mean / RAMP_DEN
constexpr int RAMP_NUM = 5;
constexpr int RAMP_DEN = 12;

// Probes: dark counts of 5 x 5 windows, one every BAND rows or columns.
constexpr int PROBE_RADIUS = 2;
constexpr int CENTRE_HIT = 10; // a dark count above it hits in the centre search
constexpr int BAND_HIT = 5;    // ... in the band scans
constexpr int CENTRE_SEARCH_MARGIN = 4;
constexpr int BAND = 3;
constexpr int SIDE_MISSES = 4; // consecutive misses that end a scan
constexpr int DOWN_MISSES = 151;
constexpr int UP_MISSES = 26;
constexpr int MERGED_BANDS = 2; // a band's reach merges this many bands on each side
constexpr int SPAN_MARGIN = 20; // rows this close to the top or bottom do not set the span

class Probe
{
public:
    Probe(const unsigned char* image, int width, int threshold) : image_(image), width_(width), threshold_(threshold)
    { }

    // Number of pixels below the threshold in the window centred on (c, r).
    int DarkCount(int c, int r) const
    {
        int count = 0;
        for (int y = r - PROBE_RADIUS; y <= r + PROBE_RADIUS; y++) {
            const unsigned char* row = image_ + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_);
            for (int x = c - PROBE_RADIUS; x <= c + PROBE_RADIUS; x++)
                count += row[x] < threshold_;
        }
        return count;
    }

private:
    const unsigned char* image_;
    int width_;
    int threshold_;
};

int DarkThreshold(const unsigned char* image, std::size_t pixels)
{
    std::uint64_t count = 0;
    std::uint64_t sum = 0;
    for (std::size_t p = 0; p < pixels; p++) {
        if (image[p] < DARK_CANDIDATE) {
            count++;
            sum += image[p];
        }
    }
    if (count == 0)
        return DARK_CANDIDATE;
    const int mean = static_cast<int>(sum / count);
    if (mean < LOW_MEAN)
        return LOW_THRESHOLD;
    if (mean < HIGH_MEAN)
        return RAMP_BASE + (RAMP_NUM * mean) / RAMP_DEN;
    return HIGH_THRESHOLD;
}

// Probes start, start + step, ... as far as last (step is +BAND or -BAND) and
// returns the position of the last hit, or reach when there is none. The scan
// ends after maxMisses consecutive misses.
template <typename IsHit>
int Scan(int start, int step, int last, int maxMisses, int reach, IsHit isHit)
{
    int misses = 0;
    for (int p = start; step > 0 ? p <= last : p >= last; p += step) {
        if (isHit(p)) {
            reach = p;
            misses = 0;
        } else if (++misses == maxMisses) {
            break;
        }
    }
    return reach;
}

// bands holds a (low, high) pair per band; every line of band m receives the
// smallest low (from lowStart) and largest high (from highStart) of the bands
// m - MERGED_BANDS to m + MERGED_BANDS. Lines past the last band are left alone.
void MergeBands(const int* bands, int bandCount, int lowStart, int highStart, int* lines)
{
    for (int m = 0; m < bandCount; m++) {
        int low = lowStart;
        int high = highStart;
        for (int b = std::max(0, m - MERGED_BANDS); b <= std::min(bandCount - 1, m + MERGED_BANDS); b++) {
            low = std::min(low, bands[2 * b]);
            high = std::max(high, bands[2 * b + 1]);
        }
        for (int line = BAND * m; line < BAND * m + BAND; line++) {
            lines[2 * line] = low;
            lines[2 * line + 1] = high;
        }
    }
}

} // namespace

namespace reference {

void FindTheFpGrad(const unsigned char* source, int width, int height, unsigned char* destination)
{
    assert(source != nullptr && destination != nullptr && source != destination);
    if (width < MIN_SIDE || height < MIN_SIDE) {
        if (width > 0 && height > 0)
            std::memset(destination, WHITE, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        return;
    }
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    // (left, right) per row band, (top, bottom) per column band, and the same
    // pairs per row and per column.
    auto rowBands = std::make_unique_for_overwrite<int[]>(static_cast<std::size_t>(height));
    auto columnBands = std::make_unique_for_overwrite<int[]>(static_cast<std::size_t>(width));
    auto rowReach = std::make_unique_for_overwrite<int[]>(2 * static_cast<std::size_t>(height));
    auto columnReach = std::make_unique_for_overwrite<int[]>(2 * static_cast<std::size_t>(width));
    for (int r = 0; r < height; r++) {
        rowReach[2 * r] = width - 1;
        rowReach[2 * r + 1] = 0;
    }
    for (int c = 0; c < width; c++) {
        columnReach[2 * c] = height - 1;
        columnReach[2 * c + 1] = 0;
    }

    std::memset(destination, WHITE, pixels);
    const Probe probe(source, width, DarkThreshold(source, pixels));

    // Centre column: the nearest hit on the middle row, the right side tried
    // first at every distance.
    const int midColumn = width / 2;
    const int midRow = height / 2;
    int centre = midColumn;
    for (int i = 0; i < width / 2 - CENTRE_SEARCH_MARGIN; i++) {
        if (probe.DarkCount(midColumn + i, midRow) > CENTRE_HIT) {
            centre = midColumn + i;
            break;
        }
        if (probe.DarkCount(midColumn - i, midRow) > CENTRE_HIT) {
            centre = midColumn - i;
            break;
        }
    }

    // Row bands: sideways from the centre column. Column and row 0 are never
    // probed; band 0 copies band 1.
    const int rowBandCount = height / BAND;
    const int columnBandCount = width / BAND;
    const int lastProbeColumn = BAND * columnBandCount - BAND;
    const int lastProbeRow = BAND * rowBandCount - BAND;
    const int firstColumn = centre / BAND * BAND;
    for (int j = 1; j < rowBandCount; j++) {
        const auto isHit = [&](int c) { return probe.DarkCount(c, BAND * j) > BAND_HIT; };
        rowBands[2 * j] = Scan(firstColumn, -BAND, BAND, SIDE_MISSES, centre, isHit);
        rowBands[2 * j + 1] = Scan(firstColumn, BAND, lastProbeColumn, SIDE_MISSES, centre, isHit);
    }
    rowBands[0] = rowBands[2];
    rowBands[1] = rowBands[3];

    // Column bands: up and down from the middle row; the downward scan
    // tolerates a far longer gap than the upward one.
    const int firstRow = height / 2 / BAND * BAND;
    for (int i = 1; i < columnBandCount; i++) {
        const auto isHit = [&](int r) { return probe.DarkCount(BAND * i, r) > BAND_HIT; };
        columnBands[2 * i] = Scan(firstRow, -BAND, BAND, UP_MISSES, height / 2, isHit);
        columnBands[2 * i + 1] = Scan(firstRow, BAND, lastProbeRow, DOWN_MISSES, height / 2, isHit);
    }
    columnBands[0] = columnBands[2];
    columnBands[1] = columnBands[3];

    MergeBands(rowBands.get(), rowBandCount, width, 0, rowReach.get());
    MergeBands(columnBands.get(), columnBandCount, height, 0, columnReach.get());

    // One horizontal span for the whole image; a height of 40 or less samples
    // no row, so the span stays empty.
    int leftmost = width - 1;
    int rightmost = 0;
    for (int r = SPAN_MARGIN; r < height - SPAN_MARGIN; r += BAND) {
        leftmost = std::min(leftmost, rowReach[2 * r]);
        rightmost = std::max(rightmost, rowReach[2 * r + 1]);
    }

    // Keep the pixels strictly inside the span and their column's reach.
    for (int r = 0; r < height; r++) {
        const std::size_t rowStart = static_cast<std::size_t>(r) * static_cast<std::size_t>(width);
        for (int c = leftmost + 1; c < rightmost; c++) {
            if (columnReach[2 * c] < r && r < columnReach[2 * c + 1])
                destination[rowStart + c] = source[rowStart + c];
        }
    }
}

} // namespace reference
