// The JSON form of a data store of 1 million Real64 and 1 million short
// strings, written and read back, beside the peers a host might otherwise
// use in the same run: RapidJSON's Writer on the same values, and the DOM
// parses of RapidJSON and simdjson on the same text. The peers only build
// their document trees; our reader also builds the typed columns, which is
// the whole of what a host waits for. Items are text bytes (the text is
// ASCII, so characters and bytes agree), so the figures are MB/s. The JSON
// trees of both readers under the store parser are timed alone too: parsed,
// and parsed then walked as the store parser walks them.

#include <benchmark/benchmark.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

constexpr unsigned int kCount = 1'000'000;

// Reals with 17 significant digits, as measurements are, and names of a
// few letters and digits.
std::vector<double> Reals() {
    std::vector<double> reals(kCount);
    for (unsigned int i = 0; i < kCount; ++i)
        reals[i] = i * 0.1 + 1.0 / 3.0;
    return reals;
}

std::vector<std::string> Names() {
    std::vector<std::string> names(kCount);
    for (unsigned int i = 0; i < kCount; ++i)
        names[i] = "name" + std::to_string(i);
    return names;
}

std::unique_ptr<IDataStore> const& Store() {
    static std::unique_ptr<IDataStore> const store = [] {
        RegisterDefaultCollatorPool();
        std::vector<double> const reals = Reals();
        std::vector<unsigned long long> bits(reals.size());
        std::memcpy(bits.data(), reals.data(), reals.size() * sizeof(double));
        std::vector<RIndirectString> names;
        names.reserve(kCount);
        for (std::string const& name : Names())
            names.emplace_back(TStringCore::fromStdString(name));
        auto made = factory::MakeDataStore(ValueMap());
        made->SetValue(KeyPath(RInternString(u"reals")),
                       factory::MakeArray<unsigned long long>(RealType::Get64(), std::move(bits)));
        made->SetValue(KeyPath(RInternString(u"names")),
                       factory::MakeArray<RIndirectString>(StringType::Get(), std::move(names)));
        return made;
    }();
    return store;
}

TStringCore const& Text() {
    static TStringCore const text = SerializeDataStoreCompact(*Store());
    return text;
}

std::string const& Utf8Text() {
    static std::string const text = Text().toStdString();
    return text;
}

void BM_StoreJsonWrite(benchmark::State& state) {
    IDataStore const& store = *Store();
    std::size_t size = 0;
    for (auto _ : state) {
        TStringCore const text = SerializeDataStoreCompact(store);
        size = static_cast<std::size_t>(text.size());
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}
BENCHMARK(BM_StoreJsonWrite)->Unit(benchmark::kMillisecond);

// The same document through RapidJSON's Writer: its own shortest float text,
// so it writes fewer digits than our 17.
void BM_RapidJsonWrite(benchmark::State& state) {
    std::vector<double> const reals = Reals();
    std::vector<std::string> const names = Names();
    std::size_t size = 0;
    for (auto _ : state) {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        writer.StartObject();
        writer.Key("names:A<s>");
        writer.StartArray();
        for (std::string const& name : names)
            writer.String(name.data(), static_cast<rapidjson::SizeType>(name.size()));
        writer.EndArray();
        writer.Key("reals:A<r>");
        writer.StartArray();
        for (double real : reals)
            writer.Double(real);
        writer.EndArray();
        writer.EndObject();
        size = buffer.GetSize();
        benchmark::DoNotOptimize(buffer.GetString());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}
BENCHMARK(BM_RapidJsonWrite)->Unit(benchmark::kMillisecond);

void BM_StoreJsonRead(benchmark::State& state) {
    TStringCore const& text = Text();
    for (auto _ : state) {
        auto store = StoreValueParser::MakeDataStore(text);
        benchmark::DoNotOptimize(store.get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    auto const back = StoreValueParser::MakeDataStore(text);
    if (SerializeDataStoreCompact(*back) != text)
        state.SkipWithError("the store read back writes another text");
}
BENCHMARK(BM_StoreJsonRead)->Unit(benchmark::kMillisecond);

// What the store parser reads of each value.
double Walk(IJsonObject const& root) {
    double sum = 0;
    auto const& members = root.GetDictionary();
    for (auto m = members.begin(); !m->IsEqualTo(*members.end()); m->MoveNext()) {
        auto const column = m->GetCurrent().second;
        auto const& elements = column->GetArray();
        auto const end = elements.end();
        for (auto e = elements.begin(); !e->IsEqualTo(*end); e->MoveNext()) {
            auto const value = e->GetCurrent();
            if (value->IsString())
                sum += value->GetString().size();
            else
                sum += value->GetReal64();
        }
    }
    return sum;
}

void BM_JsonTreeReadAndWalk(benchmark::State& state) {
    auto const reader = static_cast<JsonReader>(state.range(0));
    TStringCore const& text = Text();
    for (auto _ : state) {
        auto const root = GetRootJsonObject(text, reader);
        benchmark::DoNotOptimize(Walk(*root));
    }
    state.SetLabel(reader == JsonReader::Fast ? "fast" : "reference");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Utf8Text().size()));
}
BENCHMARK(BM_JsonTreeReadAndWalk)
    ->Arg(static_cast<int>(JsonReader::Fast))
    ->Arg(static_cast<int>(JsonReader::Reference))
    ->Unit(benchmark::kMillisecond);

// The parse alone: the text's conversion to UTF-8 and the parser's tree.
void BM_JsonTreeRead(benchmark::State& state) {
    TStringCore const& text = Text();
    for (auto _ : state) {
        auto const root = GetRootJsonObject(text, JsonReader::Fast);
        benchmark::DoNotOptimize(root.get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Utf8Text().size()));
}
BENCHMARK(BM_JsonTreeRead)->Unit(benchmark::kMillisecond);

void BM_RapidJsonDomRead(benchmark::State& state) {
    std::string const& text = Utf8Text();
    for (auto _ : state) {
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        if (document.HasParseError())
            state.SkipWithError("RapidJSON refused the text");
        benchmark::DoNotOptimize(&document);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_RapidJsonDomRead)->Unit(benchmark::kMillisecond);

void BM_SimdJsonDomRead(benchmark::State& state) {
    std::string const& text = Utf8Text();
    simdjson::padded_string const padded(text);
    simdjson::dom::parser parser;
    for (auto _ : state) {
        simdjson::dom::element root;
        if (parser.parse(padded).get(root) != simdjson::SUCCESS)
            state.SkipWithError("simdjson refused the text");
        benchmark::DoNotOptimize(&root);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_SimdJsonDomRead)->Unit(benchmark::kMillisecond);

}  // namespace
