// The PGM and PPM reader of kovral_io on arbitrary bytes, also decoding in
// place (see image_reader_harness.h).
#include "image_reader_harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzReader(data, size, kovral_io::detail::PnmRecognises, kovral_io::detail::PnmDecode, true);
    return 0;
}
