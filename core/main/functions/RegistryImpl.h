#pragma once

// What the unary and binary registries share: they differ only in the number
// of inputs of their keys, and so in one message.

#include <functional>
#include <utility>

#include "qel/core/functions/FunctionRegistryMap.h"
#include "qel/core/functions/FunctionTypeCheck.h"
#include "qel/core/functions/RegisteredFunctions.h"
#include "qel/core/utility/Validation.h"

namespace qel::core::detail {

struct FixedArityRegistry {
    FixedArityRegistry(std::size_t arity,
                       std::function<void(FunctionKey const&, FunctionInfo&&)> callback)
        : arity(arity), callback(std::move(callback)) {}

    // `type`: bit 0 selects the special slot, bit 1 makes a creator.
    void Register(FunctionKey&& key, OptionalTypeRef const& output,
                  TypeRefVec<VariableTypeRef>&& creatorInputs, unsigned type, bool isStateful,
                  ErasedFunction f) {
        ValidateInputCount(key, arity);
        QEL_VALIDATE(output.HasType(), QelError::TransformFunctionNeedsNonEmptyOutputType,
                     key.GetName().GetValue());
        bool const special = (type & 1u) != 0;
        bool const creator = (type & 2u) != 0;
        auto const [entry, added] = map.FindOrAddExactKey(
            FunctionKey(key), RegisteredFunctions(key.GetName(), output, creator, isStateful));
        if (added) {
            // The entry stays if the owner refuses the key.
            callback(key, FunctionInfo(std::move(creatorInputs), output, creator, isStateful));
        } else if (special) {
            QEL_VALIDATE(!entry->HasSpecialFunction(), QelError::SpecialFunctionAlreadyExistsAtKey,
                         key.GetName().GetValue());
        } else {
            QEL_VALIDATE(!entry->HasFunction(), QelError::FunctionAlreadyExistsAtKey,
                         key.GetName().GetValue());
        }
        if (special)
            entry->SetSpecialFunction(f);
        else
            entry->SetFunction(f);
    }

    std::size_t arity;
    std::function<void(FunctionKey const&, FunctionInfo&&)> callback;
    FunctionRegistryMap<RegisteredFunctions> map;
};

}  // namespace qel::core::detail
