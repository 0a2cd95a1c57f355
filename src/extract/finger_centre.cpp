// Finger centres: the middle row of each box (or of a buffer-high window at
// the top of a tall box) and the middle of the finger's label run there.
#include "extract/extract.h"
#include "block_grid.h"

#include <cassert>
#include <cstddef>

namespace {

constexpr int WINDOW_LEAD = 8; // a tall box's window starts this far above it

} // namespace

void GetCenter(signed char* work, int bw, int /*bh*/, int count, tagRECT* boxes, int* /*angles*/, signed char* labels,
               int /*outW*/, int outH, tagPOINT* centres)
{
    for (int i = 0; i < count; i++) {
        const tagRECT& box = boxes[i];
        const int y = box.bottom - box.top < outH ? (box.top + box.bottom) / 2 : box.top + outH / 2 - WINDOW_LEAD;
        const int bx0 = box.left / BLOCK_SIZE;
        const int by = y / BLOCK_SIZE;
        assert(bx0 >= 0 && by >= 0);

        // Only block row by counts, from bx0 to its last cell.
        const signed char* row = work + static_cast<std::size_t>(by) * static_cast<std::size_t>(bw);
        int least = bw;
        int greatest = 0;
        for (int j = 0; bx0 + j < bw; j++) {
            if (row[bx0 + j] == labels[i]) {
                if (j < least)
                    least = j;
                greatest = j;
            }
        }
        // Without any labelled cell this lands on block bw / 2 + bx0.
        centres[i].x = ((least + greatest) / 2 + bx0) * BLOCK_SIZE + BLOCK_SIZE / 2;
        centres[i].y = y;
    }
}
