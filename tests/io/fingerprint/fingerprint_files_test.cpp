// Which images a fingerprint file gives: slaps or every record, the Type-14
// copy of a slap held twice, WSQ files on their own, records handed to
// another decoder or refused.
#include "fingerprint/fingerprint_files.h"
#include "nist_files.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<uint8_t>;
using kovral_io::RecordSelection;

TEST(FingerprintFiles, NistFiles)
{
    const struct
    {
        const char* file;
        std::vector<int> positions; // of the images, in file order
        std::vector<int> records;
    } cases[] = {
        {"valid1.8.an2", {13, 14, 15}, {3, 4, 5}},
        {"nist-type-4-14-flats.eft", {14, 13, 15}, {3, 4, 5}},
    };
    for (const auto& c : cases) {
        const Bytes bytes = kovral_test::ReadBytes(kovral_test::NistFile(c.file));
        const kovral_io::FingerprintFile f
            = kovral_io::ReadFingerprintFile(bytes.data(), bytes.size(), RecordSelection::Slaps);
        ASSERT_TRUE(f.ok) << f.reason;
        EXPECT_EQ(f.kind, "ANSI/NIST-ITL");
        std::vector<int> positions, records;
        for (const auto& image : f.images) {
            positions.push_back(image.position);
            records.push_back(image.record);
            EXPECT_NEAR(image.ppi, 500, 1) << image.Name();
            EXPECT_EQ(image.pixels.size(), size_t(image.width) * image.height);
        }
        EXPECT_EQ(positions, c.positions) << c.file;
        EXPECT_EQ(records, c.records) << c.file;
        EXPECT_TRUE(f.refused.empty());
    }
}

// The WSQ streams of the NIST files on their own: no resolution but the
// comment's, and NIST's 255 is not believed.
TEST(FingerprintFiles, WsqFiles)
{
    const struct
    {
        const char* file;
        size_t offset, bytes;
        double ppi;
        size_t notes;
    } cases[] = {
        {"valid1.8.an2", 540, 60152, 0, 0},                   // no comment
        {"nist-type-4-14-flats.eft", 306, 104259, 0, 1},      // PPI 255
        {"nist-type-4-14-flats.eft", 104583, 112517, 500, 0}, // PPI 500
    };
    for (const auto& c : cases) {
        const Bytes file = kovral_test::ReadBytes(kovral_test::NistFile(c.file));
        const Bytes wsq(file.begin() + c.offset, file.begin() + c.offset + c.bytes);
        ASSERT_TRUE(kovral_io::IsFingerprintFile(wsq.data(), wsq.size()));
        const kovral_io::FingerprintFile f
            = kovral_io::ReadFingerprintFile(wsq.data(), wsq.size(), RecordSelection::Slaps);
        ASSERT_TRUE(f.ok) << f.reason;
        ASSERT_EQ(f.images.size(), 1u);
        EXPECT_EQ(f.images[0].format, "WSQ");
        EXPECT_EQ(f.images[0].ppi, c.ppi);
        EXPECT_EQ(f.images[0].notes.size(), c.notes);
        EXPECT_EQ(f.images[0].Name(), "");
    }
}

// A file built from the card file's records: the right slap both as Type-4
// and as Type-14, a PNG single finger, a JPEG 2000 one.
TEST(FingerprintFiles, SelectionAndOtherDecoders)
{
    const Bytes card = kovral_test::ReadBytes(kovral_test::NistFile("nist-type-4-14-flats.eft"));
    // Type-1 of the card lists 2, 4, 4, 14; relabel the thumbs' Type-14 record as the right slap.
    Bytes twin = card;
    const std::string from = "14.013:15", to = "14.013:13";
    auto at = std::search(twin.begin(), twin.end(), from.begin(), from.end());
    ASSERT_NE(at, twin.end());
    std::copy(to.begin(), to.end(), at);
    kovral_io::FingerprintFile f = kovral_io::ReadFingerprintFile(twin.data(), twin.size(), RecordSelection::Slaps);
    ASSERT_TRUE(f.ok) << f.reason;
    ASSERT_EQ(f.images.size(), 2u);
    EXPECT_EQ(f.images[0].recordType, 4);
    EXPECT_EQ(f.images[1].recordType, 14);
    EXPECT_EQ(f.images[1].position, 13);
    ASSERT_EQ(f.warnings.size(), 1u);
    EXPECT_NE(f.warnings[0].find("which is read instead"), std::string::npos) << f.warnings[0];
    f = kovral_io::ReadFingerprintFile(twin.data(), twin.size(), RecordSelection::All);
    EXPECT_EQ(f.images.size(), 3u) << "all records, twins included";

    // The Type-14 record's compression renamed: PNG goes to the other decoder, JP2 is refused.
    for (const std::string& name : {std::string("PNG  "), std::string("JP2  ")}) {
        Bytes renamed = card;
        const std::string cga = "14.011:WSQ20";
        auto c = std::search(renamed.begin(), renamed.end(), cga.begin(), cga.end());
        ASSERT_NE(c, renamed.end());
        std::copy(name.begin(), name.end(), c + 7);
        int calls = 0;
        const kovral_io::OtherImageDecoder other
            = [&calls](const uint8_t*, size_t, kovral_io::An2kImage& image, std::string&) {
                  calls++;
                  image.width = 2, image.height = 1, image.pixels = {1, 2};
                  return true;
              };
        f = kovral_io::ReadFingerprintFile(renamed.data(), renamed.size(), RecordSelection::Slaps, other);
        ASSERT_TRUE(f.ok);
        EXPECT_EQ(calls, name[0] == 'P' ? 1 : 0);
        EXPECT_EQ(f.images.size(), name[0] == 'P' ? 3u : 2u) << name;
        EXPECT_EQ(f.refused.size(), name[0] == 'P' ? 0u : 1u) << name;
        if (name[0] == 'P') {
            EXPECT_EQ(f.images[2].notes.size(), 1u) << "804 x 1000 stated, 2 x 1 decoded";
        }
    }
}

TEST(FingerprintFiles, NotAFingerprintFile)
{
    const Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    EXPECT_FALSE(kovral_io::IsFingerprintFile(png.data(), png.size()));
    const kovral_io::FingerprintFile f = kovral_io::ReadFingerprintFile(png.data(), png.size(), RecordSelection::All);
    EXPECT_FALSE(f.ok);
    EXPECT_FALSE(f.reason.empty());
}

} // namespace
