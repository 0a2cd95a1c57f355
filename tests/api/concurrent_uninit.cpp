// KOVRAL_Uninit from another thread while splits run: no map is released
// under a running split, nothing races, and a new Init makes the library
// usable again. Built and run under ThreadSanitizer in CI.
#include <kovral.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "slapgen.h"
#include "split_cases.h"

namespace {

using Buffers = split_cases::LegacySplit;

TEST(ConcurrentUninit, SplitsRunningWhileUninitialising)
{
    const slapgen::Slap slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, 0, true, 7));
    // What an undisturbed split gives: a split whose maps were released
    // under it would differ.
    ASSERT_EQ(KOVRAL_Init(1600, 1500), KOVRAL_OK);
    Buffers reference(320, 480);
    ASSERT_EQ(reference.Split(slap), KOVRAL_OK);
    KOVRAL_Uninit();
    for (int round = 0; round < 3; round++) {
        ASSERT_EQ(KOVRAL_Init(1600, 1500), KOVRAL_OK);
        std::atomic<int> splitsDone{0};
        std::atomic<bool> sawNotInit{false};
        std::thread splitter([&] {
            Buffers b(320, 480);
            for (int i = 0; i < 6; i++) {
                const int rc = b.Split(slap);
                if (rc == KOVRAL_ENOTINIT) {
                    sawNotInit = true;
                    break;
                }
                EXPECT_EQ(rc, KOVRAL_OK);
                EXPECT_EQ(b.count, reference.count);
                for (int f = 0; f < b.count; f++)
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
        EXPECT_EQ(Buffers(320, 480).Split(slap), KOVRAL_ENOTINIT);
    }
    // Usable again after a new Init.
    ASSERT_EQ(KOVRAL_Init(1600, 1500), KOVRAL_OK);
    Buffers b(320, 480);
    EXPECT_EQ(b.Split(slap), KOVRAL_OK);
    EXPECT_EQ(b.count, 4);
    KOVRAL_Uninit();
}

} // namespace
