// Widening of the located finger boxes before extraction.
#include "api/api.h"

#include <algorithm>

namespace {

// One block on every side, kept two pixels inside the image.
constexpr int BOX_MARGIN = 16;
constexpr int BORDER_LOW = 2;
constexpr int BORDER_HIGH = 3;

} // namespace

void WidenFingerBoxes(tagRECT* boxes, int n, int w, int h16)
{
    for (int i = 0; i < n; i++) {
        tagRECT& b = boxes[i];
        b.left = std::max(b.left - BOX_MARGIN, BORDER_LOW);
        b.top = std::max(b.top - BOX_MARGIN, BORDER_LOW);
        b.right = std::min(b.right + BOX_MARGIN, w - BORDER_HIGH);
        b.bottom = std::min(b.bottom + BOX_MARGIN, h16 - BORDER_HIGH);
    }
}
