#pragma once

// FunctionSpec: the function a transform applies, by name, with its
// arguments as ValueSpecs (keys and literals, in call order). A FunctionSpec
// is immutable once made and shared by pointer between copies of a
// transform, so code that rewrites a transform's keys builds a new one
// instead of editing it. Running the function is the business of the layer
// above; this library only carries the name and the arguments.
//
// The Make factories all return a FunctionSpecImpl. An argument that is a
// null value or an empty key path is refused as ValueSpec refuses it.

#include <memory>
#include <vector>

#include "qel/core/store/KeyPath.h"
#include "qel/core/types/RInternString.h"
#include "qel/core/vtl/ValueSpec.h"

namespace qel::core {

class ITypeLookup;
class StoreValue;
class Type;

class FunctionSpec {
public:
    FunctionSpec() = default;
    FunctionSpec(FunctionSpec const&) = delete;
    FunctionSpec& operator=(FunctionSpec const&) = delete;
    virtual ~FunctionSpec() = default;

    // The function's name, as VTL writes it ("isNull", "+").
    virtual RInternString const& GetFunctionId() const = 0;
    virtual std::vector<ValueSpec> const& GetFunctionInputs() const = 0;

    static std::shared_ptr<FunctionSpec> Make(RInternString const& name);
    // One literal argument.
    static std::shared_ptr<FunctionSpec> Make(RInternString const& name,
                                              std::shared_ptr<StoreValue> const& literal);
    static std::shared_ptr<FunctionSpec> Make(RInternString const& name, KeyPath const& input);
    static std::shared_ptr<FunctionSpec> Make(RInternString const& name, KeyPath const& input1,
                                              KeyPath const& input2);
    static std::shared_ptr<FunctionSpec> Make(RInternString const& name, KeyPath const& input1,
                                              KeyPath const& input2, KeyPath const& input3);
    static std::shared_ptr<FunctionSpec> Make(RInternString const& name, KeyPath const& input1,
                                              KeyPath const& input2, KeyPath const& input3,
                                              KeyPath const& input4);
    static std::shared_ptr<FunctionSpec> Make(RInternString const& name,
                                              std::vector<KeyPath> const& inputs);
    static std::shared_ptr<FunctionSpec> Make(RInternString const& name,
                                              std::vector<ValueSpec> const& inputs);
    static std::shared_ptr<FunctionSpec> Make(RInternString const& name,
                                              std::vector<ValueSpec>&& inputs);
};

// The one implementation: a name and the arguments.
class FunctionSpecImpl final : public FunctionSpec {
public:
    FunctionSpecImpl(RInternString const& name, std::vector<ValueSpec>&& inputs);

    RInternString const& GetFunctionId() const override { return m_name; }
    std::vector<ValueSpec> const& GetFunctionInputs() const override { return m_inputs; }

private:
    RInternString m_name;
    std::vector<ValueSpec> m_inputs;
};

// The type of each argument, in order: for a key, lookup.GetType of its path
// (failing as that does when the lookup does not know it); for a literal,
// the value's own type.
std::vector<Type const*> GetFunctionInputTypes(FunctionSpec const& function,
                                               ITypeLookup const& lookup);

}  // namespace qel::core
