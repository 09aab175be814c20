#pragma once

// ValueSet<T> is the set value of the store, one template over the six
// storage types: a shared hash set of elements and a shared hash set of the
// special kinds present. A special is never an element, and Normal is never
// a special. Copies (Clone, CopyWithoutSpecials) share the hash sets, so
// both are held by shared pointers and never change after construction.
//
// Strings hash and compare by the collation of the element StringType;
// numbers by their bits; tuples by the tuple data; nested values by
// GetHashValue and IsEqual (ElementHash.h).
//
// The two iterables live inside the set and point back at it, which is why a
// copy rebuilds them rather than copying them. The boxed iterable builds its
// two iterators on first use, each under its own once-flag.

#include <memory>
#include <mutex>
#include <vector>

#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/SetIterators.h"
#include "qel/core/store/ValueSet.h"

namespace qel::core {

// The initial size of a specials table: room for every kind at load factor 1.
inline constexpr std::size_t kSpecialKindBucketCount = 16;

template <class T>
class ValueSet final : public StoreValue, public IStoreCollection, public ITypedSet<T> {
public:
    using Container = ValueSetContainer<T>;

    // A null `specials` gives an empty specials set; a Normal in it is dropped.
    ValueSet(SetType const* type, std::unique_ptr<Container> values,
             std::unique_ptr<SpecialKindSet> specials);
    // Shares `values`, with no specials.
    ValueSet(SetType const* type, std::shared_ptr<Container> values);
    // Shares both hash sets.
    ValueSet(ValueSet const& other);
    ~ValueSet() override;

    // StoreValue
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override {
        return static_cast<qelsize_t>(m_values->size() + m_specials->size());
    }
    std::unique_ptr<StoreValue> Clone() const override;
    IStoreCollection const& AsCollection() const override { return *this; }
    IUniformCollection const& AsUniformCollection() const override { return *this; }
    IStoreSet const& AsSet() const override { return *this; }

    // IStoreCollection: the key is the text of an element, and the answer a
    // Bool value saying whether it is one. Every key is "contained".
    std::shared_ptr<StoreValue> GetByString(RInternString const& key) const override;
    std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const override;
    bool ContainsStringKey(RInternString const&) const override { return true; }

    // IUniformCollection
    Type const* GetElementType() const override { return m_type->GetElementType(); }
    bool IsConstantValue() const override { return false; }
    bool HasSpecialValues() const override { return !m_specials->empty(); }
    IUniformCollection::StoreValueIterable const& GetStoreValues() const override {
        return m_storeValues;
    }

    // IStoreSet
    qelsize_t GetSpecialCount() const override {
        return static_cast<qelsize_t>(m_specials->size());
    }
    bool ContainsSpecialKind(SpecialKind kind) const override {
        return !m_specials->empty() && m_specials->find(kind) != m_specials->end();
    }
    std::shared_ptr<StoreValue> CopyAsArray(bool includeSpecials) const override;
    std::shared_ptr<StoreValue> CopyWithoutSpecials() const override;

    // ITypedSet<T>
    bool Contains(T const& value) const override {
        return m_values->find(value) != m_values->end();
    }
    SetValueIterator<T, T> GetValues() const override {
        return SetValueIterator<T, T>(GetElementType(), m_values.get(), m_values->begin());
    }
    SpecialKindSetIterable const& GetSpecialValues() const override { return m_specialValues; }

private:
    class SetStoreValueIterator;

    // The specials in node order, laid out once so that they can be walked
    // as a range of SpecialKind const*; null for a set without specials.
    class SpecialKindIterableImpl final : public SpecialKindSetIterable {
    public:
        explicit SpecialKindIterableImpl(SpecialKindSet const& specials)
            : m_order(specials.begin(), specials.end()) {}
        SpecialKind const* begin() const override {
            return m_order.empty() ? nullptr : m_order.data();
        }
        SpecialKind const* end() const override {
            return m_order.empty() ? nullptr : m_order.data() + m_order.size();
        }

    private:
        std::vector<SpecialKind> m_order;
    };

    class StoreValueIterableImpl final : public IUniformCollection::StoreValueIterable {
    public:
        explicit StoreValueIterableImpl(ValueSet const& set) : m_set(&set) {}
        std::unique_ptr<IStoreValueIterator> const& begin() const override;
        std::unique_ptr<IStoreValueIterator> const& end() const override;

    private:
        ValueSet const* m_set;
        mutable std::unique_ptr<IStoreValueIterator> m_begin;
        mutable std::unique_ptr<IStoreValueIterator> m_end;
        mutable std::once_flag m_beginOnce;
        mutable std::once_flag m_endOnce;
    };

    // Never null, and without Normal.
    static std::shared_ptr<SpecialKindSet> TakeSpecials(std::unique_ptr<SpecialKindSet> specials);
    void Validate() const;

    SetType const* m_type;
    std::shared_ptr<Container> m_values;
    std::shared_ptr<SpecialKindSet> m_specials;
    SpecialKindIterableImpl m_specialValues;
    StoreValueIterableImpl m_storeValues;
};

// An empty hash set for elements of `elementType`: for strings, one that
// hashes and compares by the element type's collation.
template <class T>
std::unique_ptr<ValueSetContainer<T>> MakeSetContainer(Type const* elementType,
                                                       std::size_t bucketCount);

#define QEL_DETAIL_DECLARE_VALUE_SET(T)                                                    \
    extern template class ValueSet<T>;                                                     \
    extern template std::unique_ptr<ValueSetContainer<T>> MakeSetContainer<T>(Type const*, \
                                                                              std::size_t);
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_VALUE_SET)
#undef QEL_DETAIL_DECLARE_VALUE_SET

}  // namespace qel::core
