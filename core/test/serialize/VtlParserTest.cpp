#include "qel/core/serialize/VtlParser.h"

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/QelException.h"

namespace qel::core {
namespace {

using Texts = std::vector<std::string>;

TStringCore U(std::string const& utf8) {
    return TStringCore::fromUtf8(utf8.c_str(), static_cast<int>(utf8.size()));
}

void AddValue(std::string& text, std::shared_ptr<StoreValue> const& value) {
    text += StoreTypeToString(value->GetStoreType()).toStdString();
    text += ' ';
    text += FormatPrimitive(*value).toStdString();
}

std::string Paths(std::vector<KeyPath> const& paths) {
    std::string text = "[";
    text += test::Keys(paths);
    text += ']';
    return text;
}

// One transform on one line, so that a test states the whole tree:
//   op "comment" [inputs] =value fn(key k, lit v) -> [outputs] { child; ... }
std::string Describe(TransformSpec const& spec) {
    std::string text = OperatorTypeToString(spec.GetOperatorType()).toStdString();
    if (!spec.GetComment().isEmpty()) {
        text += " \"";
        text += spec.GetComment().toStdString();
        text += '"';
    }
    text += ' ';
    text += Paths(spec.GetInputs());
    if (spec.GetValue()) {
        text += " =";
        AddValue(text, spec.GetValue());
    }
    if (auto const& function = spec.GetFunctionSpec()) {
        text += ' ';
        text += function->GetFunctionId().GetValue().toStdString();
        char const* separator = "(";
        for (ValueSpec const& argument : function->GetFunctionInputs()) {
            text += separator;
            separator = ", ";
            text += argument.IsKey() ? "key " : "lit ";
            if (argument.IsKey())
                text += test::Keys({argument.GetKeyPath()});
            else
                AddValue(text, argument.GetValue());
        }
        text += function->GetFunctionInputs().empty() ? "()" : ")";
    }
    text += " -> ";
    text += Paths(spec.GetOutputs());
    char const* separator = " { ";
    for (TransformSpec const& child : spec.GetChildTransforms()) {
        text += separator;
        separator = "; ";
        text += Describe(child);
    }
    if (!spec.GetChildTransforms().empty())
        text += " }";
    return text;
}

Texts List(std::string const& text, bool keepComments = true) {
    Texts result;
    for (TransformSpec const& spec : ParseVtlList(U(text), keepComments))
        result.push_back(Describe(spec));
    return result;
}

using test::Refused;

std::string ListRefused(std::string const& text) {
    return Refused([&] { ParseVtlList(U(text), true); });
}

constexpr char kParser[] = " @ Source: core/main/serialize/VtlParser";

// "<what()> | <condition> @ <source>" of a refusal by the parser itself.
std::string At(std::string text, std::string const& condition = "") {
    text += " | ";
    text += condition;
    text += kParser;
    return text;
}

std::string const kTooDeep = "(parser.GetCurrentDepth() + 1 == currentLevel)";
// Conditions that only the parser's code spells; tests compare through
// test::Unpinned.
std::string const kArrow = test::kAnyCondition;
std::string const kFunctionName = test::kAnyCondition;

std::string const kExample =
    "// prepare\n"
    "a/b:i -> filter :true (isNull a/b) -> c:A<i>\n"
    "-> block :'Main Block' ->\n"
    "  -> constant :5:i -> x:i\n"
    "  x -> map ('+' x :1:i) -> y\n"
    "y -> copy -> z\n";

TEST(VtlParserTest, WorkedExample) {
    std::string const filter = "filter [a/b:i] =Bool true isNull(key a/b) -> [c:A<i>]";
    std::string const block =
        "block [] =String Main Block -> [] { constant [] =Int32 5 -> [x:i]; "
        "map [x] +(key x, lit Int32 1) -> [y] }";
    EXPECT_EQ(List(kExample),
              (Texts{"noOp \" prepare\" [] -> []", filter, block, "copy [y] -> [z]"}));
    EXPECT_EQ(List(kExample, false), (Texts{filter, block, "copy [y] -> [z]"}));
}

TEST(VtlParserTest, LineGrammar) {
    std::pair<char const*, char const*> const cases[] = {
        {"  a b/c -> copy -> d e", "copy [a b/c] -> [d e]"},
        {"// note", "noOp \" note\" [] -> []"},
        {"-> constant :5:i -> x", "constant [] =Int32 5 -> [x]"},
        {"-> constant :Null:i -> x", "constant [] =Int32 Null -> [x]"},
        {"-> constant :-7:l -> x", "constant [] =Int64 -7 -> [x]"},
        {"a -> index :3 -> i", "index [a] =Int32 3 -> [i]"},
        {"a -> filter :false:b -> f", "filter [a] =Bool false -> [f]"},
        // Whatever follows the output list is ignored.
        {"a -> map ('+' a) -> b extra!", "map [a] +(key a) -> [b extra]"},
        {"a -> copy -> b -> c", "copy [a] -> [b]"},
        {"a b -> map (f a :1:i :2.5:r :'x':s :Null:l b/c) -> o",
         "map [a b] f(key a, lit Int32 1, lit Real64 2.5, lit String x, lit Int64 Null, "
         "key b/c) -> [o]"},
        {"a -> map (+ a) -> o", "map [a] +(key a) -> [o]"},
        {"a -> map (- a) -> o", "map [a] -(key a) -> [o]"},
        {"a -> map (* a a) -> o", "map [a] *(key a, key a) -> [o]"},
        {"a -> map (< a) -> o", "map [a] <(key a) -> [o]"},
        {"a -> map (> a) -> o", "map [a] >(key a) -> [o]"},
        {"-> map ('my fn') -> o", "map [] my fn() -> [o]"},
    };
    for (auto const& [line, expected] : cases)
        EXPECT_EQ(Describe(ParseVtlLine(U(line))), expected) << line;
}

TEST(VtlParserTest, LineRefusals) {
    std::pair<char const*, std::string> const cases[] = {
        {"a b", At("unexpected token\na b", kArrow)},
        // The end of the line closes the function; the arrow is then missing.
        {"x -> map (abs x", At("unexpected token\nx -> map (abs x", kArrow)},
        {"a -> 5 -> b", At("unexpected token", test::kAnyCondition)},
        {"a -> Map -> b", At("unknown type name\nMap")},
        {"a -> copy :5 -> b", At("operator type does not expect an argument; one found")},
        {"-> constant :5 -> x", At("operator argument type spec not found", "(type) != nullptr")},
        {"a -> filter :5:i (f a) -> b",
         At("typespec does not match expected type for operator\nfilter", test::kAnyCondition)},
        {"a -> map (5 a) -> b", At("unexpected token\na -> map (5 a) -> b", kFunctionName)},
        {"a -> map () -> b", At("unexpected token\na -> map () -> b", kFunctionName)},
        {"a -> map (f :1) -> b",
         At("need to specify a key type\n(type) != nullptr", "(type) != nullptr")},
        // Both words are the value's tokens, but only the first is the value.
        {"-> constant :abc def:s -> x",
         At("unexpected token\n-> constant :abc def:s -> x", kArrow)},
        // Refusals of the readers underneath keep their own source.
        {"a -> filter :5 (f a) -> b", "cannot parse bool |  @ Source: core/main/utility/Parser"},
        {"a -> map (f , a) -> b",
         "unexpected token\na -> map (f , a) -> b | <any condition> @ Source: "
         "core/main/serialize/KeyPathParser"},
    };
    for (auto const& [text, expected] : cases) {
        // A lambda may not capture a structured binding under clang 14.
        std::string const line = text;
        EXPECT_EQ(test::Unpinned(Refused([&] { ParseVtlLine(U(line)); }), expected), expected)
            << line;
    }
}

TEST(VtlParserTest, Nesting) {
    EXPECT_TRUE(List("").empty());
    EXPECT_TRUE(List("   \n  \t \n\n ").empty());
    // Blank lines neither open nor close a level; open levels close at the
    // end; three blanks are level 1.
    EXPECT_EQ(List("-> block :'o' ->\n\n    \n  -> block :'i' ->\n    -> copy -> a\n"
                   "   -> copy -> b\n-> case ->\n  c -> when ->\n    -> copy -> d"),
              (Texts{"block [] =String o -> [] { block [] =String i -> [] { copy [] -> [a] }; "
                     "copy [] -> [b] }",
                     "case [] -> [] { when [c] -> [] { copy [] -> [d] } }"}));
    // Dropped comments do not take part in the nesting; kept, they do.
    std::string const text =
        "-> block :'b' ->\n  // inside\n      // too deep, but a comment\n// top\n"
        "  -> copy -> x\n";
    EXPECT_EQ(List(text, false), (Texts{"block [] =String b -> [] { copy [] -> [x] }"}));
    EXPECT_EQ(ListRefused(text), At("unspecified Vantrel Runtime error\n" + kTooDeep, kTooDeep));
    EXPECT_EQ(List("-> block :'b' ->\n  // inside\n  -> copy -> x"),
              (Texts{"block [] =String b -> [] { noOp \" inside\" [] -> []; copy [] -> [x] }"}));
}

TEST(VtlParserTest, NestingRefusals) {
    EXPECT_EQ(ListRefused("  -> copy -> x"),
              At("invalid nesting of transforms\n!(m_children).empty()", "!(m_children).empty()"));
    EXPECT_EQ(ListRefused("-> copy -> x\n  -> copy -> y"),
              At("unexpected child transform found\n(CanOperatorHaveChildTransforms(m_spec."
                 "GetOperatorType()))",
                 "(CanOperatorHaveChildTransforms(m_spec.GetOperatorType()))"));
    EXPECT_EQ(ListRefused("-> block :'b' ->\n  -> block :'c' ->\n      -> copy -> y"),
              At("unspecified Vantrel Runtime error\n" + kTooDeep, kTooDeep));
    std::string const unexpected = At("unexpected token\na b", kArrow);
    EXPECT_EQ(test::Unpinned(ListRefused("-> copy -> a\na b\n"), unexpected), unexpected);
}

TEST(VtlParserTest, LogicalLines) {
    // At column zero an apostrophe in a comment is prose; behind a blank it
    // opens a string that swallows the next line feed.
    EXPECT_EQ(List("// don't\n-> copy -> b"),
              (Texts{"noOp \" don't\" [] -> []", "copy [] -> [b]"}));
    EXPECT_EQ(List("-> copy -> a\n // don't\nz' -> copy -> b\n-> copy -> c"),
              (Texts{"copy [] -> [a]", "noOp \" don't\" [] -> []", "copy [] -> [c]"}));
    EXPECT_EQ(List("-> constant :'a\\nb\\'s':s -> x\n-> copy -> y"),
              (Texts{"constant [] =String a\nb's -> [x]", "copy [] -> [y]"}));
    // A real line feed in quotes keeps one logical line, which is then refused.
    EXPECT_EQ(ListRefused("-> constant :'a\nb':s -> x"),
              At("operator argument type spec not found", "(type) != nullptr"));
}

// The physical line on which the refused logical line begins: blank lines,
// comments and line feeds inside quotes all count.
TEST(VtlParserTest, RefusedLineNumbers) {
    auto const refusedAt = [](std::string const& text) {
        int line = -1;
        try {
            ParseVtlList(U(text), false, &line);
        } catch (QelException const&) {
            return line;
        }
        return -line;
    };
    EXPECT_EQ(refusedAt("a -> copy -> b\n"), 0);
    EXPECT_EQ(refusedAt("a b\n"), 1);
    EXPECT_EQ(refusedAt("// c\n\n  \na -> copy -> b\nb -> mapp -> c\n"), 5);
    EXPECT_EQ(refusedAt("-> copy -> a\n // it's\nz' -> copy -> b\n-> mapp -> c\n"), 4);
    EXPECT_EQ(refusedAt("-> constant :'x\\ny':s -> a\n-> constant :'a\nb':s -> x\n"), 2);
    EXPECT_EQ(refusedAt("-> copy -> a\n\n  -> copy -> b"), 3);
}

// Text that may be refused: nothing but the library's refusals may escape.
void Survives(TStringCore const& text) {
    try {
        ParseVtlList(text, true);
        ParseVtlList(text, false);
    } catch (QelException const&) {
    }
    try {
        ParseVtlLine(text);
    } catch (QelException const&) {
    }
}

TEST(VtlParserTest, HostileText) {
    for (char const* text :
         {"-> constant :'abc", "-> constant :'abc\n\n", "' '' ''' \\", "\\", "a -> map (",
          "a -> map (f :", "a -> map (f :1:", "a -> map (f ::i) -> b",
          "a -> filter :", "a:A<A<A<A<A<A<A<A<A<A<A<A<A<A<A<A<A<A<A<A<A<i"})
        Survives(U(text));
    std::u16string units = u"a -> copy -> b\n  -> copy -> c\n-> constant :'x':s -> d";
    units[15] = u'\0';
    units[25] = u'\0';
    units[44] = static_cast<char16_t>(0xD800);
    Survives(TStringCore(units.data(), static_cast<int>(units.size())));

    std::string deep(100000, ' ');
    deep += "-> copy -> x";
    EXPECT_EQ(ListRefused(deep), At("unspecified Vantrel Runtime error\n" + kTooDeep, kTooDeep));
    // Deep but well-formed nesting.
    std::string text;
    for (std::size_t level = 0; level < 300; ++level) {
        text += std::string(2 * level, ' ');
        text += "-> block :'b' ->\n";
    }
    std::vector<TransformSpec> const specs = ParseVtlList(U(text), true);
    ASSERT_EQ(specs.size(), 1u);
    int levels = 0;
    for (auto const* spec = &specs[0]; !spec->GetChildTransforms().empty();
         spec = &spec->GetChildTransforms()[0])
        ++levels;
    EXPECT_EQ(levels, 299);

    // Random texts of grammar pieces.
    char const* const pieces[] = {"a",  "b/c", ":", "->",    " ",    "  ",       "\n",  "'",
                                  "\\", "(",   ")", "block", "copy", "constant", "map", ":i",
                                  "5",  "-",   "+", "<",     "true", "//",       "A<",  "\t"};
    unsigned state = 12345;
    for (int round = 0; round < 3000; ++round) {
        std::string soup;
        for (unsigned i = 0; i <= state % 24; ++i) {
            state = state * 1103515245u + 12345u;
            soup += pieces[(state >> 16) % std::size(pieces)];
        }
        Survives(U(soup));
    }
}

// The corpus is kept for round trips through the writer; here every text
// must read, and every prefix of it must read or be refused.
TEST(VtlParserTest, Corpus) {
    auto const corpus = test::VtlCorpus();
    for (auto const& [name, text] : corpus) {
        EXPECT_NO_THROW(ParseVtlList(U(text), true)) << name;
        for (std::size_t length = 0; length < text.size(); ++length)
            Survives(U(text.substr(0, length)));
    }
    EXPECT_GE(corpus.size(), 11u);
    EXPECT_EQ(List(corpus.at("example.vtl")), List(kExample));
}

}  // namespace
}  // namespace qel::core
