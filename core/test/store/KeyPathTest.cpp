#include "qel/core/store/KeyPath.h"

#include <gtest/gtest.h>

#include <boost/unordered_set.hpp>
#include <cstdint>
#include <map>
#include <thread>

#include "core/test/Refusal.h"
#include "qel/core/serialize/KeyPathParser.h"
#include "qel/core/types/Type.h"

namespace qel::core {
namespace {

KeyPath P(char16_t const* text) {
    return KeyPath::ParseString(TStringCore(text));
}

TEST(KeyPathTest, TheEmptyPath) {
    KeyPath const path;
    EXPECT_EQ(&path.GetSegments(), &KeyPath::Empty().GetSegments());
    EXPECT_EQ(path.GetCount(), 0u);
    EXPECT_EQ(path.GetHashValue(), 0u);
    EXPECT_TRUE(path.IsEmpty());
    EXPECT_TRUE(KeyPath(RInternString()).IsEmpty());
    EXPECT_TRUE((KeyPath{RInternString(u"x"), RInternString()}).IsEmpty());
    EXPECT_FALSE(P(u"x").IsEmpty());
    constexpr char kEmpty[] = "KeyPath can't be empty | !(m_segments->empty())";
    EXPECT_EQ(test::Refusal([&] { path.GetLeaf(); }), kEmpty);
    EXPECT_EQ(test::Refusal([&] { path.GetLeafSegment(); }), kEmpty);
    EXPECT_EQ(test::Refusal([&] { path.GetParent(); }), kEmpty);
    EXPECT_EQ(test::Refusal([&] { path.GetTail(); }), kEmpty);
    EXPECT_EQ(test::Refusal([&] { path.AddVersion(1); }), kEmpty);
}

TEST(KeyPathTest, PartsAndExtensions) {
    KeyPath const abc = P(u"a/b/c");
    EXPECT_EQ(abc.GetLeaf().GetValue(), u"c");
    EXPECT_EQ(abc.GetParent(), P(u"a/b"));
    EXPECT_EQ(abc.GetTail(), P(u"b/c"));
    EXPECT_EQ(P(u"a").GetParent().GetCount(), 0u);
    EXPECT_EQ(P(u"a").GetTail().GetCount(), 0u);
    EXPECT_EQ(abc.AddVersion(3), P(u"a/b/'c#3'"));
    EXPECT_EQ(P(u"a:i").AddVersion(1).GetLeafSegment().GetType(), IntType::Get32());
    EXPECT_EQ(abc.Add(RInternString(u"d")), P(u"a/b/c/d"));
    EXPECT_EQ(abc.Add(KeySegment(RInternString(u"d"), IntType::Get64())).GetLeafSegment().GetType(),
              IntType::Get64());
    EXPECT_EQ(abc.Add(P(u"d/e")), P(u"a/b/c/d/e"));
    EXPECT_EQ(abc.GetCount(), 3u);  // unchanged
    // An empty path, or one whose leaf is empty, adds as `other` itself.
    KeyPath const de = P(u"d/e");
    de.GetHashValue();
    EXPECT_EQ(&KeyPath().Add(de).GetSegments(), &de.GetSegments());
    EXPECT_EQ(&(KeyPath{RInternString(u"x"), RInternString()}).Add(de).GetSegments(),
              &de.GetSegments());
    // Paths beyond the eight segments held in place.
    KeyPath longPath;
    for (int i = 0; i < 20; ++i)
        longPath = longPath.Add(RInternString(TStringCore::number(i)));
    EXPECT_EQ(longPath.GetCount(), 20u);
    EXPECT_EQ(longPath.GetParent().GetTail().GetCount(), 18u);
    EXPECT_EQ(longPath.GetTail().GetSegments().front().GetSegment().GetValue(), u"1");
    EXPECT_EQ(KeyPath::ParseString(longPath.ToString()), longPath);
}

TEST(KeyPathTest, PrefixSuffixAndOrder) {
    EXPECT_TRUE(P(u"a/b").IsPrefixOf(P(u"a/b/c")));
    EXPECT_TRUE(KeyPath().IsPrefixOf(P(u"a")));
    EXPECT_FALSE(P(u"a/b/c").IsPrefixOf(P(u"a/b")));
    EXPECT_FALSE(P(u"a/x").IsPrefixOf(P(u"a/b/c")));
    EXPECT_TRUE(P(u"a/b/c").IsSuffixOf(P(u"a/b")));
    EXPECT_FALSE(P(u"b/c").IsSuffixOf(P(u"a/b/c")));
    KeyPath::Compare const less;
    EXPECT_TRUE(less(P(u"z"), P(u"a/b")));
    EXPECT_FALSE(less(P(u"a/b"), P(u"z")));
    EXPECT_TRUE(less(P(u"a/b"), P(u"a/c")));
    EXPECT_TRUE(less(P(u"B"), P(u"a")));
    EXPECT_FALSE(less(P(u"a/b:i"), P(u"a/b:s")));
    std::map<KeyPath, int, KeyPath::Compare> sorted{{P(u"b"), 1}, {P(u"a/b"), 2}, {P(u"a"), 3}};
    EXPECT_EQ(sorted.begin()->first, P(u"a"));
    EXPECT_EQ(sorted.rbegin()->first, P(u"a/b"));
}

TEST(KeyPathTest, EqualityAndHashIgnoreTypesAndHowThePathWasMade) {
    KeyPath const typed = P(u"a:i/'b c'/12");
    KeyPath const other = P(u"a:s/'b c'/012");
    KeyPath const built{RInternString(u"a"), RInternString(u"b c"), RInternString(u"12")};
    EXPECT_EQ(typed, other);
    EXPECT_EQ(typed, built);
    EXPECT_FALSE(typed.GetSegments()[0].TypeAwareEquals(other.GetSegments()[0]));
    EXPECT_EQ(typed.GetHashValue(), other.GetHashValue());
    EXPECT_EQ(typed.GetHashValue(), built.GetHashValue());
    EXPECT_NE(typed.GetHashValue(), P(u"a/'b c'").GetHashValue());
    EXPECT_NE(P(u"a/b"), P(u"b/a"));
    EXPECT_NE(P(u"a/b").GetHashValue(), P(u"b/a").GetHashValue());
    // The folds are part of the text forms' key order (unordered sets are
    // written in iteration order), so their exact values are pinned.
    auto const fold = [](std::size_t h, std::size_t part) {
        return h ^ ((h >> 2) + (h << 6) + part + 0x9e3779b9);
    };
    KeySegment const a = P(u"a").GetLeafSegment();
    KeySegment const b = P(u"b:i").GetLeafSegment();
    EXPECT_EQ(P(u"a/b").GetHashValue(), fold(fold(0, a.GetHashValue()), b.GetHashValue()));
    EXPECT_EQ(KeyPath().GetHashValue(), 0u);
    std::uint64_t const t = reinterpret_cast<std::uintptr_t>(b.GetType());
    std::uint64_t const k = 0x9ddfea08eb382d69ULL;
    std::uint64_t const lo = (t & 0x1fffffff) * 8 + 8, hi = t >> 32;
    std::uint64_t const x = (lo ^ hi) * k;
    std::uint64_t const y = (x ^ hi ^ (x >> 47)) * k;
    EXPECT_EQ(b.GetTypeAwareHashValue(), fold(b.GetHashValue(), ((y >> 47) ^ y) * k));
    boost::unordered_set<KeyPath> set{typed, other, built, P(u"a")};
    EXPECT_EQ(set.size(), 2u);
    // The hash cache is filled without a lock; racing readers agree.
    KeyPath const shared = P(u"r/a/c/e");
    std::size_t seen[4] = {};
    std::vector<std::thread> threads;
    for (auto& s : seen)
        threads.emplace_back([&shared, &s] { s = shared.GetHashValue(); });
    for (auto& t : threads)
        t.join();
    for (std::size_t s : seen)
        EXPECT_EQ(s, shared.GetHashValue());
}

}  // namespace
}  // namespace qel::core
