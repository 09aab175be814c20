#include "core/main/store/ValueCompositeArrayImpl.h"

#include <algorithm>
#include <limits>

#include "core/main/store/ArrayElementUtil.h"
#include "core/main/store/ValueSetImpl.h"
#include "qel/core/utility/Parser.h"

namespace qel::core {

namespace {

std::shared_ptr<TypedRawData<qelsize_t> const> Wrap(std::vector<qelsize_t>&& indices) {
    return std::make_shared<VectorRawData<qelsize_t>>(std::move(indices));
}

PackagedArrayView<qelsize_t> Package(std::shared_ptr<TypedRawData<qelsize_t> const> indices) {
    if (indices == nullptr)
        return PackagedArrayView<qelsize_t>();
    return PackagedArrayView<qelsize_t>(std::shared_ptr<RawData const>(std::move(indices)));
}

}  // namespace

template <class T>
class ValueCompositeArray<T>::StoreValueIterableImpl final
    : public IUniformCollection::StoreValueIterable {
public:
    explicit StoreValueIterableImpl(ValueCompositeArray const& array) {
        auto all = array.GetAll();
        m_begin = std::make_unique<detail::BoxingArrayIterator<T>>(all.begin());
        m_end = std::make_unique<detail::BoxingArrayIterator<T>>(all.end());
    }
    std::unique_ptr<IStoreValueIterator> const& begin() const override { return m_begin; }
    std::unique_ptr<IStoreValueIterator> const& end() const override { return m_end; }

private:
    std::unique_ptr<IStoreValueIterator> m_begin;
    std::unique_ptr<IStoreValueIterator> m_end;
};

// ---------------------------------------------------------------------------
// Construction

template <class T>
ValueCompositeArray<T>::ValueCompositeArray(ArrayType const* type,
                                            PackagedArrayView<Range> const& ranges,
                                            PackagedArrayView<qelsize_t> const& indices,
                                            SortSpecOrder order)
    : m_type(type),
      m_ranges(ranges),
      m_indices(indices),
      m_sizeAndHasSpecials(0, false),
      m_sortOrder(order) {
    ValidateType();
    // One pass gives the run ends, their total and whether a special occurs.
    // Positions are 32-bit, so runs beyond that many elements are refused
    // rather than counted modulo 2^32.
    std::vector<qelsize_t> ends;
    ends.reserve(m_ranges.GetSize());
    unsigned long long total = 0;
    bool hasSpecials = false;
    for (Range const& run : m_ranges.GetView()) {
        total += run.count;
        QEL_VALIDATE(total <= std::numeric_limits<qelsize_t>::max(), QelError::OutOfRange);
        ends.push_back(static_cast<qelsize_t>(total));
        hasSpecials = hasSpecials || run.special != SpecialKind::Normal;
    }
    m_runEnds = std::make_shared<std::vector<qelsize_t> const>(std::move(ends));
    m_sizeAndHasSpecials = {m_indices.IsNull() ? RunsTotal() : m_indices.GetSize(), hasSpecials};
    ValidateIndices();
}

template <class T>
ValueCompositeArray<T>::ValueCompositeArray(ArrayType const* type,
                                            PackagedArrayView<Range> const& ranges, RunEnds runEnds,
                                            bool hasSpecials,
                                            PackagedArrayView<qelsize_t> const& indices,
                                            SortSpecOrder order)
    : m_type(type),
      m_ranges(ranges),
      m_indices(indices),
      m_sizeAndHasSpecials(0, hasSpecials),
      m_sortOrder(order),
      m_runEnds(std::move(runEnds)) {
    ValidateType();
    m_sizeAndHasSpecials.first = m_indices.IsNull() ? RunsTotal() : m_indices.GetSize();
    ValidateIndices();
}

template <class T>
ValueCompositeArray<T>::ValueCompositeArray(ValueCompositeArray const& other,
                                            std::shared_ptr<TypedRawData<qelsize_t> const> indices,
                                            SortSpecOrder order)
    : ValueCompositeArray(other.m_type, other.m_ranges, other.m_runEnds,
                          other.m_sizeAndHasSpecials.second, Package(std::move(indices)), order) {}

template <class T>
ValueCompositeArray<T>::ValueCompositeArray(ValueCompositeArray const& other)
    : StoreValue(),
      IStoreCollection(),
      ITypedArray<T>(),
      ArrayWithIndices(),
      m_type(other.m_type),
      m_ranges(other.m_ranges),
      m_indices(other.m_indices),
      m_sizeAndHasSpecials(other.m_sizeAndHasSpecials),
      m_sortOrder(other.m_sortOrder),
      m_runEnds(other.m_runEnds) {}

template <class T>
ValueCompositeArray<T>::~ValueCompositeArray() = default;

template <class T>
void ValueCompositeArray<T>::ValidateType() const {
    using StorageT = T;
    QEL_VALIDATE_NOT_NULL(m_type, QelError::NullIsNotAValidArgument);
    StoreType const elementStoreType = m_type->GetElementType()->GetStoreType();
    QEL_VALIDATE(IsPrimitiveStoreType(elementStoreType), QelError::TypeDoesntMatchExpectedType);
    QEL_VALIDATE(StorageTypeTraits<StorageT>::IsMatchingType(m_type->GetElementType()),
                 QelError::TypeDoesntMatchExpectedType);
}

// Every element read maps through the indices without a check of its own;
// one pass here keeps all of them inside the runs.
template <class T>
void ValueCompositeArray<T>::ValidateIndices() const {
    ArrayView<qelsize_t const> const indices = m_indices.GetView();
    if (indices.IsEmpty())
        return;
    qelsize_t const largestIndex = *std::max_element(indices.begin(), indices.end());
    QEL_VALIDATE(largestIndex < RunsTotal(), QelError::IndexOutOfBounds);
}

template <class T>
std::unique_ptr<StoreValue> ValueCompositeArray<T>::Clone() const {
    return std::make_unique<ValueCompositeArray>(*this);
}

template <class T>
std::shared_ptr<ValueCompositeArray<T>> ValueCompositeArray<T>::Make(
    ArrayType const* type, std::vector<Range>&& ranges,
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) {
    return std::make_shared<ValueCompositeArray>(type, PackagedArrayView<Range>(std::move(ranges)),
                                                 Package(std::move(indices)), order);
}

// Adjacent equal runs are kept apart, and empty arrays leave no run.
template <class T>
std::shared_ptr<ValueCompositeArray<T>> ValueCompositeArray<T>::Make(
    ConstantArrays const& constantArrays, std::unique_ptr<std::vector<qelsize_t>> indices,
    SortSpecOrder order) {
    QEL_VALIDATE_MIN_SIZE(constantArrays, 1, QelError::CompositeArrayRequiresAtLeastOneArray);
    for (auto const& ca : constantArrays)
        QEL_VALIDATE_NOT_NULL(ca, QelError::NullIsNotAValidArgument);
    Type const* const type = constantArrays.front()->GetType();
    std::vector<Range> ranges;
    ranges.reserve(constantArrays.size());
    for (auto const& ca : constantArrays) {
        QEL_VALIDATE(ca->GetType() == type, QelError::ComposedArraysMustBeOfTheSame);
        if (ca->GetCount() != 0)
            ranges.push_back({(*ca)[0], ca->GetSpecialAt(0), ca->GetCount()});
    }
    return Make(constantArrays.front()->GetArrayType(), std::move(ranges),
                indices == nullptr ? nullptr : Wrap(std::move(*indices)), order);
}

template <class T>
std::shared_ptr<ValueCompositeArray<T>> ValueCompositeArray<T>::Make(
    ConstantArrays const& constantArrays, SortSpecOrder order) {
    return Make(constantArrays, nullptr, order);
}

// ---------------------------------------------------------------------------
// Element access

template <class T>
std::size_t ValueCompositeArray<T>::RangeAt(qelsize_t physical) const {
    return detail::RunAt(RunEndsView(), physical);
}

template <class T>
std::size_t ValueCompositeArray<T>::RunOf(qelsize_t physical) const {
    std::size_t const runs = m_ranges.GetSize();
    return std::min(RangeAt(physical), runs == 0 ? 0 : runs - 1);
}

template <class T>
auto ValueCompositeArray<T>::CheckedRun(unsigned int index) const -> Range const& {
    QEL_VALIDATE(index < m_sizeAndHasSpecials.first, QelError::IndexOutOfBounds);
    return m_ranges.GetView()[RunOf(PhysicalIndex(index))];
}

template <class T>
T const& ValueCompositeArray<T>::At(unsigned int index) const {
    return CheckedRun(index).value;
}

template <class T>
SpecialKind ValueCompositeArray<T>::GetSpecialAt(unsigned int index) const {
    return CheckedRun(index).special;
}

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::GetStoreValueAt(unsigned int index) const {
    Range const& run = CheckedRun(index);
    if (run.special != SpecialKind::Normal)
        return factory::MakeSpecial(GetElementType(), run.special);
    return MakeStoreValueFromStorageType<T>(GetElementType(), run.value);
}

template <class T>
ArrayValueIterator<T, T> ValueCompositeArray<T>::GetValues() const {
    return ArrayValueIterator<T, T>::Composite(m_type, m_ranges.GetView(), m_indices.GetView(),
                                               GetCount(), RunEndsView());
}

template <class T>
ArrayValueSpecialIterator<T, T> ValueCompositeArray<T>::GetAll() const {
    return ArrayValueSpecialIterator<T, T>::Composite(
        m_type, m_ranges.GetView(), m_indices.GetView(), GetCount(), RunEndsView());
}

template <class T>
ArrayView<T const> ValueCompositeArray<T>::GetRawArray() const {
    QEL_VALIDATION_FAILED(QelError::NotImplemented);
}

template <class T>
ArrayView<SpecialKind const> ValueCompositeArray<T>::GetRawSpecialArray() const {
    QEL_VALIDATION_FAILED(QelError::NotImplemented);
}

template <class T>
IUniformCollection::StoreValueIterable const& ValueCompositeArray<T>::GetStoreValues() const {
    std::call_once(m_iterableOnce,
                   [this] { m_iterable = std::make_unique<StoreValueIterableImpl>(*this); });
    return *m_iterable;
}

// ---------------------------------------------------------------------------
// String keys: decimal logical positions

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::GetByString(RInternString const& key) const {
    unsigned int const index = ParseSizeIntFromString(key.GetValue());
    return MakeStoreValueFromStorageType<T>(GetElementType(), At(index));
}

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::TryGetByString(RInternString const& key) const {
    unsigned int index = 0;
    if (!TryParseSizeIntFromString(key.GetValue(), index) || index >= GetCount())
        return nullptr;
    return MakeStoreValueFromStorageType<T>(GetElementType(), (*this)[index]);
}

template <class T>
bool ValueCompositeArray<T>::ContainsStringKey(RInternString const& key) const {
    unsigned int index = 0;
    return TryParseSizeIntFromString(key.GetValue(), index) && index < GetCount();
}

// ---------------------------------------------------------------------------
// New arrays on the same runs

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::WithIndices(
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const {
    return std::make_shared<ValueCompositeArray>(*this, std::move(indices), order);
}

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::CopyAndReplaceIndices(
    std::vector<qelsize_t>&& indices, SortSpecOrder order) const {
    return WithIndices(Wrap(std::move(indices)), order);
}

// The buffer's entries are copied: the new array owns its indices.
template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::CopyAndReplaceIndices(
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const {
    if (indices == nullptr)
        return WithIndices(nullptr, order);
    ArrayView<qelsize_t const> const entries = indices->GetView();
    return WithIndices(Wrap(std::vector<qelsize_t>(entries.begin(), entries.end())), order);
}

// The new indices address this array's logical positions, so they are
// composed with the current ones.
template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::CopyAndApplyIndices(
    std::vector<qelsize_t>&& indices, SortSpecOrder order) const {
    if (!HasIndices())
        return CopyAndReplaceIndices(std::move(indices), order);
    detail::ComposeIndices(m_indices.GetView(), indices);
    return WithIndices(Wrap(std::move(indices)), order);
}

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::CopyAndApplyIndices(
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const {
    if (!HasIndices() || indices == nullptr)
        return CopyAndReplaceIndices(std::move(indices), order);
    return WithIndices(Wrap(detail::ComposeIndices(m_indices.GetView(), indices->GetView())),
                       order);
}

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::GetRange(unsigned int startIndex,
                                                             unsigned int length,
                                                             unsigned int step) const {
    if (step == 0) {
        throw QelRuntimeException(QelError::IndexOutOfBounds,
                                  TStringCore(u"Illegal range step value"));
    }
    if (length == 0)
        return CopyAndReplaceIndices(std::vector<qelsize_t>(), m_sortOrder);
    if (HasIndices())
        return GetRangeSlow(startIndex, length, step);
    return GetRangeContiguous(startIndex, length, step);
}

// New runs, cut from the old ones: `start` is the offset of the next wanted
// element from the beginning of the current run, kept in 32-bit arithmetic
// (it ends below `step`).
template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::GetRangeContiguous(unsigned int start,
                                                                       unsigned int length,
                                                                       unsigned int step) const {
    unsigned int const total = start >= GetCount() ? 0 : (GetCount() - 1 - start) / step + 1;
    unsigned int left = std::min(total, length);
    ArrayView<Range const> const ranges = m_ranges.GetView();
    std::vector<Range> taken;
    if (left != 0) {
        std::size_t range = RangeAt(start);
        start -= RunStart(range);
        for (; left != 0 && range < ranges.GetSize(); ++range) {
            unsigned int const c = ranges[range].count;
            if (start >= c) {
                start -= c;
                continue;
            }
            unsigned int const n = std::min((c - 1 - start) / step + 1, left);
            taken.push_back({ranges[range].value, ranges[range].special, n});
            left -= n;
            start = start - c + n * step;
        }
    }
    return std::make_shared<ValueCompositeArray>(m_type, PackagedArrayView<Range>(std::move(taken)),
                                                 PackagedArrayView<qelsize_t>(), m_sortOrder);
}

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::GetRangeSlow(unsigned int startIndex,
                                                                 unsigned int length,
                                                                 unsigned int step) const {
    unsigned int const limit = std::min(GetCount(), length) - 1u;
    std::vector<qelsize_t> indices;
    if (startIndex < GetCount())
        indices.reserve(std::min(length, (GetCount() - 1 - startIndex) / step + 1));
    for (unsigned long long i = startIndex; i < GetCount(); i += step) {
        indices.push_back(static_cast<qelsize_t>(i));
        if (indices.size() > limit)
            break;
    }
    return CopyAndApplyIndices(std::move(indices), m_sortOrder);
}

// ---------------------------------------------------------------------------
// Equality of elements

// All elements of a run are equal; equal specials are equal whatever their
// placeholders, here and in FindLastEqualElement alike.
template <class T>
bool ValueCompositeArray<T>::RunsAreEqual(Range const& a, Range const& b) {
    if (a.special != b.special)
        return false;
    if (a.special != SpecialKind::Normal)
        return true;
    return detail::ElementsEqual(a.value, b.value);
}

template <class T>
bool ValueCompositeArray<T>::ElementsAreEqual(unsigned int idx1, unsigned int idx2) const {
    QEL_VALIDATE(idx1 < m_sizeAndHasSpecials.first, QelError::IndexOutOfBounds);
    QEL_VALIDATE(idx2 < m_sizeAndHasSpecials.first, QelError::IndexOutOfBounds);
    ArrayView<Range const> const ranges = m_ranges.GetView();
    return RunsAreEqual(ranges[RunOf(PhysicalIndex(idx1))], ranges[RunOf(PhysicalIndex(idx2))]);
}

// Without indices the walk goes run by run: the elements of a run all equal
// its first, so only the next non-empty run's element needs comparing.
template <class T>
unsigned int ValueCompositeArray<T>::FindLastEqualElement(unsigned int startIndex) const {
    QEL_VALIDATE(startIndex < m_sizeAndHasSpecials.first, QelError::IndexOutOfBounds);
    ArrayView<Range const> const ranges = m_ranges.GetView();
    if (!HasIndices()) {
        std::size_t const range = RunOf(startIndex);
        for (std::size_t next = range + 1; next < ranges.GetSize(); ++next) {
            if (ranges[next].count != 0 && !RunsAreEqual(ranges[range], ranges[next]))
                return RunStart(next) - 1;
        }
        return GetCount() - 1;
    }
    ArrayView<qelsize_t const> const indices = m_indices.GetView();
    ArrayView<qelsize_t const> const ends = RunEndsView();
    Range const& first = ranges[RunOf(indices[startIndex])];
    std::size_t range = 0;
    unsigned int i = startIndex;
    while (i + 1 < GetCount()) {
        range = detail::FindRun(ends, indices[i + 1], range);
        if (!RunsAreEqual(first, ranges[range]))
            break;
        ++i;
    }
    return i;
}

// ---------------------------------------------------------------------------
// Copies of logical ranges

template <class T>
template <class Visit>
void ValueCompositeArray<T>::VisitRange(unsigned int startIndex, unsigned int length,
                                        Visit&& visit) const {
    ArrayView<Range const> const ranges = m_ranges.GetView();
    if (length == 0)
        return;
    if (!HasIndices()) {
        std::size_t range = RangeAt(startIndex);
        qelsize_t offset = startIndex - RunStart(range);
        for (qelsize_t done = 0; done < length; ++range, offset = 0) {
            qelsize_t const n = std::min(ranges[range].count - offset, length - done);
            visit(done, n, ranges[range]);
            done += n;
        }
        return;
    }
    // A cursor on the last run found: ascending indices cost a comparison
    // or two each, others a bisection.
    ArrayView<qelsize_t const> const indices = m_indices.GetView();
    ArrayView<qelsize_t const> const ends = RunEndsView();
    std::size_t range = 0;
    for (qelsize_t i = 0; i < length; ++i) {
        range = detail::FindRun(ends, indices[startIndex + i], range);
        visit(i, 1, ranges[range]);
    }
}

template <class T>
void ValueCompositeArray<T>::CheckRange(unsigned int startIndex, unsigned int length) const {
    QEL_VALIDATE((std::numeric_limits<qelsize_t>::max() - startIndex >= length) &&
                     (startIndex + length <= GetCount()),
                 QelError::IndexOutOfBounds);
}

template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::Materialize() const {
    qelsize_t const count = GetCount();
    auto values = std::make_unique<std::vector<T>>();
    values->reserve(count);
    std::unique_ptr<std::vector<SpecialKind>> specials;
    if (HasSpecialValues()) {
        specials = std::make_unique<std::vector<SpecialKind>>();
        specials->reserve(count);
    }
    // Through indices every span is one element long, and push_back is the
    // cheaper way to add one.
    VisitRange(0, count, [&](qelsize_t, qelsize_t n, Range const& run) {
        if (n == 1) {
            values->push_back(run.value);
            if (specials != nullptr)
                specials->push_back(run.special);
        } else {
            values->insert(values->end(), n, run.value);
            if (specials != nullptr)
                specials->insert(specials->end(), n, run.special);
        }
    });
    return factory::MakeArray<T>(GetElementType(), std::move(values), std::move(specials), nullptr,
                                 m_sortOrder);
}

template <class T>
void ValueCompositeArray<T>::CopyMaterializedRange(ArrayView<T> outView, unsigned int startIndex,
                                                   unsigned int length) const {
    CheckRange(startIndex, length);
    QEL_VALIDATE(outView.GetSize() >= length, QelError::IndexOutOfBounds);
    T* const out = outView.GetData();
    VisitRange(startIndex, length, [out](qelsize_t at, qelsize_t n, Range const& run) {
        std::fill_n(out + at, n, run.value);
    });
}

template <class T>
void ValueCompositeArray<T>::CopyMaterializedSpecialRange(ArrayView<SpecialKind> outView,
                                                          unsigned int startIndex,
                                                          unsigned int length) const {
    CheckRange(startIndex, length);
    QEL_VALIDATE(outView.GetSize() >= length, QelError::IndexOutOfBounds);
    SpecialKind* const out = outView.GetData();
    VisitRange(startIndex, length, [out](qelsize_t at, qelsize_t n, Range const& run) {
        std::fill_n(out + at, n, run.special);
    });
}

template <class T>
void ValueCompositeArray<T>::CopyMaterializedToTuples(ArrayView<QelTuple> outView,
                                                      unsigned int startIndex, unsigned int length,
                                                      unsigned int tupleIndex) const {
    if (outView.GetSize() == 0)
        return;
    CheckRange(startIndex, length);
    size_t const arrayLength = outView.GetSize();
    QEL_VALIDATE(arrayLength <= GetCount(), QelError::IndexOutOfBounds);
    QEL_VALIDATE(arrayLength == length, QelError::IndexOutOfBounds);
    QEL_VALIDATE(outView[0].GetNthType(tupleIndex) == m_type->GetElementType(),
                 QelError::TypeMismatch);
    if (HasSpecialValues()) {
        VisitRange(startIndex, length, [&](qelsize_t at, qelsize_t n, Range const& run) {
            for (qelsize_t i = at; i < at + n; ++i)
                outView[i].SetNthSpecialUnsafe(tupleIndex, run.special);
        });
    }
    VisitRange(startIndex, length, [&](qelsize_t at, qelsize_t n, Range const& run) {
        for (qelsize_t i = at; i < at + n; ++i)
            outView[i].template SetNthValueUnsafe<T>(tupleIndex, run.value);
    });
}

template <class T>
ConstRawDataView ValueCompositeArray<T>::GetRawMaterializedView(TemporaryRawData& temp,
                                                                unsigned int startIndex,
                                                                unsigned int length) const {
    CheckRange(startIndex, length);
    ArrayView<T> const scratch = temp.Get().template GetView<T>().GetSlice(0, length);
    CopyMaterializedRange(scratch, startIndex, length);
    return ConstRawDataView(temp.Get(), 0, length);
}

template <class T>
ConstRawDataView ValueCompositeArray<T>::GetRawMaterializedSpecialView(TemporaryRawData& temp,
                                                                       unsigned int startIndex,
                                                                       unsigned int length) const {
    CheckRange(startIndex, length);
    ArrayView<SpecialKind> const scratch =
        temp.Get().template GetView<SpecialKind>().GetSlice(0, length);
    CopyMaterializedSpecialRange(scratch, startIndex, length);
    return ConstRawDataView(temp.Get(), 0, length);
}

// One insertion per run that holds an element: every non-empty run without
// indices, the runs the indices reach with them. Placeholders under
// specials go in as ordinary members, as a plain array's do.
template <class T>
std::shared_ptr<StoreValue> ValueCompositeArray<T>::CopyAsSet(bool includeSpecials) const {
    bool const withSpecials = includeSpecials && HasSpecialValues();
    auto values = MakeSetContainer<T>(GetElementType(), m_ranges.GetSize());
    auto specials = withSpecials ? std::make_unique<SpecialKindSet>(kSpecialKindBucketCount)
                                 : std::unique_ptr<SpecialKindSet>();
    auto const insert = [&](Range const& run) {
        values->insert(run.value);
        if (withSpecials)
            specials->insert(run.special);
    };
    if (!HasIndices()) {
        for (Range const& run : m_ranges.GetView()) {
            if (run.count != 0)
                insert(run);
        }
    } else {
        VisitRange(0, GetCount(), [&](qelsize_t, qelsize_t, Range const& run) { insert(run); });
    }
    if (withSpecials)
        specials->erase(SpecialKind::Normal);
    return factory::MakeSet<T>(GetElementType(), std::move(values), std::move(specials));
}

// ---------------------------------------------------------------------------
// The makers

namespace factory {

template <class T>
std::shared_ptr<StoreValue> MakeCompositeArray(Type const* elementType,
                                               std::vector<ValueCompositeArrayRange<T>>&& ranges,
                                               std::unique_ptr<std::vector<qelsize_t>> indices,
                                               SortSpecOrder order) {
    return ValueCompositeArray<T>::Make(ArrayType::Get(elementType), std::move(ranges),
                                        indices == nullptr ? nullptr : Wrap(std::move(*indices)),
                                        order);
}

template <class T>
std::shared_ptr<StoreValue> MakeCompositeArray(Type const* elementType,
                                               std::vector<ValueCompositeArrayRange<T>>&& ranges,
                                               SortSpecOrder order) {
    return MakeCompositeArray<T>(elementType, std::move(ranges), nullptr, order);
}

}  // namespace factory

#define QEL_DETAIL_INSTANTIATE_COMPOSITE_ARRAY(T)                                \
    template class ValueCompositeArray<T>;                                       \
    namespace factory {                                                          \
    template std::shared_ptr<StoreValue> MakeCompositeArray<T>(                  \
        Type const*, std::vector<ValueCompositeArrayRange<T>>&&,                 \
        std::unique_ptr<std::vector<qelsize_t>>, SortSpecOrder);                 \
    template std::shared_ptr<StoreValue> MakeCompositeArray<T>(                  \
        Type const*, std::vector<ValueCompositeArrayRange<T>>&&, SortSpecOrder); \
    }
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_INSTANTIATE_COMPOSITE_ARRAY)
#undef QEL_DETAIL_INSTANTIATE_COMPOSITE_ARRAY

}  // namespace qel::core
