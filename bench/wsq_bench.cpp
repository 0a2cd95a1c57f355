// Speed of the WSQ decoder on the NIST slaps, one thread.
// Run: build/bench/kovral_wsq_bench [--benchmark_filter=...]
#include "wsq/wsq.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Slap
{
    const char* name;
    const char* file;
    size_t offset, bytes; // the WSQ stream inside the transaction file
};

const Slap kSlaps[] = {
    {"valid1.8_right4_1600x976", "valid1.8.an2", 540, 60152},
    {"valid1.8_thumbs_1600x800", "valid1.8.an2", 121735, 61321},
    {"workshop_left4_1608x1000", "nist-type-4-14-flats.eft", 306, 104259},
};

void BM_DecodeWsq(benchmark::State& state, const Slap& slap)
{
    std::ifstream in(std::string(KOVRAL_NIST_DATA) + "/" + slap.file, std::ios::binary);
    const std::vector<uint8_t> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (file.size() < slap.offset + slap.bytes) {
        state.SkipWithError("test data missing");
        return;
    }
    kovral_io::WsqImage image;
    std::string error;
    for (auto _ : state) {
        if (!kovral_io::DecodeWsq(file.data() + slap.offset, slap.bytes, image, error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        benchmark::DoNotOptimize(image.pixels.data());
    }
    state.counters["Mpixel/s"] = benchmark::Counter(double(image.width) * image.height * state.iterations() / 1e6,
                                                    benchmark::Counter::kIsRate);
}

BENCHMARK_CAPTURE(BM_DecodeWsq, valid_right4, kSlaps[0])->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_DecodeWsq, valid_thumbs, kSlaps[1])->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_DecodeWsq, workshop_left4, kSlaps[2])->Unit(benchmark::kMillisecond);

} // namespace
