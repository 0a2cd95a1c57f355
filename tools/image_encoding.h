// Writing a gray image in the format its file name's extension names, for
// generated slaps (the bundled sample and test inputs).
#ifndef KOVRAL_TOOLS_IMAGE_ENCODING_H
#define KOVRAL_TOOLS_IMAGE_ENCODING_H

#include "image_decoding.h"

#include <string>

namespace kovral_tool {

// .png, .bmp (8-bit gray), .jpg (quality 95), .pgm or .raw (the bare pixels).
// On failure returns false and sets error.
bool WriteGrayImageFile(const std::string& path, const GrayImage& image, std::string& error);

} // namespace kovral_tool

#endif
