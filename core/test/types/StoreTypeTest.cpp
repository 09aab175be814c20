#include "qel/core/types/StoreType.h"

#include <gtest/gtest.h>

#include "core/test/ThrownText.h"

namespace qel::core {
namespace {

using test::ThrownText;

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
