#pragma once

// The packed byte layout of a tuple: where each member's value lies in the
// tuple's buffer, where its special byte (its SpecialKind) lies, and the
// total size. Computed once per tuple type and owned by Context; immutable,
// so it may be read from any thread.
//
// Values come first, in member order, each at the next multiple of its own
// size (GetPrimitiveTypeSize); then one special byte per member. The total
// isn't rounded up: Bool, Int32, Bool gives value offsets 0, 4, 8, special
// offsets 9, 10, 11 and size 12.

#include <vector>

namespace qel::core {

class AnonymousHeterogeneousType;
class Context;
class Type;

class PackedStructOffsets {
public:
    // The layout of the type's members, through Context. A null type fails
    // "unexpected null type"; a member that isn't primitive "unsupported
    // primitive key type".
    static PackedStructOffsets const* Get(AnonymousHeterogeneousType const* type);

    PackedStructOffsets(PackedStructOffsets const&) = delete;
    PackedStructOffsets& operator=(PackedStructOffsets const&) = delete;

    // The total size in bytes.
    unsigned int GetSize() const noexcept { return m_size; }
    // Checked: an index that has no member fails "index out of bounds".
    unsigned int GetValueOffset(unsigned int index) const;
    unsigned int GetSpecialOffset(unsigned int index) const;
    // REQUIRES: index < the member count. For the tuple's hot accessors.
    unsigned int GetValueOffsetUnsafe(unsigned int index) const noexcept {
        return m_valueOffsets[index];
    }
    unsigned int GetSpecialOffsetUnsafe(unsigned int index) const noexcept {
        return m_specialOffsets[index];
    }

private:
    friend class Context;
    explicit PackedStructOffsets(std::vector<Type const*> const& members);
    void ComputeOffsets(std::vector<Type const*> const& members);

    unsigned int m_size = 0;
    std::vector<unsigned int> m_valueOffsets;
    std::vector<unsigned int> m_specialOffsets;
};

}  // namespace qel::core
