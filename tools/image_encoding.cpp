#include "image_encoding.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace kovral_split {

namespace {

constexpr int kJpegQuality = 95;
constexpr int kPngCompression = 9;

bool WriteBytes(const std::string& path, const void* header, size_t headerSize, const uint8_t* pixels, size_t size)
{
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!file)
        return false;
    bool ok = std::fwrite(header, 1, headerSize, file.get()) == headerSize
              && std::fwrite(pixels, 1, size, file.get()) == size;
    return std::fclose(file.release()) == 0 && ok;
}

} // namespace

bool WritePng(const std::string& path, const uint8_t* pixels, int w, int h, int channels)
{
    stbi_write_png_compression_level = kPngCompression;
    return stbi_write_png(path.c_str(), w, h, channels, pixels, w * channels) != 0;
}

bool WriteGrayImageFile(const std::string& path, const uint8_t* pixels, int w, int h, std::string& error)
{
    std::string ext = std::filesystem::path(path).extension().string();
    size_t size = static_cast<size_t>(w) * h;
    bool ok = false;
    errno = 0;
    if (ext == ".png")
        ok = WritePng(path, pixels, w, h, 1);
    else if (ext == ".bmp")
        ok = stbi_write_bmp(path.c_str(), w, h, 1, pixels) != 0;
    else if (ext == ".tga")
        ok = stbi_write_tga(path.c_str(), w, h, 1, pixels) != 0;
    else if (ext == ".jpg")
        ok = stbi_write_jpg(path.c_str(), w, h, 1, pixels, kJpegQuality) != 0;
    else if (ext == ".pgm")
    {
        std::string header = "P5\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n";
        ok = WriteBytes(path, header.data(), header.size(), pixels, size);
    }
    else if (ext == ".raw")
        ok = WriteBytes(path, "", 0, pixels, size);
    else
    {
        error = "unknown image extension '" + ext + "' (png, bmp, tga, jpg, pgm, raw)";
        return false;
    }
    if (!ok)
        error = "cannot write " + path + (errno ? std::string(": ") + std::strerror(errno) : std::string());
    return ok;
}

} // namespace kovral_split
