// The built-in column functions as the executing layer runs them: the
// factory resolved from a filled registry, one functor made before the
// timed loop, and the raw entry points called on whole buffers of 10 million
// elements, so that every figure includes the step from type-erased windows
// to typed views. Each runs beside a hand-written loop over std::vector that
// does the same work (integers wrap, specials are treated alike), and the
// pairs are read as ratios. Each functor's result is compared with the hand
// loop's once, after timing: a fast wrong answer must not pass for a figure.
//
// Resolution is measured per call against one lookup of the name in a hash
// map of all registered names, as a sense of scale only.

#include <benchmark/benchmark.h>

#include <boost/unordered_map.hpp>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

constexpr unsigned int kLength = 10'000'000;

// The storage type whose buffers hold T's bits.
template <class T>
using StorageOf = std::conditional_t<sizeof(T) == 4, unsigned int, unsigned long long>;

// The machine's wrapping addition, as the built-ins compute it.
template <class T>
T WrappingAdd(T a, T b) {
    if constexpr (std::is_integral_v<T>) {
        using U = std::make_unsigned_t<T>;
        return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
    } else {
        return a + b;
    }
}

// Integers spread over the whole range, so that sums wrap; reals with a
// fraction, so that nothing is exact by accident.
template <class T>
std::vector<T> Values(unsigned int seed) {
    std::vector<T> values(kLength);
    for (unsigned int i = 0; i < kLength; ++i) {
        if constexpr (std::is_integral_v<T>)
            values[i] = static_cast<T>(i * 2654435761u + seed);
        else
            values[i] = static_cast<T>(i % 1000) * 0.25 + seed;
    }
    return values;
}

// One special every `period` elements: sparse enough that the branches of
// both loops are predictable, so the comparison measures the loops.
std::vector<SpecialKind> Kinds(unsigned int period, SpecialKind kind) {
    std::vector<SpecialKind> kinds(kLength, SpecialKind::Normal);
    for (unsigned int i = 0; i < kLength; i += period)
        kinds[i] = kind;
    return kinds;
}

template <class T>
VectorRawData<StorageOf<T>> Buffer(std::vector<T> const& values) {
    std::vector<StorageOf<T>> bits(values.size());
    std::transform(values.begin(), values.end(), bits.begin(),
                   [](T v) { return std::bit_cast<StorageOf<T>>(v); });
    return VectorRawData<StorageOf<T>>(std::move(bits));
}

VectorRawData<SpecialKind> Buffer(std::vector<SpecialKind> kinds) {
    return VectorRawData<SpecialKind>(std::move(kinds));
}

template <class T>
bool Holds(RawData const& buffer, std::vector<T> const& expected) {
    ArrayView<T const> const view = buffer.GetView<T>();
    return std::equal(view.GetData(), view.GetData() + view.GetSize(), expected.begin(),
                      expected.end());
}

FunctionRegistry const& Registry() {
    static std::unique_ptr<FunctionRegistry> const registry = [] {
        auto made = FunctionRegistry::Make();
        RegisterAllBuiltinFunctions(*made);
        return made;
    }();
    return *registry;
}

template <class T>
FunctionKey KeyOf(char16_t const* name) {
    return FunctionKey(RInternString(name), FunctionElementType<T>(), FunctionElementType<T>(),
                       FunctionKey::ArgContainer::Individual);
}

template <class T>
std::unique_ptr<IBinaryFunctor<T, T, T>> MakePlain(char16_t const* name) {
    using Factory = std::unique_ptr<IBinaryFunctor<T, T, T>> (*)();
    RegisteredFunctions const& functions = Registry().GetBinaryFuncs().GetFunctions(KeyOf<T>(name));
    return reinterpret_cast<Factory>(functions.GetFunction())();
}

template <class T>
std::unique_ptr<IBinarySpecialFunctor<T, T, T>> MakeSpecial(char16_t const* name) {
    using Factory = std::unique_ptr<IBinarySpecialFunctor<T, T, T>> (*)();
    RegisteredFunctions const& functions = Registry().GetBinaryFuncs().GetFunctions(KeyOf<T>(name));
    return reinterpret_cast<Factory>(functions.GetSpecialFunction())();
}

void Disagrees(benchmark::State& state) {
    state.SkipWithError("the functor's result differs from the hand loop's");
}

// ---------------------------------------------------------------------------
// zipWith "+"

template <class T>
std::vector<T> HandZipAdd(std::vector<T> const& a, std::vector<T> const& b) {
    std::vector<T> out(a.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        out[i] = WrappingAdd(a[i], b[i]);
    return out;
}

template <class T>
void BM_FunctionZipAddHandLoop(benchmark::State& state) {
    std::vector<T> const a = Values<T>(1);
    std::vector<T> const b = Values<T>(2);
    std::vector<T> out(kLength);
    for (auto _ : state) {
        std::size_t const n = out.size();
        for (std::size_t i = 0; i < n; ++i)
            out[i] = WrappingAdd(a[i], b[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK_TEMPLATE(BM_FunctionZipAddHandLoop, int);
BENCHMARK_TEMPLATE(BM_FunctionZipAddHandLoop, double);

template <class T>
void BM_FunctionZipAddFunctor(benchmark::State& state) {
    std::vector<T> const a = Values<T>(1);
    std::vector<T> const b = Values<T>(2);
    auto const rawA = Buffer(a);
    auto const rawB = Buffer(b);
    auto rawOut = Buffer(std::vector<T>(kLength));
    RawDataView out(rawOut);
    auto const functor = MakePlain<T>(FunctionNames::ADD);
    for (auto _ : state) {
        functor->Project(ConstRawDataView(rawA), ConstRawDataView(rawB), out);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLength);
    if (!Holds(rawOut, HandZipAdd(a, b)))
        Disagrees(state);
}
BENCHMARK_TEMPLATE(BM_FunctionZipAddFunctor, int);
BENCHMARK_TEMPLATE(BM_FunctionZipAddFunctor, double);

// A special on either side gives Null with the value 0.
template <class T>
void HandZipAddSpecial(std::vector<T> const& a, std::vector<SpecialKind> const& ka,
                       std::vector<T> const& b, std::vector<SpecialKind> const& kb,
                       std::vector<T>& out, std::vector<SpecialKind>& kout) {
    std::size_t const n = out.size();
    for (std::size_t i = 0; i < n; ++i) {
        if (ka[i] != SpecialKind::Normal || kb[i] != SpecialKind::Normal) {
            out[i] = T{};
            kout[i] = SpecialKind::Null;
        } else {
            out[i] = WrappingAdd(a[i], b[i]);
            kout[i] = SpecialKind::Normal;
        }
    }
}

template <class T>
void BM_FunctionZipAddSpecialHandLoop(benchmark::State& state) {
    std::vector<T> const a = Values<T>(1);
    std::vector<T> const b = Values<T>(2);
    std::vector<SpecialKind> const ka = Kinds(97, SpecialKind::Null);
    std::vector<SpecialKind> const kb = Kinds(89, SpecialKind::Missing);
    std::vector<T> out(kLength);
    std::vector<SpecialKind> kout(kLength);
    for (auto _ : state) {
        HandZipAddSpecial(a, ka, b, kb, out, kout);
        benchmark::DoNotOptimize(out.data());
        benchmark::DoNotOptimize(kout.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK_TEMPLATE(BM_FunctionZipAddSpecialHandLoop, int);
BENCHMARK_TEMPLATE(BM_FunctionZipAddSpecialHandLoop, double);

template <class T>
void BM_FunctionZipAddSpecialFunctor(benchmark::State& state) {
    std::vector<T> const a = Values<T>(1);
    std::vector<T> const b = Values<T>(2);
    std::vector<SpecialKind> const ka = Kinds(97, SpecialKind::Null);
    std::vector<SpecialKind> const kb = Kinds(89, SpecialKind::Missing);
    auto const rawA = Buffer(a);
    auto const rawB = Buffer(b);
    auto const rawKa = Buffer(ka);
    auto const rawKb = Buffer(kb);
    auto rawOut = Buffer(std::vector<T>(kLength));
    auto rawKout = Buffer(std::vector<SpecialKind>(kLength));
    RawDataView out(rawOut);
    RawDataView kout(rawKout);
    auto const functor = MakeSpecial<T>(FunctionNames::ADD);
    for (auto _ : state) {
        functor->Project(ConstRawDataView(rawA), ConstRawDataView(rawKa), ConstRawDataView(rawB),
                         ConstRawDataView(rawKb), out, kout);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLength);
    std::vector<T> expected(kLength);
    std::vector<SpecialKind> expectedKinds(kLength);
    HandZipAddSpecial(a, ka, b, kb, expected, expectedKinds);
    if (!Holds(rawOut, expected) || !Holds(rawKout, expectedKinds))
        Disagrees(state);
}
BENCHMARK_TEMPLATE(BM_FunctionZipAddSpecialFunctor, int);
BENCHMARK_TEMPLATE(BM_FunctionZipAddSpecialFunctor, double);

// ---------------------------------------------------------------------------
// reduce "sum": Aggregate with an empty output view

template <class T>
T HandSum(std::vector<T> const& values) {
    T sum{};
    for (T v : values)
        sum = WrappingAdd(sum, v);
    return sum;
}

template <class T>
void BM_FunctionSumHandLoop(benchmark::State& state) {
    std::vector<T> const values = Values<T>(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(HandSum(values));
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK_TEMPLATE(BM_FunctionSumHandLoop, int);
BENCHMARK_TEMPLATE(BM_FunctionSumHandLoop, double);

template <class T>
void BM_FunctionSumFunctor(benchmark::State& state) {
    std::vector<T> const values = Values<T>(1);
    auto const raw = Buffer(values);
    auto none = Buffer(std::vector<T>());
    RawDataView noOutput(none);
    auto const functor = MakePlain<T>(FunctionNames::SUM);
    T sum{};
    for (auto _ : state) {
        sum = T{};
        RawDataValueType<unsigned char> accumulator(sum);
        functor->Aggregate(accumulator, ConstRawDataView(raw), noOutput,
                           FunctorAggregationDirection::Forward);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
    if (sum != HandSum(values))
        Disagrees(state);
}
BENCHMARK_TEMPLATE(BM_FunctionSumFunctor, int);
BENCHMARK_TEMPLATE(BM_FunctionSumFunctor, double);

// The accumulator starts as Null, "no value yet": specials are skipped and
// the first normal element replaces it.
template <class T>
std::pair<T, SpecialKind> HandSumSpecial(std::vector<T> const& values,
                                         std::vector<SpecialKind> const& kinds) {
    T sum{};
    SpecialKind kind = SpecialKind::Null;
    std::size_t const n = values.size();
    for (std::size_t i = 0; i < n; ++i) {
        if (kinds[i] != SpecialKind::Normal)
            continue;
        if (kind != SpecialKind::Normal) {
            sum = values[i];
            kind = SpecialKind::Normal;
        } else {
            sum = WrappingAdd(sum, values[i]);
        }
    }
    return {sum, kind};
}

template <class T>
void BM_FunctionSumSpecialHandLoop(benchmark::State& state) {
    std::vector<T> const values = Values<T>(1);
    std::vector<SpecialKind> const kinds = Kinds(97, SpecialKind::Null);
    for (auto _ : state)
        benchmark::DoNotOptimize(HandSumSpecial(values, kinds));
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK_TEMPLATE(BM_FunctionSumSpecialHandLoop, int);
BENCHMARK_TEMPLATE(BM_FunctionSumSpecialHandLoop, double);

template <class T>
void BM_FunctionSumSpecialFunctor(benchmark::State& state) {
    std::vector<T> const values = Values<T>(1);
    std::vector<SpecialKind> const kinds = Kinds(97, SpecialKind::Null);
    auto const raw = Buffer(values);
    auto const rawKinds = Buffer(kinds);
    auto none = Buffer(std::vector<T>());
    auto noKinds = Buffer(std::vector<SpecialKind>());
    RawDataView noOutput(none);
    RawDataView noKindOutput(noKinds);
    auto const functor = MakeSpecial<T>(FunctionNames::SUM);
    T sum{};
    SpecialKind kind = SpecialKind::Null;
    for (auto _ : state) {
        sum = T{};
        kind = SpecialKind::Null;
        RawDataValueType<unsigned char> accumulator(sum);
        functor->Aggregate(accumulator, kind, ConstRawDataView(raw), ConstRawDataView(rawKinds),
                           noOutput, noKindOutput, FunctorAggregationDirection::Forward);
        benchmark::DoNotOptimize(sum);
        benchmark::DoNotOptimize(kind);
    }
    state.SetItemsProcessed(state.iterations() * kLength);
    if (std::make_pair(sum, kind) != HandSumSpecial(values, kinds))
        Disagrees(state);
}
BENCHMARK_TEMPLATE(BM_FunctionSumSpecialFunctor, int);
BENCHMARK_TEMPLATE(BM_FunctionSumSpecialFunctor, double);

// ---------------------------------------------------------------------------
// scan "sum": Aggregate with a full output view

template <class T>
void HandScan(std::vector<T> const& values, std::vector<T>& out) {
    T running{};
    std::size_t const n = values.size();
    for (std::size_t i = 0; i < n; ++i) {
        running = WrappingAdd(running, values[i]);
        out[i] = running;
    }
}

template <class T>
void BM_FunctionScanSumHandLoop(benchmark::State& state) {
    std::vector<T> const values = Values<T>(1);
    std::vector<T> out(kLength);
    for (auto _ : state) {
        HandScan(values, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLength);
}
BENCHMARK_TEMPLATE(BM_FunctionScanSumHandLoop, int);

template <class T>
void BM_FunctionScanSumFunctor(benchmark::State& state) {
    std::vector<T> const values = Values<T>(1);
    auto const raw = Buffer(values);
    auto rawOut = Buffer(std::vector<T>(kLength));
    RawDataView out(rawOut);
    auto const functor = MakePlain<T>(FunctionNames::SUM);
    for (auto _ : state) {
        T sum{};
        RawDataValueType<unsigned char> accumulator(sum);
        functor->Aggregate(accumulator, ConstRawDataView(raw), out,
                           FunctorAggregationDirection::Forward);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kLength);
    std::vector<T> expected(kLength);
    HandScan(values, expected);
    if (!Holds(rawOut, expected))
        Disagrees(state);
}
BENCHMARK_TEMPLATE(BM_FunctionScanSumFunctor, int);

// ---------------------------------------------------------------------------
// Resolution among all registered built-ins. "+" over two Real64 is the last
// of the four plain-typed overloads of its group, so the walk scores them
// all.

void BM_FunctionResolveNameHashMap(benchmark::State& state) {
    boost::unordered_map<std::u16string, int> names;
    Registry().GetFunctionInfos().ForEach([&](FunctionKey const& key, FunctionInfo const&) {
        names.emplace(std::u16string(key.GetName().GetValue().view()),
                      static_cast<int>(names.size()));
    });
    std::u16string const name(FunctionNames::ADD);
    for (auto _ : state)
        benchmark::DoNotOptimize(names.find(name));
}
BENCHMARK(BM_FunctionResolveNameHashMap);

void BM_FunctionResolveBinary(benchmark::State& state) {
    FunctionRegistry const& registry = Registry();
    FunctionKey const key = KeyOf<double>(FunctionNames::ADD);
    for (auto _ : state)
        benchmark::DoNotOptimize(&registry.GetBinaryFuncs().GetFunctions(key));
}
BENCHMARK(BM_FunctionResolveBinary);

void BM_FunctionResolveInfo(benchmark::State& state) {
    FunctionRegistry const& registry = Registry();
    FunctionKey const key = KeyOf<double>(FunctionNames::ADD);
    for (auto _ : state)
        benchmark::DoNotOptimize(&registry.GetFunctionInfo(key));
}
BENCHMARK(BM_FunctionResolveInfo);

// As a caller that starts from the name's text: interning it and building
// the key are part of every call.
void BM_FunctionResolveBinaryFromText(benchmark::State& state) {
    FunctionRegistry const& registry = Registry();
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            &registry.GetBinaryFuncs().GetFunctions(KeyOf<double>(FunctionNames::ADD)));
    }
}
BENCHMARK(BM_FunctionResolveBinaryFromText);

}  // namespace
