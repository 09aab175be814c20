// The built-in functions of boxed values. Each takes the values of its
// inputs in one vector and returns one scalar; the comparisons are the
// fuzzy ones of StoreValue, which is what lets them compare values of
// differing numeric types.
//
// The division has no check of its own, unlike the column form: a real zero
// divisor gives an infinity. An integer zero divisor, which the machine
// cannot divide by, is refused with "divide by zero error " rather than
// bringing the process down.

#include <memory>
#include <vector>

#include "core/main/functions/Arithmetic.h"
#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionNames.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

using Values = MultinaryArguments;

StoreValue const& ValueAt(Values const& values, std::size_t index) {
    QEL_VALIDATE_NOT_NULL(values[index], QelError::NullIsNotAValidArgument);
    return *values[index];
}

// The two operands of a two-input function named `name`.
std::pair<StoreValue const*, StoreValue const*> TwoInputs(Values const& values,
                                                          char16_t const* name) {
    QEL_VALIDATE(values.size() == 2, QelError::ExpectedTwoInputsInTransformFunction,
                 TStringCore(name));
    return {&ValueAt(values, 0), &ValueAt(values, 1)};
}

StoreValue const& OneInput(Values const& values, char16_t const* name) {
    QEL_VALIDATE(values.size() == 1, QelError::NeedOneInput, TStringCore(name));
    return ValueAt(values, 0);
}

template <class T>
T Fetch(StoreValue const& value) {
    if constexpr (std::is_same_v<T, int>)
        return value.AsInt32();
    else if constexpr (std::is_same_v<T, long long>)
        return value.AsInt64();
    else if constexpr (std::is_same_v<T, float>)
        return value.AsReal32();
    else
        return value.AsReal64();
}

template <class T>
T Add(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::ADD);
    return arithmetic::Add(Fetch<T>(*a), Fetch<T>(*b));
}

template <class T>
T Subtract(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::SUBTRACT);
    return arithmetic::Subtract(Fetch<T>(*a), Fetch<T>(*b));
}

template <class T>
T Multiply(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::MULTIPLY);
    return arithmetic::Multiply(Fetch<T>(*a), Fetch<T>(*b));
}

template <class T>
T Divide(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::DIVIDE);
    T const divisor = Fetch<T>(*b);
    if constexpr (std::is_integral_v<T>)
        QEL_VALIDATE(divisor != 0, QelError::DivideByZeroError);
    return arithmetic::Divide(Fetch<T>(*a), divisor);
}

// The second input is not evaluated when the first is false.
bool And(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::AND);
    return a->AsBool() && b->AsBool();
}

template <class T>
T Min(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::MIN);
    return Fetch<T>(a->FuzzyIsLessThan(*b) ? *a : *b);
}

template <class T>
T Max(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::MAX);
    return Fetch<T>(a->FuzzyIsGreaterThan(*b) ? *a : *b);
}

bool EqualTo(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::EQUAL_TO);
    return a->FuzzyIsEqual(*b);
}

bool NotEqualTo(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::NOT_EQUAL_TO);
    return !a->FuzzyIsEqual(*b);
}

bool LessThan(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::LESS_THAN);
    return a->FuzzyIsLessThan(*b);
}

bool LessThanOrEqualTo(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::LESS_THAN_OR_EQUAL);
    return a->FuzzyIsLessThan(*b) || a->FuzzyIsEqual(*b);
}

bool GreaterThan(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::GREATER_THAN);
    return a->FuzzyIsGreaterThan(*b);
}

bool GreaterThanOrEqualTo(Values const& values) {
    auto const [a, b] = TwoInputs(values, FunctionNames::GREATER_THAN_OR_EQUAL);
    return a->FuzzyIsGreaterThan(*b) || a->FuzzyIsEqual(*b);
}

bool IsTrue(Values const& values) {
    return OneInput(values, FunctionNames::IS_TRUE).AsBool();
}

bool IsFalse(Values const& values) {
    return !OneInput(values, FunctionNames::IS_FALSE).AsBool();
}

TypeRefVec<VariableTypeRef> Pair(Type const* type) {
    return {type, type};
}

}  // namespace

void RegisterBuiltinSetValueMultiFunctions(FunctionRegistry& registry) {
    using namespace FunctionNames;
    Type const* const int32 = IntType::Get32();
    Type const* const int64 = IntType::Get64();
    Type const* const real32 = RealType::Get32();
    Type const* const real64 = RealType::Get64();

    RegisterMultinaryFunction(registry, ADD, Pair(int32), Add<int>);
    RegisterMultinaryFunction(registry, ADD, Pair(int64), Add<long long>);
    RegisterMultinaryFunction(registry, ADD, Pair(real32), Add<float>);
    RegisterMultinaryFunction(registry, ADD, Pair(real64), Add<double>);
    RegisterMultinaryFunction(registry, SUBTRACT, Pair(int32), Subtract<int>);
    RegisterMultinaryFunction(registry, SUBTRACT, Pair(int64), Subtract<long long>);
    RegisterMultinaryFunction(registry, SUBTRACT, Pair(real32), Subtract<float>);
    RegisterMultinaryFunction(registry, SUBTRACT, Pair(real64), Subtract<double>);
    RegisterMultinaryFunction(registry, MULTIPLY, Pair(int32), Multiply<int>);
    RegisterMultinaryFunction(registry, MULTIPLY, Pair(int64), Multiply<long long>);
    RegisterMultinaryFunction(registry, MULTIPLY, Pair(real64), Multiply<double>);
    RegisterMultinaryFunction(registry, DIVIDE, Pair(int32), Divide<int>);
    RegisterMultinaryFunction(registry, DIVIDE, Pair(int64), Divide<long long>);
    RegisterMultinaryFunction(registry, DIVIDE, Pair(real64), Divide<double>);
    RegisterMultinaryFunction(registry, AND, Pair(BoolType::Get()), And);
    RegisterMultinaryFunction(registry, MIN, Pair(int64), Min<long long>);
    RegisterMultinaryFunction(registry, MAX, Pair(int64), Max<long long>);
    RegisterMultinaryFunction(registry, MIN, Pair(real64), Min<double>);
    RegisterMultinaryFunction(registry, MAX, Pair(real64), Max<double>);

    TypeRefVec<VariableTypeRef> const any2{VariableTypeRef(), VariableTypeRef()};
    RegisterMultinaryFunction(registry, EQUAL_TO, any2, EqualTo);
    RegisterMultinaryFunction(registry, NOT_EQUAL_TO, any2, NotEqualTo);
    RegisterMultinaryFunction(registry, LESS_THAN, any2, LessThan);
    RegisterMultinaryFunction(registry, LESS_THAN_OR_EQUAL, any2, LessThanOrEqualTo);
    RegisterMultinaryFunction(registry, GREATER_THAN, any2, GreaterThan);
    RegisterMultinaryFunction(registry, GREATER_THAN_OR_EQUAL, any2, GreaterThanOrEqualTo);
    TypeRefVec<VariableTypeRef> const any1{VariableTypeRef()};
    RegisterMultinaryFunction(registry, IS_TRUE, any1, IsTrue);
    RegisterMultinaryFunction(registry, IS_FALSE, any1, IsFalse);
}

}  // namespace qel::core
