#include "qel/core/functions/BuiltinFunctions.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "core/test/ThrownText.h"
#include "qel/core/functions/FunctionNames.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/functions/FunctionRegistry.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/StoreValue.h"

namespace qel::core {
namespace {

using test::ThrownText;
using Container = FunctionKey::ArgContainer;
using Direction = FunctorAggregationDirection;
using Kinds = std::vector<SpecialKind>;
constexpr SpecialKind N = SpecialKind::Normal;
constexpr SpecialKind X = SpecialKind::Null;
constexpr SpecialKind E = SpecialKind::Error;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

FunctionRegistry const& Builtins() {
    static std::unique_ptr<FunctionRegistry> const registry = [] {
        auto r = FunctionRegistry::Make();
        RegisterAllBuiltinFunctions(*r);
        return r;
    }();
    return *registry;
}

template <class T>
Type const* TypeOf() {
    return FunctionElementType<T>();
}

RegisteredFunctions const& Binary(char16_t const* name, Type const* a, Type const* b) {
    return Builtins().GetBinaryFuncs().GetFunctions(
        FunctionKey(RInternString(name), a, b, Container::Individual));
}

template <class A, class B, class O = A>
std::unique_ptr<IBinaryFunctor<A, B, O>> Plain(char16_t const* name, Type const* a = TypeOf<A>(),
                                               Type const* b = TypeOf<B>()) {
    using Factory = std::unique_ptr<IBinaryFunctor<A, B, O>> (*)();
    return reinterpret_cast<Factory>(Binary(name, a, b).GetFunction())();
}

template <class A, class B, class O = A>
std::unique_ptr<IBinarySpecialFunctor<A, B, O>> Special(char16_t const* name,
                                                        Type const* a = TypeOf<A>(),
                                                        Type const* b = TypeOf<B>()) {
    using Factory = std::unique_ptr<IBinarySpecialFunctor<A, B, O>> (*)();
    return reinterpret_cast<Factory>(Binary(name, a, b).GetSpecialFunction())();
}

// The (T, T) forms of a name, without commas that a test macro would split.
template <class T>
auto PlainOf(char16_t const* name) {
    return Plain<T, T>(name);
}
template <class T>
auto SpecialOf(char16_t const* name) {
    return Special<T, T>(name);
}

template <class T>
using Result = std::pair<T, SpecialKind>;

// The special fold of `name` over (values, kinds) from (value, kind), as a
// scan: every running pair.
template <class T>
std::vector<Result<T>> Scan(char16_t const* name, T value, SpecialKind kind,
                            std::vector<T> const& values, Kinds const& kinds) {
    auto functor = SpecialOf<T>(name);
    std::vector<T> out(values.size());
    Kinds outKinds(values.size());
    ArrayView<T> o(out.data(), out.size());
    ArrayView<SpecialKind> ok(outKinds.data(), outKinds.size());
    functor->Aggregate(value, kind, ArrayView<T const>(values.data(), values.size()),
                       ArrayView<SpecialKind const>(kinds.data(), kinds.size()), o, ok,
                       Direction::Forward);
    std::vector<Result<T>> result;
    for (std::size_t i = 0; i < out.size(); ++i)
        result.emplace_back(out[i], outKinds[i]);
    EXPECT_EQ(result.back(), Result<T>(value, kind));
    return result;
}

template <class T>
class BuiltinTypedTest : public testing::Test {};
using Numbers = testing::Types<int, long long, float, double>;
TYPED_TEST_SUITE(BuiltinTypedTest, Numbers);

TYPED_TEST(BuiltinTypedTest, SpecialFoldsReadASpecialAccumulatorAsNoValueYet) {
    using T = TypeParam;
    using R = Result<T>;
    EXPECT_EQ(Scan<T>(u"sum", 0, X, {9, 2, 9, 3}, {X, N, X, N}),
              (std::vector<R>{{0, X}, {2, N}, {2, N}, {5, N}}));
    EXPECT_EQ(Scan<T>(u"min", 4, N, {1, 6, 3}, {X, N, N}),
              (std::vector<R>{{4, N}, {4, N}, {3, N}}));
    EXPECT_EQ(Scan<T>(u"max", 0, E, {1, 6, 3}, {E, N, N}),
              (std::vector<R>{{0, E}, {6, N}, {6, N}}));
    // The plain folds agree on normal values.
    T value = 4;
    std::vector<T> const in{1, 6, 3};
    ArrayView<T> none;
    PlainOf<T>(u"min")->Aggregate(value, ArrayView<T const>(in.data(), 3), none,
                                  Direction::Forward);
    EXPECT_EQ(value, 1);
    PlainOf<T>(u"max")->Aggregate(value, ArrayView<T const>(in.data(), 3), none, {});
    EXPECT_EQ(value, 6);
    PlainOf<T>(u"sum")->Aggregate(value, ArrayView<T const>(in.data(), 3), none, {});
    EXPECT_EQ(value, 16);

    // The counts keep the accumulator's kind and count by the element's.
    using C = Result<int>;
    auto const count = [](char16_t const* name, SpecialKind initial, std::vector<T> const& v,
                          Kinds const& k) {
        auto functor = Special<int, T, int>(name, IntType::Get32(), TypeOf<T>());
        int value = 0;
        SpecialKind kind = initial;
        ArrayView<int> none;
        ArrayView<SpecialKind> noKinds;
        functor->Aggregate(value, kind, ArrayView<T const>(v.data(), v.size()),
                           ArrayView<SpecialKind const>(k.data(), k.size()), none, noKinds, {});
        return C(value, kind);
    };
    std::vector<T> const three{-1, 0, 2};
    EXPECT_EQ(count(u"count", N, three, {N, X, E}), C(1, N));
    EXPECT_EQ(count(u"count", X, three, {X, X, E}), C(0, X));
    EXPECT_EQ(count(u"countSpecials", N, three, {N, X, E}), C(2, N));
    EXPECT_EQ(count(u"countNulls", E, three, {N, X, E}), C(1, E));
    EXPECT_EQ(count(u"countNegatives", N, three, {N, N, N}), C(1, N));
    EXPECT_EQ(count(u"countNegatives", N, three, {X, N, N}), C(0, N));
}

TYPED_TEST(BuiltinTypedTest, ZipWithSpecialFormsGiveNullZeroAndDivisionRefusesZero) {
    using T = TypeParam;
    for (char16_t const* name : {u"+", u"-", u"*", u"/"}) {
        auto special = SpecialOf<T>(name);
        EXPECT_EQ(special->Do(1, N, 2, E), Result<T>(0, X)) << TStringCore(name).toStdString();
        EXPECT_EQ(special->Do(7, X, 0, N), Result<T>(0, X)) << TStringCore(name).toStdString();
    }
    EXPECT_EQ(SpecialOf<T>(u"-")->Do(7, N, 2, N), Result<T>(5, N));
    EXPECT_EQ(PlainOf<T>(u"*")->Do(7, 2), 14);
    EXPECT_EQ(PlainOf<T>(u"/")->Do(7, 2), static_cast<T>(7) / 2);
    EXPECT_EQ(ThrownText([] { PlainOf<T>(u"/")->Do(1, 0); }), "divide by zero error ");
    EXPECT_EQ(ThrownText([] { SpecialOf<T>(u"/")->Do(1, N, 0, N); }), "divide by zero error ");
    // A failing element leaves the ones before it written.
    std::vector<T> const a{6, 6, 6}, b{2, 0, 3};
    std::vector<T> out(3, 1);
    ArrayView<T> o(out.data(), 3);
    EXPECT_EQ(ThrownText([&] {
                  PlainOf<T>(u"/")->Project(ArrayView<T const>(a.data(), 3),
                                            ArrayView<T const>(b.data(), 3), o);
              }),
              "divide by zero error ");
    EXPECT_EQ(out, (std::vector<T>{3, 1, 1}));
}

TEST(BuiltinFunctionsTest, IntegersWrapAndRealsFollowTheRules) {
    EXPECT_EQ(PlainOf<int>(u"+")->Do(INT_MAX, 1), INT_MIN);
    EXPECT_EQ(PlainOf<int>(u"-")->Do(INT_MIN, 1), INT_MAX);
    EXPECT_EQ(PlainOf<long long>(u"*")->Do(LLONG_MAX, 2), -2);
    EXPECT_EQ(PlainOf<int>(u"/")->Do(INT_MIN, -1), INT_MIN);
    EXPECT_EQ(PlainOf<long long>(u"/")->Do(LLONG_MIN, -1), LLONG_MIN);
    EXPECT_EQ(PlainOf<int>(u"sum")->Do(INT_MAX, 1), INT_MIN);
    EXPECT_EQ(SpecialOf<int>(u"sum")->Do(INT_MAX, N, 1, N), Result<int>(INT_MIN, N));

    EXPECT_EQ(ThrownText([] { PlainOf<double>(u"/")->Do(1.0, -0.0); }), "divide by zero error ");
    EXPECT_TRUE(std::isnan(PlainOf<double>(u"/")->Do(1.0, kNaN)));
    // A NaN element loses to the accumulator, which stays in front on ties.
    auto min = SpecialOf<double>(u"min");
    EXPECT_EQ(min->Do(1.0, N, kNaN, N), Result<double>(1.0, N));
    EXPECT_EQ(SpecialOf<double>(u"max")->Do(1.0, N, kNaN, N), Result<double>(1.0, N));
    EXPECT_EQ(std::signbit(min->Do(-0.0, N, 0.0, N).first), true);
    // A NaN is not negative, nor is -0.0.
    auto negatives =
        Special<int, double, int>(u"countNegatives", IntType::Get32(), RealType::Get64());
    EXPECT_EQ(negatives->Do(0, N, kNaN, N), Result<int>(0, N));
    EXPECT_EQ(negatives->Do(0, N, -0.0, N), Result<int>(0, N));

    // Dates: the special form only, for Date and DateTime alike.
    QelDateTime const early = QelDateTime::FromValue(QelDateTime::DateTimeDefault);
    QelDateTime const late =
        QelDateTime::FromValue(QelDateTime::DateTimeDefault + QelDateTime::TicksPerDay);
    for (Type const* date : std::vector<Type const*>{DateType::Get(), DateTimeType::Get()}) {
        EXPECT_FALSE(Binary(u"min", date, date).HasFunction());
        auto dateMin = Special<QelDateTime, QelDateTime>(u"min", date, date);
        EXPECT_EQ(dateMin->Do(late, N, early, N).first, early);
        EXPECT_EQ(dateMin->Do(early, X, late, N), Result<QelDateTime>(late, N));
        auto dateMax = Special<QelDateTime, QelDateTime>(u"max", date, date);
        EXPECT_EQ(dateMax->Do(early, N, late, X), Result<QelDateTime>(early, N));
    }
}

TEST(BuiltinFunctionsTest, BoolFoldsCountAllAndBitor) {
    auto const fold = [&](char16_t const* name, bool start) {
        bool value = start;
        bool out[3];
        ArrayView<bool> o(out, 3);
        bool const in[3] = {true, false, true};
        PlainOf<bool>(name)->Aggregate(value, ArrayView<bool const>(in, 3), o, {});
        return std::string{char('0' + out[0]), char('0' + out[1]), char('0' + out[2])};
    };
    EXPECT_EQ(fold(u"and", true), "100");
    EXPECT_EQ(fold(u"or", false), "111");
    EXPECT_EQ(fold(u"xor", false), "110");

    // countAll never looks at the element, whatever its type; the any type
    // stands for collections.
    auto countAll = Plain<int, std::shared_ptr<StoreValue>, int>(u"countAll", IntType::Get32(),
                                                                 ArrayType::Get(IntType::Get32()));
    EXPECT_EQ(countAll->Do(41, nullptr), 42);
    auto countStrings =
        Plain<int, RIndirectString, int>(u"countAll", IntType::Get32(), StringType::Get());
    EXPECT_EQ(countStrings->Do(INT_MAX, RIndirectString()), INT_MIN);

    EXPECT_EQ(PlainOf<long long>(u"bitor")->Do(0x100000000LL, 1), 0x100000001LL);
    EXPECT_FALSE(Binary(u"bitor", IntType::Get32(), IntType::Get32()).HasSpecialFunction());
    EXPECT_EQ(ThrownText([] { Binary(u"bitor", RealType::Get64(), RealType::Get64()); }),
              "transform function not found: \nbitor(r<-1,-1>, r<-1,-1>)");
}

// ---------------------------------------------------------------------------
// Multinary

using Values = std::vector<std::shared_ptr<StoreValue>>;

template <class T>
T Call(char16_t const* name, Values const& values) {
    std::vector<Type const*> types;
    for (auto const& v : values)
        types.push_back(v ? v->GetType() : nullptr);
    RegisteredFunctions const& functions = Builtins().GetMultinaryFuncs().GetFunctions(
        FunctionKey::FromNonVariableInputs(RInternString(name), types, Container::Vector));
    using Function = T (*)(Values const&);
    return reinterpret_cast<Function>(functions.GetFunction())(values);
}

TEST(BuiltinFunctionsTest, MultinaryFunctionsOnBoxedValues) {
    using namespace factory;
    EXPECT_EQ(Call<int>(u"+", {MakeInt32(INT_MAX), MakeInt32(1)}), INT_MIN);
    EXPECT_EQ(Call<float>(u"-", {MakeReal32(1.5f), MakeReal32(2)}), -0.5f);
    EXPECT_EQ(Call<long long>(u"*", {MakeInt64(3), MakeInt64(-4)}), -12);
    EXPECT_TRUE(std::isinf(Call<double>(u"/", {MakeReal64(1), MakeReal64(0)})));
    EXPECT_EQ(Call<int>(u"/", {MakeInt32(INT_MIN), MakeInt32(-1)}), INT_MIN);
    // A machine cannot divide an integer by zero; that is refused, not run.
    EXPECT_EQ(ThrownText([] {
                  Call<int>(u"/", {MakeInt32(1), MakeInt32(0)});
              }),
              "divide by zero error ");
    // No Real32 form of "*" and "/".
    EXPECT_EQ(ThrownText([] {
                  Call<float>(u"*", {MakeReal32(1), MakeReal32(2)});
              }),
              "transform function not found: \n*(vector {f<-1,-1>, f<-1,-1>})");

    // "and" does not look at the second input after a false first.
    std::shared_ptr<StoreValue> const text = MakeString(u"not a bool");
    EXPECT_NE(ThrownText([&] { text->AsBool(); }), "(nothing thrown)");
    Values const falseAndText{MakeBool(false), text};
    using Function = bool (*)(Values const&);
    auto const andFunction = reinterpret_cast<Function>(
        Builtins()
            .GetMultinaryFuncs()
            .GetFunctions(FunctionKey(RInternString(u"and"), BoolType::Get(), BoolType::Get(),
                                      Container::Vector))
            .GetFunction());
    EXPECT_FALSE(andFunction(falseAndText));
    EXPECT_TRUE(andFunction({MakeBool(true), MakeBool(true)}));

    // min and max pick an input by the fuzzy comparison, then read it.
    EXPECT_EQ(Call<long long>(u"min", {MakeInt64(5), MakeInt64(-5)}), -5);
    EXPECT_EQ(Call<double>(u"max", {MakeReal64(0.5), MakeReal64(2.5)}), 2.5);

    // The comparisons take any two values and compare across number types.
    EXPECT_TRUE(Call<bool>(u"==", {MakeInt32(1), MakeReal64(1.0)}));
    EXPECT_FALSE(Call<bool>(u"!=", {MakeInt32(1), MakeReal64(1.0)}));
    EXPECT_TRUE(Call<bool>(u"<", {MakeInt32(1), MakeInt64(2)}));
    EXPECT_TRUE(Call<bool>(u"<=", {MakeInt64(2), MakeInt32(2)}));
    EXPECT_FALSE(Call<bool>(u">", {MakeInt64(2), MakeInt32(2)}));
    EXPECT_TRUE(Call<bool>(u">=", {MakeReal32(3), MakeInt32(2)}));
    EXPECT_TRUE(Call<bool>(u"isTrue", {MakeBool(true)}));
    EXPECT_TRUE(Call<bool>(u"isFalse", {MakeBool(false)}));

    // Arity and null refusals.
    auto const raw = [](char16_t const* name, Type const* a, Type const* b) {
        return reinterpret_cast<bool (*)(Values const&)>(
            Builtins()
                .GetMultinaryFuncs()
                .GetFunctions(FunctionKey(RInternString(name), a, b, Container::Vector))
                .GetFunction());
    };
    Type const* const i = IntType::Get32();
    auto const plus = reinterpret_cast<int (*)(Values const&)>(
        Builtins()
            .GetMultinaryFuncs()
            .GetFunctions(FunctionKey(RInternString(u"+"), i, i, Container::Vector))
            .GetFunction());
    EXPECT_EQ(ThrownText([&] {
                  plus({MakeInt32(1), MakeInt32(2), MakeInt32(3)});
              }),
              "expected two inputs in transform function: \n+");
    EXPECT_EQ(ThrownText([&] { raw(u"==", i, i)({MakeInt32(1)}); }),
              "expected two inputs in transform function: \n==");
    EXPECT_EQ(ThrownText([&] {
                  raw(u"<", i, i)({MakeInt32(1), nullptr});
              }),
              "null is not a valid argument");
    auto const isTrue = reinterpret_cast<bool (*)(Values const&)>(
        Builtins()
            .GetMultinaryFuncs()
            .GetFunctions(FunctionKey(RInternString(u"isTrue"), TypeRefVec<VariableTypeRef>{i},
                                      Container::Vector))
            .GetFunction());
    EXPECT_EQ(ThrownText([&] { isTrue({}); }), "need one input\nisTrue");
}

}  // namespace
}  // namespace qel::core
