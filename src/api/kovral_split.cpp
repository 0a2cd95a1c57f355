// KOVRAL_DoSplit: the road of one split.
#include "api/api.h"

int KOVRAL_DoSplit(unsigned char* img, int w, int h, void* /*reserved*/, int outW, int outH, int* pCount,
                   KOVRAL_INFO_* pInfo)
{
    SplitMaps maps{};
    const int rc = SplitBegin(img, w, h, outW, outH, pCount, pInfo, maps);
    if (rc != KOVRAL_OK)
        return rc;
    // The location pass is not wired in yet: every accepted request reports no finger.
    *pCount = 0;
    return SplitEnd(maps, KOVRAL_OK);
}
