#include "qel/core/functions/FunctionRegistryMap.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/test/ThrownText.h"
#include "qel/core/functions/FunctionKey.h"

namespace qel::core {
namespace {

using test::ThrownText;
using Container = FunctionKey::ArgContainer;
using Inputs = TypeRefVec<VariableTypeRef>;

Type const* const I = IntType::Get32();
Type const* const L = IntType::Get64();
Type const* const AI = ArrayType::Get(IntType::Get32());
Type const* const SI = SetType::Get(IntType::Get32());
VariableTypeRef const Any;

FunctionKey Key(char16_t const* name, Inputs inputs, Container c = Container::Individual) {
    return FunctionKey(RInternString(name), inputs, c);
}

// The value tells which candidate resolved: its output type.
FunctionInfo Tag(Type const* output) {
    return FunctionInfo(output, false, false);
}

TEST(FunctionKeyTest, ScoresCountTheInputsThatFellBackOnTheAnyType) {
    auto const score = [](Inputs query, Inputs registered, Container c = Container::Individual) {
        return ScoreMatchingFunction(c, query, registered);
    };
    EXPECT_EQ(score({}, {}), 0);
    EXPECT_EQ(score({I}, {I, I}), -1);
    EXPECT_EQ(score({I}, {L}), -1);
    // In the individual form the any type stands for collections only.
    EXPECT_EQ(score({I}, {Any}), -1);
    EXPECT_EQ(score({SI}, {Any}), 1);
    EXPECT_EQ(score({AI, SI}, {Any, Any}), 2);
    EXPECT_EQ(score({I}, {Any}, Container::Vector), 1);
    // Types that differ below the base type cost nothing.
    EXPECT_EQ(score({RealType::Get64(10, 2)}, {RealType::Get64()}), 0);
    EXPECT_EQ(score({ArrayType::Get(RealType::Get32(3, 1))}, {ArrayType::Get(RealType::Get32())}),
              0);
    // A null query type matches a null registered type only.
    EXPECT_EQ(score({Any}, {Any}), 0);
    EXPECT_EQ(score({Any}, {I}), -1);
    EXPECT_EQ(score({Any}, {I}, Container::Vector), -1);
}

TEST(FunctionKeyTest, KeysGroupByNameContainerAndCountAndMatchByBaseType) {
    FunctionKey const a = Key(u"f", {I, AI});
    EXPECT_EQ(a.GetPotentialOverloadHash(), Key(u"f", {L, SI}).GetPotentialOverloadHash());
    EXPECT_TRUE(a.IsPotentialOverloadCandidate(Key(u"f", {L, Any})));
    EXPECT_FALSE(a.IsPotentialOverloadCandidate(Key(u"g", {I, AI})));
    EXPECT_FALSE(a.IsPotentialOverloadCandidate(Key(u"f", {I})));
    EXPECT_FALSE(a.IsPotentialOverloadCandidate(Key(u"f", {I, AI}, Container::Vector)));

    EXPECT_TRUE(Key(u"f", {RealType::Get64(10, 2)})
                    .AreKeysExactlyEqual(Key(u"f", {RealType::Get64(4, 1)})));
    EXPECT_TRUE(Key(u"f", {Any}).AreKeysExactlyEqual(Key(u"f", {Any})));
    EXPECT_FALSE(Key(u"f", {Any}).AreKeysExactlyEqual(Key(u"f", {SI})));
    EXPECT_FALSE(Key(u"f", {I}).AreKeysExactlyEqual(Key(u"f", {I}, Container::Vector)));

    std::vector<Type const*> const concrete{I, L};
    FunctionKey const call =
        FunctionKey::FromNonVariableInputs(RInternString(u"g"), concrete, Container::Vector);
    EXPECT_TRUE(
        call.AreKeysExactlyEqual(FunctionKey(RInternString(u"g"), I, L, Container::Vector)));

    // Stateful takes part in neither equality nor hashing.
    FunctionInfo const plain(Inputs{I}, L, true, false), stateful(Inputs{I}, L, true, true);
    EXPECT_EQ(plain, stateful);
    EXPECT_EQ(plain.GetHashValue(), stateful.GetHashValue());
    EXPECT_NE(plain, FunctionInfo(Inputs{L}, L, true, false));
    EXPECT_NE(plain, FunctionInfo(Inputs{I}, L, false, false));
    EXPECT_NE(plain, FunctionInfo(Inputs{I}, I, true, false));
}

TEST(FunctionRegistryMapTest, OneValuePerExactKeyInRegistrationOrder) {
    FunctionRegistryMap<FunctionInfo> map;
    auto [first, added] = map.FindOrAddExactKey(Key(u"f", {RealType::Get64()}), Tag(I));
    EXPECT_TRUE(added);
    // The same key up to the base type: the stored value stays.
    auto [again, addedAgain] = map.FindOrAddExactKey(Key(u"f", {RealType::Get64(9, 2)}), Tag(L));
    EXPECT_FALSE(addedAgain);
    EXPECT_EQ(again, first);
    EXPECT_EQ(first->GetOutputType(), I);
    map.FindOrAddExactKey(Key(u"g", {I}), Tag(L));
    map.FindOrAddExactKey(Key(u"f", {Any}), Tag(AI));
    // Later additions to the group move nothing.
    EXPECT_EQ(&map.FindExactKey(Key(u"f", {RealType::Get64()})), first);
    EXPECT_EQ(map.FindExactKey(Key(u"f", {Any})).GetOutputType(), AI);
    EXPECT_EQ(ThrownText([&] { map.FindExactKey(Key(u"f", {SI})); }),
              "transform function not found: \nf(" + SI->ToString().toStdString() + ")");

    std::vector<std::string> order;
    map.ForEach([&](FunctionKey const& key, FunctionInfo const&) {
        order.push_back(key.GetName().GetValue().toStdString());
    });
    EXPECT_EQ(order, (std::vector<std::string>{"f", "g", "f"}));
    EXPECT_EQ(map.GetSize(), 3u);
}

TEST(FunctionRegistryMapTest, TheFirstLowestScoreWinsAndAnEqualScoreOnTheWayIsAmbiguous) {
    // For the query (A<i>, A<i>): `exact` scores 0, the other two score 1.
    FunctionKey const query = Key(u"f", {AI, AI});
    Inputs const exact{AI, AI}, anyFirst{Any, AI}, anySecond{AI, Any};
    auto const mapOf = [](std::vector<Inputs> const& order) {
        FunctionRegistryMap<FunctionInfo> map;
        Type const* tags[] = {I, L, SI};
        for (std::size_t i = 0; i < order.size(); ++i)
            map.FindOrAddExactKey(Key(u"f", order[i]), Tag(tags[i]));
        return map;
    };
    // 0, 1, 1: the walk never meets a second 0.
    auto const best = mapOf({exact, anyFirst, anySecond});
    EXPECT_EQ(best.Resolve(query).GetOutputType(), I);
    // 1, 0, 1 and 1, 0: a better score replaces the best.
    EXPECT_EQ(mapOf({anyFirst, exact, anySecond}).Resolve(query).GetOutputType(), L);
    EXPECT_EQ(mapOf({anyFirst, exact}).Resolve(query).GetOutputType(), L);

    // 1, 1, 0: ambiguous at the second, though a perfect match follows.
    auto const ambiguous = mapOf({anyFirst, anySecond, exact});
    EXPECT_FALSE(ambiguous.CanResolve(query));
    EXPECT_EQ(ambiguous.TryResolve(query, false), nullptr);
    std::string const types = AI->ToString().toStdString();
    EXPECT_EQ(ThrownText([&] { ambiguous.Resolve(query); }),
              "transform function overload is ambiguous: \nf(" + types + ", " + types + ")");

    // No candidate, or none that matches; the vector form's text.
    FunctionRegistryMap<FunctionInfo> empty;
    EXPECT_FALSE(empty.CanResolve(query));
    EXPECT_EQ(ThrownText([&] {
                  best.Resolve(Key(u"f", {I, AI}, Container::Vector));
              }),
              "transform function not found: \nf(vector {" +
                  IntType::Get32()->ToString().toStdString() + ", " + types + "})");
    EXPECT_EQ(ThrownText([&] {
                  best.Resolve(Key(u"f", {I, I}));
              }),
              "transform function not found: \nf(i, i)");
}

TEST(FunctionRegistryMapTest, ATypedOverloadBeatsTheAnyTypeWhicheverCameFirst) {
    for (bool typedFirst : {true, false}) {
        FunctionRegistryMap<FunctionInfo> map;
        if (typedFirst)
            map.FindOrAddExactKey(Key(u"f", {SI}), Tag(I));
        map.FindOrAddExactKey(Key(u"f", {Any}), Tag(L));
        if (!typedFirst)
            map.FindOrAddExactKey(Key(u"f", {SI}), Tag(I));
        EXPECT_EQ(map.Resolve(Key(u"f", {SI})).GetOutputType(), I) << typedFirst;
        EXPECT_EQ(map.Resolve(Key(u"f", {AI})).GetOutputType(), L) << typedFirst;
        // A scalar never reaches the any type in the individual form.
        EXPECT_FALSE(map.CanResolve(Key(u"f", {I})));
    }
}

}  // namespace
}  // namespace qel::core
