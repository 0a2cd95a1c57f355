// One KOVRAL_DoSplit request as a caller would make it, with every buffer
// allocated at exactly the size the request names (AddressSanitizer then
// sees any access past it), and the checks of what a split promises: the
// result of its request checks, nothing written on a refusal, at most four
// fingers, sane records, later records and their buffers untouched, and the
// busy flag cleared.
#ifndef KOVRAL_SPLIT_HARNESS_H
#define KOVRAL_SPLIT_HARNESS_H

#include "api/api.h"
#include "fuzz_bytes.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace split_harness {

constexpr int32_t SENTINEL = 0x5A5A5A5A;
constexpr uint8_t UNTOUCHED = 0xA5;
constexpr uint8_t UNTOUCHED_QUALITY = 0xEE;
constexpr int MAX_FINGERS = 4;
constexpr int MAX_ANGLE = 179;
constexpr int MAX_QUALITY = 99;
constexpr int EXPECT_ANY = 0x7fffffff;

// Brings the library into a known state whatever earlier inputs did: the last
// allocating Init was max x max, then Init(w, h) when init is set (which may
// leave the library uninitialised, as sizes of 0 or less do).
inline void ResetLibrary(bool init, int w, int h)
{
    KOVRAL_Uninit();
    KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    KOVRAL_Uninit();
    if (init)
        KOVRAL_Init(w, h);
}

// How a request is spoiled on purpose.
enum Spoil
{
    NONE,
    NULL_IMAGE,
    NULL_COUNT,
    NULL_RECORDS,
    NULL_BUFFER, // in record spoilRecord
    SPOIL_KINDS
};

struct Request
{
    int w = 0, h = 0, outW = 0, outH = 0;
    int spoil = NONE;
    int spoilRecord = 0;
};

inline int Product32(int a, int b)
{
    return static_cast<int>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// The checks in their documented order, against the library's state.
inline int ExpectedResult(const Request& r)
{
    if (r.spoil == NULL_IMAGE)
        return KOVRAL_EINVAL;
    if (r.w < KOVRAL_MIN_WIDTH || r.w > KOVRAL_MAX_WIDTH || r.h < KOVRAL_MIN_HEIGHT || r.h > KOVRAL_MAX_HEIGHT)
        return KOVRAL_EINVAL;
    if (r.outW < KOVRAL_MIN_WIDTH || r.outH < KOVRAL_MIN_HEIGHT)
        return KOVRAL_EINVAL;
    if (r.spoil == NULL_COUNT || r.w < r.outW || r.h < r.outH || r.spoil == NULL_RECORDS)
        return KOVRAL_EINVAL;
    if (Product32(r.w, r.h) > Product32(g_ImgW, g_ImgH))
        return KOVRAL_EINVAL;
    if (!g_bInit)
        return KOVRAL_ENOTINIT;
    if (r.spoil == NULL_BUFFER)
        return KOVRAL_EINVAL;
    return KOVRAL_OK;
}

// True when a request of these sizes can pass the checks, so that the caller
// must supply a real w x h image.
inline bool NeedsImage(const Request& r)
{
    return r.w >= KOVRAL_MIN_WIDTH && r.w <= KOVRAL_MAX_WIDTH && r.h >= KOVRAL_MIN_HEIGHT && r.h <= KOVRAL_MAX_HEIGHT;
}

inline bool AllBytes(const uint8_t* p, size_t n, uint8_t v)
{
    for (size_t i = 0; i < n; i++)
        if (p[i] != v)
            return false;
    return true;
}

// Runs the request; pixels holds w x h bytes when NeedsImage(r) (the split
// reads it in place), else anything (a refused request must not read it).
// With outOfMemory, allocations may fail during the split (between the calls
// of before and after): an accepted request may then also end with
// KOVRAL_ENOMEM, having written the count and no record field. Returns the
// split's result.
inline int Run(const Request& r, uint8_t* pixels, bool outOfMemory = false, void (*before)() = nullptr,
               void (*after)() = nullptr)
{
    const int expected = ExpectedResult(r);
    const bool accepted = expected == KOVRAL_OK;
    // Refused requests get one-byte buffers: reading them at all is an error.
    const size_t bufferSize = accepted ? static_cast<size_t>(r.outW) * static_cast<size_t>(r.outH) : 1;
    uint8_t stub = 0;

    std::unique_ptr<KOVRAL_INFO_[]> info(new KOVRAL_INFO_[KOVRAL_MAX_RECORDS]);
    std::vector<std::unique_ptr<uint8_t[]>> buffers;
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++) {
        buffers.emplace_back(new uint8_t[bufferSize]);
        std::memset(buffers.back().get(), UNTOUCHED, bufferSize);
        info[i].x = info[i].y = info[i].angle = SENTINEL;
        info[i].quality = UNTOUCHED_QUALITY;
        info[i].pFpImg = buffers.back().get();
    }
    if (r.spoil == NULL_BUFFER)
        info[r.spoilRecord % KOVRAL_MAX_RECORDS].pFpImg = nullptr;

    int count = SENTINEL;
    unsigned char* img = r.spoil == NULL_IMAGE ? nullptr : accepted ? pixels : &stub;
    int* pCount = r.spoil == NULL_COUNT ? nullptr : &count;
    KOVRAL_INFO_* pInfo = r.spoil == NULL_RECORDS ? nullptr : info.get();
    // Never read: a pointer that faults if it were.
    void* reserved = reinterpret_cast<void*>(uintptr_t{1});
    const bool wasInit = g_bInit;

    int rc = 0;
    if (before)
        before();
    try {
        rc = KOVRAL_DoSplit(img, r.w, r.h, reserved, r.outW, r.outH, pCount, pInfo);
    } catch (...) {
        FUZZ_CHECK(!"no entry point throws");
    }
    if (after)
        after();

    // KOVRAL_FUZZ_VERBOSE=1 in the environment shows what each input does.
    static const bool verbose = std::getenv("KOVRAL_FUZZ_VERBOSE") != nullptr;
    if (verbose)
        std::fprintf(stderr, "split %d x %d into %d x %d, spoil %d: result %d, count %d\n", r.w, r.h, r.outW, r.outH,
                     r.spoil, rc, count);
    const bool ranOut = outOfMemory && expected == KOVRAL_OK && rc == KOVRAL_ENOMEM;
    FUZZ_CHECK(rc == expected || ranOut);
    FUZZ_CHECK(g_bBusy.load() == 0);
    FUZZ_CHECK(g_bInit == wasInit);
    if (rc == KOVRAL_OK || ranOut)
        FUZZ_CHECK(count >= 0 && count <= MAX_FINGERS);
    else
        FUZZ_CHECK(count == SENTINEL);
    const int filled = rc == KOVRAL_OK ? count : 0;        // records written
    const int cut = rc == KOVRAL_OK || ranOut ? count : 0; // buffers that may be written
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++) {
        const KOVRAL_INFO_& rec = info[i];
        if (r.spoil != NULL_BUFFER || i != r.spoilRecord % KOVRAL_MAX_RECORDS)
            FUZZ_CHECK(rec.pFpImg == buffers[i].get());
        if (i < filled) {
            FUZZ_CHECK(rec.angle >= 0 && rec.angle <= MAX_ANGLE);
            FUZZ_CHECK(rec.quality <= MAX_QUALITY);
        } else {
            FUZZ_CHECK(rec.x == SENTINEL && rec.y == SENTINEL && rec.angle == SENTINEL);
            FUZZ_CHECK(rec.quality == UNTOUCHED_QUALITY);
        }
        if (i >= cut)
            FUZZ_CHECK(AllBytes(buffers[i].get(), bufferSize, UNTOUCHED));
    }

    // The records of a split are what the hand judgement takes.
    if (rc == KOVRAL_OK && count >= 3) {
        const int judged = KOVRAL_JudegeFingers(count, info.get());
        FUZZ_CHECK(judged == KOVRAL_JUDGE_LEFT || judged == KOVRAL_JUDGE_RIGHT || judged == KOVRAL_EINVAL);
    }
    return rc;
}

} // namespace split_harness

#endif
