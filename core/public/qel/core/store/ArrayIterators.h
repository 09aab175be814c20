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

#include <algorithm>
#include <bit>
#include <cstddef>
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

// The run of a composite array that holds flat position `index`, given the
// flat position past the end of each run (ascending; an empty run ends where
// its predecessor does): the first run whose end exceeds `index`, or the
// number of runs when none does. The bisection picks halves with a
// conditional move rather than a branch, since the positions that a gather
// or a random read asks for give the branch predictor nothing to learn
// (written as arithmetic, since the compiler turns a choice back into a
// branch).
inline std::size_t RunAt(ArrayView<qelsize_t const> runEnds, qelsize_t index) {
    std::size_t length = runEnds.GetSize();
    if (length == 0)
        return 0;
    qelsize_t const* const first = runEnds.GetData();
    qelsize_t const* base = first;
    while (length > 1) {
        std::size_t const half = length / 2;
        base += half * static_cast<std::size_t>(base[half - 1] <= index);
        length -= half;
    }
    return static_cast<std::size_t>(base - first) + (*base <= index ? 1 : 0);
}

// RunAt, trying `hint` and its successor first: reads in flat order find
// their run there with a comparison or two.
inline std::size_t FindRun(ArrayView<qelsize_t const> runEnds, qelsize_t index, std::size_t hint) {
    std::size_t const runs = runEnds.GetSize();
    if (hint < runs && index < runEnds[hint]) {
        if (hint == 0 || index >= runEnds[hint - 1])
            return hint;
    } else if (hint + 1 < runs && index >= runEnds[hint] && index < runEnds[hint + 1]) {
        return hint + 1;
    }
    return RunAt(runEnds, index);
}

// The same by a walk from the first run, for runs without their ends; past
// the end it stops at the last run.
template <class Range>
std::size_t WalkToRun(ArrayView<Range const> ranges, qelsize_t index) {
    std::size_t range = 0;
    while (range + 1 < ranges.GetSize() && index >= ranges[range].count) {
        index -= ranges[range].count;
        ++range;
    }
    return range;
}
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
        it.Settle();
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
        it.Settle();
        return it;
    }
    // Composite mode over runs, with optional indices into their expansion.
    // `runEnds`, when not null, holds for each run the flat position past its
    // end; with indices, the run of an element is then found by bisection
    // instead of a walk from the first run. The iterator never reads outside
    // the runs: without indices it stops where they end, even if `count` is
    // larger, and with them an index past the end reads the last run.
    static BasicArrayIterator Composite(
        ArrayType const* type, ArrayView<Range const> ranges, ArrayView<qelsize_t const> indices,
        qelsize_t count, ArrayView<qelsize_t const> runEnds = ArrayView<qelsize_t const>::Null()) {
        BasicArrayIterator it;
        it.m_type = type;
        it.m_ranges = ranges;
        it.m_runEnds = runEnds;
        it.m_indices = indices;
        unsigned long long total = 0;
        if (!runEnds.IsNull()) {
            total = runEnds.IsEmpty() ? 0 : runEnds[runEnds.GetSize() - 1];
        } else {
            for (Range const& run : ranges)
                total += run.count;
        }
        it.m_size = indices.IsNull()
                        ? static_cast<qelsize_t>(std::min<unsigned long long>(count, total))
                        : (total == 0 ? 0 : count);
        it.m_composite = true;
        it.Settle();
        return it;
    }

    BasicArrayIterator begin() const {
        BasicArrayIterator it = *this;
        it.m_pos = 0;
        it.Settle();
        return it;
    }
    BasicArrayIterator end() const {
        BasicArrayIterator it = *this;
        it.m_pos = m_size;
        return it;
    }

    bool operator==(BasicArrayIterator const& other) const { return m_pos == other.m_pos; }
    bool operator!=(BasicArrayIterator const& other) const { return m_pos != other.m_pos; }

    // Every mode but the direct one reads through a cursor, which stays put
    // for the rest of a run (one element with indices) and is moved by an
    // out-of-line call when the run is used up; a constant array's never
    // moves. The direct and constant tests are then the only mode tests of
    // a loop, small enough for the compiler to take once, outside: the plain
    // column is left a bare indexed walk, and the constant one a sum of one
    // value, both of which it vectorises.
    value_type operator*() const {
        if (AtEnd()) [[unlikely]]
            detail::ArrayIteratorOutOfBounds();
        if (m_direct) {
            if constexpr (kWithSpecials) {
                return {CastT(detail::CastStorage<CastT>(m_values[m_pos])),
                        m_specials.IsNull() ? SpecialKind::Normal : m_specials[m_pos]};
            } else {
                return detail::CastStorage<CastT>(m_values[m_pos]);
            }
        }
        if constexpr (kWithSpecials) {
            return {CastT(detail::CastStorage<CastT>(*m_cursor.value)), *m_cursor.special};
        } else {
            return detail::CastStorage<CastT>(*m_cursor.value);
        }
    }

    BasicArrayIterator& operator++() {
        if (AtEnd()) [[unlikely]]
            detail::ArrayIteratorOutOfBounds();
        ++m_pos;
        if (!m_direct && !m_constant && --m_cursor.left == 0) [[unlikely]] {
            // Through a local: were m_cursor the call's return slot, the
            // iterator's address would be taken, and a loop would keep it in
            // memory rather than in registers.
            Cursor const next = Refill(m_cursor, GetWalk(), m_pos);
            m_cursor = next;
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
            if (AtEnd()) [[unlikely]]
                detail::ArrayIteratorOutOfBounds();
            return 0;
        }
        return m_indices.IsNull() ? m_pos : m_indices[m_pos];
    }
    SpecialKind GetSpecial() const {
        if (AtEnd()) [[unlikely]]
            detail::ArrayIteratorOutOfBounds();
        if (m_direct)
            return m_specials.IsNull() ? SpecialKind::Normal : m_specials[m_pos];
        return *m_cursor.special;
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
        it.m_runEnds = m_runEnds;
        it.m_constant = m_constant;
        it.m_composite = m_composite;
        it.m_direct = m_direct;
        if (m_composite) {
            // A composite iterator goes on from where it stands.
            it.m_pos = m_pos;
            it.m_size = m_size;
            it.m_cursor = {m_cursor.value, m_cursor.special, m_cursor.left, m_cursor.range};
        } else {
            it.m_size = m_constant
                            ? m_size
                            : static_cast<qelsize_t>(m_indices.IsNull() ? m_values.GetSize()
                                                                        : m_indices.GetSize());
            it.Settle();
        }
        return it;
    }

private:
    template <class, class, bool>
    friend class BasicArrayIterator;

    // A position never passes its size: it starts at most there and
    // operator++ refuses to go on from it. So the end is tested for
    // equality, the very test of a loop that runs to end(), and the compiler
    // drops the checks of operator* and operator++ from such a loop as
    // already made.
    bool AtEnd() const { return m_pos == m_size; }

    // Where a non-direct iterator reads: the current value and special, the
    // elements left from here to the end of their run (this one included),
    // and the run's number in composite mode.
    struct Cursor {
        StorageT const* value;
        SpecialKind const* special;
        qelsize_t left;
        qelsize_t range;
    };
    // What moving the cursor needs to know, passed by value so that the
    // iterator's own address is never taken in a loop.
    struct Walk {
        StorageT const* values;
        SpecialKind const* specials;  // null when there are none
        qelsize_t const* indices;     // null when there are none
        Range const* ranges;
        qelsize_t const* runEnds;  // null when not given
        qelsize_t rangeCount;
        qelsize_t size;
        bool composite;
    };

    Walk GetWalk() const {
        return {m_values.GetData(),
                m_specials.IsNull() || m_specials.IsEmpty() ? nullptr : m_specials.GetData(),
                m_indices.IsNull() ? nullptr : m_indices.GetData(),
                m_ranges.GetData(),
                m_runEnds.IsNull() ? nullptr : m_runEnds.GetData(),
                static_cast<qelsize_t>(m_ranges.GetSize()),
                m_size,
                m_composite};
    }

    // Puts the cursor on the element at m_pos, which is 0 in composite mode
    // without indices.
    void Settle() {
        if (m_direct)
            return;
        Walk const walk = GetWalk();
        if (m_constant) {
            m_cursor = {walk.values, walk.specials != nullptr ? walk.specials : &kNormal, 0, 0};
        } else if (walk.indices == nullptr) {
            // Refill moves to the first non-empty run after `range`.
            m_cursor = Refill({nullptr, &kNormal, 0, ~qelsize_t{0}}, walk, m_pos);
        } else {
            m_cursor = Refill({nullptr, &kNormal, 0, 0}, walk, m_pos);
        }
    }

    // The cursor for position `pos` once the old one is used up: the next
    // non-empty run in composite mode without indices, else the element of
    // indices[pos]. Past the end, the cursor stays where it was.
    [[gnu::noinline]] static Cursor Refill(Cursor cursor, Walk walk, qelsize_t pos) {
        if (pos >= walk.size)
            return {cursor.value, cursor.special, 0, cursor.range};
        if (walk.indices == nullptr) {
            qelsize_t range = cursor.range + 1;
            while (range < walk.rangeCount && walk.ranges[range].count == 0)
                ++range;
            if (range >= walk.rangeCount)  // not reached: the size stops at the runs' end
                return {cursor.value, cursor.special, 0, cursor.range};
            Range const& run = walk.ranges[range];
            return {&run.value, &run.special, run.count, range};
        }
        qelsize_t const index = walk.indices[pos];
        if (!walk.composite) {
            return {walk.values + index,
                    walk.specials != nullptr ? walk.specials + index : &kNormal, 1, 0};
        }
        std::size_t const range =
            walk.runEnds != nullptr
                ? std::min<std::size_t>(
                      detail::FindRun(ArrayView<qelsize_t const>(walk.runEnds, walk.rangeCount),
                                      index, cursor.range),
                      walk.rangeCount - 1)
                : detail::WalkToRun(ArrayView<Range const>(walk.ranges, walk.rangeCount), index);
        Range const& run = walk.ranges[range];
        return {&run.value, &run.special, 1, static_cast<qelsize_t>(range)};
    }

    static constexpr SpecialKind kNormal = SpecialKind::Normal;

    ArrayType const* m_type = nullptr;
    ArrayView<StorageT const> m_values;
    ArrayView<qelsize_t const> m_indices = ArrayView<qelsize_t const>::Null();
    ArrayView<SpecialKind const> m_specials = ArrayView<SpecialKind const>::Null();
    ArrayView<Range const> m_ranges;
    ArrayView<qelsize_t const> m_runEnds = ArrayView<qelsize_t const>::Null();
    qelsize_t m_pos = 0;
    qelsize_t m_size = 0;
    Cursor m_cursor = {nullptr, &kNormal, 0, 0};
    bool m_constant = false;
    bool m_composite = false;
    // Plain mode without indices, tested first: the common column walks as
    // values[m_pos], and the one flag is what the compiler hoists out of it.
    bool m_direct = false;
};

}  // namespace qel::core
