// The WSQ decoder on arbitrary bytes, under a limit of one million pixels.
// A decoded image must have the size of its frame header.
//
// Input: a WSQ stream (seeds: fuzz/make_format_seeds.py).
#include "wsq/wsq.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kovral_io::WsqLimits limits;
    limits.maxPixels = 1 << 20;
    kovral_io::WsqImage image;
    std::string error;
    const bool ok = kovral_io::DecodeWsq(data, size, image, error, limits);
    kovral_io::WsqFrame frame;
    std::string frameError;
    const bool frameOk = kovral_io::ReadWsqFrame(data, size, frame, frameError);
    if (ok
        && (!frameOk || frame.width != image.width || frame.height != image.height
            || image.pixels.size() != size_t(image.width) * size_t(image.height)))
        std::abort();
    if (!ok && (error.empty() || !image.pixels.empty()))
        std::abort();
    return 0;
}
