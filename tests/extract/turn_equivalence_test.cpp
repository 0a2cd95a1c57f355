// The upright cut against its straightforward version: every byte of every
// finger buffer, the clamped boxes, the centres and the result, on random
// images, boxes and buffers, every angle, at the size limits. CTest runs this
// program a second time with KOVRAL_SIMD=baseline, so both instruction paths
// are held to the same bytes.
#include "extract/extract.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "reference.h"

namespace {

using Bytes = std::vector<unsigned char>;

// How the image of a case is filled.
enum class Content
{
    NOISE,
    BLACK,
    WHITE,
    CHECKER,
    RAMP
};

struct Case
{
    int w, h, outW, outH;
    Content content;
    unsigned char bkGray;
    std::vector<tagRECT> boxes;
    std::vector<int> angles;
};

Bytes Image(const Case& c, std::mt19937& rng)
{
    Bytes img(static_cast<std::size_t>(c.w) * c.h);
    std::uint32_t noise = 0;
    for (std::size_t i = 0; i < img.size(); i++) {
        const int x = static_cast<int>(i % c.w), y = static_cast<int>(i / c.w);
        switch (c.content) {
        case Content::NOISE:
            noise = (i & 3) ? noise >> 8 : rng();
            img[i] = static_cast<unsigned char>(noise);
            break;
        case Content::BLACK:
            img[i] = 0;
            break;
        case Content::WHITE:
            img[i] = 255;
            break;
        case Content::CHECKER:
            img[i] = ((x + y) & 1) ? 255 : 0;
            break; // the largest products
        case Content::RAMP:
            img[i] = static_cast<unsigned char>((x * 3 + y * 5) / 7);
            break;
        }
    }
    return img;
}

// Runs the library and the reference on the same case and compares everything.
void Compare(const Case& c, std::mt19937& rng, const char* what)
{
    const int n = static_cast<int>(c.boxes.size());
    Bytes img = Image(c, rng);
    const int bw = c.w / 16, bh = (c.h + 15) / 16;
    std::vector<signed char> work(static_cast<std::size_t>(bw) * bh);
    for (auto& cell : work)
        cell = static_cast<signed char>(rng() % 4 == 0 ? 9 + rng() % 4 : 0);
    std::vector<signed char> labels = {9, 10, 11, 12};

    // Buffers start with the same stale content, which a window leaving the
    // image keeps.
    std::vector<Bytes> fast(n), slow(n);
    std::vector<unsigned char*> fastPtr(n), slowPtr(n);
    for (int i = 0; i < n; i++) {
        fast[i].resize(static_cast<std::size_t>(c.outW) * c.outH);
        for (auto& b : fast[i])
            b = static_cast<unsigned char>(rng());
        slow[i] = fast[i];
        fastPtr[i] = fast[i].data();
        slowPtr[i] = slow[i].data();
    }
    std::vector<tagRECT> fastBoxes = c.boxes, slowBoxes = c.boxes;
    std::vector<int> fastAngles = c.angles, slowAngles = c.angles;
    std::vector<tagPOINT> fastCentres(n), slowCentres(n);
    const int fastResult = GetRoatedFp(img.data(), c.w, c.h, work.data(), n, fastBoxes.data(), fastAngles.data(),
                                       labels.data(), c.bkGray, fastPtr.data(), c.outW, c.outH, fastCentres.data());
    const int slowResult
        = reference::GetRoatedFp(img.data(), c.w, c.h, work.data(), n, slowBoxes.data(), slowAngles.data(),
                                 labels.data(), c.bkGray, slowPtr.data(), c.outW, c.outH, slowCentres.data());
    ASSERT_EQ(fastResult, slowResult) << what;
    for (int i = 0; i < n; i++) {
        SCOPED_TRACE(testing::Message() << what << ", finger " << i << " at " << c.angles[i] << " degrees, image "
                                        << c.w << "x" << c.h << ", buffer " << c.outW << "x" << c.outH);
        EXPECT_EQ(fastBoxes[i].right, slowBoxes[i].right);
        EXPECT_EQ(fastBoxes[i].bottom, slowBoxes[i].bottom);
        EXPECT_EQ(fastCentres[i].x, slowCentres[i].x);
        EXPECT_EQ(fastCentres[i].y, slowCentres[i].y);
        ASSERT_TRUE(fast[i] == slow[i]);
    }
}

int Uniform(std::mt19937& rng, int lo, int hi) // lo..hi inclusive
{
    return lo + static_cast<int>(rng() % static_cast<unsigned>(hi - lo + 1));
}

// A box starting inside the image; right and bottom may pass the image and
// are then clamped, sometimes onto the last column or row.
tagRECT RandomBox(std::mt19937& rng, int w, int h)
{
    tagRECT b;
    b.left = Uniform(rng, 0, w - 2);
    b.top = Uniform(rng, 0, h - 2);
    b.right = std::min(b.left + Uniform(rng, 1, 320), w + 20);
    b.bottom = std::min(b.top + Uniform(rng, 1, 420), h + 20);
    return b;
}

// Every angle 0..179 once, as one finger among random others, on random
// images of every size in range.
TEST(TurnEquivalence, EveryAngleOnRandomImages)
{
    std::mt19937 rng(13);
    for (int angle = 0; angle < 180; angle++) {
        Case c;
        c.w = Uniform(rng, 256, 640);
        c.h = Uniform(rng, 360, 640);
        c.outW = Uniform(rng, 256, std::min(c.w, 320));
        c.outH = Uniform(rng, 360, std::min(c.h, 480));
        c.content = Content::NOISE;
        c.bkGray = static_cast<unsigned char>(rng());
        const int n = Uniform(rng, 1, 4);
        for (int i = 0; i < n; i++) {
            c.boxes.push_back(RandomBox(rng, c.w, c.h));
            c.angles.push_back(i == 0 ? angle : Uniform(rng, 0, 179));
        }
        Compare(c, rng, "random");
    }
}

// Extreme gray levels and background values, the largest and smallest images
// and buffers, boxes covering the whole image (the gathers then reach the
// last pixel), empty boxes and finger buffers as large as the image.
TEST(TurnEquivalence, LimitsAndExtremes)
{
    std::mt19937 rng(29);
    const struct
    {
        int w, h, outW, outH;
        Content content;
        unsigned char bkGray;
        tagRECT box;
        int angle;
    } rows[] = {
        {1600, 1500, 320, 480, Content::CHECKER, 0, {1000, 900, 1600, 1500}, 45}, // to the last pixel, largest
                                                                                  // products
        {1600, 1500, 320, 480, Content::WHITE, 255, {2, 2, 597, 497}, 20},        // all white on white fill
        {1600, 1500, 1600, 1500, Content::NOISE, 7, {0, 0, 500, 600}, 30},        // buffer as large as the image
        {1600, 1500, 1599, 1499, Content::NOISE, 7, {1100, 900, 1600, 1500}, 60},
        {256, 360, 256, 360, Content::RAMP, 128, {0, 0, 256, 360}, 60},     // smallest image: plain window
        {257, 361, 256, 360, Content::CHECKER, 255, {0, 0, 257, 361}, 150}, // one more: turned, steep
        {256, 360, 256, 360, Content::BLACK, 0, {10, 10, 200, 300}, 85},
        {800, 600, 256, 360, Content::NOISE, 1, {400, 599, 700, 700}, 30},  // clamped to nothing: all fill
        {800, 600, 256, 360, Content::NOISE, 1, {799, 0, 900, 300}, 120},   // no column left
        {800, 600, 256, 360, Content::NOISE, 1, {798, 598, 900, 900}, 100}, // one pixel at the corner
        {800, 600, 256, 360, Content::RAMP, 200, {0, 0, 800, 600}, 0},      // flat fingers
        {800, 600, 256, 360, Content::RAMP, 200, {0, 0, 800, 600}, 179},
        {800, 600, 256, 360, Content::RAMP, 200, {0, 0, 800, 600}, 135}, // first steep angle
        {800, 600, 256, 360, Content::RAMP, 200, {0, 0, 800, 600}, 134},
        {800, 600, 256, 360, Content::NOISE, 90, {3, 5, 795, 14}, 70}, // thin boxes
        {800, 600, 256, 360, Content::NOISE, 90, {3, 5, 6, 590}, 110},
    };
    for (const auto& row : rows) {
        Case c{row.w, row.h, row.outW, row.outH, row.content, row.bkGray, {row.box}, {row.angle}};
        Compare(c, rng, "limits");
    }
}

} // namespace
