// Splits with the accurate locator through kovral_split: fingertips, hand,
// flags and deficiencies reach the caller, each finger buffer is the cut the
// corners describe, and the exact locator's results do not move.
#include <kovral.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "slapgen.h"

namespace {

constexpr int OUT_W = 320;
constexpr int OUT_H = 480;

struct SplitterDeleter
{
    void operator()(kovral_splitter* s) const { kovral_splitter_free(s); }
};
using Splitter = std::unique_ptr<kovral_splitter, SplitterDeleter>;

struct Split
{
    int rc = 0;
    int count = 0;
    kovral_finger fingers[KOVRAL_MAX_FINGERS] = {};
    kovral_slap_report report = {};
    std::vector<std::vector<uint8_t>> images;
};

Split SplitSlap(kovral_splitter* s, const slapgen::Slap& slap, int locator, bool withReport = true)
{
    Split r;
    r.images.assign(KOVRAL_MAX_FINGERS, std::vector<uint8_t>(OUT_W * OUT_H, 7));
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
        r.fingers[i].image = r.images[static_cast<std::size_t>(i)].data();
    const kovral_split_options opt = {OUT_W, OUT_H, locator};
    r.rc = kovral_split(s, slap.pixels.data(), slap.width, slap.height, &opt, r.fingers, &r.count,
                        withReport ? &r.report : nullptr);
    return r;
}

slapgen::SlapSpec CutByLeftBorder()
{
    slapgen::SlapSpec plan = slapgen::FourFingerHand(1600, 1000, 0, true, 7);
    const int dx = 40 - plan.fingers.front().cx;
    for (slapgen::Finger& f : plan.fingers)
        f.cx += dx;
    return plan;
}

TEST(AccurateSplit, ReportsFingertipsHandAndFlags)
{
    struct Row
    {
        const char* what;
        slapgen::SlapSpec plan;
        int fingers;         // expected count
        int hand;            // expected hand
        uint32_t flag;       // a flag some finger carries (0: none checked)
        uint32_t deficiency; // a deficiency the report carries (0: none checked)
    } rows[] = {
        // An upright right hand and a tilted left one: four fingertips, the hand told.
        {"right hand upright", slapgen::FourFingerHand(1600, 1000, 0, true, 11), 4, KOVRAL_HAND_RIGHT, 0, 0},
        {"left hand tilted", slapgen::FourFingerHand(1600, 1000, -15, false, 12), 4, KOVRAL_HAND_LEFT, 0, 0},
        // The index finger half outside the image: kept, flagged, the slap incomplete.
        {"cut by the border", CutByLeftBorder(), 4, KOVRAL_HAND_RIGHT, KOVRAL_FINGER_CUT_BY_BORDER,
         KOVRAL_DEFICIENCY_INCOMPLETE},
    };
    Splitter s(kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT));
    ASSERT_TRUE(s);
    for (const Row& row : rows) {
        const slapgen::Slap slap = slapgen::Generate(row.plan);
        const Split r = SplitSlap(s.get(), slap, KOVRAL_LOCATOR_ACCURATE);
        ASSERT_EQ(r.rc, KOVRAL_OK) << row.what;
        ASSERT_EQ(r.count, row.fingers) << row.what;
        EXPECT_EQ(r.report.hand, row.hand) << row.what;
        EXPECT_GT(r.report.hand_confidence, 0) << row.what;
        if (row.deficiency != 0) {
            EXPECT_NE(r.report.deficiencies & row.deficiency, 0u) << row.what;
        }
        uint32_t flags = 0;
        for (int i = 0; i < r.count; i++) {
            const kovral_finger& f = r.fingers[i];
            flags |= f.flags;
            EXPECT_GT(f.confidence, 0) << row.what << ", finger " << i;
            EXPECT_LE(f.confidence, 100) << row.what << ", finger " << i;
            EXPECT_LE(f.quality, 99) << row.what << ", finger " << i;
            if (i > 0) {
                EXPECT_GT(f.x, r.fingers[i - 1].x) << row.what << ": left to right";
            }
        }
        if (row.flag != 0) {
            EXPECT_NE(flags & row.flag, 0u) << row.what;
        }
    }
}

// Each finger is cut about its reported centre, as a plain window and turned:
// the corners that kovral_finger_corners gives for it lie about the centre.
TEST(AccurateSplit, CornersSurroundTheCentre)
{
    Splitter s(kovral_splitter_new(1600, 1000));
    for (int tilt : {0, 20}) {
        const slapgen::Slap slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, tilt, true, 21));
        const Split r = SplitSlap(s.get(), slap, KOVRAL_LOCATOR_ACCURATE);
        ASSERT_EQ(r.count, 4) << tilt;
        for (int i = 0; i < r.count; i++) {
            tagPOINT c[4];
            const kovral_finger& f = r.fingers[i];
            ASSERT_EQ(kovral_finger_corners(slap.width, slap.height, OUT_W, OUT_H, f.x, f.y, f.angle, c), KOVRAL_OK);
            // The corners enclose the centre: opposite corners' middle lies on it.
            EXPECT_NEAR((c[0].x + c[3].x) / 2.0, f.x, 2.0) << tilt << ", finger " << i;
            EXPECT_NEAR((c[0].y + c[3].y) / 2.0, f.y, 2.0) << tilt << ", finger " << i;
        }
    }
}

// The exact locator does not see the accurate one: its results with and
// without an accurate split between are the same bytes; a report is optional.
TEST(AccurateSplit, ExactSplitUnaffected)
{
    Splitter s(kovral_splitter_new(1600, 1000));
    const slapgen::Slap slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, 10, false, 31));
    const Split before = SplitSlap(s.get(), slap, KOVRAL_LOCATOR_EXACT);
    const Split accurate = SplitSlap(s.get(), slap, KOVRAL_LOCATOR_ACCURATE, false);
    EXPECT_EQ(accurate.rc, KOVRAL_OK);
    const Split after = SplitSlap(s.get(), slap, KOVRAL_LOCATOR_EXACT);
    ASSERT_EQ(before.count, after.count);
    EXPECT_EQ(before.images, after.images);
    for (int i = 0; i < before.count; i++) {
        EXPECT_EQ(before.fingers[i].x, after.fingers[i].x);
        EXPECT_EQ(before.fingers[i].angle, after.fingers[i].angle);
        EXPECT_EQ(after.fingers[i].flags, 0u);
    }
}

} // namespace
