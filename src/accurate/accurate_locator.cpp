// The accurate locator's driver: ridge cells, candidate regions, the hand's
// axis, separated fingertips, the hand model, hand and deficiencies.
#include "accurate/accurate.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace accurate {
namespace {

constexpr double FAINT_SHARE = 0.5;      // a fingertip whose contrast is below this share of the best is faint
constexpr double OWN_ANGLE_WEIGHT = 0.5; // a finger's angle: the hand's, moved this share towards its own
constexpr double OWN_ANGLE_LIMIT = 20.0; // degrees its own may differ from the hand's
constexpr double EXPECTED_AREA = 1.2 * 200.0 * 200.0;

int Round(double v)
{
    return static_cast<int>(std::floor(v + 0.5));
}

} // namespace

bool Locate(const uint8_t* image, int w, int h, Result& result)
{
    result = Result{};
    try {
        CellMap map;
        FindRidgeCells(image, w, h, map);
        const std::vector<Region> regions = CandidateRegions(map);
        const double handAngle = HandAngle(map, regions);
        result.handAngle = Round(handAngle);
        const std::vector<Region> pieces = SeparateFingertips(map, regions, handAngle);
        std::vector<Candidate> candidates;
        candidates.reserve(pieces.size());
        for (const Region& r : pieces)
            candidates.push_back(MeasureCandidate(map, r, handAngle));
        const std::vector<int> chosen = ChooseFingertips(candidates, handAngle);

        double bestContrast = 0.0;
        for (int i : chosen)
            bestContrast = std::max(bestContrast, candidates[static_cast<std::size_t>(i)].contrast);
        std::vector<Candidate> kept;
        for (int i : chosen) {
            Candidate& c = candidates[static_cast<std::size_t>(i)];
            if (c.contrast < FAINT_SHARE * bestContrast)
                c.flags |= FLAG_FAINT;
            kept.push_back(c);
            Finger& f = result.fingers[result.count++];
            f.x = Round(c.cx);
            f.y = Round(c.cy);
            const double own = std::clamp(c.angle - handAngle, -OWN_ANGLE_LIMIT, OWN_ANGLE_LIMIT);
            f.angle = Round(handAngle + OWN_ANGLE_WEIGHT * own);
            f.box = c.box;
            f.flags = c.flags;
            const double fill = std::min(c.area / (0.7854 * c.width * c.length), 1.0);
            const double size = std::min(c.area / EXPECTED_AREA, 1.0);
            f.confidence = Round(100.0 * fill * (0.5 + 0.5 * size));
        }
        ClassifyHand(kept, result);
        ReportDeficiencies(map, candidates, chosen, result);
    } catch (const std::bad_alloc&) {
        result = Result{};
        return false;
    }
    return true;
}

} // namespace accurate
