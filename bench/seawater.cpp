// Seawater formulas per call over ten million realistic inputs.
//
// Inputs: sample i of stream k is splitmix64(i + k N) mapped to [0, 1) and
// scaled (pressure 0-6000 dbar, temperature -2-30 deg C, salinity 33-37;
// carbon 1900-2300, alkalinity 2200-2450 umol/kg). bench/gsw_peer.py draws
// the same samples for the gsw (TEOS-10) peer. Each benchmark iteration
// handles the next chunk of inputs; "per_call" is the time per sample.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "kestrel/gas.h"
#include "kestrel/seawater.h"
#include "ocean/seawater_impl.h"

namespace {

constexpr size_t kSamples = 10'000'000;
constexpr size_t kChunk = 10'000;

uint64_t splitmix64(uint64_t x) {
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

std::vector<float> stream(uint64_t k, float lo, float hi) {
    std::vector<float> v(kSamples);
    for (size_t i = 0; i < kSamples; ++i) {
        const double u = static_cast<double>(splitmix64(i + k * kSamples) >> 11) * 0x1p-53;
        v[i] = static_cast<float>(lo + (hi - lo) * u);
    }
    return v;
}

struct Inputs {
    std::vector<float> p = stream(0, 0.0f, 6000.0f);
    std::vector<float> t = stream(1, -2.0f, 30.0f);
    std::vector<float> s = stream(2, 33.0f, 37.0f);
    std::vector<float> tc = stream(3, 1900.0f, 2300.0f);
    std::vector<float> ta = stream(4, 2200.0f, 2450.0f);
};

const Inputs &inputs() {
    static const Inputs in;
    return in;
}

template <typename F>
void runChunks(benchmark::State &state, F &&call) {
    const Inputs &in = inputs();
    size_t start = 0;
    double sum = 0.0;
    for (auto _ : state) {
        for (size_t i = start; i < start + kChunk; ++i) sum += call(in, i);
        start += kChunk;
        if (start >= kSamples) start = 0;
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kChunk));
    state.counters["per_call"] = benchmark::Counter(static_cast<double>(state.iterations() * kChunk),
                                                    benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_EOS80(benchmark::State &state) {
    runChunks(state, [](const Inputs &in, size_t i) { return EOS80(in.p[i], in.t[i], in.s[i]); });
}

// The same formula inlined into the loop: the floor for the exported call.
void BM_EOS80_inlined(benchmark::State &state) {
    runChunks(state, [](const Inputs &in, size_t i) { return kestrel::specificVolume(in.p[i], in.t[i], in.s[i]); });
}

void BM_theta(benchmark::State &state) {
    runChunks(state, [](const Inputs &in, size_t i) { return theta(in.p[i], in.t[i], in.s[i], 0.0f); });
}

void BM_SoundVel(benchmark::State &state) {
    runChunks(state, [](const Inputs &in, size_t i) { return SoundVel(in.p[i], in.t[i], in.s[i]); });
}

void BM_CComp1(benchmark::State &state) {
    runChunks(state, [](const Inputs &in, size_t i) {
        float v[5];
        CComp1(1, in.t[i] + 2.0f, in.s[i], in.tc[i], in.ta[i], -9.0f, &v[0], &v[1], &v[2], &v[3], &v[4]);
        return static_cast<double>(v[0] + v[1]);
    });
}

}  // namespace

// Enough iterations to sweep all ten million samples at least once.
BENCHMARK(BM_EOS80)->Iterations(3 * kSamples / kChunk);
BENCHMARK(BM_EOS80_inlined)->Iterations(3 * kSamples / kChunk);
BENCHMARK(BM_theta)->Iterations(kSamples / kChunk);
BENCHMARK(BM_SoundVel)->Iterations(kSamples / kChunk);
BENCHMARK(BM_CComp1)->Iterations(kSamples / kChunk);

BENCHMARK_MAIN();
