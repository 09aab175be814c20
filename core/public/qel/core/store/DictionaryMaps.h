#pragma once

// The hash maps that hold a dictionary's entries: DictionaryMap<K, V> for the
// normal keys and SpecialKeyMap<V> for the special ones (Null, Missing, ...),
// which are keys in their own right and never mix with the normal ones. The
// dictionary iterators walk exactly these types, so a dictionary class keeps
// its entries in them.
//
// Only boost's forward declarations are included here, so that the makers'
// declarations cost their includers nothing; a source that fills or walks the
// maps includes store/DictionaryIterators.h, which has the definitions.
//
// Keys hash and compare as the elements of sets do (store/ElementHash.h): a
// map of strings holds the collator of its key type, so that keys equal
// under the collation are one key; nested values are keys by what they hold.

#include <boost/unordered/unordered_map_fwd.hpp>

#include "qel/core/store/ElementHash.h"
#include "qel/core/store/SpecialKind.h"

namespace qel::core {

namespace factory {

// The hash and equality of keys of storage type K: for RIndirectString they
// must be made with the collation of the key type (MakeRawKeySet does).
template <class K>
struct CollationAwareKeyTraits : ElementHashTraits<K> {};

}  // namespace factory

template <class K, class V>
using DictionaryMap = boost::unordered_map<K, V, typename factory::CollationAwareKeyTraits<K>::Hash,
                                           typename factory::CollationAwareKeyTraits<K>::Equal>;

// Hashes the kind's byte.
template <class V>
using SpecialKeyMap = boost::unordered_map<SpecialKind, V>;

}  // namespace qel::core
