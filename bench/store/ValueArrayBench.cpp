// Reading a column: the typed iterator (GetValues), the raw view
// (GetRawArray) and the boxed iterator (GetStoreValues), each against a plain
// loop over a std::vector of the same 10 million elements. Slicing and
// re-ordering are measured at two column lengths to show that their cost
// does not depend on the length.

#include <benchmark/benchmark.h>

#include <bit>
#include <numeric>
#include <vector>

#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

constexpr unsigned int kLength = 10'000'000;

std::shared_ptr<StoreValue> const& Int32Column() {
    static auto const column = [] {
        std::vector<unsigned int> values(kLength);
        for (unsigned int i = 0; i < kLength; ++i)
            values[i] = i % 1000;
        return factory::MakeArray<unsigned int>(IntType::Get32(), std::move(values));
    }();
    return column;
}

std::shared_ptr<StoreValue> const& Real64Column() {
    static auto const column = [] {
        std::vector<unsigned long long> values(kLength);
        for (unsigned int i = 0; i < kLength; ++i)
            values[i] = std::bit_cast<unsigned long long>(i * 0.5);
        return factory::MakeArray<unsigned long long>(RealType::Get64(), std::move(values));
    }();
    return column;
}

void BM_Int32PlainVector(benchmark::State& state) {
    std::vector<int> values(kLength);
    for (unsigned int i = 0; i < kLength; ++i)
        values[i] = static_cast<int>(i % 1000);
    for (auto _ : state) {
        long long sum = 0;
        for (int v : values)
            sum += v;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK(BM_Int32PlainVector);

void BM_Int32TypedIterator(benchmark::State& state) {
    ArrayAdapter<int> adapter(Int32Column());
    for (auto _ : state) {
        long long sum = 0;
        for (int v : adapter.GetValues())
            sum += v;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK(BM_Int32TypedIterator);

void BM_Int32RawArray(benchmark::State& state) {
    auto const& array = Int32Column()->AsTypedArray<unsigned int>();
    for (auto _ : state) {
        long long sum = 0;
        for (unsigned int v : array.GetRawArray())
            sum += static_cast<int>(v);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK(BM_Int32RawArray);

void BM_Int32BoxedIterator(benchmark::State& state) {
    auto const& iterable = Int32Column()->AsUniformCollection().GetStoreValues();
    for (auto _ : state) {
        long long sum = 0;
        for (auto it = iterable.begin()->Clone(); it->NotEqual(iterable.end()); it->MoveNext()) {
            sum += it->GetCurrent()->AsInt32();
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK(BM_Int32BoxedIterator)->Iterations(1);

void BM_Real64PlainVector(benchmark::State& state) {
    std::vector<double> values(kLength);
    for (unsigned int i = 0; i < kLength; ++i)
        values[i] = i * 0.5;
    for (auto _ : state) {
        double sum = 0;
        for (double v : values)
            sum += v;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK(BM_Real64PlainVector);

void BM_Real64TypedIterator(benchmark::State& state) {
    ArrayAdapter<double> adapter(Real64Column());
    for (auto _ : state) {
        double sum = 0;
        for (double v : adapter.GetValues())
            sum += v;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK(BM_Real64TypedIterator);

void BM_Real64RawArray(benchmark::State& state) {
    auto const& array = Real64Column()->AsTypedArray<unsigned long long>();
    for (auto _ : state) {
        double sum = 0;
        for (unsigned long long v : array.GetRawArray())
            sum += std::bit_cast<double>(v);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK(BM_Real64RawArray);

std::shared_ptr<StoreValue> ColumnOf(unsigned int length) {
    return factory::MakeArray<unsigned int>(IntType::Get32(), std::vector<unsigned int>(length, 7));
}

// Arg: the column length. Both the slice and the re-ordering touch a fixed
// number of elements, so the times should not grow with it.
void BM_SliceContiguous(benchmark::State& state) {
    auto column = ColumnOf(static_cast<unsigned int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(column->AsArray().GetRange(100, 1000, 1));
}
BENCHMARK(BM_SliceContiguous)->Arg(10'000)->Arg(10'000'000);

void BM_ReorderHundred(benchmark::State& state) {
    auto column = ColumnOf(static_cast<unsigned int>(state.range(0)));
    std::vector<qelsize_t> order(100);
    std::iota(order.rbegin(), order.rend(), 0u);
    for (auto _ : state) {
        benchmark::DoNotOptimize(column->AsArray().CopyAndApplyIndices(
            std::vector<qelsize_t>(order), SortSpecOrder::DESC));
    }
}
BENCHMARK(BM_ReorderHundred)->Arg(10'000)->Arg(10'000'000);

}  // namespace
