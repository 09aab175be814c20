#pragma once

// The multinary functions of a registry (FunctionRegistry): functions on
// boxed values, not on columns. Each takes the values of its inputs in one
// vector and returns one scalar, so their keys are always of the Vector
// form, and a key holds one plain function.
//
// The info reported to the owning registry says not stateful, while the
// entry here says stateful: readers of either level get what they always
// got.

#include <memory>
#include <vector>

#include "qel/core/functions/FunctionRegistryMap.h"
#include "qel/core/functions/FunctionTypeCheck.h"
#include "qel/core/functions/RegisteredFunctions.h"

namespace qel::core {

class StoreValue;

class RegistryOfMultinaryFunctions {
public:
    explicit RegistryOfMultinaryFunctions(FunctionInfoCallback callback);
    ~RegistryOfMultinaryFunctions();

    // Makes the key a Vector key (the caller's key is changed), reports it to
    // the owner, which refuses a repeated key, then stores f.
    void Register(FunctionKey&& key, OptionalTypeRef const& output, ErasedFunction f);
    // For T = int, long long, float, double, bool: the output's store type
    // must be the one of T.
    template <class T>
    void Register(FunctionKey&& key, OptionalTypeRef const& output,
                  T (*f)(std::vector<std::shared_ptr<StoreValue>> const&)) {
        static_assert(std::is_arithmetic_v<T>, "multinary functions return a number or a bool");
        detail::ValidateOutputType(key, output, FunctionTypeCheck<T>::Accepted);
        Register(std::move(key), output, reinterpret_cast<ErasedFunction>(f));
    }

    RegisteredFunctions const& GetFunctions(FunctionKey const& key) const;
    FunctionRegistryMap<RegisteredFunctions> const& GetMap() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace qel::core
