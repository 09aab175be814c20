#pragma once

// Runs a call that a validation must refuse and returns "<what()> | <the
// condition its report named>", so that a test pins in one line both texts
// that callers and logs depend on. An unconditional refusal names no
// condition: "<what()> | ".

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "qel/core/utility/QelException.h"
#include "qel/core/utility/QelLog.h"

namespace qel::core::test {

template <class Call>
std::string Refusal(Call&& call) {
    std::string report;
    auto previous = SetQelLogger(std::make_shared<QelLogger>(
        nullptr, [&](QelLogLevel, TStringCore const& text) { report += text.toStdString(); },
        [](QelLogLevel) { return true; }));
    std::string what = "(nothing thrown)";
    try {
        call();
    } catch (QelException const& e) {
        what = e.what();
    }
    SetQelLogger(std::move(previous));
    std::string const open = "(condition \"";
    std::string const close = "\" failed)";
    auto const start = report.find(open);
    auto const end = report.rfind(close);
    if (start == std::string::npos || end == std::string::npos || end < start)
        return what + " | ";
    return what + " | " + report.substr(start + open.size(), end - start - open.size());
}

// A condition is the code's own spelling. Where nothing outside the code
// names it, a test writes kAnyCondition in its place and compares
// Unpinned(actual, expected) with expected: the condition of the actual text
// then reads kAnyCondition as well, and the message, its details and the
// source stay pinned.
inline constexpr char kAnyCondition[] = "<any condition>";

inline std::string Unpinned(std::string actual, std::string const& expected) {
    std::string const marker = std::string(" | ") + kAnyCondition;
    auto const at = expected.find(marker);
    if (at == std::string::npos || actual.compare(0, at + 3, expected, 0, at + 3) != 0)
        return actual;
    // What follows the condition in expected (" @ Source: ...") ends it in
    // actual too.
    std::string const rest = expected.substr(at + marker.size());
    if (rest.size() > actual.size() - at - 3 ||
        actual.compare(actual.size() - rest.size(), rest.size(), rest) != 0)
        return actual;
    return actual.substr(0, at + 3) + kAnyCondition + rest;
}

// EXPECT_TRUE(MatchesRefusal(actual, expected)): equal once unpinned.
inline testing::AssertionResult MatchesRefusal(std::string const& actual,
                                               std::string const& expected) {
    if (Unpinned(actual, expected) == expected)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "refusal: " << actual << "\nexpected: " << expected;
}

}  // namespace qel::core::test
