// Finger position codes for what a split found, from the record's slap code,
// the hand judgement and the fingers the record lists as missing.
#include "an2k/an2k.h"

#include <gtest/gtest.h>

namespace {

using kovral_io::An2kMissingFinger;
using Hand = kovral_io::FingerPositions::Hand;

TEST(FingerPositions, Assigned)
{
    const int right = kovral_io::kJudgedRight, left = kovral_io::kJudgedLeft, none = kovral_io::kNotJudged;
    const struct
    {
        const char* what;
        int slap, found, judged;
        std::vector<An2kMissingFinger> missing;
        std::vector<int> codes;
        Hand from;
        bool mismatch;
        size_t skipped;
    } cases[] = {
        {"right slap", 13, 4, right, {}, {2, 3, 4, 5}, Hand::Record, false, 0},
        {"left slap: little finger on the image's left", 14, 4, left, {}, {10, 9, 8, 7}, Hand::Record, false, 0},
        {"thumbs: left thumb first", 15, 2, none, {}, {6, 1}, Hand::Record, false, 0},
        {"record and judgement disagree: the record wins", 13, 4, left, {}, {2, 3, 4, 5}, Hand::Record, true, 0},
        {"no record: the judgement", 0, 4, left, {}, {10, 9, 8, 7}, Hand::Judgement, false, 0},
        {"no record, three fingers: unknown", 0, 3, right, {}, {0, 0, 0}, Hand::Unknown, false, 0},
        {"a single finger record is no slap", 2, 4, none, {}, {0, 0, 0, 0}, Hand::Unknown, false, 0},
        {"a single finger record and one finger found: its position", 7, 1, none, {}, {7}, Hand::Record, false, 0},
        {"ring finger amputated", 14, 3, left, {{9, true}}, {10, 8, 7}, Hand::Record, false, 1},
        {"a missing finger of the other hand changes nothing",
         13,
         4,
         right,
         {{9, false}},
         {2, 3, 4, 5},
         Hand::Record,
         false,
         0},
        {"one thumb unable to print", 15, 1, none, {{6, false}}, {1}, Hand::Record, false, 1},
        {"three found, none missing: unknown", 13, 3, right, {}, {0, 0, 0}, Hand::Record, false, 0},
    };
    for (const auto& c : cases) {
        const kovral_io::FingerPositions p = kovral_io::AssignFingerPositions(c.slap, c.found, c.judged, c.missing);
        EXPECT_EQ(p.codes, c.codes) << c.what;
        EXPECT_EQ(p.handFrom, c.from) << c.what;
        EXPECT_EQ(p.handMismatch, c.mismatch) << c.what;
        EXPECT_EQ(p.skipped.size(), c.skipped) << c.what;
        EXPECT_EQ(p.reason.empty(), c.codes.empty() || c.codes[0] != 0) << c.what << ": " << p.reason;
    }
}

} // namespace
