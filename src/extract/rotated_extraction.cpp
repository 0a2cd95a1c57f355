// Every finger cut out upright into its buffer: a plain window of the image for
// a finger near upright, otherwise the box turned by bilinear interpolation,
// the turned image's content placed in the finger buffer.
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

namespace {

constexpr int WIDTH_ALIGN = 4;     // the turned image's width is a multiple of this
constexpr int LATTICE = 16;        // the content search tests every 16th row or column
constexpr int MIN_CONTENT_TOP = 4; // content is never copied from above this row
constexpr int BILINEAR_SHIFT = 2 * FIXED_SHIFT;

std::size_t Area(int w, int h)
{
    return static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
}

using Turn = FixedTurn;

// Size of the turned image of a box: both extents plus a margin, the width
// aligned, at least the finger buffer.
struct TurnedSize
{
    int ow;
    int oh;
};

TurnedSize SizeTurned(const tagRECT& box, Turn t, int outW, int outH)
{
    const int rw = box.right - box.left;
    const int rh = box.bottom - box.top;
    const int ex = std::abs(t.c * (rw - 1)) + std::abs(t.s * (rh - 1));
    const int ey = std::abs(t.s * (rw - 1)) + std::abs(t.c * (rh - 1));
    int ow = (ex >> FIXED_SHIFT) + TURN_MARGIN;
    ow = std::max((ow + WIDTH_ALIGN - 1) / WIDTH_ALIGN * WIDTH_ALIGN, outW);
    const int oh = std::max((ey >> FIXED_SHIFT) + TURN_MARGIN, outH);
    return {ow, oh};
}

// Bytes of the two work rows of a turned image ow cells wide.
std::size_t TurnedRowsBytes(int ow)
{
    return 2 * static_cast<std::size_t>(ow);
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
    const int e
        = (p00 * (FIXED_ONE - fx) + p01 * fx) * (FIXED_ONE - fy) + p10 * (FIXED_ONE - fx) * fy + p11 * fx * fy;
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
        const __m256i upperPair = _mm256_or_si256(_mm256_and_si256(upper, lowByte),
                                                  _mm256_slli_epi32(_mm256_and_si256(upper, secondByte), 8));
        const __m256i lowerPair = _mm256_or_si256(_mm256_and_si256(lower, lowByte),
                                                  _mm256_slli_epi32(_mm256_and_si256(lower, secondByte), 8));
        const __m256i top = _mm256_madd_epi16(upperPair, weights);
        const __m256i bottom = _mm256_madd_epi16(lowerPair, weights);
        const __m256i e
            = _mm256_add_epi32(_mm256_mullo_epi32(top, _mm256_sub_epi32(one, fy)), _mm256_mullo_epi32(bottom, fy));
        const __m256i level = _mm256_srli_epi32(e, BILINEAR_SHIFT); // 0..255
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(level), _mm256_extracti128_si256(level, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k), _mm_packus_epi16(words, words));
        vu = _mm256_add_epi32(vu, du8);
        vv = _mm256_add_epi32(vv, dv8);
    }
    SampleRun(origin, w, u + k * du, v + k * dv, du, dv, n - k, out + k);
}

// The box turned about its centre, the centre on cell (ow / 2, oh / 2) of an
// ow x oh image: a cell whose sample position lies in the box takes the
// bilinear sample there, any other cell bkGray. Along a row the source
// position moves by a constant step, so the cells inside form one run, found
// by division. Cells are computed on request, a row range at a time.
class Turner
{
public:
    Turner(const unsigned char* img, int w, int h, const tagRECT& box, Turn t, TurnedSize size, unsigned char bkGray)
        : w_(w),
          t_(t),
          ow_(size.ow),
          oh_(size.oh),
          rw_(box.right - box.left),
          rh_(box.bottom - box.top),
          bkGray_(bkGray),
          origin_(img + Area(w, box.top) + box.left)
    {
        // Reading the right and lower neighbours stays inside the image
        // because right <= w - 1 and bottom <= h - 1 after the clamp. The
        // gathers read two bytes beyond the lower right neighbour.
        wide_ = UseAvx2() && Area(w, box.bottom) + static_cast<std::size_t>(box.right) + 2 < Area(w, h);
    }

    int Width() const { return ow_; }
    int Height() const { return oh_; }

    // Cells col .. col + n - 1 of row into out.
    void Cells(int row, int col, int n, unsigned char* out) const
    {
        const Run run = RunOf(row);
        const int first = std::clamp(run.first, col, col + n);
        const int end = std::clamp(run.end, first, col + n);
        std::memset(out, bkGray_, static_cast<std::size_t>(first - col));
        if (end > first) {
            const int u = run.u0 + t_.c * first;
            const int v = run.v0 - t_.s * first;
            if (wide_)
                SampleRunAvx2(origin_, w_, u, v, t_.c, -t_.s, end - first, out + (first - col));
            else
                SampleRun(origin_, w_, u, v, t_.c, -t_.s, end - first, out + (first - col));
        }
        std::memset(out + (end - col), bkGray_, static_cast<std::size_t>(col + n - end));
    }

    // Cell (col, row) alone.
    unsigned char Cell(int row, int col) const
    {
        const Run run = RunOf(row);
        if (col < run.first || col >= run.end)
            return bkGray_;
        return Sample(origin_, w_, run.u0 + t_.c * col, run.v0 - t_.s * col);
    }

    // Columns of row whose sample lies in the box: [first, end).
    struct Run
    {
        int first;
        int end;
        int u0; // source position of column 0, scaled by FIXED_ONE
        int v0;
    };

    Run RunOf(int row) const
    {
        const int x0 = -(ow_ / 2);
        const int y = oh_ / 2 - row; // grows upward
        Run run{0, ow_, t_.c * x0 - t_.s * y + FIXED_ONE * (rw_ / 2), FIXED_ONE * (rh_ / 2) - (t_.s * x0 + t_.c * y)};
        if (rw_ <= 0 || rh_ <= 0) {
            run.end = 0;
            return run;
        }
        // Arithmetic shifts round toward minus infinity: a position just
        // before the first column or row gets -1 and stays outside.
        KeepWhereWithin(run.u0, t_.c, 0, static_cast<long long>(FIXED_ONE) * rw_, run.first, run.end);
        KeepWhereWithin(run.v0, -t_.s, 0, static_cast<long long>(FIXED_ONE) * rh_, run.first, run.end);
        return run;
    }

private:
    int w_;
    Turn t_;
    int ow_;
    int oh_;
    int rw_;
    int rh_;
    unsigned char bkGray_;
    const unsigned char* origin_;
    bool wide_;
};

// Finds the content of the turned image (cells other than bkGray) on the
// lattice - its left and right columns over every 16th row, its top row over
// every 16th column - and writes the finger buffer: its middle column on the
// buffer's middle column, the band below its top centred vertically, bkGray
// around. Only the lattice and the cells copied are computed. Returns false
// when its work rows cannot be had from memory.
bool PlaceContent(const Turner& turned, unsigned char bkGray, unsigned char* fp, int outW, int outH,
                  WorkMemory& memory)
{
    const int ow = turned.Width();
    const int oh = turned.Height();
    WorkLease<unsigned char> cells(memory, WorkBuffer::TurnedFinger, TurnedRowsBytes(ow));
    if (!cells)
        return false;
    unsigned char* content = cells.get() + ow; // per column: content on a lattice row
    std::memset(content, 0, static_cast<std::size_t>(ow));
    for (int row = 0; row < oh; row += LATTICE) {
        turned.Cells(row, 0, ow, cells.get());
        for (int col = 0; col < ow; col++)
            content[col] |= cells[col] != bkGray;
    }
    int left = 0;
    for (int col = 0; col < ow; col++) {
        if (content[col]) {
            left = col;
            break;
        }
    }
    int right = 0;
    for (int col = ow - 1; col >= 1; col--) { // column 0 is not tested
        if (content[col]) {
            right = col;
            break;
        }
    }
    int top = -1;
    for (int row = 0; row < oh && top < 0; row++) {
        const Turner::Run run = turned.RunOf(row);
        // Only lattice columns inside the run can differ from bkGray.
        for (int col = (run.first + LATTICE - 1) / LATTICE * LATTICE; col < run.end; col += LATTICE)
            if (turned.Cell(row, col) != bkGray) {
                top = row;
                break;
            }
    }
    top = std::max(top, MIN_CONTENT_TOP);

    // The last column and row of the turned image are never copied.
    const int x0 = std::max((left + right) / 2 - outW / 2, 0);
    const int cw = std::min(ow - x0 - 1, outW);
    const int ch = std::max(std::min(oh - 1 - top, outH), 0);
    const int y1 = (outH - ch) / 2;
    assert(cw >= 0);
    std::memset(fp, bkGray, Area(outW, y1));
    for (int k = 0; k < ch; k++) {
        unsigned char* out = fp + Area(outW, y1 + k);
        turned.Cells(top + k, x0, cw, out);
        std::memset(out + cw, bkGray, static_cast<std::size_t>(outW - cw));
    }
    std::memset(fp + Area(outW, y1 + ch), bkGray, Area(outW, outH - y1 - ch));
    return true;
}

} // namespace

bool ReserveCutMemory(WorkMemory& memory, int w, int h)
{
    // Boxes lie inside the image and finger buffers are no larger than it.
    const tagRECT box{0, 0, w, h};
    std::size_t most = 0;
    for (int angle = 0; angle < 2 * UPRIGHT; angle++)
        most = std::max(most, TurnedRowsBytes(SizeTurned(box, FixedTurnOf(CutTurn(angle)), w, h).ow));
    return memory.Reserve(WorkBuffer::TurnedFinger, most);
}

int GetRoatedFp(unsigned char* img, int w, int h, signed char* work, int count, tagRECT* boxes, int* angles,
                signed char* labels, unsigned char bkGray, unsigned char** outBufs, int outW, int outH,
                tagPOINT* centres)
{
    WorkMemory memory(WorkMemory::ONE_OFF);
    return CutFingers(img, w, h, work, count, boxes, angles, labels, bkGray, outBufs, outW, outH, centres, memory);
}

int CutFingers(unsigned char* img, int w, int h, signed char* work, int count, tagRECT* boxes, int* angles,
               signed char* labels, unsigned char bkGray, unsigned char** outBufs, int outW, int outH,
               tagPOINT* centres, WorkMemory& memory)
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
        const Turner turned(img, w, h, boxes[i], t, SizeTurned(boxes[i], t, outW, outH), bkGray);
        if (!PlaceContent(turned, bkGray, outBufs[i], outW, outH, memory))
            return 0;
    }
    return 1;
}
