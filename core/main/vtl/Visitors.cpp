#include "qel/core/vtl/Visitors.h"

#include <utility>

#include "qel/core/vtl/FunctionSpec.h"

namespace qel::core {

void Visitors::PreOrderVisit(TransformVisitor const& onTransform, KeyVisitor const& onOutput,
                             KeyVisitor const& onInput, TransformSpec const& transform,
                             bool recurse) {
    if (recurse)
        PreOrderVisit(onTransform, onOutput, onInput, transform.GetChildTransforms(), true);
    if (onTransform)
        onTransform(transform);
    if (onOutput) {
        for (auto const& output : transform.GetOutputs())
            onOutput(output);
    }
    if (onInput) {
        for (auto const& input : transform.GetInputs())
            onInput(input);
        if (auto const& function = transform.GetFunctionSpec()) {
            for (auto const& argument : function->GetFunctionInputs()) {
                if (argument.IsKey())
                    onInput(argument.GetKeyPath());
            }
        }
    }
}

void Visitors::PreOrderVisit(TransformVisitor const& onTransform, KeyVisitor const& onOutput,
                             KeyVisitor const& onInput,
                             std::vector<TransformSpec> const& transforms, bool recurse) {
    for (auto const& transform : transforms)
        PreOrderVisit(onTransform, onOutput, onInput, transform, recurse);
}

void Visitors::OverwriteKeys(KeyEditor const& onOutput, KeyEditor const& onInput,
                             TransformSpec& transform, bool recurse) {
    if (recurse)
        OverwriteKeys(onOutput, onInput, transform.GetChildTransforms(), true);
    if (onOutput) {
        for (auto& output : transform.GetOutputs())
            onOutput(output);
    }
    if (onInput) {
        for (auto& input : transform.GetInputs())
            onInput(input);
        auto& function = transform.GetFunctionSpec();
        if (function != nullptr) {
            auto arguments = function->GetFunctionInputs();
            for (auto& argument : arguments) {
                if (argument.IsKey())
                    onInput(argument.GetKeyPath());
            }
            function = FunctionSpec::Make(function->GetFunctionId(), std::move(arguments));
        }
    }
}

void Visitors::OverwriteKeys(KeyEditor const& onOutput, KeyEditor const& onInput,
                             std::vector<TransformSpec>& transforms, bool recurse) {
    for (auto& transform : transforms)
        OverwriteKeys(onOutput, onInput, transform, recurse);
}

TransformSpec Visitors::RewriteKeys(KeyRewriter const& rewriteOutput,
                                    KeyRewriter const& rewriteInput, TransformSpec const& transform,
                                    bool recurse) {
    if (transform.GetOperatorType() == OperatorType::NoOp)
        return transform;
    auto children =
        recurse ? RewriteKeys(rewriteOutput, rewriteInput, transform.GetChildTransforms(), true)
                : transform.GetChildTransforms();
    auto outputs = RewriteKeyPathVec(transform.GetOutputs(), rewriteOutput);
    auto inputs = RewriteKeyPathVec(transform.GetInputs(), rewriteInput);
    std::shared_ptr<FunctionSpec const> function;
    if (auto const& original = transform.GetFunctionSpec()) {
        auto arguments = original->GetFunctionInputs();
        for (auto& argument : arguments) {
            if (argument.IsKey())
                argument = ValueSpec(rewriteInput(argument.GetKeyPath()));
        }
        function = FunctionSpec::Make(original->GetFunctionId(), std::move(arguments));
    }
    return TransformSpec(transform.GetOperatorType(), inputs, outputs, function,
                         std::move(children), transform.GetValue());
}

std::vector<TransformSpec> Visitors::RewriteKeys(KeyRewriter const& rewriteOutput,
                                                 KeyRewriter const& rewriteInput,
                                                 std::vector<TransformSpec> const& transforms,
                                                 bool recurse) {
    std::vector<TransformSpec> result;
    result.reserve(transforms.size());
    for (auto const& transform : transforms)
        result.push_back(RewriteKeys(rewriteOutput, rewriteInput, transform, recurse));
    return result;
}

std::vector<KeyPath> Visitors::RewriteKeyPathVec(std::vector<KeyPath> const& paths,
                                                 KeyRewriter const& rewrite) {
    std::vector<KeyPath> result;
    result.reserve(paths.size());
    for (auto const& path : paths)
        result.push_back(rewrite(path));
    return result;
}

}  // namespace qel::core
