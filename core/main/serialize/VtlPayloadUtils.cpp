#include "qel/core/serialize/VtlPayloadUtils.h"

#include <memory>
#include <utility>

#include "qel/core/serialize/KeyPathParser.h"
#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/serialize/VtlParser.h"
#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/serialize/VtlSerializer.h"
#include "qel/core/utility/MetricsFilter.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

constexpr char16_t kGraphMarker[] = u"(graph)";
constexpr char16_t kKeysMarker[] = u"(updatable-keys)";
constexpr char16_t kVtlMarker[] = u"(vtl)";

void AppendLine(TStringCore& out, char16_t const* text) {
    out += TStringCore(text);
    out += u'\n';
}

// Integers for as long as they come, each followed by a comma.
boost::container::small_vector<std::uint32_t, 4> ParseIntList(VtlScanner& scanner,
                                                              TStringCore const& line) {
    boost::container::small_vector<std::uint32_t, 4> ids;
    while (scanner.Peek(VtlTokenType::Int)) {
        ids.push_back(static_cast<std::uint32_t>(scanner.Next().GetInt()));
        scanner.Next(VtlTokenType::Comma, line);
    }
    return ids;
}

// Calls `read` with each non-empty line of a section body and the number of
// its physical line in the payload; `firstLine` is the line on which the
// body begins. `at` follows the line being read, so that a refusal can be
// shown where it stands.
template <class Read>
void ForEachBodyLine(TStringCore const& body, int firstLine, int& at, Read&& read) {
    int number = firstLine;
    for (TStringCore const& line : body.split(u'\n', sys::SplitBehavior::KeepEmptyParts)) {
        if (!line.isEmpty()) {
            at = number;
            read(line);
        }
        ++number;
    }
}

GraphEdge ParseGraphLine(TStringCore const& line) {
    VtlScanner scanner{TStringCore(line)};
    auto const sourceIds = ParseIntList(scanner, line);
    QEL_VALIDATE_LOGIC(sourceIds.size() <= 1, QelError::ABufferMayOnlyHaveASingle, line);
    scanner.Next(VtlTokenType::Comma, line);
    GraphEdge edge;
    edge.targetIds = ParseIntList(scanner, line);
    edge.key = KeyPathParser::ParseKeyPath(scanner, line);
    scanner.Next(VtlTokenType::Comma, line);
    TStringCore const& letter = scanner.Next(VtlTokenType::Identifier, line).GetString();
    edge.bufferType = VtlPayloadUtils::CharToBufferType(letter.isEmpty() ? u'\0' : letter[0]);
    edge.sourceId = sourceIds.empty() ? GraphEdge::NullSourceId : sourceIds.front();
    return edge;
}

std::vector<GraphEdge> ParseGraphBody(TStringCore const& body, int firstLine, int& at) {
    std::vector<GraphEdge> edges;
    ForEachBodyLine(body, firstLine, at,
                    [&](TStringCore const& line) { edges.push_back(ParseGraphLine(line)); });
    return edges;
}

boost::unordered_set<KeyPath> ParseKeysBody(TStringCore const& body, int firstLine, int& at) {
    boost::unordered_set<KeyPath> keys;
    ForEachBodyLine(body, firstLine, at, [&](TStringCore const& line) {
        keys.insert(KeyPathParser::MakeKeyPath(line));
    });
    return keys;
}

// The 1-based number of the physical line that holds `index`.
int LineOf(TStringCore const& text, int index) {
    int line = 1;
    for (int i = 0; i < index && i < text.size(); ++i)
        line += text[i] == u'\n' ? 1 : 0;
    return line;
}

}  // namespace

char16_t VtlPayloadUtils::BufferTypeToChar(BufferType type) {
    switch (type) {
        case BufferType::C:
            return u'c';
        case BufferType::I:
            return u'i';
    }
    QEL_VALIDATE_LOGIC(type == BufferType::C || type == BufferType::I, QelError::Unspecified);
    return u'c';
}

BufferType VtlPayloadUtils::CharToBufferType(char16_t letter) {
    QEL_VALIDATE_LOGIC(letter == u'c' || letter == u'i', QelError::Unspecified);
    return letter == u'c' ? BufferType::C : BufferType::I;
}

TStringCore VtlPayloadUtils::SerializeGraph(std::vector<GraphEdge> const& edges,
                                            KeyPathSerializerCache* cache) {
    TStringCore out;
    for (GraphEdge const& edge : edges) {
        if (edge.sourceId != GraphEdge::NullSourceId) {
            out += TStringCore::number(edge.sourceId);
            out += u',';
        }
        out += u',';
        for (std::uint32_t target : edge.targetIds) {
            out += TStringCore::number(target);
            out += u',';
        }
        out += KeyPathSerializer::FromKeyPath(edge.key, false, cache);
        out += u',';
        out += BufferTypeToChar(edge.bufferType);
        out += u'\n';
    }
    return out;
}

TStringCore VtlPayloadUtils::SerializeKeys(boost::unordered_set<KeyPath> const& keys,
                                           KeyPathSerializerCache* cache) {
    TStringCore out;
    for (KeyPath const& key : keys) {
        out += KeyPathSerializer::FromKeyPath(key, false, cache);
        out += u'\n';
    }
    return out;
}

std::vector<GraphEdge> VtlPayloadUtils::ParseGraph(TStringCore const& text) {
    int at = 0;
    return ParseGraphBody(text, 1, at);
}

boost::unordered_set<KeyPath> VtlPayloadUtils::ParseKeys(TStringCore const& text) {
    int at = 0;
    return ParseKeysBody(text, 1, at);
}

TStringCore MakeVtlPayload(std::vector<TransformSpec> const& transforms,
                           std::vector<GraphEdge> const& edges,
                           boost::unordered_set<KeyPath> const& updatableKeys) {
    auto const scope = OpenMetricsScope("qel_core_MakeVtlPayload");
    KeyPathSerializerCache cache;
    TStringCore out;
    AppendLine(out, kGraphMarker);
    out += VtlPayloadUtils::SerializeGraph(edges, &cache);
    AppendLine(out, kKeysMarker);
    out += VtlPayloadUtils::SerializeKeys(updatableKeys, &cache);
    AppendLine(out, kVtlMarker);
    out += TransformsToPayloadString(transforms, &cache);
    return out;
}

void ParseVtlPayload(TStringCore const& payload, std::vector<TransformSpec>& transforms,
                     std::vector<GraphEdge>& edges, boost::unordered_set<KeyPath>& updatableKeys) {
    ParseVtlPayload(payload, transforms, edges, updatableKeys, nullptr);
}

void ParseVtlPayload(TStringCore const& payload, std::vector<TransformSpec>& transforms,
                     std::vector<GraphEdge>& edges, boost::unordered_set<KeyPath>& updatableKeys,
                     int* refusedLine) {
    int ignored = 0;
    int& at = refusedLine != nullptr ? *refusedLine : ignored;
    at = 0;
    auto const scope = OpenMetricsScope("qel_core_ParseVtlPayload");
    TStringCore const graphMarker(kGraphMarker);
    TStringCore const keysMarker(kKeysMarker);
    TStringCore const vtlMarker(kVtlMarker);
    TStringCore keysBorder(u"\n");
    keysBorder += keysMarker;
    TStringCore vtlBorder(u"\n");
    vtlBorder += vtlMarker;

    int const graphStart = payload.indexOf(graphMarker, 0);
    int const graphMarkerLen = graphMarker.size();
    int const graphEnd = payload.indexOf(keysBorder, graphStart + 1);
    QEL_VALIDATE_SHOWN(graphStart >= 0 && graphEnd >= graphStart + graphMarkerLen,
                       QelError::VTLPayloadContainsInvalidContent);

    int const updKeysStart = payload.indexOf(keysMarker, graphEnd);
    int const updKeysMarkerLen = keysMarker.size();
    int const updKeysEnd = payload.indexOf(vtlBorder, updKeysStart + 1);
    QEL_VALIDATE_SHOWN(updKeysStart > graphEnd && updKeysEnd >= updKeysStart + updKeysMarkerLen,
                       QelError::VTLPayloadContainsInvalidContent);

    int const vtlStart = payload.indexOf(vtlMarker, updKeysEnd);
    QEL_VALIDATE_SHOWN(vtlStart > updKeysEnd, QelError::VTLPayloadContainsInvalidContent);

    int const graphBody = graphStart + graphMarkerLen;
    edges = ParseGraphBody(payload.mid(graphBody, graphEnd - graphBody), LineOf(payload, graphBody),
                           at);
    int const keysBody = updKeysStart + updKeysMarkerLen;
    updatableKeys =
        ParseKeysBody(payload.mid(keysBody, updKeysEnd - keysBody), LineOf(payload, keysBody), at);
    int const vtlBody = vtlStart + vtlMarker.size() + 1;
    int bodyLine = 0;
    at = 0;
    try {
        transforms = ParseVtlList(payload.mid(vtlBody), false, &bodyLine);
    } catch (...) {
        if (bodyLine > 0)
            at = LineOf(payload, vtlBody) + bodyLine - 1;
        throw;
    }
    at = 0;
}

}  // namespace qel::core
