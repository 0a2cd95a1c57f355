// Choosing fingertips among candidates: pieces too small or too thin for a
// fingertip are text, lines or marks; a piece lying below another's fingertip
// is a middle phalanx; of what is left, at most four, the most fingertip-like.
#include "accurate/accurate.h"

#include <algorithm>
#include <cmath>

namespace accurate {
namespace {

constexpr double NOMINAL_WIDTH = 200.0;                              // pixels at 500 ppi
constexpr double MIN_AREA = 0.2 * NOMINAL_WIDTH * NOMINAL_WIDTH;     // a whole fingertip covers about 1.4 W^2
constexpr double MIN_AREA_CUT = 0.1 * NOMINAL_WIDTH * NOMINAL_WIDTH; // one cut by the image border
constexpr double MIN_THICKNESS = 0.45 * NOMINAL_WIDTH;               // narrower side of the piece
constexpr double MIN_FILL = 0.5;                                     // area / its ellipse
constexpr double MIN_SHARE_OF_BEST = 0.25;                           // area against the largest kept
constexpr double PHALANX_OVERLAP = 0.5;                              // share of the narrower width

double Fill(const Candidate& c)
{
    return c.area / (0.7854 * c.width * c.length);
}

} // namespace

std::vector<int> ChooseFingertips(std::vector<Candidate>& candidates, double /*handAngle*/)
{
    for (Candidate& c : candidates) {
        const bool cut = (c.flags & FLAG_CUT_BY_BORDER) != 0;
        if (c.area < (cut ? MIN_AREA_CUT : MIN_AREA))
            c.reject = REJECT_SMALL;
        else if (std::min(c.width, c.length) < MIN_THICKNESS || Fill(c) < MIN_FILL)
            c.reject = REJECT_SHAPE;
        else if (c.lower)
            c.reject = REJECT_PHALANX;
        c.score = c.area * std::min(Fill(c), 1.0);
    }
    // A piece whose span across the hand overlaps a higher kept piece's, and
    // that lies wholly below that piece's centre, is the same finger lower down.
    for (Candidate& low : candidates) {
        if (low.reject)
            continue;
        for (const Candidate& high : candidates) {
            if (&high == &low || high.reject || high.v <= low.v)
                continue;
            const double overlap = std::min(low.u + low.width / 2, high.u + high.width / 2)
                - std::max(low.u - low.width / 2, high.u - high.width / 2);
            if (overlap > PHALANX_OVERLAP * std::min(low.width, high.width) && low.v + low.length / 2 < high.v) {
                low.reject = REJECT_PHALANX;
                break;
            }
        }
    }
    std::vector<int> kept;
    for (int i = 0; i < static_cast<int>(candidates.size()); i++)
        if (!candidates[static_cast<std::size_t>(i)].reject)
            kept.push_back(i);
    std::sort(kept.begin(), kept.end(), [&](int a, int b) {
        return candidates[static_cast<std::size_t>(a)].score > candidates[static_cast<std::size_t>(b)].score;
    });
    for (std::size_t k = MAX_FINGERS; k < kept.size(); k++)
        candidates[static_cast<std::size_t>(kept[k])].reject = REJECT_SURPLUS;
    if (kept.size() > MAX_FINGERS)
        kept.resize(MAX_FINGERS);
    if (!kept.empty()) {
        const double best = candidates[static_cast<std::size_t>(kept.front())].area;
        std::vector<int> strong;
        for (int i : kept) {
            Candidate& c = candidates[static_cast<std::size_t>(i)];
            if (c.area >= MIN_SHARE_OF_BEST * best || (c.flags & FLAG_CUT_BY_BORDER))
                strong.push_back(i);
            else
                c.reject = REJECT_SMALL;
        }
        kept.swap(strong);
    }
    std::sort(kept.begin(), kept.end(), [&](int a, int b) {
        return candidates[static_cast<std::size_t>(a)].u < candidates[static_cast<std::size_t>(b)].u;
    });
    return kept;
}

} // namespace accurate
