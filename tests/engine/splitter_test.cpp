// Splits through a splitter against KOVRAL_DoSplit: the same results to the
// bit on every size class, without touching the library's state; refused
// requests; what the exact locator reports about the slap.
#include "api/api.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "split_cases.h"

namespace {

using split_cases::Case;
using split_cases::Result;
using split_cases::Splitter;

class SplitterTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { cases_ = new std::vector<Case>(split_cases::Cases()); }
    static void TearDownTestSuite() { delete cases_; }
    void SetUp() override { ASSERT_EQ(KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT), KOVRAL_OK); }
    void TearDown() override { KOVRAL_Uninit(); }
    static std::vector<Case>* cases_;
};

std::vector<Case>* SplitterTest::cases_ = nullptr;

// A splitter needs no KOVRAL_Init: the legacy results are taken first, the
// splitters split with the library uninitialised.
TEST_F(SplitterTest, SameResultsAsDoSplit)
{
    std::vector<Result> legacy;
    for (const Case& c : *cases_)
        legacy.push_back(split_cases::SplitLegacy(c));
    KOVRAL_Uninit();
    // One splitter of the largest size for all, and one made for each slap's own size.
    Splitter largest(kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT));
    ASSERT_TRUE(largest);
    for (size_t k = 0; k < cases_->size(); k++) {
        const Case& c = (*cases_)[k];
        ASSERT_EQ(legacy[k].rc, KOVRAL_OK) << c.what;
        Splitter own(kovral_splitter_new(c.slap.width, c.slap.height));
        ASSERT_TRUE(own) << c.what;
        for (kovral_splitter* s : {largest.get(), own.get()}) {
            const Result r = split_cases::SplitOn(s, c);
            EXPECT_EQ(r.rc, legacy[k].rc) << c.what;
            EXPECT_EQ(r.count, legacy[k].count) << c.what;
            EXPECT_EQ(r.records, legacy[k].records) << c.what;
            for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
                EXPECT_TRUE(r.images[i] == legacy[k].images[i]) << c.what << ", finger " << i;
        }
    }
}

// The splitter keeps its own maps: the library's exported maps keep what the
// last KOVRAL_DoSplit left in them.
TEST_F(SplitterTest, LeavesTheLibraryMapsAlone)
{
    const Case& c = cases_->front();
    split_cases::SplitLegacy(c);
    const size_t cells = (c.slap.width / 16) * (c.slap.height / 16);
    const std::vector<signed char> drct(g_pDrct, g_pDrct + cells), hole(g_pHoleDrct, g_pHoleDrct + cells);
    Splitter s(kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT));
    split_cases::SplitOn(s.get(), (*cases_)[1]);
    EXPECT_TRUE(std::equal(drct.begin(), drct.end(), g_pDrct));
    EXPECT_TRUE(std::equal(hole.begin(), hole.end(), g_pHoleDrct));
}

TEST_F(SplitterTest, RefusedRequestsWriteNothing)
{
    Splitter s(kovral_splitter_new(1200, 1000));
    std::vector<uint8_t> image(1600 * 1500, 200), buffer(320 * 480, 1);
    kovral_finger fingers[KOVRAL_MAX_FINGERS];
    const kovral_split_options ok{320, 480, KOVRAL_LOCATOR_EXACT};
    const struct
    {
        const char* what;
        kovral_splitter* splitter;
        int w, h;
        kovral_split_options options;
        int nullBuffer; // index of a finger without a buffer, or -1
        int rc;
    } rows[] = {
        {"no splitter", nullptr, 800, 600, ok, -1, KOVRAL_EINVAL},
        {"image too narrow", s.get(), 255, 600, ok, -1, KOVRAL_EINVAL},
        {"image too high", s.get(), 800, 1501, ok, -1, KOVRAL_EINVAL},
        {"finger too narrow", s.get(), 800, 600, {255, 480, 0}, -1, KOVRAL_EINVAL},
        {"finger wider than the image", s.get(), 800, 600, {801, 480, 0}, -1, KOVRAL_EINVAL},
        {"finger higher than the image", s.get(), 800, 600, {320, 601, 0}, -1, KOVRAL_EINVAL},
        {"unknown locator", s.get(), 800, 600, {320, 480, 7}, -1, KOVRAL_EINVAL},
        {"fourth buffer missing", s.get(), 800, 600, ok, 3, KOVRAL_EINVAL},
        {"wider than the splitter", s.get(), 1201, 600, ok, -1, KOVRAL_ETOOBIG},
        {"higher than the splitter", s.get(), 800, 1001, ok, -1, KOVRAL_ETOOBIG},
    };
    for (const auto& r : rows) {
        for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
            fingers[i] = kovral_finger{-5, -5, -5, -5, i == r.nullBuffer ? nullptr : buffer.data(), -5, 5};
        int32_t count = -5;
        kovral_slap_report report{};
        report.hand = -5;
        EXPECT_EQ(kovral_split(r.splitter, image.data(), r.w, r.h, &r.options, fingers, &count, &report), r.rc)
            << r.what;
        EXPECT_EQ(count, -5) << r.what;
        EXPECT_EQ(report.hand, -5) << r.what;
        EXPECT_EQ(fingers[0].x, -5) << r.what;
        EXPECT_EQ(buffer, std::vector<uint8_t>(buffer.size(), 1)) << r.what;
    }
    int32_t count = 0;
    EXPECT_EQ(kovral_split(s.get(), image.data(), 800, 600, nullptr, fingers, &count, nullptr), KOVRAL_EINVAL);
    EXPECT_EQ(kovral_split(s.get(), nullptr, 800, 600, &ok, fingers, &count, nullptr), KOVRAL_EINVAL);
    EXPECT_EQ(kovral_split(s.get(), image.data(), 800, 600, &ok, fingers, nullptr, nullptr), KOVRAL_EINVAL);
    EXPECT_EQ(kovral_split(s.get(), image.data(), 800, 600, &ok, nullptr, &count, nullptr), KOVRAL_EINVAL);
    // Sizes a splitter cannot be made for.
    for (auto [w, h] : {std::pair{255, 360}, {256, 359}, {1601, 1500}, {1600, 1501}})
        EXPECT_EQ(kovral_splitter_new(w, h), nullptr) << w << " x " << h;
    kovral_splitter_free(nullptr);
}

// The exact locator reports the hand as KOVRAL_JudegeFingers judges the same
// four records, every finger sure and unflagged, no deficiency.
TEST_F(SplitterTest, ExactReport)
{
    Splitter s(kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT));
    for (const Case& c : *cases_) {
        kovral_slap_report report;
        std::memset(&report, 0x5a, sizeof report);
        split_cases::SplitterSplit out(c.outW, c.outH);
        ASSERT_EQ(out.Split(s.get(), c.slap, &report), KOVRAL_OK) << c.what;
        KOVRAL_INFO_ records[KOVRAL_MAX_RECORDS] = {};
        for (int i = 0; i < out.count; i++) {
            EXPECT_EQ(out.fingers[i].confidence, 100) << c.what;
            EXPECT_EQ(out.fingers[i].flags, 0u) << c.what;
            records[i].x = out.fingers[i].x, records[i].y = out.fingers[i].y, records[i].angle = out.fingers[i].angle;
        }
        const int judged = out.count == 4 ? KOVRAL_JudegeFingers(4, records) : KOVRAL_EINVAL;
        const int hand = judged == KOVRAL_JUDGE_LEFT ? KOVRAL_HAND_RIGHT
            : judged == KOVRAL_JUDGE_RIGHT           ? KOVRAL_HAND_LEFT
                                                     : KOVRAL_HAND_UNKNOWN;
        EXPECT_EQ(report.hand, hand) << c.what;
        EXPECT_EQ(report.hand_confidence, hand == KOVRAL_HAND_UNKNOWN ? 0 : 100) << c.what;
        EXPECT_EQ(report.deficiencies, 0u) << c.what;
        EXPECT_EQ(report.rejected_count, 0) << c.what;
        if (out.count == 4) {
            EXPECT_EQ(kovral_judge_hand(out.fingers, 4), judged) << c.what;
        }
    }
}

TEST(ResultText, EveryCodeHasOne)
{
    for (int rc : {KOVRAL_OK, KOVRAL_JUDGE_RIGHT, KOVRAL_EINVAL, KOVRAL_ENOTINIT, KOVRAL_ENOMEM, KOVRAL_ETOOBIG})
        EXPECT_STRNE(kovral_result_text(rc), "unknown result") << rc;
    EXPECT_STREQ(kovral_result_text(12345), "unknown result");
}

} // namespace
