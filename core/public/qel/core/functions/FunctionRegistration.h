#pragma once

// Typed registration: a key is checked against the element types of the
// functor registered under it, then the functor's factory goes in type-erased.
// Where a C++ type has exactly one type in the system the key's types follow
// from the template arguments; QelDateTime (Date and DateTime) and
// std::shared_ptr<StoreValue> (the any type, null) are given explicitly.

#include <memory>
#include <vector>

#include "qel/core/functions/FunctionRegistry.h"
#include "qel/core/functions/Functors.h"
#include "qel/core/types/Type.h"

namespace qel::core {

template <class T>
Type const* FunctionElementType();
template <>
inline Type const* FunctionElementType<bool>() {
    return BoolType::Get();
}
template <>
inline Type const* FunctionElementType<int>() {
    return IntType::Get32();
}
template <>
inline Type const* FunctionElementType<long long>() {
    return IntType::Get64();
}
template <>
inline Type const* FunctionElementType<float>() {
    return RealType::Get32();
}
template <>
inline Type const* FunctionElementType<double>() {
    return RealType::Get64();
}
template <>
inline Type const* FunctionElementType<RIndirectString>() {
    return StringType::Get();
}
template <>
inline Type const* FunctionElementType<QelColor>() {
    return ColorType::Get();
}
// The any type.
template <>
inline Type const* FunctionElementType<std::shared_ptr<StoreValue>>() {
    return nullptr;
}

template <class F>
ErasedFunction EraseFunction(F* f) {
    return reinterpret_cast<ErasedFunction>(f);
}

// ---------------------------------------------------------------------------
// Unary functions. Types default to those of the element types; QelDateTime
// and the any type need them given.

template <class I, class O, O (*Function)(typename TypeTraits<I>::ArgType)>
void RegisterUnaryFunction(FunctionRegistry& registry, char16_t const* name,
                           Type const* input = FunctionElementType<I>(),
                           Type const* output = FunctionElementType<O>()) {
    RegistryOfUnaryFunctions& unary = registry.GetMutableUnaryFuncs();
    FunctionKey key(RInternString(name), input);
    unary.ValidateInputTypes<I>(key);
    unary.ValidateOutputType<O>(key, output);
    unary.Register(std::move(key), output, RegistryOfUnaryFunctions::Function,
                   EraseFunction(&UnaryFunctorFactory<I, O, Function>));
}

template <class I, class O,
          std::pair<O, SpecialKind> (*Function)(typename TypeTraits<I>::ArgType, SpecialKind)>
void RegisterUnarySpecialFunction(FunctionRegistry& registry, char16_t const* name,
                                  Type const* input = FunctionElementType<I>(),
                                  Type const* output = FunctionElementType<O>()) {
    RegistryOfUnaryFunctions& unary = registry.GetMutableUnaryFuncs();
    FunctionKey key(RInternString(name), input);
    unary.ValidateInputTypes<I>(key);
    unary.ValidateOutputType<O>(key, output);
    unary.Register(std::move(key), output, RegistryOfUnaryFunctions::SpecialFunction,
                   EraseFunction(&UnarySpecialFunctorFactory<I, O, Function>));
}

// A creator: F is built from the creator input values when the functor is
// made. F's call operator takes (I) for the plain slot and (I, SpecialKind)
// for the special one.
template <class I, class O, class F>
void RegisterUnaryCreator(FunctionRegistry& registry, char16_t const* name, Type const* input,
                          Type const* output, TypeRefVec<VariableTypeRef> creatorInputs,
                          bool isStateful = false) {
    RegistryOfUnaryFunctions& unary = registry.GetMutableUnaryFuncs();
    FunctionKey key(RInternString(name), input);
    unary.ValidateInputTypes<I>(key);
    unary.ValidateOutputType<O>(key, output);
    unary.Register(std::move(key), output, std::move(creatorInputs),
                   RegistryOfUnaryFunctions::Creator, isStateful,
                   EraseFunction(&UnaryFunctorCreatorFactory<I, O, F>));
}

template <class I, class O, class F>
void RegisterUnarySpecialCreator(FunctionRegistry& registry, char16_t const* name,
                                 Type const* input, Type const* output,
                                 TypeRefVec<VariableTypeRef> creatorInputs,
                                 bool isStateful = false) {
    RegistryOfUnaryFunctions& unary = registry.GetMutableUnaryFuncs();
    FunctionKey key(RInternString(name), input);
    unary.ValidateInputTypes<I>(key);
    unary.ValidateOutputType<O>(key, output);
    unary.Register(std::move(key), output, std::move(creatorInputs),
                   RegistryOfUnaryFunctions::SpecialCreator, isStateful,
                   EraseFunction(&UnarySpecialFunctorCreatorFactory<I, O, F>));
}

// ---------------------------------------------------------------------------
// Binary functions

template <class I1, class I2, class O,
          O (*Function)(typename TypeTraits<I1>::ArgType, typename TypeTraits<I2>::ArgType)>
void RegisterBinaryFunction(FunctionRegistry& registry, char16_t const* name, Type const* first,
                            Type const* second, Type const* output) {
    RegistryOfBinaryFunctions& binary = registry.GetMutableBinaryFuncs();
    FunctionKey key(RInternString(name), first, second, FunctionKey::ArgContainer::Individual);
    binary.ValidateInputTypes<I1, I2>(key);
    binary.ValidateOutputType<O>(key, output);
    binary.Register(std::move(key), output, RegistryOfBinaryFunctions::Function,
                    EraseFunction(&BinaryFunctorFactory<I1, I2, O, Function>));
}

template <class I1, class I2, class O,
          std::pair<O, SpecialKind> (*Function)(typename TypeTraits<I1>::ArgType, SpecialKind,
                                                typename TypeTraits<I2>::ArgType, SpecialKind)>
void RegisterBinarySpecialFunction(FunctionRegistry& registry, char16_t const* name,
                                   Type const* first, Type const* second, Type const* output) {
    RegistryOfBinaryFunctions& binary = registry.GetMutableBinaryFuncs();
    FunctionKey key(RInternString(name), first, second, FunctionKey::ArgContainer::Individual);
    binary.ValidateInputTypes<I1, I2>(key);
    binary.ValidateOutputType<O>(key, output);
    binary.Register(std::move(key), output, RegistryOfBinaryFunctions::SpecialFunction,
                    EraseFunction(&BinarySpecialFunctorFactory<I1, I2, O, Function>));
}

// The same with the types that follow from the element types.
template <class I1, class I2, class O,
          O (*Function)(typename TypeTraits<I1>::ArgType, typename TypeTraits<I2>::ArgType)>
void RegisterBinaryFunction(FunctionRegistry& registry, char16_t const* name) {
    RegisterBinaryFunction<I1, I2, O, Function>(registry, name, FunctionElementType<I1>(),
                                                FunctionElementType<I2>(),
                                                FunctionElementType<O>());
}

template <class I1, class I2, class O,
          std::pair<O, SpecialKind> (*Function)(typename TypeTraits<I1>::ArgType, SpecialKind,
                                                typename TypeTraits<I2>::ArgType, SpecialKind)>
void RegisterBinarySpecialFunction(FunctionRegistry& registry, char16_t const* name) {
    RegisterBinarySpecialFunction<I1, I2, O, Function>(registry, name, FunctionElementType<I1>(),
                                                       FunctionElementType<I2>(),
                                                       FunctionElementType<O>());
}

// ---------------------------------------------------------------------------
// Multinary functions

using MultinaryArguments = std::vector<std::shared_ptr<StoreValue>>;

template <class T>
void RegisterMultinaryFunction(FunctionRegistry& registry, char16_t const* name,
                               TypeRefVec<VariableTypeRef> const& inputs,
                               T (*function)(MultinaryArguments const&)) {
    registry.GetMutableMultinaryFuncs().Register(
        FunctionKey(RInternString(name), inputs, FunctionKey::ArgContainer::Vector),
        FunctionElementType<T>(), function);
}

}  // namespace qel::core
