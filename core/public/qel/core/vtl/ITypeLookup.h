#pragma once

// ITypeLookup: what type the value at a key has, as far as the caller
// knows before anything runs. A checker of transforms asks it for the types
// of a function's arguments (GetFunctionInputTypes). Implementations decide
// where the answer comes from: KeyPathTypeLookup reads the type annotations
// of the key path itself; the layer above answers from a data store.
//
// Implementations must be safe to call from several threads at once when
// they are shared, as KeyPathTypeLookup is.

#include "qel/core/store/KeyPath.h"

namespace qel::core {

class Type;

class ITypeLookup {
public:
    ITypeLookup() = default;
    ITypeLookup(ITypeLookup const&) = default;
    ITypeLookup& operator=(ITypeLookup const&) = default;
    virtual ~ITypeLookup() = default;

    virtual bool HasType(KeyPath const& path) const = 0;
    // The type at `path`; implementations fail when HasType is false.
    virtual Type const* GetType(KeyPath const& path) const = 0;
    virtual bool IsKeyMap(KeyPath const& path) const = 0;
};

}  // namespace qel::core
