#include "core/main/store/ValueSetImpl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/SetAdapter.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/StorageTypes.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {
namespace {

using namespace factory;
using test::Refusal;
using test::ThrownText;
using Kinds = std::vector<SpecialKind>;

// Four distinct elements of each storage type, and their element type. Nested
// storage takes any element type; boxed numbers stand in for the external
// values a host would put there, as theirs are the hash and equality it uses.
template <class T>
std::pair<Type const*, std::vector<T>> Samples() {
    Type const* const i32 = IntType::Get32();
    if constexpr (std::is_same_v<T, unsigned char>) {
        return {BoolType::Get(), {0, 1, 2, 3}};
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return {i32, {7, 8, 9, 10}};
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        return {IntType::Get64(), {1ull << 40, 8, 9, 10}};
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return {StringType::Get(), {u"a", u"a long text beyond inline", u"c", u"d"}};
    } else if constexpr (std::is_same_v<T, QelTuple>) {
        TupleType const* const type = TupleType::Get({i32});
        std::vector<QelTuple> tuples(4, QelTuple(type));
        for (int i = 0; i < 4; ++i)
            tuples[i].SetNthInt32(0, 7 + i);
        return {type, tuples};
    } else {
        return {i32, {MakeInt32(7), MakeInt32(8), MakeInt32(9), MakeInt32(10)}};
    }
}

template <class T>
std::shared_ptr<StoreValue> MakeSetOf(Type const* type, std::vector<T> const& values,
                                      Kinds const& kinds = {}) {
    auto set = MakeSetContainer<T>(type, 16);
    set->insert(values.begin(), values.end());
    return MakeSet<T>(type, std::move(set),
                      std::make_unique<SpecialKindSet>(kinds.begin(), kinds.end()));
}

template <class T>
std::vector<T> Walk(ITypedSet<T> const& set) {
    std::vector<T> out;
    for (T const& e : set.GetValues())
        out.push_back(e);
    return out;
}

template <class T>
class ValueSetTypedTest : public testing::Test {};
using StorageTypes = testing::Types<QEL_STORAGE_TYPES>;
TYPED_TEST_SUITE(ValueSetTypedTest, StorageTypes);

TYPED_TEST(ValueSetTypedTest, MembersCopiesAndArrays) {
    using T = TypeParam;
    auto const samples = Samples<T>();
    Type const* const type = samples.first;
    std::vector<T> const& v = samples.second;
    // A fresh copy of the first element is the same member (for nested
    // values: another pointer to an equal value).
    auto const again = Samples<T>().second[0];
    auto value = MakeSetOf<T>(type, {v[0], v[1], again, v[2]});
    auto const& set = value->template AsTypedSet<T>();
    EXPECT_EQ(set.GetType(), SetType::Get(type));
    EXPECT_EQ(set.GetCount(), 3u);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(set.Contains(v[i])) << i;
    EXPECT_FALSE(set.Contains(v[3]));

    std::vector<T> const members = Walk(set);
    ASSERT_EQ(members.size(), 3u);
    typename ElementHashTraits<T>::Equal const same;
    for (int i = 0; i < 3; ++i) {
        auto const isV = [&](T const& e) { return same(e, v[i]); };
        EXPECT_EQ(std::count_if(members.begin(), members.end(), isV), 1) << i;
    }
    EXPECT_EQ(ThrownText([&] { ++set.GetValues().end(); }), "iterator out of bounds");

    // Copies share the hash set: their walks start at the same node.
    T const* first = &*set.GetValues();
    std::unique_ptr<StoreValue> const clone = value->Clone();
    EXPECT_EQ(&*clone->template AsTypedSet<T>().GetValues(), first);
    auto const bare = set.CopyWithoutSpecials();
    EXPECT_EQ(&*bare->template AsTypedSet<T>().GetValues(), first);

    // To an array in node order, and back.
    auto const array = set.CopyAsArray(true);
    auto const& typed = array->template AsTypedArray<T>();
    EXPECT_FALSE(typed.HasSpecialValues());
    ASSERT_EQ(typed.GetCount(), 3u);
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_TRUE(same(typed.At(i), members[i])) << i;
    EXPECT_EQ(typed.CopyAsSet(true)->GetCount(), 3u);

    // Every element once through the boxed iterable, boxed as its type.
    auto const& iterable = set.GetStoreValues();
    unsigned int steps = 0;
    for (auto it = iterable.begin()->Clone(); it->NotEqual(iterable.end()); it->MoveNext()) {
        EXPECT_EQ(it->GetCurrent()->GetType(), type);
        ++steps;
    }
    EXPECT_EQ(steps, 3u);
    EXPECT_TRUE(value->AsCollection().ContainsStringKey(RInternString(u"not an element")));
}

TEST(ValueSetTest, SpecialsAreCountedWalkedAndBoxedLast) {
    Type const* const i32 = IntType::Get32();
    auto value = MakeSetOf<unsigned int>(i32, {1, 2}, {SpecialKind::Null, SpecialKind::Normal});
    auto const& set = value->AsTypedSet<unsigned int>();
    EXPECT_EQ(set.GetCount(), 3u) << "Normal is no special";
    EXPECT_EQ(set.GetSpecialCount(), 1u);
    EXPECT_TRUE(set.ContainsSpecialKind(SpecialKind::Null));
    EXPECT_FALSE(set.ContainsSpecialKind(SpecialKind::Normal));

    std::vector<std::string> boxed;
    auto const& iterable = set.GetStoreValues();
    for (auto it = iterable.begin()->Clone(); it->NotEqual(iterable.end()); it->MoveNext())
        boxed.push_back(FormatPrimitive(*it->GetCurrent()).toStdString());
    std::sort(boxed.begin(), boxed.end() - 1);
    EXPECT_EQ(boxed, (std::vector<std::string>{"1", "2", "Null"}));
    auto past = iterable.end()->Clone();
    EXPECT_FALSE(past->NotEqual(nullptr));
    EXPECT_EQ(ThrownText([&] { past->GetCurrent(); }), "iterator out of bounds");
    EXPECT_EQ(ThrownText([&] { past->MoveNext(); }), "iterator out of bounds");

    // Several kinds walk as a range; without a special both ends are null.
    auto many = MakeSetOf<unsigned int>(
        i32, {}, {SpecialKind::Missing, SpecialKind::Null, SpecialKind::Error});
    auto const& kinds = many->AsTypedSet<unsigned int>().GetSpecialValues();
    Kinds walked(kinds.begin(), kinds.end());
    std::sort(walked.begin(), walked.end());
    EXPECT_EQ(walked, (Kinds{SpecialKind::Null, SpecialKind::Error, SpecialKind::Missing}));
    EXPECT_TRUE(many->AsSet().GetStoreValues().begin()->GetCurrent()->IsSpecial());

    auto empty = MakeSet<unsigned int>(i32, std::make_unique<ValueSetContainer<unsigned int>>(),
                                       std::make_unique<SpecialKindSet>());
    auto const& none = empty->AsTypedSet<unsigned int>();
    EXPECT_FALSE(none.HasSpecialValues());
    EXPECT_EQ(none.GetSpecialValues().begin(), nullptr);
    EXPECT_EQ(none.GetSpecialValues().end(), nullptr);
    EXPECT_FALSE(none.GetStoreValues().begin()->NotEqual(none.GetStoreValues().end()));
}

TEST(ValueSetTest, CopyAsArrayPutsSpecialsBehindPlaceholders) {
    auto value = MakeSetOf<unsigned int>(IntType::Get32(), {1}, {SpecialKind::Null});
    auto with = value->AsSet().CopyAsArray(true);
    auto const& array = with->AsTypedArray<unsigned int>();
    ASSERT_EQ(array.GetCount(), 2u);
    EXPECT_EQ(array.At(0), 1u);
    EXPECT_EQ(array.At(1), 0u);
    EXPECT_EQ(array.GetSpecialAt(0), SpecialKind::Normal);
    EXPECT_EQ(array.GetSpecialAt(1), SpecialKind::Null);
    auto const without = value->AsSet().CopyAsArray(false);
    EXPECT_EQ(without->GetCount(), 1u);
    EXPECT_FALSE(value->AsSet().CopyWithoutSpecials()->AsSet().HasSpecialValues());
}

TEST(ValueSetTest, StringKeysAskForMembership) {
    auto value = MakeSetOf<unsigned int>(IntType::Get32(), {7, 8});
    auto const& keys = value->AsCollection();
    EXPECT_TRUE(keys.GetByString(RInternString(u"7"))->AsBool());
    EXPECT_FALSE(keys.GetByString(RInternString(u"9"))->AsBool());
    EXPECT_TRUE(keys.TryGetByString(RInternString(u"8"))->AsBool());
    EXPECT_EQ(keys.TryGetByString(RInternString(u"x")), nullptr);
    EXPECT_EQ(ThrownText([&] { keys.GetByString(RInternString(u"x")); }), "cannot parse int32");

    auto const tuples = Samples<QelTuple>();
    auto const tupleSet = MakeSetOf<QelTuple>(tuples.first, tuples.second);
    EXPECT_EQ(ThrownText([&] { tupleSet->AsCollection().GetByString(RInternString(u"1")); }),
              "not implemented");
    EXPECT_EQ(tupleSet->AsCollection().TryGetByString(RInternString(u"1")), nullptr);
    auto const boxes = Samples<std::shared_ptr<StoreValue>>();
    auto const boxSet = MakeSetOf<std::shared_ptr<StoreValue>>(boxes.first, boxes.second);
    EXPECT_EQ(Refusal([&] { boxSet->AsCollection().GetByString(RInternString(u"7")); }),
              "ValueSet of StoreValues does not support look-up by string | ");
    EXPECT_EQ(boxSet->AsCollection().TryGetByString(RInternString(u"7")), nullptr);
}

TEST(ValueSetTest, ConstructionFailures) {
    using U = unsigned int;
    Type const* const i32 = IntType::Get32();
    EXPECT_EQ(Refusal([&] { MakeSet<U>(i32, nullptr, nullptr); }),
              "set cannot be null | (m_values) != nullptr");
    EXPECT_EQ(
        Refusal([] { ValueSet<U>(nullptr, std::make_unique<ValueSetContainer<U>>(), nullptr); }),
        "null is not a valid argument | (m_type) != nullptr");
    EXPECT_EQ(ThrownText([] { MakeSetOf<U>(IntType::Get64(), {1}); }),
              "type doesn't match expected type");
    auto const tuples = Samples<QelTuple>();
    EXPECT_EQ(
        Refusal([&] { MakeSetOf<QelTuple>(tuples.first, tuples.second, {SpecialKind::Null}); }),
        "arrays with nested collections do not support special values | "
        "!(IsCollectionStoreType(m_type->GetElementType()->GetStoreType()))");

    // Typed reads of the elements check the element type first.
    auto const real = MakeSetOf<U>(RealType::Get32(), {0x3f800000u});
    EXPECT_EQ(*SetAdapter<float>(real).GetValues(), 1.0f);
    EXPECT_EQ(ThrownText([&] { real->AsTypedSet<U>().GetValues().AsCastIterator<int>(); }),
              "type doesn't match expected type");
    // The inline iterator's refusal names the library's source, not this
    // program's copy of the header.
    std::string context;
    try {
        *real->AsTypedSet<U>().GetValues().end();
    } catch (QelException const& e) {
        context = e.GetContext().toStdString();
    }
    EXPECT_EQ(context.rfind("Source: core/main/store/SetIterators:", 0), 0u) << context;
}

TEST(ValueSetTest, ArraysBecomeSetsWithOrWithoutTheirSpecials) {
    auto const Members = [](std::shared_ptr<StoreValue> const& set) {
        std::vector<unsigned int> out = Walk(set->AsTypedSet<unsigned int>());
        std::sort(out.begin(), out.end());
        return out;
    };
    using V = std::vector<unsigned int>;
    auto plain = MakeArray<unsigned int>(
        IntType::Get32(), {1, 0, 3, 3},
        {SpecialKind::Normal, SpecialKind::Null, SpecialKind::Normal, SpecialKind::Normal});
    auto both = plain->AsArray().CopyAsSet(true);
    // The placeholder under the special is a member too.
    EXPECT_EQ(Members(both), (V{0, 1, 3}));
    EXPECT_TRUE(both->AsSet().ContainsSpecialKind(SpecialKind::Null));
    EXPECT_FALSE(plain->AsArray().CopyAsSet(false)->AsSet().HasSpecialValues());

    auto picked = plain->AsArray().CopyAndApplyIndices({3, 3, 0}, SortSpecOrder::UNKNOWN);
    auto const fromPicked = picked->AsArray().CopyAsSet(true);
    EXPECT_EQ(Members(fromPicked), (V{1, 3}));
    EXPECT_FALSE(fromPicked->AsSet().HasSpecialValues()) << "only Normal was picked";
    auto viaNull = plain->AsArray().CopyAndApplyIndices({1}, SortSpecOrder::UNKNOWN);
    EXPECT_TRUE(viaNull->AsArray().CopyAsSet(true)->AsSet().ContainsSpecialKind(SpecialKind::Null));
    EXPECT_EQ(Members(viaNull->AsArray().CopyAsSet(false)), (V{0}));
    auto broken = plain->AsArray().CopyAndReplaceIndices({9}, SortSpecOrder::UNKNOWN);
    EXPECT_EQ(ThrownText([&] { broken->AsArray().CopyAsSet(false); }), "index out of bounds");
}

// A pool whose collation "CI" ignores ASCII case; any other is exact.
class CaseBlindPool : public ICollatorPool, public ICollator {
public:
    ICollator* GetCollator(Collation const& c) override {
        return c.GetLocale() == m_ci.GetLocale() ? static_cast<ICollator*>(this) : &m_exact;
    }
    bool AreEquivalent(Collation const& a, Collation const& b) const override {
        return a.GetLocale() == b.GetLocale();
    }
    Collation const& GetCollation() const override { return m_ci; }
    int Compare(TStringCore const& a, TStringCore const& b) const override {
        return TStringCore::compare(a, b, CaseSensitivity::CaseInsensitive);
    }
    std::size_t Hash(TStringCore const& text) const override { return text.size(); }

private:
    Collation m_ci{RInternString(u"CI")};
    DefaultCollator m_exact;
};

TEST(ValueSetTest, StringsFollowTheCollationOfTheirType) {
    auto previous = SetCollatorPool(std::make_shared<CaseBlindPool>());
    {
        Collation const ci{RInternString(u"CI")};
        Type const* const type = StringType::Get(ci);
        auto const value = MakeSetOf<RIndirectString>(type, {u"abc", u"ABC", u"x"});
        auto const& set = value->AsTypedSet<RIndirectString>();
        EXPECT_EQ(set.GetCount(), 2u);
        EXPECT_TRUE(set.Contains(u"aBc"));
        EXPECT_TRUE(value->AsCollection().GetByString(RInternString(u"X"))->AsBool());
        auto const array = MakeArray<RIndirectString>(type, {u"abc", u"ABC"});
        EXPECT_EQ(array->AsArray().CopyAsSet(false)->GetCount(), 1u);

        using Strings = ValueSetContainer<RIndirectString>;
        EXPECT_EQ(
            Refusal([&] { MakeSet<RIndirectString>(type, std::make_unique<Strings>(), nullptr); }),
            "the collection and raw container have different collations | "
            "(c == set.hash_function().GetCollation())");
        EXPECT_EQ(Refusal([&] {
                      MakeSet<RIndirectString>(
                          type, std::make_unique<Strings>(4, CollatorHash(ci), CollatorEqualTo()),
                          nullptr);
                  }),
                  "the collection and raw container have different collations | "
                  "(c == set.key_eq().GetCollation())");
    }
    SetCollatorPool(std::move(previous));
}

}  // namespace
}  // namespace qel::core
