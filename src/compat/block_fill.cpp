// Fills of an image with one gray level: a rectangle, or the 2 x 2 blocks
// that a half-resolution mask marks.
#include "compat/compat.h"

#include <cstring>

namespace {

// The only mask value that blanks its block.
constexpr unsigned char BLANK_MARK = 255;

} // namespace

void ImgBlockSet(unsigned char* image, int x, int y, int blockWidth, int blockHeight, int stride, unsigned char value)
{
    if (blockWidth <= 0 || blockHeight <= 0)
        return;
    for (int r = 0; r < blockHeight; r++)
        std::memset(image + (static_cast<long long>(y) + r) * stride + x, value, static_cast<size_t>(blockWidth));
}

void DelUseless(unsigned char* image, int width, int height, const unsigned char* mask, unsigned char value)
{
    if (width <= 0 || height <= 0)
        return;
    const int cellsPerRow = width / 2 + width % 2;
    const int cellRows = height / 2 + height % 2;
    for (int i = 0; i < cellRows; i++)
        for (int j = 0; j < cellsPerRow; j++) {
            if (mask[static_cast<long long>(i) * cellsPerRow + j] != BLANK_MARK)
                continue;
            // A cell on an odd last row or column covers only the pixels inside the image.
            for (long long row = 2LL * i; row < 2LL * i + 2 && row < height; row++)
                for (long long col = 2LL * j; col < 2LL * j + 2 && col < width; col++)
                    image[row * width + col] = value;
        }
}
