// KOVRAL_DoSplit: the road of one split.
#include "api/api.h"
#include "block_grid.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

#include "direction/direction.h"
#include "extract/extract.h"
#include "gray/gray.h"
#include "locate/locate.h"

namespace {

// The locator reports up to ten candidates; a split keeps the first four.
constexpr int MAX_FINGERS = 4;
// Passed through to every block test; it has no effect on the result.
constexpr int BLOCK_TEST_PARAM = 2;

// The working arrays of one split, one entry per candidate.
struct SplitArrays
{
    tagRECT boxes[KOVRAL_MAX_RECORDS] = {};
    int angles[KOVRAL_MAX_RECORDS] = {};
    signed char labels[KOVRAL_MAX_RECORDS] = {};
    unsigned char* outBufs[KOVRAL_MAX_RECORDS] = {};
    tagPOINT centres[KOVRAL_MAX_RECORDS] = {};
};

// Everything between the checks and the release of the maps. Returns the
// split's result.
int RunSplit(unsigned char* img, int w, int h, int outW, int outH, int* pCount, KOVRAL_INFO_* pInfo,
             const SplitMaps& maps)
{
    const int h16 = WholeBlockRows(h);
    SplitArrays a;

    // Location pass.
    Directions(img, w, h16, maps.drct, BLOCK_TEST_PARAM);
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        a.outBufs[i] = pInfo[i].pFpImg;
    const int n = std::min(FindFpPos(maps.drct, w >> BLOCK_SHIFT, h >> BLOCK_SHIFT, maps.hole, a.boxes, a.angles,
                                     a.labels),
                           MAX_FINGERS);
    *pCount = n;
    if (n == 0)
        return KOVRAL_OK;
    WidenFingerBoxes(a.boxes, n, w, h16);

    // Image pass.
    const unsigned char bkGray = static_cast<unsigned char>(FastBkGray(img, w, h16));
    if (!GetRoatedFp(img, w, h16, maps.hole, n, a.boxes, a.angles, a.labels, bkGray, a.outBufs, outW, outH,
                     a.centres))
        return KOVRAL_ENOMEM;
    // One scratch buffer serves every finger. Without it the fingers stay as
    // cut, uncleaned, and no record is written.
    std::unique_ptr<unsigned char[]> scratch(new (std::nothrow)
                                                 unsigned char[static_cast<std::size_t>(outW) * outH]);
    if (!scratch)
        return KOVRAL_ENOMEM;
    FinishFingers(pInfo, n, outW, outH, a.centres, a.angles, scratch.get());
    return KOVRAL_OK;
}

} // namespace

int KOVRAL_DoSplit(unsigned char* img, int w, int h, void* /*reserved*/, int outW, int outH, int* pCount,
                   KOVRAL_INFO_* pInfo)
{
    SplitMaps maps{};
    int rc;
    try {
        rc = SplitBegin(img, w, h, outW, outH, pCount, pInfo, maps);
    } catch (...) {
        return KOVRAL_ENOMEM;
    }
    if (rc != KOVRAL_OK)
        return rc;
    try {
        rc = RunSplit(img, w, h, outW, outH, pCount, pInfo, maps);
    } catch (...) {
        // A work array of the finger mask could not be allocated.
        rc = KOVRAL_ENOMEM;
    }
    return SplitEnd(maps, rc);
}
