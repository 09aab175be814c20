#include "qel/core/types/HeterogeneousType.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "qel/core/types/Context.h"
#include "qel/core/types/PackedStructOffsets.h"
#include "qel/core/utility/QelLog.h"

namespace qel::core {

namespace {

std::size_t MemberHash(RInternString const& name, Type const* type) noexcept {
    std::uint64_t const h = name.GetStringId();
    std::uint64_t const t = reinterpret_cast<std::uintptr_t>(type);
    return static_cast<std::size_t>(((h >> 2) + (h << 6) + t + 0x9e3779b9ULL) ^ h);
}

// The store type's character, then the parts between braces.
template <class Parts, class Text>
TStringCore Braced(Type const& type, Parts const& parts, Text&& text) {
    TStringCore result(StoreTypeToChar(type.GetStoreType()), 1);
    result.append(u'{');
    bool first = true;
    for (auto const& part : parts) {
        if (!first)
            result.append(TStringCore(u", "));
        first = false;
        result.append(text(part));
    }
    result.append(u'}');
    return result;
}

template <class Named>
std::vector<NamedHeterogeneousType::Member> Joined(
    Named const& type, std::vector<NamedHeterogeneousType::Member>&& more) {
    std::vector<NamedHeterogeneousType::Member> all;
    all.reserve(type.GetCount() + more.size());
    all.insert(all.end(), type.GetMembers().begin(), type.GetMembers().end());
    all.insert(all.end(), std::make_move_iterator(more.begin()),
               std::make_move_iterator(more.end()));
    return all;
}

}  // namespace

// ---------------------------------------------------------------------------
// Named types

// The hash goes first, so that it is computed from whatever was passed; the
// member is only usable once the check passed.
NamedHeterogeneousType::Member::Member(RInternString const& name, Type const* type)
    : m_name(name), m_type(type), m_hash(MemberHash(name, type)) {
    QEL_VALIDATE_NOT_NULL(type, QelError::IllegalElementType);
}

TStringCore NamedHeterogeneousType::Member::ToString() const {
    TStringCore text(u"(");
    text.append(m_name.GetValue());
    text.append(TStringCore(u", "));
    text.append(m_type->ToString());
    text.append(u')');
    return text;
}

bool NamedTypeMemberCompare(NamedHeterogeneousType::Member const& a,
                            NamedHeterogeneousType::Member const& b) noexcept {
    return a.GetName().GetValue().compare(b.GetName().GetValue(), CaseSensitivity::CaseSensitive) <
           0;
}

NamedHeterogeneousType::NamedHeterogeneousType(StoreType type, std::vector<Member>&& members)
    : HeterogeneousType(type), m_members(std::move(members)) {
    // Sorted, so a repeated name stands next to its first occurrence.
    auto const repeated = std::adjacent_find(
        m_members.begin(), m_members.end(),
        [](Member const& a, Member const& b) { return a.GetName() == b.GetName(); });
    if (repeated != m_members.end()) {
        TStringCore const& name = repeated->GetName();
        TStringCore text(u"Member ");
        text.append(name);
        text.append(TStringCore(u" is duplicated"));
        QelLog(QelLogLevel::Debug, text);
        QEL_VALIDATION_FAILED(QelError::NonUniqueMemberNameInHeterogeneousCollection, name);
    }
}

Type const* NamedHeterogeneousType::TryGetMemberType(RInternString const& name) const {
    for (Member const& member : m_members) {
        if (member.GetName() == name)
            return member.GetType();
    }
    return nullptr;
}

TStringCore NamedHeterogeneousType::ToString() const {
    return Braced(*this, m_members, [](Member const& member) {
        TStringCore text = member.GetName().GetValue();
        text.append(u':');
        text.append(member.GetType()->ToString());
        return text;
    });
}

std::vector<NamedHeterogeneousType::Member> NamedHeterogeneousType::BaseMembers() const {
    std::vector<Member> base;
    base.reserve(m_members.size());
    bool differs = false;
    for (Member const& member : m_members) {
        Type const* type = member.GetType()->GetBaseType();
        differs = differs || type != member.GetType();
        base.emplace_back(member.GetName(), type);
    }
    if (!differs)
        base.clear();
    return base;
}

KeyMapType::KeyMapType(std::vector<Member>&& members)
    : NamedHeterogeneousType(StoreType::KeyMap, std::move(members)) {
    std::vector<Member> base = BaseMembers();
    SetBaseType(base.empty() ? this : Context::Instance().GetKeyMapType(std::move(base)));
}

KeyMapType const* KeyMapType::Get(std::vector<Member>&& members) {
    return Context::Instance().GetKeyMapType(std::move(members));
}

KeyMapType const* KeyMapType::With(std::vector<Member>&& members) const {
    return Get(Joined(*this, std::move(members)));
}

TableType::TableType(std::vector<Member>&& members)
    : NamedHeterogeneousType(StoreType::Table, std::move(members)) {
    for (Member const& member : GetMembers())
        QEL_VALIDATE(member.GetType()->Is(StoreType::Array), QelError::EveryValueInATableShouldBe);
    std::vector<Member> base = BaseMembers();
    SetBaseType(base.empty() ? this : Context::Instance().GetTableType(std::move(base)));
}

TableType const* TableType::Get(std::vector<Member>&& members) {
    return Context::Instance().GetTableType(std::move(members));
}

TableType const* TableType::With(std::vector<Member>&& members) const {
    return Get(Joined(*this, std::move(members)));
}

// ---------------------------------------------------------------------------
// Tuples

TStringCore AnonymousHeterogeneousType::ToString() const {
    return Braced(*this, m_members, [](Type const* member) { return member->ToString(); });
}

TupleType::TupleType(std::vector<Type const*>&& members)
    : AnonymousHeterogeneousType(StoreType::Tuple, std::move(members)) {
    // Context caches the offsets under this object's address, and a failed
    // construction frees the address for some later type. So the base types,
    // whose look-up can fail, are gathered before the offsets are cached; the
    // offsets then refuse null and non-primitive members.
    std::vector<Type const*> base;
    base.reserve(GetMembers().size());
    bool differs = false;
    for (Type const* member : GetMembers()) {
        Type const* type = member == nullptr ? nullptr : member->GetBaseType();
        differs = differs || type != member;
        base.push_back(type);
    }
    SetOffsets(PackedStructOffsets::Get(this));
    SetBaseType(differs ? Context::Instance().GetTupleType(std::move(base)) : this);
}

TupleType const* TupleType::Get(std::vector<Type const*>&& members) {
    return Context::Instance().GetTupleType(std::move(members));
}

}  // namespace qel::core
