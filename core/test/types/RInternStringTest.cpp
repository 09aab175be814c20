#include "qel/core/types/RInternString.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "qel/core/types/RIndirectString.h"
#include "qel/core/utility/StringHash.h"

namespace qel::core {
namespace {

TEST(RInternStringTest, HandlesOfEqualTextsAreEqualWhateverTheConstructor) {
    RInternString const empty;
    EXPECT_EQ(RInternString(u""), empty);
    EXPECT_EQ(RInternString(TStringCore()), empty);
    EXPECT_EQ(RInternString(RIndirectString()), empty);
    EXPECT_NE(RInternString(u'\0'), empty);  // one unit, even a zero one

    TStringCore const text(u"interned");
    RInternString const a(text);
    EXPECT_EQ(RInternString(TStringCore(text)), a);
    EXPECT_EQ(RInternString(RIndirectString(text)), a);
    EXPECT_EQ(RInternString(u'x'), RInternString(u"x"));
    EXPECT_TRUE(RInternString(u"Interned") != a);  // case matters
    EXPECT_FALSE(RInternString(u"interned ") == a);
    EXPECT_EQ(&RInternString(u"interned").GetValue(), &a.GetValue());  // one interned copy

    RInternString const byId(a.GetStringId());
    EXPECT_EQ(byId, a);
    EXPECT_EQ(static_cast<TStringCore const&>(byId), text);
    EXPECT_EQ(std::hash<RInternString>()(a), a.GetStringId());
    EXPECT_EQ((std::unordered_set<RInternString>{a, byId, empty}.size()), 2u);
    // An indirect string hashes and compares as its text.
    EXPECT_EQ(std::hash<RIndirectString>()(RIndirectString(text)), HashString(text));
    EXPECT_NE(RIndirectString(text), RIndirectString(u"Interned"));
}

}  // namespace
}  // namespace qel::core
