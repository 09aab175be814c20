#include "qel/core/serialize/StoreValueParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <regex>
#include <string>

#include "core/test/EveryKindStore.h"
#include "core/test/Refusal.h"
#include "qel/core/serialize/KeyPathParser.h"
#include "qel/core/serialize/StoreValueSerializer.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/types/Type.h"

namespace qel::core {
namespace {

using test::Refusal;

TStringCore Utf8(std::string const& text) {
    return TStringCore::fromStdString(text);
}

// The value at key "v" of a store read from `json`.
std::shared_ptr<StoreValue> ReadV(std::string const& json) {
    return StoreValueParser::MakeDataStore(Utf8(json))
        ->GetValue(KeyPathParser::MakeKeyPath(TStringCore(u"v")));
}

// The compact text of that value, as the writer gives it back.
std::string Written(std::string const& json) {
    return SerializeValue(*ReadV(json)).toStdString();
}

std::string Refused(std::string const& json) {
    return Refusal([&] { StoreValueParser::MakeDataStore(Utf8(json)); });
}

// The catalogue message alone, without details and condition.
std::string Message(std::string const& json) {
    std::string const refusal = Refused(json);
    return refusal.substr(0, std::min(refusal.find('\n'), refusal.find(" | ")));
}

TEST(StoreValueParserTest, WrittenStoresReadBackToTheSameText) {
    int files = 0;
    for (auto const& entry :
         std::filesystem::directory_iterator(std::string(QEL_TEST_CORPUS_DIR) + "/stores")) {
        std::ifstream in(entry.path(), std::ios::binary);
        std::string const text((std::istreambuf_iterator<char>(in)), {});
        auto const store = StoreValueParser::MakeDataStore(Utf8(text));
        // The JSON reader takes "-0" for the integer 0: a real's zero sign is lost.
        std::string const expected =
            std::regex_replace(text, std::regex(R"(([\[,:])-0([,\]}]))"), "$010$2");
        EXPECT_EQ(SerializeDataStoreCompact(*store).toStdString(), expected) << entry.path();
        ++files;
    }
    EXPECT_GT(files, 0);
}

TEST(StoreValueParserTest, KeysGiveTheTypes) {
    EXPECT_EQ(StoreValueParser::MakeDataStore(TStringCore(u"{}"))->GetKeyMap()->GetCount(), 0u);
    EXPECT_EQ(
        Refused("[]"),
        "KeyMap requires a dictionary; none found\n(o->IsDictionary()) | (o->IsDictionary())");
    EXPECT_EQ(Refused(R"({"a":3})"),
              "need to specify a key type\n(type) != nullptr | (type) != nullptr");
    auto const three = ReadV(R"({"v:i":3})");
    EXPECT_EQ(three->GetType(), IntType::Get32());
    EXPECT_EQ(three->AsInt32(), 3);
    EXPECT_EQ(ReadV(R"({"v:r<10,2>":1.25})")->GetType(), RealType::Get64(10, 2));
    EXPECT_TRUE(test::MatchesRefusal(
        Refused(R"({"a:i":1,"a:s":"x"})"),
        std::string("insert into map failed due to duplicate key | ") + test::kAnyCondition));
    // A table takes arrays of primitives only, and no special for a column.
    EXPECT_EQ(Refused(R"({"t:T":{"x:i":1}})"),
              "table values must be arrays\n(StoreType::Array == type->GetStoreType()) | "
              "(StoreType::Array == type->GetStoreType())");
    EXPECT_TRUE(test::MatchesRefusal(
        Refused(R"({"t:T":{"x:A<A<i>>":[]}})"),
        std::string("table arrays must contain primitives\nArray | ") + test::kAnyCondition));
    EXPECT_EQ(Refused(R"({"t:T":{"x:A<i>":"Null"}})"),
              "expected a json array\n(o->IsArray()) | (o->IsArray())");
}

TEST(StoreValueParserTest, StringsAndSpecialKeywords) {
    EXPECT_EQ(ReadV(R"({"v:s":"abc"})")->AsString(), RIndirectString(u"abc"));
    EXPECT_EQ(ReadV(R"({"v:s":"'a b'"})")->AsString(), RIndirectString(u"a b"));
    EXPECT_EQ(ReadV(R"({"v:s":"a b"})")->AsString(), RIndirectString(u"a b"));
    EXPECT_EQ(ReadV(R"({"v:s":"'Null'"})")->AsString(), RIndirectString(u"Null"));
    EXPECT_EQ(ReadV(R"({"v:s":"Null"})")->GetSpecialKind(), SpecialKind::Null);
    EXPECT_EQ(ReadV(R"({"v:i":"Null"})")->GetSpecialKind(), SpecialKind::Null);
    EXPECT_EQ(ReadV(R"({"v:b":"Missing"})")->GetSpecialKind(), SpecialKind::Missing);
    EXPECT_EQ(ReadV(R"({"v:A<i>":"Error"})")->GetType(), ArrayType::Get(IntType::Get32()));
    EXPECT_EQ(ReadV(R"({"v:r":"inf"})")->AsReal64(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Refused(R"({"v:s":1})"), "expected a json string\n(o->IsString()) | (o->IsString())");
    EXPECT_TRUE(test::MatchesRefusal(Refused(R"({"v:i":"7"})"),
                                     std::string("cannot parse int32\n(o->IsValue() && "
                                                 "!o->IsString()) | ") +
                                         test::kAnyCondition));
    // Numbers beyond the type's range are refused, not wrapped.
    EXPECT_EQ(Message(R"({"v:i":3000000000})"), "cannot parse int32");
    EXPECT_EQ(Message(R"({"v:l":9223372036854775808.0})"), "cannot parse int64");
    EXPECT_EQ(ReadV(R"({"v:l":9223372036854775807})")->AsInt64(), 9223372036854775807LL);
    EXPECT_EQ(ReadV(R"({"v:c":"ff010203"})")->AsColor().AsInt32(), static_cast<int>(0xff010203u));
    EXPECT_EQ(Refused(R"({"v:c":16777215})"),
              "expected a json string\n(o->IsString()) | (o->IsString())");
}

TEST(StoreValueParserTest, ArraysAndTheirSpecialPairs) {
    auto const array = ReadV(R"({"v:A<i>":[1,[0,"Null"]]})");
    ASSERT_EQ(array->GetCount(), 2u);
    EXPECT_EQ(array->AsTypedArray<unsigned int>().At(0), 1u);
    EXPECT_TRUE(array->AsArray().HasSpecialValues());
    EXPECT_EQ(Written(R"({"v:A<i>":[1,[0,"Null"]]})"), R"([1,[0,"Null"]])");
    EXPECT_EQ(Written(R"({"v:A<s>":["'x y'","Null"]})"), R"(["x y","'Null'"])");
    EXPECT_EQ(Refused(R"({"v:A<i>":[[]]})"),
              "special value array must contain 2 items, 0 found\n!(subArray == subArrayEnd) | "
              "!(subArray == subArrayEnd)");
    EXPECT_EQ(Message(R"({"v:A<i>":[[0]]})"), "special value array must contain 2 items, 1 found");
    EXPECT_EQ(Message(R"({"v:A<i>":[[0,"Null",1]]})"),
              "special value array must contain 2 items, >2 found");
    EXPECT_EQ(Refused(R"({"v:A<i>":[{}]})"),
              "arrays must contain values or array objects\n(v->IsArray()) | (v->IsArray())");
    EXPECT_EQ(Message(R"({"v:A<i>":["Null"]})"), "cannot parse int32");
    EXPECT_EQ(Message(R"({"v:A<i>":[[0,"Nul"]]})"), "cannot parse special kind");
    // Collections and tuples have no pair form; a collection element may be special.
    EXPECT_EQ(Written(R"({"v:A<A<i>>":[[1],"Null",[]]})"), R"([[1],"Null",[]])");
    EXPECT_EQ(Written(R"({"v:A<P{ i, s }>":[[1,"a"],["Null","b"]]})"), R"([[1,"a"],["Null","b"]])");
}

TEST(StoreValueParserTest, SetsAndKeySetsInBothForms) {
    EXPECT_EQ(Written(R"({"v:S<i>":[[1],["Null"]]})"), R"([[1],["Null"]])");
    EXPECT_EQ(ReadV(R"({"v:S<i>":[2,1,2]})")->GetCount(), 2u);
    EXPECT_EQ(Written(R"({"v:S<P{ i }>":[[2],[1]]})"), "[[1],[2]]");
    EXPECT_EQ(Message(R"({"v:S<i>":[[1]]})"), "nested set of special values expected; none found");
    EXPECT_EQ(Message(R"({"v:S<i>":[[1],"x"]})"), "unexpected content found in set");
    EXPECT_EQ(Message(R"({"v:S<i>":[1,[2]]})"), "unexpected content found in set");
    EXPECT_EQ(Message(R"({"v:S<P{ i }>":[[[1]],["Null"]]})"),
              "sets of tuples do not support special values");

    EXPECT_EQ(Written(R"({"v:K<s,i>":{"x":1}})"), R"({"x":1})");
    EXPECT_EQ(Written(R"({"v:K<s,i>":[{"x":1},{"Null":2}]})"), R"([{"x":1},{"Null":2}])");
    EXPECT_EQ(Written(R"({"v:K<P{ i, s },A<i>>":{"[1,\"y\"]":[2]}})"), R"({"[1,\"y\"]":[2]})");
    EXPECT_EQ(Written(R"({"v:K<d,b>":{"2021-12-31":true}})"), R"({"2021-12-31":true})");
    EXPECT_EQ(Written(R"({"v:K<b,c>":{"true":"ff010203"}})"), R"({"true":"ff010203"})");
    EXPECT_EQ(Written(R"({"v:K<c,r>":{"ff010203":-2.5}})"), R"({"ff010203":-2.5})");
    EXPECT_EQ(Written(R"({"v:K<f,l>":{"1.5":-3}})"), R"({"1.5":-3})");
    EXPECT_EQ(Refused(R"({"v:K<s,i>":3})"),
              "KeySet requires a dictionary or array; none found\n(obj->IsDictionary() || "
              "obj->IsArray()) | (obj->IsDictionary() || obj->IsArray())");
    EXPECT_EQ(Message(R"({"v:K<s,i>":[{"x":1}]})"), "unexpected content found in key set");
    EXPECT_EQ(Message(R"({"v:K<i,i>":{"1":1,"01":2}})"),
              "insert into map failed due to duplicate key");
    // Normal is no special key.
    EXPECT_EQ(Message(R"({"v:K<i,i>":[{},{"Normal":2}]})"), "cannot parse special kind");
}

TEST(StoreValueParserTest, TuplesAndNesting) {
    auto const tuple = ReadV(R"({"v:P{ i, s }":["Null","a"]})");
    EXPECT_EQ(tuple->AsTuple().GetNthSpecial(0), SpecialKind::Null);
    EXPECT_EQ(tuple->AsTuple().GetNthString(1), RIndirectString(u"a"));
    EXPECT_EQ(Message(R"({"v:P{ i, s }":[1]})"), "tuple requires equal number of types and values");
    EXPECT_EQ(Message(R"({"v:P{ i, s }":{}})"), "tuple requires an array");
    // Key maps nest as deep as the JSON reader goes; deeper is no JSON.
    auto const nested = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i)
            text += R"({"m:M":)";
        text += "{}";
        return text + std::string(static_cast<std::size_t>(depth), '}');
    };
    EXPECT_NO_THROW(StoreValueParser::MakeDataStore(Utf8(nested(900))));
    EXPECT_EQ(Message(nested(5000)), "failed to parse string as JSON");
}

// Every kind of value, written and read back, means the same; the text form
// keeps no array forms or sort orders, so those are not compared.
using StoreValueJsonRoundTrip = test::EveryKindTest;

TEST_F(StoreValueJsonRoundTrip, EveryKindReadsBackAsTheSameValues) {
    std::unique_ptr<IDataStore> const store = test::EveryKind();
    for (auto const type : {JsonSerializerType::Compact, JsonSerializerType::Readable}) {
        TStringCore const text = SerializeDataStore(*store, JsonOptions{type, true, false});
        std::shared_ptr<DataStore> const back = StoreValueParser::MakeDataStore(text);
        EXPECT_EQ(test::Diff(*store->GetValue(KeyPath()), *back->GetValue(KeyPath()), "", false),
                  "");
        EXPECT_EQ(SerializeDataStore(*back, JsonOptions{type, true, false}), text);
    }
}

TEST_F(StoreValueJsonRoundTrip, CutAndMalformedTextsAreRefused) {
    std::string const text = SerializeDataStoreCompact(*test::EveryKind()).toStdString();
    // No proper prefix of a dictionary is JSON.
    for (std::size_t length = 0; length < text.size(); length += 7)
        EXPECT_THROW(StoreValueParser::MakeDataStore(Utf8(text.substr(0, length))), QelException)
            << length;
    // Numbers beyond a type's range are refused as that type's number,
    // never wrapped; beyond a double's, the JSON reader refuses them.
    EXPECT_EQ(Message(R"({"v:l":9223372036854775808})"), "cannot parse int64");
    EXPECT_EQ(Message(R"({"v:i":2147483648})"), "cannot parse int32");
    EXPECT_EQ(Message(R"({"v:r":1e400})"), "failed to parse string as JSON");
    // Bytes that are no UTF-8 reach the string as replacement characters,
    // never past the end of the text.
    for (std::string const bad : {"\xff", "\xe2\x82", "a\xc0\x80"}) {
        auto const value = ReadV(R"({"v:s":")" + bad + R"("})");
        TStringCore const read = value->AsString().GetValue();
        EXPECT_NE(
            std::u16string_view(read.data(), static_cast<std::size_t>(read.size())).find(u'\uFFFD'),
            std::u16string_view::npos)
            << bad;
    }
}

}  // namespace
}  // namespace qel::core
