#include "qel/core/functions/RegistryOfUnaryFunctions.h"

#include <utility>

#include "core/main/functions/RegistryImpl.h"

namespace qel::core {

struct RegistryOfUnaryFunctions::Impl : detail::FixedArityRegistry {
    using FixedArityRegistry::FixedArityRegistry;
};

RegistryOfUnaryFunctions::RegistryOfUnaryFunctions(FunctionInfoCallback callback)
    : m_impl(std::make_unique<Impl>(1, std::move(callback))) {}

RegistryOfUnaryFunctions::~RegistryOfUnaryFunctions() = default;

void RegistryOfUnaryFunctions::Register(RInternString const& name, VariableTypeRef const& input,
                                        OptionalTypeRef const& output, FunctionType type,
                                        ErasedFunction f) {
    m_impl->Register(FunctionKey(name, input), output, {}, type, false, f);
}

void RegistryOfUnaryFunctions::Register(FunctionKey&& key, OptionalTypeRef const& output,
                                        FunctionType type, ErasedFunction f) {
    m_impl->Register(std::move(key), output, {}, type, false, f);
}

void RegistryOfUnaryFunctions::Register(FunctionKey&& key, OptionalTypeRef const& output,
                                        TypeRefVec<VariableTypeRef>&& creatorInputs,
                                        FunctionType type, bool isStateful, ErasedFunction f) {
    m_impl->Register(std::move(key), output, std::move(creatorInputs), type, isStateful, f);
}

RegisteredFunctions const& RegistryOfUnaryFunctions::GetFunctions(FunctionKey const& key) const {
    return m_impl->map.Resolve(key);
}

FunctionRegistryMap<RegisteredFunctions> const& RegistryOfUnaryFunctions::GetMap() const {
    return m_impl->map;
}

}  // namespace qel::core
