#pragma once

// Runs a call that a validation must refuse and returns "<what()> | <the
// condition its report named>", so that a test pins in one line both texts
// that callers and logs depend on. An unconditional refusal names no
// condition: "<what()> | ".

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

}  // namespace qel::core::test
