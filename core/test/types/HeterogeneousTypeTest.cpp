#include "qel/core/types/HeterogeneousType.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/types/PackedStructOffsets.h"
#include "qel/core/utility/QelLog.h"

namespace qel::core {
namespace {

using test::Refusal;
using test::ThrownText;
using Member = NamedHeterogeneousType::Member;

auto const M = [](char16_t const* name, Type const* type) {
    return Member(RInternString(name), type);
};
auto const Int = [] { return IntType::Get32(); };
auto const Str = [] { return StringType::Get(); };

TEST(HeterogeneousTypeTest, MembersHashNameAndTypeAndRefuseNull) {
    Member const a = M(u"a", Int());
    std::uint64_t const h = RInternString(u"a").GetStringId();
    std::uint64_t const t = reinterpret_cast<std::uintptr_t>(Int());
    EXPECT_EQ(a.GetHashValue(), ((h >> 2) + (h << 6) + t + 0x9e3779b9) ^ h);
    EXPECT_EQ(a.ToString(), u"(a, i)");
    EXPECT_EQ(a, M(u"a", Int()));
    EXPECT_NE(a, M(u"a", IntType::Get64()));
    EXPECT_NE(a, M(u"b", Int()));
    EXPECT_EQ(Refusal([] { M(u"a", nullptr); }), "illegal element type | (type) != nullptr");
}

TEST(HeterogeneousTypeTest, NamedTypesAreOneTypeWhateverTheMemberOrder) {
    KeyMapType const* ab = KeyMapType::Get({M(u"a", Str()), M(u"b", Int())});
    EXPECT_EQ(KeyMapType::Get({M(u"b", Int()), M(u"a", Str())}), ab);
    ASSERT_EQ(ab->GetCount(), 2u);
    EXPECT_EQ(ab->GetMembers()[0], M(u"a", Str()));
    EXPECT_EQ(ab->ToString(), u"M{a:s<LROOT>, b:i}");
    EXPECT_EQ(ab->TryGetMemberType(RInternString(u"b")), Int());
    EXPECT_EQ(ab->TryGetMemberType(RInternString(u"c")), nullptr);
    // Code-unit order: upper case first, a prefix before its extensions.
    EXPECT_EQ(KeyMapType::Get({M(u"aa", Int()), M(u"a", Int()), M(u"B", Int())})->ToString(),
              u"M{B:i, a:i, aa:i}");
    // With adds members, wherever their names sort.
    EXPECT_EQ(ab->With({M(u"0", BoolType::Get())}),
              KeyMapType::Get({M(u"b", Int()), M(u"0", BoolType::Get()), M(u"a", Str())}));
    EXPECT_EQ(KeyMapType::Get({})->ToString(), u"M{}");
    EXPECT_EQ(TableType::Get({})->ToString(), u"T{}");
}

TEST(HeterogeneousTypeTest, RepeatedNameIsLoggedThenRefused) {
    std::vector<std::pair<QelLogLevel, std::string>> logged;
    auto previous = SetQelLogger(std::make_shared<QelLogger>(
        nullptr,
        [&](QelLogLevel level, TStringCore const& text) {
            logged.emplace_back(level, text.toStdString());
        },
        [](QelLogLevel) { return true; }));
    std::string const repeated = "non-unique member name in heterogeneous collection: \na";
    std::string const what = ThrownText([] {
        KeyMapType::Get({M(u"b", Int()), M(u"a", Int()), M(u"a", Str())});
    });
    SetQelLogger(std::move(previous));
    EXPECT_EQ(what, repeated);
    ASSERT_EQ(logged.size(), 2u);
    EXPECT_EQ(logged[0], std::make_pair(QelLogLevel::Debug, std::string("Member a is duplicated")));
    EXPECT_EQ(logged[1].first, QelLogLevel::Error);

    // No condition: the refusal is unconditional.
    KeyMapType const* a = KeyMapType::Get({M(u"a", Int())});
    EXPECT_EQ(Refusal([&] { a->With({M(u"a", Int())}); }), repeated + " | ");
    TableType const* t = TableType::Get({M(u"a", ArrayType::Get(Int()))});
    EXPECT_EQ(Refusal([&] { t->With({M(u"a", ArrayType::Get(Str()))}); }), repeated + " | ");
}

TEST(HeterogeneousTypeTest, TableMembersMustAllBeArrays) {
    char const* const refused =
        "every value in a table should be an array | (member.GetType()->Is(StoreType::Array))";
    Type const* const column = ArrayType::Get(Int());
    EXPECT_EQ(Refusal([] { TableType::Get({M(u"a", Int())}); }), refused);
    EXPECT_EQ(Refusal([&] { TableType::Get({M(u"a", column), M(u"b", Int())}); }), refused);
    EXPECT_EQ(TableType::Get({M(u"a", column)})->ToString(), u"T{a:A<i>}");
}

TEST(HeterogeneousTypeTest, BaseTypesStripDecorationFromEveryMember) {
    Type const* column = ArrayType::Get(Int());
    TableType const* decorated =
        TableType::Get({M(u"x", ArrayType::Get(RealType::Get32(10, 2))), M(u"n", column)});
    TableType const* base =
        TableType::Get({M(u"x", ArrayType::Get(RealType::Get32())), M(u"n", column)});
    EXPECT_NE(decorated, base);
    EXPECT_EQ(decorated->GetBaseType(), base);
    EXPECT_EQ(base->GetBaseType(), base);

    KeyMapType const* map = KeyMapType::Get({M(u"r", RealType::Get64(5, 1)), M(u"i", Int())});
    EXPECT_EQ(map->GetBaseType(), KeyMapType::Get({M(u"r", RealType::Get64()), M(u"i", Int())}));

    TupleType const* tuple = TupleType::Get({Int(), RealType::Get32(10, 2)});
    EXPECT_EQ(tuple->ToString(), u"P{i, f<10,2>}");
    EXPECT_EQ(tuple->GetBaseType()->ToString(), u"P{i, f<-1,-1>}");
    EXPECT_EQ(tuple->GetBaseType(), TupleType::Get({Int(), RealType::Get32()}));
    EXPECT_EQ(tuple->GetBaseType()->GetBaseType(), tuple->GetBaseType());
}

TEST(HeterogeneousTypeTest, TuplesKeepMemberOrderAndAdmitPrimitivesOnly) {
    TupleType const* ib = TupleType::Get({Int(), BoolType::Get()});
    EXPECT_EQ(TupleType::Get({Int(), BoolType::Get()}), ib);
    EXPECT_NE(TupleType::Get({BoolType::Get(), Int()}), ib);
    EXPECT_EQ(ib->GetMembers(), (std::vector<Type const*>{Int(), BoolType::Get()}));
    EXPECT_EQ(TupleType::Get({})->ToString(), u"P{}");
    Type const* const array = ArrayType::Get(Int());
    auto const withArray = [&] { TupleType::Get({Int(), array}); };
    EXPECT_EQ(ThrownText(withArray), "unsupported primitive key type\nArray");
    EXPECT_EQ(ThrownText([] { TupleType::Get({TupleType::Get({})}); }),
              "unsupported primitive key type\nTuple");
    EXPECT_EQ(ThrownText([] { TupleType::Get({nullptr}); }), "unexpected null type");
}

// "<value offsets> / <special offsets> / <size>" of a tuple of these members.
std::string LayoutOf(std::vector<Type const*> members) {
    std::size_t const count = members.size();
    PackedStructOffsets const* offsets = TupleType::Get(std::move(members))->GetOffsets();
    std::string values, specials;
    for (unsigned int i = 0; i < count; ++i) {
        values += std::to_string(offsets->GetValueOffset(i)) + " ";
        specials += std::to_string(offsets->GetSpecialOffset(i)) + " ";
    }
    return values + "/ " + specials + "/ " + std::to_string(offsets->GetSize());
}

TEST(PackedStructOffsetsTest, ValuesAlignToTheirSizeThenOneSpecialByteEach) {
    Type const* b = BoolType::Get();
    Type const* i = IntType::Get32();
    EXPECT_EQ(LayoutOf({b, i, b}), "0 4 8 / 9 10 11 / 12");
    // Strings take 32 bytes, external values 16, 64-bit values 8.
    EXPECT_EQ(LayoutOf({b, StringType::Get(), ExternalType::Get(7), DateType::Get(), i}),
              "0 32 64 80 88 / 92 93 94 95 96 / 97");
    EXPECT_EQ(LayoutOf({}), "/ / 0");
    TupleType const* tuple = TupleType::Get({b, i, b});
    EXPECT_EQ(PackedStructOffsets::Get(tuple), tuple->GetOffsets());
}

TEST(PackedStructOffsetsTest, AnIndexWithoutMemberIsOutOfBounds) {
    PackedStructOffsets const* offsets =
        TupleType::Get({BoolType::Get(), IntType::Get32(), BoolType::Get()})->GetOffsets();
    auto const value = [&](unsigned i) { return Refusal([&] { offsets->GetValueOffset(i); }); };
    auto const special = [&](unsigned i) { return Refusal([&] { offsets->GetSpecialOffset(i); }); };
    EXPECT_EQ(value(12), "index out of bounds | (index < m_size)");
    EXPECT_EQ(special(12), "index out of bounds | (index < m_size)");
    // Below the byte size, yet past the three members.
    EXPECT_TRUE(test::MatchesRefusal(value(3), "index out of bounds | <any condition>"));
    EXPECT_TRUE(test::MatchesRefusal(special(11), "index out of bounds | <any condition>"));
    EXPECT_EQ(Refusal([] { PackedStructOffsets::Get(nullptr); }),
              "unexpected null type | (type) != nullptr");
}

}  // namespace
}  // namespace qel::core
