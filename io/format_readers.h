// What every format reader of kovral_io shares: the reader table entry, the
// checks each decoder runs before decoding, and colour-to-gray conversion.
#ifndef KOVRAL_IO_FORMAT_READERS_H
#define KOVRAL_IO_FORMAT_READERS_H

#include "kovral_io.h"

#include <cstdint>
#include <span>

namespace kovral_io::detail {

using Bytes = std::span<const uint8_t>;

// One file format. recognises looks only at the first bytes; decode fills
// result.image and sets result.ok, or sets result.reason. The PGM/PPM and
// raw decoders also decode in place: bytes may lie in result.image.pixels
// (see InImage), which then holds at least their size.
struct FormatReader
{
    const char* name;
    bool (*recognises)(Bytes bytes);
    void (*decode)(Bytes bytes, const ReadOptions& options, ReadResult& result);
};

bool PngRecognises(Bytes bytes);
void PngDecode(Bytes bytes, const ReadOptions& options, ReadResult& result);
bool JpegRecognises(Bytes bytes);
void JpegDecode(Bytes bytes, const ReadOptions& options, ReadResult& result);
bool BmpRecognises(Bytes bytes);
void BmpDecode(Bytes bytes, const ReadOptions& options, ReadResult& result);
bool PnmRecognises(Bytes bytes);
void PnmDecode(Bytes bytes, const ReadOptions& options, ReadResult& result);

// True when a width x height image is within the options' limits; otherwise
// sets result.reason. Takes 64-bit sizes so that a header's value is checked
// before it is narrowed.
bool SizeAccepted(int64_t width, int64_t height, const ReadOptions& options, ReadResult& result);

// True when bytes lie at the start of result.image.pixels: decode in place.
bool InImage(Bytes bytes, const ReadResult& result);

// Sizes result.image for width x height pixels (already accepted), with
// memory an earlier image left; its contents are undefined.
void AllocateImage(int width, int height, ReadResult& result);

// Inches per metre and per centimetre, for resolutions stated per metre or centimetre.
constexpr double kInchesPerMetre = 1 / 0.0254;
constexpr double kInchesPerCentimetre = 1 / 2.54;

// Gray of a colour, weighted as the eye sees brightness.
inline uint8_t GrayOf(unsigned r, unsigned g, unsigned b)
{
    return static_cast<uint8_t>((r * 77 + g * 150 + b * 29) >> 8);
}

// A sample of 0..maxValue brought to 0..255, rounded to the nearest.
inline uint8_t ScaleSample(uint32_t value, uint32_t maxValue)
{
    if (value >= maxValue)
        return 255;
    return static_cast<uint8_t>((value * 255 + maxValue / 2) / maxValue);
}

} // namespace kovral_io::detail

#endif
