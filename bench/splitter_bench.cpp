// Throughput of splits on splitters, one per thread: with two threads on two
// cores the splits per second should nearly double.
// Run: build/bench/kovral_bench --benchmark_filter=SplitterThroughput
#include <kovral.h>

#include <benchmark/benchmark.h>

#include <vector>

#include "slapgen.h"

namespace {

constexpr int OUT_W = 320;
constexpr int OUT_H = 480;

const slapgen::Slap& TiltedHand()
{
    static const slapgen::Slap slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, 12, true, 1));
    return slap;
}

// Every thread splits the same 1600 x 1000 slap on a splitter of its own.
void BM_SplitterThroughput(benchmark::State& state)
{
    const slapgen::Slap& slap = TiltedHand();
    kovral_splitter* s = kovral_splitter_new(slap.width, slap.height);
    std::vector<std::vector<uint8_t>> buffers(KOVRAL_MAX_FINGERS, std::vector<uint8_t>(OUT_W * OUT_H));
    kovral_finger fingers[KOVRAL_MAX_FINGERS] = {};
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
        fingers[i].image = buffers[i].data();
    const kovral_split_options options{OUT_W, OUT_H, KOVRAL_LOCATOR_EXACT};
    int32_t count = 0;
    for (auto _ : state) {
        if (kovral_split(s, slap.pixels.data(), slap.width, slap.height, &options, fingers, &count, nullptr)
            != KOVRAL_OK)
            state.SkipWithError("split failed");
        benchmark::DoNotOptimize(fingers[0].x);
    }
    state.SetItemsProcessed(state.iterations());
    kovral_splitter_free(s);
}
BENCHMARK(BM_SplitterThroughput)->Threads(1)->Threads(2)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
