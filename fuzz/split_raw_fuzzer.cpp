// KOVRAL_DoSplit on raw image bytes, with sizes inside and outside the
// limits, odd initialised sizes and null pointers.
//
// Input, in order (see fuzz_bytes.h):
//   flags   u8: bit 0 initialise, bit 1 own Init sizes, bit 2 raw sizes,
//               bits 3..5 spoil (split_harness::Spoil, 5..7 none), bit 6 patches
//   [Init w, h: two u16 taken as int16]                           (bit 1)
//   sizes   raw: w, h, outW, outH as i32                          (bit 2)
//           else: w, h, outW, outH as u16 folded into the limits
//   spoilRecord u8
//   patches (bit 6): background u8, count u8 (% 7), per patch x, y, width,
//           height u16 (folded into the image), then tile width and height u8
//   the rest: pixel bytes, repeated over the whole image or over each patch
#include "fuzz_bytes.h"
#include "split_harness.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

constexpr int SPOIL_BITS_SHIFT = 3;
constexpr int SPOIL_BITS_MASK = 7;
constexpr int MAX_PATCHES = 6;
constexpr int MAX_PATCH_WIDTH = 480;
constexpr int MAX_PATCH_HEIGHT = 640;
constexpr int MAX_TILE_SIDE = 64;
constexpr uint8_t EMPTY_GRAY = 255;

struct Patch
{
    int x, y, w, h;
};

// Fills the w x h image with the rest of the input, repeated, either over the
// whole image or over each patch on a uniform background.
void Paint(FuzzBytes& in, bool patches, int w, int h, std::vector<uint8_t>& image)
{
    if (!patches) {
        const uint8_t* rest = in.Rest();
        const size_t n = in.Left();
        for (size_t i = 0; i < image.size(); i++)
            image[i] = n ? rest[i % n] : EMPTY_GRAY;
        return;
    }
    std::fill(image.begin(), image.end(), in.U8());
    std::vector<Patch> list(in.U8() % (MAX_PATCHES + 1));
    for (Patch& p : list) {
        p.x = in.Range16(0, w - 1);
        p.y = in.Range16(0, h - 1);
        p.w = in.Range16(1, MAX_PATCH_WIDTH);
        p.h = in.Range16(1, MAX_PATCH_HEIGHT);
    }
    const int tw = in.Range8(1, MAX_TILE_SIDE);
    const int th = in.Range8(1, MAX_TILE_SIDE);
    const uint8_t* tile = in.Rest();
    const size_t n = in.Left();
    for (const Patch& p : list)
        for (int y = p.y; y < std::min(h, p.y + p.h); y++)
            for (int x = p.x; x < std::min(w, p.x + p.w); x++) {
                const size_t t = static_cast<size_t>((y - p.y) % th) * tw + (x - p.x) % tw;
                image[static_cast<size_t>(y) * w + x] = n ? tile[t % n] : 0;
            }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace split_harness;
    FuzzBytes in(data, size);
    const uint8_t flags = in.U8();
    const bool init = flags & 1;
    const bool ownInitSizes = flags & 2;
    const bool rawSizes = flags & 4;
    const int spoil = (flags >> SPOIL_BITS_SHIFT) & SPOIL_BITS_MASK;
    const bool patches = flags & 64;

    int initW = KOVRAL_MAX_WIDTH, initH = KOVRAL_MAX_HEIGHT;
    if (ownInitSizes) {
        initW = static_cast<int16_t>(in.U16());
        initH = static_cast<int16_t>(in.U16());
    }
    ResetLibrary(init, initW, initH);

    Request r;
    if (rawSizes) {
        r.w = in.I32();
        r.h = in.I32();
        r.outW = in.I32();
        r.outH = in.I32();
    } else {
        r.w = in.Range16(KOVRAL_MIN_WIDTH, KOVRAL_MAX_WIDTH);
        r.h = in.Range16(KOVRAL_MIN_HEIGHT, KOVRAL_MAX_HEIGHT);
        r.outW = in.Range16(KOVRAL_MIN_WIDTH, r.w);
        r.outH = in.Range16(KOVRAL_MIN_HEIGHT, r.h);
    }
    r.spoil = spoil < SPOIL_KINDS ? spoil : NONE;
    r.spoilRecord = in.U8();

    std::vector<uint8_t> image;
    if (NeedsImage(r)) {
        image.resize(static_cast<size_t>(r.w) * static_cast<size_t>(r.h));
        Paint(in, patches, r.w, r.h, image);
    }
    Run(r, image.data());
    return 0;
}
