#pragma once

// KeySetAdapter<K, V> is an owning, typed facade on a key set for the
// function library and the serializers, the twin of ArrayAdapter and
// SetAdapter for dictionaries. K and V are the types that keys and values
// are read as (bool, int, float, QelDateTime, RIndirectString, QelTuple, ...;
// V also std::shared_ptr<StoreValue>). It keeps the value alive, refuses a
// value that is not a key set ("expected keyset but was " and its store
// type) and a key set whose key or value type does not hold K or V ("type
// doesn't match expected type"), and then answers lookups and hands out the
// iterators reading K and V. Iterators from an adapter are safe while the
// adapter lives.

#include <memory>

#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/SetAdapter.h"
#include "qel/core/store/StoreValue.h"

namespace qel::core {

// As QEL_DETAIL_DICTIONARY_CHECK, for the store type of `value`.
#define QEL_DETAIL_KEY_SET_CHECK(cond)                                                      \
    do {                                                                                    \
        if (!(cond)) [[unlikely]]                                                           \
            ::qel::core::detail::DictionaryNotAKeySet("(" #cond ")", value.GetStoreType()); \
    } while (false)

template <class K, class V>
class KeySetAdapter {
public:
    using StorageK = typename TypeTraits<K>::StorageType;
    using StorageV = typename TypeTraits<V>::StorageType;
    using Dictionary = IStoreDictionary<StorageK, StorageV>;

    // `owner` keeps `value` alive.
    KeySetAdapter(StoreValue const& value, std::shared_ptr<StoreValue> owner)
        : m_owner(std::move(owner)), m_value(value), m_dictionary(AsKeySet(value)) {
        Type const* keyType = m_dictionary.GetKeyType();
        Type const* elementType = m_value.AsUniformCollection().GetElementType();
        QEL_DETAIL_DICTIONARY_CHECK(TypeTraits<K>::IsMatchingType(keyType),
                                    QelError::TypeDoesntMatchExpectedType);
        QEL_DETAIL_DICTIONARY_CHECK(TypeTraits<V>::IsMatchingType(elementType),
                                    QelError::TypeDoesntMatchExpectedType);
    }
    explicit KeySetAdapter(std::shared_ptr<StoreValue> value) : KeySetAdapter(*value, value) {}

    StoreValue const& GetStoreValue() const { return m_value; }
    Dictionary const& GetDictionary() const { return m_dictionary; }
    Type const* GetKeyType() const { return m_dictionary.GetKeyType(); }
    // Normal and special keys.
    qelsize_t GetCount() const { return m_dictionary.GetCount(); }
    qelsize_t GetSpecialKeyCount() const { return m_dictionary.GetSpecialKeyCount(); }
    bool HasSpecialKeys() const { return m_dictionary.HasSpecialKeys(); }

    bool ContainsKey(K const& key) const {
        return m_dictionary.ContainsKey(detail::ToStorage<StorageK>(key));
    }
    bool ContainsKey(SpecialKind key) const { return m_dictionary.ContainsKey(key); }
    // An absent key throws std::out_of_range, as the key set does.
    decltype(auto) GetValue(K const& key) const {
        return detail::CastStorage<V>(m_dictionary.GetValue(detail::ToStorage<StorageK>(key)));
    }
    decltype(auto) GetValue(SpecialKind key) const {
        return detail::CastStorage<V>(m_dictionary.GetValue(key));
    }

    KeyValuePairIterator<StorageK, StorageV, K, V> GetKeyValuePairs() const {
        return m_dictionary.GetKeyValuePairs().template AsCastIterator<K, V>();
    }
    SpecialKeyValuePairIterator<StorageV, V> GetSpecialKeyValuePairs() const {
        return m_dictionary.GetSpecialKeyValuePairs().template AsCastIterator<V>();
    }

private:
    // Before the cast, so that any other value is told what it is.
    static Dictionary const& AsKeySet(StoreValue const& value) {
        QEL_DETAIL_KEY_SET_CHECK(value.GetStoreType() == StoreType::KeySet);
        return value.template AsDictionary<StorageK, StorageV>();
    }

    std::shared_ptr<StoreValue> m_owner;
    StoreValue const& m_value;
    Dictionary const& m_dictionary;
};

#undef QEL_DETAIL_KEY_SET_CHECK

}  // namespace qel::core
