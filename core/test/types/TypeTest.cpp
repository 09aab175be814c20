#include "qel/core/types/Type.h"

#include <gtest/gtest.h>

#include "core/test/ThrownText.h"
#include "qel/core/store/Collation.h"
#include "qel/core/types/RInternString.h"

namespace qel::core {
namespace {

using test::ThrownText;

Type const* const I = IntType::Get32();
Type const* const L = IntType::Get64();
auto const German = [] { return StringType::Get(Collation(RInternString(u"de_DE"))); };

TEST(TypeTest, DefaultTypesAndToStringForms) {
    // The default type of each primitive store type is its own base type.
    char16_t const* forms[] = {u"b",        u"i", u"l", u"f<-1,-1>", u"r<-1,-1>",
                               u"s<LROOT>", u"d", u"t", u"c"};
    for (unsigned i = 0; i < std::size(forms); ++i) {
        Type const* t = MakePrimitiveType(static_cast<StoreType>(i));
        EXPECT_EQ(t->ToString(), forms[i]);
        EXPECT_EQ(t->GetBaseType(), t);
    }
    for (unsigned i : {9u, 10u, 11u, 16u, 255u}) {
        EXPECT_EQ(ThrownText([&] { MakePrimitiveType(static_cast<StoreType>(i)); }),
                  "invalid StoreType");
    }
    EXPECT_EQ(RealType::Get32(-128, 127)->ToString(), u"f<-128,127>");
    EXPECT_EQ(German()->ToString(), u"s<de_DE>");
    EXPECT_EQ(ArrayType::Get(SetType::Get(RealType::Get32(3, 1)))->ToString(), u"A<S<f<3,1>>>");
}

TEST(TypeTest, BaseTypesStripDecorationRecursively) {
    EXPECT_EQ(RealType::Get32(10, 2)->GetBaseType(), RealType::Get32());
    EXPECT_EQ(German()->GetBaseType(), StringType::Get());
    EXPECT_EQ(ArrayType::Get(ArrayType::Get(German()))->GetBaseType(),
              ArrayType::Get(ArrayType::Get(StringType::Get())));
    EXPECT_EQ(SetType::Get(RealType::Get32(4, 2))->GetBaseType(), SetType::Get(RealType::Get32()));
    EXPECT_EQ(KeySetType::Get(RealType::Get32(3, 1), German())->GetBaseType(),
              KeySetType::Get(RealType::Get32(), StringType::Get()));
    EXPECT_EQ(KeySetType::Get(RealType::Get64(2, 2), I)->GetBaseType(),
              KeySetType::Get(RealType::Get64(), I));
}

TEST(TypeTest, RealTypesShareAnEntryByTheLowFourBitsOfThePrecision) {
    RealType const* byDefault = RealType::Get32();  // asked for first
    EXPECT_EQ(RealType::Get32(15, -1), byDefault);
    EXPECT_EQ(RealType::Get32(15, -1)->GetPrecision(), -1);
    // Whichever is asked for first is what both get.
    RealType const* first = RealType::Get64(3, 7);
    EXPECT_EQ(RealType::Get64(19, 7), first);
    EXPECT_EQ(first->GetPrecision(), 3);
    EXPECT_NE(RealType::Get64(4, 7), first);
    EXPECT_NE(RealType::Get64(3, 8), first);
}

TEST(TypeTest, CollectionsRejectIllegalElementsAndKeys) {
    Type const* keySet = KeySetType::Get(I, I);
    Type const* external = ExternalType::Get(static_cast<unsigned short>(7));
    for (int repeat = 0; repeat < 2; ++repeat) {  // a failure caches nothing
        EXPECT_EQ(ThrownText([] { ArrayType::Get(nullptr); }), "illegal element type");
        EXPECT_EQ(ThrownText([] { SetType::Get(ArrayType::Get(I)); }), "illegal element type");
        EXPECT_EQ(ThrownText([&] { ArrayType::Get(keySet); }), "illegal element type");
        EXPECT_EQ(ThrownText([&] { KeySetType::Get(external, I); }), "illegal key type");
        EXPECT_EQ(ThrownText([] { KeySetType::Get(ArrayType::Get(I), I); }), "illegal key type");
        EXPECT_EQ(ThrownText([] { KeySetType::Get(nullptr, nullptr); }), "illegal key type");
        EXPECT_EQ(ThrownText([&] { KeySetType::Get(I, keySet); }), "illegal element type");
    }

    EXPECT_EQ(CollectionType::Get(StoreType::Array, I), ArrayType::Get(I));
    EXPECT_EQ(CollectionType::Get(StoreType::Set, I), SetType::Get(I));
    for (StoreType t : {StoreType::KeySet, StoreType::Bool, static_cast<StoreType>(200)}) {
        EXPECT_EQ(ThrownText([&] { CollectionType::Get(t, I); }),
                  "type doesn't match expected type");
    }
    EXPECT_EQ(SetType::Get(I)->WithElementType(L), SetType::Get(L));
    EXPECT_EQ(KeySetType::Get(BoolType::Get(), I)->WithElementType(L),
              KeySetType::Get(BoolType::Get(), L));

    Type const* array = ArrayType::Get(I);
    EXPECT_EQ(array->As<CollectionType>(), array);
    EXPECT_EQ(array->TryAs<SetType>(), nullptr);
    std::string const noCast = "cannot cast to the requested type class";
    EXPECT_EQ(ThrownText([&] { array->As<SetType>(); }), noCast);
    EXPECT_EQ(ThrownText([] { TypeAs<RealType>(nullptr); }), noCast);
}

TEST(TypeTest, Promotion) {
    Type const *f10 = RealType::Get32(10, 2), *r = RealType::Get64();
    Type const *d = DateType::Get(), *t = DateTimeType::Get();
    // clang-format off
    Type const* const cases[][3] = {{f10, f10, f10}, {I, L, L}, {L, I, L}, {I, f10, f10},
        {f10, L, f10}, {f10, r, r}, {RealType::Get64(5, 5), f10, r}, {d, t, t}, {t, d, t}};
    // clang-format on
    for (auto const& c : cases) {
        Type const* result = nullptr;
        EXPECT_TRUE(TryPromotedType(c[0], c[1], result));
        EXPECT_EQ(result, c[2]) << c[0]->ToString() << " " << c[1]->ToString();
        EXPECT_EQ(PromotedType(c[0], c[1]), c[2]);
    }
    // Decorations of one store type have no promotion.
    Type const* const none[][2] = {
        {BoolType::Get(), I}, {f10, RealType::Get32()}, {German(), StringType::Get()}};
    for (auto const& c : none) {
        Type const* result = d;
        EXPECT_FALSE(TryPromotedType(c[0], c[1], result)) << c[0]->ToString();
        EXPECT_EQ(result, d);  // untouched
        EXPECT_EQ(ThrownText([&] { PromotedType(c[0], c[1]); }), "unsupported type");
    }
}

// In the order of the flag strings below.
bool (*const kPredicates[])(StoreType) = {
    IsPrimitiveStoreType,          IsCollectionStoreType,        IsUniformCollectionStoreType,
    IsHeterogeneousCollectionType, IsSupportedNestedType,        IsStoreTypeSupportedInArray,
    IsStoreTypeSupportedInSet,     IsStoreTypeSupportedInKeySet, IsStoreTypeSupportedInKeySetAsKey};

struct Row {
    char const* name;
    char16_t character;
    // primitive, collection, uniform, heterogeneous, nested, in array, in set,
    // in key set, key of key set
    char const* flags;
};

// Indexed by StoreType. Note: a tuple is a collection that nests everywhere
// and may key a key set; External is primitive but can't key a key set.
Row const kRows[] = {
    {"Bool", u'b', "100011111"},   {"Int32", u'i', "100011111"},    {"Int64", u'l', "100011111"},
    {"Real32", u'f', "100011111"}, {"Real64", u'r', "100011111"},   {"String", u's', "100011111"},
    {"Date", u'd', "100011111"},   {"DateTime", u't', "100011111"}, {"Color", u'c', "100011111"},
    {"Tuple", u'P', "010111111"},  {"External", u'x', "100011110"}, {"Array", u'A', "011001010"},
    {"Set", u'S', "011001010"},    {"KeySet", u'K', "011000000"},   {"KeyMap", u'M', "010111010"},
    {"Table", u'T', "010100000"},
};

class StoreTypeRowTest : public ::testing::TestWithParam<int> {};

TEST_P(StoreTypeRowTest, PredicatesNamesAndCharacters) {
    Row const& row = kRows[GetParam()];
    auto const type = static_cast<StoreType>(GetParam());
    for (std::size_t i = 0; i < std::size(kPredicates); ++i) {
        EXPECT_EQ(kPredicates[i](type), row.flags[i] == '1') << "predicate " << i;
    }
    // Arrays and key sets take what arrays take, sets what sets take.
    bool const inArray = row.flags[5] == '1', inSet = row.flags[6] == '1';
    EXPECT_EQ(IsStoreTypeSupportedInUniformCollection(StoreType::Array, type), inArray);
    EXPECT_EQ(IsStoreTypeSupportedInUniformCollection(StoreType::KeySet, type), inArray);
    EXPECT_EQ(IsStoreTypeSupportedInUniformCollection(StoreType::Set, type), inSet);
    EXPECT_FALSE(IsStoreTypeSupportedInUniformCollection(StoreType::Tuple, type));
    EXPECT_FALSE(IsStoreTypeSupportedInUniformCollection(StoreType::Table, type));
    EXPECT_EQ(StoreTypeToString(type).toStdString(), row.name);
    EXPECT_EQ(StoreTypeToChar(type), row.character);
    EXPECT_EQ(StoreTypeFromChar(row.character), type);
}

INSTANTIATE_TEST_SUITE_P(AllStoreTypes, StoreTypeRowTest, ::testing::Range(0, 16),
                         [](auto const& info) { return std::string(kRows[info.param].name); });

TEST(StoreTypeTest, ValuesPastTheEnumerationAndUnknownCharacters) {
    for (unsigned value : {16u, 17u, 255u}) {
        auto const type = static_cast<StoreType>(value);
        for (auto predicate : kPredicates)
            EXPECT_FALSE(predicate(type)) << value;
        EXPECT_FALSE(IsStoreTypeSupportedInUniformCollection(type, StoreType::Bool));
        EXPECT_FALSE(IsStoreTypeSupportedInUniformCollection(StoreType::Array, type));
        EXPECT_EQ(ThrownText([&] { StoreTypeToString(type); }), "invalid StoreType");
        EXPECT_EQ(ThrownText([&] { StoreTypeToChar(type); }), "invalid StoreType value");
    }
    // Case sensitive, and no unit is cut to its low byte ('b' is 0x62).
    for (char16_t c : {u'q', u'B', u'p', u'\0', u'\x0162', u'\xFF62'}) {
        EXPECT_EQ(ThrownText([&] { StoreTypeFromChar(c); }), "unknown type name") << int(c);
    }
}

}  // namespace
}  // namespace qel::core
