#pragma once

// TransformSpec: one transform of a VTL program, as the text gave it. An
// operator reads the input key paths of a data store, may carry a literal
// value and a function, and writes the output key paths; block-like
// operators own a list of child transforms. A program is a vector of them.
// Running a transform is not this library's business.
//
// A TransformSpec holds one pointer to its Impl. Copies are deep (the key
// and child vectors are copied; the literal and the function, both
// immutable, are shared); moves move the pointer and leave the source
// without an Impl, fit only for assignment or destruction.
//
// Constructors that take one key: an empty key is kept as given, except in
// the input-output form, where an empty key stands for no input or no
// output.

#include <memory>
#include <vector>

#include "qel/core/store/KeyPath.h"
#include "qel/core/utility/Base.h"
#include "qel/core/vtl/FunctionSpec.h"
#include "qel/core/vtl/OperatorType.h"

namespace qel::core {

class StoreValue;

class TransformSpec {
public:
    struct Impl;

    // Every field as given.
    TransformSpec(OperatorType operatorType, std::vector<KeyPath>&& inputs,
                  std::vector<KeyPath>&& outputs,
                  std::shared_ptr<FunctionSpec const> const& functionSpec,
                  std::vector<TransformSpec>&& childTransforms,
                  std::shared_ptr<StoreValue> const& value, TStringCore const& comment);
    // Takes `impl` over. A null pointer fails "spec must not be null".
    explicit TransformSpec(std::unique_ptr<Impl> impl);
    // One output; no children, no value.
    TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                  KeyPath const& output, std::shared_ptr<FunctionSpec const> const& functionSpec);
    // At most one input and one output: an empty key leaves its vector empty.
    TransformSpec(OperatorType operatorType, KeyPath const& input, KeyPath const& output,
                  std::shared_ptr<FunctionSpec const> const& functionSpec,
                  std::shared_ptr<StoreValue> const& value);
    // A named block: the value is the String `name`; no function.
    TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                  KeyPath const& output, std::vector<TransformSpec>&& childTransforms,
                  TStringCore const& name);
    // Children, no function, no value.
    TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                  KeyPath const& output, std::vector<TransformSpec>&& childTransforms);
    TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                  std::vector<KeyPath> const& outputs);
    // Everything but the comment.
    TransformSpec(OperatorType operatorType, std::vector<KeyPath> const& inputs,
                  std::vector<KeyPath> const& outputs,
                  std::shared_ptr<FunctionSpec const> const& functionSpec,
                  std::vector<TransformSpec>&& childTransforms,
                  std::shared_ptr<StoreValue> const& value);
    // A comment line: noOp with `comment`, everything else empty.
    explicit TransformSpec(TStringCore const& comment);

    TransformSpec(TransformSpec const& other);
    TransformSpec(TransformSpec&& other) noexcept;
    TransformSpec& operator=(TransformSpec const& other);
    TransformSpec& operator=(TransformSpec&& other) noexcept;
    ~TransformSpec();

    OperatorType GetOperatorType() const noexcept;
    std::vector<KeyPath> const& GetInputs() const noexcept;
    std::vector<KeyPath>& GetInputs() noexcept;
    std::vector<KeyPath> const& GetOutputs() const noexcept;
    std::vector<KeyPath>& GetOutputs() noexcept;
    // May be null.
    std::shared_ptr<FunctionSpec const> const& GetFunctionSpec() const noexcept;
    std::shared_ptr<FunctionSpec const>& GetFunctionSpec() noexcept;
    std::vector<TransformSpec> const& GetChildTransforms() const noexcept;
    std::vector<TransformSpec>& GetChildTransforms() noexcept;
    // The literal; may be null.
    std::shared_ptr<StoreValue> const& GetValue() const noexcept;
    std::shared_ptr<StoreValue>& GetValue() noexcept;
    // Empty but for noOp.
    TStringCore const& GetComment() const noexcept;
    TStringCore& GetComment() noexcept;

    // The inputs, then each key among the function's arguments, in order.
    // Duplicates stay.
    std::vector<KeyPath> CollectAllInputs() const;

private:
    std::unique_ptr<Impl> m_impl;
};

struct TransformSpec::Impl {
    OperatorType operatorType = OperatorType::NoOp;
    std::vector<KeyPath> inputs;
    std::vector<KeyPath> outputs;
    std::shared_ptr<FunctionSpec const> functionSpec;
    std::vector<TransformSpec> childTransforms;
    std::shared_ptr<StoreValue> value;
    TStringCore comment;
};

}  // namespace qel::core
