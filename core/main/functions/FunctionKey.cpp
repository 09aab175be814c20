#include "qel/core/functions/FunctionKey.h"

#include <functional>

namespace qel::core {

namespace {

// The 64-bit fold of the keys' and infos' hashes.
void Fold(std::size_t& seed, std::size_t value) {
    seed ^= value + 0x9e3779b9 + (seed << 6) + (seed >> 2);
}

}  // namespace

FunctionKey::FunctionKey(RInternString const& name, TypeRefVec<VariableTypeRef> const& inputs,
                         ArgContainer container)
    : m_name(name), m_inputs(inputs), m_container(container) {}

FunctionKey::FunctionKey(RInternString const& name, VariableTypeRef const& input)
    : m_name(name), m_inputs{input}, m_container(ArgContainer::Individual) {}

FunctionKey::FunctionKey(RInternString const& name, VariableTypeRef const& first,
                         VariableTypeRef const& second, ArgContainer container)
    : m_name(name), m_inputs{first, second}, m_container(container) {}

FunctionKey FunctionKey::FromNonVariableInputs(RInternString const& name,
                                               std::vector<Type const*> const& inputs,
                                               ArgContainer container) {
    return FunctionKey(name, TypeRefVec<VariableTypeRef>(inputs.begin(), inputs.end()), container);
}

std::size_t FunctionKey::GetPotentialOverloadHash() const {
    std::size_t seed = 0;
    Fold(seed, std::hash<RInternString>()(m_name));
    Fold(seed, static_cast<std::size_t>(m_container));
    Fold(seed, m_inputs.size());
    return seed;
}

bool FunctionKey::IsPotentialOverloadCandidate(FunctionKey const& other) const {
    return m_name == other.m_name && m_container == other.m_container &&
           m_inputs.size() == other.m_inputs.size();
}

bool FunctionKey::AreKeysExactlyEqual(FunctionKey const& other) const {
    if (!IsPotentialOverloadCandidate(other))
        return false;
    for (std::size_t i = 0; i < m_inputs.size(); ++i) {
        if (m_inputs[i].GetBaseType() != other.m_inputs[i].GetBaseType())
            return false;
    }
    return true;
}

FunctionInfo::FunctionInfo(OptionalTypeRef const& output, bool isCreator, bool isStateful)
    : m_isCreator(isCreator), m_isStateful(isStateful), m_output(output) {}

FunctionInfo::FunctionInfo(TypeRefVec<VariableTypeRef>&& creatorInputs,
                           OptionalTypeRef const& output, bool isCreator, bool isStateful)
    : m_creatorInputs(std::move(creatorInputs)),
      m_isCreator(isCreator),
      m_isStateful(isStateful),
      m_output(output) {}

bool FunctionInfo::operator==(FunctionInfo const& other) const {
    if (m_output != other.m_output || m_creatorInputs.size() != other.m_creatorInputs.size())
        return false;
    for (std::size_t i = 0; i < m_creatorInputs.size(); ++i) {
        if (m_creatorInputs[i] != other.m_creatorInputs[i])
            return false;
    }
    return m_isCreator == other.m_isCreator;
}

std::size_t FunctionInfo::GetHashValue() const {
    std::size_t seed = static_cast<std::size_t>(m_isCreator) + 0x9e3779b9;
    for (VariableTypeRef const& input : m_creatorInputs)
        Fold(seed, std::hash<Type const*>()(input.Get()));
    Fold(seed, std::hash<Type const*>()(m_output.Get()));
    return seed;
}

}  // namespace qel::core
