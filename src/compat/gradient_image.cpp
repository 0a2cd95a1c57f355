// Gradient image: Sobel magnitude of the half-size image, box-averaged.
#include "compat/compat.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace {

constexpr int MAX_RADIUS = 16;
constexpr int MIN_SIDE = 4; // the half image needs at least 2 x 2 pixels
constexpr int MAX_LEVEL = 255;
constexpr int CENTRE_WEIGHT = 2;

std::size_t At(int row, int column, int stride)
{
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(stride) + static_cast<std::size_t>(column);
}

// |Gx| + |Gy| of every pixel of the w x h image half; outside neighbours
// repeat the edge row or column.
void Sobel(const unsigned char* half, int w, int h, std::int16_t* gradient)
{
    for (int r = 0; r < h; r++) {
        const int up = std::max(r - 1, 0);
        const int down = std::min(r + 1, h - 1);
        for (int c = 0; c < w; c++) {
            const int left = std::max(c - 1, 0);
            const int right = std::min(c + 1, w - 1);
            const int gx = (half[At(up, right, w)] + CENTRE_WEIGHT * half[At(r, right, w)] + half[At(down, right, w)])
                - (half[At(up, left, w)] + CENTRE_WEIGHT * half[At(r, left, w)] + half[At(down, left, w)]);
            const int gy = (half[At(down, left, w)] + CENTRE_WEIGHT * half[At(down, c, w)] + half[At(down, right, w)])
                - (half[At(up, left, w)] + CENTRE_WEIGHT * half[At(up, c, w)] + half[At(up, right, w)]);
            gradient[At(r, c, w)] = static_cast<std::int16_t>((gx < 0 ? -gx : gx) + (gy < 0 ? -gy : gy));
        }
    }
}

// Number of lines of the window position - radius .. position + radius that
// lie within 0 .. count - 1.
int ClippedSpan(int position, int radius, int count)
{
    return std::min(position + radius, count - 1) - std::max(position - radius, 0) + 1;
}

} // namespace

void getGrads(const unsigned char* image, int width, int height, unsigned char* out, int radius)
{
    if (radius < 0 || radius > MAX_RADIUS || width < MIN_SIDE || height < MIN_SIDE)
        return;
    assert(image != nullptr && out != nullptr);
    const int w = width / 2;
    const int h = height / 2;
    const std::size_t cells = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);

    // Without its three work arrays nothing is written.
    std::unique_ptr<std::int16_t[]> gradient(new (std::nothrow) std::int16_t[cells]);
    std::unique_ptr<int[]> columnSums(new (std::nothrow) int[static_cast<std::size_t>(w)]());
    if (!gradient || !columnSums)
        return;
    {
        // Odd widths and heights drop their last source column or row.
        std::unique_ptr<unsigned char[]> half(new (std::nothrow) unsigned char[cells]);
        if (!half)
            return;
        for (int r = 0; r < h; r++) {
            for (int c = 0; c < w; c++)
                half[At(r, c, w)] = image[At(2 * r, 2 * c, width)];
        }
        Sobel(half.get(), w, h, gradient.get());
    }

    // Running box sum: columnSums holds every column summed over the window's
    // rows and sum the column sums of the window's columns; each slides by one
    // line per output row or pixel.
    const auto addRow = [&](int r, int sign) {
        for (int c = 0; c < w; c++)
            columnSums[c] += sign * gradient[At(r, c, w)];
    };
    for (int r = 0; r < std::min(radius, h); r++)
        addRow(r, 1);
    for (int y = 0; y < h; y++) {
        if (y - radius - 1 >= 0)
            addRow(y - radius - 1, -1);
        if (y + radius < h)
            addRow(y + radius, 1);
        const int rows = ClippedSpan(y, radius, h);
        int sum = 0;
        for (int c = 0; c < std::min(radius, w); c++)
            sum += columnSums[c];
        for (int x = 0; x < w; x++) {
            if (x - radius - 1 >= 0)
                sum -= columnSums[x - radius - 1];
            if (x + radius < w)
                sum += columnSums[x + radius];
            const int mean = sum / (rows * ClippedSpan(x, radius, w));
            out[At(y, x, w)] = static_cast<unsigned char>(std::min(mean, MAX_LEVEL));
        }
    }
}
