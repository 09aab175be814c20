// Throughput of qel::core::Hash (lookup2), which every interned text, string
// key and binary record goes through. Beside it, on buffers of the same sizes:
// memcpy, the ceiling of touching the bytes at all, and a byte-sum loop, the
// cheapest computation that reads every byte.

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "qel/core/utility/Hash.h"

namespace {

// A short key, a typical record and a large buffer.
void Sizes(benchmark::internal::Benchmark* b) {
    b->Arg(16)->Arg(256)->Arg(64 << 10);
}

std::vector<unsigned char> Buffer(std::size_t size) {
    std::vector<unsigned char> data(size);
    for (std::size_t i = 0; i < size; ++i)
        data[i] = static_cast<unsigned char>(i * 131 + 7);
    return data;
}

void SetThroughput(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(size));
}

void BM_Hash(benchmark::State& state) {
    auto const size = static_cast<std::size_t>(state.range(0));
    auto const data = Buffer(size);
    unsigned char const* p = data.data();
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        benchmark::DoNotOptimize(qel::core::Hash(p, size, 0xdeadbeef));
    }
    SetThroughput(state, size);
}
BENCHMARK(BM_Hash)->Apply(Sizes);

void BM_Baseline_Memcpy(benchmark::State& state) {
    auto const size = static_cast<std::size_t>(state.range(0));
    auto const data = Buffer(size);
    std::vector<unsigned char> copy(size);
    for (auto _ : state) {
        std::memcpy(copy.data(), data.data(), size);
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    SetThroughput(state, size);
}
BENCHMARK(BM_Baseline_Memcpy)->Apply(Sizes);

void BM_Baseline_ByteSum(benchmark::State& state) {
    auto const size = static_cast<std::size_t>(state.range(0));
    auto const data = Buffer(size);
    unsigned char const* p = data.data();
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        unsigned int sum = 0;
        for (std::size_t i = 0; i < size; ++i)
            sum += p[i];
        benchmark::DoNotOptimize(sum);
    }
    SetThroughput(state, size);
}
BENCHMARK(BM_Baseline_ByteSum)->Apply(Sizes);

}  // namespace
