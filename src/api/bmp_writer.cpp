// KOVRAL_SaveToBmp: an 8-bit image as an uncompressed BMP with a gray palette.
#include "api/api.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr int FILE_HEADER_SIZE = 14;
constexpr int INFO_HEADER_SIZE = 40;
constexpr int PALETTE_ENTRIES = 256;
constexpr int PALETTE_SIZE = PALETTE_ENTRIES * 4;
constexpr int PIXEL_DATA_OFFSET = FILE_HEADER_SIZE + INFO_HEADER_SIZE + PALETTE_SIZE; // 1078
constexpr int MIN_SIDE = 4;
constexpr std::uint16_t BITS_PER_PIXEL = 8;
constexpr std::uint32_t ROW_ALIGN_MASK = 3;

void Put16(unsigned char* p, std::uint32_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

void Put32(unsigned char* p, std::uint32_t v)
{
    Put16(p, v);
    Put16(p + 2, v >> 16);
}

} // namespace

int KOVRAL_SaveToBmp(unsigned char* img, int w, int h, const char* path)
{
    const unsigned long pixels = static_cast<unsigned long>(w) * static_cast<unsigned long>(h);
    if (IsBadReadPtr(img, pixels))
        return KOVRAL_EINVAL;
    if (w < MIN_SIDE || h < MIN_SIDE)
        return KOVRAL_EINVAL;
    if (path == nullptr)
        return KOVRAL_EINVAL;

    FILE* file = std::fopen(path, "wb");
    if (file == nullptr)
        return KOVRAL_EFILE;

    // Sizes in 32-bit arithmetic, as the header fields hold them; an image too
    // large for them gets wrapped size fields.
    const std::uint32_t stride = (static_cast<std::uint32_t>(w) + ROW_ALIGN_MASK) & ~ROW_ALIGN_MASK;
    const std::uint32_t dataSize = stride * static_cast<std::uint32_t>(h);

    unsigned char header[FILE_HEADER_SIZE + INFO_HEADER_SIZE] = {};
    header[0] = 'B';
    header[1] = 'M';
    Put32(header + 2, dataSize + PIXEL_DATA_OFFSET);
    Put32(header + 10, PIXEL_DATA_OFFSET);
    unsigned char* info = header + FILE_HEADER_SIZE;
    Put32(info + 0, INFO_HEADER_SIZE);
    Put32(info + 4, static_cast<std::uint32_t>(w));
    Put32(info + 8, static_cast<std::uint32_t>(h)); // positive: rows stored bottom-up
    Put16(info + 12, 1);
    Put16(info + 14, BITS_PER_PIXEL);
    Put32(info + 20, dataSize);

    unsigned char palette[PALETTE_SIZE];
    for (int i = 0; i < PALETTE_ENTRIES; i++) {
        const unsigned char level = static_cast<unsigned char>(i);
        unsigned char entry[4] = {level, level, level, 0}; // blue, green, red, reserved
        std::memcpy(palette + 4 * i, entry, sizeof entry);
    }

    std::fwrite(header, 1, FILE_HEADER_SIZE, file);
    std::fwrite(info, 1, INFO_HEADER_SIZE, file);
    std::fwrite(palette, 1, PALETTE_SIZE, file);

    // Last image row first; write results are not examined once the file is open.
    const unsigned char padding[ROW_ALIGN_MASK] = {};
    const std::size_t padBytes = (4 - static_cast<std::size_t>(w) % 4) % 4;
    for (int r = h - 1; r >= 0; r--) {
        std::fwrite(img + static_cast<std::size_t>(r) * static_cast<std::size_t>(w), 1, static_cast<std::size_t>(w),
                    file);
        if (padBytes != 0)
            std::fwrite(padding, 1, padBytes, file);
    }
    std::fclose(file);
    return KOVRAL_OK;
}
