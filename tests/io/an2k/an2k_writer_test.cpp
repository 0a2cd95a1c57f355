// Finger images written as a transaction read back as they were given: the
// pixels, finger positions, impression, 500 ppi; separators in the text
// fields do not break the file.
#include "an2k/an2k.h"

#include <gtest/gtest.h>

namespace {

TEST(An2kWriter, ReadsBackAsGiven)
{
    std::vector<kovral_io::An2kFingerImage> fingers;
    const struct
    {
        int w, h, position, impression;
        const char* comment;
    } rows[] = {
        {3, 2, 2, 0, "plain"},
        {320, 480, 10, 2, "a path with \x1c\x1d\x1e\x1f separators"}, // every separator, and a LEN of six digits
        {1, 1, 0, 0, ""},                                             // unknown position, no comment
    };
    for (const auto& r : rows) {
        kovral_io::An2kFingerImage f;
        f.width = r.w, f.height = r.h, f.position = r.position, f.impression = r.impression, f.comment = r.comment;
        // Every byte value, separators included, in the pixels.
        for (int i = 0; i < r.w * r.h; i++)
            f.pixels.push_back(uint8_t(i * 7 + r.position));
        fingers.push_back(f);
    }
    std::vector<uint8_t> bytes;
    std::string error;
    ASSERT_TRUE(kovral_io::WriteAn2kFingers(fingers, "20240101", "kovral\x1e", bytes, error)) << error;

    kovral_io::An2kFile file;
    ASSERT_TRUE(kovral_io::ReadAn2k(bytes.data(), bytes.size(), file, error)) << error;
    EXPECT_TRUE(file.warnings.empty()) << file.warnings.front();
    EXPECT_EQ(file.version, "0500");
    ASSERT_EQ(file.images.size(), fingers.size());
    for (size_t i = 0; i < fingers.size(); i++) {
        const kovral_io::An2kImageRecord& r = file.images[i];
        EXPECT_EQ(r.type, 14);
        EXPECT_EQ(r.idc, int(i + 1));
        EXPECT_EQ(r.Position(), fingers[i].position);
        EXPECT_EQ(r.impression, fingers[i].impression);
        EXPECT_EQ(r.ppi, 500);
        kovral_io::An2kImage image;
        ASSERT_TRUE(kovral_io::DecodeAn2kImage(bytes.data(), bytes.size(), r, image, error)) << error;
        EXPECT_EQ(image.width, fingers[i].width);
        EXPECT_EQ(image.pixels, fingers[i].pixels);
    }
}

TEST(An2kWriter, Refusals)
{
    std::vector<uint8_t> bytes;
    std::string error;
    std::vector<kovral_io::An2kFingerImage> many(kovral_io::kMaxWrittenRecords + 1);
    for (auto& f : many)
        f.width = f.height = 1, f.pixels = {0};
    EXPECT_FALSE(kovral_io::WriteAn2kFingers(many, "20240101", "x", bytes, error));
    EXPECT_EQ(error, "100 finger images: a transaction holds at most 99");
    many.resize(1);
    many[0].pixels.clear(); // fewer pixels than its size
    EXPECT_FALSE(kovral_io::WriteAn2kFingers(many, "20240101", "x", bytes, error));
    EXPECT_EQ(error, "finger image 1 has no pixels of its size");
}

} // namespace
