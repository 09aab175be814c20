#pragma once

// The typed iterators of dictionaries (key sets, key maps, tables): they walk
// the dictionary's hash map in the order of its node list, which depends on
// the map's history; consumers must not rely on it. Each iterator is its own
// range (begin() and end()) and yields pairs of a key and the value, both by
// reference when read as their storage types. Like the array iterators they
// are concrete classes, so that a loop over them is inlined; they hold a
// plain pointer to the map and never keep their dictionary alive.
//
// Reading or advancing past the end fails "iterator out of bounds".
// AsCastIterator reads keys and values as other types whose bits lie in the
// same storage (bool, float, QelDateTime, ...), after checking the
// dictionary's key and value types; a dictionary without a value type (key
// maps and tables hand out a null one) skips the value check.

#include <boost/unordered_map.hpp>

#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>

#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/DictionaryMaps.h"
#include "qel/core/types/TypeTraits.h"

namespace qel::core {

namespace detail {
// Out of line, so that a refusal names the library's source and not the
// host's copy of this header.
[[noreturn]] void DictionaryRefused(char const* condition, QelError error);
// "expected keyset but was " with the name of `actual`.
[[noreturn]] void DictionaryNotAKeySet(char const* condition, StoreType actual);
}  // namespace detail

#define QEL_DETAIL_DICTIONARY_CHECK(cond, error)                          \
    do {                                                                  \
        if (!(cond)) [[unlikely]]                                         \
            ::qel::core::detail::DictionaryRefused("(" #cond ")", error); \
    } while (false)

template <class K, class V, class KCast, class VCast>
class KeyValuePairIterator {
public:
    using Map = DictionaryMap<K, V>;
    using Position = typename Map::const_iterator;
    using KeyElement = std::conditional_t<std::is_same_v<KCast, K>, K const&, KCast>;
    using ValueElement = std::conditional_t<std::is_same_v<VCast, V>, V const&, VCast>;
    using value_type = std::pair<KCast, VCast>;
    using reference = std::pair<KeyElement, ValueElement>;
    using pointer = void;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;

    KeyValuePairIterator() = default;
    // `valueType` may be null: the dictionary's values are of no one type.
    KeyValuePairIterator(Type const* keyType, Type const* valueType, Map const* values,
                         Position position)
        : m_keyType(keyType), m_valueType(valueType), m_values(values), m_pos(position) {}

    KeyValuePairIterator begin() const {
        return At(m_values == nullptr ? Position() : m_values->begin());
    }
    KeyValuePairIterator end() const {
        return At(m_values == nullptr ? Position() : m_values->end());
    }

    bool operator==(KeyValuePairIterator const& other) const { return m_pos == other.m_pos; }
    bool operator!=(KeyValuePairIterator const& other) const { return m_pos != other.m_pos; }

    reference operator*() const {
        QEL_DETAIL_DICTIONARY_CHECK(m_values != nullptr && m_pos != m_values->end(),
                                    QelError::IteratorOutOfBounds);
        return reference(detail::CastStorage<KCast>(m_pos->first),
                         detail::CastStorage<VCast>(m_pos->second));
    }
    KeyValuePairIterator& operator++() {
        QEL_DETAIL_DICTIONARY_CHECK(m_values != nullptr && m_pos != m_values->end(),
                                    QelError::IteratorOutOfBounds);
        ++m_pos;
        return *this;
    }
    KeyValuePairIterator operator++(int) {
        KeyValuePairIterator before = *this;
        ++*this;
        return before;
    }

    Type const* GetKeyType() const { return m_keyType; }
    Type const* GetValueType() const { return m_valueType; }

    // The same entries read as the new types, from the first one. Fails "type
    // doesn't match expected type" unless the key type holds NewKeyType and
    // the value type (when there is one) NewValueType.
    template <class NewKeyType, class NewValueType>
    KeyValuePairIterator<K, V, NewKeyType, NewValueType> AsCastIterator() const {
        static_assert(std::is_same_v<typename TypeTraits<NewKeyType>::StorageType, K>);
        static_assert(std::is_same_v<typename TypeTraits<NewValueType>::StorageType, V>);
        QEL_DETAIL_DICTIONARY_CHECK(TypeTraits<NewKeyType>::IsMatchingType(m_keyType),
                                    QelError::TypeDoesntMatchExpectedType);
        if (m_valueType != nullptr) {
            QEL_DETAIL_DICTIONARY_CHECK(TypeTraits<NewValueType>::IsMatchingType(m_valueType),
                                        QelError::TypeDoesntMatchExpectedType);
        }
        return KeyValuePairIterator<K, V, NewKeyType, NewValueType>(m_keyType, m_valueType,
                                                                    m_values, Position())
            .begin();
    }

private:
    KeyValuePairIterator At(Position position) const {
        KeyValuePairIterator it = *this;
        it.m_pos = position;
        return it;
    }

    Type const* m_keyType = nullptr;
    Type const* m_valueType = nullptr;
    Map const* m_values = nullptr;
    Position m_pos;
};

// The entries under special keys; the key is the SpecialKind itself.
template <class V, class VCast>
class SpecialKeyValuePairIterator {
public:
    using Map = SpecialKeyMap<V>;
    using Position = typename Map::const_iterator;
    using ValueElement = std::conditional_t<std::is_same_v<VCast, V>, V const&, VCast>;
    using value_type = std::pair<SpecialKind, VCast>;
    using reference = std::pair<SpecialKind, ValueElement>;
    using pointer = void;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;

    SpecialKeyValuePairIterator() = default;
    // `valueType` may be null: the dictionary's values are of no one type.
    SpecialKeyValuePairIterator(Type const* valueType, Map const* values, Position position)
        : m_valueType(valueType), m_values(values), m_pos(position) {}

    SpecialKeyValuePairIterator begin() const {
        return At(m_values == nullptr ? Position() : m_values->begin());
    }
    SpecialKeyValuePairIterator end() const {
        return At(m_values == nullptr ? Position() : m_values->end());
    }

    bool operator==(SpecialKeyValuePairIterator const& other) const { return m_pos == other.m_pos; }
    bool operator!=(SpecialKeyValuePairIterator const& other) const { return m_pos != other.m_pos; }

    reference operator*() const {
        QEL_DETAIL_DICTIONARY_CHECK(m_values != nullptr && m_pos != m_values->end(),
                                    QelError::IteratorOutOfBounds);
        return reference(m_pos->first, detail::CastStorage<VCast>(m_pos->second));
    }
    SpecialKeyValuePairIterator& operator++() {
        QEL_DETAIL_DICTIONARY_CHECK(m_values != nullptr && m_pos != m_values->end(),
                                    QelError::IteratorOutOfBounds);
        ++m_pos;
        return *this;
    }
    SpecialKeyValuePairIterator operator++(int) {
        SpecialKeyValuePairIterator before = *this;
        ++*this;
        return before;
    }

    Type const* GetValueType() const { return m_valueType; }

    // The same entries with values read as NewValueType, from the first one.
    template <class NewValueType>
    SpecialKeyValuePairIterator<V, NewValueType> AsCastIterator() const {
        static_assert(std::is_same_v<typename TypeTraits<NewValueType>::StorageType, V>);
        if (m_valueType != nullptr) {
            QEL_DETAIL_DICTIONARY_CHECK(TypeTraits<NewValueType>::IsMatchingType(m_valueType),
                                        QelError::TypeDoesntMatchExpectedType);
        }
        return SpecialKeyValuePairIterator<V, NewValueType>(m_valueType, m_values, Position())
            .begin();
    }

private:
    SpecialKeyValuePairIterator At(Position position) const {
        SpecialKeyValuePairIterator it = *this;
        it.m_pos = position;
        return it;
    }

    Type const* m_valueType = nullptr;
    Map const* m_values = nullptr;
    Position m_pos;
};

}  // namespace qel::core
