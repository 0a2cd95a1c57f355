// Slap decoding: every input format back to the same gray pixels, and a clear
// reason for each kind of bad file.
#include "image_decoding.h"
#include "image_encoding.h"

#include <gtest/gtest.h>
#include <stb/stb_image_write.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;
using kovral_split::DecodeImage;
using kovral_split::GrayImage;
using kovral_split::PixelSize;

constexpr int kW = 300;
constexpr int kH = 400;

std::vector<uint8_t> TestPixels(int w, int h)
{
    std::vector<uint8_t> pixels(static_cast<size_t>(w) * h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++)   // smooth enough for JPEG, rows and columns differ
            pixels[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(40 + (x * 3 + y * 5) % 180);
    return pixels;
}

class ImageDecoding : public ::testing::Test
{
protected:
    void SetUp() override { fs::create_directories(dir_); }
    void TearDown() override { fs::remove_all(dir_); }

    // The bytes of a file written in the format of ext.
    std::vector<uint8_t> Encode(const std::string& ext, int w = kW, int h = kH)
    {
        std::string path = (dir_ / ("image" + ext)).string();
        std::string error;
        std::vector<uint8_t> pixels = TestPixels(w, h);
        EXPECT_TRUE(kovral_split::WriteGrayImageFile(path, pixels.data(), w, h, error)) << error;
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    fs::path dir_ = fs::temp_directory_path() / ("kovral_decode_" + std::to_string(::getpid()));
};

TEST_F(ImageDecoding, EveryFormatGivesTheSamePixels)
{
    const std::vector<uint8_t> expected = TestPixels(kW, kH);
    struct Row
    {
        const char* ext;
        int tolerance;   // largest difference per pixel
        bool runLength;
    };
    const Row rows[] = {
        {".png", 0, true},
        {".bmp", 0, true},    // written as 24-bit colour: gray comes back exact
        {".pgm", 0, true},
        {".tga", 0, true},    // run-length packets
        {".tga", 0, false},   // plain pixels
        {".jpg", 8, true},    // lossy
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(std::string(row.ext) + (row.runLength ? "" : " plain"));
        stbi_write_tga_with_rle = row.runLength;
        std::vector<uint8_t> bytes = Encode(row.ext);
        GrayImage image;
        std::string error;
        ASSERT_TRUE(DecodeImage(bytes.data(), bytes.size(), std::nullopt, image, error)) << error;
        ASSERT_EQ(image.width, kW);
        ASSERT_EQ(image.height, kH);
        int worst = 0;
        for (size_t i = 0; i < expected.size(); i++)
            worst = std::max(worst, std::abs(image.pixels[i] - expected[i]));
        EXPECT_LE(worst, row.tolerance);
    }
    stbi_write_tga_with_rle = 1;
}

TEST_F(ImageDecoding, ColourBecomesGray)
{
    // Equal channels keep their value; pure red, green and blue weigh about 0.3, 0.59 and 0.11.
    std::vector<uint8_t> rgb(static_cast<size_t>(kW) * kH * 3, 100);
    rgb[0] = 255, rgb[1] = 0, rgb[2] = 0;
    rgb[3] = 0, rgb[4] = 255, rgb[5] = 0;
    rgb[6] = 0, rgb[7] = 0, rgb[8] = 255;
    std::string path = (dir_ / "colour.png").string();
    ASSERT_TRUE(kovral_split::WritePng(path, rgb.data(), kW, kH, 3));
    GrayImage image;
    std::string error;
    ASSERT_TRUE(kovral_split::DecodeImageFile(path, std::nullopt, image, error)) << error;
    EXPECT_NEAR(image.pixels[0], 76, 1);
    EXPECT_NEAR(image.pixels[1], 150, 1);
    EXPECT_NEAR(image.pixels[2], 29, 1);
    EXPECT_EQ(image.pixels[3], 100);
}

TEST_F(ImageDecoding, RawNeedsItsExactSize)
{
    std::vector<uint8_t> raw = TestPixels(kW, kH);
    GrayImage image;
    std::string error;
    EXPECT_TRUE(DecodeImage(raw.data(), raw.size(), PixelSize{kW, kH}, image, error)) << error;
    EXPECT_EQ(image.pixels, raw);
    EXPECT_FALSE(DecodeImage(raw.data(), raw.size(), PixelSize{kW + 1, kH}, image, error));
    EXPECT_NE(error.find("120000 bytes are not the 301 x 400 = 120400"), std::string::npos) << error;
    EXPECT_FALSE(DecodeImage(raw.data(), raw.size(), std::nullopt, image, error));
    EXPECT_NE(error.find("raw files need --size WxH"), std::string::npos) << error;
}

TEST_F(ImageDecoding, BadFilesAreRefusedWithTheirReason)
{
    auto cut = [](std::vector<uint8_t> bytes, double keep) {
        bytes.resize(static_cast<size_t>(bytes.size() * keep));
        return bytes;
    };
    stbi_write_tga_with_rle = 0;
    std::vector<uint8_t> plainTga = Encode(".tga");
    stbi_write_tga_with_rle = 1;
    const std::string text = "just some words, no picture at all\n";
    struct Row
    {
        const char* what;
        std::vector<uint8_t> bytes;
        const char* reason;
    };
    const Row rows[] = {
        {"empty", {}, "empty file"},
        {"text", {text.begin(), text.end()}, "not a PNG, BMP, PGM, JPEG or TGA image"},
        {"PNG cut in its pixel data", cut(Encode(".png"), 0.5), "corrupt PNG"},
        {"BMP missing its last row", cut(Encode(".bmp"), 0.999), "truncated BMP"},
        {"PGM cut short", cut(Encode(".pgm"), 0.7), "truncated PGM/PPM"},
        {"run-length TGA cut short", cut(Encode(".tga"), 0.9), "truncated TGA"},
        {"plain TGA cut short", cut(plainTga, 0.9), "truncated TGA"},
        {"JPEG without its end", cut(Encode(".jpg"), 0.8), "truncated JPEG"},
        {"narrower than a slap", Encode(".png", 255, 400),
         "image is 255 x 400 pixels; slaps must be 256..1600 x 360..1500"},
        {"lower than a slap", Encode(".pgm", 300, 359), "image is 300 x 359 pixels"},
        {"wider than a slap", Encode(".bmp", 1601, 400), "image is 1601 x 400 pixels"},
        {"higher than a slap", Encode(".tga", 300, 1501), "image is 300 x 1501 pixels"},
    };
    for (const Row& row : rows)
    {
        GrayImage image;
        std::string error;
        EXPECT_FALSE(DecodeImage(row.bytes.data(), row.bytes.size(), std::nullopt, image, error)) << row.what;
        EXPECT_NE(error.find(row.reason), std::string::npos) << row.what << ": " << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << row.what;
    }
}

TEST_F(ImageDecoding, MissingFileAndDirectory)
{
    GrayImage image;
    std::string error;
    EXPECT_FALSE(kovral_split::DecodeImageFile((dir_ / "none.png").string(), std::nullopt, image, error));
    EXPECT_EQ(error, "cannot open: No such file or directory");
    EXPECT_FALSE(kovral_split::DecodeImageFile(dir_.string(), std::nullopt, image, error));
    EXPECT_EQ(error, "is a directory");
}

} // namespace
