// Finger area mask: a copy of a finger image, white outside the area that the
// finger's dark pixels reach from its middle.
#include "gray/gray.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <climits>
#include <cstring>
#include <emmintrin.h>

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

// The probe counts at every position the band scans can probe: rows and
// columns that are multiples of BAND, from BAND on, computed all at once.
// Counting a whole row of windows at a time costs a fraction of probing them
// one by one.
class ProbeGrid
{
public:
    // Its three arrays come from memory; without them the grid is not ok().
    ProbeGrid(const unsigned char* image, int width, int height, int threshold, WorkMemory& memory)
        : columns_(width / BAND), counts_(memory, WorkBuffer::MaskProbeCounts, Cells(width, height))
    {
        const int rows = height / BAND;
        // Dark pixels per column over the window's rows, stored from
        // PROBE_RADIUS on with zeros around, so that the window sums of every
        // column are plain vector loads.
        const std::size_t padded = static_cast<std::size_t>(width) + 2 * PROBE_RADIUS + VECTOR;
        WorkLease<unsigned char> columnDark(memory, WorkBuffer::MaskColumnDark, padded);
        WorkLease<unsigned char> windowDark(memory, WorkBuffer::MaskWindowDark,
                                            static_cast<std::size_t>(width) + VECTOR);
        if (!counts_ || !columnDark || !windowDark)
            return;
        ok_ = true;
        std::memset(counts_.get(), 0, Cells(width, height));
        std::memset(columnDark.get(), 0, padded);
        const __m128i highest = _mm_set1_epi8(static_cast<char>(threshold - 1));
        const __m128i one = _mm_set1_epi8(1);
        for (int b = 1; b < rows; b++) {
            const unsigned char* top = image + static_cast<std::size_t>(BAND * b - PROBE_RADIUS) * width;
            unsigned char* dark = columnDark.get() + PROBE_RADIUS;
            int c = 0;
            for (; c + VECTOR <= width; c += VECTOR) {
                __m128i n = _mm_setzero_si128();
                for (int y = 0; y <= 2 * PROBE_RADIUS; y++) {
                    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(top + y * width + c));
                    n = _mm_add_epi8(n, _mm_and_si128(_mm_cmpeq_epi8(_mm_min_epu8(x, highest), x), one));
                }
                _mm_storeu_si128(reinterpret_cast<__m128i*>(dark + c), n);
            }
            for (; c < width; c++) {
                int n = 0;
                for (int y = 0; y <= 2 * PROBE_RADIUS; y++)
                    n += top[y * width + c] < threshold;
                dark[c] = static_cast<unsigned char>(n);
            }
            // windowDark[c]: the window centred on column c.
            for (c = 0; c < width; c += VECTOR) {
                __m128i n = _mm_setzero_si128();
                for (int x = 0; x <= 2 * PROBE_RADIUS; x++)
                    n = _mm_add_epi8(n, _mm_loadu_si128(reinterpret_cast<const __m128i*>(columnDark.get() + c + x)));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(windowDark.get() + c), n);
            }
            unsigned char* counts = counts_.get() + static_cast<std::size_t>(b) * columns_;
            for (int a = 1; a < columns_; a++)
                counts[a] = windowDark[BAND * a];
        }
    }

    bool ok() const { return ok_; }

    // Probe count at column BAND * a, row BAND * b (a, b >= 1).
    int DarkCount(int a, int b) const { return counts_[static_cast<std::size_t>(b) * columns_ + a]; }

    // Bytes of the grid of a width x height image.
    static std::size_t Cells(int width, int height)
    {
        return static_cast<std::size_t>(width / BAND) * static_cast<std::size_t>(height / BAND);
    }

    static constexpr int VECTOR = 16;

private:
    int columns_;
    WorkLease<unsigned char> counts_;
    bool ok_ = false;
};

int DarkThreshold(const unsigned char* image, std::size_t pixels)
{
    const DarkSums dark = SumBelow(image, pixels, DARK_CANDIDATE);
    const std::uint64_t count = dark.count;
    const std::uint64_t sum = dark.sum;
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

// Writes destination: the source pixels strictly inside columns leftmost ..
// rightmost and strictly inside their column's (top, bottom) reach, 255
// elsewhere. Row by row, eight columns to a vector: the reach is held in 16
// bits, so taller images take the pixel by pixel way.
bool KeepInside(const unsigned char* source, int width, int height, int leftmost, int rightmost, const int* reach,
                unsigned char* destination, WorkMemory& memory)
{
    constexpr int VECTOR = 16;
    const bool narrowReach = height < INT16_MAX;
    // Columns outside the span get a reach that no row is inside.
    WorkLease<std::int16_t> top(memory, WorkBuffer::MaskKeepTop, static_cast<std::size_t>(width) + VECTOR);
    WorkLease<std::int16_t> bottom(memory, WorkBuffer::MaskKeepBottom, static_cast<std::size_t>(width) + VECTOR);
    if (!top || !bottom)
        return false;
    for (int c = 0; c < width; c++) {
        const bool inSpan = leftmost < c && c < rightmost && narrowReach;
        top[c] = inSpan ? static_cast<std::int16_t>(reach[2 * c]) : INT16_MAX;
        bottom[c] = inSpan ? static_cast<std::int16_t>(reach[2 * c + 1]) : INT16_MIN;
    }
    const __m128i ones = _mm_set1_epi8(-1);
    for (int r = 0; r < height; r++) {
        const std::size_t rowStart = static_cast<std::size_t>(r) * static_cast<std::size_t>(width);
        const unsigned char* from = source + rowStart;
        unsigned char* to = destination + rowStart;
        int c = 0;
        if (narrowReach) {
            const __m128i row = _mm_set1_epi16(static_cast<short>(r));
            for (; c + VECTOR <= width; c += VECTOR) {
                const auto inside = [&](int k) {
                    const __m128i t = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&top[c + k]));
                    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&bottom[c + k]));
                    return _mm_and_si128(_mm_cmpgt_epi16(row, t), _mm_cmpgt_epi16(b, row));
                };
                const __m128i keep = _mm_packs_epi16(inside(0), inside(VECTOR / 2));
                const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + c));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(to + c), _mm_or_si128(x, _mm_andnot_si128(keep, ones)));
            }
            for (; c < width; c++)
                to[c] = top[c] < r && r < bottom[c] ? from[c] : WHITE;
            continue;
        }
        for (; c < width; c++) {
            const bool keep = leftmost < c && c < rightmost && reach[2 * c] < r && r < reach[2 * c + 1];
            to[c] = keep ? from[c] : WHITE;
        }
    }
    return true;
}

} // namespace

bool ReserveMaskMemory(WorkMemory& memory, int width, int height)
{
    const std::size_t w = static_cast<std::size_t>(width);
    const std::size_t h = static_cast<std::size_t>(height);
    constexpr std::size_t VECTOR = ProbeGrid::VECTOR;
    return memory.Reserve(WorkBuffer::MaskRowBands, sizeof(int) * h)
        && memory.Reserve(WorkBuffer::MaskColumnBands, sizeof(int) * w)
        && memory.Reserve(WorkBuffer::MaskRowReach, 2 * sizeof(int) * h)
        && memory.Reserve(WorkBuffer::MaskColumnReach, 2 * sizeof(int) * w)
        && memory.Reserve(WorkBuffer::MaskProbeCounts, ProbeGrid::Cells(width, height))
        && memory.Reserve(WorkBuffer::MaskColumnDark, w + 2 * PROBE_RADIUS + VECTOR)
        && memory.Reserve(WorkBuffer::MaskWindowDark, w + VECTOR)
        && memory.Reserve(WorkBuffer::MaskKeepTop, sizeof(std::int16_t) * (w + VECTOR))
        && memory.Reserve(WorkBuffer::MaskKeepBottom, sizeof(std::int16_t) * (w + VECTOR));
}

void FindTheFpGrad(const unsigned char* source, int width, int height, unsigned char* destination)
{
    WorkMemory memory(WorkMemory::ONE_OFF);
    MaskFingerArea(source, width, height, destination, memory);
}

bool MaskFingerArea(const unsigned char* source, int width, int height, unsigned char* destination,
                    WorkMemory& memory)
{
    assert(source != nullptr && destination != nullptr && source != destination);
    if (width < MIN_SIDE || height < MIN_SIDE) {
        if (width > 0 && height > 0)
            std::memset(destination, WHITE, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        return true;
    }
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    // (left, right) per row band, (top, bottom) per column band, and the same
    // pairs per row and per column; taken one after the other, and without
    // all four nothing is written.
    WorkLease<int> rowBands(memory, WorkBuffer::MaskRowBands, static_cast<std::size_t>(height));
    if (!rowBands)
        return false;
    WorkLease<int> columnBands(memory, WorkBuffer::MaskColumnBands, static_cast<std::size_t>(width));
    if (!columnBands)
        return false;
    WorkLease<int> rowReach(memory, WorkBuffer::MaskRowReach, 2 * static_cast<std::size_t>(height));
    if (!rowReach)
        return false;
    WorkLease<int> columnReach(memory, WorkBuffer::MaskColumnReach, 2 * static_cast<std::size_t>(width));
    if (!columnReach)
        return false;
    for (int r = 0; r < height; r++) {
        rowReach[2 * r] = width - 1;
        rowReach[2 * r + 1] = 0;
    }
    for (int c = 0; c < width; c++) {
        columnReach[2 * c] = height - 1;
        columnReach[2 * c + 1] = 0;
    }

    const int threshold = DarkThreshold(source, pixels);
    const Probe probe(source, width, threshold);

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

    const ProbeGrid grid(source, width, height, threshold, memory);
    if (!grid.ok())
        return false;

    // Row bands: sideways from the centre column. Column and row 0 are never
    // probed; band 0 copies band 1.
    const int rowBandCount = height / BAND;
    const int columnBandCount = width / BAND;
    const int lastProbeColumn = BAND * columnBandCount - BAND;
    const int lastProbeRow = BAND * rowBandCount - BAND;
    const int firstColumn = centre / BAND * BAND;
    for (int j = 1; j < rowBandCount; j++) {
        const auto isHit = [&](int c) { return grid.DarkCount(c / BAND, j) > BAND_HIT; };
        rowBands[2 * j] = Scan(firstColumn, -BAND, BAND, SIDE_MISSES, centre, isHit);
        rowBands[2 * j + 1] = Scan(firstColumn, BAND, lastProbeColumn, SIDE_MISSES, centre, isHit);
    }
    rowBands[0] = rowBands[2];
    rowBands[1] = rowBands[3];

    // Column bands: up and down from the middle row; the downward scan
    // tolerates a far longer gap than the upward one.
    const int firstRow = height / 2 / BAND * BAND;
    for (int i = 1; i < columnBandCount; i++) {
        const auto isHit = [&](int r) { return grid.DarkCount(i, r / BAND) > BAND_HIT; };
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

    return KeepInside(source, width, height, leftmost, rightmost, columnReach.get(), destination, memory);
}
