// The pixels of an image record: uncompressed 8-bit or 1-bit data, or WSQ.
#include "an2k.h"

namespace kovral_io {

namespace {

std::string SizeText(int w, int h)
{
    return std::to_string(w) + " x " + std::to_string(h);
}

// Uncompressed pixels: 8 bits each, or 1 bit each with rows starting on a
// byte (a set bit is black).
bool Uncompressed(const uint8_t* data, const An2kImageRecord& r, const WsqLimits& limits, An2kImage& image,
                  std::string& error)
{
    const int w = r.statedWidth, h = r.statedHeight;
    const std::string name = r.Name();
    if (w <= 0 || h <= 0 || w > limits.maxWidth || h > limits.maxHeight || int64_t(w) * h > limits.maxPixels) {
        error = name + ": uncompressed image of " + SizeText(w, h) + " pixels is outside 1..."
            + SizeText(limits.maxWidth, limits.maxHeight) + ", " + std::to_string(limits.maxPixels) + " pixels";
        return false;
    }
    if (r.bitsPerPixel != 8 && r.bitsPerPixel != 1) {
        error = name + ": uncompressed image of " + std::to_string(r.bitsPerPixel) + " bits per pixel (8 or 1 read)";
        return false;
    }
    const size_t rowBytes = r.bitsPerPixel == 8 ? size_t(w) : (size_t(w) + 7) / 8;
    const size_t needed = rowBytes * size_t(h);
    if (r.dataSize < needed) {
        error = name + ": holds " + std::to_string(r.dataSize) + " bytes of pixels, " + SizeText(w, h) + " needs "
            + std::to_string(needed);
        return false;
    }
    if (r.dataSize > needed)
        image.sizeNote = name + ": " + std::to_string(r.dataSize - needed) + " bytes after the " + SizeText(w, h)
            + " pixels are ignored";
    image.width = w;
    image.height = h;
    image.pixels.resize(size_t(w) * h);
    const uint8_t* p = data + r.dataOffset;
    if (r.bitsPerPixel == 8)
        std::copy(p, p + needed, image.pixels.begin());
    else
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++)
                image.pixels[size_t(y) * w + x]
                    = p[size_t(y) * rowBytes + size_t(x) / 8] >> (7 - x % 8) & 1 ? 0 : 255;
    return true;
}

} // namespace

bool DecodesItself(An2kCompression compression)
{
    return compression == An2kCompression::None || compression == An2kCompression::Wsq;
}

bool DecodeAn2kImage(const uint8_t* data, size_t size, const An2kImageRecord& r, An2kImage& image, std::string& error,
                     const WsqLimits& limits)
{
    image = An2kImage{};
    error.clear();
    if (r.dataOffset > size || r.dataSize > size - r.dataOffset) {
        error = r.Name() + ": image data beyond the end of the file";
        return false;
    }
    switch (r.compression) {
    case An2kCompression::None:
        return Uncompressed(data, r, limits, image, error);
    case An2kCompression::Wsq: {
        WsqImage wsq;
        if (!DecodeWsq(data + r.dataOffset, r.dataSize, wsq, error, limits)) {
            error = r.Name() + ": " + error;
            return false;
        }
        // The frame's own size is the truth; records often say otherwise.
        if (wsq.width != r.statedWidth || wsq.height != r.statedHeight)
            image.sizeNote = r.Name() + " says " + SizeText(r.statedWidth, r.statedHeight) + ", its WSQ image holds "
                + SizeText(wsq.width, wsq.height) + "; the image's size is used";
        image.width = wsq.width;
        image.height = wsq.height;
        image.pixels = std::move(wsq.pixels);
        return true;
    }
    default:
        error = r.Name() + ": compression " + (r.compressionText.empty() ? "(none given)" : r.compressionText) + " ("
            + CompressionName(r.compression) + ") is not decoded here";
        return false;
    }
}

} // namespace kovral_io
