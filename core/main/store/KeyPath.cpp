#include "qel/core/store/KeyPath.h"

#include <mutex>

#include "qel/core/serialize/KeyPathParser.h"
#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

// Every new path starts from a local vector, reserved only when it will not
// fit in place, and is then moved behind one shared pointer.
KeyPath Wrap(KeySegmentVector&& segments) {
    return KeyPath(std::make_shared<KeySegmentVector const>(std::move(segments)), 0);
}

KeySegmentVector Reserved(std::size_t count) {
    KeySegmentVector segments;
    if (count > segments.capacity())
        segments.reserve(count);
    return segments;
}

}  // namespace

// ---------------------------------------------------------------------------
// Construction

KeyPath const& KeyPath::Empty() {
    // Made under a once-flag and owned by a static that frees it at exit;
    // paths that outlive the owner keep the shared vector alive themselves.
    static std::once_flag once;
    static std::unique_ptr<KeyPath const> owner;
    std::call_once(once,
                   [] { owner.reset(new KeyPath(std::make_shared<KeySegmentVector const>(), 0)); });
    return *owner;
}

KeyPath::KeyPath() : KeyPath(Empty()) {}

KeyPath::KeyPath(RInternString const& segment) : KeyPath(KeySegment(segment, nullptr)) {}

// These two fill the vector where it will live: moving a small vector that
// the optimiser can see into draws a false out-of-bounds warning from g++.
KeyPath::KeyPath(KeySegment const& segment) : m_hash(0) {
    auto segments = std::make_shared<KeySegmentVector>();
    segments->push_back(segment);
    m_segments = std::move(segments);
}

KeyPath::KeyPath(std::initializer_list<RInternString> names) : m_hash(0) {
    auto segments = std::make_shared<KeySegmentVector>();
    if (names.size() > segments->capacity())
        segments->reserve(names.size());
    for (RInternString const& name : names)
        segments->emplace_back(name, nullptr);
    m_segments = std::move(segments);
}

KeyPath::KeyPath(KeySegmentVector&& segments)
    : m_segments(std::make_shared<KeySegmentVector const>(std::move(segments))), m_hash(0) {}

KeyPath::KeyPath(std::shared_ptr<KeySegmentVector const>&& segments, std::size_t hash)
    : m_segments(std::move(segments)), m_hash(hash) {}

KeyPath KeyPath::ParseString(TStringCore const& text) {
    return KeyPathParser::MakeKeyPath(text);
}

// ---------------------------------------------------------------------------
// Parts

RInternString const& KeyPath::GetLeaf() const {
    return GetLeafSegment().GetSegment();
}

KeySegment const& KeyPath::GetLeafSegment() const {
    QEL_VALIDATE_NOT(m_segments->empty(), QelError::KeyPathCantBeEmpty);
    return m_segments->back();
}

KeyPath KeyPath::GetParent() const {
    QEL_VALIDATE_NOT(m_segments->empty(), QelError::KeyPathCantBeEmpty);
    if (m_segments->size() == 1)
        return Empty();
    KeySegmentVector segments = Reserved(m_segments->size() - 1);
    segments.assign(m_segments->begin(), m_segments->end() - 1);
    return Wrap(std::move(segments));
}

KeyPath KeyPath::GetTail() const {
    QEL_VALIDATE_NOT(m_segments->empty(), QelError::KeyPathCantBeEmpty);
    if (m_segments->size() == 1)
        return Empty();
    KeySegmentVector segments = Reserved(m_segments->size() - 1);
    segments.assign(m_segments->begin() + 1, m_segments->end());
    return Wrap(std::move(segments));
}

// ---------------------------------------------------------------------------
// Extension

KeyPath KeyPath::Add(RInternString const& segment) const {
    return Add(KeySegment(segment, nullptr));
}

KeyPath KeyPath::Add(KeySegment const& segment) const {
    return Add(KeySegment(segment));
}

KeyPath KeyPath::Add(KeySegment&& segment) const {
    KeySegmentVector segments = Reserved(m_segments->size() + 1);
    segments.assign(m_segments->begin(), m_segments->end());
    segments.push_back(std::move(segment));
    return Wrap(std::move(segments));
}

KeyPath KeyPath::Add(KeyPath const& other) const {
    // An empty leaf stands for "no path yet", so whatever precedes it goes.
    if (IsEmpty())
        return other;
    KeySegmentVector segments = Reserved(m_segments->size() + other.m_segments->size());
    segments.assign(m_segments->begin(), m_segments->end());
    segments.insert(segments.end(), other.m_segments->begin(), other.m_segments->end());
    return Wrap(std::move(segments));
}

KeyPath KeyPath::AddVersion(unsigned int version) const {
    KeySegment leaf = GetLeafSegment().AddVersion(version);
    KeySegmentVector segments = Reserved(m_segments->size());
    segments.assign(m_segments->begin(), m_segments->end() - 1);
    segments.push_back(std::move(leaf));
    return Wrap(std::move(segments));
}

// ---------------------------------------------------------------------------
// Comparison

bool KeyPath::IsPrefixOf(KeyPath const& other) const noexcept {
    KeySegmentVector const& mine = *m_segments;
    KeySegmentVector const& theirs = *other.m_segments;
    if (mine.size() > theirs.size())
        return false;
    for (std::size_t i = 0; i < mine.size(); ++i) {
        if (mine[i] != theirs[i])
            return false;
    }
    return true;
}

bool KeyPath::operator==(KeyPath const& other) const noexcept {
    if (m_segments == other.m_segments)
        return true;
    KeySegmentVector const& mine = *m_segments;
    KeySegmentVector const& theirs = *other.m_segments;
    if (mine.size() != theirs.size())
        return false;
    for (std::size_t i = 0; i < mine.size(); ++i) {
        if (mine[i] != theirs[i])
            return false;
    }
    return true;
}

bool KeyPath::Compare::operator()(KeyPath const& a, KeyPath const& b) const {
    KeySegmentVector const& x = a.GetSegments();
    KeySegmentVector const& y = b.GetSegments();
    if (x.size() != y.size())
        return x.size() < y.size();
    for (std::size_t i = 0; i < x.size(); ++i) {
        // Interning makes equal ids equal texts, so only differing ids are read.
        if (x[i] == y[i])
            continue;
        return x[i].GetSegment().GetValue().compare(y[i].GetSegment().GetValue(),
                                                    CaseSensitivity::CaseSensitive) < 0;
    }
    return false;
}

// A fold that comes out as 0 is indistinguishable from "not computed" and is
// simply computed again on the next call.
std::size_t KeyPath::ComputeHash() const noexcept {
    std::uint64_t h = 0;
    for (KeySegment const& segment : *m_segments)
        h ^= (h >> 2) + (h << 6) + segment.GetHashValue() + 0x9e3779b9ULL;
    m_hash.store(static_cast<std::size_t>(h), std::memory_order_relaxed);
    return static_cast<std::size_t>(h);
}

TStringCore KeyPath::ToString() const {
    return KeyPathSerializer::FromKeyPath(*this, false, nullptr);
}

}  // namespace qel::core
