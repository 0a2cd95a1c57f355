// The request checks of KOVRAL_DoSplit: their order, the values just past their
// limits, and that a refused request writes nothing. (The limits themselves are
// accepted in SplitterTest.SameResultsAsDoSplit, whose size classes reach them.)
#include "api/api.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr int SENTINEL = 12345;

// A request that passes every check; each case spoils one thing.
struct Request
{
    int w, h, outW, outH;
    std::vector<unsigned char> image, buffer;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    int count = SENTINEL;
    unsigned char* img;
    int* pCount = &count;
    KOVRAL_INFO_* pInfo = info;

    Request(int w_, int h_, int outW_, int outH_)
        : w(w_), h(h_), outW(outW_), outH(outH_), image(w_ * h_, 200), buffer(w_ * h_), img(image.data())
    {
        for (auto& record : info)
            record = {SENTINEL, SENTINEL, SENTINEL, 77, buffer.data()};
    }
    int Split() { return KOVRAL_DoSplit(img, w, h, nullptr, outW, outH, pCount, pInfo); }
    bool Untouched() const
    {
        for (const auto& r : info)
            if (r.x != SENTINEL || r.y != SENTINEL || r.angle != SENTINEL || r.quality != 77)
                return false;
        return count == SENTINEL;
    }
};

struct RequestChecks : ::testing::Test
{
    void SetUp() override { KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT); }
    void TearDown() override { KOVRAL_Uninit(); }
};

TEST_F(RequestChecks, EachCheckRefusesAloneAndWritesNothing)
{
    const struct
    {
        const char* what;
        void (*spoil)(Request&);
    } cases[] = {
        {"null image", [](Request& r) { r.img = nullptr; }},
        {"width 255", [](Request& r) { r.w = 255; }},
        {"width 1601", [](Request& r) { r.w = 1601; }},
        {"height 359", [](Request& r) { r.h = 359; }},
        {"height 1501", [](Request& r) { r.h = 1501; }},
        {"finger width 255", [](Request& r) { r.outW = 255; }},
        {"finger height 359", [](Request& r) { r.outH = 359; }},
        {"null count", [](Request& r) { r.pCount = nullptr; }},
        {"finger wider than image", [](Request& r) { r.outW = r.w + 1; }},
        {"finger taller than image", [](Request& r) { r.outH = r.h + 1; }},
        {"null records", [](Request& r) { r.pInfo = nullptr; }},
        {"tenth buffer null", [](Request& r) { r.info[9].pFpImg = nullptr; }},
        {"several at once: the first decides", [](Request& r) { r.w = 100, r.outH = 100, r.pInfo = nullptr; }},
    };
    for (const auto& c : cases) {
        Request r(800, 600, 320, 480);
        c.spoil(r);
        EXPECT_EQ(r.Split(), KOVRAL_EINVAL) << c.what;
        EXPECT_TRUE(r.Untouched()) << c.what;
    }
}

TEST(RequestCheckState, PixelCountAgainstInitialisedSize)
{
    KOVRAL_Uninit();
    const int savedW = g_ImgW, savedH = g_ImgH;
    g_ImgW = g_ImgH = 0; // as before the first Init
    EXPECT_EQ(Request(800, 600, 320, 480).Split(), KOVRAL_EINVAL) << "the maximum is 0 x 0 before the first Init";
    g_ImgW = savedW, g_ImgH = savedH;

    KOVRAL_Init(1000, 1500);
    EXPECT_EQ(Request(1600, 900, 320, 480).Split(), KOVRAL_OK) << "wider, but 1,440,000 pixels fit";
    Request tooMany(1600, 1000, 320, 480);
    EXPECT_EQ(tooMany.Split(), KOVRAL_EINVAL);
    KOVRAL_Init(1600, 1500); // already initialised: nothing changes
    EXPECT_EQ(tooMany.Split(), KOVRAL_EINVAL);

    KOVRAL_Uninit();
    Request after(800, 600, 320, 480);
    after.info[9].pFpImg = nullptr; // the buffers are checked after the state
    EXPECT_EQ(after.Split(), KOVRAL_ENOTINIT) << "the old maximum stays after Uninit";
    EXPECT_TRUE(after.Untouched());
}

} // namespace
