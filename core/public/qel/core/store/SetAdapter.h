#pragma once

// SetAdapter<CastT> is an owning, typed facade on a set for the function
// library and the serializers, the twin of ArrayAdapter: it keeps the value
// alive, checks once that the set's element type holds CastT ("type doesn't
// match expected type"), and answers membership for a CastT without boxing.

#include <bit>
#include <memory>
#include <type_traits>

#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/SetIterators.h"
#include "qel/core/store/StoreValue.h"

namespace qel::core {

namespace detail {

// The inverse of CastStorage: a CastT as the bits it is stored in.
template <class StorageT, class CastT>
inline decltype(auto) ToStorage(CastT const& value) {
    if constexpr (std::is_same_v<CastT, StorageT>) {
        return (value);
    } else if constexpr (std::is_same_v<CastT, bool>) {
        return static_cast<StorageT>(value ? 1 : 0);
    } else {
        static_assert(sizeof(CastT) == sizeof(StorageT));
        return std::bit_cast<StorageT>(value);
    }
}

}  // namespace detail

template <class CastT>
class SetAdapter {
public:
    using StorageT = typename TypeTraits<CastT>::StorageType;

    // `owner` keeps `value` alive; `value` must be a set of CastT.
    SetAdapter(StoreValue const& value, std::shared_ptr<StoreValue> owner)
        : m_owner(std::move(owner)), m_set(value.AsTypedSet<StorageT>()) {
        detail::ValidateAdapterElementType(
            TypeTraits<CastT>::IsMatchingType(m_set.GetElementType()));
        m_container = m_set.GetValues().GetContainer();
    }
    explicit SetAdapter(std::shared_ptr<StoreValue> value) : SetAdapter(*value, value) {}

    ITypedSet<StorageT> const& GetSet() const { return m_set; }
    qelsize_t GetCount() const { return m_set.GetCount(); }
    // Whether the value is an element; specials are not elements. The hash
    // set is searched in place, with no virtual call, as function loops ask
    // once per element.
    bool Contains(CastT const& value) const {
        if (m_container != nullptr) [[likely]]
            return m_container->find(detail::ToStorage<StorageT>(value)) != m_container->end();
        return m_set.Contains(detail::ToStorage<StorageT>(value));
    }
    // The elements read as CastT, in the set's node order.
    SetValueIterator<StorageT, CastT> GetValues() const {
        return m_set.GetValues().template AsCastIterator<CastT>();
    }

private:
    std::shared_ptr<StoreValue> m_owner;
    ITypedSet<StorageT> const& m_set;
    ValueSetContainer<StorageT> const* m_container = nullptr;
};

}  // namespace qel::core
