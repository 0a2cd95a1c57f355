// Speed of a whole split and of its stages on generated slaps.
// Run: build/bench/kovral_bench [--benchmark_filter=...]
#include <kovral.h>

#include <benchmark/benchmark.h>

#include <vector>

#include "direction/direction.h"
#include "gray/gray.h"
#include "locate/locate.h"
#include "slapgen.h"

namespace {

constexpr int OUT_W = 320;
constexpr int OUT_H = 480;

struct Fixture
{
    slapgen::Slap slap;
    std::vector<std::vector<unsigned char>> buffers;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];

    Fixture(int w, int h, int tilt)
        : slap(slapgen::Generate(slapgen::FourFingerHand(w, h, tilt, true, 1)))
    {
        for (auto& record : info) {
            buffers.emplace_back(OUT_W * OUT_H);
            record.pFpImg = buffers.back().data();
        }
        KOVRAL_Init(1600, 1500);
    }
};

// Arguments: width, height, tilt of the hand.
void BM_Split(benchmark::State& state)
{
    Fixture f(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), static_cast<int>(state.range(2)));
    int count = 0;
    for (auto _ : state) {
        KOVRAL_DoSplit(f.slap.pixels.data(), f.slap.width, f.slap.height, nullptr, OUT_W, OUT_H, &count, f.info);
        benchmark::DoNotOptimize(count);
    }
    state.counters["fingers"] = count;
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Split)->Args({1600, 1000, 0})->Args({1600, 1000, 20})->Args({1600, 1500, 0})->Args({800, 600, 0})
    ->Unit(benchmark::kMillisecond);

void BM_Directions(benchmark::State& state)
{
    Fixture f(1600, 1000, 0);
    std::vector<signed char> map(100 * 63);
    for (auto _ : state)
        Directions(f.slap.pixels.data(), f.slap.width, 992, map.data(), 2);
    benchmark::DoNotOptimize(map.data());
}
BENCHMARK(BM_Directions)->Unit(benchmark::kMicrosecond);

void BM_FindFpPos(benchmark::State& state)
{
    Fixture f(1600, 1000, static_cast<int>(state.range(0)));
    std::vector<signed char> map(100 * 62), scratch(map.size()), work(map.size());
    Directions(f.slap.pixels.data(), f.slap.width, 992, map.data(), 2);
    tagRECT boxes[10];
    int angles[10];
    signed char labels[10];
    for (auto _ : state) {
        scratch = map;
        benchmark::DoNotOptimize(FindFpPos(scratch.data(), 100, 62, work.data(), boxes, angles, labels));
    }
}
BENCHMARK(BM_FindFpPos)->Arg(0)->Arg(20)->Unit(benchmark::kMicrosecond);

void BM_FindTheFpGrad(benchmark::State& state)
{
    Fixture f(1600, 1000, 0);
    int count = 0;
    KOVRAL_DoSplit(f.slap.pixels.data(), f.slap.width, f.slap.height, nullptr, OUT_W, OUT_H, &count, f.info);
    std::vector<unsigned char> out(OUT_W * OUT_H);
    for (auto _ : state)
        FindTheFpGrad(f.buffers[0].data(), OUT_W, OUT_H, out.data());
    benchmark::DoNotOptimize(out.data());
}
BENCHMARK(BM_FindTheFpGrad)->Unit(benchmark::kMicrosecond);

} // namespace
