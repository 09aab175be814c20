#include "qel/core/vtl/VtlPayload.h"

#include <memory>
#include <utility>

#include "qel/core/utility/MetricsFilter.h"
#include "qel/core/utility/Validation.h"
#include "qel/core/vtl/KeyPathParser.h"
#include "qel/core/vtl/KeyPathSerializer.h"
#include "qel/core/vtl/VtlParser.h"
#include "qel/core/vtl/VtlScanner.h"
#include "qel/core/vtl/VtlSerializer.h"

// A section border check: the condition's text is also the details.
#define QEL_VALIDATE_PAYLOAD(cond) \
    QEL_VALIDATE(cond, QelError::VTLPayloadContainsInvalidContent, "(" #cond ")")

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

}  // namespace

char16_t VtlPayloadUtils::BufferTypeToChar(BufferType type) {
    switch (type) {
        case BufferType::C:
            return u'c';
        case BufferType::I:
            return u'i';
    }
    QEL_VALIDATE_LOGIC(type == BufferType::C || type == BufferType::I, QelError::InvalidEnumValue);
    return u'c';
}

BufferType VtlPayloadUtils::CharToBufferType(char16_t letter) {
    QEL_VALIDATE_LOGIC(letter == u'c' || letter == u'i', QelError::InvalidEnumValue);
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
    std::vector<GraphEdge> edges;
    for (TStringCore const& line : text.split(u'\n', sys::SplitBehavior::SkipEmptyParts)) {
        VtlScanner scanner{TStringCore(line)};
        auto const sourceIds = ParseIntList(scanner, line);
        QEL_VALIDATE_LOGIC(sourceIds.size() <= 1, QelError::ABufferMayOnlyHaveASingle, line);
        scanner.Next(VtlTokenType::Comma, line);
        GraphEdge edge;
        edge.targetIds = ParseIntList(scanner, line);
        edge.key = KeyPathParser::ParseKeyPath(scanner, line);
        scanner.Next(VtlTokenType::Comma, line);
        TStringCore const& letter = scanner.Next(VtlTokenType::Identifier, line).GetString();
        edge.bufferType = CharToBufferType(letter.isEmpty() ? u'\0' : letter[0]);
        edge.sourceId = sourceIds.empty() ? GraphEdge::NullSourceId : sourceIds.front();
        edges.push_back(std::move(edge));
    }
    return edges;
}

boost::unordered_set<KeyPath> VtlPayloadUtils::ParseKeys(TStringCore const& text) {
    boost::unordered_set<KeyPath> keys;
    if (text.isEmpty())
        return keys;
    for (TStringCore const& part : text.split(u'\n', sys::SplitBehavior::SkipEmptyParts))
        keys.insert(KeyPathParser::MakeKeyPath(part));
    return keys;
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
    QEL_VALIDATE_PAYLOAD(graphStart >= 0 && graphEnd >= graphStart + graphMarkerLen);

    int const updKeysStart = payload.indexOf(keysMarker, graphEnd);
    int const updKeysMarkerLen = keysMarker.size();
    int const updKeysEnd = payload.indexOf(vtlBorder, updKeysStart + 1);
    QEL_VALIDATE_PAYLOAD(updKeysStart > graphEnd && updKeysEnd >= updKeysStart + updKeysMarkerLen);

    int const vtlStart = payload.indexOf(vtlMarker, updKeysEnd);
    QEL_VALIDATE_PAYLOAD(vtlStart > updKeysEnd);

    int const graphBody = graphStart + graphMarkerLen;
    edges = VtlPayloadUtils::ParseGraph(payload.mid(graphBody, graphEnd - graphBody));
    int const keysBody = updKeysStart + updKeysMarkerLen;
    updatableKeys = VtlPayloadUtils::ParseKeys(payload.mid(keysBody, updKeysEnd - keysBody));
    transforms = ParseVtlList(payload.mid(vtlStart + vtlMarker.size() + 1), false);
}

}  // namespace qel::core
