#include "qel/core/vtl/FunctionSpec.h"

#include <initializer_list>
#include <utility>

#include "qel/core/store/StoreValue.h"
#include "qel/core/vtl/ITypeLookup.h"

namespace qel::core {

namespace {

std::vector<ValueSpec> KeysToValueSpecs(std::initializer_list<KeyPath const*> keys) {
    std::vector<ValueSpec> inputs;
    inputs.reserve(keys.size());
    for (auto const* key : keys)
        inputs.emplace_back(*key);
    return inputs;
}

}  // namespace

FunctionSpecImpl::FunctionSpecImpl(RInternString const& name, std::vector<ValueSpec>&& inputs)
    : m_name(name), m_inputs(std::move(inputs)) {}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name) {
    return std::make_shared<FunctionSpecImpl>(name, std::vector<ValueSpec>());
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name,
                                                 std::shared_ptr<StoreValue> const& literal) {
    std::vector<ValueSpec> inputs;
    inputs.emplace_back(literal);
    return std::make_shared<FunctionSpecImpl>(name, std::move(inputs));
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name, KeyPath const& input) {
    return std::make_shared<FunctionSpecImpl>(name, KeysToValueSpecs({&input}));
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name, KeyPath const& input1,
                                                 KeyPath const& input2) {
    return std::make_shared<FunctionSpecImpl>(name, KeysToValueSpecs({&input1, &input2}));
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name, KeyPath const& input1,
                                                 KeyPath const& input2, KeyPath const& input3) {
    return std::make_shared<FunctionSpecImpl>(name, KeysToValueSpecs({&input1, &input2, &input3}));
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name, KeyPath const& input1,
                                                 KeyPath const& input2, KeyPath const& input3,
                                                 KeyPath const& input4) {
    return std::make_shared<FunctionSpecImpl>(
        name, KeysToValueSpecs({&input1, &input2, &input3, &input4}));
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name,
                                                 std::vector<KeyPath> const& inputs) {
    std::vector<ValueSpec> specs;
    specs.reserve(inputs.size());
    for (auto const& input : inputs)
        specs.emplace_back(input);
    return std::make_shared<FunctionSpecImpl>(name, std::move(specs));
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name,
                                                 std::vector<ValueSpec> const& inputs) {
    return std::make_shared<FunctionSpecImpl>(name, std::vector<ValueSpec>(inputs));
}

std::shared_ptr<FunctionSpec> FunctionSpec::Make(RInternString const& name,
                                                 std::vector<ValueSpec>&& inputs) {
    return std::make_shared<FunctionSpecImpl>(name, std::move(inputs));
}

std::vector<Type const*> GetFunctionInputTypes(FunctionSpec const& function,
                                               ITypeLookup const& lookup) {
    auto const& inputs = function.GetFunctionInputs();
    std::vector<Type const*> types;
    types.reserve(inputs.size());
    for (auto const& input : inputs)
        types.push_back(input.IsKey() ? lookup.GetType(input.GetKeyPath())
                                      : input.GetValue()->GetType());
    return types;
}

}  // namespace qel::core
