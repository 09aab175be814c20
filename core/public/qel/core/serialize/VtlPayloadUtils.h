#pragma once

// The VTL payload: the one text that carries a compiled program from the
// layer that plans it to the layer that runs it. Three marked sections, each
// a marker line and a body of lines, every line ending with a line feed:
//
//   (graph)             one line per GraphEdge, in vector order
//   (updatable-keys)    one line per key, in the set's iteration order
//   (vtl)               TransformsToPayloadString (VTL without top-level
//                       comments)
//
// A graph line has no blank: the source and "," unless it is NullSourceId,
// then "," in every case, each target and ",", the key (names only) and ",",
// and the buffer letter: "3,,5,7,a/b,c", or ",5,7,a/b,c" without a source.
// A key line is the key, names only. Keys in the graph and key sections lose
// their types; keys in the VTL section keep them.
//
// The reader finds the sections by plain text search, so a marker inside an
// earlier key name misleads it; the failure then comes from whichever reader
// meets the damage. A key whose first segment is all digits cannot be carried
// in the graph (the target list takes it), and the writer does not guard
// against it.
//
// Refusals: a missing or misplaced marker is "VTL payload contains invalid
// content" with the failed condition as details; a bad graph line is
// "unexpected token" with the line; more than one source id and a bad buffer
// letter are QelLogicException; a bad key line or VTL body fails as
// KeyPathParser::MakeKeyPath and ParseVtlList do. All functions are
// reentrant.

#include <boost/container/small_vector.hpp>
#include <boost/unordered_set.hpp>
#include <cstdint>
#include <vector>

#include "qel/core/store/KeyPath.h"
#include "qel/core/utility/Base.h"
#include "qel/core/vtl/TransformSpec.h"

namespace qel::core {

class KeyPathSerializerCache;

// The two kinds of buffer, named by their letters: what they mean is the
// execution layer's business.
enum class BufferType : std::uint8_t {
    C = 0,  // "c"
    I = 1,  // "i"
};

// One row of the graph.
struct GraphEdge {
    // An edge without a source.
    static constexpr std::uint32_t NullSourceId = 0xFFFFFFFFu;

    BufferType bufferType = BufferType::C;
    std::uint32_t sourceId = NullSourceId;
    boost::container::small_vector<std::uint32_t, 4> targetIds;
    KeyPath key;
};

// The whole payload. One KeyPathSerializerCache serves all three sections of
// the call.
TStringCore MakeVtlPayload(std::vector<TransformSpec> const& transforms,
                           std::vector<GraphEdge> const& edges,
                           boost::unordered_set<KeyPath> const& updatableKeys);

// Replaces the three outputs. On failure they stay as far as they were
// replaced: `edges` first, then `updatableKeys`, then `transforms`.
void ParseVtlPayload(TStringCore const& payload, std::vector<TransformSpec>& transforms,
                     std::vector<GraphEdge>& edges, boost::unordered_set<KeyPath>& updatableKeys);

// As above, for tools that show a refusal where it stands: when a line of a
// section is refused, `*refusedLine` holds its 1-based number in `payload`;
// after success, and for a refusal of the markers, it holds 0. May be null.
void ParseVtlPayload(TStringCore const& payload, std::vector<TransformSpec>& transforms,
                     std::vector<GraphEdge>& edges, boost::unordered_set<KeyPath>& updatableKeys,
                     int* refusedLine);

class VtlPayloadUtils {
public:
    // The graph body: each edge's line and its line feed. `cache` may be
    // null.
    static TStringCore SerializeGraph(std::vector<GraphEdge> const& edges,
                                      KeyPathSerializerCache* cache);
    // The key body: each key's line and its line feed. `cache` may be null.
    static TStringCore SerializeKeys(boost::unordered_set<KeyPath> const& keys,
                                     KeyPathSerializerCache* cache);
    // The edges of a graph body; empty lines are skipped.
    static std::vector<GraphEdge> ParseGraph(TStringCore const& text);
    // The keys of a key body; empty lines are skipped.
    static boost::unordered_set<KeyPath> ParseKeys(TStringCore const& text);

    // "c" and "i"; any other value is a QelLogicException.
    static char16_t BufferTypeToChar(BufferType type);
    static BufferType CharToBufferType(char16_t letter);
};

}  // namespace qel::core
