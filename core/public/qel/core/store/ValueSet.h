#pragma once

// The maker of set values. T is one of the six storage types; the Type
// argument is the element type, and the set's type is SetType::Get of it.
//
// A set is immutable: a hash set of elements and a separate small hash set of
// the special kinds it holds (Normal is never one of them; a Normal handed in
// is dropped). An empty specials pointer gives an empty specials set. A set
// of strings must be built with a CollatorHash and CollatorEqualTo of the
// element type's collation ("the collection and raw container have different
// collations" otherwise); tuples and nested collections allow no specials.

#include <memory>

#include "qel/core/store/SetIterators.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/StorageTypes.h"

namespace qel::core::factory {

template <class T>
std::shared_ptr<StoreValue> MakeSet(Type const* elementType,
                                    std::unique_ptr<ValueSetContainer<T>> values,
                                    std::unique_ptr<SpecialKindSet> specials);

#define QEL_DECLARE_SET_FACTORY(T)                          \
    extern template std::shared_ptr<StoreValue> MakeSet<T>( \
        Type const*, std::unique_ptr<ValueSetContainer<T>>, std::unique_ptr<SpecialKindSet>);
QEL_FOR_EACH_STORAGE_TYPE(QEL_DECLARE_SET_FACTORY)
#undef QEL_DECLARE_SET_FACTORY

}  // namespace qel::core::factory
