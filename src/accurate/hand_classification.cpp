// Right four, left four or thumbs from the chosen fingertips. Thumbs are two
// wide prints far apart. Of four fingers the middle one reaches highest and
// the little finger, the smallest, lowest: in a right hand (index leftmost,
// as the scanner sees it) the leftmost tip stands higher and larger than the
// rightmost, in a left hand the other way round.
#include "accurate/accurate.h"

#include <algorithm>
#include <cmath>

namespace accurate {
namespace {

constexpr double THUMB_WIDTH = 290.0; // pixels: mean width of two thumbs at least
constexpr double THUMB_GAP = 1.0;     // or centres this many mean widths apart beyond touching
constexpr double NOMINAL_WIDTH = 200.0;
constexpr double CONFIDENCE_SCALE = 60.0; // confidence per unit of layout evidence

int Clamp100(double v)
{
    return static_cast<int>(std::clamp(v, 0.0, 100.0) + 0.5);
}

} // namespace

void ClassifyHand(const std::vector<Candidate>& chosen, Result& result)
{
    result.hand = HAND_UNKNOWN;
    result.handConfidence = 0;
    const int n = static_cast<int>(chosen.size());
    if (n == 0)
        return;
    double meanWidth = 0.0;
    for (const Candidate& c : chosen)
        meanWidth += c.width;
    meanWidth /= n;
    if (n <= 2) {
        const double gap = n == 2 ? std::fabs(chosen[1].u - chosen[0].u) - meanWidth : 0.0;
        const double thumbness
            = (meanWidth - THUMB_WIDTH) / 60.0 + (n == 2 ? (gap / meanWidth - THUMB_GAP) * 2.0 : 0.0);
        if (thumbness > 0.0) {
            result.hand = HAND_THUMBS;
            result.handConfidence = Clamp100(50.0 + CONFIDENCE_SCALE * thumbness);
            return;
        }
        if (n == 1)
            return;
    }
    // Tips in the hand frame; chosen is ordered across the hand.
    const Candidate& first = chosen.front();
    const Candidate& last = chosen.back();
    const double tipFirst = first.v + first.length / 2.0, tipLast = last.v + last.length / 2.0;
    double meanArea = 0.0;
    for (const Candidate& c : chosen)
        meanArea += c.area;
    meanArea /= n;
    double evidence = (tipFirst - tipLast) / NOMINAL_WIDTH + (first.area - last.area) / meanArea;
    if (n == 4) {
        int highest = 0;
        for (int i = 1; i < 4; i++)
            if (chosen[static_cast<std::size_t>(i)].v + chosen[static_cast<std::size_t>(i)].length / 2.0
                > chosen[static_cast<std::size_t>(highest)].v
                    + chosen[static_cast<std::size_t>(highest)].length / 2.0)
                highest = i;
        evidence += highest == 1 ? 0.5 : (highest == 2 ? -0.5 : 0.0);
    }
    result.hand = evidence >= 0.0 ? HAND_RIGHT : HAND_LEFT;
    const double scale = n == 4 ? 1.0 : 0.6;
    result.handConfidence = Clamp100(50.0 + CONFIDENCE_SCALE * scale * std::fabs(evidence) - (n == 4 ? 0.0 : 20.0));
}

} // namespace accurate
