// The WSQ stream: marker segments, tables, blocks, dequantisation and the
// conversion back to 8-bit pixels. Compiled without floating-point
// contraction, like the synthesis.
#include "wsq.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace kovral_io {

using namespace wsq_detail;

namespace {

constexpr uint8_t kMarkerSoi = 0xa0;  // start of image
constexpr uint8_t kMarkerEoi = 0xa1;  // end of image
constexpr uint8_t kMarkerSof = 0xa2;  // frame header
constexpr uint8_t kMarkerSob = 0xa3;  // start of block
constexpr uint8_t kMarkerDtt = 0xa4;  // transform table
constexpr uint8_t kMarkerDqt = 0xa5;  // quantisation table
constexpr uint8_t kMarkerDht = 0xa6;  // Huffman tables
constexpr uint8_t kMarkerDrt = 0xa7;  // restart interval
constexpr uint8_t kMarkerCom = 0xa8;  // comment
constexpr uint8_t kMarkerRst0 = 0xb0; // restart markers, 0xb0..0xb7, inside entropy-coded data
// Blocks hold subbands 0-18, 19-51 and 52-59, but their coefficients form one
// sequence: a zero run may go on into the next block.
constexpr int kBlocks = 3;
constexpr int kFrameHeaderBytes = 17;
constexpr int kQuantTableBytes = 389;

uint16_t Be16(const uint8_t* p)
{
    return uint16_t(p[0] << 8 | p[1]);
}
uint32_t Be32(const uint8_t* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

// A stored decimal: the integer, then divided by ten once per scale step,
// each step rounded to float.
float Scaled(uint32_t value, int scale)
{
    float f = float(value);
    for (int i = 0; i < scale; i++)
        f = float(double(f) / 10.0);
    return f;
}

struct Quantisation
{
    float binCentre = 0;
    float q[kSubbands] = {};
    float z[kSubbands] = {};
};

struct Frame
{
    int width = 0, height = 0;
    float shift = 0, scale = 0;
};

// The NISTCOM comment's PPI line, 0 when absent.
int CommentPpi(const uint8_t* text, size_t n)
{
    const std::string s(reinterpret_cast<const char*>(text), n);
    if (s.rfind("NIST_COM", 0) != 0)
        return 0;
    const size_t at = s.find("\nPPI ");
    if (at == std::string::npos)
        return 0;
    int ppi = 0;
    for (size_t i = at + 5; i < s.size() && s[i] >= '0' && s[i] <= '9' && ppi < 100000; i++)
        ppi = ppi * 10 + (s[i] - '0');
    return ppi;
}

// Buffers kept by each thread between decodes: a fresh allocation of the
// size of an image costs more in page faults than the whole decode.
struct Workspace
{
    std::vector<int32_t> coefficients;
    std::vector<float> plane, scratch;
    EntropyData entropy;

    // Larger images do not leave their buffers behind.
    static constexpr size_t kKeptPixels = size_t(4) << 20;
    void Trim()
    {
        if (plane.size() > kKeptPixels)
            *this = Workspace{};
    }
};

// Coefficient v of a subband with bin width q: 0 stays 0, others move
// towards zero by the bin centre, are scaled, and move away from zero by half
// the zero bin.
void Dequantise(const int32_t* v, int n, float q, float centre, float halfZero, float* out)
{
    int i = 0;
#if defined(__SSE2__)
    const __m128 q4 = _mm_set1_ps(q), c4 = _mm_set1_ps(centre), nc4 = _mm_set1_ps(-centre);
    const __m128 z4 = _mm_set1_ps(halfZero), nz4 = _mm_set1_ps(-halfZero);
    for (; i + 4 <= n; i += 4) {
        const __m128i vi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(v + i));
        const __m128 positive = _mm_castsi128_ps(_mm_cmpgt_epi32(vi, _mm_setzero_si128()));
        const __m128 zero = _mm_castsi128_ps(_mm_cmpeq_epi32(vi, _mm_setzero_si128()));
        const __m128 shift = _mm_or_ps(_mm_and_ps(positive, nc4), _mm_andnot_ps(positive, c4));
        const __m128 half = _mm_or_ps(_mm_and_ps(positive, z4), _mm_andnot_ps(positive, nz4));
        const __m128 t = _mm_add_ps(_mm_cvtepi32_ps(vi), shift);
        const __m128 value = _mm_add_ps(_mm_mul_ps(q4, t), half);
        _mm_storeu_ps(out + i, _mm_andnot_ps(zero, value));
    }
#endif
    for (; i < n; i++) {
        const bool positive = v[i] > 0;
        const float t = float(v[i]) + (positive ? -centre : centre);
        const float value = q * t + (positive ? halfZero : -halfZero);
        out[i] = v[i] == 0 ? 0.0f : value;
    }
}

// Synthesised samples to pixels: scaled, shifted, rounded half up and
// clamped to 0..255 (not a number, only from absurd filters, becomes 0).
void ToPixels(const float* plane, size_t n, float scale, float shift, uint8_t* pixels)
{
    size_t i = 0;
#if defined(__SSE2__)
    const __m128 r4 = _mm_set1_ps(scale), m4 = _mm_set1_ps(shift), half = _mm_set1_ps(0.5f);
    const __m128 lo = _mm_setzero_ps(), hi = _mm_set1_ps(255.0f);
    for (; i + 16 <= n; i += 16) {
        __m128i q[4];
        for (int j = 0; j < 4; j++) {
            __m128 p = _mm_add_ps(_mm_add_ps(_mm_mul_ps(_mm_loadu_ps(plane + i + 4 * j), r4), m4), half);
            // max returns its second operand when the first is not a number.
            p = _mm_min_ps(_mm_max_ps(p, lo), hi);
            q[j] = _mm_cvttps_epi32(p);
        }
        const __m128i words = _mm_packs_epi32(q[0], q[1]), words2 = _mm_packs_epi32(q[2], q[3]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels + i), _mm_packus_epi16(words, words2));
    }
#endif
    for (; i < n; i++) {
        const float p = (plane[i] * scale + shift) + 0.5f;
        pixels[i] = uint8_t(!(p >= 0) ? 0 : p > 255 ? 255 : int(p));
    }
}

class Decoder
{
public:
    Decoder(const uint8_t* data, size_t size, const WsqLimits& limits, Workspace& work, std::string& error)
        : d_(data), size_(size), limits_(limits), work_(work), error_(error)
    { }

    // Reads segments until the frame header has been read and the next
    // segment is a block (or until the end of the image when decoding).
    bool Run(bool headerOnly, WsqImage& image);

private:
    bool Fail(const std::string& why)
    {
        error_ = "WSQ: " + why;
        return false;
    }

    bool ReadFrame(const uint8_t* p, size_t n);
    bool ReadTransform(const uint8_t* p, size_t n);
    bool ReadQuantisation(const uint8_t* p, size_t n);
    bool ReadHuffman(const uint8_t* p, size_t n);
    bool StartCoefficients();
    bool ReadBlock(size_t& pos, int table);
    void Reconstruct(WsqImage& image);

    const uint8_t* d_;
    size_t size_;
    const WsqLimits limits_;
    Workspace& work_;
    std::string& error_;

    bool haveFrame_ = false, haveTransform_ = false, haveQuantisation_ = false;
    Frame frame_;
    SynthesisFilters filters_;
    Quantisation quant_;
    HuffmanTable huffman_[kHuffmanTables];
    int commentPpi_ = 0;
    int blocks_ = 0;

    SubbandTree tree_;
    size_t nextCoefficient_ = 0;
};

bool Decoder::ReadFrame(const uint8_t* p, size_t n)
{
    if (haveFrame_)
        return Fail("second frame header");
    if (n != kFrameHeaderBytes)
        return Fail("frame header of " + std::to_string(n) + " bytes (17 expected)");
    // Height comes before width.
    frame_.height = Be16(p + 4);
    frame_.width = Be16(p + 6);
    frame_.shift = Scaled(Be16(p + 9), p[8]);
    frame_.scale = Scaled(Be16(p + 12), p[11]);
    const int w = frame_.width, h = frame_.height;
    if (w < kWsqMinSide || h < kWsqMinSide)
        return Fail("image of " + std::to_string(w) + " x " + std::to_string(h) + " pixels (at least "
                    + std::to_string(kWsqMinSide) + " a side)");
    if (w > limits_.maxWidth || h > limits_.maxHeight || int64_t(w) * h > limits_.maxPixels)
        return Fail("image of " + std::to_string(w) + " x " + std::to_string(h) + " pixels is over the limit of "
                    + std::to_string(limits_.maxWidth) + " x " + std::to_string(limits_.maxHeight) + ", "
                    + std::to_string(limits_.maxPixels) + " pixels");
    haveFrame_ = true;
    return true;
}

bool Decoder::ReadTransform(const uint8_t* p, size_t n)
{
    if (n < 4)
        return Fail("transform table cut short");
    const int lenHighStore = p[2], lenLowStore = p[3]; // analysis low-pass, analysis high-pass
    if (lenHighStore % 2 == 0 || lenLowStore % 2 == 0)
        return Fail("even-length wavelet filters are not supported");
    if (lenHighStore > kMaxFilterTaps || lenLowStore > kMaxFilterTaps)
        return Fail("wavelet filters longer than " + std::to_string(kMaxFilterTaps) + " taps");
    const int halfA = (lenHighStore + 1) / 2, halfB = (lenLowStore + 1) / 2;
    if (n != size_t(4 + 6 * (halfA + halfB)))
        return Fail("transform table of " + std::to_string(n) + " bytes does not match its filter lengths");
    // The first stored filter (the analysis low-pass) builds the synthesis
    // high-pass, the second the synthesis low-pass; odd offsets change sign.
    SynthesisFilters f;
    f.highLength = lenHighStore;
    f.lowLength = lenLowStore;
    const uint8_t* e = p + 4;
    for (int pass = 0; pass < 2; pass++) {
        const int half = pass == 0 ? halfA : halfB;
        const int centre = half - 1;
        float* taps = pass == 0 ? f.high : f.low;
        for (int k = 0; k < half; k++, e += 6) {
            float tap = Scaled(Be32(e + 2), e[1]);
            if (e[0] != 0)
                tap = -tap;
            if (k % 2)
                tap = -tap;
            taps[centre + k] = taps[centre - k] = tap;
        }
    }
    filters_ = f;
    haveTransform_ = true;
    return true;
}

bool Decoder::ReadQuantisation(const uint8_t* p, size_t n)
{
    if (n != kQuantTableBytes)
        return Fail("quantisation table of " + std::to_string(n) + " bytes (389 expected)");
    quant_.binCentre = Scaled(Be16(p + 3), p[2]);
    const uint8_t* e = p + 5;
    for (int k = 0; k < kSubbands; k++, e += 6) {
        quant_.q[k] = Scaled(Be16(e + 1), e[0]);
        quant_.z[k] = Scaled(Be16(e + 4), e[3]);
    }
    haveQuantisation_ = true;
    return true;
}

bool Decoder::ReadHuffman(const uint8_t* p, size_t n)
{
    size_t at = 2;
    if (n <= at)
        return Fail("empty Huffman table segment");
    while (at < n) {
        if (n - at < 17)
            return Fail("Huffman table cut short");
        const int id = p[at];
        if (id >= kHuffmanTables)
            return Fail("Huffman table id " + std::to_string(id) + " (0..7)");
        const uint8_t* counts = p + at + 1;
        size_t values = 0;
        for (int i = 0; i < kMaxCodeLength; i++)
            values += counts[i];
        at += 17;
        if (values > n - at)
            return Fail("Huffman table values run past their segment");
        if (!BuildHuffmanTable(counts, p + at, huffman_[id], error_))
            return false;
        at += values;
    }
    return true;
}

bool Decoder::StartCoefficients()
{
    BuildSubbandTree(frame_.width, frame_.height, tree_);
    size_t total = 0;
    for (int k = 0; k < kCodedSubbands; k++)
        if (quant_.q[k] != 0)
            total += size_t(tree_.subband[k].w) * tree_.subband[k].h;
    try {
        work_.coefficients.assign(total, 0);
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    }
    return true;
}

// Collects the block's entropy-coded data, dropping the zero byte stuffed
// after every 0xff and noting restart markers, then decodes it. pos ends on
// the marker that ends the data.
bool Decoder::ReadBlock(size_t& pos, int table)
{
    work_.entropy.bytes.clear();
    work_.entropy.restarts.clear();
    int expectRestart = 0;
    for (;;) {
        const uint8_t* from = d_ + pos;
        const void* ff = std::memchr(from, 0xff, size_ - pos);
        const size_t run = ff ? size_t(static_cast<const uint8_t*>(ff) - from) : size_ - pos;
        work_.entropy.bytes.insert(work_.entropy.bytes.end(), from, from + run);
        pos += run;
        if (pos + 1 >= size_)
            return Fail("entropy-coded data runs off the end of the stream");
        const uint8_t next = d_[pos + 1];
        if (next == 0) {
            work_.entropy.bytes.push_back(0xff);
            pos += 2;
        } else if (next >= kMarkerRst0 && next <= kMarkerRst0 + 7) {
            if (next - kMarkerRst0 != expectRestart)
                return Fail("restart marker out of sequence");
            expectRestart = (expectRestart + 1) % 8;
            work_.entropy.restarts.push_back(work_.entropy.bytes.size());
            pos += 2;
        } else
            break;
    }
    return DecodeBlock(work_.entropy, huffman_[table], work_.coefficients.data(), work_.coefficients.size(),
                       nextCoefficient_, error_);
}

// Dequantised coefficients into their subbands, then the inverse transform
// from the smallest node up, then back to 8 bits.
void Decoder::Reconstruct(WsqImage& image)
{
    const int w = frame_.width, h = frame_.height;
    std::vector<float>& plane = work_.plane;
    plane.resize(size_t(w) * h);
    const int32_t* c = work_.coefficients.data();
    for (int k = 0; k < kSubbands; k++) {
        const Rect& r = tree_.subband[k];
        const float q = k < kCodedSubbands ? quant_.q[k] : 0;
        if (q == 0) {
            // Never coded: zero.
            for (int y = 0; y < r.h; y++)
                std::fill_n(plane.data() + size_t(r.y + y) * w + r.x, r.w, 0.0f);
            continue;
        }
        const float centre = quant_.binCentre, halfZero = quant_.z[k] / 2;
        for (int y = 0; y < r.h; y++, c += r.w)
            Dequantise(c, r.w, q, centre, halfZero, plane.data() + size_t(r.y + y) * w + r.x);
    }
    work_.coefficients.clear();

    std::vector<float>& scratch = work_.scratch;
    scratch.resize(size_t(w) * h);
    for (int node = kNodes - 1; node >= 0; node--)
        SynthesiseNode(plane.data(), w, tree_.node[node], tree_.invertX[node], tree_.invertY[node], filters_,
                       scratch.data());

    image.width = w;
    image.height = h;
    image.commentPpi = commentPpi_;
    image.pixels.resize(size_t(w) * h);
    ToPixels(plane.data(), plane.size(), frame_.scale, frame_.shift, image.pixels.data());
}

bool Decoder::Run(bool headerOnly, WsqImage& image)
{
    if (size_ < 2 || d_[0] != 0xff || d_[1] != kMarkerSoi)
        return Fail("no start-of-image marker");
    size_t pos = 2;
    for (;;) {
        if (size_ - pos < 2)
            return Fail("stream ends without an end-of-image marker");
        if (d_[pos] != 0xff)
            return Fail("no marker where a segment should start (offset " + std::to_string(pos) + ")");
        const uint8_t marker = d_[pos + 1];
        pos += 2;
        if (marker == kMarkerEoi)
            break;
        if (size_ - pos < 2)
            return Fail("segment length cut off");
        const size_t n = Be16(d_ + pos);
        if (n < 2 || n > size_ - pos)
            return Fail("segment length " + std::to_string(n) + " runs past the end of the stream");
        const uint8_t* p = d_ + pos;
        bool ok = true;
        switch (marker) {
        case kMarkerSof:
            ok = ReadFrame(p, n);
            break;
        case kMarkerDtt:
            ok = ReadTransform(p, n);
            break;
        case kMarkerDqt:
            ok = ReadQuantisation(p, n);
            break;
        case kMarkerDht:
            ok = ReadHuffman(p, n);
            break;
        case kMarkerCom:
            commentPpi_ = std::max(commentPpi_, CommentPpi(p + 2, n - 2));
            break;
        case kMarkerDrt:
            if (n != 4)
                return Fail("restart interval segment of " + std::to_string(n) + " bytes (4 expected)");
            break;
        case kMarkerSob: {
            if (n != 3)
                return Fail("block header of " + std::to_string(n) + " bytes (3 expected)");
            if (!haveFrame_)
                return Fail("block before the frame header");
            if (headerOnly) {
                image.width = frame_.width;
                image.height = frame_.height;
                image.commentPpi = commentPpi_;
                return true;
            }
            if (!haveTransform_ || !haveQuantisation_)
                return Fail(haveTransform_ ? "block before the quantisation table"
                                           : "block before the transform table");
            const int table = p[2];
            if (table >= kHuffmanTables || !huffman_[table].defined)
                return Fail("block uses undefined Huffman table " + std::to_string(table));
            if (++blocks_ > kBlocks)
                return Fail("more than three blocks");
            if (blocks_ == 1 && !StartCoefficients())
                return false;
            pos += n;
            if (!ReadBlock(pos, table))
                return false;
            continue;
        }
        default:
            return Fail("unknown marker 0xff" + std::string(1, "0123456789abcdef"[marker >> 4])
                        + "0123456789abcdef"[marker & 15]);
        }
        if (!ok)
            return false;
        pos += n;
    }
    if (!haveFrame_)
        return Fail("no frame header");
    if (headerOnly) {
        image.width = frame_.width;
        image.height = frame_.height;
        image.commentPpi = commentPpi_;
        return true;
    }
    if (blocks_ == 0)
        return Fail("no image data");
    if (nextCoefficient_ != work_.coefficients.size())
        return Fail("image data ends after " + std::to_string(nextCoefficient_) + " of "
                    + std::to_string(work_.coefficients.size()) + " coefficients");
    try {
        Reconstruct(image);
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    }
    return true;
}

} // namespace

bool LooksLikeWsq(const uint8_t* data, size_t size)
{
    return size >= 4 && data[0] == 0xff && data[1] == kMarkerSoi && data[2] == 0xff && data[3] >= kMarkerSof
        && data[3] <= kMarkerCom;
}

bool DecodeWsq(const uint8_t* data, size_t size, WsqImage& image, std::string& error, const WsqLimits& limits)
{
    // The caller's pixel buffer is reused: decoding many files into one image
    // then allocates nothing.
    image.width = image.height = image.commentPpi = 0;
    image.pixels.clear();
    error.clear();
    thread_local Workspace work;
    Decoder decoder(data, size, limits, work, error);
    const bool ok = decoder.Run(false, image);
    work.Trim();
    if (!ok) {
        image.width = image.height = image.commentPpi = 0;
        image.pixels.clear();
    }
    return ok;
}

bool ReadWsqFrame(const uint8_t* data, size_t size, WsqFrame& frame, std::string& error)
{
    frame = WsqFrame{};
    error.clear();
    WsqImage header;
    Workspace unused;
    Decoder decoder(data, size, WsqLimits{}, unused, error);
    if (!decoder.Run(true, header))
        return false;
    frame.width = header.width;
    frame.height = header.height;
    frame.commentPpi = header.commentPpi;
    return true;
}

} // namespace kovral_io
