// Constant and composite arrays against the flat column they stand for:
// summing 10 million elements with the typed iterator, against a loop over a
// std::vector holding the same elements; reading by position as the number
// of runs grows, against a plain array and against a walk from the first run
// (what random access would cost without the run ends); and materialising a
// composite array read through indices, against the same gather on a plain
// array. Read the figures as ratios within one run of the program.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;
using Run = ValueCompositeArrayRange<unsigned int>;

constexpr unsigned int kLength = 10'000'000;

// `runs` runs of equal length over kLength elements, run r holding r % 1000.
std::vector<Run> EvenRuns(unsigned int runs) {
    std::vector<Run> out;
    for (unsigned int r = 0; r < runs; ++r) {
        unsigned int const begin = static_cast<unsigned int>(1ull * kLength * r / runs);
        unsigned int const end = static_cast<unsigned int>(1ull * kLength * (r + 1) / runs);
        out.push_back({r % 1000, SpecialKind::Normal, end - begin});
    }
    return out;
}

std::vector<int> Expand(std::vector<Run> const& runs) {
    std::vector<int> flat;
    flat.reserve(kLength);
    for (Run const& run : runs)
        flat.insert(flat.end(), run.count, static_cast<int>(run.value));
    return flat;
}

template <class Column>
void SumTyped(benchmark::State& state, Column const& column) {
    ArrayAdapter<int> adapter(column);
    for (auto _ : state) {
        long long sum = 0;
        for (int v : adapter.GetValues())
            sum += v;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}

void SumVector(benchmark::State& state, std::vector<int> const& values) {
    for (auto _ : state) {
        long long sum = 0;
        for (int v : values)
            sum += v;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}

// --- Summing a column

void BM_ConstantTypedIterator(benchmark::State& state) {
    SumTyped(state, factory::MakeConstantArray<unsigned int>(IntType::Get32(), 7u, kLength));
}
BENCHMARK(BM_ConstantTypedIterator);

void BM_ConstantMaterializedVector(benchmark::State& state) {
    SumVector(state, std::vector<int>(kLength, 7));
}
BENCHMARK(BM_ConstantMaterializedVector);

void BM_CompositeTypedIterator(benchmark::State& state) {
    SumTyped(state, factory::MakeCompositeArray<unsigned int>(IntType::Get32(), EvenRuns(1000)));
}
BENCHMARK(BM_CompositeTypedIterator);

void BM_CompositeMaterializedVector(benchmark::State& state) {
    SumVector(state, Expand(EvenRuns(1000)));
}
BENCHMARK(BM_CompositeMaterializedVector);

// --- Reading by position. Arg: the number of runs over kLength elements.

std::vector<unsigned int> RandomPositions() {
    std::mt19937 random(42);
    std::vector<unsigned int> positions(4096);
    for (unsigned int& p : positions)
        p = random() % kLength;
    return positions;
}

template <class Read>
void ReadAtRandom(benchmark::State& state, Read read) {
    std::vector<unsigned int> const positions = RandomPositions();
    for (auto _ : state) {
        unsigned long long sum = 0;
        for (unsigned int p : positions)
            sum += read(p);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * positions.size());
}

void BM_CompositeAt(benchmark::State& state) {
    auto const column = factory::MakeCompositeArray<unsigned int>(
        IntType::Get32(), EvenRuns(static_cast<unsigned int>(state.range(0))));
    auto const& array = column->AsTypedArray<unsigned int>();
    ReadAtRandom(state, [&](unsigned int p) { return array.At(p); });
}
BENCHMARK(BM_CompositeAt)->Arg(10)->Arg(1000)->Arg(100'000);

// The same positions found by walking the runs from the first.
void BM_CompositeWalkFromFirstRun(benchmark::State& state) {
    auto const column = factory::MakeCompositeArray<unsigned int>(
        IntType::Get32(), EvenRuns(static_cast<unsigned int>(state.range(0))));
    ArrayView<Run const> const runs = column->AsTypedArray<unsigned int>().GetRawRanges();
    ReadAtRandom(state, [&](unsigned int p) {
        std::size_t r = 0;
        while (p >= runs[r].count)
            p -= runs[r++].count;
        return runs[r].value;
    });
}
BENCHMARK(BM_CompositeWalkFromFirstRun)->Arg(10)->Arg(1000)->Arg(100'000);

void BM_PlainAt(benchmark::State& state) {
    auto const column =
        factory::MakeArray<unsigned int>(IntType::Get32(), std::vector<unsigned int>(kLength, 7u));
    auto const& array = column->AsTypedArray<unsigned int>();
    ReadAtRandom(state, [&](unsigned int p) { return array.At(p); });
}
BENCHMARK(BM_PlainAt);

// --- Materialising through indices: 1 million positions of a 10-million
// column of 1000 runs. Arg: 0 for positions at random, 1 for the same
// positions in ascending order (a sorted filter's).

std::vector<qelsize_t> Indices(bool ascending) {
    std::mt19937 random(7);
    std::vector<qelsize_t> indices(1'000'000);
    for (qelsize_t& i : indices)
        i = random() % kLength;
    if (ascending)
        std::sort(indices.begin(), indices.end());
    return indices;
}

void BM_CompositeMaterializeWithIndices(benchmark::State& state) {
    auto const column = factory::MakeCompositeArray<unsigned int>(
        IntType::Get32(), EvenRuns(1000),
        std::make_unique<std::vector<qelsize_t>>(Indices(state.range(0) != 0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(column->AsArray().Materialize());
    state.SetItemsProcessed(state.iterations() * column->GetCount());
}
BENCHMARK(BM_CompositeMaterializeWithIndices)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_PlainMaterializeWithIndices(benchmark::State& state) {
    std::vector<int> const flat = Expand(EvenRuns(1000));
    auto const column = factory::MakeArray<unsigned int>(
        IntType::Get32(), std::make_unique<std::vector<unsigned int>>(flat.begin(), flat.end()),
        nullptr, std::make_unique<std::vector<qelsize_t>>(Indices(state.range(0) != 0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(column->AsArray().Materialize());
    state.SetItemsProcessed(state.iterations() * column->GetCount());
}
BENCHMARK(BM_PlainMaterializeWithIndices)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
