#include "core/main/store/ValueConstantArrayImpl.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "core/main/store/ArrayElementUtil.h"
#include "core/main/store/ValueSetImpl.h"
#include "qel/core/utility/Parser.h"

namespace qel::core {

// ---------------------------------------------------------------------------
// The boxed walk: every position gives the array's one boxed element.

namespace {

template <class T>
class ConstantStoreValueIterator final : public IStoreValueIterator {
public:
    ConstantStoreValueIterator(ValueConstantArray<T> const& array, qelsize_t pos)
        : m_array(array), m_pos(pos), m_size(array.GetCount()) {}

    std::unique_ptr<IStoreValueIterator> Clone() const override {
        return std::make_unique<ConstantStoreValueIterator>(m_array, m_pos);
    }
    bool NotEqual(std::unique_ptr<IStoreValueIterator> const& other) const override {
        auto const* that = dynamic_cast<ConstantStoreValueIterator const*>(other.get());
        return that != nullptr && that->m_pos != m_pos;
    }
    void MoveNext() override {
        QEL_VALIDATE(m_pos < m_size, QelError::IteratorOutOfBounds);
        ++m_pos;
    }
    std::shared_ptr<StoreValue> GetCurrent() const override {
        QEL_VALIDATE(m_pos < m_size, QelError::IteratorOutOfBounds);
        return m_array.GetBoxedElement();
    }

private:
    ValueConstantArray<T> const& m_array;
    qelsize_t m_pos;
    qelsize_t m_size;
};

}  // namespace

template <class T>
class ValueConstantArray<T>::StoreValueIterableImpl final
    : public IUniformCollection::StoreValueIterable {
public:
    explicit StoreValueIterableImpl(ValueConstantArray const& array)
        : m_begin(std::make_unique<ConstantStoreValueIterator<T>>(array, 0)),
          m_end(std::make_unique<ConstantStoreValueIterator<T>>(array, array.GetCount())) {}
    std::unique_ptr<IStoreValueIterator> const& begin() const override { return m_begin; }
    std::unique_ptr<IStoreValueIterator> const& end() const override { return m_end; }

private:
    std::unique_ptr<IStoreValueIterator> m_begin;
    std::unique_ptr<IStoreValueIterator> m_end;
};

// ---------------------------------------------------------------------------
// Construction

template <class T>
ValueConstantArray<T>::ValueConstantArray(ArrayType const* type, ArgType value, qelsize_t count)
    : ValueConstantArray(
          type, count, PackagedArrayView<T>(std::vector<T>{value}),
          PackagedArrayView<SpecialKind>(std::vector<SpecialKind>{SpecialKind::Normal})) {}

template <class T>
ValueConstantArray<T>::ValueConstantArray(ArrayType const* type, qelsize_t count,
                                          SpecialKind special)
    : ValueConstantArray(type, count, PackagedArrayView<T>(std::vector<T>(1)),
                         PackagedArrayView<SpecialKind>(std::vector<SpecialKind>{special})) {}

template <class T>
ValueConstantArray<T>::ValueConstantArray(ArrayType const* type, qelsize_t count,
                                          PackagedArrayView<T> const& value,
                                          PackagedArrayView<SpecialKind> const& special)
    : m_type(type), m_size(count), m_value(value), m_special(special) {
    using StorageT = T;
    QEL_VALIDATE_NOT_NULL(m_type, QelError::NullIsNotAValidArgument);
    StoreType const elementStoreType = m_type->GetElementType()->GetStoreType();
    QEL_VALIDATE(IsPrimitiveStoreType(elementStoreType) || elementStoreType == StoreType::Tuple,
                 QelError::TypeDoesntMatchExpectedType);
    QEL_VALIDATE(StorageTypeTraits<StorageT>::IsMatchingType(m_type->GetElementType()),
                 QelError::TypeDoesntMatchExpectedType);
    // Every read takes element 0 of both buffers unchecked.
    QEL_VALIDATE_LOGIC(m_value.GetSize() == 1 && m_special.GetSize() == 1,
                       QelError::IllegalOperation);
}

template <class T>
ValueConstantArray<T>::ValueConstantArray(ValueConstantArray const& other)
    : StoreValue(),
      IStoreCollection(),
      ITypedArray<T>(),
      m_type(other.m_type),
      m_size(other.m_size),
      m_value(other.m_value),
      m_special(other.m_special) {}

template <class T>
ValueConstantArray<T>::~ValueConstantArray() = default;

template <class T>
std::unique_ptr<StoreValue> ValueConstantArray<T>::Clone() const {
    return std::make_unique<ValueConstantArray>(*this);
}

template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::WithCount(qelsize_t count) const {
    return std::make_shared<ValueConstantArray>(m_type, count, m_value, m_special);
}

// ---------------------------------------------------------------------------
// Element access

template <class T>
T const& ValueConstantArray<T>::At(unsigned int index) const {
    QEL_VALIDATE(index < m_size, QelError::IndexOutOfBounds);
    return Value();
}

template <class T>
SpecialKind ValueConstantArray<T>::GetSpecialAt(unsigned int index) const {
    QEL_VALIDATE(index < m_size, QelError::IndexOutOfBounds);
    return Special();
}

template <class T>
std::shared_ptr<StoreValue> const& ValueConstantArray<T>::GetBoxedValue() const {
    std::call_once(m_boxedValueOnce, [this] {
        m_boxedValue = MakeStoreValueFromStorageType<T>(GetElementType(), Value());
    });
    return m_boxedValue;
}

template <class T>
std::shared_ptr<StoreValue> const& ValueConstantArray<T>::GetBoxedElement() const {
    if (!HasSpecialValues())
        return GetBoxedValue();
    std::call_once(m_boxedSpecialOnce,
                   [this] { m_boxedSpecial = factory::MakeSpecial(GetElementType(), Special()); });
    return m_boxedSpecial;
}

template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::GetStoreValueAt(unsigned int index) const {
    QEL_VALIDATE(index < m_size, QelError::IndexOutOfBounds);
    return GetBoxedElement();
}

template <class T>
ArrayValueIterator<T, T> ValueConstantArray<T>::GetValues() const {
    return ArrayValueIterator<T, T>::Constant(m_type, m_value.GetView(), m_special.GetView(),
                                              m_size);
}

template <class T>
ArrayValueSpecialIterator<T, T> ValueConstantArray<T>::GetAll() const {
    return ArrayValueSpecialIterator<T, T>::Constant(m_type, m_value.GetView(), m_special.GetView(),
                                                     m_size);
}

template <class T>
ArrayView<SpecialKind const> ValueConstantArray<T>::GetRawSpecialArray() const {
    QEL_VALIDATE(HasSpecialValues(), QelError::ExpectedAnArrayWithSpecialValues);
    return m_special.GetView();
}

template <class T>
ArrayView<ValueCompositeArrayRange<T> const> ValueConstantArray<T>::GetRawRanges() const {
    QEL_VALIDATION_FAILED(QelError::NotImplemented);
}

template <class T>
IUniformCollection::StoreValueIterable const& ValueConstantArray<T>::GetStoreValues() const {
    std::call_once(m_iterableOnce,
                   [this] { m_iterable = std::make_unique<StoreValueIterableImpl>(*this); });
    return *m_iterable;
}

// ---------------------------------------------------------------------------
// String keys

template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::GetByString(RInternString const& key) const {
    unsigned int const index = ParseSizeIntFromString(key.GetValue());
    QEL_VALIDATE(index < m_size, QelError::IndexOutOfBounds);
    return GetBoxedValue();
}

template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::TryGetByString(RInternString const& key) const {
    unsigned int index = 0;
    if (!TryParseSizeIntFromString(key.GetValue(), index) || index >= m_size)
        return nullptr;
    return GetBoxedValue();
}

template <class T>
bool ValueConstantArray<T>::ContainsStringKey(RInternString const& key) const {
    unsigned int index = 0;
    return TryParseSizeIntFromString(key.GetValue(), index) && index < GetCount();
}

// ---------------------------------------------------------------------------
// Derived arrays: only the count changes

template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::CopyAndApplyIndices(
    std::vector<qelsize_t>&& indices, SortSpecOrder) const {
    return WithCount(static_cast<qelsize_t>(indices.size()));
}

// An empty pointer stands for no indices, as it does for a plain array: the
// count stays.
template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::CopyAndApplyIndices(
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder) const {
    return WithCount(indices == nullptr ? m_size : indices->GetSize());
}

template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::CopyAndReplaceIndices(
    std::vector<qelsize_t>&& indices, SortSpecOrder order) const {
    return CopyAndApplyIndices(std::move(indices), order);
}

template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::CopyAndReplaceIndices(
    std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortSpecOrder order) const {
    return CopyAndApplyIndices(std::move(indices), order);
}

template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::Materialize() const {
    return std::make_shared<ValueConstantArray>(*this);
}

// The one value goes in, a placeholder under a special too, as a plain
// array's placeholders do; an array of no elements gives an empty set.
template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::CopyAsSet(bool includeSpecials) const {
    auto values = MakeSetContainer<T>(GetElementType(), 1);
    std::unique_ptr<SpecialKindSet> specials;
    if (m_size != 0) {
        values->insert(Value());
        if (includeSpecials && HasSpecialValues()) {
            specials = std::make_unique<SpecialKindSet>(kSpecialKindBucketCount);
            specials->insert(Special());
        }
    }
    return factory::MakeSet<T>(GetElementType(), std::move(values), std::move(specials));
}

// The count is taken in 32-bit arithmetic: a start past the end wraps and
// lets `length` through, as callers of the plain array's slow path expect.
template <class T>
std::shared_ptr<StoreValue> ValueConstantArray<T>::GetRange(unsigned int startIndex,
                                                            unsigned int length,
                                                            unsigned int step) const {
    if (step == 0) {
        throw QelRuntimeException(QelError::IndexOutOfBounds,
                                  TStringCore(u"Illegal range step value"));
    }
    unsigned int const n = std::min(GetCount() - startIndex, length);
    return WithCount(n == 0 ? 0 : (n - 1) / step + 1);
}

// ---------------------------------------------------------------------------
// Equality of elements: all are equal

template <class T>
bool ValueConstantArray<T>::ElementsAreEqual(unsigned int idx1, unsigned int idx2) const {
    QEL_VALIDATE(idx1 < m_size, QelError::IndexOutOfBounds);
    QEL_VALIDATE(idx2 < m_size, QelError::IndexOutOfBounds);
    return true;
}

template <class T>
unsigned int ValueConstantArray<T>::FindLastEqualElement(unsigned int startIndex) const {
    QEL_VALIDATE(startIndex < m_size, QelError::IndexOutOfBounds);
    return m_size - 1;
}

// ---------------------------------------------------------------------------
// Copies into caller-owned buffers: every element is the one element

// Unlike the plain array's, this check lets a wrapping sum through; the
// copies below fill only the caller's buffer, whatever the range.
template <class T>
void ValueConstantArray<T>::CheckRange(unsigned int startIndex, unsigned int length) const {
    QEL_VALIDATE(startIndex + length <= GetCount(), QelError::IndexOutOfBounds);
}

template <class T>
void ValueConstantArray<T>::CopyMaterializedRange(ArrayView<T> outView, unsigned int startIndex,
                                                  unsigned int length) const {
    CheckRange(startIndex, length);
    QEL_VALIDATE(outView.GetSize() >= length, QelError::IndexOutOfBounds);
    std::fill(outView.begin(), outView.end(), Value());
}

template <class T>
void ValueConstantArray<T>::CopyMaterializedSpecialRange(ArrayView<SpecialKind> outView,
                                                         unsigned int startIndex,
                                                         unsigned int length) const {
    CheckRange(startIndex, length);
    QEL_VALIDATE(outView.GetSize() >= length, QelError::IndexOutOfBounds);
    std::fill(outView.begin(), outView.end(), Special());
}

template <class T>
void ValueConstantArray<T>::CopyMaterializedToTuples(ArrayView<QelTuple> outView,
                                                     unsigned int startIndex, unsigned int length,
                                                     unsigned int tupleIndex) const {
    if (outView.GetSize() == 0)
        return;
    QEL_VALIDATE((std::numeric_limits<qelsize_t>::max() - startIndex >= length) &&
                     (startIndex + length <= GetCount()),
                 QelError::IndexOutOfBounds);
    size_t const arrayLength = outView.GetSize();
    QEL_VALIDATE(arrayLength <= GetCount(), QelError::IndexOutOfBounds);
    QEL_VALIDATE(arrayLength == length, QelError::IndexOutOfBounds);
    QEL_VALIDATE(outView[0].GetNthType(tupleIndex) == m_type->GetElementType(),
                 QelError::TypeMismatch);
    if (HasSpecialValues()) {
        for (QelTuple& tuple : outView)
            tuple.SetNthSpecialUnsafe(tupleIndex, Special());
    }
    for (QelTuple& tuple : outView)
        tuple.template SetNthValueUnsafe<T>(tupleIndex, Value());
}

template <class T>
ConstRawDataView ValueConstantArray<T>::GetRawMaterializedView(TemporaryRawData& temp,
                                                               unsigned int startIndex,
                                                               unsigned int length) const {
    CheckRange(startIndex, length);
    ArrayView<T> const scratch = temp.Get().template GetView<T>().GetSlice(0, length);
    CopyMaterializedRange(scratch, startIndex, length);
    return ConstRawDataView(temp.Get(), 0, length);
}

template <class T>
ConstRawDataView ValueConstantArray<T>::GetRawMaterializedSpecialView(TemporaryRawData& temp,
                                                                      unsigned int startIndex,
                                                                      unsigned int length) const {
    CheckRange(startIndex, length);
    ArrayView<SpecialKind> const scratch =
        temp.Get().template GetView<SpecialKind>().GetSlice(0, length);
    CopyMaterializedSpecialRange(scratch, startIndex, length);
    return ConstRawDataView(temp.Get(), 0, length);
}

// ---------------------------------------------------------------------------
// The makers

namespace factory {

template <class T>
std::shared_ptr<StoreValue> MakeConstantArray(Type const* elementType,
                                              typename StorageTypeTraits<T>::ArgType value,
                                              unsigned int count) {
    return std::make_shared<ValueConstantArray<T>>(ArrayType::Get(elementType), value, count);
}

template <class T>
std::shared_ptr<StoreValue> MakeConstantArray(Type const* elementType, unsigned int count,
                                              SpecialKind special) {
    return std::make_shared<ValueConstantArray<T>>(ArrayType::Get(elementType), count, special);
}

}  // namespace factory

#define QEL_DETAIL_INSTANTIATE_CONSTANT_ARRAY(T)                                         \
    template class ValueConstantArray<T>;                                                \
    namespace factory {                                                                  \
    template std::shared_ptr<StoreValue> MakeConstantArray<T>(                           \
        Type const*, typename StorageTypeTraits<T>::ArgType, unsigned int);              \
    template std::shared_ptr<StoreValue> MakeConstantArray<T>(Type const*, unsigned int, \
                                                              SpecialKind);              \
    }
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_INSTANTIATE_CONSTANT_ARRAY)
#undef QEL_DETAIL_INSTANTIATE_CONSTANT_ARRAY

}  // namespace qel::core
