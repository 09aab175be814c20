#include "qel/core/utility/QelError.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace qel::core {
namespace {

std::string Text(std::uint32_t code) {
    return ErrorToString(static_cast<QelError>(code)).toStdString();
}

TEST(QelErrorTest, TextsAreExactIncludingTyposAndTrailingBlanks) {
    EXPECT_EQ(Text(0), "no error");
    EXPECT_EQ(Text(8), "divide by zero error ");
    EXPECT_EQ(Text(39), "boxed special values not must be SpecialKind::Normal");
    EXPECT_EQ(Text(62), "non-unique member name in heterogeneous collection: ");
    EXPECT_EQ(Text(125), "deserializeValueFunctiond cannot be null");
    EXPECT_EQ(Text(210), "binary protocol list segment count mistmatch");
    EXPECT_EQ(Text(403), "execution graph edges should have distinct keys");
    // Codes past the catalogue read as code 1.
    for (std::uint32_t code : {1u, 404u, 4000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Text(code), "unspecified Vantrel Runtime error") << code;
        EXPECT_STREQ(ErrorToCString(static_cast<QelError>(code)), Text(1).c_str()) << code;
    }
}

TEST(QelErrorTest, EveryRowHasItsOwnText) {
    std::set<std::string> seen;
    for (std::uint32_t code = 0; code < kQelErrorCount; ++code) {
        EXPECT_STREQ(ErrorToCString(static_cast<QelError>(code)), Text(code).c_str()) << code;
        seen.insert(Text(code));
    }
    EXPECT_EQ(seen.size(), kQelErrorCount);
    EXPECT_EQ(seen.count(""), 0u);
}

}  // namespace
}  // namespace qel::core
