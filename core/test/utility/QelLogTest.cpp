#include "qel/core/utility/QelLog.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>

namespace qel::core {
namespace {

// What a stream logger wrote, with the "<local time> -- " opening of each
// line removed; a line that lacks it stays whole and fails the comparison.
std::string Untimed(std::ostringstream const& out) {
    static std::regex const kOpening(R"((^|\n)\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} -- )");
    return std::regex_replace(out.str(), kOpening, "$1");
}

TEST(QelLogTest, StreamLoggerWritesTimedLinesAtOrAboveItsLevel) {
    std::ostringstream out;
    QelStreamLogger stream(QelLogLevel::Info, out);
    stream.LogRString(QelLogLevel::Debug, TStringCore(u"dropped"));
    stream.LogRString(QelLogLevel::Info, TStringCore(u"first"));
    stream.LogRChar(QelLogLevel::Error, u"Z\u00FCrich \xD800");
    EXPECT_EQ(Untimed(out), "first\nZ\xC3\xBCrich \xEF\xBF\xBD\n");
    EXPECT_TRUE(stream.GetQelLogger()->AcceptsLogLevel(QelLogLevel::Info));
    EXPECT_FALSE(stream.GetQelLogger()->AcceptsLogLevel(QelLogLevel::Trace));
}

TEST(QelLogTest, GlobalLoggerRoutesBothEntryPointsAndNullDropsAll) {
    std::ostringstream out;
    QelStreamLogger stream(QelLogLevel::Info, out);
    std::shared_ptr<QelLogger> const previous = SetQelLogger(stream.GetQelLogger());
    // The logger a process starts with wants nothing.
    EXPECT_FALSE(previous->AcceptsLogLevel(QelLogLevel::Fatal));
    EXPECT_EQ(GetQelLogger(), stream.GetQelLogger().get());
    QelLog(QelLogLevel::Debug, u"below the level");
    QelLog(QelLogLevel::Info, u"chars");
    QelLog(QelLogLevel::Error, TStringCore(u"string"));
    EXPECT_EQ(Untimed(out), "chars\nstring\n");

    EXPECT_EQ(SetQelLogger(nullptr), stream.GetQelLogger());
    ASSERT_NE(GetQelLogger(), nullptr);
    EXPECT_FALSE(GetQelLogger()->AcceptsLogLevel(QelLogLevel::Error));
    QelLog(QelLogLevel::Fatal, u"nowhere");
    QelLog(QelLogLevel::Fatal, TStringCore(u"nowhere"));
    EXPECT_EQ(Untimed(out), "chars\nstring\n");
    SetQelLogger(previous);
}

}  // namespace
}  // namespace qel::core
