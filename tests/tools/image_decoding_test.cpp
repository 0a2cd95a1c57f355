// Slap decoding: every input format back to the same gray pixels, and a
// reason for each kind of file that cannot be split.
#include "image_decoding.h"
#include "image_encoding.h"

#include <gtest/gtest.h>
#include <stb/stb_image_write.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

namespace {

using kovral_split::PixelSize;

// The bytes of a w x h test pattern written in the format of ext, less the last drop bytes.
// ".plain.tga" is a TGA without run-length packets, ".rgb.png" a colour PNG whose channels
// differ but weigh to the same gray.
std::vector<uint8_t> Encode(const std::string& ext, int w = 300, int h = 400, size_t drop = 0)
{
    std::vector<uint8_t> pixels(static_cast<size_t>(w) * h), rgb;
    for (size_t i = 0; i < pixels.size(); i++)   // runs of four, smooth enough for JPEG; rows and columns differ
        pixels[i] = static_cast<uint8_t>(40 + (i % w / 4 * 3 + i / w * 5) % 180);
    for (size_t i = 0; ext == ".rgb.png" && i < pixels.size(); i++)
        for (int offset : {-3, 2, -1})
            rgb.push_back(static_cast<uint8_t>(pixels[i] + offset));
    stbi_write_tga_with_rle = ext != ".plain.tga";
    std::filesystem::create_directories(KOVRAL_TOOL_TEST_DIR);
    std::string path = KOVRAL_TOOL_TEST_DIR "/decoding" + ext, error;
    EXPECT_TRUE(ext == ".rgb.png" ? kovral_split::WritePng(path, rgb.data(), w, h, 3)
                                  : kovral_split::WriteGrayImageFile(path, pixels.data(), w, h, error)) << error;
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    bytes.resize(bytes.size() - drop);
    return bytes;
}

TEST(ImageDecoding, FormatsAndBadFiles)
{
    // What, the file's bytes, the error it gives ("": the pattern back, to within tolerance), raw size.
    const std::tuple<const char*, std::vector<uint8_t>, std::string, int, std::optional<PixelSize>> rows[] = {
        {"PNG, smallest slap", Encode(".png", 256, 360), "", 0, {}},
        {"24-bit BMP, largest slap", Encode(".bmp", 1600, 1500), "", 0, {}},
        {"PGM", Encode(".pgm"), "", 0, {}},
        {"run-length TGA", Encode(".tga"), "", 0, {}},
        {"plain TGA", Encode(".plain.tga"), "", 0, {}},
        {"JPEG", Encode(".jpg"), "", 8, {}},
        {"colour PNG", Encode(".rgb.png"), "", 0, {}},
        {"raw", Encode(".raw"), "", 0, PixelSize{300, 400}},
        {"raw of another size", Encode(".raw"), "120000 bytes are not the 301 x 400 = 120400", 0, PixelSize{301, 400}},
        {"raw without a size", Encode(".raw"), "not a PNG, BMP, PGM, JPEG or TGA image (raw files need --size", 0, {}},
        {"PNG cut in its pixel data", Encode(".png", 300, 400, 1000), "corrupt PNG", 0, {}},
        // Cut by a byte; the BMP's rows of 903 bytes are padded to 904.
        {"BMP a byte short", Encode(".bmp", 301, 400, 1), "truncated BMP", 0, {}},
        {"PGM a byte short", Encode(".pgm", 300, 400, 1), "truncated PGM/PPM", 0, {}},
        {"run-length TGA a byte short", Encode(".tga", 300, 400, 1), "truncated TGA", 0, {}},
        {"plain TGA a byte short", Encode(".plain.tga", 300, 400, 1), "truncated TGA", 0, {}},
        {"JPEG a byte short", Encode(".jpg", 300, 400, 1), "truncated JPEG", 0, {}},
        {"narrow", Encode(".png", 255, 400), "image is 255 x 400 pixels; slaps must be 256..1600 x 360..1500", 0, {}},
        {"low", Encode(".pgm", 300, 359), "image is 300 x 359 pixels", 0, {}},
        {"wide", Encode(".bmp", 1601, 400), "image is 1601 x 400 pixels", 0, {}},
        {"high", Encode(".tga", 300, 1501), "image is 300 x 1501 pixels", 0, {}},
    };
    for (const auto& [what, bytes, error, tolerance, rawSize] : rows)
    {
        kovral_split::GrayImage image;
        std::string reason;
        EXPECT_EQ(kovral_split::DecodeImage(bytes.data(), bytes.size(), rawSize, image, reason), error.empty()) << what;
        EXPECT_NE(reason.find(error), std::string::npos) << what << ": " << reason;
        std::vector<uint8_t> pattern = error.empty() ? Encode(".raw", image.width, image.height) : image.pixels;
        ASSERT_EQ(image.pixels.size(), pattern.size()) << what;
        for (size_t i = 0; i < pattern.size(); i++)
            ASSERT_LE(std::abs(image.pixels[i] - pattern[i]), tolerance) << what << ", pixel " << i;
    }
}

} // namespace
