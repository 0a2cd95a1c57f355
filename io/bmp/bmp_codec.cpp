// BMP: a reader of uncompressed files (1, 4 and 8 bits through a palette, 24
// and 32 bits direct) where every size is checked before it is used, and the
// writer of 8-bit gray files.
#include "format_readers.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace kovral_io {

namespace {

using detail::Bytes;

constexpr size_t kFileHeaderSize = 14;
constexpr uint32_t kCoreHeaderSize = 12; // OS/2 style: 16-bit sizes, 3-byte palette entries
constexpr uint32_t kInfoHeaderSize = 40;
// The later headers: Adobe's two, OS/2 2.x, version 4 and version 5; all start as the 40-byte one.
constexpr uint32_t kLongerHeaderSizes[] = {52, 56, 64, 108, 124};
constexpr uint32_t kUncompressed = 0;
constexpr int kPaletteEntries = 256;

uint32_t Le16(const uint8_t* p)
{
    return p[0] | p[1] << 8;
}
uint32_t Le32(const uint8_t* p)
{
    return Le16(p) | Le16(p + 2) << 16;
}

void Put16(uint8_t* p, uint32_t v)
{
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}

void Put32(uint8_t* p, uint32_t v)
{
    Put16(p, v);
    Put16(p + 2, v >> 16);
}

struct Header
{
    int64_t width = 0;
    int64_t height = 0; // negative: rows stored top-down
    uint32_t bits = 0;
    uint32_t compression = kUncompressed;
    uint32_t coloursUsed = 0;
    size_t paletteAt = 0;
    size_t paletteEntrySize = 4;
    uint64_t pixelsAt = 0;
    int32_t pixelsPerMetre = 0; // horizontal; 0 when not stated
};

bool ParseHeader(Bytes bytes, Header& h, std::string& reason)
{
    const uint8_t* d = bytes.data();
    if (bytes.size() < kFileHeaderSize + 4) {
        reason = "truncated BMP: " + std::to_string(bytes.size()) + " bytes";
        return false;
    }
    const uint32_t headerSize = Le32(d + kFileHeaderSize);
    if (headerSize != kCoreHeaderSize && headerSize != kInfoHeaderSize
        && std::find(std::begin(kLongerHeaderSizes), std::end(kLongerHeaderSizes), headerSize)
            == std::end(kLongerHeaderSizes)) {
        reason = "corrupt BMP: header of " + std::to_string(headerSize) + " bytes";
        return false;
    }
    if (bytes.size() < kFileHeaderSize + headerSize) {
        reason = "truncated BMP: " + std::to_string(bytes.size()) + " bytes, shorter than its header";
        return false;
    }
    const uint8_t* info = d + kFileHeaderSize;
    h.pixelsAt = Le32(d + 10);
    h.paletteAt = kFileHeaderSize + headerSize;
    if (headerSize == kCoreHeaderSize) {
        h.width = Le16(info + 4);
        h.height = Le16(info + 6);
        h.bits = Le16(info + 10);
        h.paletteEntrySize = 3;
    } else {
        h.width = static_cast<int32_t>(Le32(info + 4));
        h.height = static_cast<int32_t>(Le32(info + 8));
        h.bits = Le16(info + 14);
        h.compression = Le32(info + 16);
        h.coloursUsed = Le32(info + 32);
        h.pixelsPerMetre = static_cast<int32_t>(Le32(info + 24));
    }
    if (h.compression != kUncompressed) {
        reason = "compressed BMP (method " + std::to_string(h.compression) + ") is not supported";
        return false;
    }
    if (h.bits != 1 && h.bits != 4 && h.bits != 8 && h.bits != 24 && h.bits != 32) {
        reason = "BMP of " + std::to_string(h.bits) + " bits a pixel is not supported";
        return false;
    }
    if (h.bits <= 8 && h.coloursUsed > (1u << h.bits)) {
        reason = "corrupt BMP: " + std::to_string(h.coloursUsed) + " palette entries for " + std::to_string(h.bits)
            + "-bit pixels";
        return false;
    }
    return true;
}

} // namespace

namespace detail {

bool BmpRecognises(Bytes bytes)
{
    return bytes.size() >= 2 && bytes[0] == 'B' && bytes[1] == 'M';
}

void BmpDecode(Bytes bytes, const ReadOptions& options, ReadResult& result)
{
    Header h;
    if (!ParseHeader(bytes, h, result.reason))
        return;
    const int64_t rows = h.height < 0 ? -h.height : h.height;
    if (!SizeAccepted(h.width, rows, options, result))
        return;
    if (h.pixelsPerMetre > 0)
        result.ppi = h.pixelsPerMetre / kInchesPerMetre;

    // Sizes are bounded by the accepted limits (at most 2^31 each side), so
    // 64 bits hold the row length; the total is checked for overflow.
    const uint64_t stride = (static_cast<uint64_t>(h.width) * h.bits + 31) / 32 * 4;
    uint64_t needed = 0;
    if (__builtin_mul_overflow(stride, static_cast<uint64_t>(rows), &needed)
        || __builtin_add_overflow(needed, h.pixelsAt, &needed)) {
        result.reason = "corrupt BMP: pixel data larger than any file";
        return;
    }
    if (needed > bytes.size()) {
        result.reason = "truncated BMP: " + std::to_string(bytes.size()) + " of " + std::to_string(needed) + " bytes";
        return;
    }

    // Palette to gray; entries the file does not have are black.
    uint8_t palette[kPaletteEntries] = {};
    if (h.bits <= 8) {
        const uint32_t entries = h.coloursUsed ? h.coloursUsed : 1u << h.bits;
        if (h.paletteAt + entries * h.paletteEntrySize > h.pixelsAt) {
            result.reason = "corrupt BMP: the palette overlaps the pixels";
            return;
        }
        for (uint32_t i = 0; i < entries; i++) {
            const uint8_t* bgr = bytes.data() + h.paletteAt + i * h.paletteEntrySize;
            palette[i] = GrayOf(bgr[2], bgr[1], bgr[0]);
        }
    } else if (h.pixelsAt < h.paletteAt) {
        result.reason = "corrupt BMP: the pixels overlap the header";
        return;
    }

    const int w = static_cast<int>(h.width);
    const int hgt = static_cast<int>(rows);
    AllocateImage(w, hgt, result);
    for (int y = 0; y < hgt; y++) {
        const int fileRow = h.height < 0 ? y : hgt - 1 - y;
        const uint8_t* src = bytes.data() + h.pixelsAt + stride * static_cast<uint64_t>(fileRow);
        uint8_t* dst = result.image.pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(w);
        for (int x = 0; x < w; x++) {
            switch (h.bits) {
            case 1:
                dst[x] = palette[src[x / 8] >> (7 - x % 8) & 1];
                break;
            case 4:
                dst[x] = palette[src[x / 2] >> (x % 2 ? 0 : 4) & 15];
                break;
            case 8:
                dst[x] = palette[src[x]];
                break;
            case 24:
                dst[x] = GrayOf(src[3 * x + 2], src[3 * x + 1], src[3 * x]);
                break;
            default:
                dst[x] = GrayOf(src[4 * x + 2], src[4 * x + 1], src[4 * x]);
                break;
            }
        }
    }
    result.ok = true;
}

} // namespace detail

std::vector<uint8_t> EncodeGrayBmp(const GrayImage& image)
{
    std::vector<uint8_t> bytes;
    EncodeGrayBmp(image.pixels.data(), image.width, image.height, bytes);
    return bytes;
}

void EncodeGrayBmp(const uint8_t* pixels, int width, int height, std::vector<uint8_t>& bytes)
{
    constexpr size_t kPaletteBytes = 4 * kPaletteEntries;
    constexpr size_t kPixelsAt = kFileHeaderSize + kInfoHeaderSize + kPaletteBytes;
    const size_t w = static_cast<size_t>(width);
    const size_t h = static_cast<size_t>(height);
    const size_t stride = (w + 3) & ~size_t{3};
    // Every byte is written below: the headers cleared first, each row's padding after it.
    bytes.resize(kPixelsAt + stride * h);
    uint8_t* d = bytes.data();
    std::memset(d, 0, kPixelsAt);
    d[0] = 'B';
    d[1] = 'M';
    Put32(d + 2, static_cast<uint32_t>(bytes.size()));
    Put32(d + 10, kPixelsAt);
    uint8_t* info = d + kFileHeaderSize;
    Put32(info, kInfoHeaderSize);
    Put32(info + 4, static_cast<uint32_t>(w));
    Put32(info + 8, static_cast<uint32_t>(h)); // positive: bottom row first
    Put16(info + 12, 1);
    Put16(info + 14, 8);
    Put32(info + 20, static_cast<uint32_t>(stride * h));
    uint8_t* palette = info + kInfoHeaderSize;
    for (int i = 0; i < kPaletteEntries; i++)
        std::memset(palette + 4 * i, i, 3);
    for (size_t y = 0; y < h; y++) {
        uint8_t* row = d + kPixelsAt + stride * (h - 1 - y);
        std::memcpy(row, pixels + w * y, w);
        std::memset(row + w, 0, stride - w);
    }
}

} // namespace kovral_io
