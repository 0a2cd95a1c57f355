// Synthetic slap images: a bright noisy platen, optional smudge, and fingertips
// whose ridges follow an analytic phase field (whorls, loops or arches around a core),
// warped a little, broken by pores, composited with soft rims.
#include "slapgen.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdio>
#include <utility>

namespace slapgen {
namespace {

constexpr double PI = 3.141592653589793;

// Fingertip outline, relative to the half width a and the length L.
constexpr int MIN_WIDTH = 8;
constexpr int MIN_LENGTH = 16;
constexpr double CAP_RATIO = 1.25;  // height of the rounded top / a
constexpr double SIDE_TAPER = 0.08; // the sides narrow by this share of a towards the crease
constexpr double CREASE_BOW = 30.0; // pixels: the crease line rises towards the sides
constexpr double RIM = 6.0;         // pixels over which the outline goes from background to full ink
constexpr double FADE = 26.0;       // pixels over which the print fades out at the crease
constexpr double RAGGED = 2.5;      // pixels the outline wanders in and out
constexpr int RAGGED_CELL = 32;

// Ridges.
constexpr int PORE_CELL = 4;        // pores and ink breaks: value noise of this cell size
constexpr double PORE_DEPTH = 0.75; // share of the ridge darkness that a pore takes away
constexpr double PORE_LEVEL = 0.45; // noise above this level opens a pore
constexpr double PORE_SHARPNESS = 2.5;
constexpr double DRY_PORE_LEVEL = 0.3; // a fully dry print opens pores this much sooner
constexpr double WET_SPREAD = 0.8;     // a fully wet print weighs valley light down by this share
constexpr double WHORL_SHARE = 0.35;   // shares of the ridge flows; arches take the rest
constexpr double LOOP_SHARE = 0.5;
constexpr int MIN_PERIOD = 3;
constexpr double WOBBLE = 0.35; // ridges wiggle by up to this share of a period either way
constexpr int WOBBLE_CELL = 10;

// Random ranges of the ridge flow (pixels unless stated).
constexpr double CORE_ACROSS = 0.2; // core off the axis, either way, share of the half width
constexpr double CORE_BELOW = 0.12; // core below / above the centre, share of the length
constexpr double CORE_ABOVE = 0.06;
constexpr double CORE_TILT = 15.0;    // degrees either way
constexpr double CORE_LINE_MIN = 8.0; // whorl: half length of the core line
constexpr double CORE_LINE_MAX = 40.0;
constexpr double FLATTEN_MIN = 150.0; // whorl: how far below the core its rings flatten
constexpr double FLATTEN_MAX = 230.0;
constexpr double EXIT_MIN = 15.0; // loop: degrees below the horizontal in which its ridges leave
constexpr double EXIT_MAX = 35.0;
constexpr double ARCH_DROP_MIN = 60.0; // arch: the arcs' centre below the fingertip's lower end
constexpr double ARCH_DROP_MAX = 220.0;
constexpr double WARP_MIN = 2.0; // slow waviness: amplitude and wavelength
constexpr double WARP_MAX = 6.0;
constexpr double WARP_WAVE_MIN = 70.0;
constexpr double WARP_WAVE_MAX = 140.0;

// Middle phalanx, below the crease.
constexpr double CREASE_GAP = 36.0;         // pixels of bare skin between fingertip and phalanx
constexpr double PHALANX_RATIO = 0.5;       // length / fingertip length
constexpr double PHALANX_WIDTH = 0.92;      // half width / the fingertip's
constexpr double PHALANX_INK = 0.55;        // its ridges are paler
constexpr double PHALANX_BOW = 10.0;        // pixels its ridges sag towards the middle
constexpr double PHALANX_PORE_LEVEL = 0.35; // and have more pores

// Smudge.
constexpr double SMUDGE_RX = 120.0;
constexpr double SMUDGE_RY = 75.0;
constexpr double SMUDGE_RAMP = 40.0; // soft edge, wide enough to show no ridge-like step
constexpr double SMUDGE_GRAY = 85.0;
constexpr double SMUDGE_MOTTLE = 24.0; // gray levels of slow variation inside it
constexpr int SMUDGE_CELL = 40;

constexpr int WAVE_STEPS = 4096; // cosine table entries per cycle
constexpr double UINT32_RANGE = 4294967296.0;

// Sine of x radians, |x| <= pi / 2, by its Taylor series: only basic IEEE
// operations, so images do not depend on the C library's transcendentals.
double SinSeries(double x)
{
    const double x2 = x * x;
    double term = x;
    double sum = x;
    for (int k = 1; k <= 11; k++) {
        term *= -x2 / ((2.0 * k) * (2.0 * k + 1.0));
        sum += term;
    }
    return sum;
}

double SinDeg(double degrees)
{
    double d = degrees - 360.0 * std::floor(degrees / 360.0);
    if (d > 270.0)
        d -= 360.0;
    else if (d > 90.0)
        d = 180.0 - d;
    return SinSeries(d * PI / 180.0);
}

double CosDeg(double degrees)
{
    return SinDeg(degrees + 90.0);
}

// cos(2 pi phase) from a table, phase in cycles.
class Wave
{
public:
    Wave()
    {
        for (int i = 0; i < WAVE_STEPS; i++)
            table_[i] = CosDeg(360.0 * i / WAVE_STEPS);
    }
    double operator()(double phase) const
    {
        const double frac = phase - std::floor(phase);
        return table_[static_cast<int>(frac * WAVE_STEPS) & (WAVE_STEPS - 1)];
    }

private:
    double table_[WAVE_STEPS];
};

const Wave g_wave;

uint32_t Mix(uint32_t h)
{
    h ^= h >> 16;
    h *= 0x7feb352du;
    h ^= h >> 15;
    h *= 0x846ca68bu;
    h ^= h >> 16;
    return h;
}

uint32_t Hash(uint32_t x, uint32_t y, uint32_t salt)
{
    return Mix(x * 0x8da6b343u ^ y * 0xd8163841u ^ salt);
}

// 32-bit xorshift; every stream starts from a mixed, non-zero state.
class Rng
{
public:
    Rng(uint32_t seed, uint32_t stream) : state_(Mix(seed ^ Mix(stream + 0x9e3779b9u)) | 1u) { }
    uint32_t Next()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }
    double Unit() { return Next() / UINT32_RANGE; }
    double Range(double lo, double hi) { return lo + (hi - lo) * Unit(); }
    int Int(int lo, int hi) // inclusive
    {
        return lo + static_cast<int>((static_cast<uint64_t>(Next()) * static_cast<uint32_t>(hi - lo + 1)) >> 32);
    }

private:
    uint32_t state_;
};

// Smooth value noise in [0, 1) on a lattice of cell pixels; x and y >= 0.
double ValueNoise(int x, int y, int cell, uint32_t salt)
{
    const uint32_t ix = static_cast<uint32_t>(x / cell);
    const uint32_t iy = static_cast<uint32_t>(y / cell);
    double tx = static_cast<double>(x % cell) / cell;
    double ty = static_cast<double>(y % cell) / cell;
    tx = tx * tx * (3.0 - 2.0 * tx);
    ty = ty * ty * (3.0 - 2.0 * ty);
    const double scale = 1.0 / UINT32_RANGE;
    const double a = Hash(ix, iy, salt) * scale;
    const double b = Hash(ix + 1, iy, salt) * scale;
    const double c = Hash(ix, iy + 1, salt) * scale;
    const double d = Hash(ix + 1, iy + 1, salt) * scale;
    const double top = a + (b - a) * tx;
    const double bottom = c + (d - c) * tx;
    return top + (bottom - top) * ty;
}

double Clamp01(double v)
{
    return v < 0.0 ? 0.0 : (v > 1.0 ? 1.0 : v);
}

// Ridge flow around the core.
enum class Flow
{
    Whorl, // closed loops around a short core line, flattening out below it
    Loop,  // ridges that come in from one side, turn round the core and go back out
    Arch,  // arcs around a point below the fingertip
};

// One finger prepared for drawing. Local coordinates: u across the finger
// (to the right when upright), v along it towards the tip, origin at the centre.
struct Plan
{
    double cx, cy, cosA, sinA;
    double half, halfLength, capStart, cap, sideLength;
    double period, phase0;
    Flow flow;
    double coreU, coreV, coreCos, coreSin;
    double coreHalf, flatten; // whorl
    double exitU, exitV;      // loop: unit direction in which its ridges leave
    double archDrop;          // arch: depth of the arcs' centre below the core
    double warpAmpU, warpWaveU, warpPhaseU, warpAmpV, warpWaveV, warpPhaseV;
    uint32_t salt;
};

Plan MakePlan(const Finger& f, uint32_t seed, uint32_t index)
{
    Rng rng(seed, 100 + index);
    Plan p{};
    p.cx = f.cx;
    p.cy = f.cy;
    p.cosA = CosDeg(f.angle);
    p.sinA = SinDeg(f.angle);
    p.half = std::max(f.width, MIN_WIDTH) / 2.0;
    p.halfLength = std::max(f.length, MIN_LENGTH) / 2.0;
    p.cap = std::min(CAP_RATIO * p.half, p.halfLength);
    p.capStart = p.halfLength - p.cap;
    p.sideLength = p.capStart + p.halfLength;
    p.period = std::max(f.period, MIN_PERIOD);
    p.phase0 = rng.Unit();
    const double kind = rng.Unit();
    p.flow = kind < WHORL_SHARE ? Flow::Whorl : (kind < WHORL_SHARE + LOOP_SHARE ? Flow::Loop : Flow::Arch);
    p.coreU = rng.Range(-CORE_ACROSS, CORE_ACROSS) * p.half;
    p.coreV = rng.Range(-CORE_BELOW, CORE_ABOVE) * 2.0 * p.halfLength;
    const double tilt = rng.Range(-CORE_TILT, CORE_TILT);
    p.coreCos = CosDeg(tilt);
    p.coreSin = SinDeg(tilt);
    p.coreHalf = rng.Range(CORE_LINE_MIN, CORE_LINE_MAX);
    p.flatten = rng.Range(FLATTEN_MIN, FLATTEN_MAX);
    const double exit = rng.Range(EXIT_MIN, EXIT_MAX);
    p.exitU = (rng.Unit() < 0.5 ? -1.0 : 1.0) * CosDeg(exit);
    p.exitV = -SinDeg(exit);
    p.archDrop = p.halfLength + p.coreV + rng.Range(ARCH_DROP_MIN, ARCH_DROP_MAX);
    p.warpAmpU = rng.Range(WARP_MIN, WARP_MAX);
    p.warpWaveU = rng.Range(WARP_WAVE_MIN, WARP_WAVE_MAX);
    p.warpPhaseU = rng.Unit();
    p.warpAmpV = rng.Range(WARP_MIN, WARP_MAX);
    p.warpWaveV = rng.Range(WARP_WAVE_MIN, WARP_WAVE_MAX);
    p.warpPhaseV = rng.Unit();
    p.salt = rng.Next();
    return p;
}

// Distances inside the fingertip's outline: from its rim (sides and top) and from the crease line.
struct Depth
{
    double rim, crease;
};

Depth TipDepth(const Plan& p, double u, double v)
{
    Depth d;
    if (v > p.capStart) {
        // Rounded top: radial distance to the half ellipse.
        const double eu = u / p.half;
        const double ev = (v - p.capStart) / p.cap;
        const double e = std::sqrt(eu * eu + ev * ev);
        const double r = std::sqrt(u * u + (v - p.capStart) * (v - p.capStart));
        d.rim = e > 0.0 ? r * (1.0 - e) / e : p.cap;
    } else {
        const double s = (p.capStart - v) / p.sideLength;
        d.rim = p.half * (1.0 - SIDE_TAPER * s * s) - std::fabs(u);
    }
    const double ru = u / p.half;
    d.crease = v + p.halfLength - CREASE_BOW * ru * ru;
    return d;
}

// How much of the fingertip covers a point at depth d, rag pixels moving its outline: 0.5 on the outline.
double TipCoverage(const Depth& d, double rag)
{
    return std::min(Clamp01(0.5 + (d.rim + rag) / RIM), Clamp01(0.5 + (d.crease + rag) / FADE));
}

double PhalanxCoverage(const Plan& p, double u, double v, double rag)
{
    // Its ends follow the crease: both bow upward towards the sides.
    const double ru = u / p.half;
    const double top = -p.halfLength - CREASE_GAP + CREASE_BOW * ru * ru;
    const double bottom = top - PHALANX_RATIO * 2.0 * p.halfLength;
    const double side = Clamp01(0.5 + (PHALANX_WIDTH * p.half - std::fabs(u) + rag) / RIM);
    const double ends = std::min(Clamp01(0.5 + (top - v + rag) / (0.5 * FADE)), Clamp01(0.5 + (v - bottom) / FADE));
    return std::min(side, ends);
}

// Ridge darkness at (u, v), 1 on a ridge line, 0 in the middle of a valley.
double TipRidge(const Plan& p, double u, double v, double wobble)
{
    const double uw = u + p.warpAmpU * g_wave(v / p.warpWaveU + p.warpPhaseU) - p.coreU;
    const double vw = v + p.warpAmpV * g_wave(u / p.warpWaveV + p.warpPhaseV) - p.coreV;
    const double du = uw * p.coreCos - vw * p.coreSin;
    const double dv = uw * p.coreSin + vw * p.coreCos;
    double d;
    switch (p.flow) {
    case Flow::Whorl:
        if (dv > p.coreHalf) {
            const double e = dv - p.coreHalf;
            d = std::sqrt(du * du + e * e);
        } else if (dv < -p.coreHalf) {
            const double e = -p.coreHalf - dv;
            const double q = e / p.flatten;
            d = std::sqrt(du * du / (1.0 + q * q) + e * e);
        } else {
            d = std::fabs(du);
        }
        break;
    case Flow::Loop:
        // Distance to a ray from the core: parallel limbs along it, half circles ahead of it.
        if (du * p.exitU + dv * p.exitV > 0.0)
            d = std::fabs(du * p.exitV - dv * p.exitU);
        else
            d = std::sqrt(du * du + dv * dv);
        break;
    case Flow::Arch:
        d = std::sqrt(du * du + (dv + p.archDrop) * (dv + p.archDrop));
        break;
    }
    return 0.5 + 0.5 * g_wave(d / p.period + p.phase0 + wobble);
}

double PhalanxRidge(const Plan& p, double u, double v)
{
    const double ru = u / p.half;
    const double d = v + PHALANX_BOW * ru * ru + p.warpAmpV * g_wave(u / p.warpWaveV + p.warpPhaseV);
    return PHALANX_INK * (0.5 + 0.5 * g_wave(d / p.period + p.phase0));
}

struct Box
{
    int left, top, right, bottom; // inclusive while collecting
};

// Composites one finger over the image and returns the pixels its fingertip covers at least half.
Box DrawFinger(const SlapSpec& plan, const Plan& p, std::vector<uint8_t>& img)
{
    const int w = plan.width;
    const int h = plan.height;
    const double reachU = p.half + RIM + RAGGED;
    const double reachTop = p.halfLength + RIM + RAGGED;
    double reachBottom = p.halfLength + FADE + RAGGED;
    if (plan.phalanges)
        reachBottom = p.halfLength + CREASE_GAP + PHALANX_RATIO * 2.0 * p.halfLength + FADE + RAGGED;
    // Beyond these depths the rag cannot change the coverage.
    const double rimBand = RIM / 2.0 + RAGGED;
    const double creaseBand = FADE / 2.0 + RAGGED;

    // Pixel window: the local rectangle's corners in image coordinates.
    double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9;
    for (double cu : {-reachU, reachU})
        for (double cv : {-reachBottom, reachTop}) {
            const double x = p.cx + cu * p.sinA + cv * p.cosA;
            const double y = p.cy + cu * p.cosA - cv * p.sinA;
            minX = std::min(minX, x);
            maxX = std::max(maxX, x);
            minY = std::min(minY, y);
            maxY = std::max(maxY, y);
        }
    const int x0 = std::max(0, static_cast<int>(std::floor(minX)));
    const int x1 = std::min(w - 1, static_cast<int>(std::ceil(maxX)));
    const int y0 = std::max(0, static_cast<int>(std::floor(minY)));
    const int y1 = std::min(h - 1, static_cast<int>(std::ceil(maxY)));

    const double ink = plan.valley - plan.ridge;
    Box box{w, h, -1, -1};
    for (int y = y0; y <= y1; y++) {
        uint8_t* row = img.data() + static_cast<size_t>(y) * w;
        const double dy = y - p.cy;
        for (int x = x0; x <= x1; x++) {
            const double dx = x - p.cx;
            const double u = dx * p.sinA + dy * p.cosA;
            const double v = dx * p.cosA - dy * p.sinA;
            if (std::fabs(u) > reachU || v > reachTop || v < -reachBottom)
                continue;
            const Depth depth = TipDepth(p, u, v);
            double cover;
            double dark;
            double poreLevel = PORE_LEVEL;
            if (depth.rim >= rimBand && depth.crease >= creaseBand) {
                cover = 1.0;
            } else if (depth.rim <= -rimBand || depth.crease <= -creaseBand) {
                cover = 0.0;
            } else {
                cover = TipCoverage(depth, RAGGED * (2.0 * ValueNoise(x, y, RAGGED_CELL, p.salt) - 1.0));
            }
            if (cover >= 0.5) {
                box.left = std::min(box.left, x);
                box.right = std::max(box.right, x);
                box.top = std::min(box.top, y);
                box.bottom = std::max(box.bottom, y);
            }
            if (cover > 0.0) {
                dark = TipRidge(p, u, v, WOBBLE * (ValueNoise(x, y, WOBBLE_CELL, p.salt + 2) - 0.5));
            } else if (plan.phalanges) {
                cover = PhalanxCoverage(p, u, v, RAGGED * (2.0 * ValueNoise(x, y, RAGGED_CELL, p.salt) - 1.0));
                if (cover <= 0.0)
                    continue;
                dark = PhalanxRidge(p, u, v);
                poreLevel = PHALANX_PORE_LEVEL;
            } else {
                continue;
            }
            if (plan.dry > 0)
                poreLevel -= DRY_PORE_LEVEL * plan.dry / 100.0;
            if (plan.wet > 0) {
                const double light = (1.0 - dark) * (1.0 - WET_SPREAD * plan.wet / 100.0);
                dark = dark / (dark + light);
            }
            const double pore = Clamp01((ValueNoise(x, y, PORE_CELL, p.salt + 1) - poreLevel) * PORE_SHARPNESS);
            dark *= 1.0 - PORE_DEPTH * pore;
            const double gray = plan.valley - ink * dark;
            const double cur = row[x];
            row[x] = static_cast<uint8_t>(std::clamp(cur + cover * (gray - cur), 0.0, 255.0) + 0.5);
        }
    }
    return box;
}

void DrawSmudge(const SlapSpec& plan, std::vector<uint8_t>& img)
{
    double sx = plan.smudgeX;
    double sy = plan.smudgeY;
    if (sx < 0 || sy < 0) {
        // Centred under the fingers, half-way between their lowest reach and the bottom edge.
        double sumX = 0.0;
        double lowest = 0.0;
        for (const Finger& f : plan.fingers) {
            sumX += f.cx;
            const double reach
                = std::fabs(SinDeg(f.angle)) * f.length / 2.0 + std::fabs(CosDeg(f.angle)) * f.width / 2.0;
            lowest = std::max(lowest, f.cy + reach);
        }
        sx = plan.fingers.empty() ? plan.width / 2.0 : sumX / plan.fingers.size();
        sy = plan.fingers.empty() ? plan.height / 2.0
                                  : std::min((lowest + plan.height) / 2.0, plan.height - SMUDGE_RY / 2.0);
    }
    const uint32_t salt = Mix(plan.seed ^ 0x5bd1e995u);
    const int x0 = std::max(0, static_cast<int>(sx - SMUDGE_RX));
    const int x1 = std::min(plan.width - 1, static_cast<int>(sx + SMUDGE_RX));
    const int y0 = std::max(0, static_cast<int>(sy - SMUDGE_RY));
    const int y1 = std::min(plan.height - 1, static_cast<int>(sy + SMUDGE_RY));
    for (int y = y0; y <= y1; y++) {
        uint8_t* row = img.data() + static_cast<size_t>(y) * plan.width;
        for (int x = x0; x <= x1; x++) {
            const double ex = (x - sx) / SMUDGE_RX;
            const double ey = (y - sy) / SMUDGE_RY;
            const double e = std::sqrt(ex * ex + ey * ey);
            const double cover = Clamp01((1.0 - e) * SMUDGE_RY / SMUDGE_RAMP);
            if (cover <= 0.0)
                continue;
            const double gray = SMUDGE_GRAY + SMUDGE_MOTTLE * (ValueNoise(x, y, SMUDGE_CELL, salt) - 0.5);
            const double cur = row[x];
            row[x] = static_cast<uint8_t>(std::clamp(cur + cover * (gray - cur), 0.0, 255.0) + 0.5);
        }
    }
}

void AddNoise(const SlapSpec& plan, std::vector<uint8_t>& img)
{
    if (plan.noise <= 0)
        return;
    Rng rng(plan.seed, 1);
    const uint32_t levels = 2 * static_cast<uint32_t>(plan.noise) + 1;
    for (uint8_t& px : img) {
        const int offset = static_cast<int>((static_cast<uint64_t>(rng.Next()) * levels) >> 32) - plan.noise;
        px = static_cast<uint8_t>(std::clamp(px + offset, 0, 255));
    }
}

} // namespace

Slap Generate(const SlapSpec& plan)
{
    assert(plan.width > 0 && plan.height > 0);
    Slap slap;
    slap.width = plan.width;
    slap.height = plan.height;
    slap.pixels.assign(static_cast<size_t>(plan.width) * plan.height,
                       static_cast<uint8_t>(std::clamp(plan.background, 0, 255)));
    if (plan.smudge)
        DrawSmudge(plan, slap.pixels);

    for (size_t i = 0; i < plan.fingers.size(); i++) {
        const Finger& f = plan.fingers[i];
        const Box b = DrawFinger(plan, MakePlan(f, plan.seed, static_cast<uint32_t>(i)), slap.pixels);
        Truth t{f.cx, f.cy, f.angle, 0, 0, 0, 0};
        if (b.right >= b.left) {
            t.left = b.left;
            t.top = b.top;
            t.right = b.right + 1;
            t.bottom = b.bottom + 1;
        }
        slap.truth.push_back(t);
    }
    std::stable_sort(slap.truth.begin(), slap.truth.end(),
                     [](const Truth& a, const Truth& b) { return a.cx != b.cx ? a.cx < b.cx : a.cy < b.cy; });

    AddNoise(plan, slap.pixels);
    return slap;
}

SlapSpec FourFingerHand(int width, int height, int tilt, bool rightHand, uint32_t seed, int gap)
{
    // Index, middle, ring, little: width, length, and how far the tip sits below the middle finger's.
    struct Digit
    {
        double width, length, drop;
    };
    constexpr Digit DIGITS[4] = {{212, 390, 125}, {222, 420, 0}, {206, 400, 70}, {186, 332, 290}};
    constexpr double SIZE_JITTER = 0.04; // share of width and length, either way
    constexpr double DROP_JITTER = 15.0; // pixels either way
    constexpr double GAP_MIN = 50.0;     // when the caller leaves the gap to chance
    constexpr double GAP_MAX = 80.0;
    constexpr int PERIOD_MIN = 9;
    constexpr int PERIOD_MAX = 10;
    constexpr double MARGIN = 24.0; // the hand keeps this far from the image border
    assert(width > 2 * MARGIN && height > 2 * MARGIN);

    Rng rng(seed, 2);
    Digit d[4];
    double gaps[3];
    for (int i = 0; i < 4; i++) {
        const Digit& n = DIGITS[rightHand ? i : 3 - i];
        d[i] = {n.width * rng.Range(1.0 - SIZE_JITTER, 1.0 + SIZE_JITTER),
                n.length * rng.Range(1.0 - SIZE_JITTER, 1.0 + SIZE_JITTER),
                n.drop + rng.Range(-DROP_JITTER, DROP_JITTER)};
    }
    for (double& g : gaps)
        g = gap == -1 ? rng.Range(GAP_MIN, GAP_MAX) : gap;

    // Upright layout, x to the right and y downward, then the hand's centre at the origin.
    double x[4];
    double y[4];
    x[0] = 0.0;
    for (int i = 1; i < 4; i++)
        x[i] = x[i - 1] + d[i - 1].width / 2.0 + gaps[i - 1] + d[i].width / 2.0;
    for (int i = 0; i < 4; i++)
        y[i] = d[i].drop + d[i].length / 2.0;
    double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9;
    for (int i = 0; i < 4; i++) {
        minX = std::min(minX, x[i] - d[i].width / 2.0);
        maxX = std::max(maxX, x[i] + d[i].width / 2.0);
        minY = std::min(minY, y[i] - d[i].length / 2.0);
        maxY = std::max(maxY, y[i] + d[i].length / 2.0);
    }
    for (int i = 0; i < 4; i++) {
        x[i] -= (minX + maxX) / 2.0;
        y[i] -= (minY + maxY) / 2.0;
    }

    // Turn counter-clockwise as viewed; a positive tilt moves the tips left.
    const double c = CosDeg(tilt);
    const double s = SinDeg(tilt);
    double reachX = 0.0;
    double reachY = 0.0;
    for (int i = 0; i < 4; i++) {
        const double tx = x[i] * c + y[i] * s;
        const double ty = -x[i] * s + y[i] * c;
        x[i] = tx;
        y[i] = ty;
        const double hw = d[i].width / 2.0;
        const double hl = d[i].length / 2.0;
        reachX = std::max(reachX, std::fabs(tx) + std::fabs(c) * hw + std::fabs(s) * hl);
        reachY = std::max(reachY, std::fabs(ty) + std::fabs(s) * hw + std::fabs(c) * hl);
    }
    const double scale = std::min({1.0, (width / 2.0 - MARGIN) / reachX, (height / 2.0 - MARGIN) / reachY});

    SlapSpec plan;
    plan.width = width;
    plan.height = height;
    plan.seed = seed;
    for (int i = 0; i < 4; i++) {
        Finger f;
        f.cx = static_cast<int>(std::floor(width / 2.0 + scale * x[i] + 0.5));
        f.cy = static_cast<int>(std::floor(height / 2.0 + scale * y[i] + 0.5));
        f.angle = 90 + tilt;
        f.width = static_cast<int>(scale * d[i].width + 0.5);
        f.length = static_cast<int>(scale * d[i].length + 0.5);
        f.period = rng.Int(PERIOD_MIN, PERIOD_MAX);
        plan.fingers.push_back(f);
    }
    return plan;
}

bool WritePgm(const char* path, const Slap& slap)
{
    if (!path || slap.width <= 0 || slap.height <= 0
        || slap.pixels.size() != static_cast<size_t>(slap.width) * slap.height)
        return false;
    FILE* file = std::fopen(path, "wb");
    if (!file)
        return false;
    bool ok = std::fprintf(file, "P5\n%d %d\n255\n", slap.width, slap.height) > 0;
    ok = ok && std::fwrite(slap.pixels.data(), 1, slap.pixels.size(), file) == slap.pixels.size();
    ok = (std::fclose(file) == 0) && ok;
    return ok;
}

namespace {

// Next header number of a PGM, skipping white space and comment lines.
bool PgmNumber(FILE* file, int& value)
{
    int ch = std::fgetc(file);
    for (;;) {
        while (ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n')
            ch = std::fgetc(file);
        if (ch != '#')
            break;
        while (ch != '\n' && ch != EOF)
            ch = std::fgetc(file);
    }
    if (ch < '0' || ch > '9')
        return false;
    long v = 0;
    while (ch >= '0' && ch <= '9') {
        v = v * 10 + (ch - '0');
        if (v > 1000000)
            return false;
        ch = std::fgetc(file);
    }
    value = static_cast<int>(v);
    // Exactly one white-space byte ends the header's last number.
    return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n';
}

} // namespace

bool ReadPgm(const char* path, Slap& slap)
{
    if (!path)
        return false;
    FILE* file = std::fopen(path, "rb");
    if (!file)
        return false;
    int width = 0;
    int height = 0;
    int maxval = 0;
    bool ok = std::fgetc(file) == 'P' && std::fgetc(file) == '5' && PgmNumber(file, width) && PgmNumber(file, height)
        && PgmNumber(file, maxval) && width > 0 && height > 0 && maxval == 255;
    std::vector<uint8_t> pixels;
    if (ok) {
        pixels.resize(static_cast<size_t>(width) * height);
        ok = std::fread(pixels.data(), 1, pixels.size(), file) == pixels.size();
    }
    std::fclose(file);
    if (!ok)
        return false;
    slap.width = width;
    slap.height = height;
    slap.pixels = std::move(pixels);
    slap.truth.clear();
    return true;
}

} // namespace slapgen
