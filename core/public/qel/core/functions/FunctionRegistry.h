#pragma once

// The catalogue of the transform functions a runtime can call, on two
// levels: what is known of a function whatever its arity (FunctionInfo:
// output type, creator, stateful), and, per arity, the factories from which
// functors are made (RegisteredFunctions).
//
// A registry is made by Make(), filled once on one thread (by
// RegisterAllBuiltinFunctions and any functions of the host, through the
// GetMutable... accessors) and read-only afterwards, from any thread.
// Nothing removes an entry.

#include <memory>

#include "qel/core/functions/FunctionKey.h"
#include "qel/core/functions/RegistryOfBinaryFunctions.h"
#include "qel/core/functions/RegistryOfMultinaryFunctions.h"
#include "qel/core/functions/RegistryOfUnaryFunctions.h"

namespace qel::core {

class IFunctionLookup {
public:
    virtual ~IFunctionLookup() = default;
    virtual RegistryOfUnaryFunctions const& GetUnaryFuncs() const = 0;
    virtual RegistryOfBinaryFunctions const& GetBinaryFuncs() const = 0;
    virtual RegistryOfMultinaryFunctions const& GetMultinaryFuncs() const = 0;
    // Whether the key resolves; never fails.
    virtual bool HasFunctionInfo(FunctionKey const& key) const = 0;
    // The info of the best overload; fails as FunctionRegistryMap::Resolve.
    virtual FunctionInfo const& GetFunctionInfo(FunctionKey const& key) const = 0;
};

class FunctionRegistry : public IFunctionLookup {
public:
    // Keeps the info of a new key; a key that is there already fails
    // "function already exists at key: ".
    virtual void Register(FunctionKey const& key, FunctionInfo&& info) = 0;
    virtual RegistryOfUnaryFunctions& GetMutableUnaryFuncs() = 0;
    virtual RegistryOfBinaryFunctions& GetMutableBinaryFuncs() = 0;
    virtual RegistryOfMultinaryFunctions& GetMutableMultinaryFuncs() = 0;
    // Every key of the info map, in the order of registration.
    virtual FunctionRegistryMap<FunctionInfo> const& GetFunctionInfos() const = 0;

    // An empty registry.
    static std::unique_ptr<FunctionRegistry> Make();
};

}  // namespace qel::core
