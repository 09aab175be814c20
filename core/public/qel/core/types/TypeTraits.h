#pragma once

// The three views of a value: its StoreType, the element type a client works
// with (TypeTraits) and the storage type it lies in (StorageTypeTraits).
// Values of one bit width share a storage type, so the containers of the
// store are instantiated for six storage types only (StorageTypes.h lists
// them, generated from StoreType.def):
//
//   unsigned char        Bool
//   unsigned int         Int32, Real32, Color
//   unsigned long long   Int64, Real64, Date, DateTime
//   RIndirectString      String
//   QelTuple             Tuple
//   shared_ptr<StoreValue>  External and every collection but Tuple
//
// Storing a float in an unsigned int reinterprets its bits; likewise a
// double, a QelDateTime (its number) and a QelColor (its packed value).
// Dispatch from a run-time StoreType is in store/StoreTypeDispatcher.h,
// generated from the same table.

#include <memory>

#include "qel/core/types/RIndirectString.h"
#include "qel/core/types/StorageTypes.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/QelColor.h"
#include "qel/core/utility/QelDateTime.h"

namespace qel::core {

class QelTuple;
class StoreValue;

namespace detail {

inline bool StoreTypeIs(Type const* type, StoreType a) {
    return type != nullptr && type->GetStoreType() == a;
}
template <class S>
bool IsStoredIn(Type const* type) {
    return type != nullptr && IsStoredAs<S>(type->GetStoreType());
}
inline bool IsNestedStorage(Type const* type) {
    return type != nullptr &&
           (type->Is(StoreType::External) ||
            (IsCollectionStoreType(type->GetStoreType()) && !type->Is(StoreType::Tuple)));
}

}  // namespace detail

// ArgType: how a value is passed. StorageType: what it is stored as.
// IsMatchingType: whether a type's store type is one whose values are T.
template <class T>
struct TypeTraits;

template <>
struct TypeTraits<bool> {
    using StorageType = unsigned char;
    using ArgType = bool;
    static bool IsMatchingType(Type const* t) { return detail::StoreTypeIs(t, StoreType::Bool); }
};
template <>
struct TypeTraits<int> {
    using StorageType = unsigned int;
    using ArgType = int;
    static bool IsMatchingType(Type const* t) { return detail::StoreTypeIs(t, StoreType::Int32); }
};
template <>
struct TypeTraits<long long> {
    using StorageType = unsigned long long;
    using ArgType = long long;
    static bool IsMatchingType(Type const* t) { return detail::StoreTypeIs(t, StoreType::Int64); }
};
template <>
struct TypeTraits<float> {
    using StorageType = unsigned int;
    using ArgType = float;
    static bool IsMatchingType(Type const* t) { return detail::StoreTypeIs(t, StoreType::Real32); }
};
template <>
struct TypeTraits<double> {
    using StorageType = unsigned long long;
    using ArgType = double;
    static bool IsMatchingType(Type const* t) { return detail::StoreTypeIs(t, StoreType::Real64); }
};
template <>
struct TypeTraits<RIndirectString> {
    using StorageType = RIndirectString;
    using ArgType = RIndirectString const&;
    static bool IsMatchingType(Type const* t) { return detail::StoreTypeIs(t, StoreType::String); }
};
template <>
struct TypeTraits<QelDateTime> {
    using StorageType = unsigned long long;
    using ArgType = QelDateTime;
    static bool IsMatchingType(Type const* t) {
        return detail::StoreTypeIs(t, StoreType::Date) ||
               detail::StoreTypeIs(t, StoreType::DateTime);
    }
};
template <>
struct TypeTraits<QelColor> {
    using StorageType = unsigned int;
    using ArgType = QelColor;
    static bool IsMatchingType(Type const* t) { return detail::StoreTypeIs(t, StoreType::Color); }
};
template <>
struct TypeTraits<QelTuple> {
    using StorageType = QelTuple;
    using ArgType = QelTuple const&;
    static bool IsMatchingType(Type const* t) { return detail::StoreTypeIs(t, StoreType::Tuple); }
};
template <>
struct TypeTraits<std::shared_ptr<StoreValue>> {
    using StorageType = std::shared_ptr<StoreValue>;
    using ArgType = std::shared_ptr<StoreValue> const&;
    static bool IsMatchingType(Type const* t) { return detail::IsNestedStorage(t); }
};

template <class S>
struct StorageTypeTraits;

template <>
struct StorageTypeTraits<unsigned char> {
    using StorageType = unsigned char;
    using ArgType = unsigned char;
    static bool IsMatchingType(Type const* t) { return detail::IsStoredIn<unsigned char>(t); }
};
template <>
struct StorageTypeTraits<unsigned int> {
    using StorageType = unsigned int;
    using ArgType = unsigned int;
    static bool IsMatchingType(Type const* t) { return detail::IsStoredIn<unsigned int>(t); }
};
template <>
struct StorageTypeTraits<unsigned long long> {
    using StorageType = unsigned long long;
    using ArgType = unsigned long long;
    static bool IsMatchingType(Type const* t) { return detail::IsStoredIn<unsigned long long>(t); }
};
template <>
struct StorageTypeTraits<RIndirectString> : TypeTraits<RIndirectString> {};
template <>
struct StorageTypeTraits<QelTuple> : TypeTraits<QelTuple> {};
template <>
struct StorageTypeTraits<std::shared_ptr<StoreValue>> : TypeTraits<std::shared_ptr<StoreValue>> {};

// The storage types are element types of their own, read as raw bits.
template <>
struct TypeTraits<unsigned char> : StorageTypeTraits<unsigned char> {};
template <>
struct TypeTraits<unsigned int> : StorageTypeTraits<unsigned int> {};
template <>
struct TypeTraits<unsigned long long> : StorageTypeTraits<unsigned long long> {};

// The bytes a primitive member takes in a tuple: 1, 4 or 8 for numbers,
// dates and colours, the object sizes for strings and external values. Any
// other type fails "unsupported primitive key type".
unsigned int GetPrimitiveTypeSize(Type const* type);
// As GetPrimitiveTypeSize, and the object sizes of a tuple and of the shared
// pointer that holds every other nested value.
unsigned int GetTypeSize(Type const* type);

}  // namespace qel::core
