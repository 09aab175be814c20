#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "core/test/ThrownText.h"
#include "fuzz/JsonReadersDifference.h"
#include "qel/core/QelCore.h"

namespace qel::core {
namespace {

using namespace std::string_literals;
using test::ThrownText;

// "accepted" or the refusal, after checking that both readers agree on it
// and build trees that cannot be told apart.
std::string ReadBoth(TStringCore const& text) {
    std::shared_ptr<IJsonObject> fast;
    std::shared_ptr<IJsonObject> reference;
    std::string const fastVerdict =
        ThrownText([&] { fast = GetRootJsonObject(text, JsonReader::Fast); });
    std::string const referenceVerdict =
        ThrownText([&] { reference = GetRootJsonObject(text, JsonReader::Reference); });
    EXPECT_EQ(fastVerdict, referenceVerdict) << text.toStdString();
    if (fast == nullptr || reference == nullptr)
        return fastVerdict;
    EXPECT_EQ(qel::fuzz::JsonTreeDifference(*fast, *reference), "") << text.toStdString();
    return "accepted";
}

std::string ReadBoth(std::string const& utf8) {
    return ReadBoth(TStringCore::fromUtf8(utf8.data(), static_cast<int>(utf8.size())));
}

TEST(SimdJsonObjectTest, AcceptsAndRefusesAsTheReferenceReader) {
    std::string const refused = "failed to parse string as JSON";
    // Plain JSON, and what jsoncpp reads beyond it: comments, text after the
    // root value, a byte order mark, lax numbers, raw control characters,
    // and a trailing comma after a member named "" (a quirk of jsoncpp's).
    for (std::string const& text : std::vector<std::string>{
             "{\"b\": [1, 2.5, \"x\"], \"a\": {}}", "[1, /* two */ 2] // end", "1 2", "[1]]",
             "\xEF\xBB\xBF[1]", "-", "+1", "01", "-.5", "1.", "[1e-400, -0, -0.0]",
             "18446744073709551616", "\"a\tb\"", "\"a\0b\""s, "{\"\": 1,}", "\"\\uDC00\"",
             "\"\\uD800\\u0041\"", "{\"a\":/**/1}", "[1/**/]"})
        EXPECT_EQ(ReadBoth(text), "accepted") << text;
    for (std::string const& text :
         std::vector<std::string>{"", "  ", "[1,]", "{\"a\": 1,}", "[/**/]", "{\"a\"/**/:1}",
                                  "1e400", "[1.7976931348623159e308]", "\"\\uD800\"", "1.5e",
                                  "[1\x01]", "nul", "[1\0]"s, "\xEF\xBB\xBF\xEF\xBB\xBF[1]"})
        EXPECT_EQ(ReadBoth(text), refused) << text;
    // Raw text beyond ASCII, across the sixteen-unit steps of the conversion
    // to UTF-8; a lone surrogate of the text reaches the readers as U+FFFD.
    EXPECT_EQ(ReadBoth(TStringCore(u"[\"\xD800\", \"\xDC00x\", \"0123456789abc\u00e9\U0001F600\", "
                                   u"\"0123456789abcde\U0001F600\xD83D\"]")),
              "accepted");
    // jsoncpp counts a value inside the innermost container as one level more.
    for (auto const& [open, close] : {std::pair{"[", "]"}, std::pair{"{\"k\":", "}"}}) {
        for (int depth : {999, 1000, 1001}) {
            std::string empty;
            std::string full;
            for (int i = 0; i < depth; ++i)
                empty += open;
            full = empty + "1";
            empty += open[0] == '[' ? "" : "{}";
            for (int i = 0; i < depth; ++i) {
                empty += close;
                full += close;
            }
            EXPECT_EQ(ReadBoth(empty), depth <= 1000 && open[0] == '[' ? "accepted"
                                       : depth <= 999                  ? "accepted"
                                                                       : refused);
            EXPECT_EQ(ReadBoth(full), depth <= 999 ? "accepted" : refused);
        }
    }
}

TEST(SimdJsonObjectTest, ConvertsAndFailsAsTheReferenceReader) {
    // Each accessor at and beyond the edges of its range; ReadBoth compares
    // every result and every exception's type and text.
    EXPECT_EQ(ReadBoth(std::string(
                  "[2147483647, 2147483648, -2147483648, -2147483649, 2147483647.5, -2147483648.5,"
                  " 9223372036854775807, 9223372036854775808, 18446744073709551615,"
                  " -9223372036854775808, 9223372036854775808.0, -9223372036854775808.0,"
                  " 9223372036854774784.0, 4611686293305294849, 1e300, 4.9e-324, -0, -0.0, 0.5,"
                  " \"inf\", \"-nan\", \"x\", \"\", true, false, null, [], {}]")),
              "accepted");
    // Values of the data store's JSON form, names out of order and repeated.
    EXPECT_EQ(ReadBoth(std::string("{\"z\": 1, \"a\": [1, {\"k\": 2, \"k\": [3]}], \"\\u00e9\": "
                                   "\"x\", \"a\\u0000\": 4, \"\": 5, \"A\": -1.5e-7}")),
              "accepted");
    auto const fast = GetRootJsonObject(TStringCore("[2147483648, \"x\", 4611686293305294849]"),
                                        JsonReader::Fast);
    auto it = fast->GetArray().begin();
    EXPECT_EQ(ThrownText([&] { it->GetCurrent()->GetInt32(); }), "LargestInt out of Int range");
    it->MoveNext();
    EXPECT_EQ(ThrownText([&] { it->GetCurrent()->GetInt64(); }),
              "Value is not convertible to Int64.");
    it->MoveNext();
    // Straight to float, not through a double, which would round twice.
    EXPECT_EQ(it->GetCurrent()->GetReal32(), 4611686293305294849.0f);
    EXPECT_NE(it->GetCurrent()->GetReal32(), static_cast<float>(4611686293305294849.0));
}

std::string StoreOf(std::string const& utf8, JsonReader reader) {
    return qel::fuzz::StoreText(GetRootJsonObject(
        TStringCore::fromUtf8(utf8.data(), static_cast<int>(utf8.size())), reader));
}

TEST(SimdJsonObjectTest, ReadsTheStoreCorpusAsTheReferenceReader) {
    RegisterDefaultCollatorPool();
    int files = 0;
    for (auto const& entry :
         std::filesystem::directory_iterator(std::string(QEL_TEST_CORPUS_DIR) + "/stores")) {
        std::ifstream in(entry.path(), std::ios::binary);
        std::string const text((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
        EXPECT_EQ(ReadBoth(text), "accepted") << entry.path();
        EXPECT_EQ(StoreOf(text, JsonReader::Fast), StoreOf(text, JsonReader::Reference))
            << entry.path();
        ++files;
    }
    EXPECT_GT(files, 0);
}

TEST(SimdJsonObjectTest, ColumnsReadAsTheReferenceReadsThemElementByElement) {
    RegisterDefaultCollatorPool();
    // Each column in its commonest form, and with one element that leaves
    // it to the walk: a special, a bool or a real among integers, a real as
    // text, a string that is quoted, blank-edged or cut by a NUL.
    for (std::string const& column : std::vector<std::string>{
             R"("b:A<b>":[true,0,null,2.5])", R"("b:A<b>":[true,[false,"Null"]])",
             R"("i:A<i>":[1,-2147483648,2147483647])", R"("i:A<i>":[1,true,2.0])",
             R"("i:A<i>":[1,2147483648])", R"("l:A<l>":[1,-9223372036854775808,2])",
             R"("l:A<l>":[1,2.0])", R"("l:A<l>":[1,9223372036854775808.0])",
             R"("f:A<f>":[1.5,1e39,-0.0,null])", R"("f:A<f>":[1.5,"inf"])",
             R"("r:A<r>":[0.1,3,18446744073709551615])", R"("r:A<r>":[0.1,"-nan"])",
             R"("s:A<s>":["x","été","Null"])", R"("s:A<s>":["x","'q u'"])",
             R"("s:A<s>":["x"," a "])", R"("s:A<s>":["x","a\u0000b"])", R"("s:A<s>":["x",1])",
             R"("d:A<d>":["2021-12-31"])", R"("s:A<s>":[])"}) {
        std::string const text = "{" + column + "}";
        EXPECT_EQ(StoreOf(text, JsonReader::Fast), StoreOf(text, JsonReader::Reference)) << text;
    }
    EXPECT_EQ(StoreOf(R"({"s:A<s>":["x","'q u'"," a "]})", JsonReader::Fast),
              R"({"s:A<s>":["x","q u","a"]})");
    EXPECT_EQ(StoreOf(R"({"i:A<i>":[1,2147483648]})", JsonReader::Fast),
              "refused: cannot parse int32\nLargestInt out of Int range");
}

}  // namespace
}  // namespace qel::core
