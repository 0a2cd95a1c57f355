// KOVRAL_JudegeFingers and RoatedFingers with arbitrary counts and records,
// in any library state.
//
// Input, in order (see fuzz_bytes.h):
//   flags u8: bit 0 initialise, bit 1 own Init height, bit 2 raw count,
//             bit 3 null records, bit 4 null output (RoatedFingers),
//             bit 5 plausible records
//   [Init height u16 as int16]                       (bit 1)
//   count: i32 (bit 2) or u8 folded into -1..11
//   ten records: x, y, angle as i32, or as u16 folded into plausible
//   ranges (bit 5)
#include "fuzz_bytes.h"
#include "split_harness.h"

#include <cstdint>
#include <cstring>
#include <memory>

namespace {

constexpr int32_t SENTINEL = 0x5A5A5A5A;
constexpr uint8_t SENTINEL_QUALITY = 0xEE;

bool SameRecords(const KOVRAL_INFO_* a, const KOVRAL_INFO_* b)
{
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        if (a[i].x != b[i].x || a[i].y != b[i].y || a[i].angle != b[i].angle || a[i].quality != b[i].quality
            || a[i].pFpImg != b[i].pFpImg)
            return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzBytes in(data, size);
    const uint8_t flags = in.U8();
    int initH = KOVRAL_MAX_HEIGHT;
    if (flags & 2)
        initH = static_cast<int16_t>(in.U16());
    split_harness::ResetLibrary(flags & 1, KOVRAL_MAX_WIDTH, initH);

    const int count = (flags & 4) ? in.I32() : in.Range8(-1, KOVRAL_MAX_RECORDS + 1);
    uint8_t marker = 0;
    std::unique_ptr<KOVRAL_INFO_[]> records(new KOVRAL_INFO_[KOVRAL_MAX_RECORDS]);
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++) {
        KOVRAL_INFO_& r = records[i];
        if (flags & 32) {
            r.x = in.Range16(-100, 1700);
            r.y = in.Range16(-100, 1600);
            r.angle = in.Range16(-10, 190);
        } else {
            r.x = in.I32();
            r.y = in.I32();
            r.angle = in.I32();
        }
        r.quality = static_cast<uint8_t>(i);
        r.pFpImg = &marker;
    }
    KOVRAL_INFO_* pInfo = (flags & 8) ? nullptr : records.get();
    KOVRAL_INFO_ before[KOVRAL_MAX_RECORDS];
    std::memcpy(before, records.get(), sizeof before);

    const int judged = KOVRAL_JudegeFingers(count, pInfo);
    FUZZ_CHECK(SameRecords(records.get(), before));
    if (count != 3 && count != 4)
        FUZZ_CHECK(judged == KOVRAL_EINVAL);
    else if (!g_bInit)
        FUZZ_CHECK(judged == KOVRAL_ENOTINIT);
    else if (count == 3 || pInfo == nullptr)
        FUZZ_CHECK(judged == KOVRAL_EINVAL);
    else
        FUZZ_CHECK(judged == KOVRAL_JUDGE_LEFT || judged == KOVRAL_JUDGE_RIGHT || judged == KOVRAL_EINVAL);

    // The turn writes x, y and angle of out[0..count-1] and nothing else.
    std::unique_ptr<KOVRAL_INFO_[]> out(new KOVRAL_INFO_[KOVRAL_MAX_RECORDS]);
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        out[i] = KOVRAL_INFO_{SENTINEL, SENTINEL, SENTINEL, SENTINEL_QUALITY, &marker};
    RoatedFingers(count, pInfo, (flags & 16) ? nullptr : out.get());
    FUZZ_CHECK(SameRecords(records.get(), before));
    const bool turns = count >= 1 && count <= KOVRAL_MAX_RECORDS && pInfo != nullptr && !(flags & 16);
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++) {
        FUZZ_CHECK(out[i].quality == SENTINEL_QUALITY && out[i].pFpImg == &marker);
        if (!turns || i >= count)
            FUZZ_CHECK(out[i].x == SENTINEL && out[i].y == SENTINEL && out[i].angle == SENTINEL);
    }
    return 0;
}
