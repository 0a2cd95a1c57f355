// KOVRAL_SaveToBmp: whole files compared byte for byte, and the refusals.
#include <kovral.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "test_bytes.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;
using kovral_test::ReadBytes;

// The file as a BMP reader expects it: headers, gray palette, rows
// bottom-up, each padded with zeros to a multiple of four bytes.
Bytes ExpectedFile(const Bytes& img, int w, int h)
{
    const uint32_t stride = (w + 3) / 4 * 4;
    Bytes f = {'B', 'M'};
    auto le32 = [&f](uint32_t v) {
        for (int i = 0; i < 4; i++)
            f.push_back(static_cast<unsigned char>(v >> (8 * i)));
    };
    // file size, reserved, data offset, header size, width, height, planes and bits, compression, data size
    for (uint32_t v : {1078 + stride * h, 0u, 1078u, 40u, uint32_t(w), uint32_t(h), 1u | 8u << 16, 0u, stride * h})
        le32(v);
    f.resize(f.size() + 16);
    for (int i = 0; i < 256; i++)
        f.insert(f.end(), {uint8_t(i), uint8_t(i), uint8_t(i), 0});
    for (int r = h - 1; r >= 0; r--) {
        f.insert(f.end(), img.begin() + r * w, img.begin() + (r + 1) * w);
        f.resize(f.size() + stride - w);
    }
    return f;
}

struct BmpWriter : ::testing::Test
{
    fs::path dir = fs::temp_directory_path() / ("kovral_bmp_" + std::to_string(::getpid()));
    fs::path path = dir / "out.bmp";
    void SetUp() override { fs::create_directories(dir); }
    void TearDown() override { fs::remove_all(dir); }
};

TEST_F(BmpWriter, WholeFiles)
{
    const struct
    {
        int w, h;
        size_t fileSize;
    } cases[] = {
        {4, 4, 1094}, // smallest image, no padding
        {5, 4, 1110}, // three padding bytes per row
        {6, 5, 1118}, // two padding bytes
        {256, 360, 1078 + 92160},
    };
    KOVRAL_Uninit(); // the writer needs no initialisation
    for (const auto& c : cases) {
        Bytes img(c.w * c.h);
        for (size_t i = 0; i < img.size(); i++)
            img[i] = static_cast<unsigned char>(i * 7 + i / c.w);                   // rows differ: catches row order
        ASSERT_EQ(KOVRAL_SaveToBmp(img.data(), c.w, c.h, path.c_str()), KOVRAL_OK); // replaces the last one
        const Bytes file = ReadBytes(path);
        EXPECT_EQ(file.size(), c.fileSize) << c.w << "x" << c.h;
        EXPECT_EQ(file, ExpectedFile(img, c.w, c.h)) << c.w << "x" << c.h;
    }
}

TEST_F(BmpWriter, RefusalsCreateNoFile)
{
    Bytes img(64, 1);
    const struct
    {
        unsigned char* img;
        int w, h;
        const char* path;
    } refused[] = {
        {nullptr, 4, 4, path.c_str()},     {img.data(), 3, 4, path.c_str()}, {img.data(), 4, 3, path.c_str()},
        {img.data(), -4, 4, path.c_str()}, {img.data(), 4, 4, nullptr},
    };
    for (const auto& c : refused) {
        EXPECT_EQ(KOVRAL_SaveToBmp(c.img, c.w, c.h, c.path), KOVRAL_EINVAL) << c.w << "x" << c.h;
        EXPECT_FALSE(fs::exists(path));
    }
    const fs::path missing = dir / "no_such_dir" / "x.bmp";
    EXPECT_EQ(KOVRAL_SaveToBmp(img.data(), 4, 4, missing.c_str()), KOVRAL_EFILE);
}

} // namespace
