#include "qel/core/functions/RegistryOfBinaryFunctions.h"

#include <utility>

#include "core/main/functions/RegistryImpl.h"

namespace qel::core {

struct RegistryOfBinaryFunctions::Impl : detail::FixedArityRegistry {
    using FixedArityRegistry::FixedArityRegistry;
};

RegistryOfBinaryFunctions::RegistryOfBinaryFunctions(FunctionInfoCallback callback)
    : m_impl(std::make_unique<Impl>(2, std::move(callback))) {}

RegistryOfBinaryFunctions::~RegistryOfBinaryFunctions() = default;

void RegistryOfBinaryFunctions::Register(RInternString const& name, VariableTypeRef const& first,
                                         VariableTypeRef const& second,
                                         OptionalTypeRef const& output, FunctionType type,
                                         ErasedFunction f) {
    m_impl->Register(FunctionKey(name, first, second, FunctionKey::ArgContainer::Individual),
                     output, {}, type, false, f);
}

void RegistryOfBinaryFunctions::Register(FunctionKey&& key, OptionalTypeRef const& output,
                                         FunctionType type, ErasedFunction f) {
    m_impl->Register(std::move(key), output, {}, type, false, f);
}

void RegistryOfBinaryFunctions::Register(FunctionKey&& key, OptionalTypeRef const& output,
                                         TypeRefVec<VariableTypeRef>&& creatorInputs,
                                         FunctionType type, bool isStateful, ErasedFunction f) {
    m_impl->Register(std::move(key), output, std::move(creatorInputs), type, isStateful, f);
}

RegisteredFunctions const& RegistryOfBinaryFunctions::GetFunctions(FunctionKey const& key) const {
    return m_impl->map.Resolve(key);
}

FunctionRegistryMap<RegisteredFunctions> const& RegistryOfBinaryFunctions::GetMap() const {
    return m_impl->map;
}

}  // namespace qel::core
