#include "qel/core/serialize/KeyPathParser.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "core/main/serialize/KeyPathGrammar.h"
#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/types/HeterogeneousType.h"

namespace qel::core {
namespace {

TStringCore U(char const* utf8) {
    return TStringCore::fromUtf8(utf8);
}

using test::Refused;

std::vector<std::string> Lines(char const* file) {
    std::ifstream in(std::string(QEL_TEST_CORPUS_DIR) + "/keypaths/" + file);
    EXPECT_TRUE(in.is_open()) << file;
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

class KeyPathParserTest : public ::testing::Test {
protected:
    // The registry is process-wide and other tests clear it.
    void SetUp() override {
        try {
            GetExternalTypeId(TStringCore(u"Geometry"));
        } catch (std::out_of_range const&) {
            RegisterExternalType(
                77, TStringCore(u"Geometry"),
                [](ValueExternal const&) { return std::vector<unsigned char>(); },
                [](ArrayView<unsigned char const> const&) { return nullptr; });
        }
    }
};

constexpr char kParser[] = " @ Source: core/main/serialize/KeyPathParser";

using Read = void (*)(TStringCore const&);
Read const kPath = [](TStringCore const& t) { KeyPathParser::MakeKeyPath(t); };
Read const kList = [](TStringCore const& t) { KeyPathParser::MakeKeyPathList(t); };
Read const kSegment = [](TStringCore const& t) { KeyPathParser::MakeSegment(t); };
Read const kType = [](TStringCore const& t) { KeyPathParser::MakeType(t); };

TEST_F(KeyPathParserTest, EveryRefusalWithItsTextAndSource) {
    struct Row {  // the reader, the text, what(), the condition, the source if not the parser
        Read read;
        char const *text, *what, *condition, *source = kParser;
    };
    // The parser's own conditions are its spelling: the message, the text and
    // the source tell the refusals apart.
    char const* const any = test::kAnyCondition;
    Row const rows[] = {
        // A segment's first token is no name.
        {kPath, "1.5", "unexpected token\n1.5", any},
        {kPath, "true", "unexpected token\ntrue", any},
        // Text left behind a Make... parse: the text. A failed type leaves ":".
        {kPath, "a b", "unexpected token\na b", any},
        {kPath, "a:foo", "unexpected token\na:foo", any},
        {kPath, "a:", "unexpected token\na:", any},
        {kPath, "a:r<10>", "unexpected token\na:r<10>", any},
        {kSegment, "a/b", "unexpected token\na/b", any},
        {kList, "a ,", "unexpected token\na ,", any},
        {kType, "i i", "unexpected token\ni i", any},
        // ParseType passes the code of the TryParse... family on.
        {kType, "foo", "invalid StoreType\nfoo", any},
        {kType, "A", "unexpected token\nA", any},
        {kType, "", "unexpected token", any},
        // A member list may not end in a comma.
        {kType, "P{ i, }", "unexpected token\nP{ i, }", any},
        {kType, "M{ a:i, }", "unexpected token\nM{ a:i, }", any},
        // An unknown letter fails at once, also where a type is optional.
        {kPath, "a:q", "unknown type name", ""},
        {kType, "A<q>", "unknown type name", ""},
        {kPath, "a:x<NoSuchType>", "unknown type name\nNoSuchType", ""},
        // Types that the grammar reads but that cannot exist fail as they are built.
        {kType, "S<S<i>>", "illegal element type", any, " @ Source: core/main/types/Type"},
        {kType, "T{ a:i }", "every value in a table should be an array",
         "(member.GetType()->Is(StoreType::Array))",
         " @ Source: core/main/types/HeterogeneousType"}};
    for (Row const& row : rows) {
        std::string expected = row.what;
        expected += " | ";
        expected += row.condition;
        expected += row.source;
        EXPECT_EQ(test::Unpinned(Refused([&] { row.read(U(row.text)); }), expected), expected)
            << row.text;
    }
    // A scanned read refuses with the caller's message.
    VtlScanner path{U("a/")}, type{U("K<s>")};
    TStringCore const message(u"the message");
    std::string expected = "unexpected token\nthe message | ";
    expected += any;
    expected += kParser;
    EXPECT_EQ(
        test::Unpinned(Refused([&] { KeyPathParser::ParseKeyPath(path, message); }), expected),
        expected);
    EXPECT_EQ(test::Unpinned(Refused([&] { KeyPathParser::ParseType(type, message); }), expected),
              expected);
}

TEST_F(KeyPathParserTest, TheGrammarsEdges) {
    KeyPath p = KeyPathParser::MakeKeyPath(U("a/b:i/'c d'"));
    ASSERT_EQ(p.GetCount(), 3u);
    EXPECT_EQ(p.GetSegments()[1].GetType(), IntType::Get32());
    EXPECT_EQ(p.GetSegments()[2].GetSegment().GetValue(), u"c d");
    EXPECT_EQ(KeyPathParser::MakeKeyPath(U("007")).GetLeaf().GetValue(), u"7");
    EXPECT_EQ(KeyPathParser::MakeKeyPathList(U("a b/c 12")).size(), 3u);
    EXPECT_TRUE(KeyPathParser::MakeKeyPathList(TStringCore()).empty());
    EXPECT_EQ(KeyPathParser::MakeType(U("M")), KeyPathParser::MakeType(U("M{}")));
    EXPECT_EQ(KeyPathParser::MakeType(U("P")), TupleType::Get({}));
    auto real = KeyPathParser::MakeType(U("r<10,2>"))->As<RealType>();
    EXPECT_EQ(real->GetPrecision(), 10);
    EXPECT_EQ(real->GetScale(), 2);
    EXPECT_EQ(KeyPathParser::MakeType(U("r")), RealType::Get64());
    EXPECT_EQ(KeyPathParser::MakeType(U("f<255,255>")), RealType::Get32());
    EXPECT_EQ(KeyPathParser::MakeType(U("s<LROOT>")), StringType::Get());
    EXPECT_EQ(KeyPathParser::MakeType(U("M{ 7:i }"))
                  ->As<KeyMapType>()
                  ->GetMembers()[0]
                  .GetName()
                  .GetValue(),
              u"7");
    EXPECT_EQ(KeyPathParser::MakeType(U(" K < i , A<s> > ")),
              KeySetType::Get(IntType::Get32(), ArrayType::Get(StringType::Get())));
}

// A failed TryParse... puts back every token it read, including those of
// nested parts that had succeeded; a success leaves the scanner behind it.
TEST_F(KeyPathParserTest, FailedTypesRestoreTheScanner) {
    for (char const* text : {"A<i x", "M{ a:A<i>, b:q2 }", "K<i,s", "P{ i, s ]"}) {
        VtlScanner scanner{U(text)};
        Type const* type = nullptr;
        EXPECT_NE(recursive_descent::TryParseType(scanner, type), QelError::NoError) << text;
        EXPECT_EQ(type, nullptr);
        VtlScanner fresh{U(text)};
        for (int i = 0; i < 12; ++i)
            EXPECT_EQ(scanner.Next(), fresh.Next()) << text << " token " << i;
    }
    VtlScanner scanner{U("A<i> rest")};
    Type const* type = nullptr;
    EXPECT_EQ(recursive_descent::TryParseType(scanner, type), QelError::NoError);
    EXPECT_EQ(scanner.Next().GetString(), u"rest");
    VtlScanner colon{U("a:foo")};
    EXPECT_FALSE(KeyPathParser::ParseKeyPath(colon, TStringCore()).GetLeafSegment().HasType());
    EXPECT_EQ(colon.Next().GetType(), VtlTokenType::Colon);
    EXPECT_EQ(colon.Next().GetString(), u"foo");
}

TEST_F(KeyPathParserTest, CorpusReadsBackAsWritten) {
    std::vector<std::string> paths = Lines("paths.txt");
    TStringCore all;
    std::vector<KeyPath> parsed;
    for (std::string const& line : paths) {
        KeyPath path = KeyPathParser::MakeKeyPath(U(line.c_str()));
        TStringCore written = KeyPathSerializer::FromKeyPath(path, true, nullptr);
        EXPECT_EQ(written.toStdString(), line);
        KeyPath again = KeyPathParser::MakeKeyPath(written);
        EXPECT_EQ(again, path);
        EXPECT_EQ(again.GetHashValue(), path.GetHashValue());
        for (qelsize_t i = 0; i < path.GetCount(); ++i)
            EXPECT_TRUE(again.GetSegments()[i].TypeAwareEquals(path.GetSegments()[i])) << line;
        all.append(U(line.c_str())).append(u' ');
        parsed.push_back(path);
    }
    EXPECT_EQ(KeyPathParser::MakeKeyPathList(all), parsed);
    for (std::string const& line : Lines("types.txt")) {
        Type const* type = KeyPathParser::MakeType(U(line.c_str()));
        TStringCore written = KeyPathSerializer::BuildType(type, true);
        EXPECT_EQ(written.toStdString(), line);
        EXPECT_EQ(KeyPathParser::MakeType(written), type) << line;
    }
    for (std::string const& line : Lines("refused.txt"))
        EXPECT_THROW(KeyPathParser::MakeKeyPath(U(line.c_str())), QelException) << line;
}

// Whatever the text, the parser answers or refuses with the catalogue.
TEST_F(KeyPathParserTest, HostileTextIsRefusedNotFatal) {
    // clang-format off
    std::vector<std::u16string> texts = {
        u"'abc", u"a:'x", u"'\\", u"a/'b\\", u"\xD800", u"'\xDC00'", u"'a\\\xD800\xDC00'",
        u"a:M{ '\xD800':i }", std::u16string(u"a\0b", 3), std::u16string(u"'\0'", 3),
        u"99999999999999999999/a", u"a:r<99999999999999999999,1>", u"a:r<9223372036854775807,1>",
        u"a:M{ 99999999999999999999:i }", u"\x0C", u"a:\xFFFF", u"a\r\n  b", u"a // comment"};
    // clang-format on
    std::u16string nested, maps = u"a:";
    for (int i = 0; i < 99; ++i)
        nested += u"A<";
    nested += u'i' + std::u16string(99, u'>');
    for (int i = 0; i < 20000; ++i)
        maps += u"M{ a:";
    for (std::u16string const& more :
         {u"a:" + nested, u"a:A<" + nested + u">", maps, std::u16string(50000, u'{')})
        texts.push_back(more);
    for (std::u16string const& text : texts) {
        for (Read read : {kPath, kList, kSegment, kType}) {
            try {
                read(TStringCore(text.data(), static_cast<int>(text.size())));
            } catch (QelException const&) {
            }
        }
    }
    // The nesting limit: a hundred types deep are read, one more is not.
    EXPECT_NO_THROW(KeyPathParser::MakeKeyPath(TStringCore(u"a:") + TStringCore(nested.c_str())));
    EXPECT_THROW(KeyPathParser::MakeKeyPath(TStringCore(u"a:A<") + TStringCore(nested.c_str()) +
                                            TStringCore(u">")),
                 QelRuntimeException);
    // A lone surrogate is an ordinary unit of a quoted name.
    KeyPath lone = KeyPathParser::MakeKeyPath(TStringCore(u"'\xD800'/b"));
    EXPECT_EQ(lone.GetSegments()[0].GetSegment().GetValue(), TStringCore(u"\xD800"));
    EXPECT_EQ(KeyPathParser::MakeKeyPath(lone.ToString()), lone);
    // Long paths are no recursion.
    TStringCore longPath(u"a");
    for (int i = 0; i < 20000; ++i)
        longPath.append(TStringCore(u"/b"));
    EXPECT_EQ(KeyPathParser::MakeKeyPath(longPath).GetCount(), 20001u);
}

}  // namespace
}  // namespace qel::core
