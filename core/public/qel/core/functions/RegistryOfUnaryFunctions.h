#pragma once

// The unary functions of a registry (FunctionRegistry): for each exact key of
// one input, a plain and a special functor factory, each optional.
//
// The first registration of a key fixes its output type, creator inputs and
// flags, and reports the key with its FunctionInfo to the owning registry;
// a second registration under the same key may only fill the other slot.

#include <functional>
#include <memory>

#include "qel/core/functions/FunctionRegistryMap.h"
#include "qel/core/functions/FunctionTypeCheck.h"
#include "qel/core/functions/RegisteredFunctions.h"

namespace qel::core {

class RegistryOfUnaryFunctions {
public:
    // Bit 0: the special slot. Bit 1: a creator, whose factory takes the
    // creator input values.
    enum FunctionType : unsigned char {
        Function = 0,
        SpecialFunction = 1,
        Creator = 2,
        SpecialCreator = 3,
    };

    explicit RegistryOfUnaryFunctions(FunctionInfoCallback callback);
    ~RegistryOfUnaryFunctions();

    void Register(RInternString const& name, VariableTypeRef const& input,
                  OptionalTypeRef const& output, FunctionType type, ErasedFunction f);
    void Register(FunctionKey&& key, OptionalTypeRef const& output, FunctionType type,
                  ErasedFunction f);
    void Register(FunctionKey&& key, OptionalTypeRef const& output,
                  TypeRefVec<VariableTypeRef>&& creatorInputs, FunctionType type, bool isStateful,
                  ErasedFunction f);

    // The key must have one input whose store type I holds (QelDateTime
    // holds Date and DateTime; std::shared_ptr<StoreValue> holds anything).
    template <class I>
    void ValidateInputTypes(FunctionKey const& key) const {
        detail::ValidateInputCount(key, 1);
        detail::ValidateInputType(key, 0, FunctionTypeCheck<I>::Accepted);
    }
    template <class O>
    void ValidateOutputType(FunctionKey const& key, OptionalTypeRef const& output) const {
        detail::ValidateOutputType(key, output, FunctionTypeCheck<O>::Accepted);
    }

    // The best overload for the key (FunctionRegistryMap::Resolve).
    RegisteredFunctions const& GetFunctions(FunctionKey const& key) const;
    FunctionRegistryMap<RegisteredFunctions> const& GetMap() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace qel::core
