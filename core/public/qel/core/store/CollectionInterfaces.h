#pragma once

// The interfaces every collection value implements beside StoreValue. A
// consumer turns a StoreValue into the interface it needs (AsArray,
// AsTypedArray<T>, AsSet, AsKeyMap, ...) and works on that alone; it never
// learns whether an array is plain, constant or composite.
//
// StorageT is one of the six storage types (see types/TypeTraits.h). A
// concrete collection derives from StoreValue, then IStoreCollection, then
// its typed interface, so these are distinct sub-objects reached only through
// the As... operations.
//
// All collections but ValueKeyMap are immutable: operations that "copy" make
// a new value sharing the old buffers. Iterators hold raw views and never keep
// their collection alive.

#include <memory>
#include <utility>
#include <vector>

#include "qel/core/store/RawData.h"
#include "qel/core/store/SortSpecOrder.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/RInternString.h"
#include "qel/core/utility/ArrayView.h"

namespace qel::core {

template <class StorageT, class CastT, bool kWithSpecials>
class BasicArrayIterator;
template <class StorageT, class CastT>
using ArrayValueIterator = BasicArrayIterator<StorageT, CastT, false>;
template <class StorageT, class CastT>
using ArrayValueSpecialIterator = BasicArrayIterator<StorageT, CastT, true>;
template <class StorageT>
struct ValueCompositeArrayRange;
template <class StorageT, class CastT>
class SetValueIterator;
template <class K, class V, class KCast, class VCast>
class KeyValuePairIterator;
template <class V, class VCast>
class SpecialKeyValuePairIterator;

// The boxed traversal of any uniform collection: each element as a
// StoreValue. Slower than the typed iterators (it may allocate per element).
class IStoreValueIterator {
public:
    virtual ~IStoreValueIterator() = default;
    virtual std::unique_ptr<IStoreValueIterator> Clone() const = 0;
    // False against an empty pointer.
    virtual bool NotEqual(std::unique_ptr<IStoreValueIterator> const& other) const = 0;
    virtual void MoveNext() = 0;
    virtual std::shared_ptr<StoreValue> GetCurrent() const = 0;
};

class IStoreCollection {
public:
    virtual ~IStoreCollection() = default;
    // The element for a string key (for arrays: the decimal position);
    // GetByString throws when there is none, TryGetByString gives null.
    virtual std::shared_ptr<StoreValue> GetByString(RInternString const& key) const = 0;
    virtual std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const = 0;
    virtual bool ContainsStringKey(RInternString const& key) const = 0;
};

class IStoreMutableCollection : public IStoreCollection {
public:
    virtual void SetByString(RInternString const& key,
                             std::shared_ptr<StoreValue> const& value) = 0;
    virtual void UpdateByString(RInternString const& key,
                                std::shared_ptr<StoreValue> const& value) = 0;
    virtual void SetOrUpdateByString(RInternString const& key,
                                     std::shared_ptr<StoreValue> const& value) = 0;
};

class IUniformCollection {
public:
    // Two prebuilt iterators, at the first element and past the last; walk a
    // Clone of begin() until it is no longer NotEqual to end().
    class StoreValueIterable {
    public:
        virtual ~StoreValueIterable() = default;
        virtual std::unique_ptr<IStoreValueIterator> const& begin() const = 0;
        virtual std::unique_ptr<IStoreValueIterator> const& end() const = 0;
    };

    virtual ~IUniformCollection() = default;
    virtual qelsize_t GetCount() const = 0;
    virtual Type const* GetType() const = 0;
    virtual Type const* GetElementType() const = 0;
    // True when one element stands for all.
    virtual bool IsConstantValue() const = 0;
    virtual bool HasSpecialValues() const = 0;
    // Built on first use; valid as long as the collection.
    virtual StoreValueIterable const& GetStoreValues() const = 0;
};

class IStoreArray : public IUniformCollection {
public:
    // New arrays whose indices address this array's logical positions
    // (Apply) or its physical slots (Replace).
    virtual std::shared_ptr<StoreValue> CopyAndApplyIndices(std::vector<qelsize_t>&& indices,
                                                            SortSpecOrder order) const = 0;
    virtual std::shared_ptr<StoreValue> CopyAndApplyIndices(
        std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const = 0;
    virtual std::shared_ptr<StoreValue> CopyAndReplaceIndices(std::vector<qelsize_t>&& indices,
                                                              SortSpecOrder order) const = 0;
    virtual std::shared_ptr<StoreValue> CopyAndReplaceIndices(
        std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const = 0;
    // The same elements in logical order, with no indices.
    virtual std::shared_ptr<StoreValue> Materialize() const = 0;
    virtual std::shared_ptr<StoreValue> CopyAsSet(bool includeSpecials) const = 0;
    virtual void CopyMaterializedSpecialRange(ArrayView<SpecialKind> out, unsigned int startIndex,
                                              unsigned int length) const = 0;
    virtual void CopyMaterializedToTuples(ArrayView<QelTuple> out, unsigned int startIndex,
                                          unsigned int length, unsigned int tupleIndex) const = 0;
    // A window holding the logical range; `temp` is filled only when the
    // array cannot answer with its own storage. Valid while both live.
    virtual ConstRawDataView GetRawMaterializedView(TemporaryRawData& temp, unsigned int startIndex,
                                                    unsigned int length) const = 0;
    virtual ConstRawDataView GetRawMaterializedSpecialView(TemporaryRawData& temp,
                                                           unsigned int startIndex,
                                                           unsigned int length) const = 0;
    virtual bool HasIndices() const = 0;
    virtual bool ElementsAreEqual(unsigned int a, unsigned int b) const = 0;
    // The last position of the run of equal elements that starts here.
    virtual unsigned int FindLastEqualElement(unsigned int startIndex) const = 0;
    virtual std::shared_ptr<StoreValue> GetStoreValueAt(unsigned int index) const = 0;
    virtual std::shared_ptr<StoreValue> GetRange(unsigned int startIndex, unsigned int length,
                                                 unsigned int step) const = 0;
    virtual SortSpecOrder GetSortOrder() const = 0;
};

template <class StorageT>
class ITypedArray : public IStoreArray {
public:
    // The typed iterators never allocate per element.
    virtual ArrayValueIterator<StorageT, StorageT> GetValues() const = 0;
    virtual ArrayValueSpecialIterator<StorageT, StorageT> GetAll() const = 0;
    // Unchecked.
    virtual StorageT const& operator[](unsigned int index) const = 0;
    virtual StorageT const& At(unsigned int index) const = 0;
    virtual bool IsSpecialAt(unsigned int index) const = 0;
    virtual SpecialKind GetSpecialAt(unsigned int index) const = 0;
    virtual bool IsComposite() const = 0;
    // The physical values; only for arrays without indices.
    virtual ArrayView<StorageT const> GetRawArray() const = 0;
    virtual ArrayView<SpecialKind const> GetRawSpecialArray() const = 0;
    virtual void CopyMaterializedRange(ArrayView<StorageT> out, unsigned int startIndex,
                                       unsigned int length) const = 0;
    virtual ArrayView<ValueCompositeArrayRange<StorageT> const> GetRawRanges() const = 0;
};

class IStoreSet : public IUniformCollection {
public:
    virtual qelsize_t GetSpecialCount() const = 0;
    virtual bool ContainsSpecialKind(SpecialKind kind) const = 0;
    virtual std::shared_ptr<StoreValue> CopyAsArray(bool includeSpecials) const = 0;
    virtual std::shared_ptr<StoreValue> CopyWithoutSpecials() const = 0;
};

// The special kinds of a set, walked like its values.
class SpecialKindSetIterable {
public:
    virtual ~SpecialKindSetIterable() = default;
    virtual SpecialKind const* begin() const = 0;
    virtual SpecialKind const* end() const = 0;
};

template <class StorageT>
class ITypedSet : public IStoreSet {
public:
    virtual bool Contains(StorageT const& value) const = 0;
    virtual SetValueIterator<StorageT, StorageT> GetValues() const = 0;
    virtual SpecialKindSetIterable const& GetSpecialValues() const = 0;
};

template <class K, class V>
class IStoreDictionary {
public:
    virtual ~IStoreDictionary() = default;
    virtual bool HasSpecialKeys() const = 0;
    virtual Type const* GetKeyType() const = 0;
    virtual V const& GetValue(K const& key) const = 0;
    virtual V const& GetValue(SpecialKind key) const = 0;
    virtual qelsize_t GetCount() const = 0;
    virtual qelsize_t GetSpecialKeyCount() const = 0;
    virtual bool ContainsKey(K const& key) const = 0;
    virtual bool ContainsKey(SpecialKind key) const = 0;
    virtual KeyValuePairIterator<K, V, K, V> GetKeyValuePairs() const = 0;
    virtual SpecialKeyValuePairIterator<V, V> GetSpecialKeyValuePairs() const = 0;
};

class IStoreKeyMap : public IStoreDictionary<RInternString, std::shared_ptr<StoreValue>> {
public:
    virtual Type const* GetType() const = 0;
};

class IStoreTable {
public:
    // The columns by name, in the order of the table's map; a range of its
    // own (store/DictionaryIterators.h).
    using ColumnIterable = KeyValuePairIterator<RInternString, std::shared_ptr<StoreValue>,
                                                RInternString, std::shared_ptr<StoreValue>>;
    using SortOrder = std::vector<std::pair<RInternString, SortSpecOrder>>;

    virtual ~IStoreTable() = default;
    virtual qelsize_t GetColumnCount() const = 0;
    virtual qelsize_t GetRowCount() const = 0;
    virtual bool HasColumn(RInternString const& name) const = 0;
    virtual std::shared_ptr<StoreValue> GetColumn(RInternString const& name) const = 0;
    virtual ColumnIterable GetColumns() const = 0;
    virtual std::shared_ptr<StoreValue> GetRange(unsigned int startIndex, unsigned int length,
                                                 unsigned int step) const = 0;
    virtual SortOrder GetSortOrder() const = 0;
    virtual std::shared_ptr<StoreValue> CreateCopy() const = 0;
    virtual std::shared_ptr<StoreValue> CopyAndApplyIndices(std::vector<qelsize_t>&& indices,
                                                            SortOrder order) const = 0;
    virtual std::shared_ptr<StoreValue> CopyAndApplyIndices(
        std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortOrder order) const = 0;
};

// Composite arrays expose their indices through this side interface.
class ArrayWithIndices {
public:
    virtual ~ArrayWithIndices() = default;
    virtual PackagedArrayView<qelsize_t> const& GetIndices() const = 0;
    // Throws std::bad_cast when the collection is not composite.
    static ArrayWithIndices const& As(IUniformCollection const& collection) {
        return dynamic_cast<ArrayWithIndices const&>(collection);
    }
};

// The typed views of a StoreValue: run-time checked casts.

namespace detail {
// Out of line, so that the refusal names the library's source, not the
// host's copy of this header.
[[noreturn]] void StoreValueCastFailed(QelError error);
}  // namespace detail

template <class StorageT>
ITypedArray<StorageT> const& StoreValue::AsTypedArray() const {
    auto const* p = dynamic_cast<ITypedArray<StorageT> const*>(this);
    if (p == nullptr) [[unlikely]]
        detail::StoreValueCastFailed(QelError::StoreValueIsNotAnITypedArray);
    return *p;
}

template <class StorageT>
ITypedSet<StorageT> const& StoreValue::AsTypedSet() const {
    auto const* p = dynamic_cast<ITypedSet<StorageT> const*>(this);
    if (p == nullptr) [[unlikely]]
        detail::StoreValueCastFailed(QelError::StoreValueIsNotAnITypedSet);
    return *p;
}

template <class K, class V>
IStoreDictionary<K, V> const& StoreValue::AsDictionary() const {
    auto const* p = dynamic_cast<IStoreDictionary<K, V> const*>(this);
    if (p == nullptr) [[unlikely]]
        detail::StoreValueCastFailed(QelError::ValueIsNotACollectionWithKeys);
    return *p;
}

}  // namespace qel::core
