// The hand's axis, touching fingertips split along the valley between their
// rounded tops, and each piece cut at the crease below its fingertip.
#include "accurate/accurate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace accurate {
namespace {

constexpr double PI = 3.14159265358979323846;
constexpr double NOMINAL_WIDTH = 200.0; // a fingertip's width at 500 ppi, pixels
constexpr int AXIS_MIN_CELLS = 250;     // pieces that vote for the hand's axis
constexpr double AXIS_MIN_ELONGATION = 1.3;
constexpr double AXIS_MAX_TILT = 55.0;                 // degrees off upright that a vote may have
constexpr double AXIS_MAX_WIDTH = 1.5 * NOMINAL_WIDTH; // wider pieces hold several fingers or a thumb
constexpr int SEARCH_TILT = 50;                        // trial angles for pieces of touching fingers, either way
constexpr int SEARCH_STEP = 2;
constexpr double RIDGE_AXIS_COHERENCE = 0.15; // ridges this coherent over the pieces suggest an axis...
constexpr double RIDGE_AXIS_RANGE = 25.0;     // ...and trial angles farther than this from it...
constexpr double RIDGE_AXIS_PENALTY = 0.5;    // ...count this share of their valleys

// Splitting: a piece at least this wide may hold several fingertips...
constexpr double SPLIT_MIN_WIDTH = 1.3 * NOMINAL_WIDTH;
// ...and is split where its top dips this far below the tops on both sides,
constexpr double SPLIT_MIN_DEPTH = 0.2 * NOMINAL_WIDTH;
// leaving each side at least this wide.
constexpr double SPLIT_MIN_PART = 0.45 * NOMINAL_WIDTH;
constexpr int MAX_SPLIT_DEPTH = 3;
// A part left this wide after splitting along the hand is tried again at its
// own angle, up to this many degrees from the hand's.
constexpr double RESPLIT_MIN_WIDTH = 1.6 * NOMINAL_WIDTH;
constexpr int RESPLIT_TILT = 30;
constexpr double THUMB_GAP = 0.5 * NOMINAL_WIDTH;       // two thumbs lie at least this far apart...
constexpr double THUMB_MIN_WIDTH = 2.0 * NOMINAL_WIDTH; // ...each wider than this
constexpr double VALLEY_CAP = 0.75 * NOMINAL_WIDTH;     // deeper valleys count no more

// Crease: looked for from this many widths below the top...
constexpr double CREASE_FROM = 0.7;
constexpr double CREASE_TO = 2.4;
// ...as a row band narrower than this share of the fingertip's own rows,
constexpr double CREASE_NARROW = 0.55;
// and failing that, a piece longer than CUT_LENGTH widths is cut at CUT_AT widths.
constexpr double CUT_LENGTH = 2.3;
constexpr double CUT_AT = 1.8;

struct Frame
{
    double s, c; // sine and cosine of the hand's angle
    double U(double x, double y) const { return x * s + y * c; }
    double V(double x, double y) const { return x * c - y * s; }
};

Frame MakeFrame(double angle)
{
    return {std::sin(angle * PI / 180.0), std::cos(angle * PI / 180.0)};
}

double CellX(int i, int cw)
{
    return (i % cw) * CELL + CELL / 2.0;
}

double CellY(int i, int cw)
{
    return (i / cw) * CELL + CELL / 2.0;
}

// Axis angle (0..180, 90 upright) and elongation of a set of cells.
void Axis(const std::vector<int>& cells, int cw, double& angle, double& elongation, double& minor)
{
    double mx = 0, my = 0;
    for (int i : cells) {
        mx += CellX(i, cw);
        my += CellY(i, cw);
    }
    const double n = static_cast<double>(cells.size());
    mx /= n;
    my /= n;
    double sxx = 0, syy = 0, sxy = 0;
    for (int i : cells) {
        const double dx = CellX(i, cw) - mx, dy = CellY(i, cw) - my;
        sxx += dx * dx;
        syy += dy * dy;
        sxy += dx * dy;
    }
    sxx /= n;
    syy /= n;
    sxy /= n;
    const double mean = (sxx + syy) / 2.0;
    const double diff = std::sqrt((sxx - syy) * (sxx - syy) / 4.0 + sxy * sxy);
    const double l1 = mean + diff, l2 = std::max(mean - diff, 1e-9);
    // Major axis direction (ex, ey) in image coordinates; the angle counts with y upward.
    const double theta = 0.5 * std::atan2(2.0 * sxy, sxx - syy);
    double a = -theta * 180.0 / PI;
    while (a < 0.0)
        a += 180.0;
    while (a >= 180.0)
        a -= 180.0;
    angle = a;
    elongation = std::sqrt(l1 / l2);
    minor = 4.0 * std::sqrt(l2); // full width of a uniform band with this spread (about)
}

// The valleys of a piece's top profile across the hand: for every bin of
// CELL pixels across, how far the smoothed top dips below the highest tops on
// both sides. Bins within SPLIT_MIN_PART of either end get 0.
struct Profile
{
    double umin = 0;
    std::vector<double> depth;
};

Profile TopValleys(const std::vector<int>& cells, int cw, const Frame& f)
{
    Profile p;
    double umin = 1e18, umax = -1e18;
    for (int i : cells) {
        const double u = f.U(CellX(i, cw), CellY(i, cw));
        umin = std::min(umin, u);
        umax = std::max(umax, u);
    }
    p.umin = umin;
    const int bins = static_cast<int>((umax - umin) / CELL) + 1;
    p.depth.assign(static_cast<std::size_t>(bins), 0.0);
    if (umax - umin + CELL < SPLIT_MIN_WIDTH || bins < 3)
        return p;
    std::vector<double> top(static_cast<std::size_t>(bins), -1e18);
    for (int i : cells) {
        const double x = CellX(i, cw), y = CellY(i, cw);
        const std::size_t b = static_cast<std::size_t>((f.U(x, y) - umin) / CELL);
        top[b] = std::max(top[b], f.V(x, y));
    }
    // Empty bins (a gap inside the piece) take the lower neighbour.
    for (std::size_t b = 1; b < top.size(); b++)
        if (top[b] < -1e17)
            top[b] = top[b - 1];
    std::vector<double> smooth(top);
    for (std::size_t b = 1; b + 1 < top.size(); b++)
        smooth[b] = (top[b - 1] + 2 * top[b] + top[b + 1]) / 4.0;
    std::vector<double> leftMax(smooth), rightMax(smooth);
    for (std::size_t b = 1; b < smooth.size(); b++)
        leftMax[b] = std::max(leftMax[b - 1], smooth[b]);
    for (std::size_t b = smooth.size() - 1; b-- > 0;)
        rightMax[b] = std::max(rightMax[b + 1], smooth[b]);
    const int minPart = static_cast<int>(SPLIT_MIN_PART / CELL);
    for (int b = minPart; b < bins - minPart; b++) {
        const std::size_t k = static_cast<std::size_t>(b);
        p.depth[k] = std::min(leftMax[k], rightMax[k]) - smooth[k];
    }
    return p;
}

// Extent of cells across the axis of frame f, pixels.
double WidthAcross(const std::vector<int>& cells, int cw, const Frame& f)
{
    double umin = 1e18, umax = -1e18;
    for (int i : cells) {
        const double u = f.U(CellX(i, cw), CellY(i, cw));
        umin = std::min(umin, u);
        umax = std::max(umax, u);
    }
    return umax - umin + CELL;
}

// Splits cells at the deepest valley of their top profile, recursively.
void SplitTouching(const CellMap& map, const Frame& f, std::vector<int> cells, bool touching, int depth,
                   std::vector<Region>& out)
{
    const int cw = map.cw;
    if (depth < MAX_SPLIT_DEPTH) {
        const Profile p = TopValleys(cells, cw, f);
        int best = -1;
        double bestDepth = SPLIT_MIN_DEPTH;
        for (std::size_t b = 0; b < p.depth.size(); b++)
            if (p.depth[b] > bestDepth) {
                bestDepth = p.depth[b];
                best = static_cast<int>(b);
            }
        if (best >= 0) {
            std::vector<int> left, right;
            for (int i : cells) {
                const int b = static_cast<int>((f.U(CellX(i, cw), CellY(i, cw)) - p.umin) / CELL);
                (b < best ? left : right).push_back(i);
            }
            SplitTouching(map, f, std::move(left), true, depth + 1, out);
            SplitTouching(map, f, std::move(right), true, depth + 1, out);
            return;
        }
    }
    Region r;
    r.cells = std::move(cells);
    r.touching = touching;
    out.push_back(std::move(r));
}

// Sum of the distinct valley depths (each capped) of a piece's top profile
// at a trial angle: touching fingertips show their rounded tops best when the
// trial angle is the fingers' own.
double ValleyScore(const std::vector<int>& cells, int cw, double angle)
{
    const Profile p = TopValleys(cells, cw, MakeFrame(angle));
    const int spacing = static_cast<int>(SPLIT_MIN_PART / CELL);
    const int bins = static_cast<int>(p.depth.size());
    double score = 0.0;
    for (int b = 0; b < bins; b++) {
        const double d = p.depth[static_cast<std::size_t>(b)];
        if (d <= SPLIT_MIN_DEPTH)
            continue;
        // Only the deepest bin of a valley counts (the first of equals).
        bool deepest = true;
        for (int k = std::max(b - spacing, 0); k <= std::min(b + spacing, bins - 1) && deepest; k++) {
            const double e = p.depth[static_cast<std::size_t>(k)];
            deepest = e < d || (e == d && k >= b);
        }
        if (deepest)
            score += std::min(d, VALLEY_CAP);
    }
    return score;
}

// Cuts a piece at the crease below its fingertip: the part below becomes a lower region.
void CutAtCrease(const CellMap& map, const Frame& f, Region& piece, std::vector<Region>& out)
{
    const int cw = map.cw;
    double vmax = -1e18, vmin = 1e18;
    for (int i : piece.cells) {
        const double v = f.V(CellX(i, cw), CellY(i, cw));
        vmax = std::max(vmax, v);
        vmin = std::min(vmin, v);
    }
    const int bins = static_cast<int>((vmax - vmin) / CELL) + 1; // bin 0 at the top
    std::vector<int> count(static_cast<std::size_t>(bins), 0);
    std::vector<double> lo(static_cast<std::size_t>(bins), 1e18), hi(static_cast<std::size_t>(bins), -1e18);
    for (int i : piece.cells) {
        const double x = CellX(i, cw), y = CellY(i, cw);
        const int b = static_cast<int>((vmax - f.V(x, y)) / CELL);
        count[static_cast<std::size_t>(b)]++;
        lo[static_cast<std::size_t>(b)] = std::min(lo[static_cast<std::size_t>(b)], f.U(x, y));
        hi[static_cast<std::size_t>(b)] = std::max(hi[static_cast<std::size_t>(b)], f.U(x, y));
    }
    // The fingertip's width: the widest row in its upper part.
    double width = 0.0;
    for (int b = 0; b < bins && b * CELL < 1.5 * NOMINAL_WIDTH; b++)
        width = std::max(width, hi[static_cast<std::size_t>(b)] - lo[static_cast<std::size_t>(b)] + CELL);
    if (width <= 0.0)
        return;
    // Typical row count just above the crease search.
    const int from = static_cast<int>(CREASE_FROM * width / CELL);
    const int to = std::min(static_cast<int>(CREASE_TO * width / CELL), bins - 2);
    if (from >= to) {
        out.push_back(std::move(piece));
        return;
    }
    std::vector<int> upper(count.begin(), count.begin() + from);
    std::sort(upper.begin(), upper.end());
    const double typical = upper.empty() ? 0.0 : upper[upper.size() * 3 / 4];
    int cut = -1;
    double least = CREASE_NARROW * typical;
    for (int b = from; b <= to; b++) {
        const double c = (count[static_cast<std::size_t>(b - 1)] + 2.0 * count[static_cast<std::size_t>(b)]
                          + count[static_cast<std::size_t>(b + 1)])
            / 4.0;
        if (c < least) {
            least = c;
            cut = b;
        }
    }
    if (cut < 0 && (vmax - vmin + CELL) > CUT_LENGTH * width)
        cut = static_cast<int>(CUT_AT * width / CELL);
    if (cut < 0) {
        out.push_back(std::move(piece));
        return;
    }
    Region tip, rest;
    tip.touching = rest.touching = piece.touching;
    rest.lower = true;
    for (int i : piece.cells) {
        const int b = static_cast<int>((vmax - f.V(CellX(i, cw), CellY(i, cw))) / CELL);
        if (b < cut)
            tip.cells.push_back(i);
        else if (b > cut)
            rest.cells.push_back(i);
    }
    if (!tip.cells.empty())
        out.push_back(std::move(tip));
    if (!rest.cells.empty())
        out.push_back(std::move(rest));
}

// Two thumbs: the pieces fall into two groups across the hand, each wider
// than two fingertips, with a gap between them wider than a fingertip's
// half. No group of fingers of one hand leaves such a gap with such widths
// (a missing finger leaves one fingertip beside the gap). Each group, the
// print of one thumb broken by its whorl or by light pressure, is joined
// and cut at its crease; returns false, out untouched, for other layouts.
bool TwoThumbs(const CellMap& map, const std::vector<Region>& regions, const Frame& f, std::vector<Region>& out)
{
    struct Span
    {
        double lo, hi;
        const Region* region;
    };
    std::vector<Span> spans;
    for (const Region& r : regions) {
        if (static_cast<int>(r.cells.size()) < AXIS_MIN_CELLS / 2)
            continue;
        double lo = 1e18, hi = -1e18;
        for (int i : r.cells) {
            const double u = f.U(CellX(i, map.cw), CellY(i, map.cw));
            lo = std::min(lo, u);
            hi = std::max(hi, u);
        }
        spans.push_back({lo, hi + CELL, &r});
    }
    if (spans.size() < 2)
        return false;
    std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.lo < b.lo; });
    // Groups: pieces whose spans overlap or nearly touch.
    std::vector<std::vector<const Span*>> groups;
    double reach = -1e18;
    for (const Span& s : spans) {
        if (groups.empty() || s.lo > reach + THUMB_GAP)
            groups.emplace_back();
        groups.back().push_back(&s);
        reach = std::max(reach, s.hi);
    }
    if (groups.size() != 2)
        return false;
    for (const std::vector<const Span*>& g : groups) {
        double lo = 1e18, hi = -1e18;
        for (const Span* s : g) {
            lo = std::min(lo, s->lo);
            hi = std::max(hi, s->hi);
        }
        if (hi - lo < THUMB_MIN_WIDTH)
            return false;
    }
    for (const std::vector<const Span*>& g : groups) {
        Region thumb;
        for (const Span* s : g)
            thumb.cells.insert(thumb.cells.end(), s->region->cells.begin(), s->region->cells.end());
        CutAtCrease(map, f, thumb, out);
    }
    return true;
}

} // namespace

double HandAngle(const CellMap& map, const std::vector<Region>& regions)
{
    struct Vote
    {
        double angle, weight;
    };
    std::vector<Vote> votes;
    double total = 0.0;
    std::vector<const Region*> wide;
    for (const Region& r : regions) {
        if (static_cast<int>(r.cells.size()) < AXIS_MIN_CELLS)
            continue;
        double angle, elongation, minor;
        Axis(r.cells, map.cw, angle, elongation, minor);
        if (minor > AXIS_MAX_WIDTH) {
            wide.push_back(&r);
            continue;
        }
        if (elongation < AXIS_MIN_ELONGATION || std::fabs(angle - 90.0) > AXIS_MAX_TILT)
            continue;
        const double weight = static_cast<double>(r.cells.size()) * (elongation - 1.0);
        votes.push_back({angle, weight});
        total += weight;
    }
    if (!votes.empty()) {
        // Single fingers: the weighted median of their axes.
        std::sort(votes.begin(), votes.end(), [](const Vote& a, const Vote& b) { return a.angle < b.angle; });
        double acc = 0.0;
        for (const Vote& v : votes) {
            acc += v.weight;
            if (acc >= total / 2.0)
                return v.angle;
        }
        return votes.back().angle;
    }
    // Only pieces too wide for one finger: the trial angle that shows the
    // deepest valleys between rounded tops; upright when none shows any.
    // Seen at a slant, the staircase of a tilted hand shows deep false
    // valleys; trial angles far from the one the ridges suggest (they run
    // mostly across a finger) count less.
    double gxx = 0, gyy = 0, gxy = 0;
    for (const Region* r : wide)
        for (int i : r->cells) {
            gxx += map.gxx[static_cast<std::size_t>(i)];
            gyy += map.gyy[static_cast<std::size_t>(i)];
            gxy += map.gxy[static_cast<std::size_t>(i)];
        }
    const double coherence
        = gxx + gyy > 0.0 ? std::sqrt((gxx - gyy) * (gxx - gyy) + 4.0 * gxy * gxy) / (gxx + gyy) : 0.0;
    const double ridgeAxis = std::fmod(-0.5 * std::atan2(2.0 * gxy, gxx - gyy) * 180.0 / PI + 180.0, 180.0);
    double best = 90.0, bestScore = 0.0;
    // Odd trial angles only: upright, the profile's bins line up with the
    // cell columns, and the cell staircase of a slanted edge shows false valleys.
    for (int a = 91 - SEARCH_TILT; a <= 89 + SEARCH_TILT; a += SEARCH_STEP) {
        double score = 0.0;
        for (const Region* r : wide)
            score += ValleyScore(r->cells, map.cw, a);
        if (coherence >= RIDGE_AXIS_COHERENCE && std::fabs(a - ridgeAxis) > RIDGE_AXIS_RANGE)
            score *= RIDGE_AXIS_PENALTY;
        if (score > bestScore || (score == bestScore && std::abs(a - 90) < std::fabs(best - 90.0))) {
            bestScore = score;
            best = a;
        }
    }
    return best;
}

std::vector<Region> SeparateFingertips(const CellMap& map, const std::vector<Region>& regions, double handAngle)
{
    const Frame f = MakeFrame(handAngle);
    std::vector<Region> out;
    if (TwoThumbs(map, regions, f, out))
        return out;
    std::vector<Region> pieces;
    for (const Region& r : regions) {
        std::vector<Region> parts;
        SplitTouching(map, f, r.cells, false, 0, parts);
        for (Region& part : parts) {
            // Still two fingers wide: their own angle may differ from the
            // hand's (a misjudged hand, a spread pair); split at the one that
            // shows their valley best. Two fingers side by side lie along
            // the hand (long) or across it (short); a piece whose axis is
            // neither is one finger, e.g. a thumb, against a hand axis that
            // is not its own.
            double ownAngle, elongation, minor;
            Axis(part.cells, map.cw, ownAngle, elongation, minor);
            const double off = std::fabs(std::remainder(ownAngle - handAngle, 180.0));
            const bool slanted = elongation >= AXIS_MIN_ELONGATION && off > RESPLIT_TILT && off < 90.0 - RESPLIT_TILT;
            if (WidthAcross(part.cells, map.cw, f) < RESPLIT_MIN_WIDTH || slanted) {
                pieces.push_back(std::move(part));
                continue;
            }
            double best = handAngle, bestScore = 0.0;
            for (int d = -RESPLIT_TILT; d <= RESPLIT_TILT; d += SEARCH_STEP) {
                const double score = ValleyScore(part.cells, map.cw, handAngle + d);
                if (score > bestScore) {
                    bestScore = score;
                    best = handAngle + d;
                }
            }
            if (bestScore > 0.0)
                SplitTouching(map, MakeFrame(best), part.cells, true, 0, pieces);
            else
                pieces.push_back(std::move(part));
        }
    }
    for (Region& p : pieces)
        CutAtCrease(map, f, p, out);
    return out;
}

Candidate MeasureCandidate(const CellMap& map, const Region& region, double handAngle)
{
    const Frame f = MakeFrame(handAngle);
    const int cw = map.cw;
    Candidate c;
    double vmax = -1e18, vmin = 1e18, umin = 1e18, umax = -1e18, usum = 0.0, contrast = 0.0;
    int x0 = map.cw, y0 = map.ch, x1 = -1, y1 = -1;
    for (int i : region.cells) {
        const double x = CellX(i, cw), y = CellY(i, cw);
        const double u = f.U(x, y), v = f.V(x, y);
        vmax = std::max(vmax, v);
        vmin = std::min(vmin, v);
        umin = std::min(umin, u);
        umax = std::max(umax, u);
        usum += u;
        contrast += map.contrast[static_cast<std::size_t>(i)];
        x0 = std::min(x0, i % cw);
        x1 = std::max(x1, i % cw);
        y0 = std::min(y0, i / cw);
        y1 = std::max(y1, i / cw);
    }
    const double n = static_cast<double>(region.cells.size());
    c.u = usum / n;
    c.v = (vmax + vmin) / 2.0;
    c.cx = c.u * f.s + c.v * f.c;
    c.cy = c.u * f.c - c.v * f.s;
    c.width = umax - umin + CELL;
    c.length = vmax - vmin + CELL;
    c.area = n * CELL * CELL;
    c.contrast = contrast / n;
    c.box = {x0 * CELL, y0 * CELL, (x1 + 1) * CELL, (y1 + 1) * CELL};
    double elongation, minor;
    Axis(region.cells, cw, c.angle, elongation, minor);
    if (elongation < AXIS_MIN_ELONGATION)
        c.angle = handAngle;
    c.lower = region.lower;
    if (region.touching)
        c.flags |= FLAG_TOUCHING;
    if (x0 == 0 || y0 == 0 || x1 == map.cw - 1 || y1 == map.ch - 1)
        c.flags |= FLAG_CUT_BY_BORDER;
    return c;
}

} // namespace accurate
