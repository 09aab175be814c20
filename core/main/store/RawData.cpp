#include "qel/core/store/RawData.h"

#include <limits>

#include "qel/core/store/ArrayIterators.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {
namespace {

// Element counts are 32-bit at the type-erased level; a larger buffer would
// otherwise be seen truncated.
qelsize_t CheckedCount(std::size_t count) {
    QEL_VALIDATE(count <= std::numeric_limits<qelsize_t>::max(), QelError::OutOfRange);
    return static_cast<qelsize_t>(count);
}

}  // namespace

namespace detail {

void RawDataIllegalCast() {
    ValidationFailed(SourcePath(__FILE__), __LINE__, "(sizeof(T) == m_typeSize)",
                     QelError::IllegalTypeCast);
}

}  // namespace detail

// VectorRawData

template <class T>
VectorRawData<T>::VectorRawData(std::vector<T>&& values)
    : TypedRawData<T>(CheckedCount(values.size())), m_values(std::move(values)) {}

template <class T>
VectorRawData<T>::VectorRawData(VectorRawData&& other) noexcept
    : TypedRawData<T>(std::move(other)), m_values(std::move(other.m_values)) {}

template <class T>
VectorRawData<T>::~VectorRawData() = default;

template <class T>
ArrayView<unsigned char> VectorRawData<T>::GetByteView() {
    return ArrayView<unsigned char>(reinterpret_cast<unsigned char*>(m_values.data()),
                                    m_values.size());
}

template <class T>
ArrayView<const unsigned char> VectorRawData<T>::GetByteView() const {
    return ArrayView<const unsigned char>(reinterpret_cast<unsigned char const*>(m_values.data()),
                                          m_values.size());
}

template <class T>
ArrayView<T> VectorRawData<T>::GetView() {
    return ArrayView<T>(m_values.data(), m_values.size());
}

template <class T>
ArrayView<const T> VectorRawData<T>::GetView() const {
    return ArrayView<const T>(m_values.data(), m_values.size());
}

// UnmanagedRawData

template <class T>
UnmanagedRawData<T>::UnmanagedRawData(std::shared_ptr<ISharedDataBuffer> owner,
                                      ArrayView<const T> const& elements)
    : TypedRawData<T>(CheckedCount(elements.GetSize())),
      m_owner(std::move(owner)),
      // A buffer's view never carries the null flag, whatever it was made from.
      m_elements(elements.GetData(), elements.GetSize()) {}

template <class T>
ArrayView<unsigned char> UnmanagedRawData<T>::GetByteView() {
    QEL_VALIDATION_FAILED(QelError::CantModifyImmutableValue);
}

template <class T>
ArrayView<const unsigned char> UnmanagedRawData<T>::GetByteView() const {
    return ArrayView<const unsigned char>(
        reinterpret_cast<unsigned char const*>(m_elements.GetData()), m_elements.GetSize());
}

template <class T>
ArrayView<T> UnmanagedRawData<T>::GetView() {
    QEL_VALIDATION_FAILED(QelError::CantModifyImmutableValue);
}

template <class T>
ArrayView<const T> UnmanagedRawData<T>::GetView() const {
    return m_elements;
}

// TemporaryRawData

RawData& TemporaryRawData::Get() const {
    QEL_VALIDATE_NOT_NULL(m_data, QelError::CannotDereferenceNullPointer);
    return *m_data;
}

template <class T>
std::unique_ptr<TemporaryRawData> TemporaryRawData::Make(unsigned int size) {
    return std::make_unique<TemporaryRawData>(
        std::make_unique<VectorRawData<T>>(std::vector<T>(size)));
}

// ConstRawDataView and RawDataView

ConstRawDataView::ConstRawDataView(RawDataView const& view)
    : m_data(view.GetData()), m_startIndex(view.GetStartIndex()), m_length(view.GetSize()) {}

ConstRawDataView::ConstRawDataView(RawData const& data, qelsize_t startIndex, qelsize_t length)
    : m_data(data), m_startIndex(startIndex), m_length(length) {
    // clang-format off
    QEL_VALIDATE((std::numeric_limits<qelsize_t>::max() - startIndex >= length) && (m_data.GetSize() >= (startIndex + length)), QelError::IndexOutOfBounds);
    // clang-format on
}

void const* ConstRawDataView::GetValue(qelsize_t index) const {
    QEL_VALIDATE(index < m_length && m_startIndex + index < m_data.GetSize(),
                 QelError::IndexOutOfBounds);
    // The offset is taken in 64 bits: a buffer may exceed 4 GiB.
    return m_data.GetByteView().GetData() +
           std::size_t{m_startIndex + index} * std::size_t{GetTypeSize()};
}

ConstRawDataView ConstRawDataView::GetSlice(qelsize_t index, qelsize_t length) const {
    // A start that wrapped would land on a window elsewhere in the buffer.
    QEL_VALIDATE(std::numeric_limits<qelsize_t>::max() - m_startIndex >= index,
                 QelError::IndexOutOfBounds);
    return ConstRawDataView(m_data, m_startIndex + index, length);
}

RawDataView::RawDataView(RawData& data, qelsize_t startIndex, qelsize_t length)
    : m_data(data), m_startIndex(startIndex), m_length(length) {
    // Weaker than ConstRawDataView's on purpose: the sum may wrap. GetValue
    // still checks every element against the buffer.
    QEL_VALIDATE(m_data.GetSize() >= (startIndex + length), QelError::IndexOutOfBounds);
}

void* RawDataView::GetValue(qelsize_t index) const {
    QEL_VALIDATE(index < m_length && m_startIndex + index < m_data.GetSize(),
                 QelError::IndexOutOfBounds);
    return m_data.GetByteView().GetData() +
           std::size_t{m_startIndex + index} * std::size_t{GetTypeSize()};
}

RawDataView RawDataView::GetSlice(qelsize_t index, qelsize_t length) const {
    return RawDataView(m_data, m_startIndex + index, length);
}

// PackagedArrayView

template <class T>
PackagedArrayView<T>::PackagedArrayView(std::shared_ptr<RawData const> data)
    : m_data(std::move(data)) {
    if (m_data != nullptr) {
        m_window = std::make_unique<ConstRawDataView>(*m_data);
        m_view = m_data->template GetView<T>();
    }
}

template <class T>
PackagedArrayView<T>::PackagedArrayView(std::shared_ptr<RawData const> data,
                                        ConstRawDataView const& window)
    : m_data(std::move(data)) {
    if (m_data != nullptr) {
        // A window on another buffer would outlive what it looks at.
        QEL_VALIDATE(&window.GetData() == m_data.get(), QelError::IllegalOperation,
                     u"the window is not on the packaged buffer");
        m_window = std::make_unique<ConstRawDataView>(window);
        m_view = m_data->template GetView<T>().GetSlice(window.GetStartIndex(), window.GetSize());
    }
}

template <class T>
PackagedArrayView<T>::PackagedArrayView(std::vector<T>&& values)
    : PackagedArrayView(std::make_shared<VectorRawData<T>>(std::move(values))) {}

template <class T>
PackagedArrayView<T>::PackagedArrayView(std::unique_ptr<std::vector<T>> values)
    : PackagedArrayView(values == nullptr ? PackagedArrayView()
                                          : PackagedArrayView(std::move(*values))) {}

template <class T>
PackagedArrayView<T>::PackagedArrayView(PackagedArrayView const& other)
    : m_data(other.m_data),
      m_window(other.m_window != nullptr ? std::make_unique<ConstRawDataView>(*other.m_window)
                                         : nullptr),
      m_view(other.m_view) {}

template <class T>
PackagedArrayView<T>::PackagedArrayView(PackagedArrayView&& other) noexcept
    : m_data(std::move(other.m_data)),
      m_window(std::move(other.m_window)),
      m_view(std::exchange(other.m_view, ArrayView<const T>::Null())) {}

template <class T>
PackagedArrayView<T>& PackagedArrayView<T>::operator=(PackagedArrayView other) noexcept {
    std::swap(m_data, other.m_data);
    std::swap(m_window, other.m_window);
    std::swap(m_view, other.m_view);
    return *this;
}

template <class T>
ConstRawDataView const& PackagedArrayView<T>::GetRawView() const {
    QEL_VALIDATE_NOT(IsNull(), QelError::IllegalOperation);
    return *m_window;
}

template <class T>
PackagedArrayView<T> PackagedArrayView<T>::GetSlice(qelsize_t index, qelsize_t length) const {
    if (IsNull()) {
        return PackagedArrayView();
    }
    return PackagedArrayView(m_data, m_window->GetSlice(index, length));
}

// The storage types, and SpecialKind for the specials.
#define QEL_DETAIL_INSTANTIATE_RAW_DATA(T) \
    template class TypedRawData<T>;        \
    template class VectorRawData<T>;       \
    template class UnmanagedRawData<T>;    \
    template class PackagedArrayView<T>;   \
    template std::unique_ptr<TemporaryRawData> TemporaryRawData::Make<T>(unsigned int);
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_INSTANTIATE_RAW_DATA)
QEL_DETAIL_INSTANTIATE_RAW_DATA(SpecialKind)
#undef QEL_DETAIL_INSTANTIATE_RAW_DATA

// The runs of composite arrays.
#define QEL_DETAIL_INSTANTIATE_RANGE_DATA(T)                   \
    template class TypedRawData<ValueCompositeArrayRange<T>>;  \
    template class VectorRawData<ValueCompositeArrayRange<T>>; \
    template class PackagedArrayView<ValueCompositeArrayRange<T>>;
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_INSTANTIATE_RANGE_DATA)
#undef QEL_DETAIL_INSTANTIATE_RANGE_DATA

}  // namespace qel::core
