// Painting of a square block, whole or one triangular half.
#include "compat/compat.h"

#include <cstddef>
#include <cstring>

namespace {

enum BlockPart
{
    WHOLE = 0,
    LOWER_RIGHT = 1, // below the anti-diagonal, which stays untouched
    LOWER_LEFT = 2,  // below the main diagonal, which stays untouched
    UPPER_LEFT = 3,  // down to the anti-diagonal
    UPPER_RIGHT = 4, // down to the main diagonal
};

} // namespace

void SetBlockValue(signed char* buf, int w, int /*h*/, int x, int y, int size, signed char value, int mode)
{
    if (size <= 0 || mode < WHOLE || mode > UPPER_RIGHT)
        return;
    for (int k = 0; k < size; k++) {
        // Columns [first, end) of block row k.
        int first = 0;
        int end = size;
        switch (mode) {
        case LOWER_RIGHT:
            first = size - k;
            break;
        case LOWER_LEFT:
            end = k;
            break;
        case UPPER_LEFT:
            end = size - k;
            break;
        case UPPER_RIGHT:
            first = k;
            break;
        default:
            break;
        }
        if (first < end) {
            signed char* row = buf + static_cast<std::ptrdiff_t>(y + k) * w + x;
            std::memset(row + first, static_cast<unsigned char>(value), static_cast<std::size_t>(end - first));
        }
    }
}
