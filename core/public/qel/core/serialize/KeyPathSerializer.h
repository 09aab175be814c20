#pragma once

// KeyPathSerializer writes the text form of key paths, key segments and
// types that KeyPathParser reads (the grammar is described there).
//
// A name is written bare when it scans as one identifier or one integer with
// no blank around it (an integer only within 64 bits), and quoted otherwise
// ("a.b-c", "12", but 'c d', 'true', '1.5', 'x/y', ' a'). An empty
// name writes nothing: a typed segment of empty name is its type alone, and a
// leading empty segment vanishes with its slash. Reading back gives the same
// KeyPath for every name that survives the reader, that is, except the empty
// name and integers with leading zeros ("007" comes back as "7").
//
// Types: "A<i>", "K<s,r<10,2>>", "S<P{ i, s }>", "M{ a:i, 'b c':A<s> }",
// "T{ x:A<l> }", "s<en_US>", "x<Geometry>". Precision and scale are written
// as bytes, so an unset one (-1) shows as 255. Key maps and tables without
// members are "M" and "T".
//
// All functions are reentrant. A KeyPathSerializerCache belongs to the one
// caller that made it and has no lock.

#include <cstddef>
#include <memory>

#include "qel/core/store/KeyPath.h"

namespace qel::core {

// What a cached text depends on: the segment with its type, and both flags.
struct KeyPathSerializerCacheKey {
    KeySegment segment;
    bool includeType;
    bool heterogeneousContents;

    // The segment's type-aware hash with the two flags folded in.
    std::size_t GetHashValue() const noexcept;
    // Type-aware: one name with two types makes two rows.
    bool operator==(KeyPathSerializerCacheKey const& other) const noexcept {
        return segment.TypeAwareEquals(other.segment) && includeType == other.includeType &&
               heterogeneousContents == other.heterogeneousContents;
    }
};

// The texts of segments already written, for writers that meet the same few
// names again and again (a VTL writer keeps one for a whole run).
class KeyPathSerializerCache {
public:
    KeyPathSerializerCache();
    ~KeyPathSerializerCache();
    KeyPathSerializerCache(KeyPathSerializerCache const&) = delete;
    KeyPathSerializerCache& operator=(KeyPathSerializerCache const&) = delete;

    // The stored text, or null. The pointer stays valid as long as the cache.
    TStringCore const* Find(KeySegment const& segment, bool includeType,
                            bool heterogeneousContents) const;
    // Stores `text` (replacing an earlier one) and returns what is stored.
    TStringCore const& Insert(KeySegment const& segment, bool includeType,
                              bool heterogeneousContents, TStringCore&& text);
    std::size_t GetCount() const noexcept;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

class KeyPathSerializer {
public:
    // The segments joined by "/". With `includeType`, typed segments carry
    // ":" and their type with all member lists; without, names only.
    static TStringCore FromKeyPath(KeyPath const& path, bool includeType,
                                   KeyPathSerializerCache* cache);
    static TStringCore FromKeySegment(KeySegment const& segment, bool includeType);
    // As FromKeySegment, but a key map or table type leaves out its own
    // member list: "a:M". Nested types keep theirs.
    static TStringCore FromKeySegmentWithoutHeterogeneousTypeContents(KeySegment const& segment,
                                                                      bool includeType);

    // Appends one segment to `out`, through `cache` when one is given.
    static void BuildKeySegment(TStringCore& out, KeySegment const& segment, bool includeType,
                                bool heterogeneousContents, KeyPathSerializerCache* cache);
    // The type's text; `heterogeneousContents` false leaves out the member
    // list of a key map or table at the top level only. A null type, or a
    // type object of another class than its store type says, is a
    // programming error: QelLogicException.
    static TStringCore BuildType(Type const* type, bool heterogeneousContents);
    // A name as it stands in a key path: bare, quoted, or empty.
    static TStringCore EscapeKeySegment(TStringCore const& name);
};

}  // namespace qel::core
