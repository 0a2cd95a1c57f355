// The subband tree and the inverse wavelet transform.
//
// Every output sample is the first low-pass product, plus the other low-pass
// products in tap order, plus the high-pass products in tap order, each
// product and each sum rounded to float. The fast paths below vectorise
// across independent samples and keep that order, so they equal the
// reference line synthesis bit for bit. This file is compiled without
// floating-point contraction: a fused multiply-add would change results.
#include "wsq.h"

#include <cassert>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kovral_io::wsq_detail {

namespace {

// Children of each split node, top-left, top-right, bottom-left,
// bottom-right: a node number, or a subband as Leaf(k).
constexpr int Leaf(int subband)
{
    return -1 - subband;
}
constexpr int kUncoded = -100; // the bottom-right quarter of the image

constexpr int kChildren[kNodes][4] = {
    {1, 2, 3, kUncoded},
    {14, 4, 5, Leaf(51)},
    {Leaf(52), Leaf(53), Leaf(54), Leaf(55)},
    {Leaf(56), Leaf(57), Leaf(58), Leaf(59)},
    {6, 7, 8, 9},
    {10, 11, 12, 13},
    {Leaf(19), Leaf(20), Leaf(21), Leaf(22)},
    {Leaf(23), Leaf(24), Leaf(25), Leaf(26)},
    {Leaf(27), Leaf(28), Leaf(29), Leaf(30)},
    {Leaf(31), Leaf(32), Leaf(33), Leaf(34)},
    {Leaf(35), Leaf(36), Leaf(37), Leaf(38)},
    {Leaf(39), Leaf(40), Leaf(41), Leaf(42)},
    {Leaf(43), Leaf(44), Leaf(45), Leaf(46)},
    {Leaf(47), Leaf(48), Leaf(49), Leaf(50)},
    {15, 16, 17, 18},
    {19, Leaf(4), Leaf(5), Leaf(6)},
    {Leaf(7), Leaf(8), Leaf(9), Leaf(10)},
    {Leaf(11), Leaf(12), Leaf(13), Leaf(14)},
    {Leaf(15), Leaf(16), Leaf(17), Leaf(18)},
    {Leaf(0), Leaf(1), Leaf(2), Leaf(3)},
};

// The four quarters of a rectangle. The low band takes the extra sample of an
// odd length; an inverted direction stores the high band first.
void Quarters(const Rect& r, bool invertX, bool invertY, Rect q[4])
{
    const int left = invertX ? r.w / 2 : (r.w + 1) / 2;
    const int top = invertY ? r.h / 2 : (r.h + 1) / 2;
    q[0] = {r.x, r.y, left, top};
    q[1] = {r.x + left, r.y, r.w - left, top};
    q[2] = {r.x, r.y + top, left, r.h - top};
    q[3] = {r.x + left, r.y + top, r.w - left, r.h - top};
}

void Place(SubbandTree& tree, int node, const Rect& rect, bool invertX, bool invertY)
{
    tree.node[node] = rect;
    tree.invertX[node] = invertX;
    tree.invertY[node] = invertY;
    Rect q[4];
    Quarters(rect, invertX, invertY, q);
    for (int c = 0; c < 4; c++) {
        // Right-hand children are inverted in x, bottom ones in y.
        const bool cx = c & 1, cy = c >> 1;
        const int child = kChildren[node][c];
        if (child >= 0)
            Place(tree, child, q[c], cx, cy);
        else if (child == kUncoded) {
            Rect u[4];
            Quarters(q[c], cx, cy, u);
            for (int k = 0; k < 4; k++)
                tree.subband[kCodedSubbands + k] = u[k];
        } else
            tree.subband[-1 - child] = q[c];
    }
}

// Whole-sample mirroring about the first and the last of n positions.
int Mirror(int p, int n)
{
    if (n < 2)
        return 0;
    const int period = 2 * n - 2;
    p %= period;
    if (p < 0)
        p += period;
    return p < n ? p : period - p;
}

// Up to this many samples are read beyond either end of a band.
constexpr int kPad = kMaxFilterTaps / 2 + 1;

// out[x] = k[0] p[0][x] + k[1] p[1][x] + ... , summed left to right, for x < n.
// Four vectors at a time: independent sums hide the latency of each addition.
#define KOVRAL_WSQ_COMBINE(VEC, WIDTH, SET1, LOAD, STORE, MUL, ADD)                                                  \
    VEC kk[NT];                                                                                                      \
    for (int t = 0; t < NT; t++)                                                                                     \
        kk[t] = SET1(k[t]);                                                                                          \
    int x = 0;                                                                                                       \
    for (; x + 4 * WIDTH <= n; x += 4 * WIDTH) {                                                                     \
        VEC a0 = MUL(kk[0], LOAD(p[0] + x)), a1 = MUL(kk[0], LOAD(p[0] + x + WIDTH));                                \
        VEC a2 = MUL(kk[0], LOAD(p[0] + x + 2 * WIDTH));                                                             \
        VEC a3 = MUL(kk[0], LOAD(p[0] + x + 3 * WIDTH));                                                             \
        for (int t = 1; t < NT; t++) {                                                                               \
            a0 = ADD(a0, MUL(kk[t], LOAD(p[t] + x)));                                                                \
            a1 = ADD(a1, MUL(kk[t], LOAD(p[t] + x + WIDTH)));                                                        \
            a2 = ADD(a2, MUL(kk[t], LOAD(p[t] + x + 2 * WIDTH)));                                                    \
            a3 = ADD(a3, MUL(kk[t], LOAD(p[t] + x + 3 * WIDTH)));                                                    \
        }                                                                                                            \
        STORE(out + x, a0), STORE(out + x + WIDTH, a1);                                                              \
        STORE(out + x + 2 * WIDTH, a2), STORE(out + x + 3 * WIDTH, a3);                                              \
    }                                                                                                                \
    for (; x + WIDTH <= n; x += WIDTH) {                                                                             \
        VEC a = MUL(kk[0], LOAD(p[0] + x));                                                                          \
        for (int t = 1; t < NT; t++)                                                                                 \
            a = ADD(a, MUL(kk[t], LOAD(p[t] + x)));                                                                  \
        STORE(out + x, a);                                                                                           \
    }                                                                                                                \
    for (; x < n; x++) {                                                                                             \
        float a = k[0] * p[0][x];                                                                                    \
        for (int t = 1; t < NT; t++)                                                                                 \
            a = a + k[t] * p[t][x];                                                                                  \
        out[x] = a;                                                                                                  \
    }

#if defined(__SSE2__)
template <int NT>
[[gnu::target("avx2")]] void CombineAvx2(const float* k, const float* const* p, float* out, int n)
{
    KOVRAL_WSQ_COMBINE(__m256, 8, _mm256_set1_ps, _mm256_loadu_ps, _mm256_storeu_ps, _mm256_mul_ps, _mm256_add_ps)
}

template <int NT>
void CombinePlain(const float* k, const float* const* p, float* out, int n)
{
    KOVRAL_WSQ_COMBINE(__m128, 4, _mm_set1_ps, _mm_loadu_ps, _mm_storeu_ps, _mm_mul_ps, _mm_add_ps)
}
#else
template <int NT>
void CombinePlain(const float* k, const float* const* p, float* out, int n)
{
    for (int x = 0; x < n; x++) {
        float a = k[0] * p[0][x];
        for (int t = 1; t < NT; t++)
            a = a + k[t] * p[t][x];
        out[x] = a;
    }
}
#endif
#undef KOVRAL_WSQ_COMBINE

void CombineAny(const float* k, const float* const* p, int nt, float* out, int n)
{
    for (int x = 0; x < n; x++) {
        float a = k[0] * p[0][x];
        for (int t = 1; t < nt; t++)
            a = a + k[t] * p[t][x];
        out[x] = a;
    }
}

#if defined(__SSE2__)
bool g_wideVectors = __builtin_cpu_supports("avx2");
#endif

using CombineFn = void (*)(const float*, const float* const*, float*, int);

template <int... NT>
struct CombineTable
{
    static constexpr int kMax = sizeof...(NT);
#if defined(__SSE2__)
    CombineFn avx2[kMax + 1] = {nullptr, CombineAvx2<NT>...};
#endif
    CombineFn plain[kMax + 1] = {nullptr, CombinePlain<NT>...};
};
const CombineTable<1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12> kCombine;

void Combine(const float* k, const float* const* p, int nt, float* out, int n)
{
    if (nt > kCombine.kMax)
        return CombineAny(k, p, nt, out, n);
#if defined(__SSE2__)
    if (g_wideVectors)
        return kCombine.avx2[nt](k, p, out, n);
#endif
    kCombine.plain[nt](k, p, out, n);
}

// dst[2m] = even[m], dst[2m + 1] = odd[m] for m < n.
void Interleave(const float* even, const float* odd, int n, float* dst)
{
    int m = 0;
#if defined(__SSE2__)
    for (; m + 4 <= n; m += 4) {
        const __m128 e = _mm_loadu_ps(even + m), o = _mm_loadu_ps(odd + m);
        _mm_storeu_ps(dst + 2 * m, _mm_unpacklo_ps(e, o));
        _mm_storeu_ps(dst + 2 * m + 4, _mm_unpackhi_ps(e, o));
    }
#endif
    for (; m < n; m++) {
        dst[2 * m] = even[m];
        dst[2 * m + 1] = odd[m];
    }
}

// The products that make output sample 2m + parity of a line, in summing
// order: filter tap and index offset from m into the (extended) low or high
// band.
struct Terms
{
    int count = 0;
    float tap[2 * kMaxFilterTaps];
    int offset[2 * kMaxFilterTaps];
    bool high[2 * kMaxFilterTaps];
};

Terms TermsFor(int parity, const SynthesisFilters& f)
{
    Terms t;
    const int c0 = (f.lowLength - 1) / 2, c1 = (f.highLength - 1) / 2;
    for (int i = 0; i < f.lowLength; i++) {
        const int d = parity + i - c0; // position relative to 2m
        if (d % 2 == 0)
            t.tap[t.count] = f.low[i], t.offset[t.count] = d / 2, t.high[t.count++] = false;
    }
    for (int i = 0; i < f.highLength; i++) {
        const int d = parity + i - c1;
        if (d % 2 != 0)
            t.tap[t.count] = f.high[i], t.offset[t.count] = (d - 1) / 2, t.high[t.count++] = true;
    }
    return t;
}

} // namespace

bool UseWideVectors(bool wide)
{
#if defined(__SSE2__)
    g_wideVectors = wide && __builtin_cpu_supports("avx2");
    return g_wideVectors;
#else
    return wide && false;
#endif
}

void BuildSubbandTree(int width, int height, SubbandTree& tree)
{
    tree = SubbandTree{};
    Place(tree, 0, Rect{0, 0, width, height}, false, false);
}

void SynthesiseLineReference(const float* in, int n, bool inverted, const SynthesisFilters& f, float* out)
{
    const int nL = (n + 1) / 2, nH = n / 2;
    const float* low = inverted ? in + nH : in;
    const float* high = inverted ? in : in + nL;
    const int c0 = (f.lowLength - 1) / 2, c1 = (f.highLength - 1) / 2;
    for (int k = 0; k < n; k++) {
        float acc = 0;
        bool first = true;
        for (int i = 0; i < f.lowLength; i++) {
            const int p = k + i - c0;
            if (p % 2 != 0)
                continue;
            const float term = f.low[i] * low[Mirror(p, n) / 2];
            acc = first ? term : acc + term;
            first = false;
        }
        for (int i = 0; i < f.highLength; i++) {
            const int p = k + i - c1;
            if (p % 2 == 0)
                continue;
            const float term = f.high[i] * high[Mirror(p, n) / 2];
            acc = first ? term : acc + term;
            first = false;
        }
        out[k] = acc;
    }
}

void SynthesiseNode(float* image, int stride, const Rect& r, bool invertX, bool invertY, const SynthesisFilters& f,
                    float* scratch)
{
    assert(r.w >= 2 && r.h >= 2);
    const Terms even = TermsFor(0, f), odd = TermsFor(1, f);
    const float* ptr[2 * kMaxFilterTaps];

    // Columns: each output row of the scratch rectangle combines whole rows of
    // the image, so the sums run across a row at a time.
    {
        const int nL = (r.h + 1) / 2, nH = r.h / 2;
        const int lowRow0 = invertY ? nH : 0, highRow0 = invertY ? 0 : nL;
        const float* base = image + size_t(r.y) * stride + r.x;
        for (int k = 0; k < r.h; k++) {
            const Terms& t = k % 2 ? odd : even;
            for (int i = 0; i < t.count; i++) {
                // Positions of the interleaved line, mirrored, back to band rows.
                const int position = k - k % 2 + 2 * t.offset[i] + (t.high[i] ? 1 : 0);
                const int j = Mirror(position, r.h) / 2;
                ptr[i] = base + size_t(t.high[i] ? highRow0 + j : lowRow0 + j) * stride;
            }
            Combine(t.tap, ptr, t.count, scratch + size_t(k) * r.w, r.w);
        }
    }

    // Rows: both bands extended by mirroring into buffers, even and odd
    // outputs formed separately, then interleaved back into the image.
    const int nL = (r.w + 1) / 2, nH = r.w / 2;
    const int lowStart = invertX ? nH : 0, highStart = invertX ? 0 : nL;
    // Where the samples beyond each end of the two bands come from.
    int lowEnds[2 * kPad], highEnds[2 * kPad];
    for (int j = 0; j < kPad; j++) {
        lowEnds[j] = lowStart + Mirror(2 * (j - kPad), r.w) / 2;
        lowEnds[kPad + j] = lowStart + Mirror(2 * (nL + j), r.w) / 2;
        highEnds[j] = highStart + Mirror(2 * (j - kPad) + 1, r.w) / 2;
        highEnds[kPad + j] = highStart + Mirror(2 * (nH + j) + 1, r.w) / 2;
    }
    std::vector<float> low(size_t(nL + 2 * kPad)), high(size_t(nH + 2 * kPad)), out(size_t(2 * nL));
    const Terms* parts[2] = {&even, &odd};
    const float* evenPtr[2 * kMaxFilterTaps];
    const float* oddPtr[2 * kMaxFilterTaps];
    const float** partPtr[2] = {evenPtr, oddPtr};
    for (int p = 0; p < 2; p++)
        for (int i = 0; i < parts[p]->count; i++)
            partPtr[p][i] = (parts[p]->high[i] ? high.data() : low.data()) + kPad + parts[p]->offset[i];
    for (int y = 0; y < r.h; y++) {
        const float* src = scratch + size_t(y) * r.w;
        std::memcpy(low.data() + kPad, src + lowStart, sizeof(float) * size_t(nL));
        std::memcpy(high.data() + kPad, src + highStart, sizeof(float) * size_t(nH));
        for (int j = 0; j < kPad; j++) {
            low[size_t(j)] = src[lowEnds[j]];
            low[size_t(kPad + nL + j)] = src[lowEnds[kPad + j]];
            high[size_t(j)] = src[highEnds[j]];
            high[size_t(kPad + nH + j)] = src[highEnds[kPad + j]];
        }
        Combine(even.tap, evenPtr, even.count, out.data(), nL);
        Combine(odd.tap, oddPtr, odd.count, out.data() + nL, nH);
        Interleave(out.data(), out.data() + nL, nH, image + size_t(r.y + y) * stride + r.x);
        if (nL > nH)
            image[size_t(r.y + y) * stride + r.x + 2 * nH] = out[size_t(nH)];
    }
}

} // namespace kovral_io::wsq_detail
