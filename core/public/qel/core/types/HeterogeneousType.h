#pragma once

// The types of collections whose members have different types: key maps and
// tables name their members, tuples only order them. Like every Type they
// are interned by Context and immutable, so two of them are equal exactly
// when their pointers are.
//
// Named types keep their members sorted by name (code-unit order), whatever
// order the caller gave: {b: i, a: s} and {a: s, b: i} are one type. A name
// may occur once; a second occurrence fails "non-unique member name in
// heterogeneous collection: " with the name. Every member of a table must be
// an array (one column each).
//
// A tuple keeps its member order and admits primitive members only (a
// string or external value included); its members lie packed in one buffer
// at the offsets that PackedStructOffsets computes once per tuple type.

#include <cstddef>
#include <vector>

#include "qel/core/types/RInternString.h"
#include "qel/core/types/Type.h"

namespace qel::core {

class PackedStructOffsets;

class HeterogeneousType : public Type {
public:
    // The type with precision, scale and collation stripped from every
    // member; the type itself when no member carries any.
    Type const* GetBaseType() const override { return m_baseType; }

protected:
    explicit HeterogeneousType(StoreType type) noexcept : Type(type) {}
    // Each concrete constructor sets the base type once its members are known.
    void SetBaseType(Type const* base) noexcept { m_baseType = base; }

private:
    Type const* m_baseType = nullptr;
};

class NamedHeterogeneousType : public HeterogeneousType {
public:
    // One named member. Two members are equal when both names and types are.
    class Member {
    public:
        // A null type fails "illegal element type".
        Member(RInternString const& name, Type const* type);

        RInternString const& GetName() const noexcept { return m_name; }
        Type const* GetType() const noexcept { return m_type; }
        // Computed once from the name's id and the type's address.
        std::size_t GetHashValue() const noexcept { return m_hash; }
        // "(name, type text)".
        TStringCore ToString() const;

        bool operator==(Member const& other) const noexcept {
            return m_type == other.m_type && m_name == other.m_name;
        }
        bool operator!=(Member const& other) const noexcept { return !(*this == other); }

    private:
        RInternString m_name;
        Type const* m_type;
        std::size_t m_hash;
    };

    // The member's type, or null when there is no member of that name.
    virtual Type const* TryGetMemberType(RInternString const& name) const;

    std::size_t GetCount() const noexcept { return m_members.size(); }
    // Sorted by name.
    std::vector<Member> const& GetMembers() const noexcept { return m_members; }
    // "M{a:i, b:s<LROOT>}"; "M{}" when empty.
    TStringCore ToString() const override;

protected:
    // REQUIRES: `members` sorted with NamedTypeMemberCompare (Context does).
    NamedHeterogeneousType(StoreType type, std::vector<Member>&& members);
    // The members with their base types, when at least one differs; empty
    // when every member already is a base type.
    std::vector<Member> BaseMembers() const;

private:
    std::vector<Member> m_members;
};

// The order of named members: the names' code units, case-sensitive.
bool NamedTypeMemberCompare(NamedHeterogeneousType::Member const& a,
                            NamedHeterogeneousType::Member const& b) noexcept;

class KeyMapType final : public NamedHeterogeneousType {
public:
    // The members may come in any order.
    static KeyMapType const* Get(std::vector<Member>&& members);
    // This type's members and `members` together.
    KeyMapType const* With(std::vector<Member>&& members) const;

private:
    friend class Context;
    explicit KeyMapType(std::vector<Member>&& members);
};

class TableType final : public NamedHeterogeneousType {
public:
    // The members may come in any order; each must be an array type.
    static TableType const* Get(std::vector<Member>&& members);
    // This type's members and `members` together.
    TableType const* With(std::vector<Member>&& members) const;

private:
    friend class Context;
    explicit TableType(std::vector<Member>&& members);
};

class AnonymousHeterogeneousType : public HeterogeneousType {
public:
    // In the caller's order.
    std::vector<Type const*> const& GetMembers() const noexcept { return m_members; }
    // The packed layout of the members; owned by Context.
    PackedStructOffsets const* GetOffsets() const noexcept { return m_offsets; }
    // "P{i, f<-1,-1>}"; "P{}" when empty.
    TStringCore ToString() const override;

protected:
    AnonymousHeterogeneousType(StoreType type, std::vector<Type const*>&& members)
        : HeterogeneousType(type), m_members(std::move(members)) {}
    void SetOffsets(PackedStructOffsets const* offsets) noexcept { m_offsets = offsets; }

private:
    std::vector<Type const*> m_members;
    PackedStructOffsets const* m_offsets = nullptr;
};

class TupleType final : public AnonymousHeterogeneousType {
public:
    // A member that isn't primitive fails "unsupported primitive key type"
    // with its store type's name; a null one "unexpected null type".
    static TupleType const* Get(std::vector<Type const*>&& members);

private:
    friend class Context;
    explicit TupleType(std::vector<Type const*>&& members);
};

}  // namespace qel::core
