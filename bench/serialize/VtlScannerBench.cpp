// The text road: scanning, literal parsing and float text. Each benchmark has
// a baseline in the same run: a plain loop over the same code units for the
// scanner, std::from_chars for integer and real literals, std::to_chars for
// the float text (whose mandated printf form we want to price).

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

// One long line of the tokens VTL text is made of.
TStringCore MixedLine() {
    TStringCore line;
    for (int i = 0; i < 2000; ++i) {
        line.append(TStringCore(u"input.key_"));
        line.append(TStringCore::number(i));
        line.append(TStringCore(u" -> map :1.5e3:r (add 'quoted \\'text\\'' -12 Null) -> out, "));
    }
    return line;
}

void BM_ScanMixedLine(benchmark::State& state) {
    TStringCore const line = MixedLine();
    long long tokens = 0;
    for (auto _ : state) {
        VtlScanner scanner{TStringCore(line)};
        while (scanner.Next().GetType() != VtlTokenType::End)
            ++tokens;
    }
    state.counters["tokens/s"] =
        benchmark::Counter(static_cast<double>(tokens), benchmark::Counter::kIsRate);
    state.SetBytesProcessed(state.iterations() * line.size() * 2);
}
BENCHMARK(BM_ScanMixedLine);

// Baseline: one pass over the same units, counting blanks.
void BM_PlainLoopMixedLine(benchmark::State& state) {
    TStringCore const line = MixedLine();
    for (auto _ : state) {
        int blanks = 0;
        for (char16_t c : line.view())
            blanks += c == u' ';
        benchmark::DoNotOptimize(blanks);
    }
    state.SetBytesProcessed(state.iterations() * line.size() * 2);
}
BENCHMARK(BM_PlainLoopMixedLine);

std::vector<TStringCore> Texts(char const* kind) {
    std::mt19937 random(7);  // result_type is unsigned long here
    std::vector<TStringCore> texts;
    for (int i = 0; i < 256; ++i) {
        char buffer[64];
        if (kind[0] == 'i') {
            std::snprintf(buffer, sizeof(buffer), "%d", static_cast<int>(random()));
        } else if (kind[0] == 'r') {
            std::snprintf(buffer, sizeof(buffer), "%.17g", random() / 7.0);
        } else {
            std::snprintf(buffer, sizeof(buffer), "'%04lu-%02lu-%02luT%02lu:%02lu:%02lu'",
                          1900 + random() % 200, 1 + random() % 12, 1 + random() % 28,
                          random() % 24, random() % 60, random() % 60);
        }
        texts.push_back(TStringCore::fromStdString(buffer));
    }
    return texts;
}

void ParseEach(benchmark::State& state, Type const* type, char const* kind) {
    auto const texts = Texts(kind);
    for (auto _ : state) {
        for (auto const& text : texts)
            benchmark::DoNotOptimize(ParsePrimitive(type, text));
    }
    state.SetItemsProcessed(state.iterations() * texts.size());
}

void BM_ParsePrimitiveInt32(benchmark::State& s) {
    ParseEach(s, IntType::Get32(), "int");
}
void BM_ParsePrimitiveReal64(benchmark::State& s) {
    ParseEach(s, RealType::Get64(), "real");
}
void BM_ParsePrimitiveDateTime(benchmark::State& s) {
    ParseEach(s, DateTimeType::Get(), "date");
}
BENCHMARK(BM_ParsePrimitiveInt32);
BENCHMARK(BM_ParsePrimitiveReal64);
BENCHMARK(BM_ParsePrimitiveDateTime);

template <class T>
void FromCharsEach(benchmark::State& state, char const* kind) {
    std::vector<std::string> texts;
    for (auto const& t : Texts(kind))
        texts.push_back(t.toStdString());
    for (auto _ : state) {
        for (auto const& text : texts) {
            T value{};
            std::from_chars(text.data(), text.data() + text.size(), value);
            benchmark::DoNotOptimize(value);
        }
    }
    state.SetItemsProcessed(state.iterations() * texts.size());
}
void BM_FromCharsInt32(benchmark::State& s) {
    FromCharsEach<int>(s, "int");
}
void BM_FromCharsReal64(benchmark::State& s) {
    FromCharsEach<double>(s, "real");
}
BENCHMARK(BM_FromCharsInt32);
BENCHMARK(BM_FromCharsReal64);

std::vector<double> Doubles() {
    std::mt19937_64 random(11);
    std::vector<double> values;
    for (int i = 0; i < 256; ++i)
        values.push_back(static_cast<double>(random()) / 3e9 - 1e9);
    return values;
}

void BM_ConvertFloatToString(benchmark::State& state) {
    auto const values = Doubles();
    for (auto _ : state) {
        for (double v : values)
            benchmark::DoNotOptimize(ConvertFloatToString(v));
    }
    state.SetItemsProcessed(state.iterations() * values.size());
}
BENCHMARK(BM_ConvertFloatToString);

void ToCharsEach(benchmark::State& state, bool shortest) {
    auto const values = Doubles();
    for (auto _ : state) {
        for (double v : values) {
            char buffer[32];
            auto result = shortest ? std::to_chars(buffer, buffer + sizeof(buffer), v)
                                   : std::to_chars(buffer, buffer + sizeof(buffer), v,
                                                   std::chars_format::general, 17);
            benchmark::DoNotOptimize(result);
            benchmark::DoNotOptimize(buffer);
        }
    }
    state.SetItemsProcessed(state.iterations() * values.size());
}
void BM_ToCharsShortest(benchmark::State& s) {
    ToCharsEach(s, true);
}
void BM_ToCharsPrecision17(benchmark::State& s) {
    ToCharsEach(s, false);
}
BENCHMARK(BM_ToCharsShortest);
BENCHMARK(BM_ToCharsPrecision17);

}  // namespace
