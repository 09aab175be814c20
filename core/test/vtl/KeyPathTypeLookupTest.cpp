#include "qel/core/vtl/KeyPathTypeLookup.h"

#include <gtest/gtest.h>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/types/Type.h"

namespace qel::core {
namespace {

using test::P;
using test::Refused;

std::string NoValue(char const* key) {
    return std::string("no value found at key ") + key +
           " | <any condition> @ Source: core/main/vtl/KeyPathTypeLookup";
}

TEST(KeyPathTypeLookupTest, AnswersFromTheLeafAnnotation) {
    KeyPathTypeLookup const lookup;
    ITypeLookup const& base = lookup;
    EXPECT_EQ(base.GetType(P(u"a/b:i")), MakePrimitiveType(StoreType::Int32));
    EXPECT_FALSE(base.IsKeyMap(P(u"a/b:i")));
    EXPECT_TRUE(base.IsKeyMap(P(u"a/m:M{ b:i }")));
    // Only the leaf counts.
    EXPECT_FALSE(base.HasType(P(u"a:M{ b:i }/b")));
    EXPECT_TRUE(
        test::MatchesRefusal(Refused([&] { base.GetType(P(u"a:i/b")); }), NoValue("\na/b")));
    EXPECT_TRUE(test::MatchesRefusal(Refused([&] { base.IsKeyMap(P(u"x")); }), NoValue("\nx")));
    EXPECT_TRUE(test::MatchesRefusal(Refused([&] { base.GetType(KeyPath()); }), NoValue("")));

    // GetType and IsKeyMap ask HasType through the virtual table.
    struct Blind : KeyPathTypeLookup {
        bool HasType(KeyPath const&) const override { return false; }
    } const blind;
    EXPECT_TRUE(test::MatchesRefusal(Refused([&] { blind.IsKeyMap(P(u"m:M")); }), NoValue("\nm")));
}

}  // namespace
}  // namespace qel::core
