// The checks a split request passes before any work starts.
#include "api/api.h"

#include <cstdint>

namespace {

// Bytes of a record that the record check stands for.
constexpr unsigned long RECORD_CHECK_SIZE = 8;

// w x h as a 32-bit signed product: wraps instead of overflowing, so that
// sizes given to KOVRAL_Init compare exactly as 32-bit products would.
int Product32(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

} // namespace

int CheckSplitRequest(unsigned char* img, int w, int h, int outW, int outH, int* pCount, KOVRAL_INFO_* pInfo)
{
    if (IsBadReadPtr(img, static_cast<unsigned long>(Product32(w, h))))
        return KOVRAL_EINVAL;
    if (w < KOVRAL_MIN_WIDTH || w > KOVRAL_MAX_WIDTH)
        return KOVRAL_EINVAL;
    if (h < KOVRAL_MIN_HEIGHT || h > KOVRAL_MAX_HEIGHT)
        return KOVRAL_EINVAL;
    if (outW < KOVRAL_MIN_WIDTH)
        return KOVRAL_EINVAL;
    if (outH < KOVRAL_MIN_HEIGHT)
        return KOVRAL_EINVAL;
    if (pCount == nullptr || w < outW)
        return KOVRAL_EINVAL;
    if (h < outH)
        return KOVRAL_EINVAL;
    if (IsBadWritePtr(pInfo, RECORD_CHECK_SIZE))
        return KOVRAL_EINVAL;
    if (Product32(w, h) > Product32(g_ImgW, g_ImgH))
        return KOVRAL_EINVAL;
    if (!g_bInit)
        return KOVRAL_ENOTINIT;
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        if (IsBadWritePtr(pInfo[i].pFpImg, static_cast<unsigned long>(Product32(outW, outH))))
            return KOVRAL_EINVAL;
    return KOVRAL_OK;
}
