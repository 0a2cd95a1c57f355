// Every finger cut out upright into its buffer: a plain window of the image for
// a finger near upright, otherwise the box turned by bilinear interpolation into
// a private buffer whose content is then placed in the finger buffer.
#include "extract/extract.h"
#include "block_grid.h"
#include "geometry/geometry.h"
#include "simd/simd.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <immintrin.h>
#include <memory>
#include <new>

namespace {

constexpr int WIDTH_ALIGN = 4;        // the turned buffer's width is a multiple of this
constexpr int LATTICE = 16;           // the content search tests every 16th row or column
constexpr int MIN_CONTENT_TOP = 4;    // content is never copied from above this row
constexpr int BILINEAR_SHIFT = 2 * FIXED_SHIFT;

std::size_t Area(int w, int h)
{
    return static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
}

using Turn = FixedTurn;

struct TurnedBuffer
{
    std::unique_ptr<unsigned char[]> cells;
    int ow;
    int oh;
};

// Allocates the buffer for box turned (both extents plus a margin, the width
// aligned); cells stays null when the allocation fails.
TurnedBuffer AllocateTurned(const tagRECT& box, Turn t, int outW, int outH)
{
    const int rw = box.right - box.left;
    const int rh = box.bottom - box.top;
    const int ex = std::abs(t.c * (rw - 1)) + std::abs(t.s * (rh - 1));
    const int ey = std::abs(t.s * (rw - 1)) + std::abs(t.c * (rh - 1));
    int ow = (ex >> FIXED_SHIFT) + TURN_MARGIN;
    ow = std::max((ow + WIDTH_ALIGN - 1) / WIDTH_ALIGN * WIDTH_ALIGN, outW);
    const int oh = std::max((ey >> FIXED_SHIFT) + TURN_MARGIN, outH);
    return {std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[Area(ow, oh)]), ow, oh};
}

// Floor of p / q for q > 0.
long long FloorDiv(long long p, long long q)
{
    return p >= 0 ? p / q : -((q - 1 - p) / q);
}

// Narrows [first, end) to the columns col where lo <= a + d col < hi.
void KeepWhereWithin(long long a, long long d, long long lo, long long hi, int& first, int& end)
{
    if (d == 0) {
        if (a < lo || a >= hi)
            end = first;
        return;
    }
    long long from, to; // inclusive
    if (d > 0) {
        from = -FloorDiv(a - lo, d); // ceil((lo - a) / d)
        to = FloorDiv(hi - 1 - a, d);
    } else {
        from = -FloorDiv(hi - 1 - a, -d); // ceil((a - hi + 1) / -d)
        to = FloorDiv(a - lo, -d);
    }
    const long long kept0 = std::max<long long>(first, from);
    const long long kept1 = std::min<long long>(end, to + 1);
    if (kept0 >= kept1) {
        end = first;
        return;
    }
    first = static_cast<int>(kept0);
    end = static_cast<int>(kept1);
}

// Bilinear sample at fixed-point source position (u, v) of the box whose
// top-left pixel is origin; both lie inside the box.
inline unsigned char Sample(const unsigned char* origin, int w, int u, int v)
{
    const int sx = u >> FIXED_SHIFT;
    const int sy = v >> FIXED_SHIFT;
    const int fx = u - FIXED_ONE * sx;
    const int fy = v - FIXED_ONE * sy;
    const unsigned char* p = origin + Area(w, sy) + sx;
    const int p00 = p[0];
    const int p01 = p[1];
    const int p10 = p[w];
    const int p11 = p[w + 1];
    // Every partial sum stays below 255 << 22, inside int.
    const int e = (p00 * (FIXED_ONE - fx) + p01 * fx) * (FIXED_ONE - fy) + p10 * (FIXED_ONE - fx) * fy + p11 * fx * fy;
    return static_cast<unsigned char>(e >> BILINEAR_SHIFT);
}

// Samples of n consecutive cells, the source position starting at (u, v) and
// moving by (du, dv) per cell.
void SampleRun(const unsigned char* origin, int w, int u, int v, int du, int dv, int n, unsigned char* out)
{
    for (int k = 0; k < n; k++, u += du, v += dv)
        out[k] = Sample(origin, w, u, v);
}

// The same, eight cells at a time with AVX2 gathers. Each gather reads four
// bytes from the upper and the lower sample row, two more than it uses: the
// caller makes sure they lie inside the image. The weighted sums are the
// scalar ones regrouped; every one is exact in 32 bits, so the bytes agree.
__attribute__((target("avx2"))) void SampleRunAvx2(const unsigned char* origin, int w, int u, int v, int du, int dv,
                                                   int n, unsigned char* out)
{
    const __m256i steps = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    __m256i vu = _mm256_add_epi32(_mm256_set1_epi32(u), _mm256_mullo_epi32(steps, _mm256_set1_epi32(du)));
    __m256i vv = _mm256_add_epi32(_mm256_set1_epi32(v), _mm256_mullo_epi32(steps, _mm256_set1_epi32(dv)));
    const __m256i du8 = _mm256_set1_epi32(8 * du);
    const __m256i dv8 = _mm256_set1_epi32(8 * dv);
    const __m256i stride = _mm256_set1_epi32(w);
    const __m256i fraction = _mm256_set1_epi32(FIXED_ONE - 1);
    const __m256i one = _mm256_set1_epi32(FIXED_ONE);
    const __m256i lowByte = _mm256_set1_epi32(0xFF);
    const __m256i secondByte = _mm256_set1_epi32(0xFF00);
    const int* base = reinterpret_cast<const int*>(origin);
    int k = 0;
    for (; k + 8 <= n; k += 8) {
        const __m256i fx = _mm256_and_si256(vu, fraction);
        const __m256i fy = _mm256_and_si256(vv, fraction);
        const __m256i at = _mm256_add_epi32(_mm256_mullo_epi32(_mm256_srai_epi32(vv, FIXED_SHIFT), stride),
                                            _mm256_srai_epi32(vu, FIXED_SHIFT));
        const __m256i upper = _mm256_i32gather_epi32(base, at, 1);
        const __m256i lower = _mm256_i32gather_epi32(base, _mm256_add_epi32(at, stride), 1);
        // 16-bit pairs (left, right) of each row against (1 - fx, fx).
        const __m256i weights = _mm256_or_si256(_mm256_sub_epi32(one, fx), _mm256_slli_epi32(fx, 16));
        const __m256i upperPair
            = _mm256_or_si256(_mm256_and_si256(upper, lowByte), _mm256_slli_epi32(_mm256_and_si256(upper, secondByte), 8));
        const __m256i lowerPair
            = _mm256_or_si256(_mm256_and_si256(lower, lowByte), _mm256_slli_epi32(_mm256_and_si256(lower, secondByte), 8));
        const __m256i top = _mm256_madd_epi16(upperPair, weights);
        const __m256i bottom = _mm256_madd_epi16(lowerPair, weights);
        const __m256i e = _mm256_add_epi32(_mm256_mullo_epi32(top, _mm256_sub_epi32(one, fy)),
                                           _mm256_mullo_epi32(bottom, fy));
        const __m256i level = _mm256_srli_epi32(e, BILINEAR_SHIFT); // 0..255
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(level), _mm256_extracti128_si256(level, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k), _mm_packus_epi16(words, words));
        vu = _mm256_add_epi32(vu, du8);
        vv = _mm256_add_epi32(vv, dv8);
    }
    SampleRun(origin, w, u + k * du, v + k * dv, du, dv, n - k, out + k);
}

// Writes into the turned buffer every cell whose sample position lies in the
// box, the box centre on cell (ow / 2, oh / 2); every other cell gets bkGray.
// Along a row the source position moves by a constant step, so the cells
// inside form one run, found by division.
void TurnBox(const unsigned char* img, int w, int h, const tagRECT& box, Turn t, unsigned char bkGray,
             TurnedBuffer& turned)
{
    const int rw = box.right - box.left;
    const int rh = box.bottom - box.top;
    if (rw <= 0 || rh <= 0) {
        std::memset(turned.cells.get(), bkGray, Area(turned.ow, turned.oh));
        return;
    }
    const int hw = rw / 2;
    const int hh = rh / 2;
    // Reading the right and lower neighbours stays inside the image because
    // right <= w - 1 and bottom <= h - 1 after the clamp. The gathers read two
    // bytes beyond the lower right neighbour.
    const unsigned char* origin = img + Area(w, box.top) + box.left;
    const bool wide = UseAvx2() && Area(w, box.bottom) + static_cast<std::size_t>(box.right) + 2 < Area(w, h);
    const int x0 = -(turned.ow / 2);
    for (int row = 0; row < turned.oh; row++) {
        const int y = turned.oh / 2 - row; // grows upward
        unsigned char* out = turned.cells.get() + Area(turned.ow, row);
        // Source position of column 0; each column adds (c, -s).
        const int u0 = t.c * x0 - t.s * y + FIXED_ONE * hw;
        const int v0 = FIXED_ONE * hh - (t.s * x0 + t.c * y);
        int first = 0;
        int end = turned.ow;
        // Arithmetic shifts round toward minus infinity: a position just
        // before the first column or row gets -1 and stays outside.
        KeepWhereWithin(u0, t.c, 0, static_cast<long long>(FIXED_ONE) * rw, first, end);
        KeepWhereWithin(v0, -t.s, 0, static_cast<long long>(FIXED_ONE) * rh, first, end);
        if (end <= first) {
            std::memset(out, bkGray, static_cast<std::size_t>(turned.ow));
            continue;
        }
        std::memset(out, bkGray, static_cast<std::size_t>(first));
        std::memset(out + end, bkGray, static_cast<std::size_t>(turned.ow - end));
        const int u = u0 + t.c * first;
        const int v = v0 - t.s * first;
        if (wide)
            SampleRunAvx2(origin, w, u, v, t.c, -t.s, end - first, out + first);
        else
            SampleRun(origin, w, u, v, t.c, -t.s, end - first, out + first);
    }
}

bool ColumnHasContent(const TurnedBuffer& turned, int col, unsigned char bkGray)
{
    for (int row = 0; row < turned.oh; row += LATTICE)
        if (turned.cells[Area(turned.ow, row) + col] != bkGray)
            return true;
    return false;
}

bool RowHasContent(const TurnedBuffer& turned, int row, unsigned char bkGray)
{
    const unsigned char* cells = turned.cells.get() + Area(turned.ow, row);
    for (int col = 0; col < turned.ow; col += LATTICE)
        if (cells[col] != bkGray)
            return true;
    return false;
}

// Finds the content's left and right columns and top row on the lattice and
// copies it into the bkGray-filled finger buffer: its middle column on the
// buffer's middle column, the band below its top centred vertically.
void PlaceContent(const TurnedBuffer& turned, unsigned char bkGray, unsigned char* fp, int outW, int outH)
{
    int left = 0;
    for (int col = 0; col < turned.ow; col++) {
        if (ColumnHasContent(turned, col, bkGray)) {
            left = col;
            break;
        }
    }
    int right = 0;
    for (int col = turned.ow - 1; col >= 1; col--) { // column 0 is not tested
        if (ColumnHasContent(turned, col, bkGray)) {
            right = col;
            break;
        }
    }
    int top = 0;
    for (int row = 0; row < turned.oh; row++) {
        if (RowHasContent(turned, row, bkGray)) {
            top = row;
            break;
        }
    }
    top = std::max(top, MIN_CONTENT_TOP);

    // The last column and row of the turned buffer are never copied.
    const int x0 = std::max((left + right) / 2 - outW / 2, 0);
    const int cw = std::min(turned.ow - x0 - 1, outW);
    const int ch = std::max(std::min(turned.oh - 1 - top, outH), 0);
    const int y1 = (outH - ch) / 2;
    assert(cw >= 0);
    for (int k = 0; k < ch; k++)
        std::memcpy(fp + Area(outW, y1 + k), turned.cells.get() + Area(turned.ow, top + k) + x0,
                    static_cast<std::size_t>(cw));
}

} // namespace

int GetRoatedFp(unsigned char* img, int w, int h, signed char* work, int count, tagRECT* boxes, int* angles,
                signed char* labels, unsigned char bkGray, unsigned char** outBufs, int outW, int outH,
                tagPOINT* centres)
{
    const int bw = w / BLOCK_SIZE;
    const int bh = (h + BLOCK_SIZE - 1) / BLOCK_SIZE;
    if (count < 1)
        return 1;
    for (int i = 0; i < count; i++) {
        boxes[i].right = std::min(boxes[i].right, w - 1);
        boxes[i].bottom = std::min(boxes[i].bottom, h - 1);
        assert(boxes[i].left >= 0 && boxes[i].top >= 0);
    }
    GetCenter(work, bw, bh, count, boxes, angles, labels, outW, outH, centres);

    for (int i = 0; i < count; i++) {
        if (CutAsWindow(angles[i], w, h, outW, outH)) {
            // A window that leaves the image copies nothing: the buffer keeps its content.
            const int x0 = WindowStart(centres[i].x, outW, w);
            const int y0 = WindowStart(centres[i].y, outH, h);
            CutImageBuf(outBufs[i], outW, outH, img, x0, y0, w, h);
            continue;
        }
        const Turn t = FixedTurnOf(CutTurn(angles[i]));
        TurnedBuffer turned = AllocateTurned(boxes[i], t, outW, outH);
        if (!turned.cells)
            return 0;
        TurnBox(img, w, h, boxes[i], t, bkGray, turned);
        std::memset(outBufs[i], bkGray, Area(outW, outH));
        PlaceContent(turned, bkGray, outBufs[i], outW, outH);
    }
    return 1;
}
