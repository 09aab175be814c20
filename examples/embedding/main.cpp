// Embedding qelcore: the set-up calls in their order; a VTL program received
// as a payload; a data store read from JSON; each transform's built-in
// function looked up by FunctionKey and run over the store's columns by a
// functor (Project for zipWith, Aggregate for reduce), in its plain or special
// form as the columns require; the results kept with SetValue; the store
// written out as JSON. To keep the library calls in view, this host runs
// zipWith and reduce over Real64 columns only (an engine dispatches on the
// element types). It exits non-zero when a result is wrong.

#include <qel/core/QelCore.h>

#include <boost/unordered_set.hpp>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace qel::core;

namespace {

// What the planning layer sends. The graph and the updatable keys matter to
// a scheduler; this host runs the transforms in order and leaves them empty.
constexpr char16_t kPayload[] =
    u"(graph)\n"
    u"(updatable-keys)\n"
    u"(vtl)\n"
    u"-> zipWith ('-' station/high station/low) -> station/range:A<r>\n"
    u"-> reduce :0:r (sum station/rain) -> station/totalRain:r\n";

// The input, in the JSON form of a data store: each key carries its type
// (M: key map, A<r>: array of Real64). One low temperature is missing: a
// special element is written as [raw value, kind].
constexpr char16_t kStoreJson[] =
    uR"({"station:M": {
    "high:A<r>": [14.5, 9.0, 11.25, 8.0],
    "low:A<r>": [6.0, [0.0, "Missing"], 2.75, -1.5],
    "rain:A<r>": [0.5, 2.0, 0.0, 1.25]}})";

// A Real64 column as functors see it: windows on its values (a Real64 is
// stored as its 64 bits) and on its special kinds. An array whose elements
// lie in order lends its own buffers; any other is gathered into the scratch
// buffers, so the views are only valid while the Column lives.
struct Column {
    explicit Column(std::shared_ptr<StoreValue> value)
        : source(std::move(value)),
          size(source->GetCount()),
          scratch(TemporaryRawData::Make<unsigned long long>(size)),
          specialScratch(TemporaryRawData::Make<SpecialKind>(size)),
          values(source->AsArray().GetRawMaterializedView(*scratch, 0, size)),
          specials(source->AsArray().GetRawMaterializedSpecialView(*specialScratch, 0, size)),
          hasSpecials(source->AsArray().HasSpecialValues()) {}

    std::shared_ptr<StoreValue> source;
    qelsize_t size;
    std::unique_ptr<TemporaryRawData> scratch;
    std::unique_ptr<TemporaryRawData> specialScratch;
    ConstRawDataView values;
    ConstRawDataView specials;
    bool hasSpecials;
};

// The registry keeps every factory type-erased; the key and the form say
// which type it was registered with, here Real64 in and out.
using PlainFactory = std::unique_ptr<IBinaryFunctor<double, double, double>> (*)();
using SpecialFactory = std::unique_ptr<IBinarySpecialFunctor<double, double, double>> (*)();

// Runs one transform and gives the value for its output key. `special` tells
// which form of the function ran.
std::shared_ptr<StoreValue> Run(TransformSpec const& transform, IDataStore const& store,
                                FunctionRegistry const& registry, bool& special) {
    FunctionSpec const* function = transform.GetFunctionSpec().get();
    if (function == nullptr)
        throw std::runtime_error("each transform needs a function");
    Type const* real = RealType::Get64();
    std::vector<Column> columns;
    bool anySpecial = false;
    for (ValueSpec const& argument : function->GetFunctionInputs()) {
        std::shared_ptr<StoreValue> value = store.GetValue(argument.GetKeyPath());
        // Types are interned: equal types are the same object.
        if (value->GetType() != ArrayType::Get(real))
            throw std::runtime_error("this host runs over columns of Real64 only");
        columns.emplace_back(std::move(value));
        anySpecial = anySpecial || columns.back().hasSpecials;
    }
    // Both functions take two Real64 (a reduce's accumulator and an element).
    // Resolution knows no conversions: an Int32 column would need its own key.
    FunctionKey const key(function->GetFunctionId(), real, real,
                          FunctionKey::ArgContainer::Individual);
    RegisteredFunctions const& found = registry.GetBinaryFuncs().GetFunctions(key);
    if (found.IsCreator() || found.GetOutputType().Get() != real)
        throw std::runtime_error("this host runs functions from Real64 to Real64 only");
    // The plain form is the faster, but sees values alone: a special element
    // would pass for its raw value. The special form takes each value's kind.
    special = anySpecial || !found.HasFunction();
    auto const plainForm = reinterpret_cast<PlainFactory>(found.GetFunction());
    auto const specialForm = reinterpret_cast<SpecialFactory>(found.GetSpecialFunction());
    // zipWith makes a column. reduce makes none: an empty output view asks
    // Aggregate for the final value only (a full one would give a scan).
    bool const zip = transform.GetOperatorType() == OperatorType::ZipWith && columns.size() == 2;
    bool const reduce = transform.GetOperatorType() == OperatorType::Reduce &&
                        columns.size() == 1 && transform.GetValue() != nullptr;
    if (!zip && !reduce)
        throw std::runtime_error("this host runs zipWith of two columns and seeded reduce only");
    Column const& a = columns[0];
    qelsize_t const n = zip ? a.size : 0;  // the new column's buffers, shared by its array
    auto values =
        std::make_shared<VectorRawData<unsigned long long>>(std::vector<unsigned long long>(n));
    auto kinds = std::make_shared<VectorRawData<SpecialKind>>(n, SpecialKind::Normal);
    RawDataView valuesOut(*values), kindsOut(*kinds);
    if (zip) {
        Column const& b = columns[1];
        if (special)
            specialForm()->Project(a.values, a.specials, b.values, b.specials, valuesOut, kindsOut);
        else
            plainForm()->Project(a.values, b.values, valuesOut);
        return factory::MakeArray<unsigned long long>(real, values, special ? kinds : nullptr);
    }
    // The literal seeds the fold, and may itself be special.
    SpecialKind kind = transform.GetValue()->GetSpecialKind();
    double total = kind == SpecialKind::Normal ? transform.GetValue()->AsReal64() : 0.0;
    RawDataValueType<unsigned char> accumulator(total);
    if (special)
        specialForm()->Aggregate(accumulator, kind, a.values, a.specials, valuesOut, kindsOut,
                                 FunctorAggregationDirection::Forward);
    else
        plainForm()->Aggregate(accumulator, a.values, valuesOut,
                               FunctorAggregationDirection::Forward);
    return kind == SpecialKind::Normal ? factory::MakeReal64(total)
                                       : factory::MakeSpecial(real, kind);
}

}  // namespace

int main() {
    try {
        // Set-up, once, before any other thread uses the library.
        RegisterDefaultCollatorPool();  // how strings compare and hash
        QelStreamLogger const logger(QelLogLevel::Warning, std::cerr);
        SetQelLogger(logger.GetQelLogger());  // optional: the library logs nothing otherwise
        QelThreadPool::Initialize(2);         // the workers for the library's parallel work
        // A host with value kinds of its own registers them here
        // (RegisterExternalType, see examples/host-types).
        std::unique_ptr<FunctionRegistry> const registry = FunctionRegistry::Make();
        RegisterAllBuiltinFunctions(*registry);  // filled once, then read from any thread

        std::vector<TransformSpec> transforms;
        std::vector<GraphEdge> edges;
        boost::unordered_set<KeyPath> updatableKeys;
        ParseVtlPayload(TStringCore(kPayload), transforms, edges, updatableKeys);
        std::shared_ptr<DataStore> const store =
            StoreValueParser::MakeDataStore(TStringCore(kStoreJson));
        for (TransformSpec const& transform : transforms) {
            bool special = false;
            KeyPath const& output = transform.GetOutputs().at(0);
            store->SetValue(output, Run(transform, *store, *registry, special));
            std::cout << output.ToString().toStdString() << ": " << (special ? "special" : "plain")
                      << " form\n";
        }

        JsonOptions options;
        options.serializerType = JsonSerializerType::Readable;
        std::cout << SerializeDataStore(*store, options).toStdString() << '\n';
        // The results, read back as any later reader would, in the compact
        // JSON form of one value. A special operand gives a Null difference.
        auto const at = [&](char16_t const* key) {
            auto const value = store->GetValue(KeyPathParser::MakeKeyPath(TStringCore(key)));
            return SerializeValue(*value).toStdString();
        };
        bool const right = at(u"station/range") == R"([8.5,[0,"Null"],8.5,9.5])" &&
                           at(u"station/totalRain") == "3.75";
        if (!right)
            std::cerr << "wrong results\n";
        return right ? 0 : 1;
    } catch (QelException const& e) {  // the message, and where it was refused
        std::cerr << "qelcore refused: " << e.what() << '\n'
                  << e.GetContext().toStdString() << '\n';
    } catch (std::exception const& e) {
        std::cerr << e.what() << '\n';
    }
    return 2;
}
