#pragma once

// The makers of array values and the boxing of one stored element. T is one
// of the six storage types; the Type argument is the element type, and the
// array's type is ArrayType::Get of it.
//
// An array is three shared vectors: values, specials (null when there are
// none) and indices (null when logical order is physical order). The forms
// taking plain vectors always make the specials (and indices) they are given,
// even when empty, so an empty specials vector beside values fails "array
// values and special values must be same size".

#include <memory>
#include <vector>

#include "qel/core/store/RawData.h"
#include "qel/core/store/SortSpecOrder.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/StorageTypes.h"

namespace qel::core {

// The element `value`, stored as T, boxed as a value of `elementType`: an
// Int32 or Real32 from unsigned int bits, a date from its number, and so on.
// A nested value (shared pointer storage) is returned itself, not copied.
template <class T>
std::shared_ptr<StoreValue> MakeStoreValueFromStorageType(Type const* elementType, T const& value);

namespace factory {

template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType,
                                      std::unique_ptr<std::vector<T>> values,
                                      std::unique_ptr<std::vector<SpecialKind>> specials,
                                      std::unique_ptr<std::vector<qelsize_t>> indices,
                                      SortSpecOrder order = SortSpecOrder::UNKNOWN);
// Shares the buffers; `specials` may be null.
template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType,
                                      std::shared_ptr<RawData const> values,
                                      std::shared_ptr<RawData const> specials,
                                      SortSpecOrder order = SortSpecOrder::UNKNOWN);
template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType, std::vector<T>&& values,
                                      SortSpecOrder order = SortSpecOrder::UNKNOWN);
template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType, std::vector<T>&& values,
                                      std::vector<SpecialKind>&& specials,
                                      SortSpecOrder order = SortSpecOrder::UNKNOWN);
template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType, std::vector<T>&& values,
                                      std::vector<SpecialKind>&& specials,
                                      std::vector<qelsize_t>&& indices,
                                      SortSpecOrder order = SortSpecOrder::UNKNOWN);

}  // namespace factory

#define QEL_DECLARE_ARRAY_FACTORY(T)                                                             \
    template <>                                                                                  \
    std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<T>(Type const*, T const&);         \
    namespace factory {                                                                          \
    extern template std::shared_ptr<StoreValue> MakeArray<T>(                                    \
        Type const*, std::unique_ptr<std::vector<T>>, std::unique_ptr<std::vector<SpecialKind>>, \
        std::unique_ptr<std::vector<qelsize_t>>, SortSpecOrder);                                 \
    extern template std::shared_ptr<StoreValue> MakeArray<T>(Type const*,                        \
                                                             std::shared_ptr<RawData const>,     \
                                                             std::shared_ptr<RawData const>,     \
                                                             SortSpecOrder);                     \
    extern template std::shared_ptr<StoreValue> MakeArray<T>(Type const*, std::vector<T>&&,      \
                                                             SortSpecOrder);                     \
    extern template std::shared_ptr<StoreValue> MakeArray<T>(Type const*, std::vector<T>&&,      \
                                                             std::vector<SpecialKind>&&,         \
                                                             SortSpecOrder);                     \
    extern template std::shared_ptr<StoreValue> MakeArray<T>(Type const*, std::vector<T>&&,      \
                                                             std::vector<SpecialKind>&&,         \
                                                             std::vector<qelsize_t>&&,           \
                                                             SortSpecOrder);                     \
    }
QEL_FOR_EACH_STORAGE_TYPE(QEL_DECLARE_ARRAY_FACTORY)
#undef QEL_DECLARE_ARRAY_FACTORY

}  // namespace qel::core
