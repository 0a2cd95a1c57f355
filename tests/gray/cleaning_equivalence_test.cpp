// The finger area mask, the quality score and the cleaning of cut fingers
// against their straightforward versions, byte for byte: generated fingers,
// random blots, noise and flat images of every size from empty to beyond the
// largest buffer, extreme gray levels.
#include "gray/gray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "reference.h"
#include "slapgen.h"

namespace {

using Bytes = std::vector<unsigned char>;

int Uniform(std::mt19937& rng, int lo, int hi) // lo..hi inclusive
{
    return lo + static_cast<int>(rng() % static_cast<unsigned>(hi - lo + 1));
}

// What an image of a case holds.
enum class Content
{
    FINGER,
    BLOTS,
    NOISE,
    FLAT,
    CHECKER
};

Bytes MakeImage(Content content, int w, int h, std::mt19937& rng)
{
    Bytes img(static_cast<std::size_t>(w) * h);
    switch (content) {
    case Content::FINGER: { // a generated fingertip, as a cut finger looks
        slapgen::SlapSpec plan;
        plan.width = w;
        plan.height = h;
        plan.seed = rng();
        plan.background = Uniform(rng, 200, 250);
        plan.ridge = Uniform(rng, 20, 120);
        plan.noise = Uniform(rng, 0, 12);
        plan.fingers = {{Uniform(rng, 0, w), Uniform(rng, 0, h), Uniform(rng, 60, 120), Uniform(rng, 60, 260),
                         Uniform(rng, 100, 450), 9}};
        return slapgen::Generate(plan).pixels;
    }
    case Content::BLOTS: { // dark rectangles of random levels on a light ground: gaps for the scans
        std::fill(img.begin(), img.end(), static_cast<unsigned char>(Uniform(rng, 150, 255)));
        for (int k = Uniform(rng, 0, 12); k > 0; k--) {
            const int x0 = Uniform(rng, 0, w - 1), y0 = Uniform(rng, 0, h - 1);
            const int x1 = std::min(w, x0 + Uniform(rng, 1, 120)), y1 = std::min(h, y0 + Uniform(rng, 1, 200));
            const auto level = static_cast<unsigned char>(Uniform(rng, 0, 240));
            for (int y = y0; y < y1; y++)
                std::fill(img.begin() + static_cast<long>(y) * w + x0, img.begin() + static_cast<long>(y) * w + x1,
                          level);
        }
        return img;
    }
    case Content::NOISE:
        for (auto& p : img)
            p = static_cast<unsigned char>(rng());
        return img;
    case Content::FLAT:
        std::fill(img.begin(), img.end(), static_cast<unsigned char>(rng() % 2 ? 0 : 255));
        return img;
    case Content::CHECKER:
        for (std::size_t i = 0; i < img.size(); i++)
            img[i] = ((i % w + i / w) & 1) ? 255 : 0;
        return img;
    }
    return img;
}

void CompareMask(const Bytes& img, int w, int h, const char* what)
{
    // Stale, different outputs: every byte must be written.
    Bytes fast(img.size(), 7), slow(img.size(), 93);
    FindTheFpGrad(img.data(), w, h, fast.data());
    reference::FindTheFpGrad(img.data(), w, h, slow.data());
    ASSERT_TRUE(fast == slow) << what << " " << w << "x" << h;
    EXPECT_EQ(GetQuality(img.data(), w, h), reference::GetQuality(img.data(), w, h)) << what << " " << w << "x" << h;
}

// Buffer sizes in range and around it, every content kind.
TEST(CleaningEquivalence, MaskAndQualityOnRandomImages)
{
    std::mt19937 rng(7);
    const char* names[] = {"finger", "blots", "noise", "flat", "checker"};
    for (int round = 0; round < 60; round++) {
        const int w = Uniform(rng, 200, 420), h = Uniform(rng, 300, 560);
        const auto content = static_cast<Content>(round % 5);
        CompareMask(MakeImage(content, w, h, rng), w, h, names[round % 5]);
    }
}

// Sizes at the edges of what the mask handles: below 6 (all white), widths
// and heights that are not multiples of the band or vector width, at most 40
// rows (no span), and the largest finger buffers.
TEST(CleaningEquivalence, MaskAtSizeLimits)
{
    std::mt19937 rng(11);
    const struct
    {
        int w, h;
    } sizes[] = {
        {1, 1},   {5, 5},    {6, 5},    {6, 6},     {7, 9},     {16, 16},   {17, 40},     {31, 41},
        {33, 47}, {100, 40}, {100, 41}, {255, 359}, {256, 360}, {257, 361}, {1600, 1500},
    };
    for (const auto& s : sizes)
        for (Content content : {Content::BLOTS, Content::NOISE, Content::FINGER, Content::CHECKER})
            CompareMask(MakeImage(content, s.w, s.h, rng), s.w, s.h, "limits");
    // The score: exactly at and around its area limit and the capped score.
    for (int dark : {1000, 1001, 92800, 160000}) {
        Bytes img(400 * 400, 230);
        std::fill_n(img.begin(), dark, static_cast<unsigned char>(dark % 2 ? 100 : 199));
        EXPECT_EQ(GetQuality(img.data(), 400, 400), reference::GetQuality(img.data(), 400, 400)) << dark;
    }
}

// Whole cleaning of four fingers: buffers and records.
TEST(CleaningEquivalence, FinishFingers)
{
    std::mt19937 rng(17);
    for (int round = 0; round < 8; round++) {
        const int w = Uniform(rng, 256, 400), h = Uniform(rng, 360, 500);
        std::vector<Bytes> fast, slow;
        KOVRAL_INFO_ slowInfo[KOVRAL_MAX_RECORDS] = {};
        tagPOINT centres[4];
        int angles[4];
        for (int i = 0; i < 4; i++) {
            fast.push_back(MakeImage(i % 2 ? Content::FINGER : Content::BLOTS, w, h, rng));
            slow.push_back(fast.back());
            centres[i] = {Uniform(rng, 0, 1600), Uniform(rng, 0, 1500)};
            angles[i] = Uniform(rng, 0, 179);
        }
        for (int i = 0; i < 4; i++)
            slowInfo[i].pFpImg = slow[i].data();
        Bytes scratch(static_cast<std::size_t>(w) * h);
        unsigned char* fastBufs[4] = {fast[0].data(), fast[1].data(), fast[2].data(), fast[3].data()};
        std::uint8_t quality[4] = {};
        WorkMemory memory(WorkMemory::ONE_OFF);
        ASSERT_TRUE(CleanFingers(fastBufs, 4, w, h, centres, quality, memory));
        reference::FinishFingers(slowInfo, 4, w, h, centres, angles, scratch.data());
        for (int i = 0; i < 4; i++) {
            ASSERT_TRUE(fast[i] == slow[i]) << "round " << round << " finger " << i;
            EXPECT_EQ(quality[i], slowInfo[i].quality);
        }
    }
}

} // namespace
