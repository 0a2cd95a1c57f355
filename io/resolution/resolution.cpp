// Ridge-period measurement and resampling.
#include "resolution.h"

#include <kovral.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kovral_io {

namespace {

// Blocks of the spectrum estimate: 64 pixels hold several ridges even at
// 1000 ppi and are small enough to stay inside a finger.
constexpr int kBlock = 64;
// Blocks overlap by a quarter: enough votes from a small image, a quick
// measurement of a large one.
constexpr int kBlockStep = 48;
// Blocks whose gray levels vary less than this (standard deviation) are background.
constexpr double kTexturedDeviation = 10;
// The ridge periods looked for, in pixels: about 150 to 1500 ppi.
constexpr double kShortestPeriod = 2.7;
constexpr double kLongestPeriod = 27;
constexpr int kMinBlocks = 4;
constexpr double kPi = 3.14159265358979323846;

// exp(-2 pi i k / kBlock) for k below kBlock / 2.
struct Twiddles
{
    float cos[kBlock / 2], sin[kBlock / 2];
    Twiddles()
    {
        for (int k = 0; k < kBlock / 2; k++)
            cos[k] = float(std::cos(-2 * kPi * k / kBlock)), sin[k] = float(std::sin(-2 * kPi * k / kBlock));
    }
};

// In-place radix-2 FFT of kBlock complex samples, with the given stride.
void Fft(float* re, float* im, int stride, const Twiddles& t)
{
    for (int i = 1, j = 0; i < kBlock; i++) {
        int bit = kBlock >> 1;
        for (; j & bit; bit >>= 1)
            j ^= bit;
        j |= bit;
        if (i < j) {
            std::swap(re[i * stride], re[j * stride]);
            std::swap(im[i * stride], im[j * stride]);
        }
    }
    for (int len = 2; len <= kBlock; len <<= 1) {
        for (int k = 0; k < len / 2; k++) {
            const float wr = t.cos[k * (kBlock / len)], wi = t.sin[k * (kBlock / len)];
            for (int i = k; i < kBlock; i += len) {
                float* ar = re + i * stride;
                float* ai = im + i * stride;
                float* br = re + (i + len / 2) * stride;
                float* bi = im + (i + len / 2) * stride;
                const float tr = *br * wr - *bi * wi, ti = *br * wi + *bi * wr;
                *br = *ar - tr, *bi = *ai - ti;
                *ar += tr, *ai += ti;
            }
        }
    }
}

// Where each output sample of one axis takes its input from.
struct Taps
{
    std::vector<int> first;     // per output: first input index
    std::vector<int> count;     // per output: number of inputs
    std::vector<float> weights; // per output: count weights, from offset[o]
    std::vector<int> offset;
};

Taps AxisTaps(int in, int out)
{
    Taps t;
    const double scale = double(out) / in;
    for (int o = 0; o < out; o++) {
        t.offset.push_back(int(t.weights.size()));
        if (scale >= 1) {
            // Bilinear between the two nearest input centres, clamped at the edges.
            const double s = std::clamp((o + 0.5) / scale - 0.5, 0.0, double(in - 1));
            const int i0 = std::min(int(s), in - 1);
            const double f = s - i0;
            t.first.push_back(i0);
            if (i0 + 1 < in && f > 0) {
                t.count.push_back(2);
                t.weights.push_back(float(1 - f));
                t.weights.push_back(float(f));
            } else {
                t.count.push_back(1);
                t.weights.push_back(1.0f);
            }
            continue;
        }
        // The mean of the input interval the output sample covers.
        const double a = o / scale, b = std::min(double(in), (o + 1) / scale);
        const int i0 = int(a), i1 = std::min(in - 1, int(std::ceil(b)) - 1);
        t.first.push_back(i0);
        t.count.push_back(i1 - i0 + 1);
        for (int i = i0; i <= i1; i++)
            t.weights.push_back(float((std::min(b, i + 1.0) - std::max(a, double(i))) * scale));
    }
    return t;
}

} // namespace

bool IsSplitResolution(double ppi)
{
    return std::fabs(ppi - kSplitPpi) <= kSplitPpi * kPpiTolerance;
}

MeasuredResolution MeasureResolution(const uint8_t* pixels, int width, int height)
{
    MeasuredResolution result;
    if (width < kBlock || height < kBlock)
        return result;
    static const Twiddles twiddles;
    float window[kBlock];
    for (int i = 0; i < kBlock; i++)
        window[i] = float(0.5 - 0.5 * std::cos(2 * kPi * (i + 0.5) / kBlock));

    // Each textured block votes with the period of its strongest spectral
    // peak; the median vote is the print's.
    std::vector<double> votes;
    std::vector<float> re(size_t(kBlock) * kBlock), im(re.size());
    const double rMin = kBlock / kLongestPeriod, rMax = kBlock / kShortestPeriod;
    for (int by = 0; by + kBlock <= height; by += kBlockStep)
        for (int bx = 0; bx + kBlock <= width; bx += kBlockStep) {
            // Textured in every quarter: a block across the edge of a finger
            // has the edge's low frequencies, which drag its peak outwards.
            double mean = 0;
            bool textured = true;
            for (int q = 0; q < 4 && textured; q++) {
                const int half = kBlock / 2, qx = bx + (q & 1) * half, qy = by + (q >> 1) * half;
                double sum = 0, sum2 = 0;
                for (int y = 0; y < half; y++)
                    for (int x = 0; x < half; x++) {
                        const double v = pixels[size_t(qy + y) * width + qx + x];
                        sum += v, sum2 += v * v;
                    }
                const double n = double(half) * half, m = sum / n;
                textured = sum2 / n - m * m >= kTexturedDeviation * kTexturedDeviation;
                mean += m / 4;
            }
            if (!textured)
                continue;
            for (int y = 0; y < kBlock; y++)
                for (int x = 0; x < kBlock; x++) {
                    re[size_t(y) * kBlock + x]
                        = float((pixels[size_t(by + y) * width + bx + x] - mean) * window[x] * window[y]);
                    im[size_t(y) * kBlock + x] = 0;
                }
            for (int y = 0; y < kBlock; y++)
                Fft(re.data() + size_t(y) * kBlock, im.data() + size_t(y) * kBlock, 1, twiddles);
            for (int x = 0; x < kBlock; x++)
                Fft(re.data() + x, im.data() + x, kBlock, twiddles);
            // Half the plane (the other half mirrors it), inside the ring of ridge frequencies.
            const auto powerAt = [&](int fu, int fv) {
                const size_t i = size_t((fv + kBlock) % kBlock) * kBlock + size_t((fu + kBlock) % kBlock);
                return double(re[i]) * re[i] + double(im[i]) * im[i];
            };
            double total = 0, best = -1;
            int bu = 0, bv = 0;
            for (int fv = 0; fv <= kBlock / 2; fv++)
                for (int fu = -kBlock / 2 + 1; fu <= kBlock / 2; fu++) {
                    const double r = std::sqrt(double(fu * fu + fv * fv));
                    if (r < rMin || r > rMax || (fv == 0 && fu < 0))
                        continue;
                    const double p = powerAt(fu, fv);
                    total += p;
                    if (p * r > best)
                        best = p * r, bu = fu, bv = fv;
                }
            if (total <= 0)
                continue;
            // The peak's position between samples: the centre of it and its
            // neighbours, weighted by power times radius squared (without the
            // radius, the steeper power at low frequencies pulls it inwards).
            double wsum = 0, su = 0, sv = 0;
            for (int dv = -1; dv <= 1; dv++)
                for (int du = -1; du <= 1; du++) {
                    const int u = bu + du, v = bv + dv;
                    const double p = powerAt(u, v), w = p * (u * u + v * v);
                    wsum += w, su += w * u, sv += w * v;
                }
            if (wsum <= 0)
                continue;
            const double r = std::sqrt(su * su + sv * sv) / wsum;
            if (r < rMin || r > rMax)
                continue;
            votes.push_back(kBlock / r);
            result.blocks++;
        }
    if (result.blocks < kMinBlocks)
        return result;

    std::nth_element(votes.begin(), votes.begin() + std::ptrdiff_t(votes.size() / 2), votes.end());
    result.ridgePeriod = votes[votes.size() / 2];
    result.ppi = result.ridgePeriod / kRidgePeriodMm * 25.4;
    result.ok = true;
    return result;
}

ResampledImage Resample(const uint8_t* pixels, int width, int height, double factor)
{
    ResampledImage out;
    out.width = std::max(1, int(std::lround(width * factor)));
    out.height = std::max(1, int(std::lround(height * factor)));
    out.scaleX = double(out.width) / width;
    out.scaleY = double(out.height) / height;
    const Taps tx = AxisTaps(width, out.width), ty = AxisTaps(height, out.height);

    // Rows first into floats, then columns, rounded once at the end.
    std::vector<float> rows(size_t(height) * out.width);
    for (int y = 0; y < height; y++) {
        const uint8_t* src = pixels + size_t(y) * width;
        float* dst = rows.data() + size_t(y) * out.width;
        for (int x = 0; x < out.width; x++) {
            const float* w = tx.weights.data() + tx.offset[size_t(x)];
            const uint8_t* s = src + tx.first[size_t(x)];
            float v = 0;
            for (int k = 0; k < tx.count[size_t(x)]; k++)
                v += w[k] * s[k];
            dst[x] = v;
        }
    }
    out.pixels.resize(size_t(out.width) * out.height);
    std::vector<float> acc(size_t(out.width));
    for (int y = 0; y < out.height; y++) {
        std::fill(acc.begin(), acc.end(), 0.0f);
        const float* w = ty.weights.data() + ty.offset[size_t(y)];
        for (int k = 0; k < ty.count[size_t(y)]; k++) {
            const float* src = rows.data() + size_t(ty.first[size_t(y)] + k) * out.width;
            for (int x = 0; x < out.width; x++)
                acc[size_t(x)] += w[k] * src[x];
        }
        uint8_t* dst = out.pixels.data() + size_t(y) * out.width;
        for (int x = 0; x < out.width; x++)
            dst[x] = uint8_t(std::clamp(acc[size_t(x)] + 0.5f, 0.0f, 255.0f));
    }
    return out;
}

namespace {

std::string PpiText(double ppi)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.0f ppi", ppi);
    return text;
}

std::string SizeText(int w, int h)
{
    return std::to_string(w) + " x " + std::to_string(h);
}

} // namespace

SplitPreparation PrepareForSplit(const uint8_t* pixels, int width, int height, double statedPpi, PpiMode mode,
                                 double givenPpi, FitMode fit, const SplitLimits& limits, PixelCopy copy)
{
    SplitPreparation p;
    p.measured = MeasureResolution(pixels, width, height);
    if (mode == PpiMode::Given && givenPpi > 0)
        p.ppi = givenPpi, p.ppiFrom = "given";
    else if (mode == PpiMode::Auto && p.measured.ok
             && !(statedPpi > 0 && std::fabs(p.measured.ppi - statedPpi) <= kPpiDisagreement * statedPpi)) {
        p.ppi = p.measured.ppi, p.ppiFrom = "measured";
        for (const double usual : kUsualPpi)
            if (std::fabs(p.measured.ppi - usual) <= kMeasureAccuracy * usual)
                p.ppi = usual;
    } else if (statedPpi > 0)
        p.ppi = statedPpi, p.ppiFrom = "stated";
    else
        p.ppi = kSplitPpi, p.ppiFrom = "assumed";
    if (mode == PpiMode::Auto && !p.measured.ok)
        p.warnings.push_back("too little ridge texture to measure the resolution; " + PpiText(p.ppi) + " " + p.ppiFrom
                             + " is used");
    if (p.measured.ok && statedPpi > 0 && std::fabs(p.measured.ppi - statedPpi) > kPpiDisagreement * statedPpi)
        p.warnings.push_back("the file states " + PpiText(statedPpi) + " but the ridges measure "
                             + PpiText(p.measured.ppi));
    if (p.measured.ok && p.ppiFrom == "given" && std::fabs(p.measured.ppi - givenPpi) > kPpiDisagreement * givenPpi)
        p.warnings.push_back(PpiText(givenPpi) + " is given but the ridges measure " + PpiText(p.measured.ppi));

    // The size at 500 ppi, then what the limits make of it.
    double factor = IsSplitResolution(p.ppi) ? 1.0 : kSplitPpi / p.ppi;
    int w = std::max(1, int(std::lround(width * factor))), h = std::max(1, int(std::lround(height * factor)));
    const bool wellOver = w > limits.maxWidth * (1 + kCropTolerance) || h > limits.maxHeight * (1 + kCropTolerance);
    if (wellOver && fit == FitMode::Refuse) {
        p.reason = "image of " + SizeText(w, h) + " pixels at 500 ppi is over the split's limit of "
            + SizeText(limits.maxWidth, limits.maxHeight) + " (--fit scale scales it down)";
        return p;
    }
    if (wellOver) {
        factor *= std::min(double(limits.maxWidth) / w, double(limits.maxHeight) / h);
        w = std::min(limits.maxWidth, std::max(1, int(std::lround(width * factor))));
        h = std::min(limits.maxHeight, std::max(1, int(std::lround(height * factor))));
        p.fitted = true;
        p.warnings.push_back("scaled by " + std::to_string(factor).substr(0, 5) + " to fit the split's limit of "
                             + SizeText(limits.maxWidth, limits.maxHeight));
    }
    if (w < limits.minWidth || h < limits.minHeight) {
        p.reason = "image of " + SizeText(w, h) + " pixels at 500 ppi is under the split's minimum of "
            + SizeText(limits.minWidth, limits.minHeight);
        return p;
    }

    ResampledImage image;
    if (factor != 1.0) {
        image = Resample(pixels, width, height, factor);
        p.scaleX = image.scaleX;
        p.scaleY = image.scaleY;
    }
    const int rw = factor != 1.0 ? image.width : width, rh = factor != 1.0 ? image.height : height;
    const uint8_t* src = factor != 1.0 ? image.pixels.data() : pixels;
    const int excessX = std::max(0, rw - limits.maxWidth), excessY = std::max(0, rh - limits.maxHeight);
    p.cropLeft = excessX / 2, p.cropRight = excessX - excessX / 2;
    p.cropTop = excessY / 2, p.cropBottom = excessY - excessY / 2;
    p.width = rw - excessX;
    p.height = rh - excessY;
    p.ok = true;
    if (copy == PixelCopy::WhenChanged && factor == 1.0 && excessX == 0 && excessY == 0)
        return p;
    p.pixels.resize(size_t(p.width) * p.height);
    for (int y = 0; y < p.height; y++)
        std::copy_n(src + size_t(y + p.cropTop) * rw + p.cropLeft, p.width, p.pixels.begin() + size_t(y) * p.width);
    return p;
}

bool FingerBoxInSource(const SplitPreparation& p, int fingerWidth, int fingerHeight, int x, int y, int angle,
                       SourcePoint corners[4])
{
    tagPOINT c[4];
    if (kovral_finger_corners(p.width, p.height, fingerWidth, fingerHeight, x, y, angle, c) != KOVRAL_OK)
        return false;
    for (int i = 0; i < 4; i++)
        corners[i] = {p.SourceEdgeX(c[i].x), p.SourceEdgeY(c[i].y)};
    return true;
}

} // namespace kovral_io
