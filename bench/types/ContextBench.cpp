// Cache hits of Context: the lookups that run on every type request and every
// interned name once the process is warm. Each is paired with the obvious
// alternative, an std::unordered_map under one std::mutex, holding about as
// many entries; the pair shows what the lock-free type cache and the
// read-locked string table buy, alone and with two threads asking at once.
//
// The two-thread runs only mean something with two otherwise idle cores; on a
// loaded machine they measure the scheduler, so compare them run to run with
// --benchmark_repetitions and look at the spread.

#include <benchmark/benchmark.h>

#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "qel/core/types/Context.h"
#include "qel/core/types/RInternString.h"
#include "qel/core/types/Type.h"

namespace {

using qel::core::ArrayType;
using qel::core::Context;
using qel::core::RInternString;
using qel::core::TStringCore;
using qel::core::Type;

// The element types whose arrays are interned before measuring, so that the
// cache holds several entries rather than the one being looked up.
std::vector<Type const*> ElementTypes() {
    return {
        qel::core::BoolType::Get(),   qel::core::IntType::Get32(),    qel::core::IntType::Get64(),
        qel::core::DateType::Get(),   qel::core::DateTimeType::Get(), qel::core::ColorType::Get(),
        qel::core::RealType::Get32(), qel::core::RealType::Get64(),   qel::core::StringType::Get()};
}

// Names of the sort that scripts intern: identifiers both shorter and longer
// than a string's inline capacity.
std::vector<std::u16string> Names() {
    std::vector<std::u16string> names;
    for (int i = 0; i < 64; ++i) {
        names.push_back(u"Field" + std::u16string(1, static_cast<char16_t>(u'A' + i % 26)) +
                        std::u16string(static_cast<std::size_t>(i % 16), u'x'));
    }
    return names;
}

// A name past the inline capacity, so a copy shares a heap header.
constexpr char16_t kLongName[] = u"CustomerAccountName";
// A name that fits inline.
constexpr char16_t kShortName[] = u"Amount";

// Shared by all threads of a multi-threaded run, as a process-wide cache is.
struct LockedPointerMap {
    std::mutex m_mutex;
    std::unordered_map<void const*, void const*> m_map;
};

struct LockedStringMap {
    std::mutex m_mutex;
    std::unordered_map<std::u16string, void const*> m_map;
};

LockedPointerMap& PointerBaseline() {
    static LockedPointerMap* map = [] {
        auto* m = new LockedPointerMap;
        for (Type const* element : ElementTypes())
            m->m_map.emplace(element, element);
        return m;
    }();
    return *map;
}

LockedStringMap& StringBaseline() {
    static LockedStringMap* map = [] {
        auto* m = new LockedStringMap;
        for (auto const& name : Names())
            m->m_map.emplace(name, m);
        m->m_map.emplace(kLongName, m);
        m->m_map.emplace(kShortName, m);
        return m;
    }();
    return *map;
}

void InternNames() {
    static bool const done = [] {
        for (auto const& name : Names()) {
            RInternString(TStringCore(name.data(), static_cast<int>(name.size())));
        }
        RInternString(TStringCore(kLongName));
        RInternString(TStringCore(kShortName));
        return true;
    }();
    benchmark::DoNotOptimize(done);
}

void BM_ArrayTypeGet(benchmark::State& state) {
    for (Type const* element : ElementTypes())
        ArrayType::Get(element);
    Type const* element = qel::core::IntType::Get32();
    for (auto _ : state) {
        benchmark::DoNotOptimize(element);
        benchmark::DoNotOptimize(ArrayType::Get(element));
    }
}
BENCHMARK(BM_ArrayTypeGet)->Threads(1)->Threads(2);

void BM_Baseline_MutexPointerMapFind(benchmark::State& state) {
    LockedPointerMap& baseline = PointerBaseline();
    void const* key = qel::core::IntType::Get32();
    for (auto _ : state) {
        benchmark::DoNotOptimize(key);
        std::lock_guard<std::mutex> lock(baseline.m_mutex);
        benchmark::DoNotOptimize(baseline.m_map.find(key)->second);
    }
}
BENCHMARK(BM_Baseline_MutexPointerMapFind)->Threads(1)->Threads(2);

// RInternString(text) copies the text (inline units, or one reference count
// on a long one) and asks Context for its id; for a known text that is a
// read-locked find.
void BM_RInternStringKnown(benchmark::State& state, char16_t const* name) {
    InternNames();
    TStringCore const text(name);
    for (auto _ : state) {
        RInternString interned(text);
        benchmark::DoNotOptimize(interned.GetStringId());
    }
}
BENCHMARK_CAPTURE(BM_RInternStringKnown, short, kShortName)->Threads(1)->Threads(2);
BENCHMARK_CAPTURE(BM_RInternStringKnown, long, kLongName)->Threads(1)->Threads(2);

void BM_ContextInternStringKnown(benchmark::State& state, char16_t const* name) {
    InternNames();
    Context const& context = Context::Instance();
    TStringCore const text(name);
    for (auto _ : state) {
        TStringCore copy(text);
        benchmark::DoNotOptimize(context.InternString(std::move(copy)));
    }
}
BENCHMARK_CAPTURE(BM_ContextInternStringKnown, short, kShortName)->Threads(1)->Threads(2);
BENCHMARK_CAPTURE(BM_ContextInternStringKnown, long, kLongName)->Threads(1)->Threads(2);

// The key is looked up in place, without the copy that the library makes, so
// the baseline is if anything flattered.
void BM_Baseline_MutexStringMapFind(benchmark::State& state, char16_t const* name) {
    LockedStringMap& baseline = StringBaseline();
    std::u16string const key(name);
    for (auto _ : state) {
        std::lock_guard<std::mutex> lock(baseline.m_mutex);
        benchmark::DoNotOptimize(baseline.m_map.find(key)->second);
    }
}
BENCHMARK_CAPTURE(BM_Baseline_MutexStringMapFind, short, kShortName)->Threads(1)->Threads(2);
BENCHMARK_CAPTURE(BM_Baseline_MutexStringMapFind, long, kLongName)->Threads(1)->Threads(2);

}  // namespace
