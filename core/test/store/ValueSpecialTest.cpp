#include "core/main/store/ValueSpecial.h"

#include <gtest/gtest.h>

#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"

namespace qel::core {
namespace {

using factory::MakeSpecial;
using test::ThrownText;

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

TEST(ValueSpecialTest, FieldsHashAndCast) {
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

TEST(ValueSpecialTest, BaseTypesMustMatch) {
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

}  // namespace
}  // namespace qel::core
