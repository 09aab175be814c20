#pragma once

// Key paths address values inside a data store. A KeyPath is a sequence of
// KeySegments, each an interned name with an optional type. Transform graphs
// name their inputs and outputs with them, so they are made by the thousand,
// compared, hashed, extended and kept as map keys: a KeyPath is immutable,
// its copies share one segment vector, and its hash is computed once.
//
// Names decide identity; types are decoration. Two segments, and two paths,
// are equal when their names are, whatever their types, and they hash alike;
// TypeAwareEquals is there for the callers that must tell types apart.
// Equality and hashing look at interned ids only, never at text.
//
// Thread safety: a KeyPath may be read from any number of threads. Its hash
// cache is filled without a lock; racing threads compute and store the same
// value, which is harmless.
//
// The text form ("a/b:i/'c d'") belongs to KeyPathParser and
// KeyPathSerializer; ToString and ParseString forward to them.

#include <atomic>
#include <boost/container/small_vector.hpp>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>

#include "qel/core/types/RInternString.h"
#include "qel/core/utility/Base.h"

namespace qel::core {

class Type;

class KeySegment {
public:
    // The empty name, untyped: what the root of a prefix tree carries.
    KeySegment() noexcept : m_segment(), m_type(nullptr) {}
    // `type` may be null: the segment is untyped.
    KeySegment(RInternString const& segment, Type const* type) noexcept
        : m_segment(segment), m_type(type) {}

    RInternString const& GetSegment() const noexcept { return m_segment; }
    Type const* GetType() const noexcept { return m_type; }
    bool HasType() const noexcept { return m_type != nullptr; }

    // Names only; types are ignored.
    bool operator==(KeySegment const& other) const noexcept { return m_segment == other.m_segment; }
    bool operator!=(KeySegment const& other) const noexcept { return !(*this == other); }
    // Names equal and the very same type (or both untyped).
    bool TypeAwareEquals(KeySegment const& other) const noexcept {
        return m_segment == other.m_segment && m_type == other.m_type;
    }

    // The name's interned id, so that it agrees with operator==.
    std::size_t GetHashValue() const noexcept { return m_segment.GetStringId(); }
    // Mixes the type's address into the name's id; agrees with TypeAwareEquals.
    std::size_t GetTypeAwareHashValue() const noexcept;

    // The name followed by "#" and `version` in decimal, with the same type:
    // "a" version 3 is "a#3".
    KeySegment AddVersion(unsigned int version) const;
    // The text form with the type and its member lists: "a:M{ b:i }".
    TStringCore ToString() const;

private:
    RInternString m_segment;
    Type const* m_type;
};

// Room for 8 segments inside the vector; longer paths go to the heap.
using KeySegmentVector = boost::container::small_vector<KeySegment, 8>;

class KeyPath {
public:
    // A strict weak order for sorted containers: shorter paths first, then
    // segment by segment by the names' code units (case-sensitive).
    struct Compare {
        bool operator()(KeyPath const& a, KeyPath const& b) const;
    };

    // A copy of Empty(): no allocation.
    KeyPath();
    explicit KeyPath(RInternString const& segment);
    explicit KeyPath(KeySegment const& segment);
    // Untyped segments, in order.
    KeyPath(std::initializer_list<RInternString> segments);
    explicit KeyPath(KeySegmentVector&& segments);
    // Shares `segments`, whose hash the caller already knows (0: not yet
    // computed). REQUIRES: `segments` is not null and `hash` is its hash.
    KeyPath(std::shared_ptr<KeySegmentVector const>&& segments, std::size_t hash);

    KeyPath(KeyPath const& other) noexcept
        : m_segments(other.m_segments), m_hash(other.m_hash.load(std::memory_order_relaxed)) {}
    KeyPath(KeyPath&& other) noexcept
        : m_segments(other.m_segments), m_hash(other.m_hash.load(std::memory_order_relaxed)) {}
    KeyPath& operator=(KeyPath const& other) noexcept {
        m_segments = other.m_segments;
        m_hash.store(other.m_hash.load(std::memory_order_relaxed), std::memory_order_relaxed);
        return *this;
    }
    KeyPath& operator=(KeyPath&& other) noexcept { return *this = other; }
    ~KeyPath() = default;

    // The path of no segment. One object for the process, made on first use.
    static KeyPath const& Empty();
    // The text form, read by KeyPathParser::MakeKeyPath.
    static KeyPath ParseString(TStringCore const& text);

    KeySegmentVector const& GetSegments() const noexcept { return *m_segments; }
    qelsize_t GetCount() const noexcept { return static_cast<qelsize_t>(m_segments->size()); }
    // True without segments, and also when the leaf's name is empty, however
    // many segments come before it.
    bool IsEmpty() const noexcept {
        return m_segments->empty() || m_segments->back().GetSegment().GetValue().isEmpty();
    }

    // The last segment and its name. Fail "KeyPath can't be empty" on a path
    // without segments.
    RInternString const& GetLeaf() const;
    KeySegment const& GetLeafSegment() const;
    // All but the last, and all but the first segment; the empty path for a
    // single segment. Fail as GetLeaf.
    KeyPath GetParent() const;
    KeyPath GetTail() const;

    // A new path with one more segment (untyped from an RInternString).
    KeyPath Add(RInternString const& segment) const;
    KeyPath Add(KeySegment const& segment) const;
    KeyPath Add(KeySegment&& segment) const;
    // Concatenation. A path that IsEmpty() contributes nothing: the result
    // is `other` itself, so "" + "a" is "a" and so is "x/" + "a".
    KeyPath Add(KeyPath const& other) const;
    // The leaf replaced by GetLeafSegment().AddVersion(version).
    KeyPath AddVersion(unsigned int version) const;

    // Whether this path's segments begin `other` (names only). The empty
    // path is a prefix of every path.
    bool IsPrefixOf(KeyPath const& other) const noexcept;
    // Whether `other` is a prefix of this path: a.IsSuffixOf(b) is
    // b.IsPrefixOf(a). The name is historical; callers depend on this meaning.
    bool IsSuffixOf(KeyPath const& other) const noexcept { return other.IsPrefixOf(*this); }

    // Same count and equal names; types are ignored.
    bool operator==(KeyPath const& other) const noexcept;
    bool operator!=(KeyPath const& other) const noexcept { return !(*this == other); }

    // A fold of the names' ids; 0 for the empty path. Cached on first use.
    std::size_t GetHashValue() const noexcept {
        std::size_t hash = m_hash.load(std::memory_order_relaxed);
        return hash != 0 ? hash : ComputeHash();
    }

    // The names joined by "/", quoted where needed; no types.
    TStringCore ToString() const;

private:
    std::size_t ComputeHash() const noexcept;

    std::shared_ptr<KeySegmentVector const> m_segments;
    mutable std::atomic<std::size_t> m_hash;
};

// For boost::hash and the boost containers.
inline std::size_t hash_value(KeySegment const& segment) noexcept {
    return segment.GetHashValue();
}
inline std::size_t hash_value(KeyPath const& path) noexcept {
    return path.GetHashValue();
}

}  // namespace qel::core

template <>
struct std::hash<qel::core::KeySegment> {
    std::size_t operator()(qel::core::KeySegment const& segment) const noexcept {
        return segment.GetHashValue();
    }
};

template <>
struct std::hash<qel::core::KeyPath> {
    std::size_t operator()(qel::core::KeyPath const& path) const noexcept {
        return path.GetHashValue();
    }
};
