// Reading slap images through kovral_io, with the sizes the splitter takes
// (256..1600 x 360..1500): PNG, JPEG, BMP and PGM/PPM recognised by content,
// headerless 8-bit files of a given size; colour becomes gray.
#ifndef KOVRAL_TOOLS_IMAGE_DECODING_H
#define KOVRAL_TOOLS_IMAGE_DECODING_H

#include "cli_options.h"

#include <kovral_io.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kovral_tool {

using GrayImage = kovral_io::GrayImage;

// Decodes the bytes of an image file. Anything that is not a known format is
// taken as raw 8-bit pixels when rawSize is given and the byte count is
// exactly its width x height. On failure returns false and sets error to a
// one-line reason.
bool DecodeImage(std::span<const uint8_t> bytes, const std::optional<PixelSize>& rawSize, GrayImage& image,
                 std::string& error);

// Reads and decodes a regular file as DecodeImage does; error does not repeat the path.
bool DecodeImageFile(const std::string& path, const std::optional<PixelSize>& rawSize, GrayImage& image,
                     std::string& error);

// The same through reader, whose memory it reuses: the image lives in the
// reader until its next read. Null on failure.
const GrayImage* DecodeImageFile(kovral_io::ImageFileReader& reader, const std::string& path,
                                 const std::optional<PixelSize>& rawSize, std::string& error);

} // namespace kovral_tool

#endif
