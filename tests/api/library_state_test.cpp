// KOVRAL_Init / KOVRAL_Uninit: the state they leave, for sound and for odd sizes.
#include "api/api.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Uninitialised : ::testing::Test
{
    void SetUp() override { KOVRAL_Uninit(); }
    void TearDown() override { KOVRAL_Uninit(); }
};

TEST_F(Uninitialised, InitAllocatesOnceAndUninitReleases)
{
    EXPECT_EQ(KOVRAL_Init(800, 600), KOVRAL_OK);
    EXPECT_TRUE(g_bInit);
    EXPECT_NE(g_pDrct, nullptr);
    EXPECT_NE(g_pHoleDrct, nullptr);
    EXPECT_EQ(g_ImgW, 800);
    EXPECT_EQ(g_ImgH, 600);
    // The maps hold (800 / 16 + 4) x (600 / 16 + 4) bytes: touch the last.
    g_pDrct[(800 / 16 + 4) * (600 / 16 + 4) - 1] = 1;
    g_pHoleDrct[(800 / 16 + 4) * (600 / 16 + 4) - 1] = 1;

    signed char* maps = g_pDrct;
    EXPECT_EQ(KOVRAL_Init(1600, 1500), KOVRAL_OK);
    EXPECT_EQ(g_pDrct, maps) << "a second Init changes nothing";
    EXPECT_EQ(g_ImgW, 800);

    KOVRAL_Uninit();
    EXPECT_FALSE(g_bInit);
    EXPECT_EQ(g_pDrct, nullptr);
    EXPECT_EQ(g_pHoleDrct, nullptr);
    EXPECT_EQ(g_ImgW, 800) << "sizes survive Uninit";
    EXPECT_EQ(g_ImgH, 600);
    KOVRAL_Uninit();  // twice: nothing happens
    EXPECT_FALSE(g_bInit);
}

// Sizes that could not keep the maps large enough for every admitted image
// leave the library uninitialised; sizes whose 32-bit product wraps keep
// true-size maps, and the wrapped product then decides which images fit.
TEST_F(Uninitialised, OddInitSizes)
{
    struct Case
    {
        int w, h;
        bool initialised;
        int split800x600;  // result of a valid 800 x 600 request afterwards
    };
    const Case cases[] = {
        {0, 0, false, KOVRAL_ENOTINIT},          // zero sizes
        {-1600, -1500, false, KOVRAL_ENOTINIT},  // negative: product would look positive
        {1600, -1, false, KOVRAL_ENOTINIT},      // one negative
        {65536, 65536, true, KOVRAL_EINVAL},     // product wraps to 0: nothing fits
        {65536, 32768, true, KOVRAL_EINVAL},     // wraps to -2^31
        {100000, 30000, true, KOVRAL_EINVAL},    // wraps negative
        {70000, 70000, true, KOVRAL_OK},         // wraps to 605,032,704: 800 x 600 fits
    };
    std::vector<unsigned char> image(800 * 600, 255);
    std::vector<unsigned char> buffer(320 * 480);
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    for (auto& record : info)
        record.pFpImg = buffer.data();
    KOVRAL_Init(1600, 1500);  // an earlier allocation: refused Inits keep its sizes
    for (const Case& c : cases) {
        KOVRAL_Uninit();
        const int beforeW = g_ImgW;
        EXPECT_EQ(KOVRAL_Init(c.w, c.h), KOVRAL_OK);
        EXPECT_EQ(g_bInit, c.initialised) << c.w << "x" << c.h;
        if (!c.initialised) {
            EXPECT_EQ(g_ImgW, beforeW);
            EXPECT_EQ(g_pDrct, nullptr);
        }
        int count = -7;
        EXPECT_EQ(KOVRAL_DoSplit(image.data(), 800, 600, nullptr, 320, 480, &count, info), c.split800x600)
            << c.w << "x" << c.h;
    }
}

TEST_F(Uninitialised, SplitBeforeFirstInitAndAfterUninit)
{
    std::vector<unsigned char> image(800 * 600, 255);
    std::vector<unsigned char> buffer(320 * 480);
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    for (auto& record : info)
        record.pFpImg = buffer.data();
    int count = -7;
    KOVRAL_Init(800, 600);
    EXPECT_EQ(KOVRAL_DoSplit(image.data(), 800, 600, nullptr, 320, 480, &count, info), KOVRAL_OK);
    EXPECT_EQ(count, 0);
    KOVRAL_Uninit();
    count = -7;
    EXPECT_EQ(KOVRAL_DoSplit(image.data(), 800, 600, nullptr, 320, 480, &count, info), KOVRAL_ENOTINIT);
    EXPECT_EQ(count, -7);
}

} // namespace

namespace {

// A split still running after Uninit's bounded wait keeps its maps: Uninit
// retires them and the split releases them when it ends (AddressSanitizer
// would report a use after free or a leak).
TEST_F(Uninitialised, UninitHandsMapsToARunningSplit)
{
    KOVRAL_Init(800, 600);
    std::vector<unsigned char> image(800 * 600, 255);
    std::vector<unsigned char> buffer(320 * 480);
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    for (auto& record : info)
        record.pFpImg = buffer.data();
    int count = 0;
    SplitMaps maps{};
    ASSERT_EQ(SplitBegin(image.data(), 800, 600, 320, 480, &count, info, maps), KOVRAL_OK);
    KOVRAL_Uninit();  // gives up waiting after about a second
    EXPECT_FALSE(g_bInit);
    EXPECT_EQ(g_pDrct, nullptr);
    const size_t used = (800 / 16) * (600 / 16);
    std::fill(maps.drct, maps.drct + used, 1);  // still the split's to use
    std::fill(maps.hole, maps.hole + used, 1);
    EXPECT_EQ(SplitEnd(maps, KOVRAL_OK), KOVRAL_OK);

    KOVRAL_Init(800, 600);
    EXPECT_TRUE(g_bInit);
    EXPECT_EQ(KOVRAL_DoSplit(image.data(), 800, 600, nullptr, 320, 480, &count, info), KOVRAL_OK);
}

} // namespace
