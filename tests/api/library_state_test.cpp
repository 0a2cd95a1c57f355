// KOVRAL_Init / KOVRAL_Uninit: the state they leave, for sound and for odd
// sizes, and the hand-over of the maps to a split still running.
#include "api/api.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct LibraryState : ::testing::Test
{
    std::vector<unsigned char> image = std::vector<unsigned char>(800 * 600, 255);
    std::vector<unsigned char> buffer = std::vector<unsigned char>(320 * 480);
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    int count = 0;

    void SetUp() override
    {
        KOVRAL_Uninit();
        for (auto& record : info)
            record.pFpImg = buffer.data();
    }
    void TearDown() override { KOVRAL_Uninit(); }
    int Split() { return KOVRAL_DoSplit(image.data(), 800, 600, nullptr, 320, 480, &count, info); }
};

TEST_F(LibraryState, InitOnceUninitReleases)
{
    KOVRAL_Init(800, 600);
    ASSERT_TRUE(g_bInit);
    const int mapBytes = (800 / 16 + 4) * (600 / 16 + 4);
    g_pDrct[mapBytes - 1] = g_pHoleDrct[mapBytes - 1] = 1; // the maps hold that much
    signed char* maps = g_pDrct;
    KOVRAL_Init(1600, 1500);
    EXPECT_EQ(g_pDrct, maps) << "a second Init changes nothing";
    EXPECT_EQ(g_ImgW, 800);

    KOVRAL_Uninit();
    EXPECT_FALSE(g_bInit);
    EXPECT_EQ(g_pDrct, nullptr);
    EXPECT_EQ(g_pHoleDrct, nullptr);
    EXPECT_EQ(g_ImgW * g_ImgH, 800 * 600) << "sizes survive Uninit";
    KOVRAL_Uninit(); // twice: nothing happens
    EXPECT_EQ(Split(), KOVRAL_ENOTINIT);
}

// Sizes that could not keep the maps large enough for every admitted image
// leave the library uninitialised; sizes whose 32-bit product wraps keep
// true-size maps, and the wrapped product then decides which images fit.
TEST_F(LibraryState, OddInitSizes)
{
    const struct
    {
        int w, h;
        bool initialised;
        int split800x600;
    } cases[] = {
        {0, 0, false, KOVRAL_ENOTINIT},
        {-1600, -1500, false, KOVRAL_ENOTINIT}, // the product would look positive
        {1600, -1, false, KOVRAL_ENOTINIT},
        {65536, 65536, true, KOVRAL_EINVAL},  // product wraps to 0: nothing fits
        {100000, 30000, true, KOVRAL_EINVAL}, // wraps negative
        {70000, 70000, true, KOVRAL_OK},      // wraps to 605,032,704: 800 x 600 fits
    };
    KOVRAL_Init(1600, 1500); // an earlier allocation: refused Inits keep its sizes
    for (const auto& c : cases) {
        KOVRAL_Uninit();
        EXPECT_EQ(KOVRAL_Init(c.w, c.h), KOVRAL_OK);
        EXPECT_EQ(g_bInit, c.initialised) << c.w << "x" << c.h;
        EXPECT_EQ(g_ImgW, c.initialised ? c.w : 1600);
        EXPECT_EQ(Split(), c.split800x600) << c.w << "x" << c.h;
    }
}

// A split still running after Uninit's bounded wait keeps its maps: Uninit
// retires them and the split releases them when it ends (AddressSanitizer
// would report a use after free or a leak).
TEST_F(LibraryState, UninitHandsMapsToARunningSplit)
{
    KOVRAL_Init(800, 600);
    SplitMaps maps{};
    ASSERT_EQ(SplitBegin(image.data(), 800, 600, 320, 480, &count, info, maps), KOVRAL_OK);
    KOVRAL_Uninit(); // gives up waiting after about a second
    EXPECT_FALSE(g_bInit);
    EXPECT_EQ(g_pDrct, nullptr);
    std::fill(maps.drct, maps.drct + (800 / 16) * (600 / 16), 1); // still the split's to use
    std::fill(maps.hole, maps.hole + (800 / 16) * (600 / 16), 1);
    EXPECT_EQ(SplitEnd(maps, KOVRAL_OK), KOVRAL_OK);

    KOVRAL_Init(800, 600);
    EXPECT_EQ(Split(), KOVRAL_OK);
}

} // namespace
