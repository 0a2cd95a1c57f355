// Speed of the accurate locator beside a whole exact split of the same slap,
// on the slaps the split benchmarks use. An accurate split costs the accurate
// locator plus the exact split's extraction, cleaning and scoring.
//
//   build/bench/kovral_accurate_bench
#include <kovral.h>

#include <benchmark/benchmark.h>

#include <vector>

#include "accurate/accurate.h"
#include "slapgen.h"

namespace {

constexpr int OUT_W = 320;
constexpr int OUT_H = 480;

// Arguments of every benchmark: width, height, tilt of a right hand.
slapgen::Slap MakeSlap(const benchmark::State& state)
{
    return slapgen::Generate(slapgen::FourFingerHand(static_cast<int>(state.range(0)),
                                                     static_cast<int>(state.range(1)),
                                                     static_cast<int>(state.range(2)), true, 1));
}

void BM_ExactSplit(benchmark::State& state)
{
    slapgen::Slap slap = MakeSlap(state);
    std::vector<std::vector<unsigned char>> buffers(KOVRAL_MAX_RECORDS, std::vector<unsigned char>(OUT_W * OUT_H));
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        info[i].pFpImg = buffers[static_cast<std::size_t>(i)].data();
    KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    int count = 0;
    for (auto _ : state) {
        KOVRAL_DoSplit(slap.pixels.data(), slap.width, slap.height, nullptr, OUT_W, OUT_H, &count, info);
        benchmark::DoNotOptimize(count);
    }
    state.counters["fingers"] = count;
    KOVRAL_Uninit();
}

void BM_AccurateLocate(benchmark::State& state)
{
    const slapgen::Slap slap = MakeSlap(state);
    accurate::Result result;
    for (auto _ : state) {
        accurate::Locate(slap.pixels.data(), slap.width, slap.height, result);
        benchmark::DoNotOptimize(result.count);
    }
    state.counters["fingers"] = result.count;
}

// A whole split through the splitter API with either locator: the ratio of
// the two is what choosing the accurate locator costs.
void SplitWith(benchmark::State& state, int locator)
{
    const slapgen::Slap slap = MakeSlap(state);
    std::vector<std::vector<unsigned char>> buffers(KOVRAL_MAX_FINGERS, std::vector<unsigned char>(OUT_W * OUT_H));
    kovral_finger fingers[KOVRAL_MAX_FINGERS] = {};
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
        fingers[i].image = buffers[static_cast<std::size_t>(i)].data();
    kovral_splitter* splitter = kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    const kovral_split_options options{OUT_W, OUT_H, locator};
    int count = 0;
    for (auto _ : state) {
        kovral_split(splitter, slap.pixels.data(), slap.width, slap.height, &options, fingers, &count, nullptr);
        benchmark::DoNotOptimize(count);
    }
    kovral_splitter_free(splitter);
    state.counters["fingers"] = count;
}

void BM_SplitExact(benchmark::State& state)
{
    SplitWith(state, KOVRAL_LOCATOR_EXACT);
}

void BM_SplitAccurate(benchmark::State& state)
{
    SplitWith(state, KOVRAL_LOCATOR_ACCURATE);
}

#define SLAPS Args({1600, 1000, 0})->Args({1600, 1000, 20})->Args({1600, 1500, 0})->Args({800, 600, 0})
BENCHMARK(BM_ExactSplit)->SLAPS->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AccurateLocate)->SLAPS->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SplitExact)->SLAPS->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SplitAccurate)->SLAPS->Unit(benchmark::kMillisecond);

} // namespace
