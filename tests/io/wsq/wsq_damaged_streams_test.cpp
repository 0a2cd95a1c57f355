// Damaged and hostile streams are refused with a reason, never read past
// their end: the right slap of valid1.8.an2 changed one field at a time.
// Its segments: SOI, SOF at 2, DTT at 21, DQT at 81, DHT(0) at 472, SOB(0)
// at 672, DHT(1) at 23414, SOB(1) at 23575 and 50670, EOI at 60150.
#include "nist_files.h"
#include "wsq/wsq.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace {

using Bytes = std::vector<uint8_t>;

Bytes RightSlap()
{
    const Bytes file = kovral_test::ReadBytes(kovral_test::NistFile("valid1.8.an2"));
    return Bytes(file.begin() + 540, file.begin() + 540 + 60152);
}

void Put16(Bytes& b, size_t at, int v)
{
    kovral_test::PutBigEndian(b, at, uint32_t(v), 2);
}

TEST(WsqDamagedStreams, RefusedWithReason)
{
    const struct
    {
        const char* what;
        std::function<void(Bytes&)> change;
        const char* reason; // part of the error
    } cases[] = {
        {"no start marker", [](Bytes& b) { b[1] = 0xa1; }, "no start-of-image"},
        {"width 0", [](Bytes& b) { Put16(b, 2 + 8, 0); }, "image of 0 x 976"},
        {"height under 32", [](Bytes& b) { Put16(b, 2 + 6, 31); }, "at least 32"},
        {"65535 x 65535", [](Bytes& b) { Put16(b, 2 + 6, 65535), Put16(b, 2 + 8, 65535); }, "over the limit"},
        {"frame header length", [](Bytes& b) { Put16(b, 4, 18); }, "frame header of 18 bytes"},
        {"segment length past the end", [](Bytes& b) { Put16(b, 83, 65000); }, "runs past the end"},
        {"segment length 1", [](Bytes& b) { Put16(b, 83, 1); }, "segment length 1"},
        {"even filter", [](Bytes& b) { b[25] = 8; }, "even-length"},
        {"filter longer than its table", [](Bytes& b) { b[25] = 11; }, "does not match its filter lengths"},
        {"quantisation table length", [](Bytes& b) { Put16(b, 83, 388); }, "quantisation table of 388"},
        {"Huffman table id 8", [](Bytes& b) { b[476] = 8; }, "Huffman table id 8"},
        {"Huffman counts beyond the segment", [](Bytes& b) { b[477 + 15] = 200; }, "run past their segment"},
        {"block with an undefined table", [](Bytes& b) { b[676] = 5; }, "undefined Huffman table 5"},
        {"block before the tables", [](Bytes& b) { b[22] = 0xa3, Put16(b, 23, 3); }, "before the transform table"},
        {"unknown marker", [](Bytes& b) { b[81 + 1] = 0xa9; }, "unknown marker 0xffa9"},
        {"block 3 missing", [](Bytes& b) { b.erase(b.begin() + 50670, b.end() - 2); }, "of 1171200 coefficients"},
        {"no end marker", [](Bytes& b) { b.resize(b.size() - 2); }, "runs off the end"},
        {"a fourth block",
         [](Bytes& b) {
             b.insert(b.end() - 2, {0xff, 0xa3, 0, 3, 1, 0xff});
         },
         "more than three blocks"},
    };
    for (const auto& c : cases) {
        Bytes stream = RightSlap();
        c.change(stream);
        kovral_io::WsqImage image;
        std::string error;
        EXPECT_FALSE(kovral_io::DecodeWsq(stream.data(), stream.size(), image, error)) << c.what;
        EXPECT_NE(error.find(c.reason), std::string::npos) << c.what << ": " << error;
        EXPECT_TRUE(image.pixels.empty()) << c.what;
    }
}

// Cut anywhere, the stream is refused (the copy has exactly the cut length,
// so a read past it shows under the sanitizers and valgrind).
TEST(WsqDamagedStreams, EveryCutRefused)
{
    const Bytes stream = RightSlap();
    for (size_t cut = 0; cut < stream.size(); cut += cut < 700 ? 1 : 997) {
        const Bytes part(stream.begin(), stream.begin() + cut);
        kovral_io::WsqImage image;
        std::string error;
        EXPECT_FALSE(kovral_io::DecodeWsq(part.data(), part.size(), image, error)) << "cut at " << cut;
        EXPECT_FALSE(error.empty());
    }
}

// A caller's smaller limit is named in the refusal; trailing bytes after the
// end marker are ignored.
TEST(WsqDamagedStreams, LimitsAndTrailingBytes)
{
    Bytes stream = RightSlap();
    kovral_io::WsqImage image;
    std::string error;
    kovral_io::WsqLimits small;
    small.maxPixels = 1000000;
    EXPECT_FALSE(kovral_io::DecodeWsq(stream.data(), stream.size(), image, error, small));
    EXPECT_NE(error.find("1000000 pixels"), std::string::npos) << error;
    stream.insert(stream.end(), {0, 1, 2, 0xff});
    EXPECT_TRUE(kovral_io::DecodeWsq(stream.data(), stream.size(), image, error)) << error;
    EXPECT_TRUE(kovral_io::LooksLikeWsq(stream.data(), stream.size()));
    EXPECT_FALSE(kovral_io::LooksLikeWsq(stream.data() + 1, stream.size() - 1));
}

} // namespace

namespace {

// Restart markers between symbols change nothing: the fuzz seeds hold the
// same coefficients with and without them.
TEST(WsqStreams, RestartMarkersChangeNothing)
{
    const std::string corpus = std::string(KOVRAL_SOURCE_DIR) + "/fuzz/corpus/wsq_decoder/";
    kovral_io::WsqImage plain, restarted;
    std::string error;
    const Bytes a = kovral_test::ReadBytes(corpus + "small.wsq"), b = kovral_test::ReadBytes(corpus + "restarts.wsq");
    ASSERT_TRUE(kovral_io::DecodeWsq(a.data(), a.size(), plain, error)) << error;
    ASSERT_TRUE(kovral_io::DecodeWsq(b.data(), b.size(), restarted, error)) << error;
    EXPECT_EQ(plain.pixels, restarted.pixels);
    EXPECT_EQ(plain.commentPpi, 500);
    // Out of sequence: the second marker renumbered.
    Bytes wrong = b;
    const uint8_t second[] = {0xff, 0xb1};
    auto at = std::search(wrong.begin(), wrong.end(), std::begin(second), std::end(second));
    ASSERT_NE(at, wrong.end());
    at[1] = 0xb5;
    EXPECT_FALSE(kovral_io::DecodeWsq(wrong.data(), wrong.size(), restarted, error));
    EXPECT_NE(error.find("out of sequence"), std::string::npos) << error;
}

} // namespace
