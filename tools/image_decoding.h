// Reading slap images: PNG, BMP, PGM/PPM, JPEG and TGA through stb_image,
// headerless 8-bit files of a given size; colour becomes gray.
#ifndef KOVRAL_TOOLS_IMAGE_DECODING_H
#define KOVRAL_TOOLS_IMAGE_DECODING_H

#include "cli_options.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kovral_split {

struct GrayImage
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;   // width x height, row-major, 0 black
};

// Decodes the bytes of an image file into gray. A known format is recognised
// by its content, whatever the file's name; anything else is taken as raw
// 8-bit pixels when rawSize is given and the byte count is exactly its
// width x height. Files cut short are refused, as are images whose size the
// splitter does not take (256..1600 x 360..1500). On failure returns false and
// sets error to a one-line reason.
bool DecodeImage(const uint8_t* data, size_t size, const std::optional<PixelSize>& rawSize, GrayImage& image,
                 std::string& error);

// Reads and decodes a file as DecodeImage does.
bool DecodeImageFile(const std::string& path, const std::optional<PixelSize>& rawSize, GrayImage& image,
                     std::string& error);

} // namespace kovral_split

#endif
