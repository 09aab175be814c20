#pragma once

// The lower level of a registry: for one exact key, the function pointers
// from which functors are made. A key may hold a plain pointer and a special
// one (the form that sees each value's SpecialKind); the executing layer
// picks one per call. The pointers are stored type-erased and cast back by
// the caller according to the registry, the key and IsCreator():
//
//   unary   plain    std::unique_ptr<IUnaryFunctor<I, O>> (*)()
//   unary   special  std::unique_ptr<IUnarySpecialFunctor<I, O>> (*)()
//   unary   creator  the same two, taking
//                    std::vector<std::shared_ptr<StoreValue>> const&
//   binary  plain    std::unique_ptr<IBinaryFunctor<I1, I2, O>> (*)()
//   binary  special  std::unique_ptr<IBinarySpecialFunctor<I1, I2, O>> (*)()
//   multinary        T (*)(std::vector<std::shared_ptr<StoreValue>> const&)

#include <functional>

#include "qel/core/functions/FunctionKey.h"

namespace qel::core {

using ErasedFunction = void (*)();

// Called by a registry of one arity with each new key and its info; the
// owning FunctionRegistry keeps the info map.
using FunctionInfoCallback = std::function<void(FunctionKey const&, FunctionInfo&&)>;

class RegisteredFunctions {
public:
    RegisteredFunctions(RInternString const& name, OptionalTypeRef const& output, bool isCreator,
                        bool isStateful);
    RegisteredFunctions(RInternString&& name, OptionalTypeRef const& output, bool isCreator,
                        bool isStateful);

    bool IsCreator() const noexcept { return m_isCreator; }
    bool IsStateful() const noexcept { return m_isStateful; }
    RInternString const& GetFunctionName() const noexcept { return m_name; }
    OptionalTypeRef const& GetOutputType() const noexcept { return m_output; }

    bool HasFunction() const noexcept { return m_function != nullptr; }
    bool HasSpecialFunction() const noexcept { return m_specialFunction != nullptr; }
    ErasedFunction GetFunction() const noexcept { return m_function; }
    ErasedFunction GetSpecialFunction() const noexcept { return m_specialFunction; }
    // Fail "transform function was null" for a null pointer.
    void SetFunction(ErasedFunction f);
    void SetSpecialFunction(ErasedFunction f);

private:
    RInternString m_name;
    OptionalTypeRef m_output;
    bool m_isCreator;
    bool m_isStateful;
    ErasedFunction m_function = nullptr;
    ErasedFunction m_specialFunction = nullptr;
};

}  // namespace qel::core
