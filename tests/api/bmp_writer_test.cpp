// KOVRAL_SaveToBmp: whole files compared byte for byte, and the refusals.
#include <kovral.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<unsigned char> ReadFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Le32(std::vector<unsigned char>& out, uint32_t v)
{
    for (int i = 0; i < 4; i++)
        out.push_back(static_cast<unsigned char>(v >> (8 * i)));
}

// The file as a reader of BMP expects it: headers, gray palette, rows
// bottom-up, each padded with zeros to a multiple of four bytes.
std::vector<unsigned char> ExpectedFile(const std::vector<unsigned char>& img, int w, int h)
{
    const uint32_t stride = (w + 3) / 4 * 4;
    std::vector<unsigned char> f = {'B', 'M'};
    Le32(f, 1078 + stride * h);
    Le32(f, 0);
    Le32(f, 1078);
    Le32(f, 40);
    Le32(f, w);
    Le32(f, h);
    f.insert(f.end(), {1, 0, 8, 0});
    Le32(f, 0);
    Le32(f, stride * h);
    for (int i = 0; i < 4; i++)
        Le32(f, 0);
    for (int i = 0; i < 256; i++)
        f.insert(f.end(), {static_cast<unsigned char>(i), static_cast<unsigned char>(i), static_cast<unsigned char>(i), 0});
    for (int r = h - 1; r >= 0; r--) {
        f.insert(f.end(), img.begin() + r * w, img.begin() + (r + 1) * w);
        f.insert(f.end(), stride - w, 0);
    }
    return f;
}

class BmpWriter : public ::testing::Test
{
protected:
    fs::path dir = fs::temp_directory_path() / ("kovral_bmp_" + std::to_string(::getpid()));
    void SetUp() override { fs::create_directories(dir); }
    void TearDown() override { fs::remove_all(dir); }
};

TEST_F(BmpWriter, WholeFiles)
{
    struct Case
    {
        int w, h;
        size_t fileSize;
    };
    const Case cases[] = {
        {4, 4, 1094},           // smallest image, no padding
        {5, 4, 1110},           // three padding bytes per row
        {6, 5, 1118},           // two padding bytes
        {256, 360, 1078 + 92160},
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> img(static_cast<size_t>(c.w) * c.h);
        for (size_t i = 0; i < img.size(); i++)
            img[i] = static_cast<unsigned char>(i * 7 + i / c.w);  // rows differ: catches row order
        const fs::path path = dir / "out.bmp";
        EXPECT_EQ(KOVRAL_SaveToBmp(img.data(), c.w, c.h, path.c_str()), KOVRAL_OK);
        const auto file = ReadFile(path);
        EXPECT_EQ(file.size(), c.fileSize) << c.w << "x" << c.h;
        EXPECT_EQ(file, ExpectedFile(img, c.w, c.h)) << c.w << "x" << c.h;
    }
}

// The 5 x 4 header spelled out, independent of the helper above.
TEST_F(BmpWriter, HeaderBytesOfFiveByFour)
{
    std::vector<unsigned char> img(20, 9);
    img[15] = 200;  // first pixel of the last row: first pixel in the file
    const fs::path path = dir / "five.bmp";
    ASSERT_EQ(KOVRAL_SaveToBmp(img.data(), 5, 4, path.c_str()), KOVRAL_OK);
    const auto file = ReadFile(path);
    const std::vector<unsigned char> header = {
        'B', 'M', 0x56, 0x04, 0, 0, 0, 0, 0, 0, 0x36, 0x04, 0, 0,  // 1110 bytes, pixels at 1078
        40, 0, 0, 0, 5, 0, 0, 0, 4, 0, 0, 0, 1, 0, 8, 0,           // 5 x 4, 1 plane, 8 bits
        0, 0, 0, 0, 32, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,          // no compression, 32 data bytes
        0, 0, 0, 0, 0, 0, 0, 0};
    ASSERT_EQ(file.size(), 1110u);
    EXPECT_TRUE(std::equal(header.begin(), header.end(), file.begin()));
    EXPECT_EQ(file[54], 0);      // palette entry 0 is black
    EXPECT_EQ(file[54 + 1020], 255);  // entry 255 white
    EXPECT_EQ(file[1078], 200);
    EXPECT_EQ(file[1078 + 5], 0);  // padding
}

TEST_F(BmpWriter, RefusalsCreateNoFile)
{
    std::vector<unsigned char> img(64, 1);
    struct Case
    {
        const char* what;
        unsigned char* img;
        int w, h;
        bool nullPath;
        int expected;
    };
    const Case cases[] = {
        {"null image", nullptr, 4, 4, false, KOVRAL_EINVAL},
        {"width 3", img.data(), 3, 4, false, KOVRAL_EINVAL},
        {"height 3", img.data(), 4, 3, false, KOVRAL_EINVAL},
        {"negative width", img.data(), -4, 4, false, KOVRAL_EINVAL},
        {"null path", img.data(), 4, 4, true, KOVRAL_EINVAL},
    };
    const fs::path path = dir / "refused.bmp";
    for (const Case& c : cases) {
        EXPECT_EQ(KOVRAL_SaveToBmp(c.img, c.w, c.h, c.nullPath ? nullptr : path.c_str()), c.expected) << c.what;
        EXPECT_FALSE(fs::exists(path)) << c.what;
    }
    const fs::path missing = dir / "no_such_dir" / "x.bmp";
    EXPECT_EQ(KOVRAL_SaveToBmp(img.data(), 4, 4, missing.c_str()), KOVRAL_EFILE);
    EXPECT_FALSE(fs::exists(missing));
}

TEST_F(BmpWriter, ReplacesAndWorksWithoutInit)
{
    KOVRAL_Uninit();
    std::vector<unsigned char> big(100, 1), small(16, 2);
    const fs::path path = dir / "again.bmp";
    ASSERT_EQ(KOVRAL_SaveToBmp(big.data(), 10, 10, path.c_str()), KOVRAL_OK);
    ASSERT_EQ(KOVRAL_SaveToBmp(small.data(), 4, 4, path.c_str()), KOVRAL_OK);
    EXPECT_EQ(ReadFile(path), ExpectedFile(small, 4, 4));
}

} // namespace
