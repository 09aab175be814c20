#include "qel/core/serialize/VtlPayloadUtils.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/serialize/VtlParser.h"
#include "qel/core/serialize/VtlSerializer.h"
#include "qel/core/utility/MetricsFilter.h"

namespace qel::core {
namespace {

using test::P;
using test::Refused;
using Keys = boost::unordered_set<KeyPath>;

TStringCore U(std::string const& utf8) {
    return TStringCore::fromUtf8(utf8.c_str(), static_cast<int>(utf8.size()));
}

struct Read {
    std::vector<TransformSpec> transforms;
    std::vector<GraphEdge> edges;
    Keys keys;
};

Read Parse(std::string const& text) {
    Read read;
    ParseVtlPayload(U(text), read.transforms, read.edges, read.keys);
    return read;
}

std::string Make(Read const& read) {
    return MakeVtlPayload(read.transforms, read.edges, read.keys).toStdString();
}

// "3>5,7 a/b:c" per edge, "-" for no source.
std::string Edges(std::vector<GraphEdge> const& edges) {
    std::string text;
    for (GraphEdge const& edge : edges) {
        text += edge.sourceId == GraphEdge::NullSourceId ? std::string("-")
                                                         : std::to_string(edge.sourceId);
        text += '>';
        for (std::uint32_t target : edge.targetIds) {
            text += std::to_string(target);
            text += ',';
        }
        text += ' ';
        text += KeyPathSerializer::FromKeyPath(edge.key, true, nullptr).toStdString();
        text += ':';
        text += static_cast<char>(VtlPayloadUtils::BufferTypeToChar(edge.bufferType));
        text += ';';
    }
    return text;
}

TEST(VtlPayloadTest, WorkedExample) {
    Read in;
    in.transforms = ParseVtlList(U("a -> copy -> b\nb -> filter :true (f b) -> c\n"), true);
    in.edges = {{BufferType::C, GraphEdge::NullSourceId, {1}, P(u"a")},
                {BufferType::I, 1, {2}, P(u"b")}};
    in.keys = {P(u"a")};
    std::string const text =
        "(graph)\n,1,a,c\n1,,2,b,i\n(updatable-keys)\na\n(vtl)\n"
        "a -> copy -> b\nb -> filter :true (f b) -> c\n";
    EXPECT_EQ(Make(in), text);
    Read const out = Parse(text);
    EXPECT_EQ(Edges(out.edges), "->1, a:c;1>2, b:i;");
    EXPECT_EQ(out.keys, Keys{P(u"a")});
    EXPECT_EQ(TransformsToString(out.transforms, true, nullptr).toStdString(),
              "a -> copy -> b\nb -> filter :true (f b) -> c\n");
}

TEST(VtlPayloadTest, TextObjectsTextIsByteIdentical) {
    // Already in the writer's form, so it comes back to the byte; the graph
    // and key sections carry names only, the VTL section keeps types.
    std::string const text =
        "(graph)\n3,,5,7,a/b,c\n,'x y'/z,i\n4,,c,c\n,8,M,i\n(updatable-keys)\nq/'r s'\n(vtl)\n"
        "a/b:i -> filter :true (isNull a/b) -> c:A<i>\n"
        "-> block :'Main Block' ->\n"
        "  -> constant :5:i -> x:i\n"
        "  x -> map ('+' x :1:i) -> y\n";
    Read const read = Parse(text);
    EXPECT_EQ(Edges(read.edges), "3>5,7, a/b:c;-> 'x y'/z:i;4> c:c;->8, M:i;");
    EXPECT_EQ(Make(read), text);
    EXPECT_EQ(Make(Parse(Make(read))), text);
    // Types of keys outside the VTL section are lost; several keys survive as a set.
    Read typed;
    typed.edges = {{BufferType::I, 9, {}, P(u"a:i/b")}};
    typed.keys = {P(u"k:i"), P(u"l/m"), P(u"n")};
    Read const back = Parse(Make(typed));
    EXPECT_EQ(Edges(back.edges), "9> a/b:i;");
    EXPECT_EQ(back.keys, (Keys{P(u"k"), P(u"l/m"), P(u"n")}));
    for (KeyPath const& key : back.keys)
        EXPECT_EQ(KeyPathSerializer::FromKeyPath(key, true, nullptr),
                  KeyPathSerializer::FromKeyPath(key, false, nullptr));
}

TEST(VtlPayloadTest, EmptyAndEdgeCases) {
    EXPECT_EQ(Make(Read()), "(graph)\n(updatable-keys)\n(vtl)\n");
    for (char const* text :
         {"(graph)\n(updatable-keys)\n(vtl)\n", "(graph)\n(updatable-keys)\n(vtl)"}) {
        Read read = Parse(text);
        EXPECT_TRUE(read.edges.empty() && read.keys.empty() && read.transforms.empty()) << text;
    }
    // Top-level comments are neither written nor kept.
    Read commented;
    commented.transforms = ParseVtlList(U("// note\na -> copy -> b\n"), true);
    ASSERT_EQ(commented.transforms.size(), 2u);
    EXPECT_EQ(Make(commented), "(graph)\n(updatable-keys)\n(vtl)\na -> copy -> b\n");
    EXPECT_EQ(
        Parse("(graph)\n(updatable-keys)\n(vtl)\n// note\na -> copy -> b\n").transforms.size(), 1u);
    EXPECT_EQ(VtlPayloadUtils::CharToBufferType(u'c'), BufferType::C);
    EXPECT_EQ(VtlPayloadUtils::CharToBufferType(u'i'), BufferType::I);
    EXPECT_TRUE(VtlPayloadUtils::ParseKeys(TStringCore()).empty());
}

TEST(VtlPayloadTest, EachCallIsOneMetricScope) {
    std::vector<std::string> closed;
    metrics::MetricsSink previous =
        metrics::SetSink([&](metrics::MetricsValue const& value, std::chrono::nanoseconds) {
            closed.push_back(value.m_name);
        });
    Parse(Make(Read()));
    metrics::SetSink(std::move(previous));
    EXPECT_EQ(closed,
              (std::vector<std::string>{"qel_core_MakeVtlPayload", "qel_core_ParseVtlPayload"}));
}

TEST(VtlPayloadTest, EveryRefusal) {
    std::string const src = " @ Source: core/main/serialize/VtlPayloadUtils";
    std::string const graph = "(graphStart >= 0 && graphEnd >= graphStart + graphMarkerLen)";
    std::string const keys =
        "(updKeysStart > graphEnd && updKeysEnd >= updKeysStart + updKeysMarkerLen)";
    std::string const invalid = "VTL payload contains invalid content\n";
    struct Row {
        std::string text, refusal;
    };
    Row const rows[] = {
        // Markers missing or out of order. The third border check
        // ("(vtlStart > updKeysEnd)") cannot fail once the second passed: the
        // "(vtl)" it searches for is the one the second found.
        {"", invalid + graph + " | " + graph + src},
        {"(updatable-keys)\n(vtl)\n", invalid + graph + " | " + graph + src},
        {"(vtl)\n(updatable-keys)\n(graph)\n", invalid + graph + " | " + graph + src},
        {"(graph)(updatable-keys)\n(vtl)\n", invalid + graph + " | " + graph + src},
        {"(graph)\n(updatable-keys)\n", invalid + keys + " | " + keys + src},
        {"(graph)\n(vtl)\n(updatable-keys)\n", invalid + keys + " | " + keys + src},
        // Bad graph lines: the scanner's refusal with the line.
        {"(graph)\n3,,a\n(updatable-keys)\n(vtl)\n",
         "unexpected token\n3,,a | <any condition> @ Source: "
         "core/main/serialize/VtlScanner"},
        {"(graph)\n3,,a,7\n(updatable-keys)\n(vtl)\n",
         "unexpected token\n3,,a,7 | <any condition> @ Source: "
         "core/main/serialize/VtlScanner"},
        // An all-digit first segment is taken for a target.
        {"(graph)\n,12/x,c\n(updatable-keys)\n(vtl)\n",
         "unexpected token\n,12/x,c | <any condition> @ Source: "
         "core/main/serialize/VtlScanner"},
        {"(graph)\n1,2,,a,c\n(updatable-keys)\n(vtl)\n",
         "logic: a buffer may only have a single source transform\n1,2,,a,c | "
         "(sourceIds.size() <= 1)" +
             src},
        {"(graph)\n,a,x\n(updatable-keys)\n(vtl)\n",
         "logic: unspecified Vantrel Runtime error | <any condition>" + src},
        // A bad key line fails as MakeKeyPath.
        {"(graph)\n(updatable-keys)\na b\n(vtl)\n",
         "unexpected token\na b | <any condition> @ Source: "
         "core/main/serialize/KeyPathParser"},
        // A bad VTL body fails as ParseVtlList.
        {"(graph)\n(updatable-keys)\n(vtl)\na copy b\n",
         "unexpected token\na copy b | <any condition> @ Source: "
         "core/main/serialize/VtlParser"},
    };
    for (Row const& row : rows)
        EXPECT_EQ(test::Unpinned(Refused([&] { Parse(row.text); }), row.refusal), row.refusal)
            << row.text;
    std::string const badBuffer =
        "logic: unspecified Vantrel Runtime error | <any condition>" + src;
    EXPECT_EQ(test::Unpinned(
                  Refused([] { VtlPayloadUtils::BufferTypeToChar(static_cast<BufferType>(2)); }),
                  badBuffer),
              badBuffer);
}

// A refused line of any section is numbered in the whole payload.
TEST(VtlPayloadTest, RefusedLineNumbers) {
    auto const refusedAt = [](std::string const& text) {
        Read read;
        int line = -1;
        try {
            ParseVtlPayload(U(text), read.transforms, read.edges, read.keys, &line);
        } catch (QelException const&) {
            return line;
        }
        return -line;
    };
    std::string const keys = "(updatable-keys)\na\n\nb\n";
    EXPECT_EQ(refusedAt("(graph)\n,1,a,c\n" + keys + "(vtl)\na -> copy -> b\n"), 0);
    EXPECT_EQ(refusedAt("\n(graph)\n,1,a,c\n\n1,x\n" + keys + "(vtl)\n"), 5);
    EXPECT_EQ(refusedAt("(graph)\n" + keys + "c d\n(vtl)\n"), 6);
    EXPECT_EQ(refusedAt("(graph)\n" + keys + "(vtl)\na -> copy -> b\n\nb c\n"), 9);
    EXPECT_EQ(refusedAt("(graph)\n(vtl)\n(updatable-keys)\n"), 0);
}

TEST(VtlPayloadTest, FailureLeavesWhatWasReplaced) {
    auto const attempt = [](std::string const& text) {
        Read read;
        read.transforms = ParseVtlList(U("x -> copy -> y\n"), false);
        read.edges = {{BufferType::I, 5, {6}, P(u"old")}};
        read.keys = {P(u"old")};
        EXPECT_ANY_THROW(ParseVtlPayload(U(text), read.transforms, read.edges, read.keys));
        std::string state = Edges(read.edges);
        state += " | ";
        for (KeyPath const& key : read.keys)
            state += KeyPathSerializer::FromKeyPath(key, false, nullptr).toStdString();
        state += " | ";
        state += TransformsToString(read.transforms, false, nullptr).toStdString();
        return state;
    };
    std::string const old = "5>6, old:i; | old | x -> copy -> y\n";
    EXPECT_EQ(attempt("(graph)\n,1,a,c\n(updatable-keys)\n"), old);
    EXPECT_EQ(attempt("(graph)\n,1,a,x\n(updatable-keys)\nk\n(vtl)\n"), old);
    EXPECT_EQ(attempt("(graph)\n,1,a,c\n(updatable-keys)\nk k\n(vtl)\n"),
              "->1, a:c; | old | x -> copy -> y\n");
    EXPECT_EQ(attempt("(graph)\n,1,a,c\n(updatable-keys)\nk\n(vtl)\na copy b\n"),
              "->1, a:c; | k | x -> copy -> y\n");
}

}  // namespace
}  // namespace qel::core
