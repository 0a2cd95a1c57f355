// What is wrong with a slap, in the words of segmentation reviews: artifacts,
// image quality, hand geometry, incompleteness; and the regions rejected as
// not fingers, largest first.
#include "accurate/accurate.h"

#include <algorithm>
#include <cmath>

namespace accurate {
namespace {

constexpr double SIDEWAYS = 30.0; // degrees off upright
constexpr double OVER_ROTATED = 45.0;
constexpr double OVER_INKED_DARK = 0.7; // mean dark share of a fingertip's cells

} // namespace

void ReportDeficiencies(const CellMap& map, const std::vector<Candidate>& candidates, const std::vector<int>& chosen,
                        Result& result)
{
    uint32_t d = 0;
    // Rejected regions: marks and specks first, then phalanges and surplus prints.
    std::vector<const Candidate*> rejected;
    for (const Candidate& c : candidates)
        if (c.reject)
            rejected.push_back(&c);
    std::stable_sort(rejected.begin(), rejected.end(), [](const Candidate* a, const Candidate* b) {
        const bool markA = a->reject == REJECT_SHAPE || a->reject == REJECT_SMALL;
        const bool markB = b->reject == REJECT_SHAPE || b->reject == REJECT_SMALL;
        return markA != markB ? markA : a->area > b->area;
    });
    result.rejectedCount = 0;
    for (const Candidate* c : rejected) {
        if (c->reject == REJECT_SHAPE)
            d |= DEFICIENCY_ARTIFACTS;
        if (result.rejectedCount < MAX_REJECTED)
            result.rejected[result.rejectedCount++] = c->box;
    }
    double dark = 0.0;
    for (int i : chosen) {
        const Candidate& c = candidates[static_cast<std::size_t>(i)];
        if (c.flags & FLAG_FAINT)
            d |= DEFICIENCY_LOW_CONTRAST;
        if (c.flags & FLAG_CUT_BY_BORDER)
            d |= DEFICIENCY_INCOMPLETE;
        // Mean darkness of the cells in the fingertip's box.
        double sum = 0.0;
        int n = 0;
        for (int y = c.box.top / CELL; y < c.box.bottom / CELL; y++)
            for (int x = c.box.left / CELL; x < c.box.right / CELL; x++)
                if (map.ridge[static_cast<std::size_t>(y) * map.cw + x]) {
                    sum += map.dark[static_cast<std::size_t>(y) * map.cw + x];
                    n++;
                }
        dark = std::max(dark, n ? sum / n : 0.0);
    }
    if (dark > OVER_INKED_DARK)
        d |= DEFICIENCY_OVER_INKED;
    const double tilt = std::fabs(result.handAngle - 90.0);
    if (tilt > SIDEWAYS)
        d |= DEFICIENCY_SIDEWAYS;
    if (tilt > OVER_ROTATED)
        d |= DEFICIENCY_OVER_ROTATED;
    const int expected = result.hand == HAND_THUMBS ? 2 : MAX_FINGERS;
    if (result.count < expected)
        d |= DEFICIENCY_INCOMPLETE;
    result.deficiencies = d;
}

} // namespace accurate
