// Evaluation of the exact and the accurate finger locator, side by side, on
// three sets: generated four-finger slaps (both hands, tilts up to 45
// degrees, contrast, noise, dry and wet prints, touching fingers, missing
// fingers, fingers cut by the border), a hard generated set (one to three
// fingers, thumbs, faint, noisy, small images, deep border cuts) and the real
// slaps of a truth file.
//
// Run: build/bench/kovral_locator_eval [--set generated|hard|real|all] [--count N]
//        [--truth tests/data/realdata_truth.json] [--realdata ../shared/realdata]
//        [--verbose] [--dump DIR] [--min-generated P --min-hard P --min-real N]
// A report counts for a fingertip when its centre lies in the fingertip's
// ellipse; a slap is all-correct when every visible fingertip has exactly one
// report and nothing else is reported. With a --min-* floor the exit status is
// 1 when the accurate locator falls below it.
#include "locator_eval.h"

#include <kovral.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "accurate/accurate.h"
#include "slapgen.h"

namespace eval {
namespace {

constexpr double PI = 3.14159265358979323846;
constexpr int OUT_W = 320;
constexpr int OUT_H = 480;
constexpr int AXIS_SAMPLES = 50;
constexpr double VISIBLE_SHARE = 0.3; // of the axis inside the image: the fingertip must be found

double Cos(double deg)
{
    return std::cos(deg * PI / 180.0);
}
double Sin(double deg)
{
    return std::sin(deg * PI / 180.0);
}

bool Inside(const Box& b, double x, double y)
{
    return x >= b.left && x < b.right && y >= b.top && y < b.bottom;
}

// Normalised distance of (x, y) from the fingertip's centre in its ellipse.
double EllipseDistance(const TruthFinger& t, double x, double y)
{
    const double dx = x - t.x, dy = y - t.y;
    const double across = dx * Sin(t.angle) + dy * Cos(t.angle);
    const double along = dx * Cos(t.angle) - dy * Sin(t.angle);
    const double a = across / (t.width / 2), b = along / (t.length / 2);
    return std::sqrt(a * a + b * b);
}

double AngleError(double a, double b)
{
    double d = std::fmod(std::fabs(a - b), 180.0);
    return std::min(d, 180.0 - d);
}

// Tiny deterministic generator for the sets' variations.
struct Dice
{
    uint32_t s;
    explicit Dice(uint32_t seed) : s(seed * 2654435761u + 12345u) { }
    uint32_t Next()
    {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        return s;
    }
    int Int(int lo, int hi) { return lo + static_cast<int>(Next() % static_cast<uint32_t>(hi - lo + 1)); }
    bool Chance(int percent) { return Int(0, 99) < percent; }
};

// The truth of a generated slap: every fingertip of the plan, its centre moved
// to the middle of the part of its axis inside the image.
Case FromPlan(const std::string& name, const slapgen::SlapSpec& plan)
{
    Case c;
    c.name = name;
    slapgen::Slap slap = slapgen::Generate(plan);
    c.width = slap.width;
    c.height = slap.height;
    c.pixels = std::move(slap.pixels);
    for (const slapgen::Finger& f : plan.fingers) {
        double sx = 0, sy = 0;
        int inside = 0;
        for (int k = 0; k < AXIS_SAMPLES; k++) {
            const double t = (k + 0.5) / AXIS_SAMPLES - 0.5;
            const double x = f.cx + t * f.length * Cos(f.angle), y = f.cy - t * f.length * Sin(f.angle);
            if (x >= 0 && x < plan.width && y >= 0 && y < plan.height) {
                sx += x;
                sy += y;
                inside++;
            }
        }
        if (inside == 0)
            continue;
        TruthFinger t{sx / inside,
                      sy / inside,
                      static_cast<double>(f.angle),
                      static_cast<double>(f.width),
                      static_cast<double>(f.length),
                      inside >= VISIBLE_SHARE * AXIS_SAMPLES};
        if (inside < AXIS_SAMPLES) // the cut-off part cannot be found: shrink the ellipse along the axis
            t.length = f.length * inside / static_cast<double>(AXIS_SAMPLES);
        t.length = std::max(t.length, t.width);
        c.fingers.push_back(t);
    }
    return c;
}

// Moves every finger by (dx, dy).
void Shift(slapgen::SlapSpec& plan, int dx, int dy)
{
    for (slapgen::Finger& f : plan.fingers) {
        f.cx += dx;
        f.cy += dy;
    }
}

// Shifts the hand so that its outermost finger on one side is cut by that border.
void CutByBorder(slapgen::SlapSpec& plan, Dice& d)
{
    const int side = d.Int(0, 2);    // left, right, top
    const int depth = d.Int(20, 90); // how far the finger's centre stays inside
    if (side == 2) {
        int top = plan.height;
        for (const slapgen::Finger& f : plan.fingers)
            top = std::min(top, f.cy);
        Shift(plan, 0, depth - top);
    } else if (side == 0) {
        int left = plan.width;
        for (const slapgen::Finger& f : plan.fingers)
            left = std::min(left, f.cx);
        Shift(plan, depth - left, 0);
    } else {
        int right = 0;
        for (const slapgen::Finger& f : plan.fingers)
            right = std::max(right, f.cx);
        Shift(plan, plan.width - depth - right, 0);
    }
}

void DropFingers(slapgen::SlapSpec& plan, Dice& d, int n)
{
    for (int k = 0; k < n && plan.fingers.size() > 1; k++)
        plan.fingers.erase(plan.fingers.begin() + d.Int(0, static_cast<int>(plan.fingers.size()) - 1));
}

void Contrast(slapgen::SlapSpec& plan, Dice& d)
{
    plan.ridge = d.Int(35, 110);
    plan.valley = d.Int(165, 200);
    plan.background = d.Int(std::max(plan.valley + 5, 205), 245);
    plan.noise = d.Int(2, 8);
}

Case Generated(int i)
{
    Dice d(1000 + i);
    const bool right = i % 2 == 0;
    const int tilt = d.Int(-45, 45);
    const int gapKind = d.Int(0, 99);
    const int gap = gapKind < 25 ? 0 : (gapKind < 35 ? -10 : -1);
    slapgen::SlapSpec plan = slapgen::FourFingerHand(1600, 1500, tilt, right, 1000 + i, gap);
    Contrast(plan, d);
    if (d.Chance(20))
        plan.dry = d.Int(40, 90);
    else if (d.Chance(20))
        plan.wet = d.Int(40, 90);
    plan.phalanges = d.Chance(30);
    plan.smudge = d.Chance(10);
    const int missing = d.Int(0, 99);
    DropFingers(plan, d, missing < 15 ? 1 : (missing < 25 ? 2 : 0));
    if (d.Chance(15))
        CutByBorder(plan, d);
    char name[64];
    std::snprintf(name, sizeof name, "gen%03d tilt %d %s gap %d%s%s%s", i, tilt, right ? "R" : "L", gap,
                  plan.dry ? " dry" : "", plan.wet ? " wet" : "", plan.phalanges ? " phal" : "");
    return FromPlan(name, plan);
}

Case Hard(int i)
{
    Dice d(5000 + i);
    const int kind = i % 6;
    const bool right = d.Chance(50);
    const int tilt = d.Int(-30, 30);
    slapgen::SlapSpec plan = slapgen::FourFingerHand(1600, 1200, tilt, right, 5000 + i, -1);
    const char* what = "";
    switch (kind) {
    case 0: // one to three fingers
        what = "few";
        DropFingers(plan, d, d.Int(1, 3));
        break;
    case 1: { // two thumbs, far apart
        what = "thumbs";
        plan.fingers.clear();
        const int a = 90 + d.Int(-15, 15);
        for (int k = 0; k < 2; k++) {
            slapgen::Finger f;
            f.width = d.Int(290, 360);
            f.length = d.Int(380, 460);
            f.cx = k == 0 ? d.Int(330, 500) : d.Int(1100, 1270);
            f.cy = d.Int(450, 700);
            f.angle = a + (k == 0 ? 1 : -1) * d.Int(0, 12);
            f.period = d.Int(9, 11);
            plan.fingers.push_back(f);
        }
        plan.phalanges = d.Chance(50);
        break;
    }
    case 2: // faint
        what = "faint";
        plan.ridge = d.Int(125, 150);
        plan.valley = d.Int(180, 195);
        plan.background = d.Int(plan.valley + 3, 215);
        plan.noise = 3;
        break;
    case 3: // noisy
        what = "noisy";
        plan.noise = d.Int(12, 20);
        break;
    case 4: // small image, smaller hand
        what = "small";
        plan = slapgen::FourFingerHand(900, 620, tilt / 2, right, 5000 + i, -1);
        DropFingers(plan, d, d.Int(0, 2));
        break;
    default: // deep cut by the border
        what = "cut";
        CutByBorder(plan, d);
        Shift(plan, 0, 0);
        for (slapgen::Finger& f : plan.fingers)
            if (f.cx < 60)
                f.cx -= 30;
        break;
    }
    char name[64];
    std::snprintf(name, sizeof name, "hard%03d %s tilt %d %s", i, what, tilt, right ? "R" : "L");
    return FromPlan(name, plan);
}

} // namespace

Outcome Score(const Case& c, const std::vector<Report>& reports)
{
    Outcome o;
    struct Pair
    {
        double d;
        int t, r;
    };
    std::vector<Pair> pairs;
    for (int t = 0; t < static_cast<int>(c.fingers.size()); t++)
        for (int r = 0; r < static_cast<int>(reports.size()); r++) {
            const double d
                = EllipseDistance(c.fingers[static_cast<std::size_t>(t)], reports[static_cast<std::size_t>(r)].x,
                                  reports[static_cast<std::size_t>(r)].y);
            if (d <= 1.0)
                pairs.push_back({d, t, r});
        }
    std::sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.d < b.d; });
    std::vector<int> truthOf(reports.size(), -1), reportOf(c.fingers.size(), -1);
    for (const Pair& p : pairs)
        if (truthOf[static_cast<std::size_t>(p.r)] < 0 && reportOf[static_cast<std::size_t>(p.t)] < 0) {
            truthOf[static_cast<std::size_t>(p.r)] = p.t;
            reportOf[static_cast<std::size_t>(p.t)] = p.r;
        }
    bool ok = true;
    for (std::size_t t = 0; t < c.fingers.size(); t++) {
        const TruthFinger& f = c.fingers[t];
        if (f.required)
            o.required++;
        if (reportOf[t] < 0) {
            ok = ok && !f.required;
            continue;
        }
        const Report& r = reports[static_cast<std::size_t>(reportOf[t])];
        if (f.required)
            o.found++;
        o.centreErrors.push_back(std::hypot(r.x - f.x, r.y - f.y));
        o.angleErrors.push_back(AngleError(r.angle, f.angle));
    }
    for (std::size_t r = 0; r < reports.size(); r++) {
        if (truthOf[r] >= 0)
            continue;
        const Report& rep = reports[r];
        bool excused = false;
        for (const TruthFinger& f : c.fingers)
            excused = excused || (!f.required && EllipseDistance(f, rep.x, rep.y) <= 1.0);
        for (const Box& b : c.ignore)
            excused = excused || Inside(b, rep.x, rep.y);
        if (excused)
            continue;
        o.extra++;
        for (const Box& b : c.marks)
            if (Inside(b, rep.x, rep.y)) {
                o.onMarks++;
                break;
            }
    }
    o.allCorrect = ok && o.extra == 0;
    return o;
}

namespace {

using Clock = std::chrono::steady_clock;

struct Runner
{
    std::vector<std::vector<unsigned char>> buffers;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];

    Runner()
    {
        for (auto& rec : info) {
            buffers.emplace_back(static_cast<std::size_t>(OUT_W) * OUT_H);
            rec.pFpImg = buffers.back().data();
        }
        KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    }

    std::vector<Report> Exact(Case& c, double& ms)
    {
        int count = 0;
        const auto t0 = Clock::now();
        const int rc = KOVRAL_DoSplit(c.pixels.data(), c.width, c.height, nullptr, OUT_W, OUT_H, &count, info);
        ms = std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
        std::vector<Report> out;
        if (rc == KOVRAL_OK)
            for (int i = 0; i < count; i++)
                out.push_back({static_cast<double>(info[i].x), static_cast<double>(info[i].y),
                               static_cast<double>(info[i].angle)});
        return out;
    }

    std::vector<Report> Accurate(const Case& c, double& ms, accurate::Result& res)
    {
        const auto t0 = Clock::now();
        accurate::Locate(c.pixels.data(), c.width, c.height, res);
        ms = std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
        std::vector<Report> out;
        for (int i = 0; i < res.count; i++)
            out.push_back({static_cast<double>(res.fingers[i].x), static_cast<double>(res.fingers[i].y),
                           static_cast<double>(res.fingers[i].angle)});
        return out;
    }
};

struct Totals
{
    int slaps = 0, correct = 0, required = 0, found = 0, extra = 0, onMarks = 0, handRight = 0, handKnown = 0;
    std::vector<double> centre, angle, ms;

    void Add(const Outcome& o)
    {
        slaps++;
        correct += o.allCorrect;
        required += o.required;
        found += o.found;
        extra += o.extra;
        onMarks += o.onMarks;
        centre.insert(centre.end(), o.centreErrors.begin(), o.centreErrors.end());
        angle.insert(angle.end(), o.angleErrors.begin(), o.angleErrors.end());
        ms.push_back(o.milliseconds);
    }
    double Percent() const { return slaps ? 100.0 * correct / slaps : 0.0; }
};

double Mean(const std::vector<double>& v)
{
    double s = 0;
    for (double x : v)
        s += x;
    return v.empty() ? 0.0 : s / static_cast<double>(v.size());
}

double Quantile(std::vector<double> v, double q)
{
    if (v.empty())
        return 0.0;
    std::sort(v.begin(), v.end());
    return v[static_cast<std::size_t>(q * static_cast<double>(v.size() - 1) + 0.5)];
}

void PrintTable(const char* title, const Totals& e, const Totals& a)
{
    std::printf("\n%s: %d slaps\n", title, e.slaps);
    std::printf("  %-34s %16s %16s\n", "", "exact", "accurate");
    char x[64], y[64];
    std::printf("  %-34s %15.1f%% %15.1f%%\n", "slaps all-correct", e.Percent(), a.Percent());
    std::snprintf(x, sizeof x, "%d / %d", e.found, e.required);
    std::snprintf(y, sizeof y, "%d / %d", a.found, a.required);
    std::printf("  %-34s %16s %16s\n", "fingertips found", x, y);
    std::printf("  %-34s %16d %16d\n", "extra reports", e.extra, a.extra);
    std::printf("  %-34s %16d %16d\n", "  of them on text, lines, holes", e.onMarks, a.onMarks);
    std::snprintf(x, sizeof x, "%.1f / %.1f / %.1f", Mean(e.centre), Quantile(e.centre, 0.5),
                  Quantile(e.centre, 0.9));
    std::snprintf(y, sizeof y, "%.1f / %.1f / %.1f", Mean(a.centre), Quantile(a.centre, 0.5),
                  Quantile(a.centre, 0.9));
    std::printf("  %-34s %16s %16s\n", "centre error px mean / med / p90", x, y);
    std::snprintf(x, sizeof x, "%.1f / %.1f / %.1f", Mean(e.angle), Quantile(e.angle, 0.5), Quantile(e.angle, 0.9));
    std::snprintf(y, sizeof y, "%.1f / %.1f / %.1f", Mean(a.angle), Quantile(a.angle, 0.5), Quantile(a.angle, 0.9));
    std::printf("  %-34s %16s %16s\n", "angle error deg mean / med / p90", x, y);
    std::snprintf(x, sizeof x, "%.2f / %.2f", Mean(e.ms), Quantile(e.ms, 0.5));
    std::snprintf(y, sizeof y, "%.2f / %.2f", Mean(a.ms), Quantile(a.ms, 0.5));
    std::printf("  %-34s %16s %16s\n", "time ms mean / median", x, y);
    if (a.handKnown)
        std::printf("  %-34s %16s %15d/%d\n", "hand told right", "-", a.handRight, a.handKnown);
}

const char* HandName(int hand)
{
    switch (hand) {
    case accurate::HAND_RIGHT:
        return "right";
    case accurate::HAND_LEFT:
        return "left";
    case accurate::HAND_THUMBS:
        return "thumbs";
    default:
        return "";
    }
}

struct Options
{
    std::string set = "all";
    int count = 200;
    std::string truth = "tests/data/realdata_truth.json";
    std::string realdata = "../shared/realdata";
    bool verbose = false;
    std::string dump;
    double minGenerated = -1, minHard = -1;
    int minReal = -1;
};

void ShowCase(const char* who, const Case& c, const std::vector<Report>& reports, const Outcome& o)
{
    std::printf("  %s %-40s found %d/%d extra %d%s\n", who, c.name.c_str(), o.found, o.required, o.extra,
                o.allCorrect ? "" : "  FAIL");
    for (const TruthFinger& t : c.fingers)
        std::printf("      truth  %6.0f %6.0f %4.0f  %s\n", t.x, t.y, t.angle, t.required ? "" : "(optional)");
    for (const Report& r : reports)
        std::printf("      report %6.0f %6.0f %4.0f\n", r.x, r.y, r.angle);
}

// Runs both locators over a set and prints its table; returns the accurate totals.
Totals RunSet(const char* title, std::vector<Case>& cases, Runner& runner, const Options& opt, bool showAll)
{
    Totals e, a;
    for (Case& c : cases) {
        double ms = 0;
        accurate::Result res;
        const std::vector<Report> ra = runner.Accurate(c, ms, res);
        Outcome oa = Score(c, ra);
        oa.milliseconds = ms;
        const std::vector<Report> re = runner.Exact(c, ms);
        Outcome oe = Score(c, re);
        oe.milliseconds = ms;
        e.Add(oe);
        a.Add(oa);
        if (!c.hand.empty()) {
            a.handKnown++;
            a.handRight += c.hand == HandName(res.hand);
        }
        if (opt.verbose && (showAll || !oa.allCorrect)) {
            ShowCase("accurate", c, ra, oa);
            std::printf("      hand %s (%d%%), angle %d, deficiencies 0x%x, rejected %d\n", HandName(res.hand),
                        res.handConfidence, res.handAngle, res.deficiencies, res.rejectedCount);
            if (showAll)
                ShowCase("exact   ", c, re, oe);
        }
        if (!opt.dump.empty() && !oa.allCorrect) {
            slapgen::Slap s;
            s.width = c.width;
            s.height = c.height;
            s.pixels = c.pixels;
            std::string file = opt.dump + "/" + c.name.substr(0, c.name.find(' ')) + ".pgm";
            slapgen::WritePgm(file.c_str(), s);
        }
    }
    PrintTable(title, e, a);
    return a;
}

bool ParseArgs(int argc, char** argv, Options& o)
{
    for (int i = 1; i < argc; i++) {
        const std::string arg = argv[i];
        const bool more = i + 1 < argc;
        if (arg == "--set" && more)
            o.set = argv[++i];
        else if (arg == "--count" && more)
            o.count = std::atoi(argv[++i]);
        else if (arg == "--truth" && more)
            o.truth = argv[++i];
        else if (arg == "--realdata" && more)
            o.realdata = argv[++i];
        else if (arg == "--dump" && more)
            o.dump = argv[++i];
        else if (arg == "--verbose")
            o.verbose = true;
        else if (arg == "--min-generated" && more)
            o.minGenerated = std::atof(argv[++i]);
        else if (arg == "--min-hard" && more)
            o.minHard = std::atof(argv[++i]);
        else if (arg == "--min-real" && more)
            o.minReal = std::atoi(argv[++i]);
        else
            return false;
    }
    return o.count > 0;
}

} // namespace
} // namespace eval

int main(int argc, char** argv)
{
    using namespace eval;
    Options opt;
    if (!ParseArgs(argc, argv, opt)) {
        std::fprintf(stderr,
                     "usage: %s [--set generated|hard|real|all] [--count N] [--truth FILE] [--realdata DIR]\n"
                     "       [--verbose] [--dump DIR] [--min-generated P] [--min-hard P] [--min-real N]\n",
                     argv[0]);
        return 2;
    }
    Runner runner;
    bool pass = true;
    const bool all = opt.set == "all";
    if (all || opt.set == "generated") {
        std::vector<Case> cases;
        for (int i = 0; i < opt.count; i++)
            cases.push_back(Generated(i));
        const Totals a = RunSet("generated four-finger slaps, 1600 x 1500", cases, runner, opt, false);
        if (opt.minGenerated >= 0 && a.Percent() < opt.minGenerated)
            pass = false;
    }
    if (all || opt.set == "hard") {
        std::vector<Case> cases;
        for (int i = 0; i < std::max(opt.count / 2, 6); i++)
            cases.push_back(Hard(i));
        const Totals a = RunSet("hard generated slaps", cases, runner, opt, false);
        if (opt.minHard >= 0 && a.Percent() < opt.minHard)
            pass = false;
    }
    if (all || opt.set == "real") {
        std::vector<Case> cases;
        std::string error;
        if (!LoadRealSet(opt.truth, opt.realdata, cases, error)) {
            std::fprintf(stderr, "real set skipped: %s\n", error.c_str());
            if (opt.minReal >= 0 && opt.set == "real")
                return 2;
        } else {
            const Totals a = RunSet("real slaps", cases, runner, opt, true);
            if (opt.minReal >= 0 && a.correct < opt.minReal)
                pass = false;
        }
    }
    std::printf("\n%s\n", pass ? "PASS" : "FAIL: the accurate locator fell below a floor");
    return pass ? 0 : 1;
}
