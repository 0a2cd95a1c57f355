// The splitter entry points: a split on a splitter of the caller's, checked
// and reported in the new API's terms, run by the same engine as
// KOVRAL_DoSplit.
#include "api/api.h"
#include "block_grid.h"

#include "engine/engine.h"

namespace {

constexpr int HAND_CONFIDENCE_JUDGED = 100;

bool InLimits(int w, int h)
{
    return w >= KOVRAL_MIN_WIDTH && w <= KOVRAL_MAX_WIDTH && h >= KOVRAL_MIN_HEIGHT && h <= KOVRAL_MAX_HEIGHT;
}

// The request checks, in this order; nothing is written before they pass.
int CheckRequest(const kovral_splitter* s, const uint8_t* image, int32_t width, int32_t height,
                 const kovral_split_options* options, const kovral_finger* fingers, const int32_t* count)
{
    if (s == nullptr || image == nullptr || options == nullptr || fingers == nullptr || count == nullptr)
        return KOVRAL_EINVAL;
    if (!InLimits(width, height))
        return KOVRAL_EINVAL;
    if (!InLimits(options->finger_width, options->finger_height) || options->finger_width > width
        || options->finger_height > height)
        return KOVRAL_EINVAL;
    if (FindLocator(options->locator) == nullptr)
        return KOVRAL_EINVAL;
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
        if (fingers[i].image == nullptr)
            return KOVRAL_EINVAL;
    if (width > s->maxWidth || height > s->maxHeight)
        return KOVRAL_ETOOBIG;
    return KOVRAL_OK;
}

// The exact locator's report: the hand from the judgement of four fingers.
void ReportHand(const kovral_finger* fingers, int count, kovral_slap_report& report)
{
    report = kovral_slap_report{};
    const int judged = count == KOVRAL_MAX_FINGERS ? kovral_judge_hand(fingers, count) : KOVRAL_EINVAL;
    if (judged == KOVRAL_JUDGE_LEFT)
        report.hand = KOVRAL_HAND_RIGHT;
    else if (judged == KOVRAL_JUDGE_RIGHT)
        report.hand = KOVRAL_HAND_LEFT;
    report.hand_confidence = report.hand != KOVRAL_HAND_UNKNOWN ? HAND_CONFIDENCE_JUDGED : 0;
}

} // namespace

kovral_splitter* kovral_splitter_new(int32_t max_width, int32_t max_height)
{
    if (!InLimits(max_width, max_height))
        return nullptr;
    try {
        return NewSplitter(max_width, max_height);
    } catch (...) {
        return nullptr;
    }
}

void kovral_splitter_free(kovral_splitter* splitter)
{
    delete splitter;
}

int32_t kovral_split(kovral_splitter* splitter, const uint8_t* image, int32_t width, int32_t height,
                     const kovral_split_options* options, kovral_finger fingers[KOVRAL_MAX_FINGERS], int32_t* count,
                     kovral_slap_report* report)
{
    int rc = CheckRequest(splitter, image, width, height, options, fingers, count);
    if (rc != KOVRAL_OK)
        return rc;
    try {
        SplitJob job;
        // The stages only read the image.
        job.img = const_cast<unsigned char*>(image);
        job.w = width;
        job.h = height;
        job.h16 = WholeBlockRows(height);
        job.outW = options->finger_width;
        job.outH = options->finger_height;
        job.locator = options->locator;
        for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
            job.outBufs[i] = fingers[i].image;
        job.countOut = count;
        job.fingers = fingers;
        job.report = report;
        rc = RunSplit(*splitter, job);
        if (rc == KOVRAL_OK && report != nullptr && !job.reportWritten)
            ReportHand(fingers, job.count, *report);
    } catch (...) {
        rc = KOVRAL_ENOMEM;
    }
    return rc;
}

const char* kovral_result_text(int32_t result)
{
    switch (result) {
    case KOVRAL_OK:
        return "done";
    case KOVRAL_JUDGE_RIGHT:
        return "highest finger right of the lowest";
    case KOVRAL_EINVAL:
        return "invalid argument";
    case KOVRAL_ENOTINIT:
        return "library not initialised";
    case KOVRAL_ENOMEM:
        return "out of memory, or the file could not be created";
    case KOVRAL_ETOOBIG:
        return "image larger than the splitter";
    default:
        return "unknown result";
    }
}
