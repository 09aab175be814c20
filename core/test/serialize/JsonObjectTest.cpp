#include "qel/core/serialize/JsonObject.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "core/test/ThrownText.h"

namespace qel::core {
namespace {

using test::ThrownText;

std::shared_ptr<IJsonObject> Parse(char const* text) {
    return GetRootJsonObject(TStringCore(text));
}

// "name=value" of each member, walking the dictionary, with nested arrays
// written as their element count.
std::string Members(IJsonObject const& object) {
    std::string out;
    auto it = object.GetDictionary().begin();
    auto const end = object.GetDictionary().end();
    for (; !it->IsEqualTo(*end); it->MoveNext()) {
        auto const [name, value] = it->GetCurrent();
        out.append(name.toStdString()).append("=");
        if (value->IsArray()) {
            int count = 0;
            for (auto e = value->GetArray().begin(); !e->IsEqualTo(*value->GetArray().end());
                 e->MoveNext())
                ++count;
            out.append("[").append(std::to_string(count)).append("]");
        } else if (value->IsString()) {
            out.append("'").append(value->GetString().toStdString()).append("'");
        } else if (value->IsDictionary()) {
            out.append("{").append(Members(*value)).append("}");
        } else {
            out += std::to_string(value->GetInt64());
        }
        out += ";";
    }
    return out;
}

TEST(JsonObjectTest, ATreeWalkedInTheOrderOfNames) {
    auto const root =
        Parse(R"({"b": [1, [2, 3], {}], "a": "x\u00e9", /* note */ "c": {"z": 1, "y": 2}})");
    ASSERT_TRUE(root->IsDictionary());
    EXPECT_FALSE(root->IsValue());
    EXPECT_EQ(Members(*root), "a='x\xC3\xA9';b=[3];c={y=2;z=1;};");

    // Elements of an array are read while the iterator stands on them.
    auto const array = Parse("[true, null, 1.5, \"inf\", 4294967296]");
    std::vector<std::string> seen;
    auto it = array->GetArray().begin();
    auto const again = it->Clone();
    for (; !it->IsEqualTo(*array->GetArray().end()); it->MoveNext()) {
        std::shared_ptr<IJsonObject> const e = it->GetCurrent();
        seen.push_back(e->IsValue() ? "v" : "c");
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"v", "v", "v", "v", "v"}));
    EXPECT_TRUE(again->GetCurrent()->Cast<bool>());
    again->MoveNext();
    EXPECT_TRUE(again->GetCurrent()->IsValue());  // null
    again->MoveNext();
    EXPECT_EQ(again->GetCurrent()->Cast<double>(), 1.5);
    EXPECT_EQ(again->GetCurrent()->Cast<float>(), 1.5f);
    again->MoveNext();
    EXPECT_TRUE(std::isinf(again->GetCurrent()->GetReal64()));
    again->MoveNext();
    EXPECT_EQ(again->GetCurrent()->Cast<long long>(), 4294967296LL);
    // Wrong-kind access fails with the JSON library's exception.
    EXPECT_NE(ThrownText([&] { again->GetCurrent()->GetInt32(); }), "(nothing thrown)");
    EXPECT_EQ(Parse("1")->GetReal64(), 1.0);
    EXPECT_EQ(Parse("\"nan\"")->IsString(), true);
}

TEST(JsonObjectTest, TextsThatDoNotParse) {
    for (char const* text : {"", "[1,]", "{\"a\": 1,}", "[1", "{\"a\" 1}", "tru"}) {
        EXPECT_EQ(ThrownText([&] { Parse(text); }), "failed to parse string as JSON") << text;
    }
    // Deep nesting is refused by the parser's depth limit, not the stack.
    std::string const deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_EQ(ThrownText([&] { GetRootJsonObject(TStringCore(deep.c_str())); }),
              "failed to parse string as JSON");
}

}  // namespace
}  // namespace qel::core
