#include "core/main/store/ValueArrayImpl.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/test/ThrownText.h"
#include "qel/core/store/ArrayAdapter.h"
#include "qel/core/store/Factory.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/StorageTypes.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {
namespace {

using namespace factory;
using test::ThrownText;
using Indices = std::vector<qelsize_t>;

// Three distinct sample elements of each storage type, and their element type.
template <class T>
std::pair<Type const*, std::vector<T>> Samples() {
    Type const* const i32 = IntType::Get32();
    if constexpr (std::is_same_v<T, unsigned char>) {
        return {BoolType::Get(), {1, 0, 2}};
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return {i32, {7, 8, 9}};
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        return {DateTimeType::Get(),
                {QelDateTime::DateTimeDefault, QelDateTime::DateTimeMinimum, 42}};
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return {StringType::Get(), {u"a", u"a long text beyond inline", u"c"}};
    } else if constexpr (std::is_same_v<T, QelTuple>) {
        TupleType const* const type = TupleType::Get({i32});
        std::vector<QelTuple> tuples(3, QelTuple(type));
        for (int i = 0; i < 3; ++i)
            tuples[i].SetNthInt32(0, 7 + i);
        return {type, tuples};
    } else {
        auto const one = [&](unsigned int i) { return MakeArray<unsigned int>(i32, {i}); };
        return {ArrayType::Get(i32), {one(7), one(8), one(9)}};
    }
}

template <class T>
class ValueArrayTypedTest : public testing::Test {};
using StorageTypes = testing::Types<QEL_STORAGE_TYPES>;
TYPED_TEST_SUITE(ValueArrayTypedTest, StorageTypes);

// Values [v0, v1, v2] with indices [2, 0, 0, 1] read v2 v0 v0 v1 on every
// path, and every derived array shares the one value buffer.
TYPED_TEST(ValueArrayTypedTest, IndicesMapLogicalToPhysicalOnEveryPath) {
    using T = TypeParam;
    auto const [elementType, v] = Samples<T>();
    auto value = MakeArray<T>(elementType, std::make_unique<std::vector<T>>(v), nullptr,
                              std::make_unique<Indices>(Indices{2, 0, 0, 1}), SortSpecOrder::ASC);
    auto const& array = value->template AsTypedArray<T>();
    std::vector<T> const expected = {v[2], v[0], v[0], v[1]};
    ASSERT_EQ(array.GetCount(), 4u);
    EXPECT_TRUE(array.HasIndices());
    EXPECT_FALSE(array.HasSpecialValues());
    std::vector<T> read;
    for (auto const& e : array.GetValues())
        read.push_back(e);
    EXPECT_EQ(read, expected);
    for (unsigned int i = 0; i < 4; ++i) {
        EXPECT_EQ(array.At(i), expected[i]);
        EXPECT_EQ(array[i], expected[i]);
        EXPECT_EQ(array.GetSpecialAt(i), SpecialKind::Normal);
    }
    EXPECT_EQ(ThrownText([&] { array.At(4); }), "index out of bounds");

    // Re-ordering, materialising and cloning never copy the shared buffer.
    T const* buffer = &array[3];  // physical slot 1
    auto applied = array.CopyAndApplyIndices(Indices{3, 0}, SortSpecOrder::DESC);
    auto const& reordered = applied->template AsTypedArray<T>();
    EXPECT_EQ(reordered.At(0), v[1]);
    EXPECT_EQ(reordered.At(1), v[2]);
    EXPECT_EQ(&reordered.At(0), buffer);
    EXPECT_EQ(reordered.GetSortOrder(), SortSpecOrder::DESC);
    auto replaced = array.CopyAndReplaceIndices(Indices{1}, SortSpecOrder::UNKNOWN);
    EXPECT_EQ(replaced->template AsTypedArray<T>().At(0), v[1]);
    auto clone = value->Clone();
    EXPECT_EQ(&clone->template AsTypedArray<T>()[3], buffer);
    EXPECT_EQ(clone->template AsTypedArray<T>().GetSortOrder(), SortSpecOrder::UNKNOWN);

    auto materialized = array.Materialize();
    auto const& flat = materialized->template AsTypedArray<T>();
    EXPECT_FALSE(flat.HasIndices());
    EXPECT_EQ(flat.GetSortOrder(), SortSpecOrder::ASC);
    ASSERT_EQ(flat.GetRawArray().GetSize(), 4u);
    EXPECT_EQ(flat.GetRawArray()[0], v[2]);
    // A contiguous range shares the materialised buffer.
    auto range = flat.GetRange(1, 2, 1);
    EXPECT_EQ(range->template AsTypedArray<T>().GetRawArray().GetData(),
              flat.GetRawArray().GetData() + 1);
}

TEST(ValueArrayTest, SpecialsPlaceholdersAndBoxing) {
    auto value = MakeArray<unsigned int>(
        IntType::Get32(), {1, 0, 3}, {SpecialKind::Normal, SpecialKind::Null, SpecialKind::Normal});
    auto const& array = value->AsTypedArray<unsigned int>();
    EXPECT_TRUE(array.HasSpecialValues());
    EXPECT_EQ(array.At(1), 0u);
    EXPECT_TRUE(array.IsSpecialAt(1));
    EXPECT_EQ(array.GetStoreValueAt(1)->GetSpecialKind(), SpecialKind::Null);
    EXPECT_EQ(array.GetStoreValueAt(2)->AsInt32(), 3);
    // By string key a special gives its placeholder as an ordinary value.
    auto byKey = value->AsCollection().GetByString(RInternString(u"1"));
    EXPECT_FALSE(byKey->IsSpecial());
    EXPECT_EQ(byKey->AsInt32(), 0);
    EXPECT_EQ(value->AsCollection().TryGetByString(RInternString(u"3")), nullptr);
    EXPECT_EQ(value->AsCollection().TryGetByString(RInternString(u"x")), nullptr);
    EXPECT_TRUE(value->AsCollection().ContainsStringKey(RInternString(u"2")));
    EXPECT_EQ(ThrownText([&] { value->AsCollection().GetByString(RInternString(u"-1")); }),
              "cannot parse int32");

    // The boxed iterator against the typed one.
    auto const& iterable = array.GetStoreValues();
    EXPECT_EQ(&iterable, &array.GetStoreValues());
    std::vector<std::string> boxed;
    for (auto it = iterable.begin()->Clone(); it->NotEqual(iterable.end()); it->MoveNext()) {
        boxed.push_back(FormatPrimitive(*it->GetCurrent()).toStdString());
    }
    EXPECT_EQ(boxed, (std::vector<std::string>{"1", "Null", "3"}));
    EXPECT_FALSE(iterable.begin()->NotEqual(nullptr));
    auto past = iterable.end()->Clone();
    EXPECT_EQ(ThrownText([&] { past->GetCurrent(); }), "iterator out of bounds");

    std::vector<std::pair<float, SpecialKind>> cast;
    EXPECT_EQ(ThrownText([&] { array.GetAll().AsCastIterator<float>(); }),
              "type doesn't match expected type");
    for (auto [v, s] : array.GetAll().AsCastIterator<int>())
        cast.emplace_back(float(v), s);
    EXPECT_EQ(cast[1].second, SpecialKind::Null);
    EXPECT_EQ(ThrownText([&] { *array.GetValues().end(); }), "iterator out of bounds");
}

TEST(ValueArrayTest, ConstructionFailures) {
    using U = unsigned int;
    Type const* const i32 = IntType::Get32();
    std::string const sameSize = "array values and special values must be same size";
    std::string const mismatch = "type doesn't match expected type";
    EXPECT_EQ(ThrownText([&] { MakeArray<U>(i32, {1, 2}, {SpecialKind::Null}); }), sameSize);
    EXPECT_EQ(ThrownText([&] { MakeArray<U>(i32, {1}, std::vector<SpecialKind>{}); }), sameSize);
    EXPECT_EQ(ThrownText([] { MakeArray<U>(IntType::Get64(), {1}); }), mismatch);
    EXPECT_EQ(ThrownText([&] {
                  MakeArray<std::shared_ptr<StoreValue>>(ArrayType::Get(i32), {nullptr},
                                                         {SpecialKind::Normal});
              }),
              "arrays with nested collections do not support special values");
    EXPECT_EQ(ThrownText([&] { MakeArray<U>(i32, nullptr, nullptr, nullptr); }),
              "array cannot be null");
    // Float and colour bits share the 32-bit storage.
    auto const color = MakeArray<U>(ColorType::Get(), {0xff010203u});
    EXPECT_EQ(ThrownText([&] { ArrayAdapter<int>{color}; }), mismatch);
    auto const one = MakeArray<U>(RealType::Get32(), {0x3f800000u});
    EXPECT_EQ(*ArrayAdapter<float>(one).GetValues().begin(), 1.0f);
    EXPECT_EQ(ThrownText([] { MakeInt32(1)->AsTypedArray<U>(); }),
              "StoreValue is not an ITypedArray");
}

TEST(ValueArrayTest, RangesRunsAndRawViews) {
    auto five = MakeArray<unsigned int>(IntType::Get32(), {10, 11, 12, 13, 14});
    auto const& array = five->AsTypedArray<unsigned int>();
    auto Read = [](std::shared_ptr<StoreValue> const& v) {
        std::vector<unsigned int> out;
        for (unsigned int e : v->AsTypedArray<unsigned int>().GetValues())
            out.push_back(e);
        return out;
    };
    EXPECT_EQ(ThrownText([&] { array.GetRange(0, 5, 0); }),
              "index out of bounds\nIllegal range step value");
    EXPECT_EQ(Read(array.GetRange(1, 0, 2)), (std::vector<unsigned int>{11, 13}));
    EXPECT_EQ(Read(array.GetRange(10, 5, 1)), std::vector<unsigned int>{});
    EXPECT_EQ(Read(array.GetRange(10, 5, 2)), (std::vector<unsigned int>{10, 12, 14}));
    EXPECT_EQ(Read(array.GetRange(3, 9, 1)), (std::vector<unsigned int>{13, 14}));

    auto runs = MakeArray<unsigned int>(IntType::Get32(), {5, 5, 6});
    EXPECT_EQ(runs->AsArray().FindLastEqualElement(0), 1u);
    EXPECT_EQ(runs->AsArray().FindLastEqualElement(2), 2u);
    EXPECT_EQ(ThrownText([&] { runs->AsArray().FindLastEqualElement(3); }), "index out of bounds");
    auto specials = MakeArray<unsigned int>(
        IntType::Get32(), {1, 2, 1}, {SpecialKind::Null, SpecialKind::Null, SpecialKind::Normal});
    EXPECT_TRUE(specials->AsArray().ElementsAreEqual(0, 1)) << "placeholders don't matter";
    EXPECT_EQ(specials->AsArray().FindLastEqualElement(0), 0u) << "but they end a run";
    EXPECT_FALSE(specials->AsArray().ElementsAreEqual(0, 2));

    // Without specials the whole output is cleared, beyond `length`.
    std::vector<SpecialKind> out(4, SpecialKind::Error);
    array.CopyMaterializedSpecialRange(ArrayView<SpecialKind>(out.data(), out.size()), 0, 2);
    EXPECT_EQ(out, std::vector<SpecialKind>(4, SpecialKind::Normal));
    std::vector<unsigned int> values(2);
    ArrayView<unsigned int> const two(values.data(), 2);
    EXPECT_EQ(ThrownText([&] { array.CopyMaterializedRange(two, 4, 2); }), "index out of bounds");

    // With indices the materialised view is gathered into the scratch buffer;
    // without, it is a window on the array's own storage.
    auto reordered = array.CopyAndApplyIndices(Indices{4, 0}, SortSpecOrder::UNKNOWN);
    EXPECT_EQ(ThrownText([&] { reordered->AsTypedArray<unsigned int>().GetRawArray(); }),
              "expected an array without an indices vector specified (for sort order)");
    auto temp = TemporaryRawData::Make<unsigned int>(2);
    ConstRawDataView gathered = reordered->AsArray().GetRawMaterializedView(*temp, 0, 2);
    EXPECT_EQ(*static_cast<unsigned int const*>(gathered.GetValue(0)), 14u);
    EXPECT_EQ(&gathered.GetData(), &temp->Get());
    ConstRawDataView window = array.GetRawMaterializedView(*temp, 1, 2);
    EXPECT_EQ(window.GetValue(0), &array[1]);
}

}  // namespace
}  // namespace qel::core
