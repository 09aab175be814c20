// Whole VTL programs and the key paths they are made of. Reading and writing
// a generated 10,000-line program run beside a plain scan of the same text
// for line feeds, the least any reader of it must do; key path hashing and
// equality run beside hashing and comparing the path's text.

#include <benchmark/benchmark.h>

#include <functional>
#include <string_view>
#include <vector>

#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

constexpr int kLines = 10000;

// A program of the shapes real ones have: keyed copies and maps with
// functions of keys and typed literals, constants, filters, comments, and
// blocks two levels deep. Exactly kLines lines.
TStringCore GeneratedProgram() {
    std::u16string text;
    auto number = [](int i) {
        std::string s = std::to_string(i);
        return std::u16string(s.begin(), s.end());
    };
    int line = 0;
    while (line < kLines) {
        std::u16string const n = number(line);
        switch (line % 8) {
            case 0:
                text += u"// stage " + n + u"\n";
                break;
            case 1:
                text += u"in/a" + n + u":i -> copy -> work/a" + n + u":i\n";
                break;
            case 2:
                text += u"work/a" + n + u" work/b -> map ('+' work/a" + n +
                        u" :1:i work/b) -> out/s" + n + u":l\n";
                break;
            case 3:
                text += u"-> constant :'label " + n + u"':s -> names/n" + n + u"\n";
                break;
            case 4:
                text += u"-> block :'stage " + n + u"' ->\n";
                break;
            case 5:
                text +=
                    u"  out/s" + n + u" -> filter :true (isNull out/s" + n + u") -> f" + n + u"\n";
                break;
            case 6:
                text += u"  -> block :'inner' ->\n";
                break;
            default:
                text += u"    f" + n + u" -> map (round f" + n + u" :2.5:r) -> 'result " + n +
                        u"'/v:r\n";
                break;
        }
        ++line;
    }
    return TStringCore(text.data(), static_cast<int>(text.size()));
}

void Report(benchmark::State& state, TStringCore const& text) {
    state.counters["lines/s"] = benchmark::Counter(static_cast<double>(kLines),
                                                   benchmark::Counter::kIsIterationInvariantRate);
    state.SetBytesProcessed(state.iterations() * text.size() * 2);
}

void BM_VtlParse10kLines(benchmark::State& state) {
    TStringCore const text = GeneratedProgram();
    for (auto _ : state)
        benchmark::DoNotOptimize(ParseVtlList(text, true));
    Report(state, text);
}
BENCHMARK(BM_VtlParse10kLines)->Unit(benchmark::kMillisecond);

void BM_VtlWrite10kLines(benchmark::State& state) {
    TStringCore const text = GeneratedProgram();
    auto const program = ParseVtlList(text, true);
    for (auto _ : state)
        benchmark::DoNotOptimize(TransformsToString(program, true, nullptr));
    Report(state, text);
}
BENCHMARK(BM_VtlWrite10kLines)->Unit(benchmark::kMillisecond);

// Baseline: count the line feeds of the same text.
void BM_ScanLineFeeds10kLines(benchmark::State& state) {
    TStringCore const text = GeneratedProgram();
    for (auto _ : state) {
        int feeds = 0;
        for (char16_t c : text.view())
            feeds += c == u'\n';
        benchmark::DoNotOptimize(feeds);
    }
    Report(state, text);
}
BENCHMARK(BM_ScanLineFeeds10kLines)->Unit(benchmark::kMillisecond);

// Paths of four segments, each also as text. Built twice, so that equality
// compares separately made paths rather than one shared segment vector.
struct Paths {
    std::vector<TStringCore> texts;
    std::vector<KeyPath> first;
    std::vector<KeyPath> second;
    std::vector<KeySegmentVector> segments;
};

Paths MakePaths() {
    Paths paths;
    for (int i = 0; i < 1024; ++i) {
        TStringCore text(u"input/customer_records/");
        text += TStringCore::number(i % 37);
        text += TStringCore(u"/amount_in_euro");
        paths.texts.push_back(text);
        paths.first.push_back(KeyPath::ParseString(text));
        paths.second.push_back(KeyPath::ParseString(text));
        paths.segments.push_back(paths.first.back().GetSegments());
    }
    return paths;
}

// The hash as containers see it: computed once, then read back.
void BM_KeyPathHashCached(benchmark::State& state) {
    Paths const paths = MakePaths();
    for (auto _ : state) {
        std::size_t sum = 0;
        for (auto const& path : paths.first)
            sum += path.GetHashValue();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * paths.first.size());
}
BENCHMARK(BM_KeyPathHashCached);

// The first hash of a new path, from its interned segments (making the path
// is included: it allocates the shared segment vector).
void BM_KeyPathHashFirst(benchmark::State& state) {
    Paths const paths = MakePaths();
    for (auto _ : state) {
        std::size_t sum = 0;
        for (auto const& segments : paths.segments)
            sum += KeyPath(KeySegmentVector(segments)).GetHashValue();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * paths.segments.size());
}
BENCHMARK(BM_KeyPathHashFirst);

// Baselines: hashing the path's text, with the standard library's hash and
// with the library's own lookup2.
void BM_PathTextStdHash(benchmark::State& state) {
    Paths const paths = MakePaths();
    for (auto _ : state) {
        std::size_t sum = 0;
        for (auto const& text : paths.texts)
            sum += std::hash<std::u16string_view>{}(text.view());
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * paths.texts.size());
}
BENCHMARK(BM_PathTextStdHash);

void BM_PathTextLookup2Hash(benchmark::State& state) {
    Paths const paths = MakePaths();
    for (auto _ : state) {
        std::size_t sum = 0;
        for (auto const& text : paths.texts)
            sum += Hash(text.view().data(), text.view().size() * 2, 0);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * paths.texts.size());
}
BENCHMARK(BM_PathTextLookup2Hash);

// Equal paths made separately: every segment's interned handle is compared.
void BM_KeyPathEquality(benchmark::State& state) {
    Paths const paths = MakePaths();
    for (auto _ : state) {
        int equal = 0;
        for (std::size_t i = 0; i < paths.first.size(); ++i)
            equal += paths.first[i] == paths.second[i];
        benchmark::DoNotOptimize(equal);
    }
    state.SetItemsProcessed(state.iterations() * paths.first.size());
}
BENCHMARK(BM_KeyPathEquality);

// Baseline: the same comparison on the texts (equal, so read to the end).
void BM_PathTextEquality(benchmark::State& state) {
    Paths const paths = MakePaths();
    std::vector<TStringCore> copies;
    for (auto const& text : paths.texts)
        copies.push_back(TStringCore(text.view().data(), text.size()));
    for (auto _ : state) {
        int equal = 0;
        for (std::size_t i = 0; i < paths.texts.size(); ++i)
            equal += paths.texts[i].view() == copies[i].view();
        benchmark::DoNotOptimize(equal);
    }
    state.SetItemsProcessed(state.iterations() * paths.texts.size());
}
BENCHMARK(BM_PathTextEquality);

}  // namespace
