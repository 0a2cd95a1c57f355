#include "image_encoding.h"

#include <filesystem>

namespace kovral_tool {

namespace {

constexpr int kJpegQuality = 95;

} // namespace

bool WriteGrayImageFile(const std::string& path, const GrayImage& image, std::string& error)
{
    const std::string ext = std::filesystem::path(path).extension().string();
    std::vector<uint8_t> bytes;
    if (ext == ".png")
        bytes = kovral_io::EncodeGrayPng(image);
    else if (ext == ".bmp")
        bytes = kovral_io::EncodeGrayBmp(image);
    else if (ext == ".jpg")
        bytes = kovral_io::EncodeGrayJpeg(image, kJpegQuality);
    else if (ext == ".pgm")
        bytes = kovral_io::EncodeGrayPgm(image);
    else if (ext == ".raw")
        bytes = image.pixels;
    else {
        error = "unknown image extension '" + ext + "' (png, bmp, jpg, pgm, raw)";
        return false;
    }
    if (bytes.empty()) {
        error = path + ": cannot encode the image";
        return false;
    }
    return kovral_io::WriteFile(path, bytes, error);
}

} // namespace kovral_tool
