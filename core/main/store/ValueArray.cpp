#include "core/main/store/ValueArrayImpl.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "core/main/store/ArrayElementUtil.h"
#include "core/main/store/ValueSetImpl.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {

// ---------------------------------------------------------------------------
// Boxing one stored element

namespace {

[[noreturn]] void NotStoredAs() {
    QEL_VALIDATION_FAILED(QelError::TypeDoesntMatchExpectedType);
}

// The decimal format of a real element type, kept on its boxed values.
RealType const& RealOf(Type const* type) {
    return *TypeAs<RealType>(type);
}

}  // namespace

template <>
std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<unsigned char>(Type const* type,
                                                                         unsigned char const& v) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    if (!type->Is(StoreType::Bool))
        NotStoredAs();
    return factory::MakeBool(v != 0);
}

template <>
std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<unsigned int>(Type const* type,
                                                                        unsigned int const& v) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    switch (type->GetStoreType()) {
        case StoreType::Int32:
            return factory::MakeInt32(static_cast<int>(v));
        case StoreType::Real32:
            return factory::MakeReal32(std::bit_cast<float>(v), RealOf(type).GetPrecision(),
                                       RealOf(type).GetScale());
        case StoreType::Color:
            return factory::MakeColor(static_cast<int>(v));
        default:
            NotStoredAs();
    }
}

template <>
std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<unsigned long long>(
    Type const* type, unsigned long long const& v) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    switch (type->GetStoreType()) {
        case StoreType::Int64:
            return factory::MakeInt64(static_cast<long long>(v));
        case StoreType::Real64:
            return factory::MakeReal64(std::bit_cast<double>(v), RealOf(type).GetPrecision(),
                                       RealOf(type).GetScale());
        case StoreType::Date:
            return factory::MakeDate(QelDateTime(v));
        case StoreType::DateTime:
            return factory::MakeDateTime(QelDateTime(v));
        default:
            NotStoredAs();
    }
}

template <>
std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<RIndirectString>(
    Type const* type, RIndirectString const& v) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    if (!type->Is(StoreType::String))
        NotStoredAs();
    return factory::MakeString(v, TypeAs<StringType>(type)->GetCollation());
}

// The box owns a deep copy: the element handed in may be a reference into an
// array's buffer, which the box must outlive. (The placeholder under a
// special may be of the empty tuple type, so the member types are not
// compared with `type`.)
template <>
std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<QelTuple>(Type const* type,
                                                                    QelTuple const& v) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    if (!type->Is(StoreType::Tuple))
        NotStoredAs();
    QelTuple copy = v;
    return factory::MakeTuple(std::move(copy));
}

template <>
std::shared_ptr<StoreValue> MakeStoreValueFromStorageType<std::shared_ptr<StoreValue>>(
    Type const*, std::shared_ptr<StoreValue> const& v) {
    return v;
}

// ---------------------------------------------------------------------------
// The boxed iterator

namespace {

template <class T>
class ArrayStoreValueIterator final : public IStoreValueIterator {
public:
    explicit ArrayStoreValueIterator(ArrayValueSpecialIterator<T, T> position)
        : m_position(position) {}

    std::unique_ptr<IStoreValueIterator> Clone() const override {
        return std::make_unique<ArrayStoreValueIterator>(m_position);
    }
    bool NotEqual(std::unique_ptr<IStoreValueIterator> const& other) const override {
        auto const* that = dynamic_cast<ArrayStoreValueIterator const*>(other.get());
        return that != nullptr && that->m_position != m_position;
    }
    void MoveNext() override { ++m_position; }
    std::shared_ptr<StoreValue> GetCurrent() const override {
        auto [value, special] = *m_position;  // checks the position
        Type const* elementType = m_position.GetElementType();
        if (special != SpecialKind::Normal)
            return factory::MakeSpecial(elementType, special);
        return MakeStoreValueFromStorageType<T>(elementType, value);
    }

private:
    ArrayValueSpecialIterator<T, T> m_position;
};

bool Equal(unsigned char a, unsigned char b) {
    return a == b;
}
bool Equal(unsigned int a, unsigned int b) {
    return a == b;
}
bool Equal(unsigned long long a, unsigned long long b) {
    return a == b;
}
// Strings compare as texts, whatever the collation.
bool Equal(RIndirectString const& a, RIndirectString const& b) {
    return a == b;
}
bool Equal(QelTuple const& a, QelTuple const& b) {
    return a == b;
}
bool Equal(std::shared_ptr<StoreValue> const& a, std::shared_ptr<StoreValue> const& b) {
    if (a == nullptr || b == nullptr)
        return a == b;
    return a->IsEqual(*b);
}

std::shared_ptr<TypedRawData<qelsize_t> const> Wrap(std::vector<qelsize_t>&& indices) {
    return std::make_shared<VectorRawData<qelsize_t>>(std::move(indices));
}

}  // namespace

template <class T>
class ValueArray<T>::StoreValueIterableImpl final : public IUniformCollection::StoreValueIterable {
public:
    explicit StoreValueIterableImpl(ValueArray const& array) {
        auto all = array.GetAll();
        m_begin = std::make_unique<ArrayStoreValueIterator<T>>(all.begin());
        m_end = std::make_unique<ArrayStoreValueIterator<T>>(all.end());
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
ValueArray<T>::ValueArray(ArrayType const* type, PackagedArrayView<T> const& values,
                          PackagedArrayView<SpecialKind> const& specials,
                          PackagedArrayView<qelsize_t> const& indices, SortSpecOrder order)
    : m_type(type),
      m_values(values),
      m_specials(specials),
      m_indices(indices),
      m_count(indices.IsNull() ? values.GetSize() : indices.GetSize()),
      m_sortOrder(order) {
    using StorageT = T;
    QEL_VALIDATE_NOT_NULL(m_type, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_NOT(m_values.IsNull(), QelError::ArrayCannotBeNull);
    if constexpr (!std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        QEL_VALIDATE(StorageTypeTraits<StorageT>::IsMatchingType(m_type->GetElementType()),
                     QelError::TypeDoesntMatchExpectedType);
    }
    if (!m_specials.IsNull()) {
        QEL_VALIDATE_NOT(IsCollectionStoreType(m_type->GetElementType()->GetStoreType()),
                         QelError::ArraysWithNestedCollectionsDoNotSupport);
        QEL_VALIDATE(m_specials.GetSize() == m_values.GetSize(),
                     QelError::ArrayValuesAndSpecialValuesMustBe);
    }
}

template <class T>
ValueArray<T>::ValueArray(ValueArray const& other,
                          std::shared_ptr<TypedRawData<qelsize_t> const> indices,
                          SortSpecOrder order)
    : ValueArray(other.m_type, other.m_values, other.m_specials,
                 indices ? PackagedArrayView<qelsize_t>(std::shared_ptr<RawData const>(indices))
                         : PackagedArrayView<qelsize_t>(),
                 order) {}

template <class T>
ValueArray<T>::ValueArray(ValueArray const& other)
    : StoreValue(),
      IStoreCollection(),
      ITypedArray<T>(),
      m_type(other.m_type),
      m_values(other.m_values),
      m_specials(other.m_specials),
      m_indices(other.m_indices),
      m_count(other.m_count),
      m_sortOrder(SortSpecOrder::UNKNOWN) {}

template <class T>
ValueArray<T>::~ValueArray() = default;

template <class T>
std::unique_ptr<StoreValue> ValueArray<T>::Clone() const {
    return std::make_unique<ValueArray>(*this);
}

// ---------------------------------------------------------------------------
// Element access

template <class T>
qelsize_t ValueArray<T>::CheckedPhysicalIndex(unsigned int index) const {
    if (HasIndices()) {
        QEL_VALIDATE(static_cast<size_t>(index) < m_indices.GetSize(), QelError::IndexOutOfBounds);
        qelsize_t const realIndex = m_indices.GetView()[index];
        QEL_VALIDATE(static_cast<size_t>(realIndex) < m_values.GetSize(),
                     QelError::IndexOutOfBounds);
        return realIndex;
    }
    QEL_VALIDATE(static_cast<size_t>(index) < m_values.GetSize(), QelError::IndexOutOfBounds);
    return index;
}

template <class T>
T const& ValueArray<T>::At(unsigned int index) const {
    return m_values.GetView()[CheckedPhysicalIndex(index)];
}

template <class T>
SpecialKind ValueArray<T>::GetSpecialAt(unsigned int index) const {
    qelsize_t const physical = CheckedPhysicalIndex(index);
    return m_specials.IsNull() ? SpecialKind::Normal : m_specials.GetView()[physical];
}

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::GetStoreValueAt(unsigned int index) const {
    SpecialKind const special = GetSpecialAt(index);
    if (HasSpecialValues() && special != SpecialKind::Normal) {
        return factory::MakeSpecial(GetElementType(), special);
    }
    return MakeStoreValueFromStorageType<T>(GetElementType(), At(index));
}

template <class T>
ArrayValueIterator<T, T> ValueArray<T>::GetValues() const {
    return ArrayValueIterator<T, T>::Plain(m_type, m_values.GetView(), m_indices.GetView(),
                                           m_specials.GetView());
}

template <class T>
ArrayValueSpecialIterator<T, T> ValueArray<T>::GetAll() const {
    return ArrayValueSpecialIterator<T, T>::Plain(m_type, m_values.GetView(), m_indices.GetView(),
                                                  m_specials.GetView());
}

template <class T>
ArrayView<T const> ValueArray<T>::GetRawArray() const {
    QEL_VALIDATE_NOT(HasIndices(), QelError::ExpectedAnArrayWithoutAnIndicesVector);
    return m_values.GetView();
}

template <class T>
ArrayView<SpecialKind const> ValueArray<T>::GetRawSpecialArray() const {
    QEL_VALIDATE_NOT(HasIndices(), QelError::ExpectedAnArrayWithoutAnIndicesVector);
    QEL_VALIDATE(HasSpecialValues(), QelError::ExpectedAnArrayWithSpecialValues);
    return m_specials.GetView();
}

template <class T>
ArrayView<ValueCompositeArrayRange<T> const> ValueArray<T>::GetRawRanges() const {
    QEL_VALIDATION_FAILED(QelError::NotImplemented);
}

template <class T>
IUniformCollection::StoreValueIterable const& ValueArray<T>::GetStoreValues() const {
    std::call_once(m_iterableOnce,
                   [this] { m_iterable = std::make_unique<StoreValueIterableImpl>(*this); });
    return *m_iterable;
}

// ---------------------------------------------------------------------------
// String keys: decimal logical positions

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::GetByString(RInternString const& key) const {
    unsigned int const index = ParseSizeIntFromString(key.GetValue());
    qelsize_t const physical = m_indices.IsNull() ? index : m_indices.GetView().GetAt(index);
    // A special element gives its placeholder, boxed as an ordinary value.
    return MakeStoreValueFromStorageType<T>(GetElementType(), m_values.GetView().GetAt(physical));
}

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::TryGetByString(RInternString const& key) const {
    unsigned int index = 0;
    if (!TryParseSizeIntFromString(key.GetValue(), index))
        return nullptr;
    qelsize_t physical = index;
    if (HasIndices()) {
        if (index >= m_indices.GetSize())
            return nullptr;
        physical = m_indices.GetView()[index];
    }
    if (physical >= m_values.GetSize())
        return nullptr;
    return MakeStoreValueFromStorageType<T>(GetElementType(), m_values.GetView()[physical]);
}

template <class T>
bool ValueArray<T>::ContainsStringKey(RInternString const& key) const {
    unsigned int index = 0;
    return TryParseSizeIntFromString(key.GetValue(), index) && index < GetCount();
}

// ---------------------------------------------------------------------------
// New arrays sharing this one's buffers

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::WithIndices(
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const {
    return std::make_shared<ValueArray>(*this, std::move(indices), order);
}

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::CopyAndReplaceIndices(std::vector<qelsize_t>&& indices,
                                                                 SortSpecOrder order) const {
    return WithIndices(Wrap(std::move(indices)), order);
}

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::CopyAndReplaceIndices(
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const {
    return WithIndices(std::move(indices), order);
}

// The new indices address this array's logical positions, so they are
// composed with the current ones; values and specials stay where they are.
template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::CopyAndApplyIndices(std::vector<qelsize_t>&& indices,
                                                               SortSpecOrder order) const {
    if (HasIndices())
        detail::ComposeIndices(m_indices.GetView(), indices);
    return WithIndices(Wrap(std::move(indices)), order);
}

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::CopyAndApplyIndices(
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const {
    if (!HasIndices() || indices == nullptr)
        return WithIndices(std::move(indices), order);
    return WithIndices(Wrap(detail::ComposeIndices(m_indices.GetView(), indices->GetView())),
                       order);
}

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::Materialize() const {
    if (!HasIndices())
        return WithIndices(nullptr, m_sortOrder);
    ArrayView<T const> const values = m_values.GetView();
    ArrayView<qelsize_t const> const indices = m_indices.GetView();
    std::vector<T> gathered;
    gathered.reserve(m_count);
    for (qelsize_t p : indices)
        gathered.push_back(values.GetAt(p));
    PackagedArrayView<SpecialKind> specials;
    if (HasSpecialValues()) {
        ArrayView<SpecialKind const> const source = m_specials.GetView();
        std::vector<SpecialKind> kinds;
        kinds.reserve(m_count);
        for (qelsize_t p : indices)
            kinds.push_back(source.GetAt(p));
        specials = PackagedArrayView<SpecialKind>(std::move(kinds));
    }
    return std::make_shared<ValueArray>(m_type, PackagedArrayView<T>(std::move(gathered)), specials,
                                        PackagedArrayView<qelsize_t>(), m_sortOrder);
}

// Placeholders under specials go in as ordinary members; a caller that does
// not want them filters first. The set drops the Normal of ordinary slots.
// Physical slots are read checked, as indices are never validated.
template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::CopyAsSet(bool includeSpecials) const {
    bool const withSpecials = includeSpecials && HasSpecialValues();
    auto values = MakeSetContainer<T>(GetElementType(), m_count);
    auto specials = withSpecials ? std::make_unique<SpecialKindSet>(kSpecialKindBucketCount)
                                 : std::unique_ptr<SpecialKindSet>();
    ArrayView<T const> const source = m_values.GetView();
    ArrayView<SpecialKind const> const kinds = m_specials.GetView();
    if (!HasIndices()) {
        values->insert(source.begin(), source.end());
        if (withSpecials)
            specials->insert(kinds.begin(), kinds.end());
    } else {
        for (qelsize_t p : m_indices.GetView()) {
            values->insert(source.GetAt(p));
            if (withSpecials)
                specials->insert(kinds.GetAt(p));
        }
    }
    return factory::MakeSet<T>(GetElementType(), std::move(values), std::move(specials));
}

template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::GetRange(unsigned int startIndex, unsigned int length,
                                                    unsigned int step) const {
    if (step == 0) {
        throw QelRuntimeException(QelError::IndexOutOfBounds,
                                  TStringCore(u"Illegal range step value"));
    }
    if (startIndex >= m_count) {
        startIndex = 0;
        length = 0;
    }
    if (step != 1 || HasIndices())
        return GetRangeSlow(startIndex, length, step);
    length = std::min(length, GetCount() - startIndex);
    return std::make_shared<ValueArray>(m_type, m_values.GetSlice(startIndex, length),
                                        m_specials.GetSlice(startIndex, length),
                                        PackagedArrayView<qelsize_t>(), m_sortOrder);
}

// A length of 0 wraps the limit to the largest value, so the walk runs to the
// end of the array: with the reset of a start past the end, such a call gives
// the whole array at that step. Callers rely on that.
template <class T>
std::shared_ptr<StoreValue> ValueArray<T>::GetRangeSlow(unsigned int startIndex,
                                                        unsigned int length,
                                                        unsigned int step) const {
    unsigned int const limit = std::min(GetCount(), length) - 1u;
    std::vector<qelsize_t> indices;
    for (unsigned long long i = startIndex; i < GetCount(); i += step) {
        indices.push_back(static_cast<qelsize_t>(i));
        if (indices.size() > limit)
            break;
    }
    return CopyAndApplyIndices(std::move(indices), m_sortOrder);
}

// ---------------------------------------------------------------------------
// Equality of elements

template <class T>
bool ValueArray<T>::ValuesAreEqual(unsigned int a, unsigned int b) const {
    ArrayView<T const> const values = m_values.GetView();
    return Equal(values[PhysicalIndex(a)], values[PhysicalIndex(b)]);
}

template <class T>
bool ValueArray<T>::ElementsAreEqual(unsigned int a, unsigned int b) const {
    SpecialKind const sa = GetSpecialAt(a);
    SpecialKind const sb = GetSpecialAt(b);
    if (sa != sb)
        return false;
    if (sa != SpecialKind::Normal)
        return true;  // placeholders don't matter
    return ValuesAreEqual(a, b);
}

// Unlike ElementsAreEqual, equal specials with different placeholders end a
// run here.
template <class T>
unsigned int ValueArray<T>::FindLastEqualElement(unsigned int startIndex) const {
    QEL_VALIDATE(startIndex < m_count, QelError::IndexOutOfBounds);
    SpecialKind const special = GetSpecialAtUnchecked(startIndex);
    unsigned int i = startIndex;
    while (i + 1 < m_count) {
        if (GetSpecialAtUnchecked(i + 1) != special)
            break;
        if (!ValuesAreEqual(startIndex, i + 1))
            break;
        ++i;
    }
    return i;
}

// ---------------------------------------------------------------------------
// Copies of logical ranges into caller-owned buffers

template <class T>
void ValueArray<T>::CheckRange(unsigned int startIndex, unsigned int length) const {
    QEL_VALIDATE((std::numeric_limits<qelsize_t>::max() - startIndex >= length) &&
                     (startIndex + length <= GetCount()),
                 QelError::IndexOutOfBounds);
}

template <class T>
void ValueArray<T>::CopyMaterializedRange(ArrayView<T> outView, unsigned int startIndex,
                                          unsigned int length) const {
    CheckRange(startIndex, length);
    QEL_VALIDATE(outView.GetSize() >= length, QelError::IndexOutOfBounds);
    ArrayView<T const> const values = m_values.GetView();
    if (!HasIndices()) {
        QEL_VALIDATE(static_cast<size_t>(startIndex) + length <= values.GetSize(),
                     QelError::IndexOutOfBounds);
        std::copy_n(values.GetData() + startIndex, length, outView.GetData());
        return;
    }
    ArrayView<qelsize_t const> const indices = m_indices.GetView();
    for (unsigned int i = 0; i < length; ++i)
        outView[i] = values.GetAt(indices[startIndex + i]);
}

template <class T>
void ValueArray<T>::CopyMaterializedSpecialRange(ArrayView<SpecialKind> outView,
                                                 unsigned int startIndex,
                                                 unsigned int length) const {
    CheckRange(startIndex, length);
    QEL_VALIDATE(outView.GetSize() >= length, QelError::IndexOutOfBounds);
    if (!HasSpecialValues()) {
        std::fill(outView.begin(), outView.end(), SpecialKind::Normal);
        return;
    }
    ArrayView<SpecialKind const> const specials = m_specials.GetView();
    if (!HasIndices()) {
        std::copy_n(specials.GetData() + startIndex, length, outView.GetData());
        return;
    }
    ArrayView<qelsize_t const> const indices = m_indices.GetView();
    for (unsigned int i = 0; i < length; ++i)
        outView[i] = specials.GetAt(indices[startIndex + i]);
}

template <class T>
void ValueArray<T>::CopyMaterializedToTuples(ArrayView<QelTuple> outView, unsigned int startIndex,
                                             unsigned int length, unsigned int tupleIndex) const {
    if (outView.GetSize() == 0)
        return;
    CheckRange(startIndex, length);
    size_t const arrayLength = outView.GetSize();
    QEL_VALIDATE(arrayLength <= GetCount(), QelError::IndexOutOfBounds);
    QEL_VALIDATE(arrayLength == length, QelError::IndexOutOfBounds);
    QEL_VALIDATE(outView[0].GetNthType(tupleIndex) == m_type->GetElementType(),
                 QelError::TypeMismatch);
    if (HasSpecialValues()) {
        for (unsigned int i = 0; i < length; ++i) {
            outView[i].SetNthSpecialUnsafe(tupleIndex, GetSpecialAt(startIndex + i));
        }
    }
    for (unsigned int i = 0; i < length; ++i) {
        outView[i].template SetNthValueUnsafe<T>(tupleIndex, At(startIndex + i));
    }
}

template <class T>
ConstRawDataView ValueArray<T>::GetRawMaterializedView(TemporaryRawData& temp,
                                                       unsigned int startIndex,
                                                       unsigned int length) const {
    CheckRange(startIndex, length);
    if (!HasIndices())
        return m_values.GetRawView().GetSlice(startIndex, length);
    ArrayView<T> const scratch = temp.Get().template GetView<T>().GetSlice(0, length);
    CopyMaterializedRange(scratch, startIndex, length);
    return ConstRawDataView(temp.Get(), 0, length);
}

template <class T>
ConstRawDataView ValueArray<T>::GetRawMaterializedSpecialView(TemporaryRawData& temp,
                                                              unsigned int startIndex,
                                                              unsigned int length) const {
    CheckRange(startIndex, length);
    if (HasSpecialValues() && !HasIndices()) {
        return m_specials.GetRawView().GetSlice(startIndex, length);
    }
    ArrayView<SpecialKind> const scratch =
        temp.Get().template GetView<SpecialKind>().GetSlice(0, length);
    CopyMaterializedSpecialRange(scratch, startIndex, length);
    return ConstRawDataView(temp.Get(), 0, length);
}

// ---------------------------------------------------------------------------
// The makers

namespace factory {

template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType,
                                      std::unique_ptr<std::vector<T>> values,
                                      std::unique_ptr<std::vector<SpecialKind>> specials,
                                      std::unique_ptr<std::vector<qelsize_t>> indices,
                                      SortSpecOrder order) {
    return std::make_shared<ValueArray<T>>(ArrayType::Get(elementType),
                                           PackagedArrayView<T>(std::move(values)),
                                           PackagedArrayView<SpecialKind>(std::move(specials)),
                                           PackagedArrayView<qelsize_t>(std::move(indices)), order);
}

template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType,
                                      std::shared_ptr<RawData const> values,
                                      std::shared_ptr<RawData const> specials,
                                      SortSpecOrder order) {
    return std::make_shared<ValueArray<T>>(
        ArrayType::Get(elementType), PackagedArrayView<T>(std::move(values)),
        PackagedArrayView<SpecialKind>(std::move(specials)), PackagedArrayView<qelsize_t>(), order);
}

template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType, std::vector<T>&& values,
                                      SortSpecOrder order) {
    return MakeArray<T>(elementType, std::make_unique<std::vector<T>>(std::move(values)), nullptr,
                        nullptr, order);
}

template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType, std::vector<T>&& values,
                                      std::vector<SpecialKind>&& specials, SortSpecOrder order) {
    return MakeArray<T>(elementType, std::make_unique<std::vector<T>>(std::move(values)),
                        std::make_unique<std::vector<SpecialKind>>(std::move(specials)), nullptr,
                        order);
}

template <class T>
std::shared_ptr<StoreValue> MakeArray(Type const* elementType, std::vector<T>&& values,
                                      std::vector<SpecialKind>&& specials,
                                      std::vector<qelsize_t>&& indices, SortSpecOrder order) {
    return MakeArray<T>(elementType, std::make_unique<std::vector<T>>(std::move(values)),
                        std::make_unique<std::vector<SpecialKind>>(std::move(specials)),
                        std::make_unique<std::vector<qelsize_t>>(std::move(indices)), order);
}

}  // namespace factory

#define QEL_INSTANTIATE_ARRAY(T)                                                                   \
    template class ValueArray<T>;                                                                  \
    namespace factory {                                                                            \
    template std::shared_ptr<StoreValue> MakeArray<T>(Type const*,                                 \
                                                      std::unique_ptr<std::vector<T>>,             \
                                                      std::unique_ptr<std::vector<SpecialKind>>,   \
                                                      std::unique_ptr<std::vector<qelsize_t>>,     \
                                                      SortSpecOrder);                              \
    template std::shared_ptr<StoreValue> MakeArray<T>(Type const*, std::shared_ptr<RawData const>, \
                                                      std::shared_ptr<RawData const>,              \
                                                      SortSpecOrder);                              \
    template std::shared_ptr<StoreValue> MakeArray<T>(Type const*, std::vector<T>&&,               \
                                                      SortSpecOrder);                              \
    template std::shared_ptr<StoreValue> MakeArray<T>(Type const*, std::vector<T>&&,               \
                                                      std::vector<SpecialKind>&&, SortSpecOrder);  \
    template std::shared_ptr<StoreValue> MakeArray<T>(Type const*, std::vector<T>&&,               \
                                                      std::vector<SpecialKind>&&,                  \
                                                      std::vector<qelsize_t>&&, SortSpecOrder);    \
    }
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_ARRAY)
#undef QEL_INSTANTIATE_ARRAY

}  // namespace qel::core
