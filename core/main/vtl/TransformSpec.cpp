#include "qel/core/vtl/TransformSpec.h"

#include <utility>

#include "qel/core/store/Factory.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

std::unique_ptr<TransformSpec::Impl> MakeImpl(OperatorType operatorType) {
    auto impl = std::make_unique<TransformSpec::Impl>();
    impl->operatorType = operatorType;
    return impl;
}

}  // namespace

TransformSpec::TransformSpec(OperatorType operatorType, std::vector<KeyPath>&& inputs,
                             std::vector<KeyPath>&& outputs,
                             std::shared_ptr<FunctionSpec const> const& functionSpec,
                             std::vector<TransformSpec>&& childTransforms,
                             std::shared_ptr<StoreValue> const& value, TStringCore const& comment)
    : m_impl(MakeImpl(operatorType)) {
    m_impl->inputs = std::move(inputs);
    m_impl->outputs = std::move(outputs);
    m_impl->functionSpec = functionSpec;
    m_impl->childTransforms = std::move(childTransforms);
    m_impl->value = value;
    m_impl->comment = comment;
}

TransformSpec::TransformSpec(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {
    QEL_VALIDATE_NOT_NULL(m_impl, QelError::SpecMustNotBeNull);
}

TransformSpec::TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                             KeyPath const& output,
                             std::shared_ptr<FunctionSpec const> const& functionSpec)
    : m_impl(MakeImpl(operatorType)) {
    m_impl->inputs = inputs;
    m_impl->outputs.push_back(output);
    m_impl->functionSpec = functionSpec;
}

TransformSpec::TransformSpec(OperatorType operatorType, KeyPath const& input, KeyPath const& output,
                             std::shared_ptr<FunctionSpec const> const& functionSpec,
                             std::shared_ptr<StoreValue> const& value)
    : m_impl(MakeImpl(operatorType)) {
    if (!input.IsEmpty())
        m_impl->inputs.push_back(input);
    if (!output.IsEmpty())
        m_impl->outputs.push_back(output);
    m_impl->functionSpec = functionSpec;
    m_impl->value = value;
}

TransformSpec::TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                             KeyPath const& output, std::vector<TransformSpec>&& childTransforms,
                             TStringCore const& name)
    : m_impl(MakeImpl(operatorType)) {
    m_impl->inputs = inputs;
    m_impl->outputs.push_back(output);
    m_impl->childTransforms = std::move(childTransforms);
    m_impl->value = factory::MakeString(name);
}

TransformSpec::TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                             KeyPath const& output, std::vector<TransformSpec>&& childTransforms)
    : m_impl(MakeImpl(operatorType)) {
    m_impl->inputs = inputs;
    m_impl->outputs.push_back(output);
    m_impl->childTransforms = std::move(childTransforms);
}

TransformSpec::TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                             std::vector<KeyPath> const& outputs)
    : m_impl(MakeImpl(operatorType)) {
    m_impl->inputs = inputs;
    m_impl->outputs = outputs;
}

TransformSpec::TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                             std::vector<KeyPath> const& outputs,
                             std::shared_ptr<FunctionSpec const> const& functionSpec,
                             std::vector<TransformSpec>&& childTransforms,
                             std::shared_ptr<StoreValue> const& value)
    : m_impl(MakeImpl(operatorType)) {
    m_impl->inputs = inputs;
    m_impl->outputs = outputs;
    m_impl->functionSpec = functionSpec;
    m_impl->childTransforms = std::move(childTransforms);
    m_impl->value = value;
}

TransformSpec::TransformSpec(TStringCore const& comment) : m_impl(MakeImpl(OperatorType::NoOp)) {
    m_impl->comment = comment;
}

TransformSpec::TransformSpec(TransformSpec const& other)
    : m_impl(other.m_impl ? std::make_unique<Impl>(*other.m_impl) : nullptr) {}

TransformSpec::TransformSpec(TransformSpec&& other) noexcept = default;

TransformSpec& TransformSpec::operator=(TransformSpec const& other) {
    if (this != &other)
        m_impl = other.m_impl ? std::make_unique<Impl>(*other.m_impl) : nullptr;
    return *this;
}

TransformSpec& TransformSpec::operator=(TransformSpec&& other) noexcept = default;

TransformSpec::~TransformSpec() = default;

OperatorType TransformSpec::GetOperatorType() const noexcept {
    return m_impl->operatorType;
}
std::vector<KeyPath> const& TransformSpec::GetInputs() const noexcept {
    return m_impl->inputs;
}
std::vector<KeyPath>& TransformSpec::GetInputs() noexcept {
    return m_impl->inputs;
}
std::vector<KeyPath> const& TransformSpec::GetOutputs() const noexcept {
    return m_impl->outputs;
}
std::vector<KeyPath>& TransformSpec::GetOutputs() noexcept {
    return m_impl->outputs;
}
std::shared_ptr<FunctionSpec const> const& TransformSpec::GetFunctionSpec() const noexcept {
    return m_impl->functionSpec;
}
std::shared_ptr<FunctionSpec const>& TransformSpec::GetFunctionSpec() noexcept {
    return m_impl->functionSpec;
}
std::vector<TransformSpec> const& TransformSpec::GetChildTransforms() const noexcept {
    return m_impl->childTransforms;
}
std::vector<TransformSpec>& TransformSpec::GetChildTransforms() noexcept {
    return m_impl->childTransforms;
}
std::shared_ptr<StoreValue> const& TransformSpec::GetValue() const noexcept {
    return m_impl->value;
}
std::shared_ptr<StoreValue>& TransformSpec::GetValue() noexcept {
    return m_impl->value;
}
TStringCore const& TransformSpec::GetComment() const noexcept {
    return m_impl->comment;
}
TStringCore& TransformSpec::GetComment() noexcept {
    return m_impl->comment;
}

std::vector<KeyPath> TransformSpec::CollectAllInputs() const {
    std::vector<KeyPath> all = m_impl->inputs;
    if (m_impl->functionSpec != nullptr) {
        for (auto const& input : m_impl->functionSpec->GetFunctionInputs()) {
            if (input.IsKey())
                all.push_back(input.GetKeyPath());
        }
    }
    return all;
}

}  // namespace qel::core
