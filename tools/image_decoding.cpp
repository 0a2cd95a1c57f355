#include "image_decoding.h"

#include <kovral.h>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_BMP
#define STBI_ONLY_PNM
#define STBI_ONLY_JPEG
#define STBI_ONLY_TGA
#include <stb/stb_image.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <sys/stat.h>

namespace kovral_split {

namespace {

// Larger files are refused before reading: the largest slap, even as 16-bit
// colour PNM, is a small fraction of this.
constexpr long kMaxFileBytes = 256L << 20;
constexpr int kGray = 1;

enum class Format
{
    Png,
    Bmp,
    Pnm,
    Jpeg,
    Tga
};

const char* FormatName(Format format)
{
    switch (format)
    {
    case Format::Png: return "PNG";
    case Format::Bmp: return "BMP";
    case Format::Pnm: return "PGM/PPM";
    case Format::Jpeg: return "JPEG";
    case Format::Tga: return "TGA";
    }
    return "image";
}

// Only called for data that stb_image recognised; TGA has no signature.
Format DetectFormat(const uint8_t* d, size_t size)
{
    if (size >= 8 && std::memcmp(d, "\x89PNG", 4) == 0)
        return Format::Png;
    if (size >= 2 && d[0] == 'B' && d[1] == 'M')
        return Format::Bmp;
    if (size >= 2 && d[0] == 'P' && (d[1] == '5' || d[1] == '6'))
        return Format::Pnm;
    if (size >= 2 && d[0] == 0xFF && d[1] == 0xD8)
        return Format::Jpeg;
    return Format::Tga;
}

uint32_t Le16(const uint8_t* p) { return p[0] | (p[1] << 8); }
uint32_t Le32(const uint8_t* p) { return Le16(p) | (Le16(p + 2) << 16); }

// Bytes that an uncompressed BMP needs; 0 when it is compressed or unknown.
uint64_t BmpNeeds(const uint8_t* d, size_t size)
{
    constexpr size_t kCoreHeaderEnd = 26;
    constexpr size_t kInfoHeaderEnd = 34;
    constexpr uint32_t kCoreHeaderSize = 12;
    constexpr uint32_t kRgb = 0, kBitfields = 3, kAlphaBitfields = 6;
    if (size < kCoreHeaderEnd)
        return kCoreHeaderEnd;
    uint64_t offset = Le32(d + 10);
    int64_t w, h;
    uint32_t bpp, compression = kRgb;
    if (Le32(d + 14) == kCoreHeaderSize)
    {
        w = Le16(d + 18);
        h = static_cast<int16_t>(Le16(d + 20));
        bpp = Le16(d + 24);
    }
    else
    {
        if (size < kInfoHeaderEnd)
            return kInfoHeaderEnd;
        w = static_cast<int32_t>(Le32(d + 18));
        h = static_cast<int32_t>(Le32(d + 22));
        bpp = Le16(d + 28);
        compression = Le32(d + 30);
    }
    if (compression != kRgb && compression != kBitfields && compression != kAlphaBitfields)
        return 0;
    uint64_t stride = (static_cast<uint64_t>(w < 0 ? -w : w) * bpp + 31) / 32 * 4;
    return offset + stride * static_cast<uint64_t>(h < 0 ? -h : h);
}

// Bytes that a binary PGM/PPM needs: header, then width x height samples.
uint64_t PnmNeeds(const uint8_t* d, size_t size)
{
    size_t pos = 2;
    uint64_t fields[3] = {0, 0, 0};
    for (uint64_t& field : fields)
    {
        for (;;)
        {
            while (pos < size && d[pos] && std::strchr(" \t\n\v\f\r", d[pos]))
                pos++;
            if (pos < size && d[pos] == '#')
                while (pos < size && d[pos] != '\n' && d[pos] != '\r')
                    pos++;
            else
                break;
        }
        while (pos < size && d[pos] >= '0' && d[pos] <= '9')
            field = field * 10 + (d[pos++] - '0');
    }
    uint64_t samples = d[1] == '6' ? 3 : 1;
    uint64_t bytes = fields[2] > 255 ? 2 : 1;
    return pos + 1 + fields[0] * fields[1] * samples * bytes;
}

// Bytes that a TGA needs; run-length data is walked packet by packet.
uint64_t TgaNeeds(const uint8_t* d, size_t size)
{
    constexpr size_t kHeader = 18;
    constexpr uint8_t kRunLengthFlag = 8;
    constexpr uint8_t kRunPacket = 0x80;
    if (size < kHeader)
        return kHeader;
    uint64_t pos = kHeader + d[0];
    if (d[1])
        pos += Le16(d + 5) * ((d[7] + 7) / 8);
    uint64_t pixelBytes = (d[16] + 7) / 8;
    uint64_t pixels = static_cast<uint64_t>(Le16(d + 12)) * Le16(d + 14);
    if (!(d[2] & kRunLengthFlag))
        return pos + pixels * pixelBytes;
    for (uint64_t done = 0; done < pixels;)
    {
        if (pos >= size)
            return pos + 1;
        uint8_t packet = d[pos++];
        uint64_t run = (packet & 0x7F) + 1;
        pos += (packet & kRunPacket) ? pixelBytes : run * pixelBytes;
        done += run;
    }
    return pos;
}

// True when the entropy-coded data after the last start-of-scan reaches an end-of-image marker.
bool JpegComplete(const uint8_t* d, size_t size)
{
    size_t lastScan = 0;
    for (size_t i = 2; i + 1 < size; i++)
        if (d[i] == 0xFF && d[i + 1] == 0xDA)
            lastScan = i;
    for (size_t i = lastScan; lastScan && i + 1 < size; i++)
        if (d[i] == 0xFF && d[i + 1] == 0xD9)
            return true;
    return false;
}

std::string SizeLimitsText()
{
    return std::to_string(KOVRAL_MIN_WIDTH) + ".." + std::to_string(KOVRAL_MAX_WIDTH) + " x "
           + std::to_string(KOVRAL_MIN_HEIGHT) + ".." + std::to_string(KOVRAL_MAX_HEIGHT);
}

bool CheckSize(int w, int h, std::string& error)
{
    if (w >= KOVRAL_MIN_WIDTH && w <= KOVRAL_MAX_WIDTH && h >= KOVRAL_MIN_HEIGHT && h <= KOVRAL_MAX_HEIGHT)
        return true;
    error = "image is " + std::to_string(w) + " x " + std::to_string(h) + " pixels; slaps must be "
            + SizeLimitsText();
    return false;
}

bool DecodeRaw(const uint8_t* data, size_t size, const PixelSize& raw, GrayImage& image, std::string& error)
{
    uint64_t needed = static_cast<uint64_t>(raw.width) * static_cast<uint64_t>(raw.height);
    if (size != needed)
    {
        error = "not a PNG, BMP, PGM, JPEG or TGA image, and its " + std::to_string(size)
                + " bytes are not the " + std::to_string(raw.width) + " x " + std::to_string(raw.height) + " = "
                + std::to_string(needed) + " of a raw image (--size)";
        return false;
    }
    if (!CheckSize(raw.width, raw.height, error))
        return false;
    image.width = raw.width;
    image.height = raw.height;
    image.pixels.assign(data, data + size);
    return true;
}

} // namespace

bool DecodeImage(const uint8_t* data, size_t size, const std::optional<PixelSize>& rawSize, GrayImage& image,
                 std::string& error)
{
    if (size == 0)
    {
        error = "empty file";
        return false;
    }
    int w = 0, h = 0, channels = 0;
    int length = static_cast<int>(size);
    if (!stbi_info_from_memory(data, length, &w, &h, &channels))
    {
        if (rawSize)
            return DecodeRaw(data, size, *rawSize, image, error);
        error = "not a PNG, BMP, PGM, JPEG or TGA image (raw files need --size WxH)";
        return false;
    }
    if (!CheckSize(w, h, error))
        return false;

    Format format = DetectFormat(data, size);
    uint64_t needed = 0;
    switch (format)
    {
    case Format::Bmp: needed = BmpNeeds(data, size); break;
    case Format::Pnm: needed = PnmNeeds(data, size); break;
    case Format::Tga: needed = TgaNeeds(data, size); break;
    case Format::Jpeg:
        if (!JpegComplete(data, size))
        {
            error = "truncated JPEG: no end-of-image marker after the last scan";
            return false;
        }
        break;
    case Format::Png: break;
    }
    if (needed > size)
    {
        error = std::string("truncated ") + FormatName(format) + ": " + std::to_string(size) + " of "
                + std::to_string(needed) + " bytes";
        return false;
    }

    std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(data, length, &w, &h, &channels, kGray), stbi_image_free);
    if (!pixels)
    {
        error = std::string("corrupt ") + FormatName(format) + ": " + stbi_failure_reason();
        return false;
    }
    image.width = w;
    image.height = h;
    image.pixels.assign(pixels.get(), pixels.get() + static_cast<size_t>(w) * h);
    return true;
}

bool DecodeImageFile(const std::string& path, const std::optional<PixelSize>& rawSize, GrayImage& image,
                     std::string& error)
{
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file)
    {
        error = std::string("cannot open: ") + std::strerror(errno);
        return false;
    }
    struct stat info;
    if (fstat(fileno(file.get()), &info) != 0)
    {
        error = std::string("cannot read: ") + std::strerror(errno);
        return false;
    }
    if (!S_ISREG(info.st_mode))
    {
        error = S_ISDIR(info.st_mode) ? "is a directory" : "not a regular file";
        return false;
    }
    long size = static_cast<long>(info.st_size);
    if (size > kMaxFileBytes)
    {
        error = "file of " + std::to_string(size) + " bytes is far too large for a slap image";
        return false;
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (size > 0 && std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size())
    {
        error = std::string("cannot read: ") + (std::ferror(file.get()) ? std::strerror(errno) : "file shrank");
        return false;
    }
    return DecodeImage(bytes.data(), bytes.size(), rawSize, image, error);
}

} // namespace kovral_split
