#include "core/main/store/ValueConstantArrayImpl.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueCompositeArray.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {
namespace {

using namespace factory;
using test::Refusal;
using test::ThrownText;
using U = unsigned int;
using Indices = std::vector<qelsize_t>;

// A sample element of each storage type, its element type, and whether
// constant and composite arrays take it.
template <class T>
struct Sample {
    Type const* type;
    T value;
    bool constant;
    bool composite;
};
template <class T>
Sample<T> SampleOf() {
    if constexpr (std::is_same_v<T, unsigned char>) {
        return {BoolType::Get(), 1, true, true};
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return {ColorType::Get(), 0xff102030u, true, true};
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        return {DateTimeType::Get(), QelDateTime::DateTimeDefault, true, true};
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return {StringType::Get(), u"a long text beyond inline", true, true};
    } else if constexpr (std::is_same_v<T, QelTuple>) {
        TupleType const* const type = TupleType::Get({IntType::Get32()});
        QelTuple tuple(type);
        tuple.SetNthInt32(0, 7);
        return {type, tuple, true, false};
    } else {
        Type const* const i32 = IntType::Get32();
        return {ArrayType::Get(i32), MakeArray<U>(i32, {7}), false, false};
    }
}

template <class T>
class ConstantArrayTypedTest : public testing::Test {};
using StorageTypes = testing::Types<QEL_STORAGE_TYPES>;
TYPED_TEST_SUITE(ConstantArrayTypedTest, StorageTypes);

// Each storage type: what is accepted reads as count copies of the one
// element through every path; the rest is refused.
TYPED_TEST(ConstantArrayTypedTest, ReadsTheOneElementOrRefuses) {
    using T = TypeParam;
    Sample<T> const sample = SampleOf<T>();
    std::string const mismatch = "type doesn't match expected type";
    if (!sample.constant) {
        EXPECT_EQ(ThrownText([&] { MakeConstantArray<T>(sample.type, sample.value, 2); }),
                  mismatch);
    } else {
        auto const value = MakeConstantArray<T>(sample.type, sample.value, 3);
        auto const& array = value->template AsTypedArray<T>();
        std::vector<T> read;
        for (auto const& e : array.GetValues())
            read.push_back(e);
        EXPECT_EQ(read, std::vector<T>(3, sample.value));
        EXPECT_EQ(array.At(2), sample.value);
        EXPECT_EQ(&array[1], &array.GetRawArray()[0]) << "one buffer of one element";
        std::vector<T> out(5);
        array.CopyMaterializedRange(ArrayView<T>(out.data(), 5), 1, 2);
        EXPECT_EQ(out, std::vector<T>(5, sample.value)) << "fills the whole buffer";
        auto const slice = array.GetRange(1, 2, 1);
        EXPECT_EQ(&slice->template AsTypedArray<T>()[0], &array[0]) << "shares the buffer";
    }
    std::vector<ValueCompositeArrayRange<T>> runs = {{sample.value, SpecialKind::Normal, 2}};
    if (!sample.composite) {
        EXPECT_EQ(ThrownText([&] { MakeCompositeArray<T>(sample.type, std::move(runs)); }),
                  mismatch);
    } else {
        auto const composite = MakeCompositeArray<T>(sample.type, std::move(runs));
        EXPECT_EQ(composite->template AsTypedArray<T>().At(1), sample.value);
    }
}

TEST(ValueConstantArrayTest, CountAloneChanges) {
    auto const value = MakeConstantArray<U>(IntType::Get32(), 7u, 3);
    auto const& array = value->AsTypedArray<U>();
    EXPECT_TRUE(array.IsConstantValue());
    EXPECT_FALSE(array.HasSpecialValues());
    EXPECT_EQ(array.GetSortOrder(), SortSpecOrder::ASC);
    EXPECT_EQ(array.At(2), 7u);
    EXPECT_EQ(Refusal([&] { array.At(3); }), "index out of bounds | (index < m_size)");
    EXPECT_EQ(array.GetRawArray().GetSize(), 1u);
    EXPECT_EQ(Refusal([&] { array.ElementsAreEqual(3, 0); }),
              "index out of bounds | (idx1 < m_size)");

    auto const one = MakeConstantArray<U>(IntType::Get32(), 7u, 1);
    auto const applied = one->AsArray().CopyAndApplyIndices(Indices{9, 9}, SortSpecOrder::DESC);
    EXPECT_EQ(applied->GetCount(), 2u) << "entries are not read";
    EXPECT_EQ(applied->AsArray().GetSortOrder(), SortSpecOrder::ASC);
    auto const six = MakeConstantArray<U>(IntType::Get32(), 7u, 6);
    EXPECT_EQ(six->AsArray().GetRange(1, 10, 2)->GetCount(), 3u);
    // The count is taken in 32 bits: a start past the end wraps.
    EXPECT_EQ(array.GetRange(9, 2, 1)->GetCount(), 2u);
    EXPECT_EQ(ThrownText([&] { array.GetRange(0, 1, 0); }),
              "index out of bounds\nIllegal range step value");

    EXPECT_EQ(Refusal([&] { array.GetRawSpecialArray(); }),
              "expected an array with special values | (HasSpecialValues())");
    EXPECT_EQ(Refusal([&] { array.GetRawRanges(); }), "not implemented | ");
    std::vector<U> out(1);
    EXPECT_EQ(Refusal([&] { array.CopyMaterializedRange(ArrayView<U>(out.data(), 1), 2, 2); }),
              "index out of bounds | (startIndex + length <= GetCount())");
    EXPECT_EQ(Refusal([&] { array.CopyMaterializedRange(ArrayView<U>(out.data(), 1), 0, 2); }),
              "index out of bounds | (outView.GetSize() >= length)");
}

// The boxed element is made once and handed to every reader; by key, a
// special element gives its boxed placeholder.
TEST(ValueConstantArrayTest, BoxesOnce) {
    auto const value = MakeConstantArray<RIndirectString>(StringType::Get(), 4, SpecialKind::Null);
    auto const& array = value->AsTypedArray<RIndirectString>();
    EXPECT_TRUE(array.HasSpecialValues());
    EXPECT_EQ(array.GetRawSpecialArray()[0], SpecialKind::Null);
    auto const boxed = array.GetStoreValueAt(0);
    EXPECT_EQ(boxed->GetSpecialKind(), SpecialKind::Null);
    EXPECT_EQ(array.GetStoreValueAt(3), boxed);
    auto const& iterable = array.GetStoreValues();
    int walked = 0;
    for (auto it = iterable.begin()->Clone(); it->NotEqual(iterable.end()); it->MoveNext()) {
        EXPECT_EQ(it->GetCurrent(), boxed);
        ++walked;
    }
    EXPECT_EQ(walked, 4);
    auto past = iterable.end()->Clone();
    EXPECT_EQ(Refusal([&] { past->MoveNext(); }), "iterator out of bounds | (m_pos < m_size)");

    auto const& keys = value->AsCollection();
    auto const byKey = keys.GetByString(RInternString(u"3"));
    EXPECT_FALSE(byKey->IsSpecial());
    EXPECT_EQ(byKey, keys.GetByString(RInternString(u"0")));
    EXPECT_EQ(keys.TryGetByString(RInternString(u"4")), nullptr);
    EXPECT_FALSE(keys.ContainsStringKey(RInternString(u"4")));
    std::vector<SpecialKind> specials(3);
    array.CopyMaterializedSpecialRange(ArrayView<SpecialKind>(specials.data(), 3), 0, 1);
    EXPECT_EQ(specials, std::vector<SpecialKind>(3, SpecialKind::Null));
}

TEST(ValueConstantArrayTest, Refusals) {
    EXPECT_EQ(Refusal([] { ValueConstantArray<U>(nullptr, 7u, 1); }),
              "null is not a valid argument | (m_type) != nullptr");
    std::string const mismatch = "type doesn't match expected type | ";
    EXPECT_EQ(
        Refusal([] {
            MakeConstantArray<std::shared_ptr<StoreValue>>(SetType::Get(IntType::Get32()), nullptr,
                                                           1);
        }),
        mismatch +
            "(IsPrimitiveStoreType(elementStoreType) || elementStoreType == StoreType::Tuple)");
    EXPECT_EQ(Refusal([] { MakeConstantArray<U>(IntType::Get64(), 1u, 1); }),
              mismatch + "(StorageTypeTraits<StorageT>::IsMatchingType(m_type->GetElementType()))");
    TupleType const* const single = TupleType::Get({StringType::Get()});
    std::vector<QelTuple> tuples(2, QelTuple(single));
    auto const value = MakeConstantArray<U>(IntType::Get32(), 7u, 2);
    EXPECT_EQ(Refusal([&] {
                  value->AsArray().CopyMaterializedToTuples(ArrayView<QelTuple>(tuples.data(), 2),
                                                            0, 2, 0);
              }),
              "type mismatch | (outView[0].GetNthType(tupleIndex) == m_type->GetElementType())");
}

}  // namespace
}  // namespace qel::core
