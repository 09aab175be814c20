#pragma once

// ValueKeySet<K, V> is the dictionary value of the store: a map from keys of
// storage type K to values of storage type V, and a separate map from
// special keys (SpecialKind) to values, so that the lookup of a normal key
// never tests for specials. A special key is a key in its own right: the
// group of null keys keeps its aggregate under SpecialKind::Null. The values
// have no specials of their own (HasSpecialValues is always false).
//
// The key set is immutable and its maps are shared by its copies. Its boxed
// iterable walks the values of the normal keys, then those of the special
// keys; it yields values, never keys. Its two iterators are built on first
// use, each under a once-flag.
//
// The member definitions are here too, so that the 36 instantiations can be
// spread over several sources (ValueKeySetInstances*.cpp) and built in
// parallel; every other source sees them as extern.

#include <cstddef>
#include <memory>
#include <mutex>
#include <tuple>
#include <type_traits>

#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueKeySet.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/UnorderedMapUtil.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

template <class K, class V>
class ValueKeySet final : public StoreValue,
                          public IStoreCollection,
                          public IUniformCollection,
                          public IStoreDictionary<K, V> {
public:
    using Map = DictionaryMap<K, V>;
    using SpecialMap = SpecialKeyMap<V>;

    ValueKeySet(KeySetType const* type, std::unique_ptr<Map> values,
                std::unique_ptr<SpecialMap> specials);
    // Shares both maps; the iterable is the new value's own.
    ValueKeySet(ValueKeySet const& other);
    ~ValueKeySet() override = default;

    // StoreValue
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override {
        return static_cast<qelsize_t>(m_values->size() + m_specials->size());
    }
    std::unique_ptr<StoreValue> Clone() const override {
        return std::make_unique<ValueKeySet>(*this);
    }
    IStoreCollection const& AsCollection() const override { return *this; }
    IUniformCollection const& AsUniformCollection() const override { return *this; }

    // IStoreCollection: the key's text, parsed as a key of the key type.
    // Special keys cannot be reached this way.
    std::shared_ptr<StoreValue> GetByString(RInternString const& key) const override;
    std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const override;
    bool ContainsStringKey(RInternString const& key) const override;

    // IUniformCollection
    Type const* GetElementType() const override { return m_type->GetElementType(); }
    bool IsConstantValue() const override { return false; }
    bool HasSpecialValues() const override { return false; }
    IUniformCollection::StoreValueIterable const& GetStoreValues() const override {
        return m_iterable;
    }

    // IStoreDictionary<K, V>. An absent key makes GetValue throw
    // std::out_of_range ("Unable to find key in unordered_map.").
    bool HasSpecialKeys() const override { return !m_specials->empty(); }
    Type const* GetKeyType() const override { return m_type->GetKeyType(); }
    V const& GetValue(K const& key) const override { return m_values->at(key); }
    V const& GetValue(SpecialKind key) const override { return m_specials->at(key); }
    qelsize_t GetSpecialKeyCount() const override {
        return static_cast<qelsize_t>(m_specials->size());
    }
    bool ContainsKey(K const& key) const override { return UnorderedMapContainsKey(m_values, key); }
    bool ContainsKey(SpecialKind key) const override {
        return UnorderedMapContainsKey(m_specials, key);
    }
    KeyValuePairIterator<K, V, K, V> GetKeyValuePairs() const override {
        return KeyValuePairIterator<K, V, K, V>(GetKeyType(), GetElementType(), m_values.get(),
                                                m_values->begin());
    }
    SpecialKeyValuePairIterator<V, V> GetSpecialKeyValuePairs() const override {
        return SpecialKeyValuePairIterator<V, V>(GetElementType(), m_specials.get(),
                                                 m_specials->begin());
    }

private:
    class KeySetStoreValueIterator;

    class StoreValueIterableImpl final : public IUniformCollection::StoreValueIterable {
    public:
        explicit StoreValueIterableImpl(ValueKeySet const* owner) : m_owner(owner) {}
        std::unique_ptr<IStoreValueIterator> const& begin() const override;
        std::unique_ptr<IStoreValueIterator> const& end() const override;

    private:
        ValueKeySet const* m_owner;
        mutable std::unique_ptr<IStoreValueIterator> m_begin;
        mutable std::unique_ptr<IStoreValueIterator> m_end;
        mutable std::once_flag m_beginOnce;
        mutable std::once_flag m_endOnce;
    };

    // The key of a text; `ok` null: a text that is no key throws.
    static K ParseKey(RInternString const& text, Type const* keyType, bool* ok);

    KeySetType const* m_type;
    std::shared_ptr<Map> m_values;
    std::shared_ptr<SpecialMap> m_specials;
    StoreValueIterableImpl m_iterable;
};

// ---------------------------------------------------------------------------
// The boxed iterator: the values of the normal keys, then of the special ones

template <class K, class V>
class ValueKeySet<K, V>::KeySetStoreValueIterator final : public IStoreValueIterator {
public:
    using ValuePosition = typename Map::const_iterator;
    using SpecialPosition = typename SpecialMap::const_iterator;

    KeySetStoreValueIterator(KeySetType const* type, ValuePosition value, ValuePosition valueEnd,
                             SpecialPosition special, SpecialPosition specialEnd)
        : m_type(type),
          m_value(value),
          m_valueEnd(valueEnd),
          m_special(special),
          m_specialEnd(specialEnd) {}

    std::unique_ptr<IStoreValueIterator> Clone() const override {
        return std::make_unique<KeySetStoreValueIterator>(*this);
    }
    bool NotEqual(std::unique_ptr<IStoreValueIterator> const& other) const override {
        auto const* that = dynamic_cast<KeySetStoreValueIterator const*>(other.get());
        if (that == nullptr)
            return false;
        return m_value != that->m_value || m_valueEnd != that->m_valueEnd ||
               m_special != that->m_special || m_specialEnd != that->m_specialEnd;
    }
    void MoveNext() override {
        if (m_value == m_valueEnd) {
            if (m_special == m_specialEnd)
                QEL_VALIDATION_FAILED(QelError::IteratorOutOfBounds);
            ++m_special;
        } else {
            ++m_value;
        }
    }
    std::shared_ptr<StoreValue> GetCurrent() const override {
        if (m_value == m_valueEnd) {
            if (m_special == m_specialEnd)
                QEL_VALIDATION_FAILED(QelError::IteratorOutOfBounds);
            return MakeStoreValueFromStorageType<V>(m_type->GetElementType(), m_special->second);
        }
        return MakeStoreValueFromStorageType<V>(m_type->GetElementType(), m_value->second);
    }

private:
    KeySetType const* m_type;
    ValuePosition m_value;
    ValuePosition m_valueEnd;
    SpecialPosition m_special;
    SpecialPosition m_specialEnd;
};

template <class K, class V>
std::unique_ptr<IStoreValueIterator> const& ValueKeySet<K, V>::StoreValueIterableImpl::begin()
    const {
    std::call_once(m_beginOnce, [this] {
        Map const& values = *m_owner->m_values;
        SpecialMap const& specials = *m_owner->m_specials;
        m_begin = std::make_unique<KeySetStoreValueIterator>(
            m_owner->m_type, values.begin(), values.end(), specials.begin(), specials.end());
    });
    return m_begin;
}

template <class K, class V>
std::unique_ptr<IStoreValueIterator> const& ValueKeySet<K, V>::StoreValueIterableImpl::end() const {
    std::call_once(m_endOnce, [this] {
        Map const& values = *m_owner->m_values;
        SpecialMap const& specials = *m_owner->m_specials;
        m_end = std::make_unique<KeySetStoreValueIterator>(
            m_owner->m_type, values.end(), values.end(), specials.end(), specials.end());
    });
    return m_end;
}

// ---------------------------------------------------------------------------
// Construction

template <class K, class V>
ValueKeySet<K, V>::ValueKeySet(KeySetType const* type, std::unique_ptr<Map> values,
                               std::unique_ptr<SpecialMap> specials)
    : m_type(type), m_values(std::move(values)), m_specials(std::move(specials)), m_iterable(this) {
    using StorageK = K;
    using StorageV = V;
    QEL_VALIDATE_NOT_NULL(m_type, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_NOT_NULL(m_values, QelError::ArrayCannotBeNull);
    QEL_VALIDATE_NOT_NULL(m_specials, QelError::ListOfSpecialValuesCannotBeNull);
    if constexpr (!std::is_same_v<K, std::shared_ptr<StoreValue>>) {
        QEL_VALIDATE(StorageTypeTraits<StorageK>::IsMatchingType(m_type->GetKeyType()),
                     QelError::TypeDoesntMatchExpectedType);
    }
    if constexpr (!std::is_same_v<V, std::shared_ptr<StoreValue>>) {
        QEL_VALIDATE(StorageTypeTraits<StorageV>::IsMatchingType(m_type->GetElementType()),
                     QelError::TypeDoesntMatchExpectedType);
    }
    if constexpr (std::is_same_v<K, RIndirectString>) {
        // A map built for another collation would split or merge keys that
        // this key type's lookups see otherwise.
        Collation const& c = TypeAs<StringType>(m_type->GetKeyType())->GetCollation();
        Map const& set = *m_values;
        QEL_VALIDATE(c == set.hash_function().GetCollation(),
                     QelError::TheCollectionAndRawContainerHaveDifferent);
        QEL_VALIDATE(c == set.key_eq().GetCollation(),
                     QelError::TheCollectionAndRawContainerHaveDifferent);
    }
}

template <class K, class V>
ValueKeySet<K, V>::ValueKeySet(ValueKeySet const& other)
    : StoreValue(),
      IStoreCollection(),
      IUniformCollection(),
      IStoreDictionary<K, V>(),
      m_type(other.m_type),
      m_values(other.m_values),
      m_specials(other.m_specials),
      m_iterable(this) {}

// ---------------------------------------------------------------------------
// String keys

template <class K, class V>
K ValueKeySet<K, V>::ParseKey(RInternString const& text, Type const* keyType, bool* ok) {
    if constexpr (std::is_same_v<K, QelTuple>) {
        // Tuples have no key text, like nested values in the parser.
        if (ok == nullptr)
            throw QelRuntimeException(QelError::NotImplemented);
        *ok = false;
        return K();
    } else if (ok == nullptr) {
        return ParseStorageType<K>(text.GetValue(), keyType);
    } else {
        return TryParseStorageType<K>(text.GetValue(), keyType, *ok);
    }
}

template <class K, class V>
std::shared_ptr<StoreValue> ValueKeySet<K, V>::GetByString(RInternString const& key) const {
    K const parsed = ParseKey(key, GetKeyType(), nullptr);
    return MakeStoreValueFromStorageType<V>(GetElementType(), m_values->at(parsed));
}

template <class K, class V>
std::shared_ptr<StoreValue> ValueKeySet<K, V>::TryGetByString(RInternString const& key) const {
    bool ok = false;
    K const parsed = ParseKey(key, GetKeyType(), &ok);
    if (!ok)
        return nullptr;
    auto const found = m_values->find(parsed);
    if (found == m_values->end())
        return nullptr;
    return MakeStoreValueFromStorageType<V>(GetElementType(), found->second);
}

template <class K, class V>
bool ValueKeySet<K, V>::ContainsStringKey(RInternString const& key) const {
    bool ok = false;
    K const parsed = ParseKey(key, GetKeyType(), &ok);
    return ok && ContainsKey(parsed);
}

// ---------------------------------------------------------------------------
// The maker

namespace factory {

template <class K, class V>
std::shared_ptr<StoreValue> MakeKeySet(Type const* keyType, Type const* elementType,
                                       std::unique_ptr<DictionaryMap<K, V>> values,
                                       std::unique_ptr<SpecialKeyMap<V>> specials) {
    return std::make_shared<ValueKeySet<K, V>>(KeySetType::Get(keyType, elementType),
                                               std::move(values), std::move(specials));
}

}  // namespace factory

// The sources that instantiate: ValueKeySet.cpp and ValueKeySetInstances*.cpp
// each take the key types at some positions of the storage type list.
namespace detail {
using StorageTypeList = std::tuple<QEL_STORAGE_TYPES>;
template <std::size_t I>
using StorageTypeAt = std::tuple_element_t<I, StorageTypeList>;
}  // namespace detail

#define QEL_DETAIL_INSTANTIATE_KEY_SET(K, V)                                                    \
    template class ValueKeySet<K, V>;                                                           \
    namespace factory {                                                                         \
    template std::shared_ptr<StoreValue> MakeKeySet<K, V>(Type const*, Type const*,             \
                                                          std::unique_ptr<DictionaryMap<K, V>>, \
                                                          std::unique_ptr<SpecialKeyMap<V>>);   \
    }

#define QEL_DETAIL_DECLARE_VALUE_KEY_SET(K, V) extern template class ValueKeySet<K, V>;
QEL_FOR_EACH_STORAGE_TYPE_PAIR(QEL_DETAIL_DECLARE_VALUE_KEY_SET)
#undef QEL_DETAIL_DECLARE_VALUE_KEY_SET

}  // namespace qel::core
