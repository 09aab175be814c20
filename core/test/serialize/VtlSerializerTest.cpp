#include "qel/core/serialize/VtlSerializer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"
#include "qel/core/serialize/VtlParser.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/SpecialKind.h"
#include "qel/core/types/Type.h"
#include "qel/core/vtl/Visitors.h"

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

// Text, parsed, written, parsed and written again: the second tree must
// equal the first field by field, and the second writing must change nothing.
// Without comments both readings drop them, so the trees still compare.
std::string RoundTrip(std::string const& text, bool keepComments = true) {
    auto const first = ParseVtlList(U(text), keepComments);
    std::string const written = Write(first, keepComments);
    auto const second = ParseVtlList(U(written), keepComments);
    EXPECT_EQ(test::TransformDifference(first, second), "") << text;
    EXPECT_EQ(Write(second, keepComments), written);
    return written;
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
    // The failed condition is both the details and the logged condition.
    auto const refusal = [](std::string const& message, std::string const& condition) {
        return message + "\n" + condition + " | " + condition +
               " @ Source: core/main/serialize/VtlSerializer";
    };
    std::string const primitive = "operator type must be a primitive";
    std::string const notExternal = "operator type must not be external";
    EXPECT_EQ(test::Refused([&] { Literal(array); }),
              refusal(primitive, "(IsPrimitiveStoreType(spec.GetValue()->GetStoreType()))"));
    EXPECT_EQ(test::Refused([&] { Literal(external); }),
              refusal(notExternal, "!(spec.GetValue()->GetStoreType() == StoreType::External)"));
    EXPECT_EQ(inCall(array),
              refusal(primitive, "(IsPrimitiveStoreType(valuespec.GetValue()->GetStoreType()))"));
    EXPECT_EQ(
        inCall(external),
        refusal(notExternal, "!(valuespec.GetValue()->GetStoreType() == StoreType::External)"));
}

// Texts that read well but lose something on the way through the writer,
// which is why the corpus leaves them out. Each loss is the written form's
// own: a Real32 keeps 8 significant digits, too few above 1000; a literal of
// a fixed-type operator goes without its type, and a collation with it; an
// all-digit name is written bare and reads as a number; an empty name is
// written as nothing, so a typed one leaves its type to read as a name, a
// leading one vanishes with its slash, and any other leaves text that is
// refused; a noOp is written as its comment alone, and an empty comment is an
// empty line, which the reader skips; an apostrophe in an indented comment
// opens a quote that runs to the next apostrophe, so two such comments read
// as one line, and the one written back swallows the rest of the text; a
// special of a collection type reads but cannot be written.
TEST(VtlSerializerTest, LossesOfTheWrittenForm) {
    std::pair<char const*, char const*> const cases[] = {
        {"-> constant :1000.00006:f -> x", "[0] value"},
        {"-> block :x:s<en_US> ->", "[0] value"},
        {"'007' -> copy -> x", "[0] inputs"},
        {"'':i -> copy -> x", "[0] inputs"},
        {"a/'' -> copy -> x", "unexpected token\na/ -> copy -> x"},
        {"a:M{ '':i } -> copy -> x", "unexpected token\na:M{ :i } -> copy -> x"},
        {"a -> noOp -> b", "transforms 1 vs 0"},
        {"//", "transforms 1 vs 0"},
        {"''/a -> copy -> x", "[0] inputs"},
        {"-> block :b ->\n  // it's\n  // isn't\n-> copy -> z", "transforms 2 vs 1"},
        {"-> constant :Null:A<i> -> x",
         "operator type must be a "
         "primitive\n(IsPrimitiveStoreType(spec.GetValue()->GetStoreType()))"}};
    for (auto const& [text, loss] : cases) {
        auto const first = ParseVtlList(U(text), true);
        std::string found;
        try {
            found = test::TransformDifference(first, ParseVtlList(U(Write(first)), true));
        } catch (QelException const& e) {
            found = e.what();
        }
        EXPECT_EQ(found, loss) << text;
    }
}

TEST(VtlSerializerTest, Corpus) {
    auto const corpus = test::VtlCorpus();
    for (auto const& [name, text] : corpus) {
        for (bool keepComments : {true, false}) {
            SCOPED_TRACE(name + (keepComments ? " with comments" : " without comments"));
            RoundTrip(text, keepComments);
        }
        // The payload form keeps nested comments; a reader that drops them
        // must still see the text without comments.
        EXPECT_EQ(test::TransformDifference(
                      ParseVtlList(U(Write(ParseVtlList(U(text), true), false)), false),
                      ParseVtlList(U(text), false)),
                  "")
            << name;
    }
    EXPECT_GE(corpus.size(), 11u);
    EXPECT_EQ(RoundTrip(corpus.at("example.vtl")), kExample);

    // What the corpus must go on speaking: every operator, every special
    // kind, and a literal of every store type the reader makes.
    std::set<OperatorType> operators;
    std::set<SpecialKind> specials;
    std::set<StoreType> literals;
    auto const note = [&](std::shared_ptr<StoreValue> const& value) {
        if (value && value->IsSpecial())
            specials.insert(value->GetSpecialKind());
        else if (value)
            literals.insert(value->GetStoreType());
    };
    auto const onTransform = [&](TransformSpec const& transform) {
        operators.insert(transform.GetOperatorType());
        note(transform.GetValue());
        if (transform.GetFunctionSpec() != nullptr) {
            for (ValueSpec const& input : transform.GetFunctionSpec()->GetFunctionInputs())
                note(input.IsKey() ? nullptr : input.GetValue());
        }
    };
    for (auto const& [name, text] : corpus)
        Visitors::PreOrderVisit(onTransform, nullptr, nullptr, ParseVtlList(U(text), true), true);
    std::size_t primitives = 0;
    for (unsigned i = 0; i < kStoreTypeCount; ++i) {
        auto const type = static_cast<StoreType>(i);
        primitives += IsPrimitiveStoreType(type) && type != StoreType::External;
    }
    EXPECT_EQ(operators.size(), kOperatorTypeCount);
    EXPECT_EQ(specials.size(), kSpecialKindCount - 1);
    EXPECT_EQ(literals.size(), primitives);
}

}  // namespace
}  // namespace qel::core
