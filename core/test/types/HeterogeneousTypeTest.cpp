#include "qel/core/types/HeterogeneousType.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/utility/QelLog.h"

namespace qel::core {
namespace {

using test::Refusal;
using test::ThrownText;
using Member = NamedHeterogeneousType::Member;

Member M(char16_t const* name, Type const* type) {
    return Member(RInternString(name), type);
}
Type const* Int() {
    return IntType::Get32();
}
Type const* Str() {
    return StringType::Get();
}

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
    std::string const what = ThrownText([] {
        KeyMapType::Get({M(u"b", Int()), M(u"a", Int()), M(u"a", Str())});
    });
    SetQelLogger(std::move(previous));
    EXPECT_EQ(what, "non-unique member name in heterogeneous collection: \na");
    ASSERT_EQ(logged.size(), 2u);
    EXPECT_EQ(logged[0], std::make_pair(QelLogLevel::Debug, std::string("Member a is duplicated")));
    EXPECT_EQ(logged[1].first, QelLogLevel::Error);

    // No condition: the refusal is unconditional.
    KeyMapType const* a = KeyMapType::Get({M(u"a", Int())});
    EXPECT_EQ(Refusal([&] { a->With({M(u"a", Int())}); }),
              "non-unique member name in heterogeneous collection: \na | ");
    TableType const* t = TableType::Get({M(u"a", ArrayType::Get(Int()))});
    EXPECT_EQ(Refusal([&] { t->With({M(u"a", ArrayType::Get(Str()))}); }),
              "non-unique member name in heterogeneous collection: \na | ");
}

TEST(HeterogeneousTypeTest, TableMembersMustAllBeArrays) {
    char const* const refused =
        "every value in a table should be an array | (member.GetType()->Is(StoreType::Array))";
    EXPECT_EQ(Refusal([] { TableType::Get({M(u"a", Int())}); }), refused);
    EXPECT_EQ(Refusal([] {
                  TableType::Get({M(u"a", ArrayType::Get(Int())), M(u"b", Int())});
              }),
              refused);
    EXPECT_EQ(TableType::Get({M(u"a", ArrayType::Get(Int()))})->ToString(), u"T{a:A<i>}");
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
    EXPECT_EQ(ThrownText([] {
                  TupleType::Get({Int(), ArrayType::Get(Int())});
              }),
              "unsupported primitive key type\nArray");
    EXPECT_EQ(ThrownText([] { TupleType::Get({TupleType::Get({})}); }),
              "unsupported primitive key type\nTuple");
    EXPECT_EQ(ThrownText([] { TupleType::Get({nullptr}); }), "unexpected null type");
}

}  // namespace
}  // namespace qel::core
