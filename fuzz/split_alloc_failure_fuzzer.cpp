// KOVRAL_DoSplit on generated slaps while allocations fail: the n-th
// allocation of the split, or every one from the n-th on. The split must end
// with KOVRAL_OK or KOVRAL_ENOMEM, release what it took (LeakSanitizer
// checks), clear the busy flag and leave the library ready for the next split.
//
// Input, in order (see fuzz_bytes.h): first failing allocation u16 (folded
// into 0..127; a split makes a few dozen), flags u8 (bit 0: every later one
// fails too), then a slap (slap_input.h).
#include "failing_new/failing_new.h"
#include "fuzz_bytes.h"
#include "slap_input.h"
#include "split_harness.h"

namespace {

constexpr int FAIL_AT_RANGE = 128;

// What the next armed split fails.
long g_failAt = 0;
bool g_failAtAndAfter = false;

void Arm()
{
    failing_new::Arm(g_failAt, g_failAtAndAfter);
}

void Disarm()
{
    failing_new::Disarm();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzBytes in(data, size);
    g_failAt = in.U16() % FAIL_AT_RANGE;
    g_failAtAndAfter = in.U8() & 1;
    split_harness::Request r;
    slapgen::Slap slap = slap_input::Read(in, r);
    split_harness::ResetLibrary(true, KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);

    // Only the split runs short of memory; the harness's own buffers are
    // allocated before it and checked after it.
    split_harness::Run(r, slap.pixels.data(), true, Arm, Disarm);

    // The library recovers: the same split now succeeds.
    FUZZ_CHECK(split_harness::Run(r, slap.pixels.data()) == KOVRAL_OK);
    return 0;
}
