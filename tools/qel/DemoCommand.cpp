// `qel demo`: the road of one payload, on data built into the program. It
// makes the start-up calls a host makes, reads a VTL program and a data store
// from a binary buffer, runs the program's functions over the store's columns
// through the registry and the functors itself, and writes everything back
// out. Each step prints what it did and, in a fixed bracket, how long it took,
// so that a test can mask the times and compare the rest.

#include <chrono>
#include <cstdio>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <boost/unordered_set.hpp>

#include "qel/core/QelCore.h"
#include "tools/qel/CommandLine.h"

namespace qel::tools {

namespace {

using namespace qel::core;

// A program as the planning layer would send it, over the columns of
// SampleStore. Top-level comments would not survive MakeVtlPayload, so there
// are none: the text must come back byte for byte.
constexpr char16_t const* kPayload =
    u"(graph)\n"
    u"1,,2,shop/left,c\n"
    u"(updatable-keys)\n"
    u"shop/left\n"
    u"(vtl)\n"
    u"-> zipWith ('+' shop/stock shop/delivered) -> shop/onHand:A<i>\n"
    u"-> zipWith ('-' shop/onHand shop/sold) -> shop/left:A<i>\n"
    u"-> map (normalize shop/sold) -> shop/soldKnown:A<i>\n"
    u"-> reduce :0:i (sum shop/onHand) -> shop/totalOnHand:i\n"
    u"-> reduce :0:i (sum shop/sold) -> shop/totalSold:i\n";

std::string Text(TStringCore const& s) {
    return s.toStdString();
}

void Section(std::ostream& out, char const* title) {
    out << "\n== " << title << '\n';
}

// Times one step; Report prints the bracket and what the step did. The work
// is timed, the printing is not.
class Stopwatch {
public:
    Stopwatch() : m_start(std::chrono::steady_clock::now()) {}

    void Report(std::ostream& out, std::string const& what) const {
        auto const us = std::chrono::duration_cast<std::chrono::microseconds>(
                            std::chrono::steady_clock::now() - m_start)
                            .count();
        char bracket[32];
        std::snprintf(bracket, sizeof bracket, "[%6lld us] ", static_cast<long long>(us));
        out << bracket << what << '\n';
    }

private:
    std::chrono::steady_clock::time_point m_start;
};

// Lines that belong to the step above, indented past its bracket.
void Detail(std::ostream& out, std::string const& text) {
    out << "            " << text << '\n';
}

std::string Elements(IStoreArray const& array) {
    std::string text;
    for (unsigned int i = 0; i < array.GetCount(); ++i)
        text += (i ? ", " : "") + Text(FormatPrimitive(*array.GetStoreValueAt(i)));
    return "[" + text + "]";
}

KeyPath Key(char16_t const* text) {
    return KeyPathParser::MakeKeyPath(TStringCore(text));
}

// What a producer would send: a small shop's stock, with two specials among
// the sales (one not yet counted, one unknown).
std::vector<unsigned char> SampleStoreBytes() {
    Type const* int32 = IntType::Get32();
    ValueMap shop;
    shop.emplace(RInternString(u"fruit"),
                 factory::MakeArray<RIndirectString>(StringType::Get(),
                                                     {u"fig", u"kiwi", u"lime", u"pear", u"plum"}));
    shop.emplace(RInternString(u"stock"),
                 factory::MakeArray<unsigned int>(int32, {12, 7, 30, 4, 19}));
    shop.emplace(RInternString(u"delivered"),
                 factory::MakeArray<unsigned int>(int32, {5, 0, 10, 8, 2}));
    shop.emplace(RInternString(u"sold"),
                 factory::MakeArray<unsigned int>(
                     int32, {3, 0, 11, 4, 0},
                     {SpecialKind::Normal, SpecialKind::Missing, SpecialKind::Normal,
                      SpecialKind::Normal, SpecialKind::Null}));
    ValueMap root;
    root.emplace(RInternString(u"shop"), factory::MakeKeyMap(std::move(shop)));
    BinaryProtocolCreator creator(false, false);
    SerializeDataStore(creator, *factory::MakeDataStore(std::move(root)));
    return creator.FinalizePayload();
}

// One Int32 column as the functors see it: windows on its values and kinds,
// lent by the array itself when it can (as read from the buffer), else
// gathered into the scratch buffers.
struct Column {
    explicit Column(std::shared_ptr<StoreValue> value)
        : source(std::move(value)),
          scratch(TemporaryRawData::Make<unsigned int>(Array().GetCount())),
          specialScratch(TemporaryRawData::Make<SpecialKind>(Array().GetCount())),
          values(Array().GetRawMaterializedView(*scratch, 0, Array().GetCount())),
          specials(Array().GetRawMaterializedSpecialView(*specialScratch, 0, Array().GetCount())) {
        auto const kinds = detail::TypedWindow<SpecialKind>(specials);
        for (SpecialKind kind : kinds)
            hasSpecials = hasSpecials || kind != SpecialKind::Normal;
    }
    IStoreArray const& Array() const { return source->AsArray(); }
    qelsize_t Size() const { return values.GetSize(); }

    std::shared_ptr<StoreValue> source;
    std::unique_ptr<TemporaryRawData> scratch;
    std::unique_ptr<TemporaryRawData> specialScratch;
    ConstRawDataView values;
    ConstRawDataView specials;
    bool hasSpecials = false;
};

// Buffers for a new Int32 column; the kinds are kept only if one is special.
struct Output {
    explicit Output(qelsize_t size)
        : values(std::make_shared<VectorRawData<unsigned int>>(std::vector<unsigned int>(size))),
          specials(std::make_shared<VectorRawData<SpecialKind>>(size, SpecialKind::Normal)),
          valuesView(*values),
          specialsView(*specials) {}

    std::shared_ptr<StoreValue> MakeArray() const {
        bool anySpecial = false;
        for (SpecialKind kind : specials->GetView())
            anySpecial = anySpecial || kind != SpecialKind::Normal;
        return factory::MakeArray<unsigned int>(IntType::Get32(), values,
                                                anySpecial ? specials : nullptr);
    }

    std::shared_ptr<VectorRawData<unsigned int>> values;
    std::shared_ptr<VectorRawData<SpecialKind>> specials;
    RawDataView valuesView;
    RawDataView specialsView;
};

[[noreturn]] void Refuse(std::string const& why) {
    throw CommandFailure("the demo's program cannot run: " + why);
}

// The registered entry of a key, and which of its forms fits the columns: the
// plain one when no column holds a special and the key has one.
struct Resolved {
    RegisteredFunctions const* functions;
    bool special;
};

Resolved Resolve(RegisteredFunctions const& functions, bool anySpecial) {
    if (!anySpecial && functions.HasFunction())
        return {&functions, false};
    if (!functions.HasSpecialFunction())
        Refuse(Text(functions.GetFunctionName().GetValue()) + " has no special form");
    return {&functions, true};
}

std::string Signature(std::vector<Type const*> const& inputs, Resolved const& resolved) {
    std::string text = "(";
    for (std::size_t i = 0; i < inputs.size(); ++i)
        text += (i ? ", " : "") + Text(inputs[i]->ToString());
    Type const* output = resolved.functions->GetOutputType().Get();
    return text + ") -> " + (output ? Text(output->ToString()) : "?") + ", " +
           (resolved.special ? "special" : "plain") + " form";
}

template <class Functor>
std::unique_ptr<Functor> Make(ErasedFunction factory) {
    // The registry keeps every factory as void (*)(); the key says which
    // type it was registered with, here Int32 in and out.
    return reinterpret_cast<std::unique_ptr<Functor> (*)()>(factory)();
}

// Runs one map, zipWith or reduce of Int32 columns, and gives the value to
// keep under its output key, with a line on how the function was found.
std::shared_ptr<StoreValue> RunTransform(TransformSpec const& spec, IDataStore const& store,
                                         FunctionRegistry const& registry, std::string& how) {
    FunctionSpec const* function = spec.GetFunctionSpec().get();
    if (function == nullptr || spec.GetOutputs().size() != 1)
        Refuse("each transform needs a function and one output");
    std::vector<Column> columns;
    std::vector<Type const*> types;
    bool anySpecial = false;
    for (ValueSpec const& argument : function->GetFunctionInputs()) {
        if (!argument.IsKey())
            Refuse("function arguments are keys here");
        std::shared_ptr<StoreValue> value = store.GetValue(argument.GetKeyPath());
        if (value->GetStoreType() != StoreType::Array ||
            value->AsArray().GetElementType() != IntType::Get32())
            Refuse(Text(argument.GetKeyPath().ToString()) + " is not a column of Int32");
        columns.emplace_back(std::move(value));
        anySpecial = anySpecial || columns.back().hasSpecials;
    }
    Type const* int32 = IntType::Get32();
    RInternString const& name = function->GetFunctionId();
    OperatorType const op = spec.GetOperatorType();

    if (op == OperatorType::Map && columns.size() == 1) {
        types = {int32};
        Resolved const r =
            Resolve(registry.GetUnaryFuncs().GetFunctions(FunctionKey(name, int32)), anySpecial);
        if (r.functions->GetOutputType() != int32 || r.functions->IsCreator())
            Refuse("map functions from Int32 to Int32 only");
        how = Signature(types, r);
        Column const& in = columns[0];
        Output out(in.Size());
        if (r.special)
            Make<IUnarySpecialFunctor<int, int>>(r.functions->GetSpecialFunction())
                ->Project(in.values, in.specials, out.valuesView, out.specialsView);
        else
            Make<IUnaryFunctor<int, int>>(r.functions->GetFunction())
                ->Project(in.values, out.valuesView);
        return out.MakeArray();
    }

    bool const reduce = op == OperatorType::Reduce && columns.size() == 1;
    if (!reduce && !(op == OperatorType::ZipWith && columns.size() == 2))
        Refuse("map of one column, zipWith of two, reduce of one only");
    types = {int32, int32};
    FunctionKey const key(name, int32, int32, FunctionKey::ArgContainer::Individual);
    Resolved const r = Resolve(registry.GetBinaryFuncs().GetFunctions(key), anySpecial);
    if (r.functions->GetOutputType() != int32)
        Refuse("binary functions of Int32 only");
    how = Signature(types, r);

    if (!reduce) {
        Column const& a = columns[0];
        Column const& b = columns[1];
        if (a.Size() != b.Size())
            Refuse("columns of different lengths");
        Output out(a.Size());
        if (r.special)
            Make<IBinarySpecialFunctor<int, int, int>>(r.functions->GetSpecialFunction())
                ->Project(a.values, a.specials, b.values, b.specials, out.valuesView,
                          out.specialsView);
        else
            Make<IBinaryFunctor<int, int, int>>(r.functions->GetFunction())
                ->Project(a.values, b.values, out.valuesView);
        return out.MakeArray();
    }

    // A reduce folds from its literal seed; an empty output view asks the
    // functor for the final value only.
    std::shared_ptr<StoreValue> const& seed = spec.GetValue();
    if (seed == nullptr || seed->GetType() != int32)
        Refuse("a reduce needs an Int32 seed");
    SpecialKind kind = seed->GetSpecialKind();
    int accumulator = kind == SpecialKind::Normal ? seed->AsInt32() : 0;
    RawDataValueType<unsigned char> accumulatorRef(accumulator);
    Output none(0);
    Column const& in = columns[0];
    if (r.special)
        Make<IBinarySpecialFunctor<int, int, int>>(r.functions->GetSpecialFunction())
            ->Aggregate(accumulatorRef, kind, in.values, in.specials, none.valuesView,
                        none.specialsView, FunctorAggregationDirection::Forward);
    else
        Make<IBinaryFunctor<int, int, int>>(r.functions->GetFunction())
            ->Aggregate(accumulatorRef, in.values, none.valuesView,
                        FunctorAggregationDirection::Forward);
    return kind == SpecialKind::Normal ? factory::MakeInt32(accumulator)
                                       : factory::MakeSpecial(int32, kind);
}

void ShowFailure(std::ostream& out, std::ostringstream const& log) {
    Section(out, "A refused request, as the caller sees it");
    try {
        // A set cannot hold arrays.
        SetType::Get(ArrayType::Get(IntType::Get32()));
        out << "  unexpectedly accepted\n";
    } catch (QelException const& e) {
        out << "  error " << static_cast<unsigned>(e.GetError()) << ": " << e.what() << '\n';
        out << "  context: " << Text(e.GetContext()) << '\n';
    }
    // The logged line repeats the source location of the context; the text
    // after it is what the validation says.
    std::string line = log.str();
    auto const at = line.rfind(" -- ");
    out << "  logged: " << (at == std::string::npos ? line : line.substr(at + 4));
}

int RunDemo(Command const& self, std::vector<std::string> const& args, std::ostream& out) {
    if (ExpectNoArguments(self, args)) {
        out << self.usage;
        return 0;
    }
    Stopwatch const whole;
    out << "qelcore demo: the road of one payload, on built-in sample data\n";

    Section(out, "Start-up, in the order a host makes the calls");
    Stopwatch step;
    RegisterDefaultCollatorPool();
    step.Report(out, "RegisterDefaultCollatorPool: strings compare by their code units");
    step = Stopwatch();
    std::ostringstream log;
    QelStreamLogger logger(QelLogLevel::Error, log);
    auto const previousLogger = SetQelLogger(logger.GetQelLogger());
    step.Report(out, "SetQelLogger: errors are logged to memory, shown at the end");
    step = Stopwatch();
    QelThreadPool::Initialize(2);
    step.Report(out, "QelThreadPool::Initialize(2): two workers for parallel work");
    out << "            RegisterExternalType: not called, the demo has no value kinds of its own\n";
    step = Stopwatch();
    std::unique_ptr<FunctionRegistry> const registry = FunctionRegistry::Make();
    RegisterAllBuiltinFunctions(*registry);
    step.Report(out, "FunctionRegistry::Make, RegisterAllBuiltinFunctions: " +
                         std::to_string(registry->GetFunctionInfos().GetSize()) + " function keys");

    Section(out, "The program and its data");
    step = Stopwatch();
    TStringCore const payload(kPayload);
    std::vector<TransformSpec> transforms;
    std::vector<GraphEdge> edges;
    boost::unordered_set<KeyPath> updatable;
    ParseVtlPayload(payload, transforms, edges, updatable);
    step.Report(out, "ParseVtlPayload: " + std::to_string(edges.size()) + " graph edge, " +
                         std::to_string(updatable.size()) + " updatable key, " +
                         std::to_string(transforms.size()) + " transforms");
    std::istringstream payloadLines(Text(payload));
    for (std::string line; std::getline(payloadLines, line);)
        Detail(out, line);
    step = Stopwatch();
    std::shared_ptr<ISharedArrayBuffer> const buffer = MakeSharedArrayBuffer(SampleStoreBytes());
    step.Report(out, "sample data written by BinaryProtocolCreator: " +
                         std::to_string(buffer->GetBytes().GetSize()) + " bytes");
    step = Stopwatch();
    BinaryProtocolReader reader;
    reader.NextPayload(buffer);
    std::shared_ptr<DataStore> const store = StoreValueParser::MakeDataStore(reader);
    step.Report(out, "NextPayload, StoreValueParser::MakeDataStore: " +
                         std::to_string(store->GetValue(Key(u"shop"))->GetCount()) +
                         " columns under shop");
    ArrayView<unsigned char const> const bytes = buffer->GetBytes();
    auto const* stock = reinterpret_cast<unsigned char const*>(
        store->GetValue(Key(u"shop/stock"))->AsTypedArray<unsigned int>().GetRawArray().GetData());
    bool const inside = stock >= bytes.GetData() && stock < bytes.GetData() + bytes.GetSize();
    Detail(out, inside ? "shop/stock's elements lie at byte " +
                             std::to_string(stock - bytes.GetData()) +
                             " of the buffer: read in place, not copied"
                       : "shop/stock's elements lie OUTSIDE the buffer: they were copied");

    Section(out, "Functions resolved by FunctionKey and run over the columns");
    for (TransformSpec const& spec : transforms) {
        step = Stopwatch();
        std::string how;
        std::shared_ptr<StoreValue> const result = RunTransform(spec, *store, *registry, how);
        store->SetValue(spec.GetOutputs().front(), result);
        step.Report(out, Text(TransformToString(spec)));
        Detail(out,
               how + ": " +
                   (result->GetStoreType() == StoreType::Array ? Elements(result->AsArray())
                                                               : Text(FormatPrimitive(*result))));
    }

    Section(out, "The results written out");
    step = Stopwatch();
    JsonOptions readable;
    readable.serializerType = JsonSerializerType::Readable;
    std::string const json = Text(SerializeDataStore(*store, readable));
    step.Report(out, "SerializeDataStore as JSON: " + std::to_string(json.size()) + " characters");
    std::istringstream jsonLines(json);
    for (std::string line; std::getline(jsonLines, line);)
        Detail(out, line);
    step = Stopwatch();
    BinaryProtocolCreator creator(false, false);
    SerializeDataStore(creator, *store);
    std::size_t const binarySize = creator.FinalizePayload().size();
    step.Report(out, "SerializeDataStore as binary: " + std::to_string(binarySize) + " bytes");
    step = Stopwatch();
    TStringCore const back = MakeVtlPayload(transforms, edges, updatable);
    step.Report(out, std::string("MakeVtlPayload: ") +
                         (back == payload ? "the same text as was read"
                                          : "a DIFFERENT text from the one read"));

    ShowFailure(out, log);
    SetQelLogger(previousLogger);
    out << '\n';
    whole.Report(out, "the whole road");
    return 0;
}

}  // namespace

Command MakeDemoCommand() {
    Command command;
    command.name = "demo";
    command.summary = "show what the library does, on built-in sample data";
    command.usage =
        "usage: qel demo\n\n"
        "Walks the road of one payload on built-in sample data: makes the start-up\n"
        "calls, reads a VTL payload, reads a data store from a binary buffer\n"
        "without copying its columns, resolves the program's functions in the\n"
        "registry and runs them over the columns (plain form, or special form\n"
        "where a column holds special values), keeps the results in the store,\n"
        "writes the store as JSON and as binary and the program back as text,\n"
        "and shows a refused request with its message and context. Each step\n"
        "prints what it did and how long it took, in microseconds.\n";
    command.run = [self = command](std::vector<std::string> const& args, std::ostream& out) {
        return RunDemo(self, args, out);
    };
    return command;
}

}  // namespace qel::tools
