#include "qel/core/functions/FunctionRegistry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/test/ThrownText.h"
#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/utility/MetricsFilter.h"

namespace qel::core {
namespace {

using test::ThrownText;
using Container = FunctionKey::ArgContainer;
using Inputs = TypeRefVec<VariableTypeRef>;
using Unary = RegistryOfUnaryFunctions;
using Binary = RegistryOfBinaryFunctions;

Type const* const I = IntType::Get32();
Type const* const L = IntType::Get64();

// Distinct addresses to store; never called.
void First() {}
void Second() {}
ErasedFunction const kFirst = &First;
ErasedFunction const kSecond = &Second;

FunctionKey Key(char16_t const* name, Inputs inputs, Container c = Container::Individual) {
    return FunctionKey(RInternString(name), inputs, c);
}

int Zero(MultinaryArguments const&) {
    return 0;
}

TEST(FunctionRegistryTest, PlainAndSpecialShareOneKeyInEitherOrder) {
    for (bool plainFirst : {true, false}) {
        auto registry = FunctionRegistry::Make();
        Unary& unary = registry->GetMutableUnaryFuncs();
        auto const plain = [&] {
            unary.Register(RInternString(u"f"), I, L, Unary::Function, kFirst);
        };
        // The second registration's output and flags are not looked at.
        auto const special = [&] {
            unary.Register(Key(u"f", {I}), I, Inputs{L}, Unary::SpecialCreator, true, kSecond);
        };
        plainFirst ? (plain(), special()) : (special(), plain());
        RegisteredFunctions const& entry = registry->GetUnaryFuncs().GetFunctions(Key(u"f", {I}));
        EXPECT_EQ(entry.GetFunction(), kFirst);
        EXPECT_EQ(entry.GetSpecialFunction(), kSecond);
        EXPECT_EQ(entry.GetOutputType(), plainFirst ? L : I);
        EXPECT_EQ(entry.IsCreator(), !plainFirst);
        EXPECT_EQ(entry.IsStateful(), !plainFirst);
        EXPECT_EQ(registry->GetFunctionInfos().GetSize(), 1u);
        FunctionInfo const& info = registry->GetFunctionInfo(Key(u"f", {I}));
        EXPECT_EQ(info.IsStateful(), !plainFirst);
        EXPECT_EQ(info.GetCreatorInputTypes().size(), plainFirst ? 0u : 1u);
    }
}

TEST(FunctionRegistryTest, EveryRegistrationRefusalNamesTheFunction) {
    auto registry = FunctionRegistry::Make();
    Unary& unary = registry->GetMutableUnaryFuncs();
    Binary& binary = registry->GetMutableBinaryFuncs();
    EXPECT_EQ(ThrownText([&] {
                  unary.Register(Key(u"u", {I, I}), I, Unary::Function, kFirst);
              }),
              "unary transform function requires one input type: \nu");
    EXPECT_EQ(ThrownText([&] { binary.Register(Key(u"b", {I}), I, Binary::Function, kFirst); }),
              "binary transform function requires two input types: \nb");
    EXPECT_EQ(ThrownText([&] {
                  binary.Register(Key(u"b", {I, I}), {}, Binary::Function, kFirst);
              }),
              "transform function needs non-empty output type: \nb");
    EXPECT_EQ(ThrownText([&] {
                  registry->GetMutableMultinaryFuncs().Register(Key(u"m", {I}), {}, kFirst);
              }),
              "transform function needs non-empty output type: \nm");
    // Nothing refused above left an entry.
    EXPECT_EQ(registry->GetFunctionInfos().GetSize(), 0u);
    EXPECT_EQ(binary.GetMap().GetSize(), 0u);

    binary.Register(RInternString(u"b"), I, I, I, Binary::Function, kFirst);
    binary.Register(RInternString(u"b"), I, I, I, Binary::SpecialFunction, kFirst);
    EXPECT_EQ(ThrownText([&] {
                  binary.Register(RInternString(u"b"), I, I, I, Binary::Function, kSecond);
              }),
              "function already exists at key: \nb");
    EXPECT_EQ(ThrownText(
                  [&] { binary.Register(RInternString(u"b"), I, I, I, Binary::Creator, kSecond); }),
              "function already exists at key: \nb");
    EXPECT_EQ(ThrownText([&] {
                  binary.Register(RInternString(u"b"), I, I, I, Binary::SpecialFunction, kSecond);
              }),
              "special function already exists at key: \nb");
    EXPECT_EQ(binary.GetFunctions(Key(u"b", {I, I})).GetFunction(), kFirst);
    EXPECT_EQ(ThrownText([&] {
                  binary.Register(RInternString(u"n"), I, I, I, Binary::Function, nullptr);
              }),
              "transform function was null");

    // The validators of the typed helpers.
    EXPECT_EQ(ThrownText([&] { unary.ValidateInputTypes<int>(Key(u"v", {L})); }),
              "input type mismatch on transform function: \nv");
    EXPECT_EQ(ThrownText([&] {
                  binary.ValidateInputTypes<int, double>(Key(u"v", {I, I}));
              }),
              "input type mismatch on transform function: \nv");
    EXPECT_EQ(ThrownText([&] { unary.ValidateOutputType<bool>(Key(u"v", {I}), I); }),
              "output type mismatch on transform function: \nv");
    EXPECT_EQ(ThrownText([&] { unary.ValidateInputTypes<int>(Key(u"v", {})); }),
              "unary transform function requires one input type: \nv");
    unary.ValidateInputTypes<QelDateTime>(Key(u"v", {DateType::Get()}));
    unary.ValidateInputTypes<QelDateTime>(Key(u"v", {DateTimeType::Get()}));
    unary.ValidateInputTypes<std::shared_ptr<StoreValue>>(Key(u"v", {VariableTypeRef()}));
    unary.ValidateInputTypes<std::shared_ptr<StoreValue>>(Key(u"v", {ArrayType::Get(I)}));
    EXPECT_EQ(ThrownText([&] { unary.ValidateInputTypes<QelDateTime>(Key(u"v", {I})); }),
              "input type mismatch on transform function: \nv");
}

TEST(FunctionRegistryTest, MultinaryKeysAreVectorsAndTheTwoLevelsDisagreeOnStateful) {
    auto registry = FunctionRegistry::Make();
    RegistryOfMultinaryFunctions& multinary = registry->GetMutableMultinaryFuncs();
    multinary.Register<int>(Key(u"m", {I, L}), I, &Zero);
    FunctionKey const query = Key(u"m", {I, L}, Container::Vector);
    EXPECT_FALSE(registry->GetFunctionInfo(query).IsStateful());
    EXPECT_TRUE(multinary.GetFunctions(query).IsStateful());
    EXPECT_FALSE(registry->HasFunctionInfo(Key(u"m", {I, L})));
    using Signature = int (*)(MultinaryArguments const&);
    EXPECT_EQ(reinterpret_cast<Signature>(multinary.GetFunctions(query).GetFunction())({}), 0);

    // A repeated key is refused by the owner, before the multinary map grows.
    EXPECT_EQ(ThrownText([&] {
                  multinary.Register<int>(Key(u"m", {I, L}), I, &Zero);
              }),
              "function already exists at key: \nm");
    EXPECT_EQ(multinary.GetMap().GetSize(), 1u);
    EXPECT_EQ(ThrownText([&] { multinary.Register<bool>(Key(u"m2", {I}), I, nullptr); }),
              "output type mismatch on transform function: \nm2");

    // A host may register beside the built-ins, but not the same key twice.
    EXPECT_EQ(ThrownText([&] { registry->Register(query, FunctionInfo(I, false, false)); }),
              "function already exists at key: \nm");
}

TEST(FunctionRegistryTest, BuiltinsRegisterInListOrderInsideTheirMetricScope) {
    std::vector<std::string> scopes;
    metrics::MetricsSink previous =
        metrics::SetSink([&](metrics::MetricsValue const& value, std::chrono::nanoseconds) {
            scopes.push_back(value.m_name);
        });
    auto registry = FunctionRegistry::Make();
    RegisterAllBuiltinFunctions(*registry);
    metrics::SetSink(std::move(previous));
    EXPECT_EQ(scopes, std::vector<std::string>{"qel_core_RegisterAllBuiltinFunctions"});

    // Filter, map and reduce, then setValueMulti (the vector keys), then
    // zipWith.
    std::vector<std::string> names;
    std::vector<bool> vector;
    registry->GetFunctionInfos().ForEach([&](FunctionKey const& key, FunctionInfo const&) {
        names.push_back(key.GetName().GetValue().toStdString());
        vector.push_back(key.GetInputArgContainer() == Container::Vector);
    });
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.front(), "filterNullAndMissing");
    EXPECT_EQ(names.back(), "bitor");
    auto const firstVector = std::find(vector.begin(), vector.end(), true) - vector.begin();
    auto const lastVector = vector.rend() - std::find(vector.rbegin(), vector.rend(), true);
    EXPECT_EQ(names[firstVector], "+");
    EXPECT_EQ(names[lastVector - 1], "isFalse");
    EXPECT_EQ(std::count(vector.begin() + firstVector, vector.begin() + lastVector, false), 0);
    EXPECT_EQ(std::count(vector.begin() + lastVector, vector.end(), true), 0);

    // Date and DateTime are two exact keys of min's special form only.
    RegisteredFunctions const& dateMin =
        registry->GetBinaryFuncs().GetFunctions(Key(u"min", {DateType::Get(), DateType::Get()}));
    EXPECT_TRUE(dateMin.HasSpecialFunction());
    EXPECT_FALSE(dateMin.HasFunction());

    // A second fill fails at its first registration, a special function.
    EXPECT_EQ(ThrownText([&] { RegisterAllBuiltinFunctions(*registry); }),
              "special function already exists at key: \nfilterNullAndMissing");
}

}  // namespace
}  // namespace qel::core
