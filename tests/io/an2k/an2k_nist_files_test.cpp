// The two NIST transaction files record by record: types, finger positions,
// resolutions, the stated sizes that the WSQ frames contradict, and pixels
// equal to NIST's decoder output.
#include "an2k/an2k.h"
#include "nist_files.h"
#include "sha256.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace kovral_test;

TEST(An2kNistFiles, RecordsAsListed)
{
    const struct
    {
        const char* file;
        int index, type, idc, imp, fgp;
        const char* compression;
        int statedW, statedH, w, h;
        double ppi;
        bool sizeNote; // the record's size disagrees with the image
    } cases[] = {
        // valid1.8.an2: three Type-14 slaps whose records overstate their size.
        {"valid1.8.an2", 3, 14, 1, 0, 13, "WSQ20", 1800, 1000, 1600, 976, 500, true},
        {"valid1.8.an2", 4, 14, 2, 0, 14, "WSQ20", 1800, 1000, 1600, 976, 500, true},
        {"valid1.8.an2", 5, 14, 3, 0, 15, "WSQ20", 1800, 900, 1600, 800, 500, true},
        // The card file: left slap before right in Type-4 (resolution from NTR 19.69), thumbs in Type-14.
        {"nist-type-4-14-flats.eft", 3, 4, 1, 2, 14, "1", 1608, 1000, 1608, 1000, 19.69 * 25.4, false},
        {"nist-type-4-14-flats.eft", 4, 4, 2, 2, 13, "1", 1572, 1000, 1572, 1000, 19.69 * 25.4, false},
        {"nist-type-4-14-flats.eft", 5, 14, 3, 2, 15, "WSQ20", 804, 1000, 804, 1000, 500, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " record " + std::to_string(c.index));
        const std::vector<uint8_t> bytes = ReadBytes(NistFile(c.file));
        kovral_io::An2kFile file;
        std::string error;
        ASSERT_TRUE(kovral_io::ReadAn2k(bytes.data(), bytes.size(), file, error)) << error;
        EXPECT_TRUE(file.warnings.empty()) << file.warnings.front();
        EXPECT_EQ(file.records, 5);
        auto r = std::find_if(file.images.begin(), file.images.end(), [&](auto& i) { return i.index == c.index; });
        ASSERT_NE(r, file.images.end());
        EXPECT_EQ(std::tuple(r->type, r->idc, r->impression, r->Position(), r->compressionText),
                  std::tuple(c.type, c.idc, c.imp, c.fgp, std::string(c.compression)));
        EXPECT_EQ(r->compression, kovral_io::An2kCompression::Wsq);
        EXPECT_EQ(std::pair(r->statedWidth, r->statedHeight), std::pair(c.statedW, c.statedH));
        EXPECT_NEAR(r->ppi, c.ppi, 1e-9);

        kovral_io::An2kImage image;
        ASSERT_TRUE(kovral_io::DecodeAn2kImage(bytes.data(), bytes.size(), *r, image, error)) << error;
        EXPECT_EQ(std::pair(image.width, image.height), std::pair(c.w, c.h));
        EXPECT_EQ(!image.sizeNote.empty(), c.sizeNote) << image.sizeNote;
        const NistSlap* slap = std::find_if(std::begin(kNistSlaps), std::end(kNistSlaps), [&](const NistSlap& s) {
            return s.file == std::string(c.file) && s.fgp == c.fgp;
        });
        ASSERT_NE(slap, std::end(kNistSlaps));
        EXPECT_EQ(r->dataOffset, slap->dataOffset);
        const std::vector<uint8_t> pgm = PgmBytes(image.width, image.height, image.pixels);
        EXPECT_EQ(Sha256Hex(pgm.data(), pgm.size()), slap->pgmSha256);
    }
}

} // namespace
