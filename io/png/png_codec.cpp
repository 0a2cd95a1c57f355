// PNG through libspng: decoding with size and chunk limits, and encoding gray
// and RGB images into memory.
#include "format_readers.h"

#include <spng.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace kovral_io {

namespace {

using detail::Bytes;

// Ancillary chunks (text, ICC profiles) are kept in memory up to this much.
constexpr size_t kChunkCacheBytes = size_t{8} << 20;
constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

using Context = std::unique_ptr<spng_ctx, void (*)(spng_ctx*)>;

// Errors that mean the data ended early rather than being wrong.
bool IsTruncation(int error)
{
    return error == SPNG_IO_EOF || error == SPNG_EIO || error == SPNG_EOF || error == SPNG_EIDAT_TOO_SHORT
        || error == SPNG_EBUFSIZ;
}

std::string Failure(int error)
{
    return std::string(IsTruncation(error) ? "truncated PNG: " : "corrupt PNG: ") + spng_strerror(error);
}

std::vector<uint8_t> Encode(const uint8_t* pixels, int width, int height, uint8_t colourType, int channels)
{
    Context ctx(spng_ctx_new(SPNG_CTX_ENCODER), spng_ctx_free);
    if (!ctx || width <= 0 || height <= 0)
        return {};
    spng_set_option(ctx.get(), SPNG_ENCODE_TO_BUFFER, 1);
    spng_ihdr ihdr = {};
    ihdr.width = static_cast<uint32_t>(width);
    ihdr.height = static_cast<uint32_t>(height);
    ihdr.bit_depth = 8;
    ihdr.color_type = colourType;
    const size_t size = static_cast<size_t>(width) * static_cast<size_t>(height) * static_cast<size_t>(channels);
    if (spng_set_ihdr(ctx.get(), &ihdr) != 0
        || spng_encode_image(ctx.get(), pixels, size, SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE) != 0)
        return {};
    size_t length = 0;
    int error = 0;
    std::unique_ptr<uint8_t, void (*)(void*)> png(
        static_cast<uint8_t*>(spng_get_png_buffer(ctx.get(), &length, &error)), std::free);
    if (!png || error != 0)
        return {};
    return {png.get(), png.get() + length};
}

} // namespace

namespace detail {

bool PngRecognises(Bytes bytes)
{
    return bytes.size() >= sizeof kSignature && std::memcmp(bytes.data(), kSignature, sizeof kSignature) == 0;
}

void PngDecode(Bytes bytes, const ReadOptions& options, ReadResult& result)
{
    Context ctx(spng_ctx_new(0), spng_ctx_free);
    if (!ctx) {
        result.reason = "out of memory";
        return;
    }
    // libspng refuses sizes past its own limits before we see them; ours are checked below.
    spng_set_image_limits(ctx.get(), static_cast<uint32_t>(options.maxSize.width),
                          static_cast<uint32_t>(options.maxSize.height));
    spng_set_chunk_limits(ctx.get(), static_cast<size_t>(options.maxFileBytes), kChunkCacheBytes);
    int error = spng_set_png_buffer(ctx.get(), bytes.data(), bytes.size());
    spng_ihdr ihdr = {};
    if (error == 0)
        error = spng_get_ihdr(ctx.get(), &ihdr);
    if (error == SPNG_EUSER_WIDTH || error == SPNG_EUSER_HEIGHT) {
        // The header is valid but too large: say how large.
        const uint8_t* p = bytes.data() + 16;
        const auto be32 = [](const uint8_t* q) { return int64_t{q[0]} << 24 | q[1] << 16 | q[2] << 8 | q[3]; };
        if (bytes.size() >= 24 && !SizeAccepted(be32(p), be32(p + 4), options, result))
            return;
    }
    if (error != 0) {
        result.reason = Failure(error);
        return;
    }
    if (!SizeAccepted(ihdr.width, ihdr.height, options, result))
        return;

    // Gray of 8 bits or fewer decodes straight to gray; gray of 16 bits to
    // 16-bit gray and alpha; anything else to RGBA, alpha ignored.
    const bool gray
        = ihdr.color_type == SPNG_COLOR_TYPE_GRAYSCALE || ihdr.color_type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA;
    const int format = gray && ihdr.bit_depth <= 8 && ihdr.color_type == SPNG_COLOR_TYPE_GRAYSCALE ? SPNG_FMT_G8
        : gray && ihdr.bit_depth == 16                                                             ? SPNG_FMT_GA16
                                                                                                   : SPNG_FMT_RGBA8;
    size_t size = 0;
    error = spng_decoded_image_size(ctx.get(), format, &size);
    const int w = static_cast<int>(ihdr.width);
    const int h = static_cast<int>(ihdr.height);
    // 8-bit gray decodes straight into the image, the rest through a buffer.
    std::vector<uint8_t> decoded;
    if (error == 0 && format == SPNG_FMT_G8) {
        AllocateImage(w, h, result);
        error = size == result.image.pixels.size()
            ? spng_decode_image(ctx.get(), result.image.pixels.data(), size, format, 0)
            : SPNG_EINTERNAL;
    } else if (error == 0) {
        decoded.resize(size);
        error = spng_decode_image(ctx.get(), decoded.data(), size, format, 0);
    }
    if (error != 0) {
        result.reason = Failure(error);
        return;
    }

    // pHYs in pixels per metre; the unit "unknown" only gives an aspect ratio.
    spng_phys phys = {};
    if (spng_get_phys(ctx.get(), &phys) == 0 && phys.unit_specifier == 1 && phys.ppu_x > 0)
        result.ppi = phys.ppu_x / kInchesPerMetre;
    if (format == SPNG_FMT_G8) {
        result.ok = true;
        return;
    }
    AllocateImage(w, h, result);
    std::vector<uint8_t>& out = result.image.pixels;
    const size_t pixels = out.size();
    if (format == SPNG_FMT_GA16)
        for (size_t i = 0; i < pixels; i++) {
            uint16_t value;
            std::memcpy(&value, decoded.data() + 4 * i, sizeof value); // host order
            out[i] = ScaleSample(value, 0xFFFF);
        }
    else
        for (size_t i = 0; i < pixels; i++)
            out[i] = GrayOf(decoded[4 * i], decoded[4 * i + 1], decoded[4 * i + 2]);
    result.ok = true;
}

} // namespace detail

std::vector<uint8_t> EncodeGrayPng(const GrayImage& image)
{
    return EncodeGrayPng(image.pixels.data(), image.width, image.height);
}

std::vector<uint8_t> EncodeGrayPng(const uint8_t* pixels, int width, int height)
{
    return Encode(pixels, width, height, SPNG_COLOR_TYPE_GRAYSCALE, 1);
}

std::vector<uint8_t> EncodeRgbPng(const uint8_t* rgb, int width, int height)
{
    return Encode(rgb, width, height, SPNG_COLOR_TYPE_TRUECOLOR, 3);
}

} // namespace kovral_io
