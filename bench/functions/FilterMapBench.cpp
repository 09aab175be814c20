// The built-in filter and map functions as the executing layer runs them:
// the factory resolved from a filled registry (creators given their inputs),
// one functor made before the timed loop, and the raw entry point called on
// buffers of 10 million elements. Each runs beside a hand-written loop over
// std::vector doing the same work, and the pairs are read as ratios. Each
// functor's output is compared with the hand loop's after timing, so that a
// fast wrong answer cannot pass for a figure.

#include <benchmark/benchmark.h>

#include <boost/unordered_set.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

constexpr unsigned int kLength = 10'000'000;
constexpr int kSetSize = 1000;

using CreatorValues = std::vector<std::shared_ptr<StoreValue>>;

FunctionRegistry const& Registry() {
    static std::unique_ptr<FunctionRegistry> const registry = [] {
        auto made = FunctionRegistry::Make();
        RegisterAllBuiltinFunctions(*made);
        return made;
    }();
    return *registry;
}

RegisteredFunctions const& Unary(char16_t const* name, Type const* input) {
    return Registry().GetUnaryFuncs().GetFunctions(FunctionKey(RInternString(name), input));
}

template <class I, class O>
std::unique_ptr<IUnaryFunctor<I, O>> MakePlain(char16_t const* name, Type const* input) {
    using Factory = std::unique_ptr<IUnaryFunctor<I, O>> (*)();
    return reinterpret_cast<Factory>(Unary(name, input).GetFunction())();
}

template <class I, class O>
std::unique_ptr<IUnaryFunctor<I, O>> MakeCreated(char16_t const* name, Type const* input,
                                                 CreatorValues const& values) {
    using Factory = std::unique_ptr<IUnaryFunctor<I, O>> (*)(CreatorValues const&);
    return reinterpret_cast<Factory>(Unary(name, input).GetFunction())(values);
}

// Ints in [0, 2 * kSetSize), scattered so that the branch on membership is
// not predictable; half of them are members of the even set.
std::vector<int> Ints() {
    std::vector<int> values(kLength);
    for (unsigned int i = 0; i < kLength; ++i)
        values[i] = static_cast<int>((i * 2654435761u) >> 8) % (2 * kSetSize);
    return values;
}

std::vector<int> EvenMembers() {
    std::vector<int> members;
    for (int i = 0; i < kSetSize; ++i)
        members.push_back(2 * i);
    return members;
}

// Days from 1900 to about 2100, with a time of day.
std::vector<QelDateTime> Dates() {
    std::vector<QelDateTime> values(kLength);
    for (unsigned int i = 0; i < kLength; ++i)
        values[i] = QelDateTime::FromDouble(static_cast<double>(i % 73000) + 0.375);
    return values;
}

template <class S, class T>
VectorRawData<S> Buffer(std::vector<T> const& values) {
    std::vector<S> bits(values.size());
    std::memcpy(bits.data(), values.data(), values.size() * sizeof(T));
    return VectorRawData<S>(std::move(bits));
}

template <class O>
bool Holds(RawData const& buffer, std::vector<O> const& expected) {
    ArrayView<O const> const view = buffer.GetView<O>();
    return std::equal(view.GetData(), view.GetData() + view.GetSize(), expected.begin(),
                      expected.end());
}

void Disagrees(benchmark::State& state) {
    state.SkipWithError("the functor's result differs from the hand loop's");
}

// Runs `functor` over `input` (stored as S) into a fresh output buffer of O
// (stored as SO), and checks the last output against `expected`.
template <class SO, class O, class S, class I>
void RunFunctor(benchmark::State& state, IUnaryFunctor<I, O>& functor, std::vector<I> const& input,
                std::vector<O> const& expected) {
    auto const raw = Buffer<S>(input);
    VectorRawData<SO> rawOut{std::vector<SO>(kLength)};
    RawDataView out(rawOut);
    for (auto _ : state) {
        functor.Project(ConstRawDataView(raw), out);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLength);
    if (!Holds(rawOut, expected))
        Disagrees(state);
}

template <class I, class O, class F>
std::vector<O> HandMap(std::vector<I> const& input, F f) {
    std::vector<O> out(input.size());
    for (std::size_t i = 0; i < input.size(); ++i)
        out[i] = f(input[i]);
    return out;
}

template <class I, class O, class F>
void RunHandLoop(benchmark::State& state, std::vector<I> const& input, F f) {
    // A plain array, as the functor writes: std::vector<bool> packs bits.
    auto const out = std::make_unique<O[]>(kLength);
    for (auto _ : state) {
        std::size_t const n = input.size();
        for (std::size_t i = 0; i < n; ++i)
            out[i] = f(input[i]);
        benchmark::DoNotOptimize(out.get());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}

// ---------------------------------------------------------------------------
// isInSet over Int32, against a boost::unordered_set<int> look-up

void BM_FilterIsInSetHandLoop(benchmark::State& state) {
    std::vector<int> const members = EvenMembers();
    boost::unordered_set<int> const set(members.begin(), members.end());
    RunHandLoop<int, bool>(state, Ints(), [&](int x) { return set.find(x) != set.end(); });
}
BENCHMARK(BM_FilterIsInSetHandLoop);

void BM_FilterIsInSetFunctor(benchmark::State& state) {
    std::vector<int> const members = EvenMembers();
    std::vector<unsigned int> stored(members.begin(), members.end());
    Type const* const int32 = IntType::Get32();
    CreatorValues const set{factory::MakeSet<unsigned int>(
        int32, std::make_unique<ValueSetContainer<unsigned int>>(stored.begin(), stored.end()),
        nullptr)};
    auto const functor = MakeCreated<int, bool>(FunctionNames::IS_IN_SET, int32, set);
    std::vector<int> const input = Ints();
    boost::unordered_set<int> const reference(members.begin(), members.end());
    RunFunctor<unsigned char, bool, unsigned int>(
        state, *functor, input,
        HandMap<int, bool>(input, [&](int x) { return reference.find(x) != reference.end(); }));
}
BENCHMARK(BM_FilterIsInSetFunctor);

// ---------------------------------------------------------------------------
// "<" with a constant over Int32

void BM_FilterLessThanHandLoop(benchmark::State& state) {
    RunHandLoop<int, bool>(state, Ints(), [](int x) { return x < kSetSize; });
}
BENCHMARK(BM_FilterLessThanHandLoop);

void BM_FilterLessThanFunctor(benchmark::State& state) {
    Type const* const int32 = IntType::Get32();
    auto const functor =
        MakeCreated<int, bool>(FunctionNames::LESS_THAN, int32, {factory::MakeInt32(kSetSize)});
    std::vector<int> const input = Ints();
    RunFunctor<unsigned char, bool, unsigned int>(
        state, *functor, input, HandMap<int, bool>(input, [](int x) { return x < kSetSize; }));
}
BENCHMARK(BM_FilterLessThanFunctor);

// ---------------------------------------------------------------------------
// toReal64 of Int32

void BM_MapToReal64HandLoop(benchmark::State& state) {
    RunHandLoop<int, double>(state, Ints(), [](int x) { return static_cast<double>(x); });
}
BENCHMARK(BM_MapToReal64HandLoop);

void BM_MapToReal64Functor(benchmark::State& state) {
    auto const functor = MakePlain<int, double>(FunctionNames::TO_REAL64, IntType::Get32());
    std::vector<int> const input = Ints();
    RunFunctor<unsigned long long, double, unsigned int>(
        state, *functor, input,
        HandMap<int, double>(input, [](int x) { return static_cast<double>(x); }));
}
BENCHMARK(BM_MapToReal64Functor);

// ---------------------------------------------------------------------------
// getYear of DateTime

int YearOf(QelDateTime x) {
    return x.GetQelDateTimeParts().GetYear();
}

void BM_MapGetYearHandLoop(benchmark::State& state) {
    RunHandLoop<QelDateTime, int>(state, Dates(), YearOf);
}
BENCHMARK(BM_MapGetYearHandLoop);

void BM_MapGetYearFunctor(benchmark::State& state) {
    auto const functor = MakePlain<QelDateTime, int>(FunctionNames::GET_YEAR, DateTimeType::Get());
    std::vector<QelDateTime> const input = Dates();
    RunFunctor<unsigned int, int, unsigned long long>(state, *functor, input,
                                                      HandMap<QelDateTime, int>(input, YearOf));
}
BENCHMARK(BM_MapGetYearFunctor);

}  // namespace
