#pragma once

// StoreType: the 16 kinds of value. Its order is fixed because tables and
// dispatch index by it. Each predicate is a pure function of the store type;
// values of 16 and above get false from all of them.

#include <cstdint>
#include <memory>

#include "qel/core/utility/Base.h"

namespace qel::core {

class StoreValue;

enum class StoreType : std::uint8_t {
#define QEL_STORE_TYPE(name, value, ...) name = value,
#include "qel/core/types/StoreType.def"
#undef QEL_STORE_TYPE
};

inline constexpr unsigned kStoreTypeCount = 16;

namespace detail {

struct StoreTypeTraitsRow {
    char character;
    bool primitive, collection, uniform, heterogeneous, nested, inArray, inSet, inKeySet,
        keyOfKeySet;
};

inline constexpr StoreTypeTraitsRow kStoreTypeRows[] = {
#define QEL_STORE_TYPE(name, value, ch, p, c, u, h, n, a, s, k, kk, ...) \
    {ch, p != 0, c != 0, u != 0, h != 0, n != 0, a != 0, s != 0, k != 0, kk != 0},
#include "qel/core/types/StoreType.def"
#undef QEL_STORE_TYPE
};
static_assert(sizeof(kStoreTypeRows) / sizeof(*kStoreTypeRows) == kStoreTypeCount);

constexpr StoreTypeTraitsRow const* Row(StoreType t) {
    auto i = static_cast<unsigned>(t);
    return i < kStoreTypeCount ? &kStoreTypeRows[i] : nullptr;
}

}  // namespace detail

constexpr bool IsPrimitiveStoreType(StoreType t) {
    auto r = detail::Row(t);
    return r && r->primitive;
}
constexpr bool IsCollectionStoreType(StoreType t) {
    auto r = detail::Row(t);
    return r && r->collection;
}
constexpr bool IsUniformCollectionStoreType(StoreType t) {
    auto r = detail::Row(t);
    return r && r->uniform;
}
constexpr bool IsHeterogeneousCollectionType(StoreType t) {
    auto r = detail::Row(t);
    return r && r->heterogeneous;
}
constexpr bool IsSupportedNestedType(StoreType t) {
    auto r = detail::Row(t);
    return r && r->nested;
}
constexpr bool IsStoreTypeSupportedInArray(StoreType t) {
    auto r = detail::Row(t);
    return r && r->inArray;
}
constexpr bool IsStoreTypeSupportedInSet(StoreType t) {
    auto r = detail::Row(t);
    return r && r->inSet;
}
constexpr bool IsStoreTypeSupportedInKeySet(StoreType t) {
    auto r = detail::Row(t);
    return r && r->inKeySet;
}
constexpr bool IsStoreTypeSupportedInKeySetAsKey(StoreType t) {
    auto r = detail::Row(t);
    return r && r->keyOfKeySet;
}
// Whether `element` may be the element of the uniform collection
// `collection`: arrays and key sets take what arrays take, sets what sets
// take; any other collection takes nothing.
constexpr bool IsStoreTypeSupportedInUniformCollection(StoreType collection, StoreType element) {
    switch (collection) {
        case StoreType::Array:
        case StoreType::KeySet:
            return IsStoreTypeSupportedInArray(element);
        case StoreType::Set:
            return IsStoreTypeSupportedInSet(element);
        default:
            return false;
    }
}

// The value's store type decides. REQUIRES: value is not null.
bool IsCollectionStoreType(std::shared_ptr<StoreValue> const& value);
bool IsUniformCollectionStoreType(std::shared_ptr<StoreValue> const& value);

// "Bool", "Int32", ...; any other value throws "invalid StoreType".
TStringCore StoreTypeToString(StoreType type);
// The one-character code: 'b', 'i', ... 'T'.
char16_t StoreTypeToChar(StoreType type);
// The inverse of StoreTypeToChar; any other character throws "unknown type name".
StoreType StoreTypeFromChar(char16_t character);

}  // namespace qel::core
