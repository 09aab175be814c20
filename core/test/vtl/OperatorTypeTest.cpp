#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"

namespace qel::core {
namespace {

using test::Refused;

// Written out apart from the table, so that a wrong row is caught. Per
// operator in value order: its text; its literal ('-' none, '*' any type,
// else the fixed store type's letter); 'c' when it may have children.
constexpr char kTexts[] =
    "applyByPartition block call case concat constant copy createKeySet createTable crossJoin "
    "distinct else filter fullOuterJoin groupBy index innerJoin leftOuterJoin map multiSort noOp "
    "reduce return reverse scan scanRight setValue setValueMulti slice when zip zipWith "
    "internalCreateKeyMap";
constexpr char kLiterals[] = "-ss-**----b-b--i---b-*--**-------";
constexpr char kChildren[] = "cc-c-------c--c--------------c---";
constexpr char kNoFixedType[] =
    "operator does not expect a specific StoreType |  @ Source: core/main/vtl/OperatorType";

TEST(OperatorTypeTest, EveryOperatorRoundTripsWithItsPredicates) {
    static_assert(sizeof(kLiterals) - 1 == kOperatorTypeCount);
    std::istringstream texts(kTexts);
    unsigned i = 0;
    for (std::string text; i < kOperatorTypeCount && texts >> text; ++i) {
        auto const type = static_cast<OperatorType>(i);
        char const literal = kLiterals[i];
        SCOPED_TRACE(text);
        EXPECT_EQ(OperatorTypeToString(type).toStdString(), text);
        EXPECT_EQ(OperatorTypeFromString(TStringCore::fromUtf8(text.c_str())), type);
        EXPECT_EQ(DoesOperatorTakeAnyStoreType(type), literal == '*');
        EXPECT_EQ(CanOperatorHaveChildTransforms(type), kChildren[i] == 'c');
        EXPECT_EQ(DoesOperatorTakeStoreType(type), literal != '-' && literal != '*');
        if (DoesOperatorTakeStoreType(type))
            EXPECT_EQ(static_cast<char>(StoreTypeToChar(OperatorStoreType(type))), literal);
        else
            EXPECT_EQ(Refused([&] { OperatorStoreType(type); }), kNoFixedType);
    }
    std::string extra;
    EXPECT_TRUE(i == kOperatorTypeCount && !(texts >> extra)) << i << " " << extra;
}

TEST(OperatorTypeTest, ValuesOutsideTheEnumerationAndUnknownTextsAreRefused) {
    auto const past = static_cast<OperatorType>(kOperatorTypeCount);
    EXPECT_EQ(
        Refused([&] { OperatorTypeToString(past); }),
        "unspecified Vantrel Runtime error | (typeIndex) <= "
        "((sizeof(s_strings)/sizeof(*(s_strings))) - 1) @ Source: core/main/vtl/OperatorType");
    EXPECT_FALSE(DoesOperatorTakeStoreType(past) || DoesOperatorTakeAnyStoreType(past) ||
                 CanOperatorHaveChildTransforms(past));
    EXPECT_EQ(Refused([&] { OperatorStoreType(past); }), kNoFixedType);
    // Exact comparison: no case folding, no trimming, no prefix match.
    for (char const* text : {"Map", "map ", "ma", "", "noop"}) {
        EXPECT_EQ(Refused([&] { OperatorTypeFromString(TStringCore::fromUtf8(text)); }),
                  std::string("unknown type name") + (*text ? "\n" : "") + text +
                      " |  @ Source: core/main/vtl/OperatorType");
    }
}

}  // namespace
}  // namespace qel::core
