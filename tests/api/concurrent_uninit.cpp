// KOVRAL_Uninit from another thread while splits run: no map is released
// under a running split, nothing races, and a new Init makes the library
// usable again. Built and run under ThreadSanitizer in CI.
#include <kovral.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "slapgen.h"

namespace {

constexpr int OUT_W = 320;
constexpr int OUT_H = 480;

struct Buffers
{
    std::vector<std::vector<unsigned char>> pixels;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    Buffers()
    {
        for (auto& record : info) {
            pixels.emplace_back(OUT_W * OUT_H);
            record.pFpImg = pixels.back().data();
        }
    }
};

TEST(ConcurrentUninit, SplitsRunningWhileUninitialising)
{
    const slapgen::Slap slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, 0, true, 7));
    std::vector<unsigned char> image = slap.pixels;
    // What an undisturbed split gives: a split whose maps were released
    // under it would differ.
    ASSERT_EQ(KOVRAL_Init(1600, 1500), KOVRAL_OK);
    Buffers reference;
    int referenceCount = 0;
    ASSERT_EQ(KOVRAL_DoSplit(image.data(), 1600, 1000, nullptr, OUT_W, OUT_H, &referenceCount, reference.info),
              KOVRAL_OK);
    KOVRAL_Uninit();
    for (int round = 0; round < 3; round++) {
        ASSERT_EQ(KOVRAL_Init(1600, 1500), KOVRAL_OK);
        std::atomic<int> splitsDone{0};
        std::atomic<bool> sawNotInit{false};
        std::thread splitter([&] {
            Buffers b;
            for (int i = 0; i < 6; i++) {
                int count = 0;
                const int rc = KOVRAL_DoSplit(image.data(), 1600, 1000, nullptr, OUT_W, OUT_H, &count, b.info);
                if (rc == KOVRAL_ENOTINIT) {
                    sawNotInit = true;
                    break;
                }
                EXPECT_EQ(rc, KOVRAL_OK);
                EXPECT_EQ(count, referenceCount);
                for (int f = 0; f < count; f++)
                    EXPECT_TRUE(b.pixels[f] == reference.pixels[f]) << "split " << i << ", finger " << f;
                splitsDone++;
            }
        });
        // Let the splitter get going, then pull the maps from under it: the
        // running split keeps them until it returns.
        while (splitsDone.load() < round)
            std::this_thread::yield();
        KOVRAL_Uninit();
        splitter.join();
        // Once the Uninit returned, the library is uninitialised for every split.
        Buffers after;
        int count = 0;
        EXPECT_EQ(KOVRAL_DoSplit(image.data(), 1600, 1000, nullptr, OUT_W, OUT_H, &count, after.info), KOVRAL_ENOTINIT);
    }
    // Usable again after a new Init.
    ASSERT_EQ(KOVRAL_Init(1600, 1500), KOVRAL_OK);
    Buffers b;
    int count = 0;
    EXPECT_EQ(KOVRAL_DoSplit(image.data(), 1600, 1000, nullptr, OUT_W, OUT_H, &count, b.info), KOVRAL_OK);
    EXPECT_EQ(count, 4);
    KOVRAL_Uninit();
}

} // namespace
