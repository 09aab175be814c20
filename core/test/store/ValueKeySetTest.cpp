#include "qel/core/store/ValueKeySet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/KeySetAdapter.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/UnorderedMapUtil.h"

namespace qel::core {
namespace {

using namespace factory;
using test::MatchesRefusal;
using test::ThrownText;
using Uints = DictionaryMap<unsigned int, unsigned int>;
using UintSpecials = SpecialKeyMap<unsigned int>;

// "<what()> | <condition> @ <source without line>": the checks of the public
// headers must name the library's sources, not this program's include path.
template <class Call>
std::string Refused(Call&& call) {
    std::string source;
    std::string const refusal = test::Refusal([&] {
        try {
            call();
        } catch (QelException const& e) {
            source = e.GetContext().toStdString();
            throw;
        }
    });
    return refusal + " @ " + source.substr(0, source.rfind(':'));
}
std::string const kImpl = " @ Source: core/main/store/ValueKeySetImpl";
std::string const kIterators = " @ Source: core/main/store/DictionaryIterators";
std::string const kMapUtil = " @ Source: core/main/utility/UnorderedMapUtil";
std::string Any(std::string const& message, std::string const& source) {
    return message + " | " + test::kAnyCondition + source;
}
RInternString Text(char16_t const* text) {
    return RInternString(text);
}

// Two distinct samples of each storage type, and their type.
template <class T>
std::pair<Type const*, std::vector<T>> Samples() {
    Type const* const i32 = IntType::Get32();
    if constexpr (std::is_same_v<T, unsigned char>) {
        return {BoolType::Get(), {1, 0}};
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return {i32, {7, 8}};
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        return {IntType::Get64(), {70, 80}};
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return {StringType::Get(), {u"a", u"a long text beyond inline"}};
    } else if constexpr (std::is_same_v<T, QelTuple>) {
        std::vector<QelTuple> tuples(2, QelTuple(TupleType::Get({i32})));
        tuples[0].SetNthInt32(0, 7);
        tuples[1].SetNthInt32(0, 8);
        return {TupleType::Get({i32}), tuples};
    } else {
        auto const one = [&](unsigned int i) { return MakeArray<unsigned int>(i32, {i}); };
        return {ArrayType::Get(i32), {one(7), one(8)}};
    }
}

template <class K, class V>
std::shared_ptr<StoreValue> Make(Type const* keyType, Type const* valueType,
                                 std::vector<std::pair<K, V>> const& entries,
                                 std::vector<std::pair<SpecialKind, V>> const& specials = {}) {
    std::unique_ptr<DictionaryMap<K, V>> values;
    if constexpr (std::is_same_v<K, RIndirectString>)
        values = MakeRawKeySet<V>(keyType);
    else
        values = std::make_unique<DictionaryMap<K, V>>();
    for (auto const& [key, value] : entries)
        UnorderedMapInsertUnique(values, key, value);
    auto specialMap = std::make_unique<SpecialKeyMap<V>>();
    for (auto const& [key, value] : specials)
        UnorderedMapInsertUnique(specialMap, key, value);
    return MakeKeySet<K, V>(keyType, valueType, std::move(values), std::move(specialMap));
}

template <class P>
class ValueKeySetTypedTest : public testing::Test {};
using Pairs = testing::Types<
    std::pair<unsigned int, unsigned int>, std::pair<RIndirectString, unsigned long long>,
    std::pair<QelTuple, RIndirectString>, std::pair<unsigned char, std::shared_ptr<StoreValue>>,
    std::pair<unsigned long long, unsigned char>>;
TYPED_TEST_SUITE(ValueKeySetTypedTest, Pairs);

TYPED_TEST(ValueKeySetTypedTest, EntriesLookupsIterationAndCopies) {
    using K = typename TypeParam::first_type;
    using V = typename TypeParam::second_type;
    auto const [keyType, keys] = Samples<K>();
    auto const [valueType, values] = Samples<V>();
    auto set = Make<K, V>(keyType, valueType, {{keys[0], values[0]}, {keys[1], values[1]}},
                          {{SpecialKind::Null, values[1]}});
    auto const& dictionary = set->template AsDictionary<K, V>();
    EXPECT_EQ(dictionary.GetCount(), 3u);
    EXPECT_FALSE(set->AsUniformCollection().HasSpecialValues());
    EXPECT_TRUE(dictionary.GetValue(keys[1]) == values[1]);
    EXPECT_TRUE(dictionary.GetValue(SpecialKind::Null) == values[1]);
    EXPECT_TRUE(dictionary.ContainsKey(keys[0]));

    // Each key once with its value, in the map's order; the boxed values
    // follow that order, the special keys' last.
    std::vector<std::shared_ptr<StoreValue>> expected;
    int walked = 0;
    for (auto const& [key, value] : dictionary.GetKeyValuePairs()) {
        EXPECT_TRUE(value == values[key == keys[0] ? 0 : 1]);
        walked += key == keys[0] ? 1 : 10;
        expected.push_back(MakeStoreValueFromStorageType<V>(valueType, value));
    }
    EXPECT_EQ(walked, 11);
    for (auto const& [kind, value] : dictionary.GetSpecialKeyValuePairs())
        expected.push_back(MakeStoreValueFromStorageType<V>(valueType, value));

    // A copy shares the maps, and its iterable is its own: it outlives the
    // original.
    V const* const shared = &dictionary.GetValue(keys[0]);
    std::shared_ptr<StoreValue> copy = set->Clone();
    EXPECT_EQ((&copy->template AsDictionary<K, V>().GetValue(keys[0])), shared);
    set.reset();
    auto const& iterable = copy->AsUniformCollection().GetStoreValues();
    std::size_t i = 0;
    for (auto it = iterable.begin()->Clone(); it->NotEqual(iterable.end()); it->MoveNext(), ++i) {
        ASSERT_LT(i, expected.size());
        if constexpr (std::is_same_v<V, std::shared_ptr<StoreValue>>)
            EXPECT_EQ(it->GetCurrent(), expected[i]);
        else
            EXPECT_TRUE(it->GetCurrent()->IsEqual(*expected[i])) << i;
    }
    EXPECT_EQ(i, 3u);
}

TEST(ValueKeySetTest, SpecialKeysCountApartAndIterationStopsAtTheEnd) {
    Type const* const i32 = IntType::Get32();
    auto const set = Make<unsigned int, unsigned int>(
        i32, i32, {{1, 10}, {2, 20}, {3, 30}}, {{SpecialKind::Null, 40}, {SpecialKind::Error, 50}});
    auto const& dictionary = set->AsDictionary<unsigned int, unsigned int>();
    EXPECT_EQ(dictionary.GetCount(), 5u);
    EXPECT_EQ(dictionary.GetSpecialKeyCount(), 2u);
    EXPECT_TRUE(dictionary.HasSpecialKeys());
    EXPECT_FALSE(dictionary.ContainsKey(SpecialKind::Missing));
    EXPECT_EQ(ThrownText([&] { dictionary.GetValue(SpecialKind::Missing); }),
              "Unable to find key in unordered_map.");

    auto const& iterable = set->AsUniformCollection().GetStoreValues();
    auto it = iterable.begin()->Clone();
    EXPECT_FALSE(it->NotEqual(nullptr));
    for (int i = 0; i < 5; ++i)
        it->MoveNext();
    EXPECT_FALSE(it->NotEqual(iterable.end()));
    EXPECT_EQ(Refused([&] { it->MoveNext(); }), "iterator out of bounds | " + kImpl);
    EXPECT_EQ(Refused([&] { it->GetCurrent(); }), "iterator out of bounds | " + kImpl);
    auto const empty = Make<unsigned int, unsigned int>(i32, i32, {});
    auto const& nothing = empty->AsUniformCollection().GetStoreValues();
    EXPECT_FALSE(nothing.begin()->NotEqual(nothing.end()));

    auto pairs = dictionary.GetKeyValuePairs().end();
    std::string const past = Any("iterator out of bounds", kIterators);
    EXPECT_TRUE(MatchesRefusal(Refused([&] { (void)*pairs; }), past));
    EXPECT_TRUE(MatchesRefusal(Refused([&] { ++pairs; }), past));
}

TEST(ValueKeySetTest, StringAccessParsesTheKeyText) {
    Type const* const i32 = IntType::Get32();
    auto const set = Make<unsigned int, unsigned int>(i32, i32, {{1, 10}, {2, 20}});
    IStoreCollection const& collection = set->AsCollection();
    EXPECT_EQ(collection.GetByString(Text(u"2"))->AsInt32(), 20);
    EXPECT_EQ(ThrownText([&] { collection.GetByString(Text(u"x")); }),
              ThrownText([&] { ParseStorageType<unsigned int>(TStringCore(u"x"), i32); }));
    EXPECT_THROW(collection.GetByString(Text(u"3")), std::out_of_range);
    EXPECT_EQ(collection.TryGetByString(Text(u"1"))->AsInt32(), 10);
    EXPECT_EQ(collection.TryGetByString(Text(u"x")), nullptr);
    EXPECT_TRUE(collection.ContainsStringKey(Text(u"2")));
    EXPECT_FALSE(collection.ContainsStringKey(Text(u"3")));

    // Tuples have no key text.
    auto const [tupleType, tuples] = Samples<QelTuple>();
    auto const byTuple = Make<QelTuple, unsigned int>(tupleType, i32, {{tuples[0], 1}});
    for (char16_t const* text : {u"", u"7", u"(7)"}) {
        EXPECT_EQ(byTuple->AsCollection().TryGetByString(Text(text)), nullptr);
        EXPECT_FALSE(byTuple->AsCollection().ContainsStringKey(Text(text)));
    }
    EXPECT_EQ(ThrownText([&] { byTuple->AsCollection().GetByString(Text(u"7")); }),
              "not implemented");
}

TEST(ValueKeySetTest, BuildingRefusesMissingMapsWrongStorageAndDuplicateKeys) {
    Type const* const i32 = IntType::Get32();
    Type const* const i64 = IntType::Get64();
    auto const make = [&](Type const* key, Type const* value, bool values, bool specials) {
        MakeKeySet<unsigned int, unsigned int>(
            key, value, values ? std::make_unique<Uints>() : nullptr,
            specials ? std::make_unique<UintSpecials>() : nullptr);
    };
    std::string const storage = "type doesn't match expected type | (StorageTypeTraits<";
    EXPECT_EQ(Refused([&] { make(i32, i32, false, true); }),
              "array cannot be null | (m_values) != nullptr" + kImpl);
    EXPECT_EQ(Refused([&] { make(i32, i32, true, false); }),
              "list of special values cannot be null | (m_specials) != nullptr" + kImpl);
    EXPECT_EQ(Refused([&] { make(i64, i32, true, true); }),
              storage + "StorageK>::IsMatchingType(m_type->GetKeyType()))" + kImpl);
    EXPECT_EQ(Refused([&] { make(i32, i64, true, true); }),
              storage + "StorageV>::IsMatchingType(m_type->GetElementType()))" + kImpl);

    std::unique_ptr<Uints> none;
    std::string const null = "pointer to unordered map is null | (map) != nullptr" + kMapUtil;
    EXPECT_EQ(Refused([&] { UnorderedMapInsertUnique(none, 1u, 2u); }), null);
    EXPECT_EQ(Refused([&] { UnorderedMapContainsKey(none, 1u); }), null);
    auto map = std::make_unique<Uints>();
    UnorderedMapInsertUnique(map, 1u, 2u);
    EXPECT_TRUE(MatchesRefusal(Refused([&] { UnorderedMapInsertUnique(map, 1u, 3u); }),
                               Any("insert into map failed due to duplicate key", kMapUtil)));
    EXPECT_EQ(map->at(1), 2u);
}

// Iterators and adapters read keys and values as the types their bits hold.
TEST(ValueKeySetTest, CastIteratorsAndAdaptersCheckTheTypes) {
    auto const set = Make<unsigned char, unsigned long long>(
        BoolType::Get(), RealType::Get64(), {{1, std::bit_cast<unsigned long long>(2.5)}},
        {{SpecialKind::Missing, std::bit_cast<unsigned long long>(-1.0)}});
    KeySetAdapter<bool, double> const adapter(set);
    EXPECT_EQ(adapter.GetValue(true), 2.5);
    EXPECT_EQ(adapter.GetValue(SpecialKind::Missing), -1.0);
    EXPECT_FALSE(adapter.ContainsKey(false));
    std::map<bool, double> read;
    for (auto const& [key, value] : adapter.GetKeyValuePairs())
        read[key] = value;
    EXPECT_EQ(read, (std::map<bool, double>{{true, 2.5}}));

    std::string const mismatch = "type doesn't match expected type | (TypeTraits<";
    EXPECT_EQ(Refused([&] { KeySetAdapter<bool, QelDateTime>{set}; }),
              mismatch + "V>::IsMatchingType(elementType))" + kIterators);
    EXPECT_EQ(ThrownText([&] { KeySetAdapter<bool, int>{set}; }),
              "value is not a collection with keys");
    EXPECT_TRUE(MatchesRefusal(Refused([&] { KeySetAdapter<int, int>{MakeInt32(1)}; }),
                               Any("expected keyset but was \nInt32", kIterators)));

    // The adapter keeps its key set alive.
    auto const [arrayType, arrays] = Samples<std::shared_ptr<StoreValue>>();
    auto nested = Make<unsigned int, std::shared_ptr<StoreValue>>(IntType::Get32(), arrayType,
                                                                  {{4, arrays[1]}});
    EXPECT_EQ(Refused([&] { KeySetAdapter<float, std::shared_ptr<StoreValue>>{nested}; }),
              mismatch + "K>::IsMatchingType(keyType))" + kIterators);
    auto const pairs =
        nested->AsDictionary<unsigned int, std::shared_ptr<StoreValue>>().GetKeyValuePairs();
    EXPECT_EQ(Refused([&] { pairs.AsCastIterator<float, std::shared_ptr<StoreValue>>(); }),
              mismatch + "NewKeyType>::IsMatchingType(m_keyType))" + kIterators);
    KeySetAdapter<int, std::shared_ptr<StoreValue>> const owner(nested);
    nested.reset();
    EXPECT_EQ(owner.GetValue(4), arrays[1]);
}

// A pool whose collation "ci" ignores ASCII case (texts equal but for case
// have one length, its hash); the default collation stays exact.
class CaseBlindPool : public ICollatorPool, public ICollator {
public:
    ICollator* GetCollator(Collation const& c) override {
        return c.GetLocale() == m_blind.GetLocale() ? static_cast<ICollator*>(this) : &m_exact;
    }
    bool AreEquivalent(Collation const& a, Collation const& b) const override {
        return a.GetLocale() == b.GetLocale();
    }
    Collation const& GetCollation() const override { return m_blind; }
    int Compare(TStringCore const& a, TStringCore const& b) const override {
        return TStringCore::compare(a, b, CaseSensitivity::CaseInsensitive);
    }
    std::size_t Hash(TStringCore const& text) const override { return text.size(); }

private:
    Collation m_blind{RInternString(u"ci")};
    DefaultCollator m_exact;
};

TEST(ValueKeySetTest, StringKeysAreOneKeyUnderTheKeyTypesCollation) {
    struct Installed {
        std::shared_ptr<ICollatorPool> original =
            SetCollatorPool(std::make_shared<CaseBlindPool>());
        ~Installed() { SetCollatorPool(std::move(original)); }
    } const pool;
    Type const* const i32 = IntType::Get32();
    Type const* const blind = StringType::Get(Collation(RInternString(u"ci")));
    auto map = MakeRawKeySet<unsigned int>(blind);
    UnorderedMapInsertUnique(map, RIndirectString(u"Apple"), 1u);
    EXPECT_TRUE(MatchesRefusal(
        Refused([&] { UnorderedMapInsertUnique(map, RIndirectString(u"aPPLE"), 2u); }),
        Any("insert into map failed due to duplicate key", kMapUtil)));
    auto const set = MakeKeySet<RIndirectString, unsigned int>(blind, i32, std::move(map),
                                                               std::make_unique<UintSpecials>());
    EXPECT_TRUE(set->AsCollection().ContainsStringKey(Text(u"APPLE")));
    EXPECT_EQ(set->AsCollection().GetByString(Text(u"apple"))->AsInt32(), 1);
    EXPECT_TRUE((set->AsDictionary<RIndirectString, unsigned int>().ContainsKey(u"aPPle")));
    auto const exact = Make<RIndirectString, unsigned int>(StringType::Get(), i32, {{u"Apple", 1}});
    EXPECT_FALSE(exact->AsCollection().ContainsStringKey(Text(u"apple")));

    // A map made for one collation cannot key a set of the other.
    EXPECT_EQ(Refused([&] {
                  MakeKeySet<RIndirectString, unsigned int>(StringType::Get(), i32,
                                                            MakeRawKeySet<unsigned int>(blind),
                                                            std::make_unique<UintSpecials>());
              }),
              "the collection and raw container have different collations | "
              "(c == set.hash_function().GetCollation())" +
                  kImpl);
}

}  // namespace
}  // namespace qel::core
