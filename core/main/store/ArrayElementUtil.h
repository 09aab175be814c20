#pragma once

// What the constant and composite arrays share with the plain one: the
// element equality of each storage type and the boxed walk over a typed
// iterator.

#include <memory>
#include <vector>

#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core::detail {

inline bool ElementsEqual(unsigned char a, unsigned char b) {
    return a == b;
}
inline bool ElementsEqual(unsigned int a, unsigned int b) {
    return a == b;
}
inline bool ElementsEqual(unsigned long long a, unsigned long long b) {
    return a == b;
}
// Strings compare as texts, whatever the collation.
inline bool ElementsEqual(RIndirectString const& a, RIndirectString const& b) {
    return a == b;
}
inline bool ElementsEqual(QelTuple const& a, QelTuple const& b) {
    return a == b;
}
inline bool ElementsEqual(std::shared_ptr<StoreValue> const& a,
                          std::shared_ptr<StoreValue> const& b) {
    if (a == nullptr || b == nullptr)
        return a == b;
    return a->IsEqual(*b);
}

// Indices that address positions of a view through indices `current`, made
// to address the underlying elements: applying them after `current`.
inline void ComposeIndices(ArrayView<qelsize_t const> const& current,
                           std::vector<qelsize_t>& indices) {
    for (qelsize_t& e : indices)
        e = current.GetAt(e);
}

inline std::vector<qelsize_t> ComposeIndices(ArrayView<qelsize_t const> const& current,
                                             ArrayView<qelsize_t const> const& applied) {
    std::vector<qelsize_t> composed;
    composed.reserve(applied.GetSize());
    for (qelsize_t e : applied)
        composed.push_back(current.GetAt(e));
    return composed;
}

// Boxes each element of a typed walk anew: a special as a ValueSpecial of the
// element type, anything else as an ordinary value.
template <class T>
class BoxingArrayIterator final : public IStoreValueIterator {
public:
    explicit BoxingArrayIterator(ArrayValueSpecialIterator<T, T> position) : m_position(position) {}

    std::unique_ptr<IStoreValueIterator> Clone() const override {
        return std::make_unique<BoxingArrayIterator>(m_position);
    }
    bool NotEqual(std::unique_ptr<IStoreValueIterator> const& other) const override {
        auto const* that = dynamic_cast<BoxingArrayIterator const*>(other.get());
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

}  // namespace qel::core::detail
