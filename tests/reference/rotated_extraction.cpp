// Upright cut of every finger, each turned cell computed on its own.
#include "reference.h"
#include "extract/extract.h"
#include "block_grid.h"
#include "trig/trig.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr int UPRIGHT = 90;          // axis angle of an upright finger
constexpr int UPRIGHT_TOLERANCE = 4; // degrees off upright still cut as a plain window
constexpr int STEEPEST_ANGLE = 134;  // fingers beyond it are turned by STEEP_TURN only
constexpr int STEEP_TURN = 45;
constexpr int TURN_MARGIN = 4;     // added to each turned extent
constexpr int WIDTH_ALIGN = 4;     // the turned buffer's width is a multiple of this
constexpr int LATTICE = 16;        // the content search tests every 16th row or column
constexpr int MIN_CONTENT_TOP = 4; // content is never copied from above this row
constexpr int BILINEAR_SHIFT = 2 * FIXED_SHIFT;

std::size_t Area(int w, int h)
{
    return static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
}

// Start of an n-long window centred on c in a length of size. A window that
// would reach the end starts one position before the last that fits.
int WindowStart(int c, int n, int size)
{
    int start = c - n / 2;
    if (start < 0)
        return 0;
    if (start >= size - n) {
        start = size - n - 1;
        if (start < 0)
            start = 0;
    }
    return start;
}

struct Turn
{
    int c; // cosine and sine of the turn, scaled by FIXED_ONE
    int s;
};

struct TurnedBuffer
{
    std::unique_ptr<unsigned char[]> cells;
    int ow;
    int oh;
};

// Allocates the buffer for box turned (both extents plus a margin, the width
// aligned) and fills it with bkGray; cells stays null when the allocation fails.
TurnedBuffer AllocateTurned(const tagRECT& box, Turn t, int outW, int outH, unsigned char bkGray)
{
    const int rw = box.right - box.left;
    const int rh = box.bottom - box.top;
    const int ex = std::abs(t.c * (rw - 1)) + std::abs(t.s * (rh - 1));
    const int ey = std::abs(t.s * (rw - 1)) + std::abs(t.c * (rh - 1));
    int ow = (ex >> FIXED_SHIFT) + TURN_MARGIN;
    ow = std::max((ow + WIDTH_ALIGN - 1) / WIDTH_ALIGN * WIDTH_ALIGN, outW);
    const int oh = std::max((ey >> FIXED_SHIFT) + TURN_MARGIN, outH);
    TurnedBuffer turned{std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[Area(ow, oh)]), ow, oh};
    if (turned.cells)
        std::memset(turned.cells.get(), bkGray, Area(ow, oh));
    return turned;
}

// Writes into the turned buffer every cell whose sample position lies in the
// box, the box centre on cell (ow / 2, oh / 2). Cells outside keep their fill.
void TurnBox(const unsigned char* img, int w, const tagRECT& box, Turn t, TurnedBuffer& turned)
{
    const int rw = box.right - box.left;
    const int rh = box.bottom - box.top;
    if (rw <= 0 || rh <= 0)
        return;
    const int hw = rw / 2;
    const int hh = rh / 2;
    // Reading the right and lower neighbours stays inside the image because
    // right <= w - 1 and bottom <= h - 1 after the clamp.
    const unsigned char* origin = img + Area(w, box.top) + box.left;
    for (int row = 0; row < turned.oh; row++) {
        const int y = turned.oh / 2 - row; // grows upward
        unsigned char* out = turned.cells.get() + Area(turned.ow, row);
        for (int col = 0; col < turned.ow; col++) {
            const int x = col - turned.ow / 2;
            const int u = t.c * x - t.s * y + FIXED_ONE * hw;
            const int v = FIXED_ONE * hh - (t.s * x + t.c * y);
            // Arithmetic shifts round toward minus infinity: a position just
            // before the first column or row gets -1 and stays outside.
            const int sx = u >> FIXED_SHIFT;
            const int sy = v >> FIXED_SHIFT;
            if (sx < 0 || sx >= rw || sy < 0 || sy >= rh)
                continue;
            const int fx = u - FIXED_ONE * sx;
            const int fy = v - FIXED_ONE * sy;
            const unsigned char* p = origin + Area(w, sy) + sx;
            const int p00 = p[0];
            const int p01 = p[1];
            const int p10 = p[w];
            const int p11 = p[w + 1];
            // Every partial sum stays below 255 << 22, inside int.
            const int e = (p00 * (FIXED_ONE - fx) + p01 * fx) * (FIXED_ONE - fy) + p10 * (FIXED_ONE - fx) * fy
                + p11 * fx * fy;
            out[col] = static_cast<unsigned char>(e >> BILINEAR_SHIFT);
        }
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

namespace reference {

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
        const int r = angles[i] > STEEPEST_ANGLE ? STEEP_TURN : angles[i] - UPRIGHT;
        if (std::abs(r) <= UPRIGHT_TOLERANCE || w == outW || h == outH) {
            // A window that leaves the image copies nothing: the buffer keeps its content.
            const int x0 = WindowStart(centres[i].x, outW, w);
            const int y0 = WindowStart(centres[i].y, outH, h);
            CutImageBuf(outBufs[i], outW, outH, img, x0, y0, w, h);
            continue;
        }
        const Turn t{cosdn(r), sindn(r)};
        TurnedBuffer turned = AllocateTurned(boxes[i], t, outW, outH, bkGray);
        if (!turned.cells)
            return 0;
        TurnBox(img, w, boxes[i], t, turned);
        std::memset(outBufs[i], bkGray, Area(outW, outH));
        PlaceContent(turned, bkGray, outBufs[i], outW, outH);
    }
    return 1;
}

} // namespace reference
