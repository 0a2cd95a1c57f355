// The request checks of KOVRAL_DoSplit: their order, their bounds, and that a
// refused request writes nothing.
#include "api/api.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

constexpr int SENTINEL = 12345;

// A request that passes every check; each case spoils one thing.
struct Request
{
    std::vector<unsigned char> image;
    std::vector<std::vector<unsigned char>> buffers;
    std::array<KOVRAL_INFO_, KOVRAL_MAX_RECORDS> info{};
    int count = SENTINEL;
    unsigned char* img;
    int w, h, outW, outH;
    int* pCount;
    KOVRAL_INFO_* pInfo;

    Request(int w_, int h_, int outW_, int outH_)
        : image(static_cast<size_t>(w_) * h_, 200), w(w_), h(h_), outW(outW_), outH(outH_)
    {
        img = image.data();
        pCount = &count;
        pInfo = info.data();
        for (auto& record : info) {
            buffers.emplace_back(static_cast<size_t>(w_) * h_, 7);
            record.pFpImg = buffers.back().data();
            record.x = record.y = record.angle = SENTINEL;
            record.quality = 77;
        }
    }

    int Split() { return KOVRAL_DoSplit(img, w, h, nullptr, outW, outH, pCount, pInfo); }

    bool Untouched() const
    {
        for (const auto& record : info)
            if (record.x != SENTINEL || record.y != SENTINEL || record.angle != SENTINEL || record.quality != 77)
                return false;
        return count == SENTINEL;
    }
};

class RequestChecks : public ::testing::Test
{
protected:
    void SetUp() override { KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT); }
    void TearDown() override { KOVRAL_Uninit(); }
};

TEST_F(RequestChecks, EachCheckRefusesAloneAndWritesNothing)
{
    struct Case
    {
        const char* what;
        void (*spoil)(Request&);
        int expected;
    };
    const Case cases[] = {
        {"null image", [](Request& r) { r.img = nullptr; }, KOVRAL_EINVAL},
        {"width 255", [](Request& r) { r.w = 255; }, KOVRAL_EINVAL},
        {"width 1601", [](Request& r) { r.w = 1601; }, KOVRAL_EINVAL},
        {"height 359", [](Request& r) { r.h = 359; }, KOVRAL_EINVAL},
        {"height 1501", [](Request& r) { r.h = 1501; }, KOVRAL_EINVAL},
        {"finger width 255", [](Request& r) { r.outW = 255; }, KOVRAL_EINVAL},
        {"finger height 359", [](Request& r) { r.outH = 359; }, KOVRAL_EINVAL},
        {"null count", [](Request& r) { r.pCount = nullptr; }, KOVRAL_EINVAL},
        {"finger wider than image", [](Request& r) { r.outW = r.w + 1; }, KOVRAL_EINVAL},
        {"finger taller than image", [](Request& r) { r.outH = r.h + 1; }, KOVRAL_EINVAL},
        {"null records", [](Request& r) { r.pInfo = nullptr; }, KOVRAL_EINVAL},
        {"first buffer null", [](Request& r) { r.info[0].pFpImg = nullptr; }, KOVRAL_EINVAL},
        {"tenth buffer null", [](Request& r) { r.info[9].pFpImg = nullptr; }, KOVRAL_EINVAL},
    };
    for (const Case& c : cases) {
        Request r(800, 600, 320, 480);
        c.spoil(r);
        EXPECT_EQ(r.Split(), c.expected) << c.what;
        EXPECT_TRUE(r.Untouched()) << c.what;
    }
}

TEST_F(RequestChecks, BoundsAreInclusive)
{
    struct Case
    {
        int w, h, outW, outH;
    };
    const Case accepted[] = {
        {256, 360, 256, 360},     // smallest image and finger
        {1600, 900, 1600, 900},   // finger as large as the image
        {1000, 1500, 256, 1500},  // tallest image
        {1599, 367, 320, 367},    // odd sizes
    };
    for (const Case& c : accepted) {
        Request r(c.w, c.h, c.outW, c.outH);
        EXPECT_EQ(r.Split(), KOVRAL_OK) << c.w << "x" << c.h;
        EXPECT_GE(r.count, 0);
        EXPECT_LE(r.count, 4);
    }
}

// The first failing check decides, in the fixed order.
TEST_F(RequestChecks, FirstFailingCheckDecides)
{
    Request r(800, 600, 320, 480);
    r.w = 100;          // check 2
    r.outH = 100;       // check 5
    r.pInfo = nullptr;  // check 8
    EXPECT_EQ(r.Split(), KOVRAL_EINVAL);

    KOVRAL_Uninit();
    Request n(800, 600, 320, 480);
    n.info[9].pFpImg = nullptr;  // check 11 comes after the initialisation check
    EXPECT_EQ(n.Split(), KOVRAL_ENOTINIT);
    EXPECT_TRUE(n.Untouched());
}

TEST(RequestCheckState, PixelCountAgainstInitialisedSize)
{
    KOVRAL_Uninit();
    const int savedW = g_ImgW, savedH = g_ImgH;
    g_ImgW = 0;  // as before the first Init
    g_ImgH = 0;
    {
        Request r(800, 600, 320, 480);
        EXPECT_EQ(r.Split(), KOVRAL_EINVAL) << "before the first Init the maximum is 0 x 0";
    }
    g_ImgW = savedW;
    g_ImgH = savedH;

    KOVRAL_Init(1000, 1500);
    Request fits(1600, 900, 320, 480);  // 1,440,000 <= 1,500,000 although wider
    EXPECT_EQ(fits.Split(), KOVRAL_OK);
    Request tooMany(1600, 1000, 320, 480);
    EXPECT_EQ(tooMany.Split(), KOVRAL_EINVAL);

    KOVRAL_Init(1600, 1500);  // already initialised: nothing changes
    EXPECT_EQ(g_ImgW, 1000);
    EXPECT_EQ(tooMany.Split(), KOVRAL_EINVAL);

    KOVRAL_Uninit();
    Request after(800, 600, 320, 480);
    EXPECT_EQ(after.Split(), KOVRAL_ENOTINIT) << "the old maximum stays after Uninit";
    EXPECT_TRUE(after.Untouched());
}

} // namespace
