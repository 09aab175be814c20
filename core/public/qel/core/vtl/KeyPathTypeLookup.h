#pragma once

// KeyPathTypeLookup answers from the type annotation on the key path itself,
// the one on its leaf segment ("a/b:i" has type Int32, "a/b" none). It holds
// no state, so one object serves any number of threads.

#include "qel/core/vtl/ITypeLookup.h"

namespace qel::core {

class KeyPathTypeLookup : public ITypeLookup {
public:
    // Whether the leaf segment is typed; false for a path of no segment.
    bool HasType(KeyPath const& path) const override;
    // The leaf segment's type. When HasType (as overridden) is false, fails
    // "no value found at key " with KeyPath::ToString of the path as details.
    Type const* GetType(KeyPath const& path) const override;
    // Whether GetType (as overridden) is a key map; fails as GetType.
    bool IsKeyMap(KeyPath const& path) const override;
};

}  // namespace qel::core
