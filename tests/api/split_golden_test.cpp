// Golden outputs: whole splits of fixed generated slaps, hashed. Any change of
// the library's output by a single bit (an optimisation that is not exact, a
// changed rounding) changes a hash here. When a change of output is
// intended, the new hashes are printed by the failing test.
#include <kovral.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "slapgen.h"

namespace {

// FNV-1a over the result code, the count, every filled record and its buffer.
uint64_t SplitHash(const slapgen::Slap& slap, int outW, int outH)
{
    std::vector<std::vector<unsigned char>> buffers(KOVRAL_MAX_RECORDS, std::vector<unsigned char>(outW * outH));
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        info[i].pFpImg = buffers[i].data();
    std::vector<unsigned char> image = slap.pixels;
    int count = 0;
    const int rc = KOVRAL_DoSplit(image.data(), slap.width, slap.height, nullptr, outW, outH, &count, info);
    uint64_t h = 14695981039346656037ull;
    auto mix = [&h](int64_t v) {
        for (int i = 0; i < 8; i++)
            h = (h ^ static_cast<uint8_t>(v >> (8 * i))) * 1099511628211ull;
    };
    mix(rc);
    mix(count);
    for (int i = 0; i < count; i++) {
        for (int v : {info[i].x, info[i].y, info[i].angle, static_cast<int>(info[i].quality)})
            mix(v);
        for (unsigned char p : buffers[i])
            mix(p);
    }
    return h;
}

TEST(SplitGolden, FixedSlaps)
{
    slapgen::SlapSpec smudged = slapgen::FourFingerHand(1600, 1500, -12, false, 8);
    smudged.smudge = true;
    smudged.phalanges = true;
    slapgen::SlapSpec single;
    single.width = 640, single.height = 727, single.fingers = {{300, 360, 131, 210, 360}};
    const struct
    {
        const char* what;
        slapgen::SlapSpec plan;
        int outW, outH;
        uint64_t hash;
    } cases[] = {
        {"upright right hand", slapgen::FourFingerHand(1600, 1000, 0, true, 1), 320, 480,
         1456741446222444828ull},
        {"left hand leaning left", slapgen::FourFingerHand(1600, 1000, 22, false, 2), 320, 480,
         2044847757302207148ull},
        {"right hand leaning right, touching", slapgen::FourFingerHand(1400, 900, -27, true, 3, 0), 256, 400,
         13015694414895052263ull},
        {"smudge and phalanges", smudged, 400, 560,
         11008440394865912555ull},
        {"one finger at 131 degrees, odd height", single, 300, 400,
         7628491668639270217ull},
    };
    KOVRAL_Init(1600, 1500);
    for (const auto& c : cases)
        EXPECT_EQ(SplitHash(slapgen::Generate(c.plan), c.outW, c.outH), c.hash) << c.what;
    KOVRAL_Uninit();
}

} // namespace
