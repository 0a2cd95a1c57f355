// The accurate locator's stages of a split: fingertips, angles, hand and
// deficiencies from accurate::Locate, then every finger cut about its
// fingertip's centre. Cleaning and scores are the exact split's.
#include "engine/engine.h"

#include "accurate/accurate.h"
#include "extract/extract.h"
#include "gray/gray.h"

#include <algorithm>
#include <iterator>

namespace {

int LocateAccurate(kovral_splitter& /*s*/, SplitJob& job)
{
    accurate::Result found;
    if (!accurate::Locate(job.img, job.w, job.h16, found))
        return KOVRAL_ENOMEM;
    job.count = std::min(found.count, KOVRAL_MAX_FINGERS);
    *job.countOut = job.count;
    for (int i = 0; i < job.count; i++) {
        const accurate::Finger& f = found.fingers[i];
        job.centres[i] = {f.x, f.y};
        job.angles[i] = f.angle;
        job.boxes[i] = f.box;
        job.confidence[i] = f.confidence;
        job.flags[i] = f.flags;
    }
    if (job.report != nullptr) {
        kovral_slap_report& r = *job.report;
        r = kovral_slap_report{};
        r.hand = found.hand;
        r.hand_confidence = found.handConfidence;
        r.deficiencies = found.deficiencies;
        r.rejected_count = std::min(found.rejectedCount, static_cast<int>(std::size(r.rejected)));
        std::copy_n(found.rejected, r.rejected_count, r.rejected);
        job.reportWritten = true;
    }
    return KOVRAL_OK;
}

int CutAccurate(kovral_splitter& /*s*/, SplitJob& job)
{
    const unsigned char bkGray = static_cast<unsigned char>(FastBkGray(job.img, job.w, job.h16));
    CutFingersAbout(job.img, job.w, job.h16, job.count, job.centres, job.angles, bkGray, job.outBufs, job.outW,
                    job.outH);
    return KOVRAL_OK;
}

} // namespace

const Locator ACCURATE_LOCATOR{LocateAccurate, CutAccurate};
