// The binary folds of the built-in functions. Keys are (accumulator,
// element). The special forms of min, max and sum read a special accumulator
// as "no value yet": a special element is skipped, and the first normal one
// replaces such an accumulator. The counts keep the accumulator's kind.

#include <memory>
#include <utility>

#include "core/main/functions/Arithmetic.h"
#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionNames.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/utility/QelDateTime.h"

namespace qel::core {

namespace {

using Special = std::pair<int, SpecialKind>;
template <class T>
using Arg = typename TypeTraits<T>::ArgType;

template <class T>
T Min(T a, T b) {
    return a < b ? a : b;
}

template <class T>
T Max(T a, T b) {
    return a > b ? a : b;
}

template <class T>
T Sum(T a, T b) {
    return arithmetic::Add(a, b);
}

// On ties the accumulator stays; a NaN element loses to it.
template <class T>
T MinOf(T a, T b) {
    return b < a ? b : a;
}

template <class T>
T MaxOf(T a, T b) {
    return b > a ? b : a;
}

template <class T, T (*Combine)(T, T)>
std::pair<T, SpecialKind> SkippingSpecials(Arg<T> a, SpecialKind ka, Arg<T> b, SpecialKind kb) {
    // Both rare cases marked, so the common one runs through without a taken
    // branch per element (an integer sum otherwise runs at half speed).
    if (kb != SpecialKind::Normal) [[unlikely]]
        return {a, ka};
    if (ka != SpecialKind::Normal) [[unlikely]]
        return {b, SpecialKind::Normal};
    return {Combine(a, b), SpecialKind::Normal};
}

template <class T>
std::pair<T, SpecialKind> MinSpecial(Arg<T> a, SpecialKind ka, Arg<T> b, SpecialKind kb) {
    return SkippingSpecials<T, MinOf<T>>(a, ka, b, kb);
}

template <class T>
std::pair<T, SpecialKind> MaxSpecial(Arg<T> a, SpecialKind ka, Arg<T> b, SpecialKind kb) {
    return SkippingSpecials<T, MaxOf<T>>(a, ka, b, kb);
}

template <class T>
std::pair<T, SpecialKind> SumSpecial(Arg<T> a, SpecialKind ka, Arg<T> b, SpecialKind kb) {
    return SkippingSpecials<T, Sum<T>>(a, ka, b, kb);
}

// Both inputs are evaluated.
bool And(bool a, bool b) {
    return a & b;
}
bool Or(bool a, bool b) {
    return a | b;
}
bool Xor(bool a, bool b) {
    return a ^ b;
}

template <class T>
int CountAll(int a, Arg<T>) {
    return arithmetic::Add(a, 1);
}

template <class T>
Special Count(int a, SpecialKind ka, Arg<T>, SpecialKind kb) {
    return {kb == SpecialKind::Normal ? arithmetic::Add(a, 1) : a, ka};
}

template <class T>
Special CountSpecials(int a, SpecialKind ka, Arg<T>, SpecialKind kb) {
    return {kb != SpecialKind::Normal ? arithmetic::Add(a, 1) : a, ka};
}

template <class T>
Special CountNulls(int a, SpecialKind ka, Arg<T>, SpecialKind kb) {
    return {kb == SpecialKind::Null ? arithmetic::Add(a, 1) : a, ka};
}

// A NaN is not negative.
template <class T>
Special CountNegatives(int a, SpecialKind ka, Arg<T> b, SpecialKind kb) {
    return {kb == SpecialKind::Normal && b < 0 ? arithmetic::Add(a, 1) : a, ka};
}

// Every (T, T) -> T row of one name for the four numbers, in the order
// Int32, Int64, Real32, Real64.
template <template <class> class Row>
void ForNumbers(FunctionRegistry& registry, char16_t const* name) {
    Row<int>::Register(registry, name);
    Row<long long>::Register(registry, name);
    Row<float>::Register(registry, name);
    Row<double>::Register(registry, name);
}

#define QEL_DETAIL_PLAIN_ROW(RowName, Function)                                  \
    template <class T>                                                           \
    struct RowName {                                                             \
        static void Register(FunctionRegistry& registry, char16_t const* name) { \
            RegisterBinaryFunction<T, T, T, Function<T>>(registry, name);        \
        }                                                                        \
    };
#define QEL_DETAIL_SPECIAL_ROW(RowName, Function)                                \
    template <class T>                                                           \
    struct RowName {                                                             \
        static void Register(FunctionRegistry& registry, char16_t const* name) { \
            RegisterBinarySpecialFunction<T, T, T, Function<T>>(registry, name); \
        }                                                                        \
    };
QEL_DETAIL_PLAIN_ROW(MinRow, Min)
QEL_DETAIL_PLAIN_ROW(MaxRow, Max)
QEL_DETAIL_PLAIN_ROW(SumRow, Sum)
QEL_DETAIL_SPECIAL_ROW(MinSpecialRow, MinSpecial)
QEL_DETAIL_SPECIAL_ROW(MaxSpecialRow, MaxSpecial)
QEL_DETAIL_SPECIAL_ROW(SumSpecialRow, SumSpecial)
#undef QEL_DETAIL_PLAIN_ROW
#undef QEL_DETAIL_SPECIAL_ROW

// The count rows: key (Int32, T), output Int32.
template <class T, Special (*Function)(int, SpecialKind, Arg<T>, SpecialKind)>
void RegisterCount(FunctionRegistry& registry, char16_t const* name, Type const* element) {
    RegisterBinarySpecialFunction<int, T, int, Function>(registry, name, IntType::Get32(), element,
                                                         IntType::Get32());
}

template <Special (*Function)(int, SpecialKind, Arg<int>, SpecialKind),
          Special (*Function64)(int, SpecialKind, Arg<long long>, SpecialKind),
          Special (*Function32)(int, SpecialKind, Arg<float>, SpecialKind),
          Special (*FunctionReal)(int, SpecialKind, Arg<double>, SpecialKind)>
void RegisterNumberCounts(FunctionRegistry& registry, char16_t const* name) {
    RegisterCount<int, Function>(registry, name, IntType::Get32());
    RegisterCount<long long, Function64>(registry, name, IntType::Get64());
    RegisterCount<float, Function32>(registry, name, RealType::Get32());
    RegisterCount<double, FunctionReal>(registry, name, RealType::Get64());
}

}  // namespace

void RegisterBuiltinReduceFunctions(FunctionRegistry& registry) {
    using namespace FunctionNames;

    ForNumbers<MinRow>(registry, MIN);
    ForNumbers<MinSpecialRow>(registry, MIN);
    RegisterBinarySpecialFunction<QelDateTime, QelDateTime, QelDateTime, MinSpecial<QelDateTime>>(
        registry, MIN, DateTimeType::Get(), DateTimeType::Get(), DateTimeType::Get());
    RegisterBinarySpecialFunction<QelDateTime, QelDateTime, QelDateTime, MinSpecial<QelDateTime>>(
        registry, MIN, DateType::Get(), DateType::Get(), DateType::Get());

    ForNumbers<MaxRow>(registry, MAX);
    ForNumbers<MaxSpecialRow>(registry, MAX);
    RegisterBinarySpecialFunction<QelDateTime, QelDateTime, QelDateTime, MaxSpecial<QelDateTime>>(
        registry, MAX, DateTimeType::Get(), DateTimeType::Get(), DateTimeType::Get());
    RegisterBinarySpecialFunction<QelDateTime, QelDateTime, QelDateTime, MaxSpecial<QelDateTime>>(
        registry, MAX, DateType::Get(), DateType::Get(), DateType::Get());

    ForNumbers<SumRow>(registry, SUM);
    ForNumbers<SumSpecialRow>(registry, SUM);

    RegisterBinaryFunction<bool, bool, bool, And>(registry, AND);
    RegisterBinaryFunction<bool, bool, bool, Or>(registry, OR);
    RegisterBinaryFunction<bool, bool, bool, Xor>(registry, XOR);

    auto const countAll = [&]<class T>(Type const* element) {
        RegisterBinaryFunction<int, T, int, CountAll<T>>(registry, COUNT_ALL, IntType::Get32(),
                                                         element, IntType::Get32());
    };
    countAll.operator()<int>(IntType::Get32());
    countAll.operator()<long long>(IntType::Get64());
    countAll.operator()<float>(RealType::Get32());
    countAll.operator()<double>(RealType::Get64());
    countAll.operator()<RIndirectString>(StringType::Get());
    countAll.operator()<QelDateTime>(DateTimeType::Get());
    countAll.operator()<bool>(BoolType::Get());
    countAll.operator()<std::shared_ptr<StoreValue>>(nullptr);

    RegisterNumberCounts<Count<int>, Count<long long>, Count<float>, Count<double>>(registry,
                                                                                    COUNT);

    // Int32, Int64, Real32, Real64, String, DateTime, Bool.
    auto const countKinds = [&](char16_t const* name, auto counter) {
        counter.template operator()<int>(name, IntType::Get32());
        counter.template operator()<long long>(name, IntType::Get64());
        counter.template operator()<float>(name, RealType::Get32());
        counter.template operator()<double>(name, RealType::Get64());
        counter.template operator()<RIndirectString>(name, StringType::Get());
        counter.template operator()<QelDateTime>(name, DateTimeType::Get());
        counter.template operator()<bool>(name, BoolType::Get());
    };
    countKinds(COUNT_SPECIALS, [&]<class T>(char16_t const* name, Type const* element) {
        RegisterCount<T, CountSpecials<T>>(registry, name, element);
    });
    countKinds(COUNT_NULLS, [&]<class T>(char16_t const* name, Type const* element) {
        RegisterCount<T, CountNulls<T>>(registry, name, element);
    });

    RegisterNumberCounts<CountNegatives<int>, CountNegatives<long long>, CountNegatives<float>,
                         CountNegatives<double>>(registry, COUNT_NEGATIVES);
}

}  // namespace qel::core
