#pragma once

// The hash and equality of each storage type as an element (or key) of an
// unordered container of the store: sets, and the keys of key sets.
//   numbers            std::hash and std::equal_to of the bits
//   RIndirectString    CollatorHash and CollatorEqualTo, which must be made
//                      with the collation of the element's StringType
//   QelTuple           the tuple data's hash and comparison
//   nested values      the pointed-to value's GetHashValue and IsEqual
//
// The nested pair has names of its own rather than being std::hash and
// std::equal_to of std::shared_ptr<StoreValue>: specialising those would
// silently turn every other container of such pointers from identity to
// value semantics, differently in each source depending on its includes.

#include <cstddef>
#include <functional>
#include <memory>

#include "qel/core/store/Collation.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {

// A null pointer hashes to 0 and equals nothing, not even another null.
struct StoreValuePtrHash {
    std::size_t operator()(std::shared_ptr<StoreValue> const& value) const {
        return value == nullptr ? 0 : value->GetHashValue();
    }
};

struct StoreValuePtrEqualTo {
    bool operator()(std::shared_ptr<StoreValue> const& a,
                    std::shared_ptr<StoreValue> const& b) const {
        return a != nullptr && b != nullptr && a->IsEqual(*b);
    }
};

template <class StorageT>
struct ElementHashTraits {
    using Hash = std::hash<StorageT>;
    using Equal = std::equal_to<StorageT>;
};

template <>
struct ElementHashTraits<RIndirectString> {
    using Hash = CollatorHash;
    using Equal = CollatorEqualTo;
};

template <>
struct ElementHashTraits<std::shared_ptr<StoreValue>> {
    using Hash = StoreValuePtrHash;
    using Equal = StoreValuePtrEqualTo;
};

}  // namespace qel::core
