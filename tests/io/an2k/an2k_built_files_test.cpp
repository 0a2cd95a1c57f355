// Files written here for what the NIST files do not hold: uncompressed 8-bit
// and 1-bit records, amputations, resolutions in every unit, other
// compressions handed on.
#include "an2k_records.h"
#include "an2k/an2k.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<uint8_t>;

std::string Binary(int idc, int fgp, int w, int h, int compression, const std::string& data)
{
    const size_t n = 18 + data.size();
    std::string s = {char(n >> 24), char(n >> 16), char(n >> 8), char(n), char(idc), 0, char(fgp)};
    s += std::string(5, char(255));
    s += {0, char(w >> 8), char(w), char(h >> 8), char(h), char(compression)};
    return s + data;
}

// Type-1 listing the records (type, IDC, bytes) in order; NTR as given.
Bytes Transaction(const std::vector<std::tuple<int, int, std::string>>& records, const std::string& ntr = "19.69")
{
    std::string cnt = "1\x1f" + std::to_string(records.size());
    for (const auto& [t, idc, r] : records)
        cnt += "\x1e" + std::to_string(t) + "\x1f" + std::to_string(idc);
    std::string all = Tagged(1, {{2, "0400"}, {3, cnt}, {4, "T"}, {5, "20240101"}, {11, ntr}, {12, ntr}});
    for (const auto& [t, idc, r] : records)
        all += r;
    return Bytes(all.begin(), all.end());
}

std::string Type14(int idc, int fgp, int w, int h, const std::string& slc, const std::string& cga,
                   const std::string& data, const std::string& amp = "", const std::string& tvps = "")
{
    std::vector<std::pair<int, std::string>> f
        = {{2, std::to_string(idc)}, {3, "0"}, {6, std::to_string(w)}, {7, std::to_string(h)}};
    if (!slc.empty()) {
        const size_t at = slc.find(' ');
        f.push_back({8, slc.substr(0, at)});
        f.push_back({9, slc.substr(at + 1)});
        f.push_back({10, tvps.empty() ? slc.substr(at + 1) : tvps});
    }
    f.push_back({11, cga});
    f.push_back({13, std::to_string(fgp)});
    if (!amp.empty())
        f.push_back({18, amp});
    f.push_back({999, data});
    return Tagged(14, f);
}

TEST(An2kBuiltFiles, RecordsAndPixels)
{
    std::string gray;
    for (int i = 0; i < 6 * 4; i++)
        gray += char(i * 10);
    // Two rows of ten 1-bit pixels, each row on whole bytes: 1 = black.
    const std::string bits = {char(0b10000000), char(0b01000000), char(0b11111111), char(0b11000000)};
    const Bytes file = Transaction({
        {3, 1, Binary(1, 13, 6, 4, 0, gray)},
        {6, 2, Binary(2, 2, 10, 2, 0, bits)},
        {14, 3,
         Type14(3, 14, 6, 4, "2 197", "none", gray,
                "9\x1fXX\x1e"
                "7\x1fUP",
                "197")},
        {14, 4, Type14(4, 15, 6, 4, "1 1000", "PNG", "\x89PNG")},
        {14, 5, Type14(5, 1, 6, 4, "0 0", "JP2", "x")},
        {14, 6, Type14(6, 2, 6, 4, "1 250", "NONE", gray.substr(3))},
    });
    kovral_io::An2kFile an2k;
    std::string error;
    ASSERT_TRUE(kovral_io::ReadAn2k(file.data(), file.size(), an2k, error)) << error;
    EXPECT_TRUE(an2k.warnings.empty()) << an2k.warnings.front();
    ASSERT_EQ(an2k.images.size(), 6u);

    const struct
    {
        int fgp;
        double ppi;
        kovral_io::An2kCompression compression;
        const char* refusal; // nullptr: decodes
    } expected[] = {
        {13, 19.69 / 2 * 25.4, kovral_io::An2kCompression::None, nullptr}, // Type-3: half of NTR
        {2, 19.69 * 25.4, kovral_io::An2kCompression::None, nullptr},
        {14, 197 * 2.54, kovral_io::An2kCompression::None, nullptr}, // pixels per centimetre
        {15, 1000, kovral_io::An2kCompression::Png, "compression PNG (PNG) is not decoded here"},
        {1, 19.69 * 25.4, kovral_io::An2kCompression::Jpeg2000, "compression JP2"}, // SLC 0: NTR
        {2, 250, kovral_io::An2kCompression::None, "holds 21 bytes of pixels, 6 x 4 needs 24"},
    };
    for (size_t i = 0; i < std::size(expected); i++) {
        const auto& r = an2k.images[i];
        const auto& e = expected[i];
        EXPECT_EQ(r.Position(), e.fgp) << r.Name();
        EXPECT_NEAR(r.ppi, e.ppi, 1e-9) << r.Name();
        EXPECT_EQ(r.compression, e.compression) << r.Name();
        kovral_io::An2kImage image;
        const bool ok = kovral_io::DecodeAn2kImage(file.data(), file.size(), r, image, error);
        EXPECT_EQ(ok, e.refusal == nullptr) << r.Name() << ": " << error;
        if (e.refusal)
            EXPECT_NE(error.find(e.refusal), std::string::npos) << error;
        else if (r.type == 6) {
            const Bytes row0 = {0, 255, 255, 255, 255, 255, 255, 255, 255, 0}, row1 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
            EXPECT_EQ(Bytes(image.pixels.begin(), image.pixels.begin() + 10), row0);
            EXPECT_EQ(Bytes(image.pixels.begin() + 10, image.pixels.end()), row1);
        } else
            EXPECT_EQ(image.pixels, Bytes(gray.begin(), gray.end())) << r.Name();
    }
    // Ring finger amputated, index unable to print.
    const auto& missing = an2k.images[2].missing;
    ASSERT_EQ(missing.size(), 2u);
    EXPECT_TRUE(missing[0].position == 9 && missing[0].amputated);
    EXPECT_TRUE(missing[1].position == 7 && !missing[1].amputated);
}

// Non-square pixels and uncompressed sizes over the caller's limit.
TEST(An2kBuiltFiles, WarningsAndLimits)
{
    const Bytes file = Transaction({{14, 1, Type14(1, 13, 3000, 3000, "1 500", "NONE", "", "", "250")}});
    kovral_io::An2kFile an2k;
    std::string error;
    ASSERT_TRUE(kovral_io::ReadAn2k(file.data(), file.size(), an2k, error)) << error;
    ASSERT_EQ(an2k.warnings.size(), 1u);
    EXPECT_NE(an2k.warnings[0].find("not square"), std::string::npos) << an2k.warnings[0];
    kovral_io::WsqLimits limits;
    limits.maxPixels = 1 << 20;
    kovral_io::An2kImage image;
    EXPECT_FALSE(kovral_io::DecodeAn2kImage(file.data(), file.size(), an2k.images[0], image, error, limits));
    EXPECT_NE(error.find("3000 x 3000 pixels is outside"), std::string::npos) << error;
}

} // namespace
