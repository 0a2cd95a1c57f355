// The road of one split, stage by stage.
#include "engine/engine.h"
#include "block_grid.h"

#include <algorithm>

#include "direction/direction.h"
#include "extract/extract.h"
#include "gray/gray.h"
#include "locate/locate.h"

namespace {

// Passed through to every block test; it has no effect on the result.
constexpr int BLOCK_TEST_PARAM = 2;
// Every finger the exact locator reports is sure.
constexpr int EXACT_CONFIDENCE = 100;

// The direction map, the finger candidates on it (the first four kept) and
// their boxes widened for the cut.
int LocateExact(kovral_splitter& s, SplitJob& job)
{
    MapDirections(job.img, job.w, job.h16, s.drct, BLOCK_TEST_PARAM, s.memory);
    const int n = LocateFingers(s.drct, job.w >> BLOCK_SHIFT, job.h >> BLOCK_SHIFT, s.hole, job.boxes, job.angles,
                                job.labels, s.memory);
    job.count = std::min(n, KOVRAL_MAX_FINGERS);
    *job.countOut = job.count;
    WidenFingerBoxes(job.boxes, job.count, job.w, job.h16);
    for (int i = 0; i < job.count; i++)
        job.confidence[i] = EXACT_CONFIDENCE;
    return KOVRAL_OK;
}

// Every finger cut upright into its buffer, turned ones on the background gray.
int CutExact(kovral_splitter& s, SplitJob& job)
{
    const unsigned char bkGray = static_cast<unsigned char>(FastBkGray(job.img, job.w, job.h16));
    if (!CutFingers(job.img, job.w, job.h16, s.hole, job.count, job.boxes, job.angles, job.labels, bkGray,
                    job.outBufs, job.outW, job.outH, job.centres, s.memory))
        return KOVRAL_ENOMEM;
    return KOVRAL_OK;
}

constexpr Locator EXACT{LocateExact, CutExact};

// Centre, angle and score of every finger, written only once all are
// cleaned: a cleaning that runs out of memory leaves every record as it was.
void WriteRecords(SplitJob& job)
{
    for (int i = 0; i < job.count; i++) {
        if (job.records != nullptr) {
            KOVRAL_INFO_& r = job.records[i];
            r.x = job.centres[i].x;
            r.y = job.centres[i].y;
            r.angle = job.angles[i];
            r.quality = job.quality[i];
        } else {
            kovral_finger& f = job.fingers[i];
            f.x = job.centres[i].x;
            f.y = job.centres[i].y;
            f.angle = job.angles[i];
            f.quality = job.quality[i];
            f.confidence = job.confidence[i];
            f.flags = job.flags[i];
        }
    }
}

} // namespace

const Locator* FindLocator(int locator)
{
    if (locator == KOVRAL_LOCATOR_ACCURATE)
        return &ACCURATE_LOCATOR;
    return locator == KOVRAL_LOCATOR_EXACT ? &EXACT : nullptr;
}

int RunSplit(kovral_splitter& s, SplitJob& job)
{
    const Locator* locator = FindLocator(job.locator);
    int rc = locator->locate(s, job);
    if (rc != KOVRAL_OK || job.count == 0)
        return rc;
    rc = locator->cut(s, job);
    if (rc != KOVRAL_OK)
        return rc;
    if (!CleanFingers(job.outBufs, job.count, job.outW, job.outH, job.centres, job.quality, s.memory))
        return KOVRAL_ENOMEM;
    WriteRecords(job);
    return KOVRAL_OK;
}
