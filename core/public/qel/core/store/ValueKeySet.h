#pragma once

// The makers of key set values: typed maps from keys of one storage type K to
// values of one storage type V, with a second map for special keys (Null,
// Missing, ...). K and V are any two of the six storage types; the key set's
// type is KeySetType::Get(keyType, elementType).
//
// A maker fills the two maps whole (UnorderedMapInsertUnique refuses a
// duplicate key) and hands them over; the key set never changes afterwards,
// and copies share the maps. Both maps must be given, the special one empty
// when there are no special keys. A map of string keys must hash and compare
// by the collation of the key type: MakeRawKeySet makes such an empty map.
//
// The maps are declared only (see DictionaryMaps.h); include
// store/DictionaryIterators.h to fill or walk them. The typed view of a key
// set is StoreValue::AsDictionary<K, V>().

#include <memory>

#include "qel/core/store/DictionaryMaps.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/StorageTypes.h"

namespace qel::core {

namespace factory {

// Fails as KeySetType::Get on types that cannot key or fill a key set, and
// "type doesn't match expected type" when K or V is not their storage.
template <class K, class V>
std::shared_ptr<StoreValue> MakeKeySet(Type const* keyType, Type const* elementType,
                                       std::unique_ptr<DictionaryMap<K, V>> values,
                                       std::unique_ptr<SpecialKeyMap<V>> specials);

// An empty map of string keys hashing and comparing by the collation of
// `keyType`, a string type.
template <class V>
std::unique_ptr<DictionaryMap<RIndirectString, V>> MakeRawKeySet(Type const* keyType);

}  // namespace factory

#define QEL_DETAIL_DECLARE_KEY_SET_FACTORY(K, V)                        \
    namespace factory {                                                 \
    extern template std::shared_ptr<StoreValue> MakeKeySet<K, V>(       \
        Type const*, Type const*, std::unique_ptr<DictionaryMap<K, V>>, \
        std::unique_ptr<SpecialKeyMap<V>>);                             \
    }
QEL_FOR_EACH_STORAGE_TYPE_PAIR(QEL_DETAIL_DECLARE_KEY_SET_FACTORY)
#undef QEL_DETAIL_DECLARE_KEY_SET_FACTORY

#define QEL_DETAIL_DECLARE_RAW_KEY_SET_FACTORY(V)                                        \
    namespace factory {                                                                  \
    extern template std::unique_ptr<DictionaryMap<RIndirectString, V>> MakeRawKeySet<V>( \
        Type const*);                                                                    \
    }
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_RAW_KEY_SET_FACTORY)
#undef QEL_DETAIL_DECLARE_RAW_KEY_SET_FACTORY

}  // namespace qel::core
