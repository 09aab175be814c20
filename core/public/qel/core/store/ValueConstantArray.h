#pragma once

// The makers of constant arrays: `count` copies of one value, or of one
// special, in constant space, as a filter or a literal leaves a column that
// is uniform. T is one of the six storage types; the Type argument is the
// element type (a primitive or a tuple type), and the array's type is
// ArrayType::Get of it. A consumer sees an ITypedArray<T> like any other,
// with IsConstantValue() true; slicing and re-ordering it touch nothing but
// the count.

#include <memory>

#include "qel/core/store/StoreValue.h"
#include "qel/core/types/StorageTypes.h"
#include "qel/core/types/TypeTraits.h"

namespace qel::core::factory {

template <class T>
std::shared_ptr<StoreValue> MakeConstantArray(Type const* elementType,
                                              typename StorageTypeTraits<T>::ArgType value,
                                              unsigned int count);
// A value-initialised placeholder under `special`.
template <class T>
std::shared_ptr<StoreValue> MakeConstantArray(Type const* elementType, unsigned int count,
                                              SpecialKind special);

#define QEL_DETAIL_DECLARE_CONSTANT_ARRAY_FACTORY(T)                                            \
    extern template std::shared_ptr<StoreValue> MakeConstantArray<T>(                           \
        Type const*, typename StorageTypeTraits<T>::ArgType, unsigned int);                     \
    extern template std::shared_ptr<StoreValue> MakeConstantArray<T>(Type const*, unsigned int, \
                                                                     SpecialKind);
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_CONSTANT_ARRAY_FACTORY)
#undef QEL_DETAIL_DECLARE_CONSTANT_ARRAY_FACTORY

}  // namespace qel::core::factory
