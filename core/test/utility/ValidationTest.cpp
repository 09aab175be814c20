#include "qel/core/utility/Validation.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/utility/QelLog.h"

namespace qel::core {
namespace {

// The reported path drops only the extension of the file name itself.
static_assert(detail::SourcePath("core/main/store/StoreValue.cpp") == "core/main/store/StoreValue");
static_assert(detail::SourcePath("a.b/c") == "a.b/c");

// Records what reaches the global logger through either entry point.
class ValidationTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_previous = SetQelLogger(std::make_shared<QelLogger>(
            [this](QelLogLevel level, char16_t const* text) { Record(level, TStringCore(text)); },
            [this](QelLogLevel level, TStringCore const& text) { Record(level, text); },
            [](QelLogLevel) { return true; }));
    }
    void TearDown() override { SetQelLogger(std::move(m_previous)); }
    void Record(QelLogLevel level, TStringCore const& text) {
        m_lines.push_back(std::to_string(static_cast<int>(level)) + "|" + text.toStdString());
    }
    // The one line logged since the last call, as "<level>|<text>".
    std::string Report() {
        std::vector<std::string> lines = std::exchange(m_lines, {});
        return lines.size() == 1 ? lines[0] : "lines: " + std::to_string(lines.size());
    }
    // Runs a check written on `line` of this file that must fail. Checks the
    // thrown context and the report's opening; returns the exception and the
    // rest of the report.
    template <class Check>
    std::pair<QelRuntimeException, std::string> Fails(int line, Check&& check) {
        std::string const at = "core/test/utility/ValidationTest:" + std::to_string(line);
        try {
            check();
        } catch (QelRuntimeException const& e) {
            EXPECT_EQ(e.GetContext().toStdString(), "Source: " + at);
            std::string const report = Report();
            std::string const opening = "4|Validation failed at " + at + " -- ";
            EXPECT_EQ(report.substr(0, opening.size()), opening);
            return {e, report.substr(std::min(opening.size(), report.size()))};
        }
        ADD_FAILURE() << "the check passed";
        return {QelRuntimeException(QelError::NoError), ""};
    }

    std::vector<std::string> m_lines;
    std::shared_ptr<QelLogger> m_previous;
};

TEST_F(ValidationTest, EachCheckReportsItsConditionThenThrowsWithItsSource) {
    int x = 0;
    auto r = Fails(__LINE__, [&] { QEL_VALIDATE(x > 1, QelError::IndexOutOfBounds); });
    EXPECT_EQ(r.first.GetError(), QelError::IndexOutOfBounds);
    EXPECT_STREQ(r.first.what(), "index out of bounds");
    EXPECT_EQ(r.second, "index out of bounds (condition \"(x > 1)\" failed)");

    bool busy = true;
    r = Fails(__LINE__, [&] { QEL_VALIDATE_NOT(busy, QelError::IllegalOperation, u"queue"); });
    EXPECT_STREQ(r.first.what(), "illegal operation\nqueue");
    EXPECT_EQ(r.second, "queue (condition \"!(busy)\" failed) (illegal operation)");

    int* type = nullptr;
    r = Fails(__LINE__, [&] { QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType); });
    EXPECT_EQ(r.second, "unexpected null type (condition \"(type) != nullptr\" failed)");

    int kind = 2;
    r = Fails(__LINE__, [&] { QEL_VALIDATE_NE(kind, 2, QelError::DivideByZeroError, u"k"); });
    EXPECT_EQ(r.second, "k (condition \"(kind) != (2)\" failed) (divide by zero error )");

    std::vector<int> const none;
    r = Fails(__LINE__, [&] { QEL_VALIDATE_NOT_EMPTY(none, QelError::InvalidKey); });
    EXPECT_EQ(r.second, "invalid key (condition \"!(none).empty()\" failed)");

    r = Fails(__LINE__, [] { QEL_VALIDATION_FAILED(QelError::InvalidKey); });
    EXPECT_EQ(r.second, "invalid key");
    r = Fails(__LINE__, [] { QEL_VALIDATION_FAILED(QelError::InvalidKey, u"Z\u00FCrich"); });
    EXPECT_EQ(r.first.GetRawDetails().view(), u"Z\u00FCrich");
    EXPECT_EQ(r.second, "Z\xC3\xBCrich(invalid key)");
}

TEST_F(ValidationTest, PassingChecksNeitherLogNorBuildDetails) {
    int built = 0;
    auto details = [&] { return TStringCore(++built == 1 ? u"once" : u"again"); };
    int value = 5;
    int* pointer = &value;
    QEL_VALIDATE(value == 5, QelError::OutOfRange, details());
    QEL_VALIDATE_NOT(value == 4, QelError::OutOfRange, details());
    QEL_VALIDATE_NOT_NULL(pointer, QelError::OutOfRange, details());
    QEL_VALIDATE_NE(value, 4, QelError::OutOfRange, details());
    EXPECT_EQ(built, 0);
    EXPECT_TRUE(m_lines.empty());
    auto r = Fails(__LINE__, [&] { QEL_VALIDATE(value < 0, QelError::OutOfRange, details()); });
    EXPECT_EQ(r.first.GetRawDetails().view(), u"once");  // built once for report and exception
    EXPECT_EQ(r.second, "once (condition \"(value < 0)\" failed) (out of range)");
}

TEST_F(ValidationTest, ReportTextLayout) {
    auto const report = [&](char const* condition, char const* details) {
        PerformQelDebugReport("f", 9, condition, QelError::IndexOutOfBounds, details);
        return Report();
    };
    std::string const at = "4|Validation failed at f:9 -- ";
    EXPECT_EQ(report("c", "d"), at + "d (condition \"c\" failed) (index out of bounds)");
    EXPECT_EQ(report("c", ""), at + "index out of bounds (condition \"c\" failed)");
    EXPECT_EQ(report("", ""), at + "index out of bounds");
    // Only the condition group carries a trailing blank; without it the
    // details run straight into the code's text.
    EXPECT_EQ(report("", "d"), at + "d(index out of bounds)");
}

// What a stream logger wrote, with the "<local time> -- " opening of each
// line removed; a line that lacks it stays whole and fails the comparison.
std::string Untimed(std::ostringstream const& out) {
    static std::regex const kOpening(R"((^|\n)\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} -- )");
    return std::regex_replace(out.str(), kOpening, "$1");
}

TEST(QelLogTest, StreamAndGlobalLoggersRouteByLevelAndNullDropsAll) {
    std::ostringstream out;
    QelStreamLogger stream(QelLogLevel::Info, out);
    stream.LogRString(QelLogLevel::Debug, TStringCore(u"dropped"));
    stream.LogRString(QelLogLevel::Info, TStringCore(u"first"));
    stream.LogRChar(QelLogLevel::Error, u"Z\u00FCrich \xD800");
    EXPECT_EQ(Untimed(out), "first\nZ\xC3\xBCrich \xEF\xBF\xBD\n");
    EXPECT_TRUE(stream.GetQelLogger()->AcceptsLogLevel(QelLogLevel::Info));
    EXPECT_FALSE(stream.GetQelLogger()->AcceptsLogLevel(QelLogLevel::Trace));

    out.str("");
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
