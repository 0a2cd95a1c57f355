// The direction map of a whole image: a sparse probe per 64 x 64 cell first,
// then every block of the cells around a probe that found ridge texture.
#include "direction/direction.h"
#include "block_grid.h"

#include <cassert>
#include <cstring>

namespace {

constexpr int CELL = 64;
constexpr int BLOCKS_PER_CELL = CELL / BLOCK_SIZE;
// The probe of a cell is the block that starts at the cell's centre.
constexpr int PROBE_OFFSET = CELL / 2;
constexpr int PROBE_BLOCK = PROBE_OFFSET / BLOCK_SIZE;
// A probe is tested while its cell start is at most the image size minus this.
constexpr int PROBE_MARGIN = CELL + PROBE_OFFSET + 1;
// The grid holds one mark per cell plus a border; cell (c, r) marks at (c + 1, r + 1).
constexpr int GRID_EXTRA = 4;
// A probe hit marks its cell and the eight around it.
constexpr int MARK_SPAN = 3;
// A partial last block row of at least this many pixel rows is tested again.
constexpr int PARTIAL_ROW_MIN = 8;
// A block reaching the image edge is tested this far back from it, one pixel
// more than a whole block.
constexpr int EDGE_BACK = BLOCK_SIZE + 1;

std::size_t DirectionGridCells(int w, int h)
{
    return static_cast<std::size_t>(w / CELL + GRID_EXTRA) * static_cast<std::size_t>(h / CELL + GRID_EXTRA);
}

} // namespace

bool ReserveDirectionMemory(WorkMemory& memory, int w, int h)
{
    return memory.Reserve(WorkBuffer::DirectionGrid, DirectionGridCells(w, h));
}

int Directions(unsigned char* img, int w, int h, signed char* map, int param)
{
    WorkMemory memory(WorkMemory::ONE_OFF);
    return MapDirections(img, w, h, map, param, memory);
}

int MapDirections(unsigned char* img, int w, int h, signed char* map, int param, WorkMemory& memory)
{
    assert(w >= 0 && h >= 0);
    const int bw = w / BLOCK_SIZE;
    const int bh = (h + BLOCK_SIZE - 1) / BLOCK_SIZE;
    std::memset(map, 0, static_cast<size_t>(bw) * static_cast<size_t>(bh));

    const int gw = w / CELL + GRID_EXTRA;
    const std::size_t gridCells = DirectionGridCells(w, h);
    WorkLease<unsigned char> grid(memory, WorkBuffer::DirectionGrid, gridCells);
    if (!grid)
        return 1;
    std::memset(grid.get(), 0, gridCells);

    // Probe pass; an image of 96 rows or columns or less has no probe.
    int hits = 0;
    for (int r = 0; CELL * r <= h - PROBE_MARGIN; r++)
        for (int c = 0; CELL * c <= w - PROBE_MARGIN; c++) {
            if (!BlockDrct(img, w, h, CELL * c + PROBE_OFFSET, CELL * r + PROBE_OFFSET, param))
                continue;
            map[(BLOCKS_PER_CELL * r + PROBE_BLOCK) * bw + BLOCKS_PER_CELL * c + PROBE_BLOCK] = 1;
            hits++;
            for (int gy = r; gy < r + MARK_SPAN; gy++)
                std::memset(&grid[static_cast<size_t>(gy) * gw + c], 1, MARK_SPAN);
        }
    if (hits == 0)
        return 1;

    // Block pass over the marked cells; probe hits are not tested again. The
    // last row and column are tested shifted back from the edge but stored at
    // their own place.
    for (int R = 0; R < bh; R++) {
        const int y = BLOCK_SIZE * R + BLOCK_SIZE >= h ? h - EDGE_BACK : BLOCK_SIZE * R;
        const unsigned char* marks = &grid[static_cast<size_t>(BLOCK_SIZE * R / CELL + 1) * gw + 1];
        signed char* row = map + static_cast<size_t>(R) * bw;
        for (int C = 0; C < bw; C++) {
            if (marks[BLOCK_SIZE * C / CELL] == 0 || row[C] > 0)
                continue;
            const int x = BLOCK_SIZE * C + BLOCK_SIZE >= w ? w - EDGE_BACK : BLOCK_SIZE * C;
            row[C] = static_cast<signed char>(BlockDrct(img, w, h, x, y, param));
        }
    }

    // A partial last row that is at least half a block tall is tested again
    // everywhere, marked or not, at unshifted columns.
    if (h % BLOCK_SIZE >= PARTIAL_ROW_MIN) {
        signed char* row = map + static_cast<size_t>(bh - 1) * bw;
        for (int C = 0; C < bw; C++)
            row[C] = static_cast<signed char>(BlockDrct(img, w, h, BLOCK_SIZE * C, h - EDGE_BACK, param));
    }
    return 1;
}
