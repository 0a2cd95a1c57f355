// Golden outputs: whole splits of fixed generated slaps, hashed. Any change of
// the library's output by a single bit (an optimisation that is not exact, a
// changed rounding) changes a hash here. The whole-split hashes are the
// contract; the stage digests beside them only say where a change starts.
// When a hash differs, the test names the first stage whose output differs
// and, for the finger images, the first byte at which the split differs from
// the same split cut and finished by the straightforward reference stages.
#include <kovral.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "block_grid.h"
#include "direction/direction.h"
#include "engine/engine.h"
#include "extract/extract.h"
#include "gray/gray.h"
#include "locate/locate.h"
#include "reference/reference.h"
#include "slapgen.h"

extern signed char* g_pDrct;
extern signed char* g_pHoleDrct;

namespace {

// Passed through to the block test, as the split does; no effect on results.
constexpr int BLOCK_TEST_PARAM = 2;

struct Fnv
{
    uint64_t h = 14695981039346656037ull;
    void Mix(int64_t v)
    {
        for (int i = 0; i < 8; i++)
            h = (h ^ static_cast<uint8_t>(v >> (8 * i))) * 1099511628211ull;
    }
    void Bytes(const void* p, size_t n)
    {
        for (size_t i = 0; i < n; i++)
            Mix(static_cast<const uint8_t*>(p)[i]);
    }
};

struct SplitOutput
{
    int rc = 0;
    int count = 0;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS] = {};
    std::vector<std::vector<unsigned char>> buffers;
    std::vector<signed char> drct, hole; // the exported maps after the split
};

SplitOutput Split(const slapgen::Slap& slap, int outW, int outH)
{
    SplitOutput out;
    out.buffers.assign(KOVRAL_MAX_RECORDS, std::vector<unsigned char>(outW * outH));
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        out.info[i].pFpImg = out.buffers[i].data();
    std::vector<unsigned char> image = slap.pixels;
    out.rc = KOVRAL_DoSplit(image.data(), slap.width, slap.height, nullptr, outW, outH, &out.count, out.info);
    const size_t cells = BlockMapCells(slap.width, slap.height);
    out.drct.assign(g_pDrct, g_pDrct + cells);
    out.hole.assign(g_pHoleDrct, g_pHoleDrct + cells);
    return out;
}

// FNV-1a over the result code, the count, every filled record and its buffer.
uint64_t SplitHash(const SplitOutput& s)
{
    Fnv f;
    f.Mix(s.rc);
    f.Mix(s.count);
    for (int i = 0; i < s.count; i++) {
        for (int v : {s.info[i].x, s.info[i].y, s.info[i].angle, static_cast<int>(s.info[i].quality)})
            f.Mix(v);
        for (unsigned char p : s.buffers[i])
            f.Mix(p);
    }
    return f.h;
}

// Digests of each stage's output, in the order the split makes them: the
// direction map, the locator's labelled map, each finger image, the records.
std::vector<std::pair<std::string, uint64_t>> StageDigests(const SplitOutput& s)
{
    std::vector<std::pair<std::string, uint64_t>> stages;
    Fnv drct, hole, records;
    drct.Bytes(s.drct.data(), s.drct.size());
    hole.Bytes(s.hole.data(), s.hole.size());
    stages.emplace_back("direction map", drct.h);
    stages.emplace_back("locator map", hole.h);
    for (int i = 0; i < s.count; i++) {
        Fnv finger;
        finger.Bytes(s.buffers[i].data(), s.buffers[i].size());
        stages.emplace_back("finger " + std::to_string(i) + " image", finger.h);
    }
    records.Mix(s.rc);
    records.Mix(s.count);
    for (int i = 0; i < s.count; i++)
        for (int v : {s.info[i].x, s.info[i].y, s.info[i].angle, static_cast<int>(s.info[i].quality)})
            records.Mix(v);
    stages.emplace_back("records", records.h);
    return stages;
}

// The split once more, located by the library and cut and finished by the
// straightforward reference stages; returns where its fingers first differ
// from the library's, or an empty string.
std::string FirstDifferenceFromReference(const slapgen::Slap& slap, int outW, int outH, const SplitOutput& fast)
{
    std::vector<unsigned char> img = slap.pixels;
    const int w = slap.width, h16 = slap.height & ~((1 << BLOCK_SHIFT) - 1);
    std::vector<signed char> drct(BlockMapCells(w, slap.height)), hole(drct.size());
    WorkMemory memory(WorkMemory::ONE_OFF);
    MapDirections(img.data(), w, h16, drct.data(), BLOCK_TEST_PARAM, memory);
    tagRECT boxes[KOVRAL_MAX_RECORDS] = {};
    int angles[KOVRAL_MAX_RECORDS] = {};
    signed char labels[KOVRAL_MAX_RECORDS] = {};
    const int count = std::min(LocateFingers(drct.data(), w >> BLOCK_SHIFT, slap.height >> BLOCK_SHIFT, hole.data(),
                                             boxes, angles, labels, memory),
                               KOVRAL_MAX_FINGERS);
    WidenFingerBoxes(boxes, count, w, h16);
    std::vector<std::vector<unsigned char>> buffers(KOVRAL_MAX_RECORDS, std::vector<unsigned char>(outW * outH));
    unsigned char* outBufs[KOVRAL_MAX_RECORDS];
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS] = {};
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        info[i].pFpImg = outBufs[i] = buffers[i].data();
    tagPOINT centres[KOVRAL_MAX_RECORDS] = {};
    const unsigned char bkGray = static_cast<unsigned char>(FastBkGray(img.data(), w, h16));
    reference::GetRoatedFp(img.data(), w, h16, hole.data(), count, boxes, angles, labels, bkGray, outBufs, outW, outH,
                           centres);
    std::vector<unsigned char> scratch(outW * outH);
    reference::FinishFingers(info, count, outW, outH, centres, angles, scratch.data());

    char line[200];
    if (count != fast.count) {
        std::snprintf(line, sizeof line, "located %d fingers, the reference stages %d", fast.count, count);
        return line;
    }
    for (int i = 0; i < count; i++) {
        const auto diff = std::mismatch(buffers[i].begin(), buffers[i].end(), fast.buffers[i].begin());
        if (diff.first != buffers[i].end()) {
            const long at = diff.first - buffers[i].begin();
            std::snprintf(
                line, sizeof line,
                "finger %d differs from the reference cut at byte %ld (row %ld, column %ld): %d, reference %d", i, at,
                at / outW, at % outW, *diff.second, *diff.first);
            return line;
        }
        if (centres[i].x != fast.info[i].x || centres[i].y != fast.info[i].y
            || info[i].quality != fast.info[i].quality) {
            std::snprintf(line, sizeof line, "finger %d record differs from the reference stages", i);
            return line;
        }
    }
    return {};
}

TEST(SplitGolden, FixedSlaps)
{
    slapgen::SlapSpec smudged = slapgen::FourFingerHand(1600, 1500, -12, false, 8);
    smudged.smudge = true;
    smudged.phalanges = true;
    slapgen::SlapSpec single;
    single.width = 640, single.height = 727, single.fingers = {{300, 360, 131, 210, 360}};
    // clang-format off
    const struct
    {
        const char* what;
        slapgen::SlapSpec plan;
        int outW, outH;
        uint64_t hash;
    } cases[] = {
        {"upright right hand", slapgen::FourFingerHand(1600, 1000, 0, true, 1), 320, 480,
         1456741446222444828ull},
        {"left hand leaning left", slapgen::FourFingerHand(1600, 1000, 22, false, 2), 320, 480,
         2044847757302207148ull},
        {"right hand leaning right, touching", slapgen::FourFingerHand(1400, 900, -27, true, 3, 0), 256, 400,
         13015694414895052263ull},
        {"smudge and phalanges", smudged, 400, 560,
         11008440394865912555ull},
        {"one finger at 131 degrees, odd height", single, 300, 400,
         7628491668639270217ull},
    };
    // StageDigests of each case above, in order: where a changed split starts.
    const std::vector<uint64_t> stageDigests[] = {
        // upright right hand
        {9034704907282944613ull,
         5035350196140691946ull,
         15205967804076578301ull,
         517092874766639733ull,
         13540318685308770252ull,
         5242526655495643874ull,
         16171119087873946766ull},
        // left hand leaning left
        {3221973690713093860ull,
         6134631543910491818ull,
         169070353130611571ull,
         6241321562290717305ull,
         15358295929794063063ull,
         15498014503482226701ull,
         7962554758497420988ull},
        // right hand leaning right, touching
        {9482237362063452261ull,
         3904114821197304044ull,
         4795032906749093591ull,
         17945117369846430165ull},
        // smudge and phalanges
        {14709042486710722468ull,
         14194161923462826496ull,
         13914811849559260659ull,
         122048569602777699ull,
         15070098357441563017ull,
         11994270821895463337ull,
         13443250295156267195ull},
        // one finger at 131 degrees, odd height
        {17647460933877109701ull,
         12782486612358736581ull,
         5705761865780279906ull,
         10086529947937843854ull},
    };
    // clang-format on
    KOVRAL_Init(1600, 1500);
    for (size_t k = 0; k < std::size(cases); k++) {
        const auto& c = cases[k];
        const slapgen::Slap slap = slapgen::Generate(c.plan);
        const SplitOutput out = Split(slap, c.outW, c.outH);
        const auto stages = StageDigests(out);
        const std::string detail = FirstDifferenceFromReference(slap, c.outW, c.outH, out);
        EXPECT_EQ(detail, "") << c.what;
        if (SplitHash(out) == c.hash)
            continue;
        std::string where = "no stage digest differs";
        for (size_t i = 0; i < stages.size(); i++) {
            if (i >= stageDigests[k].size() || stages[i].second != stageDigests[k][i]) {
                where = "first differing stage: " + stages[i].first;
                break;
            }
        }
        ADD_FAILURE() << c.what << ": the split's output changed; " << where << "; "
                      << (detail.empty() ? "the cut and the finishing agree with the reference stages" : detail);
    }
    KOVRAL_Uninit();
}

} // namespace
