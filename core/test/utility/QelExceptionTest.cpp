#include "qel/core/utility/QelException.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <type_traits>
#include <utility>

namespace qel::core {
namespace {

static_assert(std::is_base_of_v<QelException, QelLogicException>);
static_assert(!std::is_base_of_v<QelRuntimeException, QelLogicException>);

TEST(QelExceptionTest, MessageIsCatalogueTextThenDetailsOnTheirOwnLine) {
    QelRuntimeException const typed(QelError::ExpectedBoolButWas, TStringCore(u"Int32"));
    EXPECT_EQ(static_cast<std::uint32_t>(typed.GetError()), 64u);
    EXPECT_EQ(typed.GetDetails().view(), u"expected bool but was \nInt32");
    EXPECT_STREQ(typed.what(), "expected bool but was \nInt32");
    EXPECT_EQ(typed.GetRawDetails().view(), u"Int32");
    EXPECT_TRUE(typed.GetContext().isEmpty());

    QelRuntimeException const bare(QelError::IndexOutOfBounds);
    EXPECT_EQ(bare.GetDetails().view(), u"index out of bounds");
    EXPECT_STREQ(bare.what(), "index out of bounds");

    QelLogicException const empty(QelError::DivideByZeroError, TStringCore(), TStringCore(u"here"));
    EXPECT_STREQ(empty.what(), "divide by zero error ");
    EXPECT_EQ(empty.GetContext().view(), u"here");
    QelException const foreign(static_cast<QelError>(4000000));
    EXPECT_EQ(static_cast<std::uint32_t>(foreign.GetError()), 4000000u);
    EXPECT_STREQ(foreign.what(), "unspecified Vantrel Runtime error");

    // what() is UTF-8; a lone surrogate in the details becomes U+FFFD.
    QelException const wide(QelError::InvalidKey, TStringCore(u"Z\u00FCrich \xD800"));
    EXPECT_STREQ(wide.what(), "invalid key\nZ\xC3\xBCrich \xEF\xBF\xBD");
}

TEST(QelExceptionTest, ContextGrowsByLinesAndSurvivesCopies) {
    QelRuntimeException e(QelError::InvalidKey, TStringCore(u"k"));
    e.AppendContext(TStringCore(u"first"));
    EXPECT_EQ(e.GetContext().view(), u"first");
    e.AppendContext(TStringCore(u"second"));
    EXPECT_EQ(e.GetContext().view(), u"first\nsecond");
    EXPECT_STREQ(e.what(), "invalid key\nk");

    QelRuntimeException copy = e;
    copy.AppendContext(TStringCore(u"third"));
    EXPECT_EQ(e.GetContext().view(), u"first\nsecond");
    QelRuntimeException moved = std::move(copy);
    EXPECT_EQ(moved.GetContext().view(), u"first\nsecond\nthird");
    e = moved;
    EXPECT_STREQ(e.what(), "invalid key\nk");
}

std::string Text(std::uint32_t code) {
    return ErrorToString(static_cast<QelError>(code)).toStdString();
}

TEST(QelErrorTest, TextsAreExactDistinctAndIncludeTyposAndTrailingBlanks) {
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
    // Every row has its own text: the code follows from the text.
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
