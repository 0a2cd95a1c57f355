// WSQ: the wavelet scalar quantisation format of 500 ppi gray fingerprints.
// A decoder that reproduces the pixels of NIST's reference decoder exactly
// (single-precision arithmetic in the same order of operations), with bounded
// work and memory on untrusted input.
#ifndef KOVRAL_IO_WSQ_H
#define KOVRAL_IO_WSQ_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kovral_io {

// Refused before anything is allocated: larger frames, and frames under 32
// pixels a side (no encoder writes those; shorter lines would leave the
// wavelet tree without samples to mirror).
struct WsqLimits
{
    int maxWidth = 16384;
    int maxHeight = 16384;
    int64_t maxPixels = int64_t(64) << 20;
};

constexpr int kWsqMinSide = 32;

struct WsqImage
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels; // width x height, rows top to bottom, 0 black
    // The PPI line of a NISTCOM comment, 0 when there is none. Often wrong
    // (NIST's own encoder writes 255 for 500 ppi slaps): a hint at most.
    int commentPpi = 0;
};

// The frame header alone: size and comment resolution, without decoding.
struct WsqFrame
{
    int width = 0;
    int height = 0;
    int commentPpi = 0;
};

// True when the bytes start like a WSQ stream (start-of-image marker followed
// by another marker of the format).
bool LooksLikeWsq(const uint8_t* data, size_t size);

// Decodes a whole WSQ stream. Bytes after the end-of-image marker are
// ignored. On failure returns false, leaves image empty and sets error to a
// one-line reason ("WSQ: ...").
bool DecodeWsq(const uint8_t* data, size_t size, WsqImage& image, std::string& error, const WsqLimits& limits = {});

// Reads the segments up to the frame header (and the comments before the
// first block) without decoding. Same failures as DecodeWsq for those parts.
bool ReadWsqFrame(const uint8_t* data, size_t size, WsqFrame& frame, std::string& error);

namespace wsq_detail {

// The pieces below are shared between the decoder's source files and reached
// by the tests; nothing else should need them.

constexpr int kSubbands = 64;
constexpr int kCodedSubbands = 60; // 60..63 are never in the stream
constexpr int kNodes = 20;         // split nodes of the wavelet tree
constexpr int kMaxFilterTaps = 31; // odd lengths only
constexpr int kHuffmanTables = 8;
constexpr int kMaxCodeLength = 16;

struct Rect
{
    int x = 0, y = 0, w = 0, h = 0;
};

// Where every subband and every split node lies for a frame of width x height,
// and which directions of each node store the high band first.
struct SubbandTree
{
    Rect subband[kSubbands];
    Rect node[kNodes];
    bool invertX[kNodes] = {};
    bool invertY[kNodes] = {};
};
void BuildSubbandTree(int width, int height, SubbandTree& tree);

// The two synthesis filters, from the stored analysis halves.
struct SynthesisFilters
{
    int lowLength = 0, highLength = 0; // odd
    float low[kMaxFilterTaps] = {};
    float high[kMaxFilterTaps] = {};
};

// Inverse transform of one split node in place (columns, then rows).
// scratch must hold rect.w * rect.h floats.
void SynthesiseNode(float* image, int stride, const Rect& rect, bool invertX, bool invertY,
                    const SynthesisFilters& filters, float* scratch);

// Whether the synthesis uses 256-bit vectors (where the processor has them,
// the default) or 128-bit ones; returns what it now uses. For tests of both.
bool UseWideVectors(bool wide);

// One line of n samples, straight from the definition: [low band, high band]
// (or [high, low] when inverted) in, interleaved synthesis out. The reference
// the fast node synthesis must equal bit for bit.
void SynthesiseLineReference(const float* in, int n, bool inverted, const SynthesisFilters& filters, float* out);

// A canonical Huffman table with a direct lookup of the first kFastBits bits.
struct HuffmanTable
{
    static constexpr int kFastBits = 10;
    bool defined = false;
    uint16_t fast[1 << kFastBits] = {}; // (length << 8) | value; 0 = longer code
    int32_t maxCode[kMaxCodeLength + 2] = {};
    int32_t valueOffset[kMaxCodeLength + 1] = {};
    uint8_t values[256] = {};
};

// Builds a table from the 16 code counts and the values. Refuses more than 256
// values and code counts that do not fit their lengths.
bool BuildHuffmanTable(const uint8_t counts[kMaxCodeLength], const uint8_t* values, HuffmanTable& table,
                       std::string& error);

// One block's entropy-coded data with the stuffing removed: bytes, and the
// byte offsets where restart markers stood (each starts a fresh byte).
struct EntropyData
{
    std::vector<uint8_t> bytes;
    std::vector<size_t> restarts;
};

// Decodes the symbols of one block into coefficients[next...]; zero runs only
// move next (coefficients must be zero beforehand). Refuses codes the table
// does not hold, invalid symbols, escapes cut off, data left over other than
// fewer than eight 1-bits, and runs past the end of coefficients.
bool DecodeBlock(const EntropyData& data, const HuffmanTable& table, int32_t* coefficients, size_t count,
                 size_t& next, std::string& error);

} // namespace wsq_detail

} // namespace kovral_io

#endif
