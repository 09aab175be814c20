#pragma once

// ValueConstantArray<T> stands for m_size copies of one element in constant
// space. The element is a one-element value buffer and a one-element special
// buffer (Normal for an ordinary value); every array derived from this one
// (slices, re-orderings, clones) shares both and differs only in its count,
// since re-ordering copies of one element changes nothing. Elements are
// primitives or tuples.
//
// The array is immutable. Its boxed value and boxed special are built at
// first use, each under its own once-flag, and then handed to every caller;
// so is the store-value iterable.

#include <memory>
#include <mutex>

#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/ValueConstantArray.h"

namespace qel::core {

template <class T>
class ValueConstantArray final : public StoreValue, public IStoreCollection, public ITypedArray<T> {
public:
    using ArgType = typename StorageTypeTraits<T>::ArgType;

    ValueConstantArray(ArrayType const* type, ArgType value, qelsize_t count);
    // A value-initialised placeholder under `special`.
    ValueConstantArray(ArrayType const* type, qelsize_t count, SpecialKind special);
    // Shares the one-element buffers; each must hold exactly one element.
    ValueConstantArray(ArrayType const* type, qelsize_t count, PackagedArrayView<T> const& value,
                       PackagedArrayView<SpecialKind> const& special);
    ValueConstantArray(ValueConstantArray const& other);
    ~ValueConstantArray() override;

    ArrayType const* GetArrayType() const { return m_type; }
    PackagedArrayView<T> const& GetValuePackage() const { return m_value; }
    PackagedArrayView<SpecialKind> const& GetSpecialPackage() const { return m_special; }

    // StoreValue
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return m_size; }
    std::unique_ptr<StoreValue> Clone() const override;
    IStoreCollection const& AsCollection() const override { return *this; }
    IUniformCollection const& AsUniformCollection() const override { return *this; }
    IStoreArray const& AsArray() const override { return *this; }

    // IStoreCollection: keys are decimal positions; every one below the
    // count gives the boxed ordinary value, also under a special.
    std::shared_ptr<StoreValue> GetByString(RInternString const& key) const override;
    std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const override;
    bool ContainsStringKey(RInternString const& key) const override;

    // IUniformCollection
    Type const* GetElementType() const override { return m_type->GetElementType(); }
    bool IsConstantValue() const override { return true; }
    bool HasSpecialValues() const override { return Special() != SpecialKind::Normal; }
    IUniformCollection::StoreValueIterable const& GetStoreValues() const override;

    // IStoreArray. Applying or replacing indices gives a constant array of
    // their length; their entries are not read and the order is not kept.
    std::shared_ptr<StoreValue> CopyAndApplyIndices(std::vector<qelsize_t>&& indices,
                                                    SortSpecOrder order) const override;
    std::shared_ptr<StoreValue> CopyAndApplyIndices(
        std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const override;
    std::shared_ptr<StoreValue> CopyAndReplaceIndices(std::vector<qelsize_t>&& indices,
                                                      SortSpecOrder order) const override;
    std::shared_ptr<StoreValue> CopyAndReplaceIndices(
        std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const override;
    // Stays constant: the same as Clone().
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
    bool HasIndices() const override { return false; }
    bool ElementsAreEqual(unsigned int idx1, unsigned int idx2) const override;
    unsigned int FindLastEqualElement(unsigned int startIndex) const override;
    std::shared_ptr<StoreValue> GetStoreValueAt(unsigned int index) const override;
    std::shared_ptr<StoreValue> GetRange(unsigned int startIndex, unsigned int length,
                                         unsigned int step) const override;
    SortSpecOrder GetSortOrder() const override { return SortSpecOrder::ASC; }

    // ITypedArray<T>
    ArrayValueIterator<T, T> GetValues() const override;
    ArrayValueSpecialIterator<T, T> GetAll() const override;
    T const& operator[](unsigned int) const override { return Value(); }
    T const& At(unsigned int index) const override;
    bool IsSpecialAt(unsigned int index) const override {
        return GetSpecialAt(index) != SpecialKind::Normal;
    }
    SpecialKind GetSpecialAt(unsigned int index) const override;
    bool IsComposite() const override { return false; }
    // The one-element views.
    ArrayView<T const> GetRawArray() const override { return m_value.GetView(); }
    ArrayView<SpecialKind const> GetRawSpecialArray() const override;
    // Fills the whole of `out`, not only `length` elements.
    void CopyMaterializedRange(ArrayView<T> out, unsigned int startIndex,
                               unsigned int length) const override;
    ArrayView<ValueCompositeArrayRange<T> const> GetRawRanges() const override;

    // The element boxed: the special when there is one, else the value.
    std::shared_ptr<StoreValue> const& GetBoxedElement() const;

private:
    class StoreValueIterableImpl;

    T const& Value() const { return m_value.GetView()[0]; }
    SpecialKind Special() const { return m_special.GetView()[0]; }
    std::shared_ptr<StoreValue> const& GetBoxedValue() const;
    std::shared_ptr<StoreValue> WithCount(qelsize_t count) const;
    void CheckRange(unsigned int startIndex, unsigned int length) const;

    ArrayType const* m_type;
    qelsize_t m_size;
    PackagedArrayView<T> m_value;
    PackagedArrayView<SpecialKind> m_special;
    mutable std::unique_ptr<StoreValueIterableImpl> m_iterable;
    mutable std::once_flag m_iterableOnce;
    mutable std::shared_ptr<StoreValue> m_boxedValue;
    mutable std::once_flag m_boxedValueOnce;
    mutable std::shared_ptr<StoreValue> m_boxedSpecial;
    mutable std::once_flag m_boxedSpecialOnce;
};

#define QEL_DETAIL_DECLARE_CONSTANT_ARRAY(T) extern template class ValueConstantArray<T>;
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_CONSTANT_ARRAY)
#undef QEL_DETAIL_DECLARE_CONSTANT_ARRAY

}  // namespace qel::core
