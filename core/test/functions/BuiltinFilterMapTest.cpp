#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "core/test/ThrownText.h"
#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/functions/FunctionRegistry.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueSet.h"

namespace qel::core {
namespace {

using test::ThrownText;
using Values = std::vector<std::shared_ptr<StoreValue>>;
constexpr SpecialKind N = SpecialKind::Normal;
constexpr SpecialKind X = SpecialKind::Null;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
template <class T>
using Result = std::pair<T, SpecialKind>;

FunctionRegistry const& Builtins() {
    static std::unique_ptr<FunctionRegistry> const registry = [] {
        auto r = FunctionRegistry::Make();
        RegisterAllBuiltinFunctions(*r);
        return r;
    }();
    return *registry;
}

RegisteredFunctions const& Unary(char16_t const* name, Type const* input) {
    return Builtins().GetUnaryFuncs().GetFunctions(FunctionKey(RInternString(name), input));
}

template <class I, class O>
std::unique_ptr<IUnaryFunctor<I, O>> Plain(char16_t const* name, Type const* input) {
    using Factory = std::unique_ptr<IUnaryFunctor<I, O>> (*)();
    RegisteredFunctions const& f = Unary(name, input);
    EXPECT_FALSE(f.IsCreator());
    return reinterpret_cast<Factory>(f.GetFunction())();
}

template <class I, class O>
std::unique_ptr<IUnarySpecialFunctor<I, O>> Special(char16_t const* name, Type const* input) {
    using Factory = std::unique_ptr<IUnarySpecialFunctor<I, O>> (*)();
    return reinterpret_cast<Factory>(Unary(name, input).GetSpecialFunction())();
}

template <class I, class O>
std::unique_ptr<IUnaryFunctor<I, O>> Created(char16_t const* name, Type const* input,
                                             Values const& values) {
    using Factory = std::unique_ptr<IUnaryFunctor<I, O>> (*)(Values const&);
    RegisteredFunctions const& f = Unary(name, input);
    EXPECT_TRUE(f.IsCreator());
    return reinterpret_cast<Factory>(f.GetFunction())(values);
}

template <class I, class O>
std::unique_ptr<IUnarySpecialFunctor<I, O>> CreatedSpecial(char16_t const* name, Type const* input,
                                                           Values const& values) {
    using Factory = std::unique_ptr<IUnarySpecialFunctor<I, O>> (*)(Values const&);
    return reinterpret_cast<Factory>(Unary(name, input).GetSpecialFunction())(values);
}

Type const* const B = BoolType::Get();
Type const* const I = IntType::Get32();
Type const* const L = IntType::Get64();
Type const* const F = RealType::Get32();
Type const* const R = RealType::Get64();
Type const* const S = StringType::Get();
Type const* const T = DateTimeType::Get();

TEST(BuiltinFilterTest, KindFiltersAndTheRunFilter) {
    auto nullAndMissing = Special<int, bool>(u"filterNullAndMissing", I);
    EXPECT_EQ(nullAndMissing->Do(0, SpecialKind::Error), Result<bool>(true, N));
    EXPECT_EQ(nullAndMissing->Do(0, SpecialKind::Missing), Result<bool>(false, N));
    EXPECT_EQ(nullAndMissing->Do(0, X), Result<bool>(false, N));
    auto normalOnly = Special<QelDateTime, bool>(u"keepOnlyNormal", DateType::Get());
    EXPECT_EQ(normalOnly->Do(QelDateTime(), SpecialKind::Error), Result<bool>(false, N));
    EXPECT_EQ((Plain<bool, bool>(u"keepOnlyFalse", B)->Do(false)), true);

    // keepOnlyFirst keeps the first of each run, not each distinct value.
    auto first = Created<long long, bool>(u"keepOnlyFirst", L, {});
    std::vector<long long> const in{1, 1, 2, 1};
    bool out[4];
    ArrayView<bool> o(out, 4);
    first->Project(ArrayView<long long const>(in.data(), 4), o);
    EXPECT_EQ((std::vector<bool>(out, out + 4)), (std::vector<bool>{true, false, true, true}));
    // The state runs on across calls of one functor; a new one starts over.
    EXPECT_FALSE(first->Do(1));
    EXPECT_TRUE((Created<long long, bool>(u"keepOnlyFirst", L, {})->Do(1)));
    // Strings compare by text, not by collation.
    auto strings = Created<RIndirectString, bool>(u"keepOnlyFirst", S, {});
    EXPECT_TRUE(strings->Do(RIndirectString(u"a")));
    EXPECT_FALSE(strings->Do(RIndirectString(u"a")));
    EXPECT_TRUE(strings->Do(RIndirectString(u"A")));
    // The any-typed overload answers to collections and compares them with
    // IsEqual, which collections refuse: the first element alone passes.
    Type const* const arrays = ArrayType::Get(I);
    auto nested = Created<std::shared_ptr<StoreValue>, bool>(u"keepOnlyFirst", arrays, {});
    EXPECT_TRUE(nested->Do(factory::MakeArray<unsigned int>(I, {1, 2})));
    EXPECT_EQ(ThrownText([&] {
                  nested->Do(factory::MakeArray<unsigned int>(I, {1, 2}));
              }),
              "illegal type comparison");
    EXPECT_FALSE(Builtins().GetUnaryFuncs().GetMap().CanResolve(
        FunctionKey(RInternString(u"keepOnlyFirst"), R)));

    FunctionInfo const& info =
        Builtins().GetFunctionInfo(FunctionKey(RInternString(u"keepOnlyFirst"), I));
    EXPECT_TRUE(info.IsStateful());
    EXPECT_TRUE(info.IsCreator());
    EXPECT_TRUE(info.GetCreatorInputTypes().empty());
}

TEST(BuiltinMapTest, ArithmeticWrapsAndConversionsFollowTheMachine) {
    EXPECT_EQ((Plain<int, int>(u"inc", I)->Do(INT_MAX)), INT_MIN);
    EXPECT_EQ((Plain<long long, long long>(u"dec", L)->Do(LLONG_MIN)), LLONG_MAX);
    EXPECT_EQ((Plain<int, int>(u"-", I)->Do(INT_MIN)), INT_MIN);
    EXPECT_TRUE((std::signbit(Plain<double, double>(u"-", R)->Do(0.0))));
    EXPECT_FALSE((std::signbit(Plain<double, double>(u"abs", R)->Do(-0.0))));
    EXPECT_EQ((Plain<float, float>(u"floor", F)->Do(-1.5f)), -2.0f);

    auto toInt32 = Plain<double, int>(u"toInt32", R);
    EXPECT_EQ(toInt32->Do(-2.9), -2);
    EXPECT_EQ(toInt32->Do(2147483647.9), INT_MAX);
    EXPECT_EQ(toInt32->Do(2147483648.0), INT_MIN);
    EXPECT_EQ(toInt32->Do(kNaN), INT_MIN);
    EXPECT_EQ((Plain<float, long long>(u"toInt64", F)->Do(1e30f)), LLONG_MIN);
    EXPECT_EQ((Plain<long long, int>(u"toInt32", L)->Do(0x100000005LL)), 5);
    // The cast value stays beside the Null kind.
    EXPECT_EQ((Special<long long, double>(u"toReal64", L)->Do(7, SpecialKind::Error)),
              Result<double>(7.0, X));
    EXPECT_EQ((Special<bool, double>(u"toReal64", B)->Do(true, N)), Result<double>(1.0, N));
    EXPECT_FALSE(Unary(u"toReal64", B).HasFunction());
    // The low 32 bits make the colour, whatever the high bits hold.
    auto toColor = Plain<long long, QelColor>(u"toColor", L);
    QelColor const opaque = toColor->Do(0x7F000000FF102030LL);
    EXPECT_EQ(opaque.GetA(), 0xFF);
    EXPECT_EQ(opaque.AsInt32(), static_cast<int>(0xFF102030u));
    auto intColor = Plain<int, QelColor>(u"toColor", I);
    EXPECT_EQ(opaque.AsInt32(), intColor->Do(static_cast<int>(0xFF102030u)).AsInt32());

    QelDateTime const day =
        QelDateTime::FromValue(QelDateTime::ComputeQelDateTime(2021, 1, 3, 0, 0, 0, 0));
    EXPECT_EQ((Plain<QelDateTime, int>(u"getYear", T)->Do(day)), 2021);
    EXPECT_EQ((Plain<QelDateTime, int>(u"getMonth", T)->Do(day)), 1);
    // 3 January 2021 is a Sunday of ISO week 53 of 2020.
    EXPECT_EQ((Plain<QelDateTime, int>(u"getISOWeek", T)->Do(day)), 53);
    EXPECT_EQ((Plain<QelDateTime, int>(u"getISOYear", T)->Do(day)), 2020);
    EXPECT_EQ((Plain<double, QelDateTime>(u"toDateTime", R)->Do(day.ToDouble())), day);
    EXPECT_EQ((Special<QelDateTime, double>(u"toReal64", T)->Do(day, X)), Result<double>(0, X));
}

TEST(BuiltinMapTest, SpecialFormsDifferAsDesigned) {
    EXPECT_EQ((Special<int, int>(u"normalize", I)->Do(5, X)), Result<int>(0, N));
    EXPECT_EQ((Special<int, int>(u"normalize", I)->Do(5, N)), Result<int>(5, N));
    auto text = Special<RIndirectString, RIndirectString>(u"normalize", S)
                    ->Do(RIndirectString(u"x"), SpecialKind::All);
    EXPECT_EQ(text.first.GetValue(), TStringCore());
    EXPECT_EQ(text.second, N);

    auto ln = Special<long long, double>(u"ln", L);
    EXPECT_EQ(ln->Do(0, N), Result<double>(0, X));
    EXPECT_EQ(ln->Do(-3, N), Result<double>(0, X));
    EXPECT_EQ(ln->Do(1, N), Result<double>(0, N));
    EXPECT_TRUE((std::isnan(Special<double, double>(u"ln", R)->Do(kNaN, N).first)));
    auto sqrt = Special<double, double>(u"sqrt", R);
    EXPECT_EQ(sqrt->Do(0, N), Result<double>(0, N));
    EXPECT_TRUE(std::signbit(sqrt->Do(-0.0, N).first));
    EXPECT_EQ(sqrt->Do(-1, N), Result<double>(0, X));
    EXPECT_EQ((Special<int, float>(u"sqrt", I)->Do(16, N)), Result<float>(4.0f, N));
    EXPECT_EQ((Special<double, double>(u"exp", R)->Do(0, SpecialKind::Error)),
              Result<double>(0, X));

    // ">=" keeps the input's kind; "<" and ">" turn it into Null.
    Values const three{factory::MakeInt32(3)};
    constexpr SpecialKind skipped = SpecialKind::Skipped;
    EXPECT_EQ((CreatedSpecial<int, bool>(u">=", I, three)->Do(9, skipped)),
              Result<bool>(false, skipped));
    EXPECT_EQ((CreatedSpecial<int, bool>(u"<", I, three)->Do(1, skipped)), Result<bool>(false, X));
    EXPECT_EQ((CreatedSpecial<int, bool>(u">", I, three)->Do(9, N)), Result<bool>(true, N));
    EXPECT_TRUE((Created<int, bool>(u"<", I, three)->Do(2)));
    EXPECT_FALSE((Created<int, bool>(u">", I, three)->Do(3)));
    EXPECT_TRUE((CreatedSpecial<int, bool>(u">=", I, three)->Do(3, N).first));
    EXPECT_TRUE((Created<double, bool>(u"<", R, {factory::MakeReal64(2.5)})->Do(2.4)));
    // A DateTime constant for a DateTime column; anything else is refused.
    QelDateTime const day = QelDateTime::FromValue(QelDateTime::DateTimeDefault);
    EXPECT_TRUE((CreatedSpecial<QelDateTime, bool>(u">=", T, {factory::MakeDateTime(day)})
                     ->Do(day, N)
                     .first));
    EXPECT_EQ((ThrownText([&] { CreatedSpecial<QelDateTime, bool>(u">=", T, three); })),
              "expected date but was \ni");

    EXPECT_TRUE((Created<RIndirectString, bool>(u"equalToValue", S, {factory::MakeString(u"a")})
                     ->Do(RIndirectString(u"a"))));
    EXPECT_EQ((CreatedSpecial<int, bool>(u"equalToValue", I, three)->Do(3, X)),
              Result<bool>(false, X));
    EXPECT_FALSE(Unary(u"equalToValue", L).HasSpecialFunction());
}

TEST(BuiltinMapTest, ConstantCreatorsCheckTheirConstantOnce) {
    EXPECT_EQ((Created<int, int>(u"addConstant", I, {factory::MakeInt32(INT_MAX)})->Do(1)),
              INT_MIN);
    EXPECT_EQ((Created<float, float>(u"multiplyConstant", F, {factory::MakeReal32(2)})->Do(1.5f)),
              3.0f);
    EXPECT_EQ((Created<long long, long long>(u"divideConstant", L, {factory::MakeInt64(-1)})
                   ->Do(LLONG_MIN)),
              LLONG_MIN);
    // A zero constant fails when the functor is made, even for no element.
    for (auto const& zero : {factory::MakeReal64(0.0), factory::MakeReal64(-0.0)}) {
        EXPECT_EQ((ThrownText([&] { Created<double, double>(u"divideConstant", R, {zero}); })),
                  "divide by zero error ");
    }
    EXPECT_EQ((ThrownText([] { Created<int, int>(u"addConstant", I, {}); })),
              "null is not a valid argument");
    EXPECT_EQ((ThrownText([] { Created<int, int>(u"addConstant", I, {nullptr}); })),
              "null is not a valid argument");
}

template <class S>
std::shared_ptr<StoreValue> SetOf(Type const* element, std::initializer_list<S> members) {
    return factory::MakeSet<S>(element, std::make_unique<ValueSetContainer<S>>(members), nullptr);
}

TEST(BuiltinMapTest, SetCreatorsAnswerMembership) {
    Values const odd{SetOf<unsigned int>(I, {1, 3, static_cast<unsigned int>(-5)})};
    auto isIn = Created<int, bool>(u"isInSet", I, odd);
    auto isNotIn = Created<int, bool>(u"isNotInSet", I, odd);
    std::vector<int> const in{1, 2, 3, -5};
    bool out[4];
    ArrayView<bool> o(out, 4);
    isIn->Project(ArrayView<int const>(in.data(), 4), o);
    EXPECT_EQ((std::vector<bool>(out, out + 4)), (std::vector<bool>{true, false, true, true}));
    EXPECT_TRUE(isNotIn->Do(2));
    EXPECT_FALSE(isNotIn->Do(-5));
    // Reals are members by their bits: -0.0 is not 0.0.
    Values const zero{SetOf<unsigned long long>(R, {0ULL})};
    auto keep = Created<double, bool>(u"keepOnly", R, zero);
    EXPECT_TRUE(keep->Do(0.0));
    EXPECT_FALSE(keep->Do(-0.0));
    // The set's element type must be the function's.
    Values const wide{SetOf<unsigned long long>(L, {1ULL})};
    EXPECT_EQ((ThrownText([&] { Created<int, bool>(u"isInSet", I, wide); })),
              "StoreValue is not an ITypedSet");
    Values const real32{SetOf<unsigned int>(F, {1u})};
    EXPECT_EQ((ThrownText([&] { Created<int, bool>(u"isInSet", I, real32); })),
              "type doesn't match expected type");
    EXPECT_EQ(Builtins()
                  .GetFunctionInfo(FunctionKey(RInternString(u"isInSet"), I))
                  .GetCreatorInputTypes()
                  .front(),
              SetType::Get(I));
}

}  // namespace
}  // namespace qel::core
