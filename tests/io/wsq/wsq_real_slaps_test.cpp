// The six WSQ slaps of the NIST transaction files decode to exactly the
// pixels of NIST's own decoder: compared by digest always, and pixel by pixel
// when the reference PGM files are at hand.
#include "nist_files.h"
#include "sha256.h"
#include "wsq/wsq.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

namespace {

using namespace kovral_test;

// The header alone gives the frame's size and the NISTCOM resolution (which
// NIST's own encoder writes as 255 for a 500 ppi slap).
TEST(WsqRealSlaps, EqualReferenceDecoder)
{
    const std::string reference = RealDataDir();
    const int commentPpi[] = {0, 0, 0, 255, 500, 255};
    for (size_t k = 0; k < std::size(kNistSlaps); k++) {
        const NistSlap& s = kNistSlaps[k];
        SCOPED_TRACE(s.pgm);
        const std::vector<uint8_t> file = ReadBytes(NistFile(s.file));
        ASSERT_GE(file.size(), s.dataOffset + s.dataBytes);
        kovral_io::WsqFrame frame;
        std::string error;
        ASSERT_TRUE(kovral_io::ReadWsqFrame(file.data() + s.dataOffset, s.dataBytes, frame, error)) << error;
        EXPECT_EQ(std::tuple(frame.width, frame.height, frame.commentPpi),
                  std::tuple(s.width, s.height, commentPpi[k]));
        kovral_io::WsqImage image;
        ASSERT_TRUE(kovral_io::DecodeWsq(file.data() + s.dataOffset, s.dataBytes, image, error)) << error;
        ASSERT_EQ(image.width, s.width);
        ASSERT_EQ(image.height, s.height);
        const std::vector<uint8_t> pgm = PgmBytes(image.width, image.height, image.pixels);
        EXPECT_EQ(Sha256Hex(pgm.data(), pgm.size()), s.pgmSha256);

        if (reference.empty())
            continue;
        const std::vector<uint8_t> expected = ReadBytes(reference + "/" + s.pgm);
        ASSERT_EQ(expected.size(), pgm.size());
        int differing = 0, worst = 0;
        for (size_t i = 0; i < pgm.size(); i++)
            if (pgm[i] != expected[i])
                differing++, worst = std::max(worst, std::abs(pgm[i] - expected[i]));
        EXPECT_EQ(differing, 0) << "largest difference " << worst;
    }
}

} // namespace
