#include "qel/core/vtl/VtlSerializer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/store/Factory.h"
#include "qel/core/types/Type.h"
#include "qel/core/vtl/KeyPathSerializer.h"
#include "qel/core/vtl/VtlParser.h"

namespace qel::core {
namespace {

using namespace factory;
using test::P;

TStringCore U(std::string const& utf8) {
    return TStringCore::fromUtf8(utf8.c_str(), static_cast<int>(utf8.size()));
}

std::string Write(std::vector<TransformSpec> const& specs, bool keepComments = true) {
    return TransformsToString(specs, keepComments, nullptr).toStdString();
}

std::string Line(TransformSpec const& spec) {
    return TransformToString(spec).toStdString();
}

std::string Literal(std::shared_ptr<StoreValue> const& value) {
    return Line(TransformSpec(OperatorType::Constant, KeyPath(), P(u"x"), nullptr, value));
}

// Text, parsed, written, parsed and written again: both texts must agree
// (the trees are equal as far as the writer can tell) and the second pass
// must change nothing.
std::string RoundTrip(std::string const& text) {
    std::string const first = Write(ParseVtlList(U(text), true));
    std::string const second = Write(ParseVtlList(U(first), true));
    EXPECT_EQ(first, second) << text;
    return first;
}

std::string const kExample =
    "// prepare\n"
    "a/b:i -> filter :true (isNull a/b) -> c:A<i>\n"
    "-> block :'Main Block' ->\n"
    "  -> constant :5:i -> x:i\n"
    "  x -> map ('+' x :1:i) -> y\n"
    "y -> copy -> z\n";

TEST(VtlSerializerTest, WorkedExample) {
    EXPECT_EQ(RoundTrip(kExample), kExample);
    auto const specs = ParseVtlList(U(kExample), true);
    EXPECT_EQ(Write(specs, false), kExample.substr(kExample.find('\n') + 1));
    EXPECT_EQ(TransformsToPayloadString(specs, nullptr).toStdString(), Write(specs, false));
    KeyPathSerializerCache cache;
    EXPECT_EQ(TransformsToString(specs, true, &cache).toStdString(), kExample);
    EXPECT_GT(cache.GetCount(), 0u);
    EXPECT_EQ(Line(specs[2].GetChildTransforms()[1]), "x -> map ('+' x :1:i) -> y");
    EXPECT_EQ(FunctionToString(*specs[2].GetChildTransforms()[1].GetFunctionSpec()).toStdString(),
              "'+' x :1:i");
}

TEST(VtlSerializerTest, Transforms) {
    EXPECT_EQ(Write({}), "");
    EXPECT_EQ(Write({TransformSpec(TStringCore(u"a")), TransformSpec(TStringCore())}, false), "");
    EXPECT_EQ(Write({TransformSpec(TStringCore(u" a")), TransformSpec(TStringCore())}), "// a\n\n");
    EXPECT_EQ(Line(TransformSpec(OperatorType::CreateTable, {P(u"a"), P(u"b")}, {P(u"t")})),
              "a b -> createTable -> t");
    EXPECT_EQ(Line(TransformSpec(OperatorType::Copy, {}, std::vector<KeyPath>{})), "-> copy ->");
    EXPECT_EQ(Line(TransformSpec(OperatorType::Index, P(u"a"), P(u"b"), nullptr, MakeInt32(3))),
              "a -> index :3 -> b");
    EXPECT_EQ(Line(TransformSpec(OperatorType::Scan, P(u"a"), P(u"b"),
                                 FunctionSpec::Make(RInternString(u"add"), P(u"a"), P(u"b")),
                                 MakeInt64(0))),
              "a -> scan :0:l (add a b) -> b");
    EXPECT_EQ(Line(TransformSpec(OperatorType::Map, {P(u"a")}, P(u"b"),
                                 FunctionSpec::Make(RInternString(u"abs"), P(u"a")))),
              "a -> map (abs a) -> b");
    // Quoted names in keys and functions; a literal argument carries its type.
    EXPECT_EQ(
        Line(TransformSpec(OperatorType::Map, {P(u"'c d'/7")}, P(u"'x y':s"),
                           FunctionSpec::Make(RInternString(u"my fn"),
                                              std::vector<ValueSpec>{ValueSpec(MakeString(u"true")),
                                                                     ValueSpec(P(u"a"))}))),
        "'c d'/7 -> map ('my fn' :'true':s a) -> 'x y':s");
    EXPECT_EQ(FunctionToString(*FunctionSpec::Make(RInternString(u"now"))).toStdString(), "now");
}

TEST(VtlSerializerTest, Literals) {
    std::pair<std::shared_ptr<StoreValue>, char const*> const cases[] = {
        {MakeString(u"a b"), "'a b':s"},
        {MakeString(u"ab"), "ab:s"},
        {MakeString(u""), "'':s"},
        {MakeString(u"true"), "'true':s"},
        {MakeString(u"a\nb"), "'a\\nb':s"},
        {MakeSpecial(IntType::Get32(), SpecialKind::Null), "Null:i"},
        {MakeSpecial(StringType::Get(), SpecialKind::Null), "Null:s"},
        {MakeBool(false), "false:b"},
        {MakeInt64(-7), "-7:l"}};
    for (auto const& [value, text] : cases) {
        std::string expected = "-> constant :";
        expected += text;
        EXPECT_EQ(Literal(value), expected + " -> x");
    }
    // Dates and colours are quoted; each literal reads back to its own text.
    for (auto const& value : {MakeDate(QelDateTime(2024, 1, 2, 0, 0, 0, 0)),
                              MakeDateTime(QelDateTime(2024, 1, 2, 3, 4, 5, 0)),
                              MakeColor(1, 2, 3, 4), MakeReal64(2.5), MakeString(u"it's")}) {
        std::string const text = Literal(value) + "\n";
        EXPECT_EQ(RoundTrip(text), text);
        EXPECT_EQ(BuildPrimitiveValue(*value).toStdString().front() == '\'',
                  value->GetStoreType() != StoreType::Real64);
    }
}

TEST(VtlSerializerTest, Nesting) {
    std::string const text =
        "-> block :outer ->\n"
        "  -> block :inner ->\n"
        "    -> case ->\n"
        "      c -> when ->\n"
        "        // kept inside\n"
        "        -> constant :1:i -> r:i\n"
        "  r -> copy -> s\n";
    EXPECT_EQ(RoundTrip(text), text);
    // The writer drops top-level comments only.
    auto const specs = ParseVtlList(U(text), true);
    EXPECT_EQ(Write(specs, false), text);
    TStringCore out;
    TransformToString(out, 3, specs[0].GetChildTransforms()[1]);
    EXPECT_EQ(out.toStdString(), "      r -> copy -> s");
    EXPECT_EQ(Line(specs[0].GetChildTransforms()[0]).substr(0, 20), "-> block :inner ->\n ");
}

TEST(VtlSerializerTest, Refusals) {
    auto const array = MakeSpecial(ArrayType::Get(IntType::Get32()), SpecialKind::Null);
    auto const external = MakeSpecial(ExternalType::Get(std::uint16_t{1}), SpecialKind::Null);
    auto const inCall = [](std::shared_ptr<StoreValue> const& value) {
        return test::Refused(
            [&] { FunctionToString(*FunctionSpec::Make(RInternString(u"f"), value)); });
    };
    std::string const at = " @ Source: core/main/serialize/VtlSerializer";
    std::string const primitive = "operator type must be a primitive | (IsPrimitiveStoreType(";
    std::string const notExternal = "operator type must not be external | !(";
    std::string const type = ".GetValue()->GetStoreType()";
    EXPECT_EQ(test::Refused([&] { Literal(array); }), primitive + "spec" + type + "))" + at);
    EXPECT_EQ(test::Refused([&] { Literal(external); }),
              notExternal + "spec" + type + " == StoreType::External)" + at);
    EXPECT_EQ(inCall(array), primitive + "valuespec" + type + "))" + at);
    EXPECT_EQ(inCall(external), notExternal + "valuespec" + type + " == StoreType::External)" + at);
}

TEST(VtlSerializerTest, Corpus) {
    auto const corpus = test::VtlCorpus();
    for (auto const& [name, text] : corpus) {
        for (bool keepComments : {true, false}) {
            auto const specs = ParseVtlList(U(text), keepComments);
            std::string const first = Write(specs);
            auto const again = ParseVtlList(U(first), true);
            EXPECT_EQ(again.size(), specs.size()) << name;
            EXPECT_EQ(Write(again), first) << name;
        }
    }
    EXPECT_GE(corpus.size(), 5u);
    EXPECT_EQ(RoundTrip(corpus.at("example.vtl")), kExample);
}

}  // namespace
}  // namespace qel::core
