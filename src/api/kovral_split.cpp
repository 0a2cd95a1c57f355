// KOVRAL_DoSplit: the split engine on the maps that KOVRAL_Init made, with
// work memory allocated stage by stage.
#include "api/api.h"
#include "block_grid.h"

#include "engine/engine.h"

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
        kovral_splitter legacy(WorkMemory::ONE_OFF);
        legacy.drct = maps.drct;
        legacy.hole = maps.hole;
        SplitJob job;
        job.img = img;
        job.w = w;
        job.h = h;
        job.h16 = WholeBlockRows(h);
        job.outW = outW;
        job.outH = outH;
        for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
            job.outBufs[i] = pInfo[i].pFpImg;
        job.countOut = pCount;
        job.records = pInfo;
        rc = RunSplit(legacy, job);
    } catch (...) {
        rc = KOVRAL_ENOMEM;
    }
    return SplitEnd(maps, rc);
}
