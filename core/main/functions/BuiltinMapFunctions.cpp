// The map functions of the built-ins: one output element per input element.
//
// Like functions differ on purpose, and stay so: ">=" passes a special
// input's kind on while "<" and ">" turn every kind into Null; "normalize"
// removes specials while the mathematical functions turn them into Null;
// "ln" refuses x <= 0 and "sqrt" only x < 0; ConvertSpecial keeps the cast
// value beside a Null kind, where every other special routine gives 0.

#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

#include "core/main/functions/Arithmetic.h"
#include "core/main/functions/CreatorValues.h"
#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionNames.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/utility/QelColor.h"
#include "qel/core/utility/QelDateTime.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

using functions::CreatorInputs;
template <class T>
using Arg = typename TypeTraits<T>::ArgType;
template <class T>
using Result = std::pair<T, SpecialKind>;

template <class T>
Result<T> NullResult() {
    return {T{}, SpecialKind::Null};
}

bool IsSpecial(SpecialKind kind) {
    return kind != SpecialKind::Normal;
}

// --- arithmetic on one value ------------------------------------------------

template <class T>
T AbsoluteValue(T x) {
    return std::fabs(x);
}

template <class T>
T IncValue(T x) {
    return arithmetic::Add(x, T{1});
}

template <class T>
T DecValue(T x) {
    return arithmetic::Subtract(x, T{1});
}

template <class T>
T NegValue(T x) {
    if constexpr (std::is_integral_v<T>)
        return arithmetic::Subtract(T{0}, x);
    else
        return -x;
}

template <class T>
T Floor(T x) {
    return std::floor(x);
}

template <class T>
T Id(Arg<T> x) {
    return x;
}

// --- constants taken by creators -------------------------------------------

template <class T>
class AddFunctor {
public:
    explicit AddFunctor(CreatorInputs const& values)
        : m_constant(functions::FetchConstant<T>(values)) {}
    T operator()(T x) const { return arithmetic::Add(x, m_constant); }

private:
    T m_constant;
};

template <class T>
class MultiplyFunctor {
public:
    explicit MultiplyFunctor(CreatorInputs const& values)
        : m_constant(functions::FetchConstant<T>(values)) {}
    T operator()(T x) const { return arithmetic::Multiply(x, m_constant); }

private:
    T m_constant;
};

// The constant is checked once, so that no element loop can meet a zero; for
// reals -0.0 compares equal to 0 and is refused as well.
template <class T>
class DivideFunctor {
public:
    explicit DivideFunctor(CreatorInputs const& values)
        : m_constant(functions::FetchConstant<T>(values)) {
        QEL_VALIDATE(m_constant != static_cast<T>(0), QelError::DivideByZeroError);
    }
    T operator()(T x) const { return arithmetic::Divide(x, m_constant); }

private:
    T m_constant;
};

template <class T>
class IsInSetFunctor {
public:
    explicit IsInSetFunctor(CreatorInputs const& values) : m_set(functions::SetOf<T>(values)) {}
    bool operator()(Arg<T> x) const { return m_set.Contains(x); }

private:
    SetAdapter<T> m_set;
};

template <class T>
class IsNotInSetFunctor {
public:
    explicit IsNotInSetFunctor(CreatorInputs const& values) : m_set(functions::SetOf<T>(values)) {}
    bool operator()(Arg<T> x) const { return !m_set.Contains(x); }

private:
    SetAdapter<T> m_set;
};

// The comparisons with a constant; each class serves its plain slot and,
// where it has one, its special slot.
template <class T>
class LessThanFunctor {
public:
    explicit LessThanFunctor(CreatorInputs const& values)
        : m_constant(functions::FetchConstant<T>(values)) {}
    bool operator()(T x) const { return x < m_constant; }
    Result<bool> operator()(T x, SpecialKind kind) const {
        if (IsSpecial(kind))
            return {false, SpecialKind::Null};
        return {x < m_constant, SpecialKind::Normal};
    }

private:
    T m_constant;
};

template <class T>
class GreaterThanFunctor {
public:
    explicit GreaterThanFunctor(CreatorInputs const& values)
        : m_constant(functions::FetchConstant<T>(values)) {}
    bool operator()(T x) const { return x > m_constant; }
    Result<bool> operator()(T x, SpecialKind kind) const {
        if (IsSpecial(kind))
            return {false, SpecialKind::Null};
        return {x > m_constant, SpecialKind::Normal};
    }

private:
    T m_constant;
};

// Unlike "<" and ">", a special input keeps its own kind.
template <class T>
class GreaterThanOrEqualSpecialFunctor {
public:
    explicit GreaterThanOrEqualSpecialFunctor(CreatorInputs const& values)
        : m_constant(functions::FetchConstant<T>(values)) {}
    Result<bool> operator()(T x, SpecialKind kind) const {
        if (IsSpecial(kind))
            return {false, kind};
        return {x >= m_constant, SpecialKind::Normal};
    }

private:
    T m_constant;
};

template <class T>
class EqualToFunctor {
public:
    explicit EqualToFunctor(CreatorInputs const& values)
        : m_constant(functions::FetchConstant<T>(values)) {}
    bool operator()(Arg<T> x) const {
        if constexpr (std::is_same_v<T, RIndirectString>)
            return x.GetValue() == m_constant.GetValue();
        else
            return x == m_constant;
    }
    Result<bool> operator()(Arg<T> x, SpecialKind kind) const {
        if (IsSpecial(kind))
            return {false, SpecialKind::Null};
        return {(*this)(x), SpecialKind::Normal};
    }

private:
    T m_constant;
};

// --- special forms -----------------------------------------------------------

template <class T>
Result<T> NormalizeValue(Arg<T> x, SpecialKind kind) {
    if (IsSpecial(kind))
        return {T{}, SpecialKind::Normal};
    return {x, SpecialKind::Normal};
}

template <class I, class O>
Result<O> LnSpecial(I x, SpecialKind kind) {
    // A NaN passes the test.
    if (IsSpecial(kind) || x <= 0)
        return NullResult<O>();
    return {static_cast<O>(std::log(static_cast<double>(x))), SpecialKind::Normal};
}

template <class I, class O>
Result<O> SymLogSpecial(I x, SpecialKind kind) {
    if (IsSpecial(kind))
        return NullResult<O>();
    return {static_cast<O>(std::asinh(static_cast<double>(x))), SpecialKind::Normal};
}

template <class I, class O>
Result<O> ExpSpecial(I x, SpecialKind kind) {
    if (IsSpecial(kind))
        return NullResult<O>();
    return {static_cast<O>(std::exp(x)), SpecialKind::Normal};
}

template <class I, class O>
Result<O> SymLogInverseSpecial(I x, SpecialKind kind) {
    if (IsSpecial(kind))
        return NullResult<O>();
    return {static_cast<O>(std::sinh(x)), SpecialKind::Normal};
}

// Integers compute in double and narrow; -0.0 stays -0.0 and NaN passes.
template <class I, class O>
Result<O> ComputeSqrt(I x, SpecialKind kind) {
    if (IsSpecial(kind) || x < 0)
        return NullResult<O>();
    if constexpr (std::is_integral_v<I>)
        return {static_cast<O>(std::sqrt(static_cast<double>(x))), SpecialKind::Normal};
    else
        return {std::sqrt(x), SpecialKind::Normal};
}

// --- conversions -------------------------------------------------------------

// A real outside the range of the integer type, or NaN, gives the
// processor's integer indefinite value (the lowest value), as the machine's
// conversion does; in range, the cast truncates toward zero.
template <class O, class I>
O Convert(I x) {
    if constexpr (std::is_integral_v<O> && std::is_floating_point_v<I>) {
        constexpr double kLimit = static_cast<double>(std::numeric_limits<O>::max()) + 1.0;
        double const d = static_cast<double>(x);
        if (!(d >= -kLimit && d < kLimit))
            return std::numeric_limits<O>::min();
        return static_cast<O>(x);
    } else {
        return static_cast<O>(x);
    }
}

template <class I, class O>
O ConvertPlain(I x) {
    return Convert<O>(x);
}

// The cast value stays beside the Null kind: every other kind collapses.
template <class I, class O>
Result<O> ConvertSpecial(I x, SpecialKind kind) {
    return {Convert<O>(x), IsSpecial(kind) ? SpecialKind::Null : SpecialKind::Normal};
}

double ConvertDateToReal64(QelDateTime x) {
    return x.ToDouble();
}

Result<double> ConvertDateToReal64Special(QelDateTime x, SpecialKind kind) {
    if (IsSpecial(kind))
        return NullResult<double>();
    return {x.ToDouble(), SpecialKind::Normal};
}

// The Int64 form passes the low 32 bits.
template <class T>
QelColor ConvertToColor(T x) {
    return QelColor::FromInt32(static_cast<int>(x));
}

QelDateTime DecodeDateTime(double days) {
    return QelDateTime::FromDouble(days);
}

int GetMonth(QelDateTime x) {
    return x.GetQelDateTimeParts().GetMonth();
}

int GetYear(QelDateTime x) {
    return x.GetQelDateTimeParts().GetYear();
}

int GetISOWeek(QelDateTime x) {
    return x.GetQelISO8601DateTimeParts().GetISOWeek();
}

int GetISOYear(QelDateTime x) {
    return x.GetQelISO8601DateTimeParts().GetISOYear();
}

// --- registration --------------------------------------------------------------

struct Types {
    Type const* b = BoolType::Get();
    Type const* i = IntType::Get32();
    Type const* l = IntType::Get64();
    Type const* f = RealType::Get32();
    Type const* r = RealType::Get64();
    Type const* s = StringType::Get();
    Type const* d = DateType::Get();
    Type const* t = DateTimeType::Get();
    Type const* c = ColorType::Get();
};

// (T) -> T for the four numbers.
template <template <class> class Routine>
void RegisterNumbers(FunctionRegistry& registry, char16_t const* name) {
    RegisterUnaryFunction<int, int, Routine<int>::Run>(registry, name);
    RegisterUnaryFunction<long long, long long, Routine<long long>::Run>(registry, name);
    RegisterUnaryFunction<float, float, Routine<float>::Run>(registry, name);
    RegisterUnaryFunction<double, double, Routine<double>::Run>(registry, name);
}

template <class T>
struct Inc {
    static T Run(T x) { return IncValue(x); }
};
template <class T>
struct Dec {
    static T Run(T x) { return DecValue(x); }
};
template <class T>
struct Neg {
    static T Run(T x) { return NegValue(x); }
};

// A creator of (T) -> T for the four numbers, whose creator input is T.
template <template <class> class Functor>
void RegisterConstantCreators(FunctionRegistry& registry, char16_t const* name) {
    auto const one = [&]<class T>() {
        Type const* const type = FunctionElementType<T>();
        RegisterUnaryCreator<T, T, Functor<T>>(registry, name, type, type, {type});
    };
    one.template operator()<int>();
    one.template operator()<long long>();
    one.template operator()<float>();
    one.template operator()<double>();
}

template <template <class> class Functor>
void RegisterSetCreators(FunctionRegistry& registry, char16_t const* name, Type const* output) {
    auto const one = [&]<class T>() {
        Type const* const type = FunctionElementType<T>();
        RegisterUnaryCreator<T, bool, Functor<T>>(registry, name, type, output,
                                                  {SetType::Get(type)});
    };
    one.template operator()<int>();
    one.template operator()<long long>();
    one.template operator()<float>();
    one.template operator()<double>();
    one.template operator()<RIndirectString>();
}

// "<" and ">": the plain slot first, whose flags stand for both.
template <template <class> class Functor>
void RegisterComparisons(FunctionRegistry& registry, char16_t const* name, Type const* output) {
    auto const one = [&]<class T>() {
        Type const* const type = FunctionElementType<T>();
        RegisterUnaryCreator<T, bool, Functor<T>>(registry, name, type, output, {type});
        RegisterUnarySpecialCreator<T, bool, Functor<T>>(registry, name, type, output, {type});
    };
    one.template operator()<int>();
    one.template operator()<long long>();
    one.template operator()<float>();
    one.template operator()<double>();
}

}  // namespace

void RegisterBuiltinMapFunctions(FunctionRegistry& registry) {
    using namespace FunctionNames;
    Types const ty;

    RegisterUnaryFunction<float, float, AbsoluteValue<float>>(registry, ABS);
    RegisterUnaryFunction<double, double, AbsoluteValue<double>>(registry, ABS);
    RegisterNumbers<Inc>(registry, INC);
    RegisterNumbers<Dec>(registry, DEC);
    RegisterNumbers<Neg>(registry, NEGATE);
    RegisterConstantCreators<AddFunctor>(registry, ADD_CONSTANT);
    RegisterConstantCreators<MultiplyFunctor>(registry, MULTIPLY_CONSTANT);
    RegisterConstantCreators<DivideFunctor>(registry, DIVIDE_CONSTANT);
    RegisterSetCreators<IsInSetFunctor>(registry, IS_IN_SET, ty.b);
    RegisterSetCreators<IsNotInSetFunctor>(registry, IS_NOT_IN_SET, ty.b);

    RegisterUnarySpecialFunction<int, int, NormalizeValue<int>>(registry, NORMALIZE);
    RegisterUnarySpecialFunction<long long, long long, NormalizeValue<long long>>(registry,
                                                                                  NORMALIZE);
    RegisterUnarySpecialFunction<float, float, NormalizeValue<float>>(registry, NORMALIZE);
    RegisterUnarySpecialFunction<double, double, NormalizeValue<double>>(registry, NORMALIZE);
    RegisterUnarySpecialFunction<RIndirectString, RIndirectString, NormalizeValue<RIndirectString>>(
        registry, NORMALIZE);

    RegisterUnarySpecialFunction<double, double, LnSpecial<double, double>>(registry, LN);
    RegisterUnarySpecialFunction<long long, double, LnSpecial<long long, double>>(registry, LN);
    RegisterUnarySpecialFunction<double, double, SymLogSpecial<double, double>>(registry, SYMLOG);
    RegisterUnarySpecialFunction<long long, double, SymLogSpecial<long long, double>>(registry,
                                                                                      SYMLOG);
    RegisterUnarySpecialFunction<double, double, ExpSpecial<double, double>>(registry, EXP);
    RegisterUnarySpecialFunction<double, double, SymLogInverseSpecial<double, double>>(registry,
                                                                                       SYMLOGINV);

    RegisterUnaryFunction<long long, int, ConvertPlain<long long, int>>(registry, TO_INT32);
    RegisterUnaryFunction<float, int, ConvertPlain<float, int>>(registry, TO_INT32);
    RegisterUnaryFunction<double, int, ConvertPlain<double, int>>(registry, TO_INT32);
    RegisterUnaryFunction<int, long long, ConvertPlain<int, long long>>(registry, TO_INT64);
    RegisterUnaryFunction<float, long long, ConvertPlain<float, long long>>(registry, TO_INT64);
    RegisterUnaryFunction<double, long long, ConvertPlain<double, long long>>(registry, TO_INT64);
    RegisterUnaryFunction<double, float, ConvertPlain<double, float>>(registry, TO_REAL32);
    RegisterUnaryFunction<int, float, ConvertPlain<int, float>>(registry, TO_REAL32);
    RegisterUnaryFunction<long long, float, ConvertPlain<long long, float>>(registry, TO_REAL32);
    RegisterUnarySpecialFunction<double, float, ConvertSpecial<double, float>>(registry, TO_REAL32);
    RegisterUnaryFunction<int, double, ConvertPlain<int, double>>(registry, TO_REAL64);
    RegisterUnaryFunction<long long, double, ConvertPlain<long long, double>>(registry, TO_REAL64);
    RegisterUnaryFunction<float, double, ConvertPlain<float, double>>(registry, TO_REAL64);
    RegisterUnaryFunction<double, double, ConvertPlain<double, double>>(registry, TO_REAL64);
    RegisterUnarySpecialFunction<long long, double, ConvertSpecial<long long, double>>(registry,
                                                                                       TO_REAL64);
    RegisterUnarySpecialFunction<double, double, ConvertSpecial<double, double>>(registry,
                                                                                 TO_REAL64);
    RegisterUnarySpecialFunction<bool, double, ConvertSpecial<bool, double>>(registry, TO_REAL64);
    RegisterUnaryFunction<QelDateTime, double, ConvertDateToReal64>(registry, TO_REAL64, ty.t,
                                                                    ty.r);
    RegisterUnarySpecialFunction<QelDateTime, double, ConvertDateToReal64Special>(
        registry, TO_REAL64, ty.t, ty.r);
    RegisterUnaryFunction<int, QelColor, ConvertToColor<int>>(registry, TO_COLOR);
    RegisterUnaryFunction<long long, QelColor, ConvertToColor<long long>>(registry, TO_COLOR);
    RegisterUnaryFunction<double, QelDateTime, DecodeDateTime>(registry, TO_DATETIME, ty.r, ty.t);

    RegisterUnaryFunction<QelDateTime, int, GetMonth>(registry, GET_MONTH, ty.t, ty.i);
    RegisterUnaryFunction<QelDateTime, int, GetYear>(registry, GET_YEAR, ty.t, ty.i);
    RegisterUnaryFunction<QelDateTime, int, GetISOWeek>(registry, GET_ISO_WEEK, ty.t, ty.i);
    RegisterUnaryFunction<QelDateTime, int, GetISOYear>(registry, GET_ISO_YEAR, ty.t, ty.i);
    RegisterUnaryFunction<float, float, Floor<float>>(registry, FLOOR);
    RegisterUnaryFunction<double, double, Floor<double>>(registry, FLOOR);

    RegisterComparisons<LessThanFunctor>(registry, LESS_THAN, ty.b);
    RegisterComparisons<GreaterThanFunctor>(registry, GREATER_THAN, ty.b);
    auto const greaterOrEqual = [&]<class T>(Type const* type) {
        RegisterUnarySpecialCreator<T, bool, GreaterThanOrEqualSpecialFunctor<T>>(
            registry, GREATER_THAN_OR_EQUAL, type, ty.b, {type});
    };
    greaterOrEqual.template operator()<int>(ty.i);
    greaterOrEqual.template operator()<long long>(ty.l);
    greaterOrEqual.template operator()<float>(ty.f);
    greaterOrEqual.template operator()<double>(ty.r);
    greaterOrEqual.template operator()<QelDateTime>(ty.t);

    RegisterUnarySpecialFunction<float, float, ComputeSqrt<float, float>>(registry, SQRT);
    RegisterUnarySpecialFunction<double, double, ComputeSqrt<double, double>>(registry, SQRT);
    RegisterUnarySpecialFunction<int, float, ComputeSqrt<int, float>>(registry, SQRT);
    RegisterUnarySpecialFunction<long long, double, ComputeSqrt<long long, double>>(registry, SQRT);

    RegisterUnaryFunction<bool, bool, Id<bool>>(registry, ASSIGN);
    RegisterUnaryFunction<int, int, Id<int>>(registry, ASSIGN);
    RegisterUnaryFunction<long long, long long, Id<long long>>(registry, ASSIGN);
    RegisterUnaryFunction<float, float, Id<float>>(registry, ASSIGN);
    RegisterUnaryFunction<double, double, Id<double>>(registry, ASSIGN);
    RegisterUnaryFunction<QelDateTime, QelDateTime, Id<QelDateTime>>(registry, ASSIGN, ty.t, ty.t);
    RegisterUnaryFunction<QelDateTime, QelDateTime, Id<QelDateTime>>(registry, ASSIGN, ty.d, ty.d);

    RegisterUnaryCreator<int, bool, EqualToFunctor<int>>(registry, EQUAL_TO_VALUE, ty.i, ty.b,
                                                         {ty.i});
    RegisterUnaryCreator<long long, bool, EqualToFunctor<long long>>(registry, EQUAL_TO_VALUE, ty.l,
                                                                     ty.b, {ty.l});
    RegisterUnarySpecialCreator<int, bool, EqualToFunctor<int>>(registry, EQUAL_TO_VALUE, ty.i,
                                                                ty.b, {ty.i});
    RegisterUnaryCreator<RIndirectString, bool, EqualToFunctor<RIndirectString>>(
        registry, EQUAL_TO_VALUE, ty.s, ty.b, {ty.s});
}

}  // namespace qel::core
