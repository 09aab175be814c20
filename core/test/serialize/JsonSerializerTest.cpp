#include "qel/core/serialize/JsonSerializer.h"

#include <gtest/gtest.h>

#include <string>

#include "core/test/Refusal.h"

namespace qel::core {
namespace {

using test::Refusal;

TStringCore U(char16_t const* text) {
    return TStringCore(text);
}

std::string Text(JsonSerializer const& json) {
    return json.Build().toStdString();
}

// {"a": [1, 2], "b": [{"c": 3}]} in either form.
void WriteNested(JsonSerializer& json) {
    json.BeginDictionary();
    json.AppendKey(U(u"a"));
    json.BeginArray(false);
    json.AppendUnquotedString(U(u"1"));
    json.AppendUnquotedString(U(u"2"));
    json.EndArray();
    json.AppendKey(U(u"b"));
    json.BeginArray(true);
    json.BeginDictionary();
    json.AppendKey(U(u"c"));
    json.AppendUnquotedString(U(u"3"));
    json.EndDictionary();
    json.EndArray();
    json.EndDictionary();
}

TEST(JsonSerializerTest, CompactAndReadableForms) {
    JsonSerializer compact;
    WriteNested(compact);
    EXPECT_EQ(Text(compact), R"({"a":[1,2],"b":[{"c":3}]})");

    JsonSerializer readable(JsonSerializerType::Readable);
    WriteNested(readable);
    EXPECT_EQ(Text(readable),
              "{\n"
              "    \"a\": [ 1, 2 ],\n"
              "    \"b\": [\n"
              "        {\n"
              "            \"c\": 3\n"
              "        }\n"
              "    ]\n"
              "}");

    // Empty collections; an array of simple arrays puts one on each line.
    JsonSerializer empty(JsonSerializerType::Readable);
    empty.BeginArray(true);
    empty.BeginArray(false);
    empty.EndArray();
    empty.BeginArray(false);
    empty.AppendString(U(u"x"));
    empty.EndArray();
    empty.BeginDictionary();
    empty.EndDictionary();
    empty.EndArray();
    EXPECT_EQ(Text(empty), "[\n    [ ],\n    [ \"x\" ],\n    {\n    }\n]");

    JsonSerializer root;
    root.AppendString(U(u"plain"));
    EXPECT_EQ(Text(root), "\"plain\"");
    EXPECT_EQ(Refusal([] { JsonSerializer(static_cast<JsonSerializerType>(2)); }),
              "unsupported serializer type | ");
}

TEST(JsonSerializerTest, EscapesAndTheirReadingBack) {
    JsonSerializer json;
    char16_t const raw[] = {u'a', 1, 31, 8, 9, 10, 12, 13, u'"', u'\\', u'/', 0xE9, 0};
    json.AppendString(TStringCore(raw));
    EXPECT_EQ(json.Build(), U(uR"("a\u0001\u001f\b\t\n\f\r\"\\/)"
                              u"\u00e9\""));

    EXPECT_EQ(JsonSerializer::UnescapeFromJson(U(uR"(a\\b\"\/\n\t\u0041)")),
              U(u"a\\b\"/\n\tu0041"));
    EXPECT_EQ(Refusal([] { JsonSerializer::UnescapeFromJson(U(uR"(abc\)")); }),
              "failed to parse string as JSON | !(isEscaping)");
}

TEST(JsonSerializerTest, TheStatesRefuseCallsOutOfOrder) {
    std::string const key = "unexpected dictionary key | (m_state == NeedsKey)";
    std::string const value = "unexpected dictionary value | (m_state == NeedsValue)";
    std::string const collection = "cannot start array; key expected | (m_state == NeedsValue)";
    auto const inDictionary = [](auto&& step) {
        return Refusal([&] {
            JsonSerializer json;
            json.BeginDictionary();
            step(json);
        });
    };
    EXPECT_EQ(inDictionary([](JsonSerializer& j) {
                  j.AppendKey(U(u"a"));
                  j.AppendKey(U(u"b"));
              }),
              key);
    EXPECT_EQ(inDictionary([](JsonSerializer& j) { j.AppendUnquotedString(U(u"1")); }), value);
    EXPECT_EQ(inDictionary([](JsonSerializer& j) { j.BeginDictionary(); }), collection);
    EXPECT_EQ(inDictionary([](JsonSerializer& j) { j.EndArray(); }),
              "array not supported in current state | ");

    EXPECT_EQ(Refusal([] {
                  JsonSerializer json;
                  json.BeginArray(false);
                  json.AppendKey(U(u"a"));
              }),
              "unable to add keys to a JSON array | ");
    EXPECT_EQ(Refusal([] {
                  JsonSerializer json;
                  json.AppendKey(U(u"a"));
              }),
              "unable to add key values to current output | ");
    EXPECT_EQ(Refusal([] { JsonSerializer().EndDictionary(); }),
              "dictionary not supported in current state | ");
    EXPECT_EQ(Refusal([] {
                  JsonSerializer json;
                  json.BeginArray(false);
                  json.EndArray();
                  json.AppendUnquotedString(U(u"1"));
              }),
              "can only add add a single item to root object | (m_items == 0)");
}

}  // namespace
}  // namespace qel::core
