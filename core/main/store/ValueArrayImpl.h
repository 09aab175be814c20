#pragma once

// ValueArray<T> is the column of the store: the plain array value, one
// template over the six storage types. It is three independently shared
// vectors, so that sorting, filtering, slicing and re-ordering change only a
// small index vector and never move a value or a special:
//   m_values   the physical values, never null (an empty array has an empty,
//              non-null package);
//   m_specials the physical specials, null when there are none; otherwise of
//              the size of m_values, slot p special when m_specials[p] is not
//              Normal (m_values[p] then holds a meaningless placeholder);
//   m_indices  logical position i -> physical slot m_indices[i], null when
//              logical order is physical order; entries are not validated
//              here and may repeat or skip slots.
// Every operation speaks of logical positions. The array is immutable; its
// store-value iterable is built once, on first use, under a once-flag.

#include <memory>
#include <mutex>

#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/ValueArray.h"

namespace qel::core {

template <class T>
class ValueArray final : public StoreValue, public IStoreCollection, public ITypedArray<T> {
public:
    ValueArray(ArrayType const* type, PackagedArrayView<T> const& values,
               PackagedArrayView<SpecialKind> const& specials,
               PackagedArrayView<qelsize_t> const& indices, SortSpecOrder order);
    // The same array over another indices vector (null for none).
    ValueArray(ValueArray const& other, std::shared_ptr<TypedRawData<qelsize_t> const> indices,
               SortSpecOrder order);
    // Shares all three buffers; the sort order is not kept.
    ValueArray(ValueArray const& other);
    ~ValueArray() override;

    // StoreValue
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return m_count; }
    std::unique_ptr<StoreValue> Clone() const override;
    IStoreCollection const& AsCollection() const override { return *this; }
    IUniformCollection const& AsUniformCollection() const override { return *this; }
    IStoreArray const& AsArray() const override { return *this; }

    // IStoreCollection: keys are decimal logical positions.
    std::shared_ptr<StoreValue> GetByString(RInternString const& key) const override;
    std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const override;
    bool ContainsStringKey(RInternString const& key) const override;

    // IUniformCollection
    Type const* GetElementType() const override { return m_type->GetElementType(); }
    bool IsConstantValue() const override { return false; }
    bool HasSpecialValues() const override { return !m_specials.IsNull(); }
    IUniformCollection::StoreValueIterable const& GetStoreValues() const override;

    // IStoreArray
    std::shared_ptr<StoreValue> CopyAndApplyIndices(std::vector<qelsize_t>&& indices,
                                                    SortSpecOrder order) const override;
    std::shared_ptr<StoreValue> CopyAndApplyIndices(
        std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const override;
    std::shared_ptr<StoreValue> CopyAndReplaceIndices(std::vector<qelsize_t>&& indices,
                                                      SortSpecOrder order) const override;
    std::shared_ptr<StoreValue> CopyAndReplaceIndices(
        std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const override;
    std::shared_ptr<StoreValue> Materialize() const override;
    std::shared_ptr<StoreValue> CopyAsSet(bool includeSpecials) const override;
    void CopyMaterializedSpecialRange(ArrayView<SpecialKind> out, unsigned int startIndex,
                                      unsigned int length) const override;
    void CopyMaterializedToTuples(ArrayView<QelTuple> out, unsigned int startIndex,
                                  unsigned int length, unsigned int tupleIndex) const override;
    ConstRawDataView GetRawMaterializedView(TemporaryRawData& temp, unsigned int startIndex,
                                            unsigned int length) const override;
    ConstRawDataView GetRawMaterializedSpecialView(TemporaryRawData& temp, unsigned int startIndex,
                                                   unsigned int length) const override;
    bool HasIndices() const override { return !m_indices.IsNull(); }
    bool ElementsAreEqual(unsigned int a, unsigned int b) const override;
    unsigned int FindLastEqualElement(unsigned int startIndex) const override;
    std::shared_ptr<StoreValue> GetStoreValueAt(unsigned int index) const override;
    std::shared_ptr<StoreValue> GetRange(unsigned int startIndex, unsigned int length,
                                         unsigned int step) const override;
    SortSpecOrder GetSortOrder() const override { return m_sortOrder; }

    // ITypedArray<T>
    ArrayValueIterator<T, T> GetValues() const override;
    ArrayValueSpecialIterator<T, T> GetAll() const override;
    T const& operator[](unsigned int index) const override {
        return m_values.GetView()[PhysicalIndex(index)];
    }
    T const& At(unsigned int index) const override;
    bool IsSpecialAt(unsigned int index) const override {
        return GetSpecialAt(index) != SpecialKind::Normal;
    }
    SpecialKind GetSpecialAt(unsigned int index) const override;
    bool IsComposite() const override { return false; }
    ArrayView<T const> GetRawArray() const override;
    ArrayView<SpecialKind const> GetRawSpecialArray() const override;
    void CopyMaterializedRange(ArrayView<T> out, unsigned int startIndex,
                               unsigned int length) const override;
    ArrayView<ValueCompositeArrayRange<T> const> GetRawRanges() const override;

    // The element equality of T alone, at two logical positions.
    bool ValuesAreEqual(unsigned int a, unsigned int b) const;

private:
    class StoreValueIterableImpl;

    qelsize_t PhysicalIndex(qelsize_t index) const {
        return m_indices.IsNull() ? index : m_indices.GetView()[index];
    }
    // The physical index of a logical one, both checked.
    qelsize_t CheckedPhysicalIndex(unsigned int index) const;
    SpecialKind GetSpecialAtUnchecked(unsigned int index) const {
        return m_specials.IsNull() ? SpecialKind::Normal
                                   : m_specials.GetView()[PhysicalIndex(index)];
    }
    std::shared_ptr<StoreValue> WithIndices(std::shared_ptr<TypedRawData<qelsize_t> const> indices,
                                            SortSpecOrder order) const;
    std::shared_ptr<StoreValue> GetRangeSlow(unsigned int startIndex, unsigned int length,
                                             unsigned int step) const;
    void CheckRange(unsigned int startIndex, unsigned int length) const;

    ArrayType const* m_type;
    PackagedArrayView<T> m_values;
    PackagedArrayView<SpecialKind> m_specials;
    PackagedArrayView<qelsize_t> m_indices;
    qelsize_t m_count;
    SortSpecOrder m_sortOrder;
    mutable std::unique_ptr<StoreValueIterableImpl> m_iterable;
    mutable std::once_flag m_iterableOnce;
};

#define QEL_DETAIL_DECLARE_VALUE_ARRAY(T) extern template class ValueArray<T>;
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_VALUE_ARRAY)
#undef QEL_DETAIL_DECLARE_VALUE_ARRAY

}  // namespace qel::core
