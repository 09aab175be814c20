#pragma once

// ValueCompositeArray<T> is a run-length array of primitives:
//   m_ranges   the runs, each a value (a placeholder under a special), a
//              special and a count, laid end to end; adjacent equal runs are
//              not merged, and a run may be empty;
//   m_runEnds  for each run, the flat position past its end (the prefix sums
//              of the counts), shared by every array on the same runs;
//   m_indices  logical position i -> flat position m_indices[i], null when
//              logical order is flat order.
// Physical positions are positions in the flat expansion, which is never
// built for them. Element access bisects the run ends; walks in flat order
// keep a run cursor (see detail::FindRun).
//
// The array is immutable; its store-value iterable is built once, on first
// use, under a once-flag.

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "core/main/store/ValueConstantArrayImpl.h"
#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/ValueCompositeArray.h"

namespace qel::core {

template <class T>
class ValueCompositeArray final : public StoreValue,
                                  public IStoreCollection,
                                  public ITypedArray<T>,
                                  public ArrayWithIndices {
public:
    using Range = ValueCompositeArrayRange<T>;
    using ConstantArrays = std::vector<std::shared_ptr<ValueConstantArray<T>>>;

    ValueCompositeArray(ArrayType const* type, PackagedArrayView<Range> const& ranges,
                        PackagedArrayView<qelsize_t> const& indices, SortSpecOrder order);
    // The same runs under other indices (null for none).
    ValueCompositeArray(ValueCompositeArray const& other,
                        std::shared_ptr<TypedRawData<qelsize_t> const> indices,
                        SortSpecOrder order);
    // Shares everything, the sort order included.
    ValueCompositeArray(ValueCompositeArray const& other);
    ~ValueCompositeArray() override;

    static std::shared_ptr<ValueCompositeArray> Make(
        ArrayType const* type, std::vector<Range>&& ranges,
        std::shared_ptr<TypedRawData<qelsize_t> const> indices,
        SortSpecOrder order = SortSpecOrder::UNKNOWN);
    // One run per non-empty constant array, in order; all must be of one
    // type, and there must be at least one.
    static std::shared_ptr<ValueCompositeArray> Make(
        ConstantArrays const& constantArrays, std::unique_ptr<std::vector<qelsize_t>> indices,
        SortSpecOrder order = SortSpecOrder::UNKNOWN);
    static std::shared_ptr<ValueCompositeArray> Make(ConstantArrays const& constantArrays,
                                                     SortSpecOrder order = SortSpecOrder::UNKNOWN);

    // StoreValue
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return m_sizeAndHasSpecials.first; }
    std::unique_ptr<StoreValue> Clone() const override;
    IStoreCollection const& AsCollection() const override { return *this; }
    IUniformCollection const& AsUniformCollection() const override { return *this; }
    IStoreArray const& AsArray() const override { return *this; }

    // IStoreCollection: keys are decimal logical positions; a special
    // element gives its placeholder, boxed as an ordinary value.
    std::shared_ptr<StoreValue> GetByString(RInternString const& key) const override;
    std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const override;
    bool ContainsStringKey(RInternString const& key) const override;

    // IUniformCollection
    Type const* GetElementType() const override { return m_type->GetElementType(); }
    bool IsConstantValue() const override { return false; }
    bool HasSpecialValues() const override { return m_sizeAndHasSpecials.second; }
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
    // A plain array of the elements in logical order.
    std::shared_ptr<StoreValue> Materialize() const override;
    std::shared_ptr<StoreValue> CopyAsSet(bool includeSpecials) const override;
    void CopyMaterializedSpecialRange(ArrayView<SpecialKind> out, unsigned int startIndex,
                                      unsigned int length) const override;
    void CopyMaterializedToTuples(ArrayView<QelTuple> out, unsigned int startIndex,
                                  unsigned int length, unsigned int tupleIndex) const override;
    // Always gathered into `temp`.
    ConstRawDataView GetRawMaterializedView(TemporaryRawData& temp, unsigned int startIndex,
                                            unsigned int length) const override;
    ConstRawDataView GetRawMaterializedSpecialView(TemporaryRawData& temp, unsigned int startIndex,
                                                   unsigned int length) const override;
    bool HasIndices() const override { return !m_indices.IsNull(); }
    bool ElementsAreEqual(unsigned int idx1, unsigned int idx2) const override;
    unsigned int FindLastEqualElement(unsigned int startIndex) const override;
    std::shared_ptr<StoreValue> GetStoreValueAt(unsigned int index) const override;
    std::shared_ptr<StoreValue> GetRange(unsigned int startIndex, unsigned int length,
                                         unsigned int step) const override;
    SortSpecOrder GetSortOrder() const override { return m_sortOrder; }

    // ITypedArray<T>
    ArrayValueIterator<T, T> GetValues() const override;
    ArrayValueSpecialIterator<T, T> GetAll() const override;
    T const& operator[](unsigned int index) const override {
        return m_ranges.GetView()[RunOf(PhysicalIndex(index))].value;
    }
    T const& At(unsigned int index) const override;
    bool IsSpecialAt(unsigned int index) const override {
        return GetSpecialAt(index) != SpecialKind::Normal;
    }
    SpecialKind GetSpecialAt(unsigned int index) const override;
    bool IsComposite() const override { return true; }
    // Not implemented: a composite array has no flat buffer.
    ArrayView<T const> GetRawArray() const override;
    ArrayView<SpecialKind const> GetRawSpecialArray() const override;
    void CopyMaterializedRange(ArrayView<T> out, unsigned int startIndex,
                               unsigned int length) const override;
    ArrayView<Range const> GetRawRanges() const override { return m_ranges.GetView(); }

    // ArrayWithIndices
    PackagedArrayView<qelsize_t> const& GetIndices() const override { return m_indices; }

    // The run that holds flat position `physical`; the number of runs when
    // it lies past their end.
    std::size_t RangeAt(qelsize_t physical) const;

private:
    class StoreValueIterableImpl;
    using RunEnds = std::shared_ptr<std::vector<qelsize_t> const>;

    ValueCompositeArray(ArrayType const* type, PackagedArrayView<Range> const& ranges,
                        RunEnds runEnds, bool hasSpecials,
                        PackagedArrayView<qelsize_t> const& indices, SortSpecOrder order);

    ArrayView<qelsize_t const> RunEndsView() const {
        return ArrayView<qelsize_t const>(m_runEnds->data(), m_runEnds->size());
    }
    qelsize_t RunsTotal() const { return m_runEnds->empty() ? 0 : m_runEnds->back(); }
    qelsize_t RunStart(std::size_t range) const { return range == 0 ? 0 : (*m_runEnds)[range - 1]; }
    qelsize_t PhysicalIndex(qelsize_t index) const {
        return m_indices.IsNull() ? index : m_indices.GetView()[index];
    }
    // RangeAt, kept on the last run for positions past the end, so that
    // unchecked reads stay inside the runs.
    std::size_t RunOf(qelsize_t physical) const;
    Range const& CheckedRun(unsigned int index) const;
    static bool RunsAreEqual(Range const& a, Range const& b);
    // Calls visit(outPosition, n, run) for consecutive spans of the logical
    // range [startIndex, startIndex + length), which must lie in the array.
    template <class Visit>
    void VisitRange(unsigned int startIndex, unsigned int length, Visit&& visit) const;
    void CheckRange(unsigned int startIndex, unsigned int length) const;
    void ValidateType() const;
    void ValidateIndices() const;
    std::shared_ptr<StoreValue> WithIndices(std::shared_ptr<TypedRawData<qelsize_t> const> indices,
                                            SortSpecOrder order) const;
    std::shared_ptr<StoreValue> GetRangeContiguous(unsigned int startIndex, unsigned int length,
                                                   unsigned int step) const;
    std::shared_ptr<StoreValue> GetRangeSlow(unsigned int startIndex, unsigned int length,
                                             unsigned int step) const;

    ArrayType const* m_type;
    PackagedArrayView<Range> m_ranges;
    PackagedArrayView<qelsize_t> m_indices;
    std::pair<qelsize_t, bool> m_sizeAndHasSpecials;
    mutable std::unique_ptr<StoreValueIterableImpl> m_iterable;
    mutable std::once_flag m_iterableOnce;
    SortSpecOrder m_sortOrder;
    RunEnds m_runEnds;
};

#define QEL_DETAIL_DECLARE_COMPOSITE_ARRAY(T) extern template class ValueCompositeArray<T>;
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_COMPOSITE_ARRAY)
#undef QEL_DETAIL_DECLARE_COMPOSITE_ARRAY

}  // namespace qel::core
