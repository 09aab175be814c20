#pragma once

// ArrayAdapter<CastT> is an owning, typed facade on an array for the function
// library and the serializers: it keeps the value alive, checks once that its
// element type holds CastT ("type doesn't match expected type"), and hands
// out the array's iterators reading CastT. Iterators from an adapter are safe
// while the adapter lives.

#include <memory>

#include "qel/core/store/ArrayIterators.h"

namespace qel::core {

template <class CastT>
class ArrayAdapter {
public:
    using StorageT = typename TypeTraits<CastT>::StorageType;

    // `owner` keeps `value` alive; `value` must be an array of CastT.
    ArrayAdapter(StoreValue const& value, std::shared_ptr<StoreValue> owner)
        : m_owner(std::move(owner)), m_array(value.AsTypedArray<StorageT>()) {
        detail::ValidateAdapterElementType(
            TypeTraits<CastT>::IsMatchingType(m_array.GetElementType()));
    }
    explicit ArrayAdapter(std::shared_ptr<StoreValue> value) : ArrayAdapter(*value, value) {}

    ITypedArray<StorageT> const& GetArray() const { return m_array; }
    qelsize_t GetCount() const { return m_array.GetCount(); }
    ArrayValueIterator<StorageT, CastT> GetValues() const {
        return m_array.GetValues().template AsCastIterator<CastT>();
    }
    ArrayValueSpecialIterator<StorageT, CastT> GetAll() const {
        return m_array.GetAll().template AsCastIterator<CastT>();
    }

private:
    std::shared_ptr<StoreValue> m_owner;
    ITypedArray<StorageT> const& m_array;
};

}  // namespace qel::core
