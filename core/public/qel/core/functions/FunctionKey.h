#pragma once

// The address of a transform function: its name, the types of its inputs and
// how the inputs are passed; and what is known of a function whatever its
// arity (FunctionInfo). Types are interned, so every handle here is one
// pointer, and two handles are equal exactly when their types are.
//
// An input of the any type is the null handle. Resolution (FunctionRegistryMap)
// knows no conversions: an input either has the registered type, up to the
// base type, or the registered input takes any type.

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qel/core/types/RInternString.h"
#include "qel/core/types/Type.h"

namespace qel::core {

// A non-owning handle on an interned type; the null handle is allowed.
class TypeRef {
public:
    TypeRef() = default;
    TypeRef(Type const* type) : m_type(type) {}

    Type const* Get() const noexcept { return m_type; }
    Type const* operator->() const noexcept { return m_type; }
    operator Type const*() const noexcept { return m_type; }

    // The handle on the base type; null stays null.
    TypeRef GetBaseType() const {
        return m_type == nullptr ? TypeRef() : TypeRef(m_type->GetBaseType());
    }
    std::size_t GetHashValue() const noexcept {
        return m_type == nullptr ? 0 : m_type->GetHashValue();
    }

    bool operator==(TypeRef const& other) const noexcept { return m_type == other.m_type; }
    bool operator!=(TypeRef const& other) const noexcept { return m_type != other.m_type; }
    bool operator==(Type const* other) const noexcept { return m_type == other; }
    bool operator!=(Type const* other) const noexcept { return m_type != other; }

private:
    Type const* m_type = nullptr;
};

// The type of a function input; null is the any type.
class VariableTypeRef : public TypeRef {
public:
    VariableTypeRef() = default;
    VariableTypeRef(Type const* type) : TypeRef(type) {}

    bool IsAnyType() const noexcept { return Get() == nullptr; }
};

// A type that may be absent, as a function's output.
class OptionalTypeRef : public TypeRef {
public:
    OptionalTypeRef() = default;
    OptionalTypeRef(Type const* type) : TypeRef(type) {}

    bool HasType() const noexcept { return Get() != nullptr; }
};

// Six handles in place: the keys of the library never need a heap block.
template <class T>
class TypeRefVec : public boost::container::small_vector<T, 6> {
    using Base = boost::container::small_vector<T, 6>;

public:
    TypeRefVec() = default;
    TypeRefVec(std::initializer_list<T> types) : Base(types) {}
    // Wraps each Type const* of the range.
    template <class It>
    TypeRefVec(It first, It last) {
        for (; first != last; ++first)
            this->push_back(T(static_cast<Type const*>(*first)));
    }
};

class FunctionKey {
public:
    enum class ArgContainer : std::uint8_t {
        // Each input is an argument of its own.
        Individual = 0,
        // The inputs arrive packed in one vector, as for every multinary
        // function.
        Vector = 1,
    };

    FunctionKey(RInternString const& name, TypeRefVec<VariableTypeRef> const& inputs,
                ArgContainer container);
    // One input, Individual.
    FunctionKey(RInternString const& name, VariableTypeRef const& input);
    FunctionKey(RInternString const& name, VariableTypeRef const& first,
                VariableTypeRef const& second, ArgContainer container);
    FunctionKey(FunctionKey const&) = default;
    FunctionKey(FunctionKey&&) noexcept = default;
    FunctionKey& operator=(FunctionKey const&) = default;
    FunctionKey& operator=(FunctionKey&&) noexcept = default;
    ~FunctionKey() = default;

    // The key of a concrete call.
    static FunctionKey FromNonVariableInputs(RInternString const& name,
                                             std::vector<Type const*> const& inputs,
                                             ArgContainer container);

    RInternString const& GetName() const noexcept { return m_name; }
    TypeRefVec<VariableTypeRef> const& GetInputTypes() const noexcept { return m_inputs; }
    ArgContainer GetInputArgContainer() const noexcept { return m_container; }
    void SetInputArgContainer(ArgContainer container) noexcept { m_container = container; }

    // Name, container and input count only: the overloads of one name and
    // arity share a hash, and are told apart by walking them.
    std::size_t GetPotentialOverloadHash() const;
    // Same name, container and input count.
    bool IsPotentialOverloadCandidate(FunctionKey const& other) const;
    // The above and, position by position, the same base type (two any
    // types are equal; an any type never equals a typed input).
    bool AreKeysExactlyEqual(FunctionKey const& other) const;

private:
    RInternString m_name;
    TypeRefVec<VariableTypeRef> m_inputs;
    ArgContainer m_container;
};

// What is known of a function whatever its arity. Is-stateful takes part in
// neither equality nor hashing.
class FunctionInfo {
public:
    FunctionInfo(OptionalTypeRef const& output, bool isCreator, bool isStateful);
    FunctionInfo(TypeRefVec<VariableTypeRef>&& creatorInputs, OptionalTypeRef const& output,
                 bool isCreator, bool isStateful);
    FunctionInfo(FunctionInfo const&) = default;
    FunctionInfo(FunctionInfo&&) noexcept = default;
    FunctionInfo& operator=(FunctionInfo const&) = default;
    FunctionInfo& operator=(FunctionInfo&&) noexcept = default;
    ~FunctionInfo() = default;

    OptionalTypeRef const& GetOutputType() const noexcept { return m_output; }
    bool IsCreator() const noexcept { return m_isCreator; }
    bool IsStateful() const noexcept { return m_isStateful; }
    // The types of the values a creator takes when its functor is made.
    TypeRefVec<VariableTypeRef> const& GetCreatorInputTypes() const noexcept {
        return m_creatorInputs;
    }

    bool operator==(FunctionInfo const& other) const;
    bool operator!=(FunctionInfo const& other) const { return !(*this == other); }
    std::size_t GetHashValue() const;

private:
    TypeRefVec<VariableTypeRef> m_creatorInputs;
    bool m_isCreator;
    bool m_isStateful;
    OptionalTypeRef m_output;
};

}  // namespace qel::core
