#pragma once

// A truncated copy of a value, for previews: arrays keep their first
// elements, and the truncation reaches into the arrays of key sets, key maps
// and tables.

#include <memory>

#include "qel/core/store/StoreValue.h"

namespace qel::core {

// By store type:
//   Array    its first min(count, maxCount) elements
//   KeySet   of arrays: the same keys, each array sampled (a key type that
//            is neither primitive nor a tuple fails "not implemented");
//            of anything else, a copy
//   KeyMap   the same keys, each value sampled
//   Table    the same columns, each cut to its first maxCount rows, without
//            sort metadata
//   other    a copy (Clone)
std::shared_ptr<StoreValue> SampleStoreValue(StoreValue const& value, unsigned int maxCount);

}  // namespace qel::core
