// The PNG reader of kovral_io on arbitrary bytes (see image_reader_harness.h).
#include "image_reader_harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzReader(data, size, kovral_io::detail::PngRecognises, kovral_io::detail::PngDecode);
    return 0;
}
