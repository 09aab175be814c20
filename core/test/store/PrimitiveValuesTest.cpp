#include "core/main/store/PrimitiveValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"
#include "qel/core/utility/StringHash.h"

namespace qel::core {
namespace {

using namespace factory;
using test::ThrownText;

Collation German() {
    return Collation(RInternString(u"de"));
}

TEST(PrimitiveValuesTest, OrderAndHash) {
    EXPECT_EQ(MakeBool(false)->Compare(*MakeBool(true)), -1);
    EXPECT_EQ(MakeString(u"A")->Compare(*MakeString(u"a")), -1);  // the collator's, normalised
    EXPECT_EQ(MakeString(u"b")->Compare(*MakeString(TStringCore(u"abc"))), 1);
    EXPECT_EQ(MakeBool(true)->GetHashValue(), 1u);
    EXPECT_EQ(MakeInt32(-1)->GetHashValue(), std::numeric_limits<std::size_t>::max());
    // Both zeros compare equal, so they hash alike.
    EXPECT_EQ(MakeReal32(-0.0f)->GetHashValue(), 0u);
    EXPECT_EQ(MakeReal64(-0.0)->GetHashValue(), 0u);
    EXPECT_EQ(MakeReal32(-1.0f)->GetHashValue(), 0xbf800000u);  // zero-extended
    EXPECT_EQ(MakeReal64(1.0, 4, 2)->GetHashValue(), 0x3ff0000000000000u);
    EXPECT_EQ(MakeString(u"abc")->GetHashValue(), HashString(TStringCore(u"abc")));
}

// Decorated targets: only the store type of the target decides.
Type const* Target(int i) {
    static Type const* const targets[] = {BoolType::Get(),       IntType::Get32(),
                                          IntType::Get64(),      RealType::Get32(4, 2),
                                          RealType::Get64(5, 3), StringType::Get(German()),
                                          DateType::Get(),       ArrayType::Get(IntType::Get32())};
    return targets[i];
}
constexpr int kTargets = 8;

struct CastRow {
    char const* name;
    std::shared_ptr<StoreValue> (*make)();
    // Per target: "-" for "illegal type cast", else "<type>|<text>".
    char const* expected[kTargets];
};
void PrintTo(CastRow const& row, std::ostream* out) {
    *out << row.name;
}

CastRow const kCastRows[] = {
    {"Bool", [] { return MakeBool(true); }, {"b|true", "-", "-", "-", "-", "-", "-", "-"}},
    {"Int32",
     [] { return MakeInt32(-7); },
     {"-", "i|-7", "l|-7", "f<-1,-1>|-7", "r<-1,-1>|-7", "-", "-", "-"}},
    {"Int64",
     [] { return MakeInt64(4294967297LL); },
     {"-", "i|1", "l|4294967297", "f<-1,-1>|4.2949673e+09", "r<-1,-1>|4294967297", "-", "-", "-"}},
    // Widening keeps precision and scale; narrowing drops them.
    {"Real32",
     [] { return MakeReal32(-2.9f, 3, 1); },
     {"-", "i|-2", "l|-2", "f<3,1>|-2.9000001", "r<3,1>|-2.9000000953674316", "-", "-", "-"}},
    {"Real64",
     [] { return MakeReal64(2.9, 10, 2); },
     {"-", "i|2", "l|2", "f<-1,-1>|2.9000001", "r<10,2>|2.8999999999999999", "-", "-", "-"}},
    {"String", [] { return MakeString(u"x"); }, {"-", "-", "-", "-", "-", "s<LROOT>|x", "-", "-"}},
};

class CastMatrixTest : public ::testing::TestWithParam<CastRow> {};

TEST_P(CastMatrixTest, Row) {
    auto const value = GetParam().make();
    for (int i = 0; i < kTargets; ++i) {
        std::string const expected = GetParam().expected[i];
        SCOPED_TRACE("to " + Target(i)->ToString().toStdString());
        if (expected == "-") {
            EXPECT_EQ(ThrownText([&] { value->Cast(Target(i)); }), "illegal type cast");
        } else {
            std::unique_ptr<StoreValue> cast = value->Cast(Target(i));
            EXPECT_EQ(cast->GetType()->ToString().toStdString() + "|" +
                          FormatPrimitive(*cast).toStdString(),
                      expected);
        }
    }
    EXPECT_EQ(ThrownText([&] { value->Cast(nullptr); }), "illegal type cast");
    // A clone is a new object of the very same type.
    EXPECT_EQ(value->Clone()->GetType(), value->GetType());
}

INSTANTIATE_TEST_SUITE_P(Primitives, CastMatrixTest, ::testing::ValuesIn(kCastRows),
                         [](auto const& info) { return std::string(info.param.name); });

TEST(PrimitiveValuesTest, TruncationAndLowBits) {
    auto toInt32 = [](auto const& v) { return v->Cast(IntType::Get32())->AsInt32(); };
    auto toInt64 = [](auto const& v) { return v->Cast(IntType::Get64())->AsInt64(); };
    int const low32 = std::numeric_limits<int>::min();
    long long const low64 = std::numeric_limits<long long>::min();
    // Toward zero; NaN and anything out of range give the lowest value.
    EXPECT_EQ(toInt32(MakeReal32UniquePtr(-0.5f)), 0);
    EXPECT_EQ(toInt32(MakeReal64(2147483647.9)), 2147483647);
    EXPECT_EQ(toInt32(MakeReal64(2147483648.0)), low32);
    EXPECT_EQ(toInt32(MakeReal64(std::nan(""))), low32);
    EXPECT_EQ(toInt32(MakeReal32(INFINITY)), low32);
    EXPECT_EQ(toInt64(MakeReal64(9.3e18)), low64);
    EXPECT_EQ(toInt64(MakeReal64(-9.2e18)), -9200000000000000000LL);
    EXPECT_EQ(toInt64(MakeReal32(std::nanf(""))), low64);
    // Int64 to Int32 keeps the low 32 bits.
    EXPECT_EQ(toInt32(MakeInt64(0x123456789LL)), 0x23456789);
}

}  // namespace
}  // namespace qel::core
