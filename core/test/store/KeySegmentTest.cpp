#include <gtest/gtest.h>

#include <unordered_set>

#include "qel/core/store/KeyPath.h"
#include "qel/core/types/HeterogeneousType.h"

namespace qel::core {
namespace {

TEST(KeySegmentTest, NamesDecideEqualityTypesOnlyTheTypeAwareForms) {
    RInternString const a(u"a");
    KeySegment const untyped(a, nullptr), int32(a, IntType::Get32()), text(a, StringType::Get());
    EXPECT_FALSE(untyped.HasType());
    EXPECT_TRUE(int32.HasType());
    EXPECT_EQ(int32, text);
    EXPECT_NE(int32, KeySegment(RInternString(u"b"), IntType::Get32()));
    EXPECT_FALSE(int32.TypeAwareEquals(text));
    EXPECT_TRUE(int32.TypeAwareEquals(KeySegment(RInternString(u"a"), IntType::Get32())));
    EXPECT_EQ(int32.GetHashValue(), a.GetStringId());
    EXPECT_EQ(std::hash<KeySegment>()(text), a.GetStringId());
    // The type-aware hash follows the type, and is stable for equal segments.
    std::unordered_set<std::size_t> hashes;
    for (KeySegment const& s : {untyped, int32, text, KeySegment(RInternString(u"b"), nullptr)})
        hashes.insert(s.GetTypeAwareHashValue());
    EXPECT_EQ(hashes.size(), 4u);
    EXPECT_EQ(int32.GetTypeAwareHashValue(),
              KeySegment(RInternString(u"a"), IntType::Get32()).GetTypeAwareHashValue());
    EXPECT_EQ(KeySegment().GetSegment().GetValue(), u"");
}

TEST(KeySegmentTest, VersionsAndText) {
    Type const* map =
        KeyMapType::Get({NamedHeterogeneousType::Member(RInternString(u"b"), IntType::Get32())});
    KeySegment const segment(RInternString(u"a"), map);
    KeySegment const versioned = segment.AddVersion(3);
    EXPECT_EQ(versioned.GetSegment().GetValue(), u"a#3");
    EXPECT_EQ(versioned.GetType(), map);
    EXPECT_EQ(segment.AddVersion(12).AddVersion(0).GetSegment().GetValue(), u"a#12#0");
    EXPECT_EQ(segment.ToString(), u"a:M{ b:i }");
    EXPECT_EQ(versioned.ToString(), u"a#3:M{ b:i }");
    EXPECT_EQ(KeySegment(RInternString(u"x y"), nullptr).ToString(), u"'x y'");
}

}  // namespace
}  // namespace qel::core
