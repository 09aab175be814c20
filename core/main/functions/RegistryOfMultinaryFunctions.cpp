#include "qel/core/functions/RegistryOfMultinaryFunctions.h"

#include <utility>

#include "qel/core/utility/Validation.h"

namespace qel::core {

struct RegistryOfMultinaryFunctions::Impl {
    FunctionRegistryMap<RegisteredFunctions> map;
    FunctionInfoCallback callback;
};

RegistryOfMultinaryFunctions::RegistryOfMultinaryFunctions(FunctionInfoCallback callback)
    : m_impl(std::make_unique<Impl>(Impl{{}, std::move(callback)})) {}

RegistryOfMultinaryFunctions::~RegistryOfMultinaryFunctions() = default;

void RegistryOfMultinaryFunctions::Register(FunctionKey&& key, OptionalTypeRef const& output,
                                            ErasedFunction f) {
    QEL_VALIDATE(output.HasType(), QelError::TransformFunctionNeedsNonEmptyOutputType,
                 key.GetName().GetValue());
    key.SetInputArgContainer(FunctionKey::ArgContainer::Vector);
    // The owner refuses a repeated key before anything is added here.
    m_impl->callback(FunctionKey(key), FunctionInfo(output, false, false));
    RegisteredFunctions functions(key.GetName(), output, false, true);
    functions.SetFunction(f);
    m_impl->map.FindOrAddExactKey(std::move(key), std::move(functions));
}

RegisteredFunctions const& RegistryOfMultinaryFunctions::GetFunctions(
    FunctionKey const& key) const {
    return m_impl->map.Resolve(key);
}

FunctionRegistryMap<RegisteredFunctions> const& RegistryOfMultinaryFunctions::GetMap() const {
    return m_impl->map;
}

}  // namespace qel::core
