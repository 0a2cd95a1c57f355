// The accurate summary's hand: the record's hand beside the image's, and a
// mismatch only when both are known and differ.
#include "slap_outputs.h"

#include <gtest/gtest.h>

namespace {

using kovral_tool::SlapSummary;
using kovral_tool::SummaryJson;

TEST(SlapSummary, HandMismatchWithRecord)
{
    struct Row
    {
        int recordPosition;
        int imageHand;
        const char* record;   // "hand"."record", "" when absent
        const char* mismatch; // "hand"."mismatch", "" when absent
    };
    const Row rows[] = {
        // No record position: nothing to compare.
        {0, KOVRAL_HAND_RIGHT, "", ""},
        // Record and image agree.
        {13, KOVRAL_HAND_RIGHT, "right four", ""},
        // Right four recorded, left four on the scanner: the enrolment error.
        {13, KOVRAL_HAND_LEFT, "right four", "record says right four, image shows left four"},
        // Thumbs recorded, four fingers seen.
        {15, KOVRAL_HAND_RIGHT, "thumbs", "record says thumbs, image shows right four"},
        // The image does not tell the hand: no mismatch claimed.
        {14, KOVRAL_HAND_UNKNOWN, "left four", ""},
        // A single finger's position is no slap's hand.
        {2, KOVRAL_HAND_LEFT, "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.recordPosition);
        SlapSummary summary;
        summary.accurate = true;
        summary.result = KOVRAL_OK;
        summary.placement.source.position = row.recordPosition;
        summary.report.hand = row.imageHand;
        const nlohmann::ordered_json hand = SummaryJson(summary)["hand"];
        EXPECT_EQ(hand.value("record", ""), row.record);
        EXPECT_EQ(hand.value("mismatch", ""), row.mismatch);
    }
}

// The exact locator's summary keeps its judgement and never compares hands.
TEST(SlapSummary, ExactSummaryHasNoRecordHand)
{
    SlapSummary summary;
    summary.result = KOVRAL_OK;
    summary.placement.source.position = 14;
    EXPECT_FALSE(SummaryJson(summary).contains("hand"));
}

} // namespace
