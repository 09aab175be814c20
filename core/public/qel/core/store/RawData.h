#pragma once

// Element buffers and the windows on them: the layer under every collection
// value, which keeps its elements in flat, type-erased buffers.
//
// - RawData owns (or leases) a buffer of GetSize() elements of GetTypeSize()
//   bytes each; both are fixed when it is made. Buffers are filled when they
//   are made and never written once they are shared: that alone is what makes
//   sharing them among values, slices and threads sound. No lock is held.
// - ConstRawDataView and RawDataView are type-erased windows on a buffer, for
//   code that learns the element type only at run time. They refer to the
//   buffer and must not outlive it.
// - PackagedArrayView<T> binds a shared buffer, a window on it and the typed
//   view of that window, so that arrays share, slice and re-package storage
//   without copying an element.
//
// The class templates exist for the six storage types (unsigned char,
// unsigned int, unsigned long long, RIndirectString, QelTuple,
// shared_ptr<StoreValue>) and for SpecialKind (the specials of an array);
// RawData.cpp instantiates them.

#include <concepts>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "qel/core/store/SpecialKind.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/types/StorageTypes.h"
#include "qel/core/utility/ArrayView.h"
#include "qel/core/utility/Base.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

class QelTuple;
class StoreValue;

// The abstract base of every element buffer, held by
// std::shared_ptr<RawData const> once shared, or by std::unique_ptr<RawData>
// while it is being filled.
namespace detail {
// Out of line, so that the refusal names the library's source, not the
// host's copy of this header.
[[noreturn]] void RawDataIllegalCast();
}  // namespace detail

class RawData {
public:
    RawData(RawData const&) = delete;
    RawData& operator=(RawData const&) = delete;
    RawData& operator=(RawData&&) = delete;
    virtual ~RawData() = default;

    // The element count.
    qelsize_t GetSize() const { return m_size; }
    // The bytes of one element.
    qelsize_t GetTypeSize() const { return m_typeSize; }

    // The buffer's first byte. NOTE: GetSize() of a byte view counts elements,
    // not bytes; its users scale by GetTypeSize() or go through GetView<T>.
    virtual ArrayView<unsigned char> GetByteView() = 0;
    virtual ArrayView<const unsigned char> GetByteView() const = 0;

    // The buffer read as elements of T, which need only have the element's
    // size: functors read an unsigned int buffer as int or float this way.
    // Fails "illegal type cast" on any other size.
    template <class T>
    ArrayView<T> GetView() {
        if (sizeof(T) != m_typeSize) [[unlikely]]
            detail::RawDataIllegalCast();
        ArrayView<unsigned char> bytes = GetByteView();
        return ArrayView<T>(reinterpret_cast<T*>(bytes.GetData()), bytes.GetSize(), bytes.IsNull());
    }
    template <class T>
    ArrayView<const T> GetView() const {
        if (sizeof(T) != m_typeSize) [[unlikely]]
            detail::RawDataIllegalCast();
        ArrayView<const unsigned char> bytes = GetByteView();
        return ArrayView<const T>(reinterpret_cast<T const*>(bytes.GetData()), bytes.GetSize(),
                                  bytes.IsNull());
    }

protected:
    RawData(qelsize_t size, qelsize_t typeSize) : m_size(size), m_typeSize(typeSize) {}
    // A moved-from buffer holds no elements, and says so.
    RawData(RawData&& other) noexcept
        : m_size(std::exchange(other.m_size, 0)), m_typeSize(other.m_typeSize) {}

private:
    qelsize_t m_size;
    qelsize_t m_typeSize;
};

// A buffer of T elements. Shared pointers to TypedRawData<unsigned int> are
// the index vectors of the collections.
template <class T>
class TypedRawData : public RawData {
public:
    using RawData::GetView;
    virtual ArrayView<T> GetView() = 0;
    virtual ArrayView<const T> GetView() const = 0;

protected:
    explicit TypedRawData(qelsize_t size) : RawData(size, sizeof(T)) {}
    TypedRawData(TypedRawData&&) noexcept = default;
};

// Owns its elements in a std::vector, taken by move and never resized.
template <class T>
class VectorRawData : public TypedRawData<T> {
public:
    // Takes the elements; `values` is left empty. Fails "out of range" past
    // qelsize_t elements.
    explicit VectorRawData(std::vector<T>&& values);
    // `other` is left empty, of size 0.
    VectorRawData(VectorRawData&& other) noexcept;
    // `count` copies of `value`, as the specials of an array are made. (A
    // member template, so that only VectorRawData<SpecialKind> has it.)
    template <std::same_as<SpecialKind> U = T>
    VectorRawData(unsigned int count, SpecialKind value)
        : VectorRawData(std::vector<U>(count, value)) {}
    // Out of line, so that the header needs no element type complete.
    ~VectorRawData() override;

    static std::unique_ptr<VectorRawData> Make(std::vector<T>&& values) {
        return std::make_unique<VectorRawData>(std::move(values));
    }

    using TypedRawData<T>::GetView;
    ArrayView<unsigned char> GetByteView() override;
    ArrayView<const unsigned char> GetByteView() const override;
    ArrayView<T> GetView() override;
    ArrayView<const T> GetView() const override;

private:
    std::vector<T> m_values;
};

// The owner of memory that arrived from outside (a received binary payload).
// Whoever holds a shared pointer to it may read the memory; what stands
// behind it is the producer's business.
class ISharedDataBuffer {
public:
    virtual ~ISharedDataBuffer() = 0;
};
inline ISharedDataBuffer::~ISharedDataBuffer() = default;

// Elements in memory it does not own, kept alive by the ISharedDataBuffer it
// holds for exactly as long as it lives. Decoded arrays are built on these
// without copying an element. The memory is read-only: the writable views
// fail "can't modify immutable value".
template <class T>
class UnmanagedRawData : public TypedRawData<T> {
public:
    // REQUIRES: `owner` keeps the memory of `elements` alive. Fails "out of
    // range" past qelsize_t elements.
    UnmanagedRawData(std::shared_ptr<ISharedDataBuffer> owner, ArrayView<const T> const& elements);
    UnmanagedRawData(UnmanagedRawData&&) = delete;

    static std::unique_ptr<UnmanagedRawData> Make(std::shared_ptr<ISharedDataBuffer> owner,
                                                  ArrayView<const T> const& elements) {
        return std::make_unique<UnmanagedRawData>(std::move(owner), elements);
    }

    using TypedRawData<T>::GetView;
    ArrayView<unsigned char> GetByteView() override;
    ArrayView<const unsigned char> GetByteView() const override;
    ArrayView<T> GetView() override;
    ArrayView<const T> GetView() const override;

private:
    std::shared_ptr<ISharedDataBuffer> m_owner;
    ArrayView<const T> m_elements;
};

// Scratch for a caller that needs a materialised view whose length only the
// callee knows: the callee either fills it or answers with a window on its
// own storage. A view into it lives no longer than it. Move-only, and owned
// by one caller.
class TemporaryRawData {
public:
    explicit TemporaryRawData(std::unique_ptr<RawData> data) : m_data(std::move(data)) {}
    TemporaryRawData(TemporaryRawData&&) noexcept = default;
    TemporaryRawData& operator=(TemporaryRawData&&) noexcept = default;

    // The held buffer. Fails "cannot dereference null pointer" when there is
    // none (made empty, or moved from).
    RawData& Get() const;
    operator RawData&() const { return Get(); }

    // A VectorRawData<T> of `size` value-initialised elements: zero numbers
    // and specials, empty strings, tuples and pointers. For the storage types
    // and SpecialKind.
    template <class T>
    static std::unique_ptr<TemporaryRawData> Make(unsigned int size);

private:
    std::unique_ptr<RawData> m_data;
};

class RawDataView;

// A read-only window of GetSize() elements from GetStartIndex() on a buffer.
// Every check fails "index out of bounds".
class ConstRawDataView {
public:
    // The whole buffer.
    ConstRawDataView(RawData const& data)
        : m_data(data), m_startIndex(0), m_length(data.GetSize()) {}
    ConstRawDataView(RawDataView const& view);
    // Checks that the window lies in the buffer, without wrapping.
    ConstRawDataView(RawData const& data, qelsize_t startIndex, qelsize_t length);

    // The address of element `index` of the window.
    void const* GetValue(qelsize_t index) const;
    // A window at GetStartIndex() + index. It is checked against the buffer,
    // not against this window, so it may reach past GetSize().
    ConstRawDataView GetSlice(qelsize_t index, qelsize_t length) const;

    qelsize_t GetSize() const { return m_length; }
    qelsize_t GetTypeSize() const { return m_data.GetTypeSize(); }
    qelsize_t GetStartIndex() const { return m_startIndex; }
    RawData const& GetData() const { return m_data; }

private:
    RawData const& m_data;
    qelsize_t m_startIndex;
    qelsize_t m_length;
};

// ConstRawDataView's writable twin, through which scratch is filled. Its
// window constructor checks only that start + length, in 32 bits, stays in
// the buffer; GetValue checks the element itself either way. GetValue goes
// through the writable byte view, so it fails on an UnmanagedRawData.
class RawDataView {
public:
    RawDataView(RawData& data) : m_data(data), m_startIndex(0), m_length(data.GetSize()) {}
    RawDataView(RawData& data, qelsize_t startIndex, qelsize_t length);

    void* GetValue(qelsize_t index) const;
    RawDataView GetSlice(qelsize_t index, qelsize_t length) const;

    qelsize_t GetSize() const { return m_length; }
    qelsize_t GetTypeSize() const { return m_data.GetTypeSize(); }
    qelsize_t GetStartIndex() const { return m_startIndex; }
    RawData& GetData() const { return m_data; }

private:
    RawData& m_data;
    qelsize_t m_startIndex;
    qelsize_t m_length;
};

// A shared buffer, a window on it and the typed read-only view of that
// window. Copies share the buffer but never the window object. Nothing
// reached through a package can write.
//
// A null package (default, or made from an empty pointer) has no buffer and
// no window, and its view is empty with the null flag set. A package over an
// empty vector is not null: collections tell "no specials" (null) from "no
// elements" (empty) this way.
template <class T>
class PackagedArrayView {
public:
    PackagedArrayView() = default;
    // The whole buffer. Fails "illegal type cast" unless its elements are
    // sizeof(T) bytes.
    explicit PackagedArrayView(std::shared_ptr<RawData const> data);
    // The window, which must be on `data` ("illegal operation" otherwise).
    PackagedArrayView(std::shared_ptr<RawData const> data, ConstRawDataView const& window);
    // Takes the elements without copying them; `values` is left empty.
    explicit PackagedArrayView(std::vector<T>&& values);
    // As above; an empty pointer gives a null package.
    explicit PackagedArrayView(std::unique_ptr<std::vector<T>> values);

    PackagedArrayView(PackagedArrayView const& other);
    // The source is left null.
    PackagedArrayView(PackagedArrayView&& other) noexcept;
    PackagedArrayView& operator=(PackagedArrayView other) noexcept;

    bool IsNull() const { return m_data == nullptr; }
    qelsize_t GetSize() const { return static_cast<qelsize_t>(m_view.GetSize()); }
    ArrayView<const T> const& GetView() const { return m_view; }
    std::shared_ptr<RawData const> const& GetData() const { return m_data; }
    // Fails "illegal operation" on a null package.
    ConstRawDataView const& GetRawView() const;
    // A package on the same buffer over GetRawView().GetSlice(index, length);
    // the slice of a null package is null, whatever the arguments.
    PackagedArrayView GetSlice(qelsize_t index, qelsize_t length) const;

private:
    std::shared_ptr<RawData const> m_data;
    std::unique_ptr<ConstRawDataView> m_window;
    ArrayView<const T> m_view = ArrayView<const T>::Null();
};

// The storage types, and SpecialKind for the specials.
#define QEL_DETAIL_DECLARE_RAW_DATA(T)         \
    extern template class TypedRawData<T>;     \
    extern template class VectorRawData<T>;    \
    extern template class UnmanagedRawData<T>; \
    extern template class PackagedArrayView<T>;
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_RAW_DATA)
QEL_DETAIL_DECLARE_RAW_DATA(SpecialKind)
#undef QEL_DETAIL_DECLARE_RAW_DATA

}  // namespace qel::core
