#include "qel/core/store/ValueUtil.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/StoreValueSampler.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueConstantArray.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/store/ValueKeySet.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {
namespace {

using namespace factory;
using test::Refusal;
using test::ThrownText;
using U = unsigned int;
using Values = std::vector<std::shared_ptr<StoreValue>>;
using Indices = std::vector<qelsize_t>;
constexpr SpecialKind kNormal = SpecialKind::Normal;
constexpr SpecialKind kNull = SpecialKind::Null;

Type const* I32() {
    return IntType::Get32();
}

// The elements of a uniform collection as texts, through its boxed walk.
std::vector<std::string> Texts(std::shared_ptr<StoreValue> const& value) {
    std::vector<std::string> texts;
    auto const& iterable = value->AsUniformCollection().GetStoreValues();
    for (auto it = iterable.begin()->Clone(); it->NotEqual(iterable.end()); it->MoveNext())
        texts.push_back(FormatPrimitive(*it->GetCurrent()).toStdString());
    return texts;
}

std::vector<std::string> Strings(std::initializer_list<char const*> texts) {
    return std::vector<std::string>(texts.begin(), texts.end());
}

TEST(ValueUtilTest, BoxesEachCastTypeAsItsType) {
    // Reals keep the precision and scale of their type.
    auto const real = MakeStoreValue(RealType::Get32(6, 2), 1.5f);
    EXPECT_EQ(real->GetType(), RealType::Get32(6, 2));
    EXPECT_EQ(FetchStoreValue<float>(real), 1.5f);
    EXPECT_EQ(MakeStoreValue(RealType::Get64(9, 3), 2.5)->GetType(), RealType::Get64(9, 3));
    EXPECT_EQ(MakeStoreValue(IntType::Get64(), 1LL << 40)->AsInt64(), 1LL << 40);
    EXPECT_EQ(FormatPrimitive(*MakeStoreValue(ColorType::Get(), QelColor(1, 2, 3, 4))),
              FormatPrimitive(*MakeColor(1, 2, 3, 4)));
    EXPECT_EQ(MakeStoreValue(DateType::Get(), QelDateTime(9))->GetStoreType(), StoreType::Date);
    EXPECT_EQ(MakeDateTime(DateTimeType::Get(), QelDateTime(9))->AsDateTime(), QelDateTime(9));
    auto const nested = MakeArray<U>(I32(), {1, 2});
    EXPECT_EQ(MakeStoreValue(nested->GetType(), nested), nested);

    QelTuple tuple(TupleType::Get({I32()}));
    tuple.SetNthInt32(0, 7);
    auto const boxedTuple = MakeStoreValue(tuple.GetType(), tuple);
    tuple.SetNthInt32(0, 8);
    EXPECT_EQ(boxedTuple->AsTuple().GetNthInt32(0), 7) << "the box holds its own copy";

    std::string const mismatch = "type doesn't match expected type | ";
    EXPECT_EQ(Refusal([] { MakeStoreValue(IntType::Get64(), 5); }),
              mismatch + "(TypeTraits<T>::IsMatchingType(type))");
    EXPECT_EQ(Refusal([] { MakeStoreValue(RealType::Get64(), 1.5f); }),
              mismatch + "(TypeTraits<T>::IsMatchingType(type))");
    EXPECT_EQ(Refusal([] { MakeStoreValue(I32(), RIndirectString(u"x")); }),
              "expected string but was \nInt32 | (type->GetStoreType() == StoreType::String)");
    EXPECT_EQ(ThrownText([] { MakeStoreValue(I32(), QelDateTime(1)); }),
              "expected date but was \nInt32");
    EXPECT_EQ(ThrownText([] { MakeDateTime(StringType::Get(), QelDateTime(1)); }),
              "expected date but was \nString");
}

// A tuple element is boxed as a tuple value that outlives its array.
TEST(ValueUtilTest, BoxesTupleElementsOfArrays) {
    TupleType const* const type = TupleType::Get({I32(), StringType::Get()});
    std::vector<QelTuple> tuples(2, QelTuple(type));
    tuples[0].SetNthInt32(0, 7);
    tuples[1].SetNthInt32(0, 8);
    tuples[1].SetNthString(1, RIndirectString(u"a text longer than the inline part"));
    auto array = MakeArray<QelTuple>(type, std::move(tuples));
    auto const second = array->AsArray().GetStoreValueAt(1);
    auto const& iterable = array->AsUniformCollection().GetStoreValues();
    EXPECT_EQ(iterable.begin()->GetCurrent()->AsTuple().GetNthInt32(0), 7);
    array.reset();
    EXPECT_EQ(second->GetType(), type);
    EXPECT_EQ(second->AsTuple().GetNthInt32(0), 8);
    EXPECT_EQ(FormatPrimitive(*FetchStoreValueFromTuple(second->AsTuple(), 1)).toStdString(),
              "a text longer than the inline part");
}

TEST(ValueUtilTest, ConstantArraysOfOneBoxedValue) {
    auto const sevens = MakeConstantArray(MakeInt32(7), 3);
    EXPECT_TRUE(sevens->AsArray().IsConstantValue());
    EXPECT_EQ(Texts(sevens), Strings({"7", "7", "7"}));
    EXPECT_EQ(Texts(MakeConstantArray(MakeColor(0x01020304), 1)), Strings({"01020304"}));
    EXPECT_EQ(Texts(MakeConstantArray(MakeString(u"s"), 2)), Strings({"s", "s"}));
    auto const nulls = MakeConstantArray(MakeSpecial(DateType::Get(), kNull), 2);
    EXPECT_EQ(nulls->GetType(), ArrayType::Get(DateType::Get()));
    EXPECT_EQ(Texts(nulls), Strings({"Null", "Null"}));

    QelTuple tuple(TupleType::Get({I32()}));
    EXPECT_EQ(ThrownText([&] { MakeConstantArray(MakeTuple(std::move(tuple)), 2); }),
              "unsupported primitive key type\nTuple");
    EXPECT_EQ(ThrownText([&] { MakeConstantArray(MakeArray<U>(I32(), {1}), 2); }),
              "unsupported primitive key type\nArray");
}

TEST(ValueUtilTest, ConcatenatingOnlyConstantArraysKeepsTheRuns) {
    Values const arrays = {MakeConstantArray<U>(I32(), 7, 2), MakeConstantArray<U>(I32(), 0, kNull),
                           MakeConstantArray<U>(I32(), 3, kNull)};
    auto const joined = ConcatenateArrays(arrays, nullptr, SortSpecOrder::ASC);
    auto const& typed = joined->AsTypedArray<U>();
    EXPECT_TRUE(typed.IsComposite());
    EXPECT_EQ(typed.GetRawRanges().GetSize(), 2u) << "an empty array leaves no run";
    EXPECT_EQ(typed.GetSortOrder(), SortSpecOrder::ASC);
    EXPECT_EQ(Texts(joined), Strings({"7", "7", "Null", "Null", "Null"}));

    auto const picked =
        ConcatenateArrays(arrays, std::make_unique<Indices>(Indices{4, 0}), SortSpecOrder::DESC);
    EXPECT_EQ(Texts(picked), Strings({"Null", "7"}));
    EXPECT_EQ(Refusal([] { ConcatenateArrays({}, nullptr, SortSpecOrder::UNKNOWN); }),
              "composite array requires at least one array | (arrays).size() >= (1)");
}

// Each kind of array is read in logical order: constant, plain with and
// without indices, with and without specials, composite.
TEST(ValueUtilTest, ConcatenatingAnyOtherMixGivesAPlainArray) {
    auto const plain = MakeArray<U>(I32(), {1, 2});
    auto const withSpecials = MakeArray<U>(I32(), {3, 0}, {kNormal, SpecialKind::Error});
    auto const reordered = MakeArray<U>(
        I32(), std::make_unique<std::vector<U>>(std::vector<U>{5, 6}),
        std::make_unique<std::vector<SpecialKind>>(std::vector<SpecialKind>{kNull, kNormal}),
        std::make_unique<Indices>(Indices{1, 0, 1}));
    auto const composite = ConcatenateArrays(
        {MakeConstantArray<U>(I32(), 8, 1), MakeConstantArray<U>(I32(), 1, kNull)}, nullptr,
        SortSpecOrder::UNKNOWN);
    auto const constant = MakeConstantArray<U>(I32(), 9, 2);

    auto const joined = ConcatenateArrays({plain, withSpecials, reordered, composite, constant},
                                          nullptr, SortSpecOrder::UNKNOWN);
    EXPECT_FALSE(joined->AsTypedArray<U>().IsComposite());
    EXPECT_EQ(Texts(joined),
              Strings({"1", "2", "3", "Error", "6", "Null", "6", "8", "Null", "9", "9"}));

    // Without specials anywhere the result has none; indices address the
    // joined elements.
    auto const fives = MakeArray<U>(I32(), std::make_unique<std::vector<U>>(std::vector<U>{4, 5}),
                                    nullptr, std::make_unique<Indices>(Indices{1, 1}));
    auto const noSpecials =
        ConcatenateArrays({constant, plain, fives}, std::make_unique<Indices>(Indices{5, 3, 0}),
                          SortSpecOrder::UNKNOWN);
    EXPECT_FALSE(noSpecials->AsArray().HasSpecialValues());
    EXPECT_EQ(Texts(noSpecials), Strings({"5", "2", "9"}));
}

std::shared_ptr<StoreValue> Table(std::vector<std::pair<char16_t const*, std::vector<U>>> columns,
                                  TableSortOrder order = {}) {
    ValueMap map;
    for (auto& [name, values] : columns)
        map.emplace(RInternString(name), MakeArray<U>(I32(), std::move(values)));
    return MakeTable(std::move(map), std::move(order));
}

TEST(ValueUtilTest, ConcatenatingTables) {
    auto const first =
        Table({{u"a", {1, 2}}, {u"b", {3, 4}}}, {{RInternString(u"a"), SortSpecOrder::ASC}});
    EXPECT_EQ(ConcatenateTables({first}), first);

    auto const joined = ConcatenateTables({first, Table({{u"b", {5}}, {u"a", {6}}})});
    IStoreTable const& table = joined->AsTable();
    EXPECT_EQ(table.GetRowCount(), 3u);
    EXPECT_TRUE(table.GetSortOrder().empty());
    EXPECT_EQ(Texts(table.GetColumn(RInternString(u"a"))), Strings({"1", "2", "6"}));
    EXPECT_EQ(Texts(table.GetColumn(RInternString(u"b"))), Strings({"3", "4", "5"}));

    auto const joinedWith = [&](std::shared_ptr<StoreValue> const& other) {
        return Refusal([&] { ConcatenateTables({first, other}); });
    };
    std::string const mismatch = "concatenated tables must contain the same columns | ";
    EXPECT_EQ(joinedWith(Table({{u"a", {1}}})), mismatch + "(table->GetCount() == colCount)");
    EXPECT_EQ(joinedWith(Table({{u"a", {1}}, {u"c", {1}}})),
              mismatch + "(table.HasColumn(columnName))");
    EXPECT_EQ(Refusal([] { ConcatenateTables({}); }),
              "at least one value needed for concatenation | !(tables.empty())");
}

TEST(ValueUtilTest, SamplingCutsTheArraysInsideEveryCollection) {
    auto const five = MakeArray<U>(I32(), {1, 2, 3, 4, 5});
    EXPECT_EQ(Texts(SampleStoreValue(*five, 1000)), Strings({"1", "2", "3", "4", "5"}));
    EXPECT_EQ(Texts(SampleStoreValue(*five, 2)), Strings({"1", "2"}));
    auto const set = five->AsArray().CopyAsSet(true);
    EXPECT_EQ(SampleStoreValue(*set, 2)->GetCount(), 5u) << "a set is copied whole";

    auto const table = SampleStoreValue(
        *Table({{u"a", {1, 2, 3}}, {u"b", {4, 5, 6}}}, {{RInternString(u"a"), SortSpecOrder::ASC}}),
        2);
    EXPECT_EQ(Texts(table->AsTable().GetColumn(RInternString(u"b"))), Strings({"4", "5"}));
    EXPECT_TRUE(table->AsTable().GetSortOrder().empty());

    ValueMap inner;
    inner.emplace(RInternString(u"arr"), five);
    ValueMap outer;
    outer.emplace(RInternString(u"map"), MakeKeyMap(std::move(inner)));
    outer.emplace(RInternString(u"n"), MakeInt32(3));
    auto const map = SampleStoreValue(*MakeKeyMap(std::move(outer)), 3);
    EXPECT_EQ(map->AsKeyMap().GetValue(RInternString(u"n"))->AsInt32(), 3);
    auto const& sampledInner = map->AsKeyMap().GetValue(RInternString(u"map"))->AsKeyMap();
    EXPECT_EQ(Texts(sampledInner.GetValue(RInternString(u"arr"))), Strings({"1", "2", "3"}));

    // Key sets of arrays are rebuilt with sampled arrays, the special keys'
    // too.
    using Arrays = std::shared_ptr<StoreValue>;
    ArrayType const* const arrayType = ArrayType::Get(I32());
    auto values = std::make_unique<DictionaryMap<U, Arrays>>();
    values->emplace(1, five);
    auto specials = std::make_unique<SpecialKeyMap<Arrays>>();
    specials->emplace(kNull, MakeArray<U>(I32(), {7, 8}));
    auto const keySet = SampleStoreValue(
        *MakeKeySet<U, Arrays>(I32(), arrayType, std::move(values), std::move(specials)), 1);
    auto const& dictionary = keySet->AsDictionary<U, Arrays>();
    EXPECT_EQ(keySet->GetType(), KeySetType::Get(I32(), arrayType));
    EXPECT_EQ(Texts(dictionary.GetValue(1)), Strings({"1"}));
    EXPECT_EQ(Texts(dictionary.GetValue(kNull)), Strings({"7"}));
}

}  // namespace
}  // namespace qel::core
