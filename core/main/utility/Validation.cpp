#include "qel/core/utility/Validation.h"

#include "qel/core/utility/QelLog.h"

namespace qel::core {

void PerformQelDebugReport(std::string const& file, int line, std::string const& condition,
                           QelError error, std::string const& details) {
    std::string text;
    std::string const codeText = ErrorToCString(error);
    if (!details.empty()) {
        text = details;
        if (!condition.empty())
            text += " (condition \"" + condition + "\" failed) ";
        text += "(" + codeText + ")";
    } else {
        text = codeText;
        if (!condition.empty())
            text += " (condition \"" + condition + "\" failed)";
    }
    std::string report =
        "Validation failed at " + file + ":" + std::to_string(line) + " -- " + text;
    QelLog(QelLogLevel::Error, TStringCore::fromStdString(report));
}

namespace detail {

namespace {

TStringCore SourceContext(std::string const& path, int line) {
    TStringCore context(u"Source: ");
    context.append(TStringCore::fromStdString(path));
    context.append(u':');
    context.append(TStringCore::number(line));
    return context;
}

template <class Exception>
[[noreturn]] void Fail(std::string_view file, int line, char const* condition, QelError error,
                       TStringCore const& details) {
    std::string const path(file);
    PerformQelDebugReport(path, line, condition, error, details.toStdString());
    throw Exception(error, details, SourceContext(path, line));
}

}  // namespace

void ValidationFailed(std::string_view file, int line, char const* condition, QelError error) {
    Fail<QelRuntimeException>(file, line, condition, error, TStringCore());
}

void ValidationFailed(std::string_view file, int line, char const* condition, QelError error,
                      TStringCore const& details) {
    Fail<QelRuntimeException>(file, line, condition, error, details);
}

void LogicValidationFailed(std::string_view file, int line, char const* condition, QelError error) {
    Fail<QelLogicException>(file, line, condition, error, TStringCore());
}

void LogicValidationFailed(std::string_view file, int line, char const* condition, QelError error,
                           TStringCore const& details) {
    Fail<QelLogicException>(file, line, condition, error, details);
}

void ThrowWithSource(std::string_view file, int line, QelError error, TStringCore const& details) {
    throw QelRuntimeException(error, details, SourceContext(std::string(file), line));
}

}  // namespace detail
}  // namespace qel::core
