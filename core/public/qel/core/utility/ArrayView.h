#pragma once

// ArrayView<T>: a bounds-checked window on contiguous elements that it does
// not own. It is a plain copyable value (null flag, first element, element
// count) and lives no longer than the buffer it looks at. ArrayView<const T>
// reads, ArrayView<T> may write.
//
// The null flag is set only on the view of a null package (see
// PackagedArrayView in store/RawData.h); a view of a buffer has it clear, and
// a slice keeps the flag of its source.
//
// GetSlice and GetAt fail "index out of bounds" on any index or count that
// leaves the window, however large; operator[] trusts its caller.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace detail {
// Out of line, so that a refusal names the library's source and not the
// host's copy of this header, and the inline checks carry only a call.
[[noreturn]] void ArrayViewOutOfBounds(char const* condition);
}  // namespace detail

// Like QEL_VALIDATE, but the failure is raised from the library's ArrayView
// source, with the condition as written here.
#define QEL_DETAIL_VIEW_CHECK(cond)                                   \
    do {                                                              \
        if (!(cond)) [[unlikely]]                                     \
            ::qel::core::detail::ArrayViewOutOfBounds("(" #cond ")"); \
    } while (false)

template <class T>
class ArrayView {
public:
    ArrayView() = default;
    ArrayView(T* ptr, std::size_t size, bool isNull = false)
        : m_isNull(isNull), m_ptr(ptr), m_size(size) {}
    // A writable view reads as well.
    template <class U>
    ArrayView(ArrayView<U> const& other) requires std::is_same_v<T, U const>
        : m_isNull(other.IsNull()), m_ptr(other.GetData()), m_size(other.GetSize()) {}

    // The view of a null package: no elements, flag set.
    static ArrayView Null() { return ArrayView(nullptr, 0, true); }

    bool IsNull() const { return m_isNull; }
    std::size_t GetSize() const { return m_size; }
    bool IsEmpty() const { return m_size == 0; }
    T* GetData() { return m_ptr; }
    T const* GetData() const { return m_ptr; }

    // `count` elements from `index`; GetSlice(GetSize(), 0) is the empty
    // view at the end.
    ArrayView GetSlice(std::size_t index, std::size_t count) const {
        // The positions are compared as wide signed numbers, so that neither
        // `index` nor `index + count` can wrap, and no pointer is formed
        // before the window is known to hold it.
        __extension__ using Position = __int128;
        using std::size_t;
        using std::uint64_t;
        Position const ptr = static_cast<Position>(index);
        Position const ptrEnd = static_cast<Position>(m_size);
        // clang-format off
        QEL_DETAIL_VIEW_CHECK((std::numeric_limits<uint64_t>::max()) - index > (size_t)m_ptr);
        QEL_DETAIL_VIEW_CHECK((std::numeric_limits<uint64_t>::max()) - m_size > (size_t)m_ptr);
        QEL_DETAIL_VIEW_CHECK(ptr <= ptrEnd);
        QEL_DETAIL_VIEW_CHECK(ptr + count <= ptrEnd);
        // clang-format on
        return ArrayView(m_ptr + index, count, m_isNull);
    }

    T& GetAt(std::size_t index) {
        QEL_DETAIL_VIEW_CHECK(index < m_size);
        return m_ptr[index];
    }
    T const& GetAt(std::size_t index) const {
        QEL_DETAIL_VIEW_CHECK(index < m_size);
        return m_ptr[index];
    }

    // REQUIRES: index < GetSize().
    T& operator[](std::size_t index) { return m_ptr[index]; }
    T const& operator[](std::size_t index) const { return m_ptr[index]; }

    T* begin() { return m_ptr; }
    T* end() { return m_ptr + m_size; }
    T const* begin() const { return m_ptr; }
    T const* end() const { return m_ptr + m_size; }

private:
    bool m_isNull = false;
    T* m_ptr = nullptr;
    std::size_t m_size = 0;
};

}  // namespace qel::core

#undef QEL_DETAIL_VIEW_CHECK
