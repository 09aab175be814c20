#include "qel/core/serialize/KeyPathSerializer.h"

#include <gtest/gtest.h>

#include <utility>

#include "core/test/Refusal.h"
#include "qel/core/serialize/KeyPathParser.h"
#include "qel/core/store/Collation.h"
#include "qel/core/types/HeterogeneousType.h"

namespace qel::core {
namespace {

using Member = NamedHeterogeneousType::Member;

TStringCore U(char const* utf8) {
    return TStringCore::fromUtf8(utf8);
}

KeySegment Segment(char const* name, Type const* type) {
    return KeySegment(RInternString(U(name)), type);
}

std::string Escape(char const* name) {
    return KeyPathSerializer::EscapeKeySegment(U(name)).toStdString();
}

TEST(KeyPathSerializerTest, NamesAreQuotedWhenReadingThemBareWouldDiffer) {
    for (char const* bare : {"a", "12", "007", "a.b-c", "Inf", "true1", "Null.", "_x"})
        EXPECT_EQ(Escape(bare), bare);
    // Blanks around a single token, and integers beyond 64 bits, would not read back.
    // clang-format off
    std::pair<char const*, char const*> const quoted[] = {
        {"", ""}, {"true", "'true'"}, {"Null", "'Null'"}, {"inf", "'inf'"}, {"1.5", "'1.5'"},
        {"c d", "'c d'"}, {"x/y", "'x/y'"}, {"a->b", "'a->b'"}, {"ü", "'ü'"},
        {"it's", "'it\\'s'"}, {" a", "' a'"}, {"12\t", "'12\t'"}, {"a\n", "'a\\n'"},
        {"9223372036854775807", "9223372036854775807"},
        {"9223372036854775808", "'9223372036854775808'"}};
    // clang-format on
    for (auto const& [name, written] : quoted)
        EXPECT_EQ(Escape(name), written) << name;
    // The quoting stops at a zero unit, as VtlScanner::Quote does.
    EXPECT_EQ(KeyPathSerializer::EscapeKeySegment(TStringCore(u"a\0b", 3)).toStdString(), "'a'");
}

TEST(KeyPathSerializerTest, TypesSegmentsAndPaths) {
    auto type = [](Type const* t) { return KeyPathSerializer::BuildType(t, true).toStdString(); };
    Type const* map =
        KeyMapType::Get({Member(RInternString(u"b c"), ArrayType::Get(StringType::Get())),
                         Member(RInternString(u"a"), IntType::Get32())});
    EXPECT_EQ(type(map), "M{ a:i, 'b c':A<s> }");
    EXPECT_EQ(KeyPathSerializer::BuildType(map, false).toStdString(), "M");
    EXPECT_EQ(type(KeyMapType::Get({})), "M");
    EXPECT_EQ(type(ArrayType::Get(map)), "A<M{ a:i, 'b c':A<s> }>");
    EXPECT_EQ(KeyPathSerializer::BuildType(ArrayType::Get(map), false).toStdString(),
              "A<M{ a:i, 'b c':A<s> }>");
    EXPECT_EQ(type(KeySetType::Get(StringType::Get(), RealType::Get64(10, 2))), "K<s,r<10,2>>");
    EXPECT_EQ(type(SetType::Get(TupleType::Get({IntType::Get32(), StringType::Get()}))),
              "S<P{ i, s }>");
    EXPECT_EQ(type(StringType::Get(Collation(RInternString(u"en_US")))), "s<en_US>");
    EXPECT_EQ(type(RealType::Get32(-1, 4)), "f<255,4>");
    EXPECT_EQ(type(RealType::Get32(7, -1)), "f<7,255>");
    EXPECT_EQ(type(RealType::Get64()), "r");

    KeySegment const segment = Segment("a", map);
    EXPECT_EQ(KeyPathSerializer::FromKeySegment(segment, true).toStdString(),
              "a:M{ a:i, 'b c':A<s> }");
    EXPECT_EQ(KeyPathSerializer::FromKeySegmentWithoutHeterogeneousTypeContents(segment, true)
                  .toStdString(),
              "a:M");
    EXPECT_EQ(KeyPathSerializer::FromKeySegment(segment, false).toStdString(), "a");
    EXPECT_EQ(KeyPathSerializer::FromKeySegment(Segment("", IntType::Get32()), true), u"i");

    KeyPath const path = KeyPathParser::MakeKeyPath(U("a/b:i/'c d'"));
    EXPECT_EQ(KeyPathSerializer::FromKeyPath(path, true, nullptr), u"a/b:i/'c d'");
    EXPECT_EQ(KeyPathSerializer::FromKeyPath(path, false, nullptr), u"a/b/'c d'");
    EXPECT_EQ(path.ToString(), u"a/b/'c d'");
    KeySegmentVector leadingEmpty{Segment("", nullptr), Segment("a", nullptr)};
    EXPECT_EQ(KeyPath(std::move(leadingEmpty)).ToString(), u"a");
}

TEST(KeyPathSerializerTest, CacheKeepsOneRowPerSegmentTypeAndFlags) {
    KeyPathSerializerCache cache;
    KeyPath const typed = KeyPathParser::MakeKeyPath(U("a:i/b:M{ c:s }"));
    KeyPath const retyped = KeyPathParser::MakeKeyPath(U("a:l/b"));
    EXPECT_EQ(KeyPathSerializer::FromKeyPath(typed, true, &cache), u"a:i/b:M{ c:s }");
    EXPECT_EQ(cache.GetCount(), 2u);
    EXPECT_EQ(KeyPathSerializer::FromKeyPath(typed, true, &cache), u"a:i/b:M{ c:s }");
    EXPECT_EQ(KeyPathSerializer::FromKeyPath(retyped, true, &cache), u"a:l/b");
    EXPECT_EQ(KeyPathSerializer::FromKeyPath(typed, false, &cache), u"a/b");
    EXPECT_EQ(cache.GetCount(), 6u);
    KeySegment const a = typed.GetSegments()[0];
    ASSERT_NE(cache.Find(a, true, true), nullptr);
    EXPECT_EQ(*cache.Find(a, true, true), u"a:i");
    EXPECT_EQ(cache.Find(a, true, false), nullptr);
    // What is stored is what is written, even when the caller put it there.
    cache.Insert(a, true, true, TStringCore(u"stale"));
    EXPECT_EQ(KeyPathSerializer::FromKeyPath(typed, true, &cache), u"stale/b:M{ c:s }");
    KeyPathSerializerCacheKey const k1{a, true, true}, k2{a, true, false}, k3{a, false, true};
    EXPECT_NE(k1.GetHashValue(), k2.GetHashValue());
    EXPECT_NE(k2.GetHashValue(), k3.GetHashValue());
    EXPECT_FALSE(k1 == (KeyPathSerializerCacheKey{retyped.GetSegments()[0], true, true}));
}

// A type object of another class than its store type names.
class Impostor final : public Type {
public:
    Impostor() : Type(StoreType::Real64) {}
    Type const* GetBaseType() const override { return this; }
};

TEST(KeyPathSerializerTest, BrokenTypesAreLogicErrors) {
    constexpr char kRefusal[] = "unspecified Vantrel Runtime error | (type) != nullptr";
    EXPECT_EQ(test::Refusal([] { KeyPathSerializer::BuildType(nullptr, true); }), kRefusal);
    Impostor const impostor;
    EXPECT_EQ(test::Refusal([&] { KeyPathSerializer::BuildType(&impostor, true); }), kRefusal);
    EXPECT_THROW(KeyPathSerializer::BuildType(&impostor, true), QelLogicException);
}

}  // namespace
}  // namespace qel::core
