#include "qel/core/store/IcuCollatorPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <tuple>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/test/ThrownText.h"
#include "qel/core/serialize/KeyPathParser.h"
#include "qel/core/store/Factory.h"

namespace qel::core {
namespace {

using test::ThrownText;

auto const Locale = [](char16_t const* name) { return Collation(RInternString(name)); };

// Each test installs a pool of its own and puts the program's pool back.
class IcuCollatorPoolTest : public ::testing::Test {
protected:
    void SetUp() override { m_original = SetCollatorPool(MakeIcuCollatorPool()); }
    void TearDown() override { SetCollatorPool(std::move(m_original)); }

    static std::vector<std::u16string> Sorted(char16_t const* locale,
                                              std::vector<std::u16string> texts) {
        ICollator const* collator = Locale(locale).GetCollator();
        std::sort(texts.begin(), texts.end(), [&](auto const& a, auto const& b) {
            return collator->Compare(TStringCore(a.c_str()), TStringCore(b.c_str())) < 0;
        });
        return texts;
    }
    static int Sign(char16_t const* locale, char16_t const* a, char16_t const* b) {
        int const r = Locale(locale).GetCollator()->Compare(TStringCore(a), TStringCore(b));
        return (r > 0) - (r < 0);
    }

    std::shared_ptr<ICollatorPool> m_original;
};

TEST_F(IcuCollatorPoolTest, GermanAndSwedishOrdersWhileTheDefaultStaysExact) {
    std::vector<std::u16string> const words{u"Zebra", u"öl", u"Bär", u"äpple", u"Apfel", u"Ärger"};
    using V = std::vector<std::u16string>;
    EXPECT_EQ(Sorted(u"de_DE", words), (V{u"Apfel", u"äpple", u"Ärger", u"Bär", u"öl", u"Zebra"}));
    EXPECT_EQ(Sorted(u"sv_SE", words), (V{u"Apfel", u"Bär", u"Zebra", u"äpple", u"Ärger", u"öl"}));
    EXPECT_EQ(Sorted(u"LROOT", words), (V{u"Apfel", u"Bär", u"Zebra", u"Ärger", u"äpple", u"öl"}));
    EXPECT_LT(Sign(u"de_DE", u"Strasse", u"Straße"), 0);
    EXPECT_LT(Sign(u"de_DE", u"Straße", u"Strasset"), 0);  // ß sorts as ss
    EXPECT_LT(Sign(u"de_DE.UTF-8", u"Ärger", u"Bär"), 0);

    // Through the values and the type text, which carries the tag form.
    Type const* type = KeyPathParser::MakeType(TStringCore(u"s<sv-SE>"));
    Collation const sv = type->As<StringType>()->GetCollation();
    EXPECT_LT(factory::MakeString(u"Zebra", sv)->Compare(*factory::MakeString(u"öl", sv)), 0);
    EXPECT_EQ(sv.GetCollator()->GetCollation().GetLocale(), RInternString(u"sv-SE"));
    EXPECT_FALSE(Locale(u"sv-SE") == Locale(u"sv_SE"));
}

TEST_F(IcuCollatorPoolTest, StrengthFromTheNameAndEqualHashesForEqualTexts) {
    std::tuple<char16_t const*, char16_t const*, char16_t const*, int> const cases[] = {
        {u"de_DE", u"a", u"A", -1},            // case breaks the tie, lower first
        {u"de_DE", u"\u00e4", u"a\u0308", 0},  // composed or not
        {u"de-DE-u-ks-level2", u"a", u"A", 0},
        {u"de-DE-u-ks-level2", u"a", u"ä", -1},
        {u"de-DE-u-ks-level1", u"ä", u"A", 0},
        {u"de-DE-u-ks-level1", u"Straße", u"STRASSE", 0},
        {u"de-DE-u-ks-level1-kc-true", u"a", u"ä", 0},
        {u"de-DE-u-ks-level1-kc-true", u"a", u"A", -1},
        {u"de_DE@colStrength=primary", u"Ä", u"a", 0},
        {u"LROOT", u"a", u"A", 1},
    };
    for (auto const& [locale, a, b, sign] : cases) {
        SCOPED_TRACE(TStringCore(locale).toStdString() + " " + TStringCore(a).toStdString());
        EXPECT_EQ(Sign(locale, a, b), sign);
        EXPECT_EQ(Sign(locale, b, a), -sign);
        ICollator const* collator = Locale(locale).GetCollator();
        EXPECT_EQ(collator->Hash(TStringCore(a)) == collator->Hash(TStringCore(b)), sign == 0);
    }

    // Keys longer than the collator's buffer, and the hash and equality of sets.
    ICollator const* level2 = Locale(u"de-DE-u-ks-level2").GetCollator();
    EXPECT_EQ(level2->Hash(TStringCore(u'ä', 300)), level2->Hash(TStringCore(u'Ä', 300)));
    std::unordered_set<RIndirectString, CollatorHash, CollatorEqualTo> set(
        8, CollatorHash(Locale(u"de-DE-u-ks-level1")),
        CollatorEqualTo(Locale(u"de-DE-u-ks-level1")));
    for (char16_t const* word : {u"Straße", u"STRASSE", u"strasse", u"Strand", u"straße"})
        set.insert(RIndirectString(word));
    EXPECT_EQ(set.size(), 2u);
}

TEST_F(IcuCollatorPoolTest, UnknownLocalesAreRefusedWhenFirstCompared) {
    std::pair<char16_t const*, char const*> const cases[] = {
        {u"xx_YY", "unknown language"},
        {u"de_DR", "unknown region"},
        {u"sv_SE_CI", "unknown variant"},
        {u"de-DE-", "not a locale name"},
        {u"de-DE-u-ks-level9", "U_ILLEGAL_ARGUMENT_ERROR"},
        {u"", "empty name"},
    };
    for (auto const& [locale, reason] : cases) {
        EXPECT_EQ(ThrownText([name = locale] { Locale(name).GetCollator(); }),
                  "invalid collation used\nlocale '" + TStringCore(locale).toStdString() +
                      "': " + reason);
    }
    auto const unknown = factory::MakeString(u"a", Locale(u"xx_YY"));
    EXPECT_EQ(ThrownText([&] { unknown->Compare(*unknown); }).substr(0, 22),
              "invalid collation used");
    // Known languages and areas without an order of their own use the root
    // order, as CLDR prescribes.
    EXPECT_LT(Sign(u"es_419", u"Ärger", u"Bär"), 0);
    EXPECT_LT(Sign(u"root", u"ä", u"b"), 0);
}

TEST_F(IcuCollatorPoolTest, ThreadsMakingAndUsingOneCollatorAllGetTheSame) {
    std::vector<std::pair<ICollator*, std::size_t>> seen(8);
    std::vector<std::thread> threads;
    for (auto& [collator, hash] : seen)
        threads.emplace_back([&collator = collator, &hash = hash] {
            collator = Locale(u"fr_FR").GetCollator();
            hash = collator->Hash(TStringCore(u"Côte")) ^ collator->Hash(TStringCore(u"cote"));
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(std::count(seen.begin(), seen.end(), seen[0]), 8);
    EXPECT_NE(seen[0].second, 0u);
}

}  // namespace
}  // namespace qel::core
