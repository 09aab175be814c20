#pragma once

// The typed iterators of arrays. One class serves the three array shapes, so
// that a consumer writes one loop for all of them:
//   plain      element i is values[indices[i]] (or values[i] with no indices)
//   constant   every element is values[0] (and specials[0])
//   composite  the elements are runs of ValueCompositeArrayRange, laid end to
//              end; with indices, element i is in the run of indices[i]
// An iterator is its own range (begin() and end()), holds copies of the views
// (not of the elements) and never keeps its array alive. Reading or advancing
// past the end fails "iterator out of bounds".
//
// CastT is how an element is read: the storage type itself, or a type whose
// bits lie in it (float in unsigned int, QelDateTime in unsigned long long).
// AsCastIterator checks the array's element type before reinterpreting.

#include <bit>
#include <iterator>
#include <type_traits>
#include <utility>

#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/types/TypeTraits.h"
#include "qel/core/utility/ArrayView.h"

namespace qel::core {

// One run of a composite array.
template <class StorageT>
struct ValueCompositeArrayRange {
    StorageT value;  // a placeholder when `special` is not Normal
    SpecialKind special;
    qelsize_t count;
};

namespace detail {

// Reads stored bits as CastT: the same object when the types agree, else a
// reinterpretation of the bits (bool from its byte).
template <class CastT, class StorageT>
inline decltype(auto) CastStorage(StorageT const& stored) {
    if constexpr (std::is_same_v<CastT, StorageT>) {
        return (stored);
    } else if constexpr (std::is_same_v<CastT, bool>) {
        return stored != 0;
    } else {
        static_assert(sizeof(CastT) == sizeof(StorageT));
        return std::bit_cast<CastT>(stored);
    }
}

[[noreturn]] void ArrayIteratorOutOfBounds();
void ValidateCastElementType(bool matches);
void ValidateAdapterElementType(bool matches);

}  // namespace detail

template <class StorageT, class CastT, bool kWithSpecials>
class BasicArrayIterator {
public:
    using Range = ValueCompositeArrayRange<StorageT>;
    using Element = std::conditional_t<std::is_same_v<CastT, StorageT>, StorageT const&, CastT>;
    using value_type = std::conditional_t<kWithSpecials, std::pair<CastT, SpecialKind>, CastT>;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;

    BasicArrayIterator() = default;

    // Plain mode. The indices and specials views may be null.
    static BasicArrayIterator Plain(ArrayType const* type, ArrayView<StorageT const> values,
                                    ArrayView<qelsize_t const> indices,
                                    ArrayView<SpecialKind const> specials) {
        BasicArrayIterator it;
        it.m_type = type;
        it.m_values = values;
        it.m_indices = indices;
        it.m_specials = specials;
        it.m_size = static_cast<qelsize_t>(indices.IsNull() ? values.GetSize() : indices.GetSize());
        it.m_direct = indices.IsNull();
        return it;
    }
    // Constant mode: `count` copies of values[0] and specials[0].
    static BasicArrayIterator Constant(ArrayType const* type, ArrayView<StorageT const> value,
                                       ArrayView<SpecialKind const> special, qelsize_t count) {
        BasicArrayIterator it;
        it.m_type = type;
        it.m_values = value;
        it.m_specials = special;
        it.m_size = count;
        it.m_constant = true;
        return it;
    }
    // Composite mode over runs, with optional indices into their expansion.
    static BasicArrayIterator Composite(ArrayType const* type, ArrayView<Range const> ranges,
                                        ArrayView<qelsize_t const> indices, qelsize_t count) {
        BasicArrayIterator it;
        it.m_type = type;
        it.m_ranges = ranges;
        it.m_indices = indices;
        it.m_size = count;
        it.m_composite = true;
        it.SkipEmptyRanges();
        return it;
    }

    BasicArrayIterator begin() const {
        BasicArrayIterator it = *this;
        it.m_pos = 0;
        it.m_range = 0;
        it.m_posInRange = 0;
        if (m_composite)
            it.SkipEmptyRanges();
        return it;
    }
    BasicArrayIterator end() const {
        BasicArrayIterator it = *this;
        it.m_pos = m_size;
        return it;
    }

    bool operator==(BasicArrayIterator const& other) const { return m_pos == other.m_pos; }
    // A position never passes its size (operator++ refuses to). Saying so
    // lets the compiler see that a loop running to end() stays below the
    // size, and drop the checks of operator* and operator++ from it.
    bool operator!=(BasicArrayIterator const& other) const {
        if (m_pos > m_size || other.m_pos > other.m_size)
            __builtin_unreachable();
        return m_pos != other.m_pos;
    }

    value_type operator*() const {
        if (m_pos >= m_size) [[unlikely]]
            detail::ArrayIteratorOutOfBounds();
        if constexpr (kWithSpecials) {
            return {CastT(detail::CastStorage<CastT>(StoredValue())), CurrentSpecial()};
        } else {
            return detail::CastStorage<CastT>(StoredValue());
        }
    }

    BasicArrayIterator& operator++() {
        if (m_pos >= m_size) [[unlikely]]
            detail::ArrayIteratorOutOfBounds();
        ++m_pos;
        if (!m_direct && m_composite && m_indices.IsNull()) {
            if (++m_posInRange >= m_ranges[m_range].count) {
                m_posInRange = 0;
                ++m_range;
                SkipEmptyRanges();
            }
        }
        return *this;
    }
    BasicArrayIterator operator++(int) {
        BasicArrayIterator before = *this;
        ++*this;
        return before;
    }

    qelsize_t GetPosition() const { return m_pos; }
    Type const* GetElementType() const {
        return m_type == nullptr ? nullptr : m_type->GetElementType();
    }
    qelsize_t GetSize() const { return m_size; }
    // The physical index of the current element (plain and constant mode).
    qelsize_t GetIndex() const {
        if (m_constant) {
            if (m_pos >= m_size) [[unlikely]]
                detail::ArrayIteratorOutOfBounds();
            return 0;
        }
        return m_indices.IsNull() ? m_pos : m_indices[m_pos];
    }
    SpecialKind GetSpecial() const {
        if (m_pos >= m_size) [[unlikely]]
            detail::ArrayIteratorOutOfBounds();
        return CurrentSpecial();
    }

    // The same elements read as NewCastT, from the first one. Fails "type
    // doesn't match expected type" unless the element type holds NewCastT.
    template <class NewCastT>
    BasicArrayIterator<StorageT, NewCastT, kWithSpecials> AsCastIterator() const {
        detail::ValidateCastElementType(TypeTraits<NewCastT>::IsMatchingType(
            m_type == nullptr ? nullptr : m_type->GetElementType()));
        BasicArrayIterator<StorageT, NewCastT, kWithSpecials> it;
        it.m_type = m_type;
        it.m_values = m_values;
        it.m_indices = m_indices;
        it.m_specials = m_specials;
        it.m_ranges = m_ranges;
        it.m_constant = m_constant;
        it.m_composite = m_composite;
        it.m_direct = m_direct;
        if (m_composite) {
            it.m_pos = m_pos;
            it.m_size = m_size;
            it.m_range = m_range;
            it.m_posInRange = m_posInRange;
        } else {
            it.m_size = m_constant
                            ? m_size
                            : static_cast<qelsize_t>(m_indices.IsNull() ? m_values.GetSize()
                                                                        : m_indices.GetSize());
        }
        return it;
    }

private:
    template <class, class, bool>
    friend class BasicArrayIterator;

    StorageT const& StoredValue() const {
        if (m_direct)
            return m_values[m_pos];
        if (m_constant)
            return m_values[0];
        if (m_composite)
            return CurrentRange().value;
        return m_values[m_indices.IsNull() ? m_pos : m_indices[m_pos]];
    }

    SpecialKind CurrentSpecial() const {
        if (m_direct)
            return m_specials.IsNull() ? SpecialKind::Normal : m_specials[m_pos];
        if (m_constant)
            return m_specials.IsNull() ? SpecialKind::Normal : m_specials[0];
        if (m_composite)
            return CurrentRange().special;
        if (m_specials.IsNull())
            return SpecialKind::Normal;
        return m_specials[m_indices.IsNull() ? m_pos : m_indices[m_pos]];
    }

    // With indices, the run that holds indices[m_pos] is found by walking the
    // runs: linear in their count for every element, which is why such arrays
    // are materialised before a full walk where that matters. The walks are
    // out of line and take no `this`, so that the iterator of a loop stays
    // in registers.
    Range const& CurrentRange() const {
        if (m_indices.IsNull())
            return m_ranges[m_range];
        return FindRange(m_ranges, m_indices[m_pos]);
    }
    [[gnu::noinline]] static Range const& FindRange(ArrayView<Range const> ranges,
                                                    qelsize_t index) {
        std::size_t range = 0;
        while (range + 1 < ranges.GetSize() && index >= ranges[range].count) {
            index -= ranges[range].count;
            ++range;
        }
        return ranges[range];
    }

    void SkipEmptyRanges() { m_range = NextNonEmpty(m_ranges, m_range); }
    [[gnu::noinline]] static qelsize_t NextNonEmpty(ArrayView<Range const> ranges,
                                                    qelsize_t range) {
        while (range < ranges.GetSize() && ranges[range].count == 0)
            ++range;
        return range;
    }

    ArrayType const* m_type = nullptr;
    ArrayView<StorageT const> m_values;
    ArrayView<qelsize_t const> m_indices = ArrayView<qelsize_t const>::Null();
    ArrayView<SpecialKind const> m_specials = ArrayView<SpecialKind const>::Null();
    ArrayView<Range const> m_ranges;
    qelsize_t m_pos = 0;
    qelsize_t m_size = 0;
    qelsize_t m_range = 0;
    qelsize_t m_posInRange = 0;
    bool m_constant = false;
    bool m_composite = false;
    // Plain mode without indices, tested first: the common column walks as
    // values[m_pos], and the one flag is what the compiler hoists out of it.
    bool m_direct = false;
};

}  // namespace qel::core
