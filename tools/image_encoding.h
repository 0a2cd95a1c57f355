// Writing images: PNG for finger images and overlays, and every input format
// for generated slaps (sample and test inputs).
#ifndef KOVRAL_TOOLS_IMAGE_ENCODING_H
#define KOVRAL_TOOLS_IMAGE_ENCODING_H

#include <cstdint>
#include <string>

namespace kovral_split {

// Writes a PNG of w x h pixels with channels bytes each (1 gray, 3 RGB).
bool WritePng(const std::string& path, const uint8_t* pixels, int w, int h, int channels);

// Writes a gray image in the format its extension names: .png, .bmp (24-bit),
// .tga, .jpg (quality 95), .pgm or .raw (the bare pixels). On failure returns
// false and sets error.
bool WriteGrayImageFile(const std::string& path, const uint8_t* pixels, int w, int h, std::string& error);

} // namespace kovral_split

#endif
