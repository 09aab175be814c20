#include "qel/core/utility/QelTupleData.h"

#include <gtest/gtest.h>

#include <limits>
#include <unordered_set>

#include "core/test/Refusal.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/SpecialKind.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/TypeTraits.h"

namespace qel::core {
namespace {

using test::Refusal;

// A text too long to live inside the string object, so that copies share or
// duplicate real storage.
TStringCore const kLong(u"a text beyond the inline capacity of a string");

TupleType const* Everything() {
    return TupleType::Get({IntType::Get32(), DateType::Get(), DateTimeType::Get(),
                           StringType::Get(), ExternalType::Get(3), BoolType::Get(),
                           RealType::Get64(), ColorType::Get(), IntType::Get64(),
                           RealType::Get32()});
}

TEST(QelTupleDataTest, EmptyAndFreshTuplesReadDefaults) {
    QelTuple const a, b;  // no members: no bytes, hash zero, equal
    EXPECT_EQ(a.GetType(), TupleType::Get({}));
    EXPECT_EQ(a.GetCount(), 0u);
    EXPECT_EQ(a.GetDataSize(), 0u);
    EXPECT_EQ(a.GetHashValue(), 0u);
    EXPECT_EQ(a.Compare(b), 0);
    EXPECT_TRUE(a == b);
    // A fresh tuple reads defaults once its buffer is made.
    QelTuple const t(Everything());
    EXPECT_FALSE(t.IsReference());
    EXPECT_EQ(t.GetNthInt32Unsafe(0), 0);
    EXPECT_EQ(t.GetNthSpecialUnsafe(0), SpecialKind::Normal);
    EXPECT_EQ(t.GetNthDate(1).GetValue(), QelDateTime::DateTimeDefault);
    EXPECT_EQ(t.GetNthDateTime(2).GetValue(), QelDateTime::DateTimeDefault);
    EXPECT_EQ(t.GetNthString(3), RIndirectString());
    EXPECT_EQ(t.GetNthExternal(4), nullptr);
    EXPECT_FALSE(t.GetNthBool(5));
    EXPECT_FALSE(t.IsNthSpecial(9));
}

TEST(QelTupleDataTest, CheckedAccessorsRefuseIndexAndStoreType) {
    QelTuple t(Everything());
    EXPECT_EQ(Refusal([&] { t.GetNthInt32(10); }),
              "index out of bounds | (index < members.size())");
    EXPECT_EQ(Refusal([&] { t.GetNthInt64(0); }),
              "type doesn't match expected type | (GetNthType(index)->Is(StoreType::Int64))");
    EXPECT_EQ(Refusal([&] { t.SetNthDateTime(1, QelDateTime()); }),
              "type doesn't match expected type | (GetNthType(index)->Is(StoreType::DateTime))");
    EXPECT_EQ(Refusal([&] { t.GetNthSpecial(10); }),
              "index out of bounds | (index < m_type->GetMembers().size())");
    EXPECT_TRUE(test::MatchesRefusal(Refusal([&] { t.GetNthValue<double>(9); }),
                                     "type doesn't match expected type | <any condition>"));
}

TEST(QelTupleDataTest, ValuesAndSpecialBytesAreSetApart) {
    QelTuple t(Everything());
    t.SetNthInt32(0, -7);
    t.SetNthDate(1, QelDateTime(2020, 3, 4, 0, 0, 0, 0));
    t.SetNthBool(5, true);
    t.SetNthInt64(8, -(1LL << 40));
    t.SetNthReal32(9, 1.5f);
    t.SetNthSpecial(0, SpecialKind::Error);
    EXPECT_EQ(t.GetNthInt32(0), -7);  // the special byte left the value
    EXPECT_TRUE(t.IsNthSpecial(0));
    t.SetNthInt32(0, 8);  // and the value leaves the special byte
    EXPECT_EQ(t.GetNthSpecial(0), SpecialKind::Error);
    EXPECT_EQ(t.GetNthDate(1), QelDateTime(2020, 3, 4, 0, 0, 0, 0));
    EXPECT_TRUE(t.GetNthBool(5));
    EXPECT_EQ(t.GetNthInt64(8), -(1LL << 40));
    // The generic forms: an element type matches Date and DateTime alike, a
    // storage type reads the raw bits of its width.
    EXPECT_EQ(t.GetNthValue<QelDateTime>(2).GetValue(), QelDateTime::DateTimeDefault);
    EXPECT_EQ(t.GetNthValue<unsigned int>(9), 0x3FC00000u);
    EXPECT_EQ(t.GetNthValue<unsigned long long>(8), static_cast<unsigned long long>(-(1LL << 40)));
    t.SetNthValueUnsafe<unsigned int>(9, 0x40000000u);
    EXPECT_EQ(t.GetNthReal32(9), 2.0f);
}

TEST(QelTupleDataTest, CopiesAreDeepAndReferencesShare) {
    std::shared_ptr<StoreValue> const held = factory::MakeInt32(5);
    TupleType const* type = TupleType::Get({StringType::Get(), ExternalType::Get(3)});
    QelTuple a(type);
    a.SetNthString(0, kLong);
    a.SetNthExternal(1, held);
    EXPECT_EQ(held.use_count(), 2);
    {
        QelTuple b(a);
        EXPECT_EQ(held.use_count(), 3);
        b.SetNthString(0, RIndirectString(u"changed"));
        b.SetNthExternal(1, nullptr);
        EXPECT_EQ(a.GetNthString(0).GetValue(), kLong);
        EXPECT_EQ(a.GetNthExternal(1), held);
        EXPECT_EQ(held.use_count(), 2);
        b = a;
        EXPECT_EQ(held.use_count(), 3);
        QelTuple const& itself = b;
        b = itself;  // a copy of itself keeps its members
        EXPECT_EQ(b.GetNthString(0).GetValue(), kLong);
        EXPECT_EQ(held.use_count(), 3);

        QelTuple const ref(static_cast<QelTupleData const&>(a));
        EXPECT_TRUE(ref.IsReference());
        EXPECT_FALSE(a.CloneOf().IsReference());
        EXPECT_EQ(held.use_count(), 3);  // a reference owns nothing
        a.SetNthString(0, RIndirectString(u"seen through the reference"));
        EXPECT_EQ(ref.GetNthString(0), RIndirectString(u"seen through the reference"));
    }
    EXPECT_EQ(held.use_count(), 2);
    QelTuple moved(std::move(a));
    EXPECT_EQ(held.use_count(), 2);
    moved = QelTuple(type);  // the old members are destroyed
    EXPECT_EQ(held.use_count(), 1);

    QelTuple const fresh(TupleType::Get({IntType::Get32()}));
    QelTupleData const ref = fresh.ReferenceTo();
    EXPECT_EQ(Refusal([&] { ref.GetNthInt32(0); }),
              "unspecified Vantrel Runtime error | (m_ownsData)");
    EXPECT_THROW(ref.GetNthSpecialUnsafe(0), QelLogicException);
    // A copy of it owns, and so may make its own buffer.
    EXPECT_EQ(QelTupleData(ref).GetNthInt32(0), 0);
}

TEST(QelTupleDataTest, CompareInvertsSpecialOrderThenComparesValues) {
    TupleType const* type = TupleType::Get({IntType::Get32(), StringType::Get()});
    QelTuple normal(type), null(type), missing(type);
    null.SetNthSpecial(0, SpecialKind::Null);
    missing.SetNthSpecial(0, SpecialKind::Missing);
    EXPECT_LT(null, normal);
    EXPECT_GT(normal, null);
    EXPECT_EQ(missing.Compare(null), -1);  // a higher kind is the lesser
    // Equal specials compare the values last written under them.
    QelTuple otherNull(null);
    otherNull.SetNthInt32(0, 1);
    EXPECT_EQ(null.Compare(otherNull), -1);
    // The first member that differs decides; strings by their collator.
    QelTuple upper(type), lower(type);
    upper.SetNthString(1, RIndirectString(u"A"));
    lower.SetNthString(1, RIndirectString(u"a"));
    EXPECT_EQ(upper.Compare(lower), -1);
    upper.SetNthInt32(0, 1);
    EXPECT_EQ(upper.Compare(lower), 1);
    EXPECT_NE(upper, lower);
    EXPECT_EQ(Refusal([&] { normal.Compare(QelTuple()); }),
              "type mismatch | (m_type == other.m_type)");

    TupleType const* extra = TupleType::Get({RealType::Get64(), ExternalType::Get(3)});
    QelTuple x(extra), y(extra);
    x.SetNthReal64(0, std::numeric_limits<double>::quiet_NaN());
    y.SetNthReal64(0, 1.0);
    EXPECT_EQ(x.Compare(y), 0);  // a NaN equals everything
    y.SetNthExternal(1, factory::MakeInt32(3));
    EXPECT_EQ(x.Compare(y), -1);  // no value below a value
    x.SetNthExternal(1, factory::MakeInt32(5));
    EXPECT_EQ(x.Compare(y), 1);
}

TEST(QelTupleDataTest, HashCombinesSpecialAndValueBytesInOrder) {
    QelTuple t(TupleType::Get({BoolType::Get(), IntType::Get32()}));
    t.SetNthBool(0, true);
    t.SetNthInt32(1, 7);
    t.SetNthSpecial(1, SpecialKind::Null);
    // h = ((h >> 2) + h * 64 + special + value + 0x9e3779b9) ^ h per member.
    EXPECT_EQ(t.GetHashValue(), 0x28cd94bf15u);
    EXPECT_EQ(std::hash<QelTuple>()(t), t.GetHashValue());
    // 32-bit members are zero-extended.
    QelTuple minusOne(TupleType::Get({IntType::Get32()}));
    minusOne.SetNthInt32(0, -1);
    EXPECT_EQ(minusOne.GetHashValue(), 0x19e3779b8u);
    // Zeros of two signs are equal but hash apart.
    QelTuple zero(TupleType::Get({RealType::Get64()})), negative(zero.GetType());
    negative.SetNthReal64(0, -0.0);
    EXPECT_EQ(zero, negative);
    EXPECT_NE(zero.GetHashValue(), negative.GetHashValue());
    QelTuple other(t);
    other.SetNthInt32(1, 8);
    std::unordered_set<QelTuple> const set{t, QelTuple(t), other};
    EXPECT_EQ(set.size(), 2u);
}

}  // namespace
}  // namespace qel::core
