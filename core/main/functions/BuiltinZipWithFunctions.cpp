// The element-wise arithmetic of the built-in functions, on two columns of
// one type. Unlike the special folds, the special forms here do not skip: a
// special on either side gives Null with the value 0. Division refuses a
// zero divisor for reals too, rather than produce an infinity; the special
// form looks at the kinds first.

#include <utility>

#include "core/main/functions/Arithmetic.h"
#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionNames.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

template <class T>
using Result = std::pair<T, SpecialKind>;

template <class T>
T Add(T a, T b) {
    return arithmetic::Add(a, b);
}
template <class T>
T Subtract(T a, T b) {
    return arithmetic::Subtract(a, b);
}
template <class T>
T Multiply(T a, T b) {
    return arithmetic::Multiply(a, b);
}
template <class T>
T Divide(T a, T b) {
    QEL_VALIDATE(b != 0, QelError::DivideByZeroError);
    return arithmetic::Divide(a, b);
}
template <class T>
T BitOr(T a, T b) {
    return a | b;
}

template <class T, T (*Operation)(T, T)>
Result<T> NullOnSpecial(T a, SpecialKind ka, T b, SpecialKind kb) {
    if (ka != SpecialKind::Normal || kb != SpecialKind::Normal)
        return {T{}, SpecialKind::Null};
    return {Operation(a, b), SpecialKind::Normal};
}

template <class T>
Result<T> AddSpecial(T a, SpecialKind ka, T b, SpecialKind kb) {
    return NullOnSpecial<T, Add<T>>(a, ka, b, kb);
}
template <class T>
Result<T> SubtractSpecial(T a, SpecialKind ka, T b, SpecialKind kb) {
    return NullOnSpecial<T, Subtract<T>>(a, ka, b, kb);
}
template <class T>
Result<T> MultiplySpecial(T a, SpecialKind ka, T b, SpecialKind kb) {
    return NullOnSpecial<T, Multiply<T>>(a, ka, b, kb);
}
template <class T>
Result<T> DivideSpecial(T a, SpecialKind ka, T b, SpecialKind kb) {
    return NullOnSpecial<T, Divide<T>>(a, ka, b, kb);
}

}  // namespace

// Plain for the four numbers, then special for the four, in the order
// Int32, Int64, Real32, Real64.
#define QEL_DETAIL_BOTH_FORMS(name, Plain, Special)                                              \
    RegisterBinaryFunction<int, int, int, Plain<int>>(registry, name);                           \
    RegisterBinaryFunction<long long, long long, long long, Plain<long long>>(registry, name);   \
    RegisterBinaryFunction<float, float, float, Plain<float>>(registry, name);                   \
    RegisterBinaryFunction<double, double, double, Plain<double>>(registry, name);               \
    RegisterBinarySpecialFunction<int, int, int, Special<int>>(registry, name);                  \
    RegisterBinarySpecialFunction<long long, long long, long long, Special<long long>>(registry, \
                                                                                       name);    \
    RegisterBinarySpecialFunction<float, float, float, Special<float>>(registry, name);          \
    RegisterBinarySpecialFunction<double, double, double, Special<double>>(registry, name)

void RegisterBuiltinZipWithFunctions(FunctionRegistry& registry) {
    using namespace FunctionNames;
    QEL_DETAIL_BOTH_FORMS(ADD, Add, AddSpecial);
    QEL_DETAIL_BOTH_FORMS(SUBTRACT, Subtract, SubtractSpecial);
    QEL_DETAIL_BOTH_FORMS(MULTIPLY, Multiply, MultiplySpecial);
    QEL_DETAIL_BOTH_FORMS(DIVIDE, Divide, DivideSpecial);
    RegisterBinaryFunction<int, int, int, BitOr<int>>(registry, BITOR);
    RegisterBinaryFunction<long long, long long, long long, BitOr<long long>>(registry, BITOR);
}

#undef QEL_DETAIL_BOTH_FORMS

}  // namespace qel::core
