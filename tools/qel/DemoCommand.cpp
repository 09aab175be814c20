// `qel demo`: the library's main road so far, on data built into the program.
// Each section prints what a host would see: interned types, values with
// specials, their order, casts, hashes and texts, and a validation failure as
// it reaches a caller.

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <memory>
#include <ostream>
#include <sstream>

#include <boost/unordered_set.hpp>
#include <vector>

#include "qel/core/QelCore.h"
#include "tools/qel/CommandLine.h"

namespace qel::tools {

namespace {

using namespace qel::core;

std::string Text(TStringCore const& s) {
    return s.toStdString();
}

void Section(std::ostream& out, char const* title) {
    out << "\n== " << title << '\n';
}

void ShowTypes(std::ostream& out) {
    Section(out, "Types are interned: equal types are one object");
    Type const* real = RealType::Get64(10, 2);
    ArrayType const* first = ArrayType::Get(real);
    ArrayType const* again = ArrayType::Get(RealType::Get64(10, 2));
    out << "  " << Text(first->ToString())
        << " looked up twice: " << (first == again ? "same object" : "DIFFERENT objects") << '\n';
    out << "  its base type (decoration stripped): " << Text(first->GetBaseType()->ToString())
        << '\n';
    KeySetType const* keySet = KeySetType::Get(StringType::Get(), IntType::Get64());
    out << "  a key set type: " << Text(keySet->ToString()) << '\n';
    out << "  Int32 with Real64 promotes to "
        << Text(PromotedType(IntType::Get32(), RealType::Get64())->ToString()) << '\n';
    RInternString a(u"price");
    RInternString b(TStringCore(u"price"));
    out << "  interned \"price\" twice: ids " << a.GetStringId() << " and " << b.GetStringId()
        << '\n';
}

std::vector<std::shared_ptr<StoreValue>> SampleValues() {
    return {
        factory::MakeInt32(42),      factory::MakeSpecial(IntType::Get32(), SpecialKind::Missing),
        factory::MakeInt32(-7),      factory::MakeSpecial(IntType::Get32(), SpecialKind::Null),
        factory::MakeInt32(1000000),
    };
}

void ShowValues(std::ostream& out) {
    Section(out, "Values, specials and their texts");
    std::vector<std::shared_ptr<StoreValue>> values = {
        factory::MakeBool(true),
        factory::MakeInt64(9007199254740993LL),
        factory::MakeReal32(0.1f),
        factory::MakeReal64(0.1),
        factory::MakeReal64(2.5, 10, 2),
        factory::MakeString(u"Zürich"),
        factory::MakeDateTime(QelDateTime(2020, 3, 4, 5, 6, 7, 0)),
        factory::MakeDate(QelDateTime(1582, 10, 15, 0, 0, 0, 0)),
        factory::MakeColor(1, 2, 3, 255),
        factory::MakeSpecial(StringType::Get(), SpecialKind::Error),
    };
    for (auto const& v : values) {
        out << "  " << std::left << std::setw(12) << Text(v->GetType()->ToString()) << std::setw(22)
            << Text(FormatPrimitive(*v)) << "hash " << v->GetHashValue() << '\n';
    }
}

void ShowOrder(std::ostream& out) {
    Section(out, "Order: specials sort after every normal value, Null before Missing");
    auto values = SampleValues();
    std::sort(values.begin(), values.end(),
              [](auto const& a, auto const& b) { return a->IsLessThan(*b); });
    out << " ";
    for (auto const& v : values)
        out << ' ' << Text(FormatPrimitive(*v));
    out << '\n';
    auto one32 = factory::MakeInt32(1);
    auto one64 = factory::MakeInt64(1);
    out << "  Int32 1 IsEqual Int64 1: " << (one32->IsEqual(*one64) ? "true" : "false")
        << "; FuzzyIsEqual: " << (one32->FuzzyIsEqual(*one64) ? "true" : "false") << '\n';
    float const step16 = [] {
        float f = 1.0f;
        for (int i = 0; i < 16; ++i)
            f = std::nextafter(f, 2.0f);
        return f;
    }();
    out << "  1.0f against the float 16 steps above: IsEqual "
        << (factory::MakeReal32(1.0f)->IsEqual(*factory::MakeReal32(step16)) ? "true" : "false")
        << ", FuzzyIsEqual "
        << (factory::MakeReal32(1.0f)->FuzzyIsEqual(*factory::MakeReal32(step16)) ? "true"
                                                                                  : "false")
        << '\n';
}

void ShowCasts(std::ostream& out) {
    Section(out, "Casts");
    struct Row {
        std::shared_ptr<StoreValue> value;
        Type const* target;
    };
    std::vector<Row> rows = {
        {factory::MakeReal64(2.9), IntType::Get32()},
        {factory::MakeReal64(-2.9), IntType::Get32()},
        {factory::MakeInt64(4294967297LL), IntType::Get32()},
        {factory::MakeReal32(1.5f, 6, 1), RealType::Get64()},
        {factory::MakeSpecial(IntType::Get32(), SpecialKind::Null), StringType::Get()},
    };
    for (auto const& row : rows) {
        auto cast = row.value->Cast(row.target);
        out << "  " << Text(FormatPrimitive(*row.value)) << " : "
            << Text(row.value->GetType()->ToString()) << "  ->  " << Text(FormatPrimitive(*cast))
            << " : " << Text(cast->GetType()->ToString()) << '\n';
    }
}

void ShowLiterals(std::ostream& out) {
    Section(out, "Literal text to values and back (ParsePrimitive, FormatPrimitive)");
    struct Row {
        Type const* type;
        char16_t const* text;
    };
    Row const rows[] = {
        {BoolType::Get(), u"true"},
        {IntType::Get32(), u"-42"},
        {IntType::Get64(), u"+9007199254740993"},
        {RealType::Get32(), u"0.1"},
        {RealType::Get64(), u"6.02214076e23"},
        {StringType::Get(), u"'it\\'s quoted'"},
        {DateType::Get(), u"'1582-10-15'"},
        {DateTimeType::Get(), u"'2020-03-04T05:06:07.0005'"},
        {ColorType::Get(), u"'80ff8000'"},
        {IntType::Get32(), u"Missing"},
    };
    for (Row const& row : rows) {
        auto value = ParsePrimitive(row.type, TStringCore(row.text));
        out << "  " << std::left << std::setw(10) << Text(row.type->ToString()) << std::setw(30)
            << Text(TStringCore(row.text)) << "-> " << Text(FormatPrimitive(*value)) << '\n';
    }
    try {
        ParsePrimitive(DateType::Get(), TStringCore(u"'2023-02-29'"));
    } catch (QelException const& e) {
        out << "  refused: d '2023-02-29' -> " << e.what() << " (" << Text(e.GetContext()) << ")\n";
    }
}

std::string Elements(IStoreArray const& array) {
    std::string text;
    for (unsigned int i = 0; i < array.GetCount(); ++i) {
        text += (i ? ", " : "") + Text(FormatPrimitive(*array.GetStoreValueAt(i)));
    }
    return "[" + text + "]";
}

void ShowColumns(std::ostream& out) {
    Section(out, "Columns: values, specials and an indices vector");
    auto prices = factory::MakeArray<unsigned int>(
        IntType::Get32(), {120, 0, 95, 240},
        {SpecialKind::Normal, SpecialKind::Missing, SpecialKind::Normal, SpecialKind::Normal});
    auto const& array = prices->AsArray();
    out << "  prices " << Text(prices->GetType()->ToString()) << "  " << Elements(array) << '\n';
    // A sort is a permutation of positions: only a small index vector is new.
    auto sorted = array.CopyAndApplyIndices(std::vector<qelsize_t>{2, 0, 3, 1}, SortSpecOrder::ASC);
    out << "  sorted by index [2, 0, 3, 1]  " << Elements(sorted->AsArray()) << '\n';
    auto names =
        factory::MakeArray<RIndirectString>(StringType::Get(), {u"pear", u"fig", u"plum", u"kiwi"});
    auto slice = names->AsArray().GetRange(1, 2, 1);
    auto const& whole = names->AsTypedArray<RIndirectString>().GetRawArray();
    auto const& part = slice->AsTypedArray<RIndirectString>().GetRawArray();
    out << "  names " << Elements(names->AsArray()) << ", slice(1, 2) "
        << Elements(slice->AsArray())
        << (part.GetData() == whole.GetData() + 1 ? " shares its parent's buffer"
                                                  : " COPIED its elements")
        << '\n';
    TupleType const* rowType =
        TupleType::Get({StringType::Get(), IntType::Get32(), BoolType::Get()});
    QelTuple row(rowType);
    row.SetNthString(0, RIndirectString(u"fig"));
    row.SetNthInt32(1, 95);
    row.SetNthSpecial(2, SpecialKind::Null);
    out << "  a tuple " << Text(rowType->ToString()) << " of " << rowType->GetOffsets()->GetSize()
        << " packed bytes: (" << Text(row.GetNthString(0).GetValue()) << ", " << row.GetNthInt32(1)
        << ", " << Text(SpecialKindToString(row.GetNthSpecial(2))) << ")\n";
}

void ShowRunsAndTables(std::ostream& out) {
    Section(out, "Run-length columns and a table");
    Type const* int32 = IntType::Get32();
    // Three runs stand for a million elements: one record per run.
    std::vector<ValueCompositeArrayRange<unsigned int>> runs{
        {7, SpecialKind::Normal, 400000},
        {0, SpecialKind::Missing, 100000},
        {9, SpecialKind::Normal, 500000},
    };
    auto composite = factory::MakeCompositeArray<unsigned int>(int32, std::move(runs));
    auto const& array = composite->AsArray();
    out << "  a composite array of " << array.GetCount() << " elements in 3 runs: [0] "
        << Text(FormatPrimitive(*array.GetStoreValueAt(0))) << ", [450000] "
        << Text(FormatPrimitive(*array.GetStoreValueAt(450000))) << ", [999999] "
        << Text(FormatPrimitive(*array.GetStoreValueAt(999999))) << '\n';
    auto constant = factory::MakeConstantArray<unsigned int>(int32, 5u, 3);
    out << "  a constant array of 3: " << Elements(constant->AsArray()) << '\n';

    ValueMap columns;
    columns.emplace(RInternString(u"fruit"),
                    factory::MakeArray<RIndirectString>(StringType::Get(), {u"fig", u"kiwi"}));
    columns.emplace(
        RInternString(u"price"),
        factory::MakeArray<unsigned int>(int32, {95, 0}, {SpecialKind::Normal, SpecialKind::Null}));
    auto table = factory::MakeTable(std::move(columns), TableSortOrder{});
    out << "  a table " << Text(table->GetType()->ToString()) << ':';
    for (char16_t const* name : {u"fruit", u"price"}) {
        out << ' ' << Text(TStringCore(name)) << ' '
            << Elements(table->AsCollection().GetByString(RInternString(name))->AsArray());
    }
    out << '\n';
}

void ShowPayload(std::ostream& out) {
    Section(out, "A VTL payload read and written back (ParseVtlPayload, MakeVtlPayload)");
    TStringCore const payload(
        u"(graph)\n"
        u"3,,5,7,a/b,c\n"
        u"(updatable-keys)\n"
        u"prices/'list price'\n"
        u"(vtl)\n"
        u"// keep the known prices\n"
        u"a/b:i -> filter :true (isNull a/b) -> c:A<i>\n"
        u"-> block :'Main Block' ->\n"
        u"  -> constant :5:i -> x:i\n"
        u"  x -> map ('+' x :1:i) -> y\n");
    std::vector<TransformSpec> transforms;
    std::vector<GraphEdge> edges;
    boost::unordered_set<KeyPath> keys;
    ParseVtlPayload(payload, transforms, edges, keys);
    out << "  read " << edges.size() << " graph edge, " << keys.size() << " updatable key, "
        << transforms.size() << " top-level transforms; written back (comments dropped):\n";
    std::istringstream lines(MakeVtlPayload(transforms, edges, keys).toStdString());
    for (std::string line; std::getline(lines, line);)
        out << "    " << line << '\n';
}

void ShowFailure(std::ostream& out) {
    Section(out, "A refused request, as the caller sees it");
    std::ostringstream log;
    QelStreamLogger logger(QelLogLevel::Error, log);
    auto previous = SetQelLogger(logger.GetQelLogger());
    try {
        // A set cannot hold arrays.
        SetType::Get(ArrayType::Get(IntType::Get32()));
        out << "  unexpectedly accepted\n";
    } catch (QelException const& e) {
        out << "  error " << static_cast<unsigned>(e.GetError()) << ": " << e.what() << '\n';
        out << "  context: " << Text(e.GetContext()) << '\n';
    }
    SetQelLogger(previous);
    std::string line = log.str();
    auto at = line.find(" -- ");
    out << "  logged:" << (at == std::string::npos ? line : line.substr(at + 3));
    try {
        factory::MakeSpecial(IntType::Get32(), SpecialKind::Null)->AsInt32();
    } catch (QelException const& e) {
        out << "  reading a Null as Int32: " << e.what() << '\n';
    }
}

int RunDemo(Command const& self, std::vector<std::string> const& args, std::ostream& out) {
    if (ExpectNoArguments(self, args)) {
        out << self.usage;
        return 0;
    }
    RegisterDefaultCollatorPool();
    out << "qelcore demo: typed values, their text, columns and a VTL payload\n";
    ShowTypes(out);
    ShowValues(out);
    ShowOrder(out);
    ShowCasts(out);
    ShowLiterals(out);
    ShowColumns(out);
    ShowRunsAndTables(out);
    ShowPayload(out);
    ShowFailure(out);
    return 0;
}

}  // namespace

Command MakeDemoCommand() {
    Command command;
    command.name = "demo";
    command.summary = "show what the library does, on built-in sample data";
    command.usage =
        "usage: qel demo\n\n"
        "Interns types, makes values and specials, orders, casts, hashes and\n"
        "formats them, builds columns (plain, run-length) and a table, reads and\n"
        "writes a VTL payload, and shows a refused request with its message and\n"
        "context.\n";
    command.run = [self = command](std::vector<std::string> const& args, std::ostream& out) {
        return RunDemo(self, args, out);
    };
    return command;
}

}  // namespace qel::tools
