// The decoder's pieces: the fast node synthesis against the line-by-line
// reference, the subband tree against known rectangles, Huffman tables and
// the symbols of one block.
#include "wsq/wsq.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

using namespace kovral_io::wsq_detail;

// The 9/7 pair as a stream stores it: synthesis filters built from it.
SynthesisFilters NineSeven()
{
    const float h0[] = {0.852698683f, 0.3774028420f, -0.1106244027f, -0.02384946495f, 0.03782845661f};
    const float h1[] = {0.788485586f, -0.4180922806f, -0.04068941622f, 0.0645388811f};
    SynthesisFilters f;
    f.highLength = 9;
    f.lowLength = 7;
    for (int k = 0; k < 5; k++)
        f.high[4 + k] = f.high[4 - k] = k % 2 ? -h0[k] : h0[k];
    for (int k = 0; k < 4; k++)
        f.low[3 + k] = f.low[3 - k] = k % 2 ? -h1[k] : h1[k];
    return f;
}

// A three-tap and a five-tap filter: other centres and term counts.
SynthesisFilters ShortPair()
{
    SynthesisFilters f;
    f.lowLength = 3, f.highLength = 5;
    const float low[] = {0.25f, 1.1f, 0.25f}, high[] = {-0.1f, 0.3f, -0.9f, 0.3f, -0.1f};
    std::memcpy(f.low, low, sizeof low);
    std::memcpy(f.high, high, sizeof high);
    return f;
}

// Columns then rows of a rectangle, one line at a time, through the reference.
void ReferenceNode(std::vector<float>& img, int stride, const Rect& r, bool ix, bool iy, const SynthesisFilters& f)
{
    std::vector<float> in(size_t(std::max(r.w, r.h))), out(in.size());
    for (int x = 0; x < r.w; x++) {
        for (int y = 0; y < r.h; y++)
            in[size_t(y)] = img[size_t(r.y + y) * stride + r.x + x];
        SynthesiseLineReference(in.data(), r.h, iy, f, out.data());
        for (int y = 0; y < r.h; y++)
            img[size_t(r.y + y) * stride + r.x + x] = out[size_t(y)];
    }
    for (int y = 0; y < r.h; y++) {
        float* row = img.data() + size_t(r.y + y) * stride + r.x;
        SynthesiseLineReference(row, r.w, ix, f, out.data());
        std::memcpy(row, out.data(), sizeof(float) * size_t(r.w));
    }
}

TEST(WsqSynthesis, NodeEqualsReferenceBitForBit)
{
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> value(-300.0f, 300.0f);
    // Sizes around the vector widths (4, 8, 32 samples a pass) and the
    // shortest lines, odd and even, in every inversion, both vector paths.
    const Rect rects[] = {{3, 2, 2, 2}, {1, 1, 3, 5}, {0, 0, 17, 9}, {5, 3, 64, 33}, {2, 7, 71, 40}, {0, 0, 100, 61}};
    for (bool wide : {true, false}) {
        const bool used = UseWideVectors(wide);
        for (const SynthesisFilters& f : {NineSeven(), ShortPair()})
            for (const Rect& r : rects)
                for (int flags = 0; flags < 4; flags++) {
                    const int stride = r.x + r.w + 3;
                    std::vector<float> img(size_t(stride) * (r.y + r.h + 2));
                    for (float& v : img)
                        v = value(rng);
                    std::vector<float> expected = img, got = img, scratch(size_t(r.w) * r.h);
                    ReferenceNode(expected, stride, r, flags & 1, flags & 2, f);
                    SynthesiseNode(got.data(), stride, r, flags & 1, flags & 2, f, scratch.data());
                    ASSERT_EQ(std::memcmp(got.data(), expected.data(), sizeof(float) * got.size()), 0)
                        << r.w << " x " << r.h << " flags " << flags << " taps " << f.lowLength << "/" << f.highLength
                        << (used ? " wide" : " narrow");
                }
    }
    UseWideVectors(true);
}

// A line of two: mirroring repeats the other sample forever.
TEST(WsqSynthesis, ShortestLine)
{
    SynthesisFilters f;
    f.lowLength = f.highLength = 3;
    const float low[] = {1, 2, 4}, high[] = {8, 16, 32};
    std::memcpy(f.low, low, sizeof low);
    std::memcpy(f.high, high, sizeof high);
    const float in[] = {1, 100}; // L[0] = 1, H[0] = 100
    float out[2];
    SynthesiseLineReference(in, 2, false, f, out);
    EXPECT_EQ(out[0], 2 * 1 + 8 * 100 + 32 * 100); // position 0: taps 0 and 2 reach H at -1 -> 1 and 1
    EXPECT_EQ(out[1], 1 * 1 + 4 * 1 + 16 * 100);   // position 1: L at 0 and 2 -> 0
    SynthesiseLineReference(in, 2, true, f, out);  // stored [H, L]
    EXPECT_EQ(out[0], 2 * 100 + 8 * 1 + 32 * 1);
}

TEST(WsqSubbandTree, KnownRectangles)
{
    const struct
    {
        int w, h, subband;
        Rect r;
    } cases[] = {
        {1600, 976, 0, {0, 0, 50, 31}},         {1600, 976, 3, {50, 31, 50, 30}},
        {1600, 976, 51, {400, 244, 400, 244}},  {1600, 976, 63, {1200, 732, 400, 244}},
        {1572, 1000, 1, {50, 0, 49, 32}},   // odd node 19 (99 wide): the low band is wider
        {1572, 1000, 19, {393, 0, 98, 63}}, // node 4 is x-inverted: its left children are narrower
        {1572, 1000, 24, {687, 0, 99, 63}},     {1572, 1000, 35, {0, 250, 99, 63}}, // node 5 is not
        {1572, 1000, 33, {589, 187, 98, 63}},   {1572, 1000, 53, {1179, 0, 393, 250}},
        {1572, 1000, 59, {393, 750, 393, 250}},
    };
    for (const auto& c : cases) {
        SubbandTree tree;
        BuildSubbandTree(c.w, c.h, tree);
        const Rect& r = tree.subband[c.subband];
        EXPECT_TRUE(r.x == c.r.x && r.y == c.r.y && r.w == c.r.w && r.h == c.r.h)
            << c.w << " x " << c.h << " subband " << c.subband << ": " << r.x << "," << r.y << " " << r.w << "x"
            << r.h;
    }
    // Every pixel belongs to exactly one subband, for odd and even sizes.
    for (const auto& [w, h] : {std::pair{1572, 1000}, std::pair{257, 331}, std::pair{32, 33}}) {
        SubbandTree tree;
        BuildSubbandTree(w, h, tree);
        std::vector<int> cover(size_t(w) * h);
        for (const Rect& r : tree.subband)
            for (int y = 0; y < r.h; y++)
                for (int x = 0; x < r.w; x++)
                    cover[size_t(r.y + y) * w + r.x + x]++;
        EXPECT_EQ(std::count(cover.begin(), cover.end(), 1), w * h) << w << " x " << h;
    }
}

// counts[i] = number of codes of length i + 1.
struct TableLayout
{
    std::vector<std::pair<int, int>> lengths; // (code length, how many)
    std::vector<uint8_t> values;
};

bool Build(const TableLayout& layout, HuffmanTable& table, std::string& error)
{
    uint8_t counts[kMaxCodeLength] = {};
    for (auto [len, n] : layout.lengths)
        counts[len - 1] = uint8_t(n);
    return BuildHuffmanTable(counts, layout.values.data(), table, error);
}

TEST(WsqHuffman, TableLimits)
{
    HuffmanTable table;
    std::string error;
    EXPECT_TRUE(Build({{{1, 1}, {2, 1}, {3, 2}}, {1, 2, 3, 4}}, table, error)) << "complete code";
    EXPECT_TRUE(Build({{{16, 255}}, std::vector<uint8_t>(255, 7)}, table, error)) << "long codes";
    EXPECT_FALSE(Build({{{1, 3}}, {1, 2, 3}}, table, error)) << "three 1-bit codes";
    EXPECT_FALSE(Build({{{2, 3}, {3, 3}}, {1, 2, 3, 4, 5, 6}}, table, error)) << "oversubscribed at 3 bits";
    EXPECT_FALSE(Build({{{16, 255}, {15, 2}}, std::vector<uint8_t>(257, 7)}, table, error)) << "257 values";
}

// Decodes one block with a table of 8-bit codes: code byte i means values[i].
struct BlockCase
{
    const char* what;
    std::vector<uint8_t> bytes;
    std::vector<size_t> restarts;
    size_t count;
    std::vector<int32_t> expected; // empty: refused
};

TEST(WsqHuffman, BlockSymbols)
{
    // Codes 0..8 stand for: run 3, +8-bit, -8-bit, +16-bit, -16-bit, 8-bit run, 16-bit run, value -73, value +74.
    const std::vector<uint8_t> values = {3, 101, 102, 103, 104, 105, 106, 107, 254};
    const BlockCase cases[] = {
        {"run then values", {0, 7, 8}, {}, 5, {0, 0, 0, -73, 74}},
        {"escapes", {1, 200, 2, 9, 3, 0x12, 0x34, 4, 0x80, 0x00}, {}, 4, {200, -9, 0x1234, -0x8000}},
        {"long runs", {5, 2, 8, 6, 0, 1, 7}, {}, 5, {0, 0, 74, 0, -73}},
        {"run fills the block exactly", {0, 0}, {}, 6, {0, 0, 0, 0, 0, 0}},
        {"restart between symbols", {8, 0, 7}, {1}, 5, {74, 0, 0, 0, -73}},
        {"run past the end", {0, 0}, {}, 5, {}},
        {"value past the end", {8, 8}, {}, 1, {}},
        {"escape cut off", {3, 0x12}, {}, 3, {}},
        {"escape cut by a restart", {1, 200}, {1}, 3, {}},
        {"code outside the table", {9}, {}, 3, {}},
    };
    HuffmanTable table;
    std::string error;
    ASSERT_TRUE(Build({{{8, int(values.size())}}, values}, table, error)) << error;
    for (const BlockCase& c : cases) {
        std::vector<int32_t> coefficients(c.count);
        size_t next = 0;
        const bool ok = DecodeBlock({c.bytes, c.restarts}, table, coefficients.data(), c.count, next, error);
        EXPECT_EQ(ok, !c.expected.empty()) << c.what << ": " << error;
        if (ok && !c.expected.empty()) {
            EXPECT_EQ(coefficients, c.expected) << c.what;
            EXPECT_EQ(next, c.count) << c.what;
        }
    }
}

// Codes 00 = run 1, 01 = value +1, 100 = value -1: what the last byte may end with.
TEST(WsqHuffman, BlockPadding)
{
    HuffmanTable table;
    std::string error;
    ASSERT_TRUE(Build({{{2, 2}, {3, 1}}, {1, 181, 179}}, table, error));
    const struct
    {
        const char* what;
        uint8_t byte;
        size_t decoded;
        bool ok;
    } cases[] = {
        {"four codes, no padding", 0b00010001, 4, true}, // run, +1, run, +1
        {"three codes, 1-bit padding", 0b00010011, 3, true},
        {"a 3-bit code and five 1-bits", 0b10011111, 1, true},
        {"padding of 0-bits is a code cut off", 0b01100000, 0, false}, // 01, 100, 00, then a lone 0
        {"a complete byte of padding", 0xff, 0, false},
    };
    for (const auto& c : cases) {
        std::vector<int32_t> coefficients(8);
        size_t next = 0;
        const bool ok = DecodeBlock({{c.byte}, {}}, table, coefficients.data(), coefficients.size(), next, error);
        EXPECT_EQ(ok, c.ok) << c.what << ": " << error;
        if (ok) {
            EXPECT_EQ(next, c.decoded) << c.what;
        }
    }
}

} // namespace
