#pragma once

// The containers of set values and the typed iterator over their elements.
//
// A set's elements lie in a ValueSetContainer<StorageT>, its special kinds in
// a SpecialKindSet. The iterator is inline, so that a function's loop over a
// set runs without a call per element; that is why this header, unlike most,
// brings in Boost's container (Boost is a public dependency of the library).
//
// SetValueIterator walks the container's node list: an order that is stable
// for one set but depends on its insertion history and bucket count, so it
// is neither sorted nor reproducible across sets with equal members. Like
// the array iterators it is its own range (begin() and end()), holds no
// ownership and fails "iterator out of bounds" when read or advanced at the
// end.

#include <cstddef>
#include <iterator>
#include <type_traits>

#include <boost/unordered_set.hpp>

#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/ElementHash.h"
#include "qel/core/store/SpecialKind.h"
#include "qel/core/types/TypeTraits.h"

namespace qel::core {

template <class StorageT>
using ValueSetContainer = boost::unordered_set<StorageT, typename ElementHashTraits<StorageT>::Hash,
                                               typename ElementHashTraits<StorageT>::Equal>;
using SpecialKindSet = boost::unordered_set<SpecialKind>;

namespace detail {

// Out of line, so that the refusals name the library's source, not the
// host's copy of this header.
[[noreturn]] void SetIteratorOutOfBounds();
void ValidateSetCastElementType(bool matches);

}  // namespace detail

template <class StorageT, class CastT>
class SetValueIterator {
public:
    using Container = ValueSetContainer<StorageT>;
    using Element = std::conditional_t<std::is_same_v<CastT, StorageT>, StorageT const&, CastT>;
    using value_type = CastT;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;

    SetValueIterator() = default;
    SetValueIterator(Type const* elementType, Container const* values,
                     typename Container::const_iterator pos)
        : m_elementType(elementType), m_values(values), m_pos(pos) {}

    SetValueIterator begin() const {
        SetValueIterator it = *this;
        if (m_values != nullptr)
            it.m_pos = m_values->begin();
        return it;
    }
    SetValueIterator end() const {
        SetValueIterator it = *this;
        if (m_values != nullptr)
            it.m_pos = m_values->end();
        return it;
    }

    bool operator==(SetValueIterator const& other) const { return m_pos == other.m_pos; }
    bool operator!=(SetValueIterator const& other) const { return m_pos != other.m_pos; }

    Element operator*() const {
        if (AtEnd()) [[unlikely]]
            detail::SetIteratorOutOfBounds();
        return detail::CastStorage<CastT>(*m_pos);
    }
    SetValueIterator& operator++() {
        if (AtEnd()) [[unlikely]]
            detail::SetIteratorOutOfBounds();
        ++m_pos;
        return *this;
    }
    SetValueIterator operator++(int) {
        SetValueIterator before = *this;
        ++*this;
        return before;
    }

    Type const* GetElementType() const { return m_elementType; }
    // The hash set walked, which a caller may also search directly.
    Container const* GetContainer() const { return m_values; }

    // The same elements read as NewCastT, from the first one. Fails "type
    // doesn't match expected type" unless the element type holds NewCastT.
    template <class NewCastT>
    SetValueIterator<StorageT, NewCastT> AsCastIterator() const {
        detail::ValidateSetCastElementType(TypeTraits<NewCastT>::IsMatchingType(m_elementType));
        SetValueIterator<StorageT, NewCastT> it(m_elementType, m_values,
                                                typename Container::const_iterator());
        return it.begin();
    }

private:
    bool AtEnd() const { return m_values == nullptr || m_pos == m_values->end(); }

    Type const* m_elementType = nullptr;
    Container const* m_values = nullptr;
    typename Container::const_iterator m_pos;
};

}  // namespace qel::core
