#include "qel/core/store/Collation.h"

#include <gtest/gtest.h>

#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"
#include "qel/core/utility/StringHash.h"

namespace qel::core {
namespace {

using test::ThrownText;

// Nothing installs a pool by itself, and every test of this program may make
// string types, so the default pool is installed before any test runs.
class DefaultCollatorPoolEnvironment : public ::testing::Environment {
    void SetUp() override { RegisterDefaultCollatorPool(); }
};
::testing::Environment* const g_defaultPool =
    ::testing::AddGlobalTestEnvironment(new DefaultCollatorPoolEnvironment);

auto const Locale = [](char16_t const* name) { return Collation(RInternString(name)); };

// A host pool: every collation ignores ASCII case. Texts equal but for case
// have one length, which is all its hash needs.
class CaseBlindPool : public ICollatorPool, public ICollator {
public:
    ICollator* GetCollator(Collation const&) override { return this; }
    bool AreEquivalent(Collation const& a, Collation const& b) const override {
        return a.GetLocale() == b.GetLocale();
    }
    Collation const& GetCollation() const override { return Collation::DefaultCollation; }
    int Compare(TStringCore const& a, TStringCore const& b) const override {
        return TStringCore::compare(a, b, CaseSensitivity::CaseInsensitive);
    }
    std::size_t Hash(TStringCore const& text) const override { return text.size(); }
};

TEST(CollationTest, DefaultPoolKnowsOnlyTheDefaultCollationExactAndCaseSensitive) {
    EXPECT_EQ(Collation::DefaultCollation.GetLocale().GetValue(), u"LROOT");
    Collation const root = Locale(u"LROOT");
    EXPECT_TRUE(root == Collation());
    EXPECT_TRUE(Locale(u"lroot") != Collation());
    EXPECT_EQ(StringType::Get(root), StringType::Get());
    EXPECT_EQ(std::hash<Collation>()(root), HashString(TStringCore(u"LROOT")));
    EXPECT_EQ(Collation().GetCollator()->GetCollation(), Collation());

    EXPECT_EQ(ThrownText([] { Locale(u"X").GetCollator(); }), "invalid collation used");
    EXPECT_EQ(ThrownText([] { CollatorEqualTo{Locale(u"X")}; }), "invalid collation used");
    // A string type of an unknown locale can be made, but not compared.
    auto const foreign = factory::MakeString(u"a", Locale(u"X"));
    EXPECT_EQ(ThrownText([&] { foreign->Compare(*foreign); }), "invalid collation used");

    DefaultCollator const collator;
    EXPECT_LT(collator.Compare(TStringCore(u"A"), TStringCore(u"a")), 0);
    EXPECT_LT(collator.Compare(TStringCore(u"ab"), TStringCore(u"abc")), 0);
    EXPECT_EQ(collator.Hash(TStringCore(u"abc")), std::hash<TStringCore>()(TStringCore(u"abc")));

    CollatorHash const hash;
    CollatorEqualTo const equal;
    EXPECT_EQ(hash(RIndirectString(u"abc")), HashString(TStringCore(u"abc")));
    EXPECT_FALSE(equal(RIndirectString(u"abc"), RIndirectString(u"ABC")));
}

// Tests that exchange the pool start from a default pool of their own and put
// the original back, so that collators handed out before stay valid.
class CollationPoolTest : public ::testing::Test {
protected:
    void SetUp() override { m_original = SetCollatorPool(std::make_shared<DefaultCollatorPool>()); }
    void TearDown() override { SetCollatorPool(std::move(m_original)); }
    std::shared_ptr<ICollatorPool> m_original;
};

TEST_F(CollationPoolTest, WithoutAPoolCollationsCannotBeCompared) {
    std::shared_ptr<ICollatorPool> none;
    std::shared_ptr<ICollatorPool> previous = SetCollatorPool(std::move(none));
    ASSERT_NE(previous, nullptr);
    EXPECT_EQ(none, previous);  // the argument is left holding the old pool too
    EXPECT_EQ(ThrownText([] { GetCollatorPool(); }), "no CollatorPool found");
    EXPECT_EQ(ThrownText([] { (void)(Collation() == Collation()); }), "no CollatorPool found");
    // Putting the old pool back hands back the empty one.
    EXPECT_EQ(SetCollatorPool(std::move(previous)), nullptr);
    EXPECT_TRUE(Collation() == Collation());
}

TEST_F(CollationPoolTest, AReplacementPoolDecidesHowStringsCompareAndHash) {
    auto const pool = std::make_shared<CaseBlindPool>();
    std::shared_ptr<ICollatorPool> old = SetCollatorPool(std::shared_ptr<ICollatorPool>(pool));
    EXPECT_EQ(GetCollatorPool(), pool.get());
    EXPECT_TRUE(CollatorEqualTo()(RIndirectString(u"abc"), RIndirectString(u"ABC")));
    auto const upper = factory::MakeString(u"ABC", Locale(u"X"));
    auto const lower = factory::MakeString(u"abc", Locale(u"X"));
    EXPECT_EQ(upper->Compare(*lower), 0);
    EXPECT_EQ(upper->GetHashValue(), lower->GetHashValue());
    // What the exchange returned is the pool that stood before.
    EXPECT_EQ(SetCollatorPool(std::move(old)), pool);
    EXPECT_FALSE(CollatorEqualTo()(RIndirectString(u"abc"), RIndirectString(u"ABC")));
}

}  // namespace
}  // namespace qel::core
