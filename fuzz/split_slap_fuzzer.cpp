// KOVRAL_DoSplit on generated slaps (input layout: slap_input.h).
#include "fuzz_bytes.h"
#include "slap_input.h"
#include "split_harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzBytes in(data, size);
    split_harness::Request r;
    slapgen::Slap slap = slap_input::Read(in, r);
    split_harness::ResetLibrary(true, KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    split_harness::Run(r, slap.pixels.data());
    return 0;
}
