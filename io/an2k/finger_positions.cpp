// NIST finger position codes for the fingers of a split slap.
#include "an2k.h"

#include <algorithm>

namespace kovral_io {

namespace {

// The fingers of each slap as they lie in the image, left to right.
const std::vector<int> kRightFour = {2, 3, 4, 5};
const std::vector<int> kLeftFour = {10, 9, 8, 7};
const std::vector<int> kThumbs = {6, 1}; // left thumb on the image's left

constexpr int kFourFingers = 4;
// Finger positions of single fingers.
constexpr int kFirstFinger = 1;
constexpr int kLastFinger = 10;

} // namespace

FingerPositions AssignFingerPositions(int slapPosition, int found, int judgedHand,
                                      const std::vector<An2kMissingFinger>& missing)
{
    FingerPositions out;
    std::vector<int> slap;
    if (slapPosition == kFgpRightFour || slapPosition == kFgpLeftFour || slapPosition == kFgpBothThumbs) {
        out.handFrom = FingerPositions::Hand::Record;
        slap = slapPosition == kFgpRightFour ? kRightFour : slapPosition == kFgpLeftFour ? kLeftFour : kThumbs;
        const int recordHand = slapPosition == kFgpRightFour ? kJudgedRight
            : slapPosition == kFgpLeftFour                   ? kJudgedLeft
                                                             : kNotJudged;
        out.handMismatch = recordHand != kNotJudged && judgedHand != kNotJudged && judgedHand != recordHand;
    } else if (slapPosition >= kFirstFinger && slapPosition <= kLastFinger && found == 1) {
        // A single finger's record (--records all) and the one finger found in it.
        out.handFrom = FingerPositions::Hand::Record;
        out.codes = {slapPosition};
        return out;
    } else if (found == kFourFingers && (judgedHand == kJudgedRight || judgedHand == kJudgedLeft)) {
        out.handFrom = FingerPositions::Hand::Judgement;
        slap = judgedHand == kJudgedRight ? kRightFour : kLeftFour;
    }
    out.codes.assign(size_t(std::max(0, found)), kFgpUnknown);
    if (slap.empty()) {
        out.reason = slapPosition > 0 ? "the record's finger position " + std::to_string(slapPosition)
                + " is not a slap, and the hand was not judged"
                                      : "no finger position is given and the hand was not judged";
        return out;
    }
    for (const An2kMissingFinger& m : missing) {
        const auto at = std::find(slap.begin(), slap.end(), m.position);
        if (at != slap.end()) {
            slap.erase(at);
            out.skipped.push_back(m);
        }
    }
    if (int(slap.size()) != found) {
        out.reason
            = "found " + std::to_string(found) + " fingers where the slap holds " + std::to_string(slap.size());
        return out;
    }
    out.codes = slap;
    return out;
}

} // namespace kovral_io
