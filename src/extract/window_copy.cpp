// Plain window copy out of a gray image.
#include "extract/extract.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

void CutImageBuf(unsigned char* dst, int dw, int dh, unsigned char* src, int x0, int y0, int sw, int sh)
{
    // The bounds are summed in 64 bits so that no window position overflows.
    if (dst == nullptr || src == nullptr || dh <= 0 || dw < 0 || x0 < 0 || y0 < 0
        || static_cast<std::int64_t>(x0) + dw > sw || static_cast<std::int64_t>(y0) + dh > sh)
        return;
    const std::size_t rowBytes = static_cast<std::size_t>(dw);
    for (int k = 0; k < dh; k++) {
        const std::size_t row = static_cast<std::size_t>(y0 + k);
        const std::size_t from = row * static_cast<std::size_t>(sw) + static_cast<std::size_t>(x0);
        std::memcpy(dst + static_cast<std::size_t>(k) * rowBytes, src + from, rowBytes);
    }
}
