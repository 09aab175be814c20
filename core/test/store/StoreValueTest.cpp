#include "qel/core/store/StoreValue.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>

#include "core/main/store/ValueSpecial.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"

namespace qel::core {
namespace {

using namespace factory;
using test::ThrownText;

// A value that overrides only what StoreValue leaves pure.
class PlainValue final : public StoreValue {
public:
    explicit PlainValue(Type const* type) : m_type(type) {}
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return 1; }
    std::unique_ptr<StoreValue> Clone() const override { return nullptr; }

private:
    Type const* m_type;
};

TEST(StoreValueTest, DefaultsOfTheBaseAndFormatPrimitive) {
    PlainValue const array(ArrayType::Get(IntType::Get32()));
    EXPECT_EQ(array.GetStoreType(), StoreType::Array);
    EXPECT_FALSE(array.IsSpecial());
    EXPECT_EQ(array.GetHashValue(), 0u);
    EXPECT_EQ(ThrownText([&] { array.Cast(IntType::Get32()); }), "illegal type cast");
    EXPECT_EQ(ThrownText([&] { array.Compare(array); }), "illegal type comparison");
    EXPECT_EQ(ThrownText([&] { FormatPrimitive(array); }), "invalid StoreType value\nArray");
    PlainValue const external(ExternalType::Get(static_cast<unsigned short>(1)));
    EXPECT_EQ(ThrownText([&] { FormatPrimitive(external); }), "invalid StoreType value\nExternal");
    EXPECT_EQ(ThrownText([] { PrimitiveErrorFunction(StoreType::Table); }),
              "unsupported primitive key type\nTable");

    EXPECT_EQ(FormatPrimitive(*MakeSpecial(nullptr, SpecialKind::ManyValues)), u"ManyValues");
    EXPECT_EQ(FormatPrimitive(*MakeBool(false)), u"false");
    // Numbers of every width: see the cast matrix of the primitive values.
    EXPECT_EQ(FormatPrimitive(*MakeString(u"say \"hi\"\n")), u"say \"hi\"\n");
}

struct Accessor {
    char const* message;
    void (*read)(StoreValue const&);
};
Accessor const kAccessors[] = {
    {"expected bool but was ", [](auto& v) { (void)v.AsBool(); }},
    {"expected int32 but was ", [](auto& v) { (void)v.AsInt32(); }},
    {"expected int64 but was ", [](auto& v) { (void)v.AsInt64(); }},
    {"expected real32 but was ", [](auto& v) { (void)v.AsReal32(); }},
    {"expected real64 but was ", [](auto& v) { (void)v.AsReal64(); }},
    {"expected string but was ", [](auto& v) { (void)v.AsString(); }},
    {"expected date but was ", [](auto& v) { (void)v.AsDate(); }},
    {"expected datetime but was ", [](auto& v) { (void)v.AsDateTime(); }},
    {"expected color but was ", [](auto& v) { (void)v.AsColor(); }},
    {"external type expected", [](auto& v) { (void)v.AsExternal(); }},
    {"expected collection but was ", [](auto& v) { (void)v.AsCollection(); }},
    {"expected uniform collection but was ", [](auto& v) { (void)v.AsUniformCollection(); }},
    {"expected array but was ", [](auto& v) { (void)v.AsArray(); }},
    {"expected set but was ", [](auto& v) { (void)v.AsSet(); }},
    {"expected keymap but was ", [](auto& v) { (void)v.AsKeyMap(); }},
    {"expected table but was ", [](auto& v) { (void)v.AsTable(); }},
    {"expected tuple but was ", [](auto& v) { (void)v.AsTuple(); }},
};

TEST(StoreValueTest, AccessorsNameTheActualTypeAndSpecialKind) {
    auto const nullInt = MakeSpecial(IntType::Get32(), SpecialKind::Null);
    auto const missingSet = MakeSpecial(SetType::Get(BoolType::Get()), SpecialKind::Missing);
    auto const decoratedReal = MakeReal32(1, 5, 2);
    for (Accessor const& a : kAccessors) {
        std::string const m = std::string(a.message) + "\n";
        // A special fails every accessor, its own type's included.
        EXPECT_EQ(ThrownText([&] { a.read(*nullInt); }), m + "Int32 (special kind: Null)");
        EXPECT_EQ(ThrownText([&] { a.read(*missingSet); }), m + "Set (special kind: Missing)");
        // No accessor converts.
        if (&a != &kAccessors[3]) {  // AsReal32
            EXPECT_EQ(ThrownText([&] { a.read(*decoratedReal); }), m + "Real32");
        }
    }
    EXPECT_EQ(ThrownText([&] { nullInt->AsMutableCollection(); }), "cannot modify collection");
}

TEST(StoreValueTest, ComparisonAcrossStoreTypes) {
    auto const i1 = MakeInt32(1);
    auto const l1 = MakeInt64(1);
    // IsEqual never throws across base types; Compare does, in the accessor.
    EXPECT_FALSE(i1->IsEqual(*l1));
    EXPECT_FALSE(MakeBool(true)->IsEqual(*i1));
    EXPECT_FALSE(MakeReal32(1)->IsEqual(*MakeReal64(1)));
    EXPECT_TRUE(MakeReal32(1.5f, 10, 2)->IsEqual(*MakeReal32(1.5f)));
    EXPECT_EQ(ThrownText([&] { i1->Compare(*l1); }), "expected int32 but was \nInt64");
    EXPECT_EQ(ThrownText([&] { l1->IsLessThan(*i1); }), "expected int64 but was \nInt32");

    // Fuzzy comparison promotes, where there is a promotion.
    EXPECT_TRUE(i1->FuzzyIsEqual(*l1));
    EXPECT_TRUE(MakeReal32(1, 10, 2)->FuzzyIsEqual(*i1));
    EXPECT_TRUE(MakeReal32(0.5f)->FuzzyIsEqual(*MakeReal64(0.5)));
    EXPECT_TRUE(MakeInt32(3)->FuzzyIsLessThan(*MakeReal64(3.5)));
    EXPECT_TRUE(MakeReal32(2.5f)->FuzzyIsGreaterThan(*MakeInt64(2)));
    EXPECT_FALSE(MakeBool(true)->FuzzyIsEqual(*i1));
    EXPECT_EQ(ThrownText([&] { MakeBool(true)->FuzzyIsLessThan(*i1); }), "unsupported type");

    auto const null = MakeSpecial(IntType::Get32(), SpecialKind::Null);
    EXPECT_FALSE(null->FuzzyIsEqual(*i1));
    EXPECT_TRUE(null->FuzzyIsEqual(*MakeSpecial(IntType::Get32(), SpecialKind::Null)));
    EXPECT_TRUE(i1->FuzzyIsLessThan(*null));
    EXPECT_FALSE(null->FuzzyIsLessThan(*i1));
}

template <class T>
class FuzzyRealTest : public ::testing::Test {
protected:
    static std::shared_ptr<StoreValue> Make(T v) {
        if constexpr (sizeof(T) == 4)
            return MakeReal32(v);
        return MakeReal64(v);
    }
    // The number `steps` representable values further from zero than `v`.
    static T Steps(T v, int steps) {
        using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
        return std::bit_cast<T>(static_cast<Bits>(std::bit_cast<Bits>(v) + steps));
    }
};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FuzzyRealTest, RealTypes);

TYPED_TEST(FuzzyRealTest, SixteenUnitsInTheLastPlace) {
    for (TypeParam base : {TypeParam(1), TypeParam(-1234.5), TypeParam(1e-30)}) {
        auto const x = this->Make(base);
        auto const near = this->Make(this->Steps(base, 16));
        auto const far = this->Make(this->Steps(base, 17));
        EXPECT_FALSE(x->IsEqual(*near));
        EXPECT_TRUE(x->FuzzyIsEqual(*near));
        EXPECT_FALSE(x->FuzzyIsEqual(*far));
        EXPECT_NE(x->FuzzyIsLessThan(*far), x->FuzzyIsGreaterThan(*far));
    }
    // Opposite signs are never close, except the two zeros.
    TypeParam const tiny = std::numeric_limits<TypeParam>::denorm_min();
    EXPECT_FALSE(this->Make(tiny)->FuzzyIsEqual(*this->Make(-tiny)));
    EXPECT_TRUE(this->Make(0)->FuzzyIsEqual(*this->Make(-TypeParam(0))));
    // A NaN compares equal to anything, but is fuzzily close only to NaNs.
    TypeParam const nan = std::numeric_limits<TypeParam>::quiet_NaN();
    EXPECT_EQ(this->Make(nan)->Compare(*this->Make(1)), 0);
    EXPECT_EQ(this->Make(-7)->Compare(*this->Make(nan)), 0);
    EXPECT_TRUE(this->Make(nan)->IsEqual(*this->Make(1)));
    EXPECT_TRUE(this->Make(nan)->FuzzyIsEqual(*this->Make(this->Steps(nan, 16))));
    EXPECT_FALSE(this->Make(nan)->FuzzyIsEqual(*this->Make(1)));
}

TEST(ValueSpecialTest, KindNamesRoundTripExactly) {
    char16_t const* const names[] = {u"Normal",   u"Null",   u"All",   u"Wildcard",   u"Skipped",
                                     u"NoAccess", u"Ragged", u"Error", u"ManyValues", u"Missing"};
    for (unsigned k = 0; k < kSpecialKindCount; ++k) {
        EXPECT_EQ(SpecialKindToString(static_cast<SpecialKind>(k)), names[k]);
        EXPECT_EQ(SpecialKindFromString(TStringCore(names[k])), static_cast<SpecialKind>(k));
    }
    EXPECT_EQ(ThrownText([] { SpecialKindToString(static_cast<SpecialKind>(10)); }),
              "illegal special kind value");
    for (char16_t const* text : {u"null", u" Null", u""}) {
        EXPECT_EQ(ThrownText([&] { SpecialKindFromString(TStringCore(text)); }),
                  "cannot parse special kind");
    }
}

TEST(ValueSpecialTest, FieldsHashCastAndMatchingBaseTypes) {
    EXPECT_EQ(ThrownText([] { MakeSpecial(IntType::Get32(), SpecialKind::Normal); }),
              "boxed special values not must be SpecialKind::Normal");
    ValueSpecial const missing(RealType::Get32(3, 1), SpecialKind::Missing);
    EXPECT_EQ(missing.GetStoreType(), StoreType::Real32);
    EXPECT_EQ(missing.GetHashValue(), 9u);
    // A special casts to any type at all, null included, keeping its kind.
    for (Type const* to : {(Type const*)StringType::Get(), (Type const*)nullptr}) {
        EXPECT_EQ(missing.Cast(to)->GetType(), to);
        EXPECT_EQ(missing.Cast(to)->GetSpecialKind(), SpecialKind::Missing);
    }

    auto const null = MakeSpecial(IntType::Get32(), SpecialKind::Null);
    auto const text = factory::MakeString(u"a");
    EXPECT_EQ(ThrownText([&] { null->Compare(*text); }), "type mismatch");
    EXPECT_EQ(ThrownText([&] { text->Compare(*null); }), "type mismatch");
    EXPECT_EQ(ThrownText([&] { null->Compare(*MakeSpecial(IntType::Get64(), SpecialKind::Null)); }),
              "type mismatch");
    EXPECT_FALSE(null->IsEqual(*text));
    EXPECT_FALSE(text->IsEqual(*null));
    // Decorated types share their base type, so those compare.
    auto const decorated = MakeSpecial(RealType::Get32(3, 1), SpecialKind::Null);
    EXPECT_EQ(decorated->Compare(*MakeSpecial(RealType::Get32(), SpecialKind::Null)), 0);
    EXPECT_EQ(factory::MakeReal32(1, 7, 7)->Compare(*decorated), -1);
}

TEST(ValueSpecialTest, SpecialsSortAfterNormalValuesInKindOrder) {
    // Index 0 is a normal value, then the kinds in enumeration order. Each
    // pair is compared from both sides, so a special decides either way.
    std::vector<std::shared_ptr<StoreValue>> ordered{factory::MakeInt32(1 << 30)};
    for (unsigned k = 1; k < kSpecialKindCount; ++k) {
        ordered.push_back(MakeSpecial(IntType::Get32(), static_cast<SpecialKind>(k)));
    }
    for (std::size_t a = 0; a < ordered.size(); ++a) {
        for (std::size_t b = 0; b < ordered.size(); ++b) {
            EXPECT_EQ(ordered[a]->Compare(*ordered[b]), a < b ? -1 : (a > b ? 1 : 0)) << a << b;
            EXPECT_EQ(ordered[a]->IsEqual(*ordered[b]), a == b) << a << " " << b;
        }
    }
    EXPECT_TRUE(ordered[0]->IsLessThan(*ordered[1]));
    EXPECT_TRUE(ordered[9]->IsGreaterThan(*ordered[1]));
}

}  // namespace
}  // namespace qel::core
