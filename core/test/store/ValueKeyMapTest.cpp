#include "qel/core/store/ValueKeyMap.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueUtil.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/QelLog.h"

namespace qel::core {
namespace {

using test::Refusal;
using test::ThrownText;

RInternString K(char16_t const* text) {
    return RInternString(text);
}

std::shared_ptr<StoreValue> Column(std::vector<unsigned int> values) {
    return factory::MakeArray<unsigned int>(IntType::Get32(), std::move(values));
}

TEST(ValueKeyMapTest, TheOneMutableValue) {
    ValueKeyMap map;
    EXPECT_EQ(map.GetCount(), 0u);
    EXPECT_EQ(map.GetType(), KeyMapType::Get({}));
    map.SetByString(K(u"a"), factory::MakeInt32(1));
    EXPECT_EQ(map.GetType(), KeyMapType::Get({{K(u"a"), IntType::Get32()}}));

    std::string const immutable = "can't modify immutable value | (result.second)";
    EXPECT_EQ(Refusal([&] { map.SetByString(K(u"a"), factory::MakeInt32(2)); }), immutable);
    EXPECT_EQ(map.GetValue(K(u"a"))->AsInt32(), 1);
    EXPECT_EQ(Refusal([&] { map.UpdateByString(K(u"b"), factory::MakeInt32(2)); }),
              "value not yet computed | (itr != m_dict->cend())");
    std::string const mismatch =
        "type doesn't match expected type | (value->GetType() == itr->second->GetType())";
    EXPECT_EQ(Refusal([&] { map.UpdateByString(K(u"a"), factory::MakeInt64(2)); }), mismatch);
    EXPECT_EQ(Refusal([&] { map.SetOrUpdateByString(K(u"a"), factory::MakeBool(true)); }),
              mismatch);
    EXPECT_EQ(Refusal([&] { map.SetByString(K(u""), factory::MakeInt32(2)); }),
              "KeyPath can't be empty | !(key.GetValue().isEmpty())");
    map.UpdateByString(K(u"a"), factory::MakeInt32(3));
    map.SetOrUpdateByString(K(u"b"), factory::MakeBool(true));
    EXPECT_EQ(map.GetByString(K(u"a"))->AsInt32(), 3);
    EXPECT_TRUE(map.ContainsStringKey(K(u"b")));

    EXPECT_EQ(ThrownText([&] { map.GetByString(K(u"zz")); }), "no value found at key \nzz");
    EXPECT_EQ(map.TryGetByString(K(u"zz")), nullptr);
    EXPECT_EQ(ThrownText([&] { map.GetValue(K(u"zz")); }), "Unable to find key in unordered_map.");
    EXPECT_FALSE(map.HasSpecialKeys());
    EXPECT_EQ(ThrownText([&] { map.GetSpecialKeyCount(); }),
              "collection does not support special keys");

    // Deep Clone: a change below a clone leaves the source alone.
    auto nested = ValueKeyMap::Make(ValueMap{});
    map.SetByString(K(u"n"), nested);
    auto copy = map.Clone();
    copy->AsMutableCollection().GetByString(K(u"n"))->AsMutableCollection().SetByString(
        K(u"x"), factory::MakeInt32(9));
    EXPECT_EQ(nested->GetCount(), 0u);
    EXPECT_EQ(copy->AsCollection().GetByString(K(u"n"))->GetCount(), 1u);
    // Only key maps can be modified.
    EXPECT_EQ(ThrownText([] { factory::MakeInt32(1)->AsMutableCollection(); }).substr(0, 24),
              "cannot modify collection");

    int seen = 0;
    for (auto const& entry : map.GetKeyValuePairs()) {
        EXPECT_TRUE(map.ContainsKey(entry.first));
        ++seen;
    }
    EXPECT_EQ(seen, 3);
}

TEST(ValueTableTest, EqualColumnsSortMetadataAndRanges) {
    EXPECT_EQ(factory::MakeTable(nullptr, nullptr)->AsTable().GetRowCount(), 0u);

    ValueMap columns;
    columns.emplace(K(u"a"), Column({1, 2, 3}));
    columns.emplace(K(u"b"), Column({4, 5, 6}));
    auto const table = factory::MakeTable(std::move(columns), {{K(u"a"), SortSpecOrder::ASC}});
    IStoreTable const& t = table->AsTable();
    EXPECT_EQ(t.GetRowCount(), 3u);
    EXPECT_EQ(t.GetColumnCount(), 2u);
    EXPECT_EQ(table->GetType(), TableType::Get({{K(u"a"), ArrayType::Get(IntType::Get32())},
                                                {K(u"b"), ArrayType::Get(IntType::Get32())}}));
    EXPECT_EQ(t.GetSortOrder().size(), 1u);
    EXPECT_EQ(table->AsCollection().TryGetByString(K(u"c")), nullptr);
    EXPECT_EQ(ThrownText([&] { table->AsCollection().GetByString(K(u"c")); }),
              "Unable to find key in unordered_map.");

    // A range forgets the sort metadata; applied indices carry the given one.
    auto const range = t.GetRange(1, 2, 1);
    EXPECT_EQ(range->AsTable().GetRowCount(), 2u);
    EXPECT_TRUE(range->AsTable().GetSortOrder().empty());
    auto const picked = t.CopyAndApplyIndices({2, 0}, {{K(u"b"), SortSpecOrder::DESC}});
    auto const b = picked->AsTable().GetColumn(K(u"b"));
    EXPECT_EQ(b->AsArray().GetStoreValueAt(0)->AsInt32(), 6);
    EXPECT_EQ(b->AsArray().GetSortOrder(), SortSpecOrder::UNKNOWN);
    EXPECT_EQ(picked->AsTable().GetSortOrder().at(0).second, SortSpecOrder::DESC);
    int columnCount = 0;
    for (auto const& column : picked->AsTable().GetColumns()) {
        EXPECT_EQ(column.second->GetCount(), 2u);
        ++columnCount;
    }
    EXPECT_EQ(columnCount, 2);

    // Columns of unequal length are logged, one line per column, and refused.
    std::string logged;
    auto previous = SetQelLogger(std::make_shared<QelLogger>(
        nullptr, [&](QelLogLevel, TStringCore const& text) { logged += text.toStdString(); },
        [](QelLogLevel) { return true; }));
    ValueMap unequal;
    unequal.emplace(K(u"x"), Column({1, 2}));
    unequal.emplace(K(u"y"), Column({1, 2, 3}));
    EXPECT_EQ(ThrownText([&] { factory::MakeTable(std::move(unequal), {}); }),
              "table columns must be same size");
    SetQelLogger(std::move(previous));
    EXPECT_NE(logged.find("Found mismatch in table column sizes. Columns and sizes:"),
              std::string::npos);
    EXPECT_NE(logged.find("\n\tx: 2"), std::string::npos);
    EXPECT_NE(logged.find("\n\ty: 3"), std::string::npos);
}

TEST(ValueTupleTest, MembersByIndexAndTheTupleComparison) {
    TupleType const* const type = TupleType::Get({IntType::Get32(), StringType::Get()});
    QelTuple tuple(type);
    tuple.SetNthInt32(0, 7);
    tuple.SetNthSpecial(1, SpecialKind::Missing);
    auto const value = factory::MakeTuple(QelTuple(tuple));
    EXPECT_EQ(value->GetCount(), 2u);
    EXPECT_EQ(value->AsCollection().GetByString(K(u"0"))->AsInt32(), 7);
    EXPECT_EQ(value->AsCollection().GetByString(K(u"1"))->GetSpecialKind(), SpecialKind::Missing);
    EXPECT_EQ(value->AsCollection().TryGetByString(K(u"2")), nullptr);
    EXPECT_EQ(value->AsCollection().TryGetByString(K(u"x")), nullptr);
    EXPECT_FALSE(value->AsCollection().ContainsStringKey(K(u"2")));
    EXPECT_TRUE(value->IsEqual(*factory::MakeTuple(QelTuple(tuple))));
    EXPECT_EQ(value->GetHashValue(), tuple.GetHashValue());
    tuple.SetNthInt32(0, 8);
    EXPECT_FALSE(value->IsEqual(*factory::MakeTuple(QelTuple(tuple))));
    EXPECT_LT(value->Compare(*factory::MakeTuple(QelTuple(tuple))), 0);
    EXPECT_FALSE(value->IsEqual(*factory::MakeInt32(7)));

    // Boxing and unboxing members round trip, specials included.
    QelTuple target(type);
    SetTupleNthUnboxedUnsafe(target, 0, FetchStoreValueFromTuple(tuple, 0));
    SetTupleNthUnboxedUnsafe(target, 1, FetchStoreValueFromTuple(tuple, 1));
    EXPECT_EQ(target.Compare(tuple), 0);
    EXPECT_EQ(ThrownText([&] { FetchStoreValueFromTuple(tuple, 2); }), "index out of bounds");
}

}  // namespace
}  // namespace qel::core
