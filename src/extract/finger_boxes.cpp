// Widening of the located finger boxes before extraction.
#include "extract/extract.h"
#include "block_grid.h"

#include <algorithm>

namespace {

// Boxes grow by one block on every side and stay two pixels inside the image.
constexpr int BORDER_LOW = 2;
constexpr int BORDER_HIGH = 3;

} // namespace

void WidenFingerBoxes(tagRECT* boxes, int n, int w, int h16)
{
    for (int i = 0; i < n; i++) {
        tagRECT& b = boxes[i];
        b.left = std::max(b.left - BLOCK_SIZE, BORDER_LOW);
        b.top = std::max(b.top - BLOCK_SIZE, BORDER_LOW);
        b.right = std::min(b.right + BLOCK_SIZE, w - BORDER_HIGH);
        b.bottom = std::min(b.bottom + BLOCK_SIZE, h16 - BORDER_HIGH);
    }
}
