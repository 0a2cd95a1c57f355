// Slap reading: the splitter's size limits and the hint for raw files; the
// formats themselves are tested with kovral_io.
#include "image_decoding.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using kovral_tool::PixelSize;

TEST(SlapDecoding, SizesAndRawFiles)
{
    auto pgm = [](int w, int h) {
        return kovral_io::EncodeGrayPgm({w, h, std::vector<uint8_t>(static_cast<size_t>(w) * h, 128)});
    };
    const std::vector<uint8_t> raw(300 * 400, 128);
    std::vector<uint8_t> cut = pgm(300, 400);
    cut.pop_back();
    // What, the file, the raw size, the error ("": read).
    const std::tuple<const char*, std::vector<uint8_t>, std::optional<PixelSize>, std::string> rows[] = {
        {"smallest slap", pgm(256, 360), {}, ""},
        {"largest slap", pgm(1600, 1500), {}, ""},
        {"narrow", pgm(255, 400), {}, "image is 255 x 400 pixels, outside the accepted 256..1600 x 360..1500"},
        {"low", pgm(300, 359), {}, "image is 300 x 359 pixels, outside"},
        {"wide", pgm(1601, 400), {}, "image is 1601 x 400 pixels, outside"},
        {"high", pgm(300, 1501), {}, "image is 300 x 1501 pixels, outside"},
        {"raw", raw, PixelSize{300, 400}, ""},
        // Only a file of no known format gets the hint.
        {"raw without a size", raw, {}, "not a PNG, JPEG, BMP, PGM/PPM image (raw files need --size WxH)"},
        {"truncated PGM without a size", cut, {}, "truncated PGM: 120014 of 120015 bytes"},
    };
    for (const auto& [what, bytes, rawSize, error] : rows) {
        kovral_tool::GrayImage image;
        std::string reason;
        EXPECT_EQ(kovral_tool::DecodeImage(bytes, rawSize, image, reason), error.empty()) << what;
        EXPECT_EQ(reason.substr(0, error.size()), error) << what;
        if (error.empty() || error.find("truncated") == 0) {
            EXPECT_EQ(reason, error) << what;
        }
    }
}

} // namespace
