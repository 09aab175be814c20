#pragma once

// Validation: the one way the library checks what it is given. A failed
// validation logs a report through PerformQelDebugReport (level 4) and then
// throws QelRuntimeException(code, details, "Source: <file>:<line>"), where
// <file> is the source's path in the repository without its extension.
//
//   QEL_VALIDATE(cond, code[, details])          condition text "(cond)"
//   QEL_VALIDATE_NOT(cond, code[, details])      must not hold; "!(cond)"
//   QEL_VALIDATE_NOT_NULL(ptr, code[, details])  "(ptr) != nullptr"
//   QEL_VALIDATE_NOT_EMPTY(c, code[, details])   "!(c).empty()"
//   QEL_VALIDATE_NE(a, b, code[, details])       "(a) != (b)"
//   QEL_VALIDATE_LE(a, b, code[, details])       "(a) <= (b)"
//   QEL_VALIDATE_MIN_SIZE(c, n, code[, details]) "(c).size() >= (n)"
//   QEL_VALIDATE_RANGE(v, lo, hi, code[, details])  "(v) >= (lo) && (v) <= (hi)"
//   QEL_VALIDATION_FAILED(code[, details])       no condition
//   QEL_VALIDATE_SHOWN(cond, code)               as QEL_VALIDATE, with the
//   QEL_VALIDATE_NOT_SHOWN(cond, code)           condition text as details too,
//                                                where callers are told which
//                                                check refused them
//   QEL_VALIDATE_LOGIC(cond, code[, details])    as QEL_VALIDATE, but throws
//                                                QelLogicException: for states
//                                                that correct callers never reach
//   QEL_VALIDATE_LOGIC_NOT_NULL(ptr, code[, details])  "(ptr) != nullptr", as
//                                                a QelLogicException
//
// Details are anything a TStringCore can be built from. They are evaluated
// only when the check fails, so building them may be costly.

#include <string>
#include <string_view>

#include "qel/core/utility/QelException.h"

namespace qel::core {

// Logs "Validation failed at <file>:<line> -- ..." at level 4. Has no other
// effect; the validation's exception follows it.
void PerformQelDebugReport(std::string const& file, int line, std::string const& condition,
                           QelError error, std::string const& details);

namespace detail {

// The repository-relative path of a source without its extension. The build
// maps the repository root away from __FILE__; the extension goes here.
constexpr std::string_view SourcePath(std::string_view file) {
    auto dot = file.rfind('.');
    auto slash = file.rfind('/');
    if (dot != std::string_view::npos && (slash == std::string_view::npos || dot > slash)) {
        file = file.substr(0, dot);
    }
    return file;
}

[[noreturn]] void ValidationFailed(std::string_view file, int line, char const* condition,
                                   QelError error);
[[noreturn]] void ValidationFailed(std::string_view file, int line, char const* condition,
                                   QelError error, TStringCore const& details);
// As ValidationFailed, but throws QelLogicException.
[[noreturn]] void LogicValidationFailed(std::string_view file, int line, char const* condition,
                                        QelError error);
[[noreturn]] void LogicValidationFailed(std::string_view file, int line, char const* condition,
                                        QelError error, TStringCore const& details);
// Throws with the "Source: " context but logs no report.
[[noreturn]] void ThrowWithSource(std::string_view file, int line, QelError error,
                                  TStringCore const& details);

}  // namespace detail
}  // namespace qel::core

#define QEL_DETAIL_VALIDATION_FAILED(conditionText, error, ...)             \
    ::qel::core::detail::ValidationFailed(                                  \
        ::qel::core::detail::SourcePath(__FILE__), __LINE__, conditionText, \
        error __VA_OPT__(, ::qel::core::TStringCore(__VA_ARGS__)))

#define QEL_VALIDATE(cond, error, ...)                                                     \
    do {                                                                                   \
        if (!(cond)) [[unlikely]]                                                          \
            QEL_DETAIL_VALIDATION_FAILED("(" #cond ")", error __VA_OPT__(, ) __VA_ARGS__); \
    } while (false)

#define QEL_VALIDATE_LOGIC(cond, error, ...)                                        \
    do {                                                                            \
        if (!(cond)) [[unlikely]]                                                   \
            ::qel::core::detail::LogicValidationFailed(                             \
                ::qel::core::detail::SourcePath(__FILE__), __LINE__, "(" #cond ")", \
                error __VA_OPT__(, ::qel::core::TStringCore(__VA_ARGS__)));         \
    } while (false)

#define QEL_VALIDATE_SHOWN(cond, error) QEL_VALIDATE(cond, error, "(" #cond ")")

#define QEL_VALIDATE_NOT(cond, error, ...)                                                  \
    do {                                                                                    \
        if (cond) [[unlikely]]                                                              \
            QEL_DETAIL_VALIDATION_FAILED("!(" #cond ")", error __VA_OPT__(, ) __VA_ARGS__); \
    } while (false)

#define QEL_VALIDATE_NOT_SHOWN(cond, error) QEL_VALIDATE_NOT(cond, error, "!(" #cond ")")

#define QEL_VALIDATE_NOT_NULL(ptr, error, ...)                              \
    do {                                                                    \
        if ((ptr) == nullptr) [[unlikely]]                                  \
            QEL_DETAIL_VALIDATION_FAILED("(" #ptr ") != nullptr",           \
                                         error __VA_OPT__(, ) __VA_ARGS__); \
    } while (false)

#define QEL_VALIDATE_NOT_EMPTY(container, error, ...)                       \
    do {                                                                    \
        if ((container).empty()) [[unlikely]]                               \
            QEL_DETAIL_VALIDATION_FAILED("!(" #container ").empty()",       \
                                         error __VA_OPT__(, ) __VA_ARGS__); \
    } while (false)

// The same checks with their condition text as the exception's details too,
// for refusals whose callers are meant to see which rule they broke.
#define QEL_VALIDATE_NOT_NULL_SHOWN(ptr, error) \
    QEL_VALIDATE_NOT_NULL(ptr, error, "(" #ptr ") != nullptr")
#define QEL_VALIDATE_NOT_EMPTY_SHOWN(container, error) \
    QEL_VALIDATE_NOT_EMPTY(container, error, "!(" #container ").empty()")

#define QEL_VALIDATE_NE(a, b, error, ...)                                   \
    do {                                                                    \
        if ((a) == (b)) [[unlikely]]                                        \
            QEL_DETAIL_VALIDATION_FAILED("(" #a ") != (" #b ")",            \
                                         error __VA_OPT__(, ) __VA_ARGS__); \
    } while (false)

#define QEL_VALIDATE_LE(a, b, error, ...)                                   \
    do {                                                                    \
        if (!((a) <= (b))) [[unlikely]]                                     \
            QEL_DETAIL_VALIDATION_FAILED("(" #a ") <= (" #b ")",            \
                                         error __VA_OPT__(, ) __VA_ARGS__); \
    } while (false)

#define QEL_VALIDATE_MIN_SIZE(container, n, error, ...)                         \
    do {                                                                        \
        if (!((container).size() >= (n))) [[unlikely]]                          \
            QEL_DETAIL_VALIDATION_FAILED("(" #container ").size() >= (" #n ")", \
                                         error __VA_OPT__(, ) __VA_ARGS__);     \
    } while (false)

#define QEL_VALIDATE_LOGIC_NOT_NULL(ptr, error, ...)                                          \
    do {                                                                                      \
        if ((ptr) == nullptr) [[unlikely]]                                                    \
            ::qel::core::detail::LogicValidationFailed(                                       \
                ::qel::core::detail::SourcePath(__FILE__), __LINE__, "(" #ptr ") != nullptr", \
                error __VA_OPT__(, ::qel::core::TStringCore(__VA_ARGS__)));                   \
    } while (false)

// Throws QelRuntimeException(error, details, "Source: <file>:<line>") with no
// report, for refusals that are expected in normal use (a caller's bad text).
#define QEL_THROW_WITH_SOURCE(error, details)                                                 \
    ::qel::core::detail::ThrowWithSource(::qel::core::detail::SourcePath(__FILE__), __LINE__, \
                                         error, ::qel::core::TStringCore(details))

// `value` is evaluated once; `low` and `high` are compared with it as written.
#define QEL_VALIDATE_RANGE(value, low, high, error, ...)                                         \
    do {                                                                                         \
        auto const& qelRangeValue = (value);                                                     \
        if (!(qelRangeValue >= (low) && qelRangeValue <= (high))) [[unlikely]]                   \
            QEL_DETAIL_VALIDATION_FAILED("(" #value ") >= (" #low ") && (" #value ") <= (" #high \
                                         ")",                                                    \
                                         error __VA_OPT__(, ) __VA_ARGS__);                      \
    } while (false)

#define QEL_VALIDATION_FAILED(error, ...) \
    QEL_DETAIL_VALIDATION_FAILED("", error __VA_OPT__(, ) __VA_ARGS__)
