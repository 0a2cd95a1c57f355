// Speed of a whole split and of its stages on generated slaps.
//
//   build/bench/kovral_bench --benchmark_out=bench.json --benchmark_out_format=json
//
// writes every figure as JSON; bench/compare.py times an earlier commit
// against the current tree with these same benchmarks.
#include <kovral.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

#include "slapgen.h"
#include "stages.h"

namespace {

// The block grid and the split's own constants, as the split uses them.
constexpr int BLOCK = 16;
constexpr int BLOCK_TEST_PARAM = 2;
constexpr int MAX_FINGERS = 4;
constexpr int BOX_MARGIN = 16;
constexpr int BOX_INSET = 2;

// The slaps of the whole-split benchmarks, by number.
enum SlapId
{
    TILTED = 0,
    UPRIGHT,
    TWO_FINGERS,
    SMALLEST,
    SLAP_COUNT
};

struct SlapCase
{
    int outW;
    int outH;
    slapgen::SlapSpec plan;
};

SlapCase MakeCase(int id)
{
    switch (id) {
    case TILTED: // four fingers, the hand tilted by 20 degrees
        return {320, 480, slapgen::FourFingerHand(1600, 1500, 20, true, 1)};
    case UPRIGHT: // four upright fingers
        return {320, 480, slapgen::FourFingerHand(1600, 1000, 0, true, 1)};
    case TWO_FINGERS: {
        slapgen::SlapSpec plan;
        plan.width = 800;
        plan.height = 750;
        plan.fingers = {{270, 360, 96, 210, 380, 9}, {530, 330, 86, 215, 400, 10}};
        return {320, 480, plan};
    }
    default: { // the smallest image, one finger, buffers as large as the image
        slapgen::SlapSpec plan;
        plan.width = 256;
        plan.height = 360;
        plan.fingers = {{128, 180, 92, 190, 320, 9}};
        return {256, 360, plan};
    }
    }
}

// One generated slap, its finger buffers and records; generated once.
struct Fixture
{
    int outW;
    int outH;
    slapgen::Slap slap;
    std::vector<std::vector<unsigned char>> buffers;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];

    explicit Fixture(int id)
    {
        SlapCase c = MakeCase(id);
        outW = c.outW;
        outH = c.outH;
        slap = slapgen::Generate(c.plan);
        for (auto& record : info) {
            buffers.emplace_back(static_cast<std::size_t>(outW) * outH);
            record.pFpImg = buffers.back().data();
        }
        KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    }

    int Split()
    {
        int count = 0;
        KOVRAL_DoSplit(slap.pixels.data(), slap.width, slap.height, nullptr, outW, outH, &count, info);
        return count;
    }
};

Fixture& GetFixture(int id)
{
    static std::map<int, std::unique_ptr<Fixture>> fixtures;
    auto& f = fixtures[id];
    if (!f)
        f = std::make_unique<Fixture>(id);
    return *f;
}

// The state between the stages of one split of the tilted slap, computed once
// with the same calls the split makes.
struct Stages
{
    Fixture& f;
    int w, h16, bw, bh;
    std::vector<signed char> drct, work;
    tagRECT boxes[KOVRAL_MAX_RECORDS] = {};
    int angles[KOVRAL_MAX_RECORDS] = {};
    signed char labels[KOVRAL_MAX_RECORDS] = {};
    int n = 0;
    unsigned char bkGray = 0;
    unsigned char* outBufs[KOVRAL_MAX_RECORDS] = {};
    tagPOINT centres[KOVRAL_MAX_RECORDS] = {};
    std::vector<std::vector<unsigned char>> cut; // the fingers as GetRoatedFp leaves them

    Stages() : f(GetFixture(TILTED))
    {
        w = f.slap.width;
        h16 = f.slap.height / BLOCK * BLOCK;
        bw = w / BLOCK;
        bh = f.slap.height / BLOCK;
        drct.assign(static_cast<std::size_t>(bw + 4) * (bh + 4), 0);
        work.assign(drct.size(), 0);
        Directions(f.slap.pixels.data(), w, h16, drct.data(), BLOCK_TEST_PARAM);
        n = std::min(FindFpPos(drct.data(), bw, bh, work.data(), boxes, angles, labels), MAX_FINGERS);
        for (int i = 0; i < n; i++) {
            boxes[i].left = std::max(boxes[i].left - BOX_MARGIN, BOX_INSET);
            boxes[i].top = std::max(boxes[i].top - BOX_MARGIN, BOX_INSET);
            boxes[i].right = std::min(boxes[i].right + BOX_MARGIN, w - 1 - BOX_INSET);
            boxes[i].bottom = std::min(boxes[i].bottom + BOX_MARGIN, h16 - 1 - BOX_INSET);
        }
        bkGray = static_cast<unsigned char>(FastBkGray(f.slap.pixels.data(), w, h16));
        for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
            outBufs[i] = f.buffers[i].data();
        GetRoatedFp(f.slap.pixels.data(), w, h16, work.data(), n, boxes, angles, labels, bkGray, outBufs, f.outW,
                    f.outH, centres);
        for (int i = 0; i < n; i++)
            cut.push_back(f.buffers[i]);
    }
};

Stages& GetStages()
{
    static Stages stages;
    return stages;
}

// Argument: the slap (SlapId).
void BM_Split(benchmark::State& state)
{
    Fixture& f = GetFixture(static_cast<int>(state.range(0)));
    int count = 0;
    for (auto _ : state) {
        count = f.Split();
        benchmark::DoNotOptimize(count);
    }
    state.counters["fingers"] = count;
    state.counters["pixels"] = static_cast<double>(f.slap.width) * f.slap.height;
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Split)
    ->ArgName("slap")
    ->Arg(TILTED)
    ->Arg(UPRIGHT)
    ->Arg(TWO_FINGERS)
    ->Arg(SMALLEST)
    ->Unit(benchmark::kMillisecond);

// The stages of one split of the tilted slap, each over everything the split
// hands it (all four fingers where it works per finger).
void BM_Directions(benchmark::State& state)
{
    Stages& s = GetStages();
    std::vector<signed char> map(s.drct.size());
    for (auto _ : state) {
        Directions(s.f.slap.pixels.data(), s.w, s.h16, map.data(), BLOCK_TEST_PARAM);
        benchmark::DoNotOptimize(map.data());
    }
}
BENCHMARK(BM_Directions)->Unit(benchmark::kMicrosecond);

// The locator as a whole; it measures every region with GetFpPos.
void BM_FindFpPos(benchmark::State& state)
{
    Stages& s = GetStages();
    std::vector<signed char> map(s.drct.size()), work(s.drct.size());
    tagRECT boxes[KOVRAL_MAX_RECORDS];
    int angles[KOVRAL_MAX_RECORDS];
    signed char labels[KOVRAL_MAX_RECORDS];
    for (auto _ : state) {
        state.PauseTiming();
        map = s.drct;
        state.ResumeTiming();
        benchmark::DoNotOptimize(FindFpPos(map.data(), s.bw, s.bh, work.data(), boxes, angles, labels));
    }
}
BENCHMARK(BM_FindFpPos)->Unit(benchmark::kMicrosecond);

// Region measurement with the angle search, for the four fingers' regions.
void BM_GetFpPos(benchmark::State& state)
{
    Stages& s = GetStages();
    for (auto _ : state) {
        for (int i = 0; i < s.n; i++) {
            tagRECT box{};
            benchmark::DoNotOptimize(GetFpPos(s.work.data(), s.bw, s.bh, s.labels[i], &box, true));
        }
    }
}
BENCHMARK(BM_GetFpPos)->Unit(benchmark::kMicrosecond);

// The upright cut of the four fingers.
void BM_GetRoatedFp(benchmark::State& state)
{
    Stages& s = GetStages();
    tagPOINT centres[KOVRAL_MAX_RECORDS];
    for (auto _ : state) {
        GetRoatedFp(s.f.slap.pixels.data(), s.w, s.h16, s.work.data(), s.n, s.boxes, s.angles, s.labels, s.bkGray,
                    s.outBufs, s.f.outW, s.f.outH, centres);
        benchmark::DoNotOptimize(centres);
    }
}
BENCHMARK(BM_GetRoatedFp)->Unit(benchmark::kMicrosecond);

// The finger area mask of the four cut fingers.
void BM_FindTheFpGrad(benchmark::State& state)
{
    Stages& s = GetStages();
    std::vector<unsigned char> out(s.cut[0].size());
    for (auto _ : state) {
        for (const auto& finger : s.cut) {
            FindTheFpGrad(finger.data(), s.f.outW, s.f.outH, out.data());
            benchmark::DoNotOptimize(out.data());
        }
    }
}
BENCHMARK(BM_FindTheFpGrad)->Unit(benchmark::kMicrosecond);

// The quality score of the four cut fingers.
void BM_GetQuality(benchmark::State& state)
{
    Stages& s = GetStages();
    for (auto _ : state)
        for (const auto& finger : s.cut)
            benchmark::DoNotOptimize(GetQuality(finger.data(), s.f.outW, s.f.outH));
}
BENCHMARK(BM_GetQuality)->Unit(benchmark::kMicrosecond);

} // namespace
