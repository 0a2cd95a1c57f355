// Allocation failures made on purpose (failing_new replaces the global
// operator new in this program). LeakSanitizer, in the sanitizer build,
// reports anything a failure path forgets to release.
#include "api/api.h"

#include <gtest/gtest.h>

#include <vector>

#include "failing_new/failing_new.h"
#include "split_cases.h"
#include "slapgen.h"

namespace {

// Arms a failure of the n-th allocation for the lifetime of the object.
struct FailAllocation
{
    explicit FailAllocation(long n) { failing_new::Arm(n); }
    ~FailAllocation() { failing_new::Disarm(); }
    bool Happened() const { return failing_new::Failures() > 0; }
};

TEST(AllocationFailure, InitLeavesLibraryUninitialised)
{
    // The hold, the direction map and the working map: each in turn fails.
    for (long n = 0; n < 3; n++) {
        KOVRAL_Uninit();
        {
            FailAllocation fail(n);
            EXPECT_EQ(KOVRAL_Init(800, 600), KOVRAL_OK);
            EXPECT_TRUE(fail.Happened());
        }
        EXPECT_FALSE(g_bInit) << "allocation " << n;
        EXPECT_EQ(g_pDrct, nullptr);
        EXPECT_EQ(g_pHoleDrct, nullptr);
    }
    KOVRAL_Init(800, 600);
    EXPECT_TRUE(g_bInit) << "a later Init succeeds";
    KOVRAL_Uninit();
}

// Every allocation of a split fails in turn. Each such split must end with
// 1 (a stage that could not get memory found less) or -3 (extraction or
// cleaning could not get memory: the count stays as reported and no record
// is written), and the next split must give the normal result again.
TEST(AllocationFailure, EachAllocationOfASplit)
{
    constexpr int OUT_W = 256, OUT_H = 360;
    slapgen::SlapSpec plan;
    plan.width = 800;
    plan.height = 600;
    plan.fingers = {{250, 300, 80, 200, 340}, {560, 300, 90, 200, 340}};
    slapgen::Slap slap = slapgen::Generate(plan);
    std::vector<std::vector<unsigned char>> buffers(KOVRAL_MAX_RECORDS, std::vector<unsigned char>(OUT_W * OUT_H));
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        info[i].pFpImg = buffers[i].data();
    auto split = [&](int& count) {
        for (auto& record : info)
            record.x = -1;
        return KOVRAL_DoSplit(slap.pixels.data(), 800, 600, nullptr, OUT_W, OUT_H, &count, info);
    };

    KOVRAL_Init(800, 600);
    int count = 0;
    ASSERT_EQ(split(count), KOVRAL_OK);
    ASSERT_EQ(count, 2);
    const std::vector<unsigned char> reference = buffers[1];

    int outOfMemory = 0, fewer = 0;
    for (long n = 0;; n++) {
        int failedCount = -1;
        int rc;
        bool happened;
        {
            FailAllocation fail(n);
            rc = split(failedCount);
            happened = fail.Happened();
        }
        if (!happened)
            break; // past the last allocation of a split
        if (rc == KOVRAL_ENOMEM) {
            outOfMemory++;
            EXPECT_EQ(failedCount, 2) << "allocation " << n;
            EXPECT_EQ(info[0].x, -1) << "allocation " << n;
            EXPECT_EQ(info[1].x, -1) << "allocation " << n;
        } else {
            EXPECT_EQ(rc, KOVRAL_OK) << "allocation " << n;
            fewer += failedCount < 2;
        }
        ASSERT_EQ(split(count), KOVRAL_OK);
        EXPECT_EQ(count, 2);
        EXPECT_EQ(buffers[1], reference) << "split after failed allocation " << n;
    }
    EXPECT_GT(outOfMemory, 0);
    EXPECT_GT(fewer, 0);
    KOVRAL_Uninit();
}

// A splitter reserves all its memory when it is made: with every allocation
// failing from then on, its splits still give their normal results.
TEST(AllocationFailure, SplitterSplitsAllocateNothing)
{
    const std::vector<split_cases::Case> cases = split_cases::Cases();
    kovral_splitter* s = kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    ASSERT_NE(s, nullptr);
    std::vector<split_cases::Result> expected;
    for (const auto& c : cases)
        expected.push_back(split_cases::SplitOn(s, c));
    for (size_t i = 0; i < cases.size(); i++) {
        split_cases::SplitterSplit out(cases[i].outW, cases[i].outH); // the test's own buffers before the failures
        failing_new::Arm(0, true);
        out.Split(s, cases[i].slap);
        EXPECT_EQ(failing_new::Failures(), 0) << cases[i].what;
        failing_new::Disarm();
        EXPECT_EQ(out.rc, expected[i].rc) << cases[i].what;
        EXPECT_EQ(out.count, expected[i].count) << cases[i].what;
        EXPECT_TRUE(out.images == expected[i].images) << cases[i].what;
    }
    kovral_splitter_free(s);
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
