#pragma once

// The exceptions of the library. Every failure is a QelError code plus
// optional details (the offending key, type or line) and an optional context
// (where it happened: a validation's "Source: file:line", then whatever the
// callers appended while the exception passed through them).
//
// QelRuntimeException is the rule. QelLogicException marks a branch that
// correct code cannot reach. Catch QelException to handle both.

#include <exception>
#include <string>

#include "qel/core/utility/QelError.h"

namespace qel::core {

class QelException : public std::exception {
public:
    explicit QelException(QelError error);
    QelException(QelError error, TStringCore const& details);
    QelException(QelError error, TStringCore const& details, TStringCore const& context);
    QelException(QelException const&) = default;
    QelException(QelException&&) noexcept = default;
    QelException& operator=(QelException const&) = default;
    QelException& operator=(QelException&&) noexcept = default;
    ~QelException() override = default;

    char const* what() const noexcept override { return m_what.c_str(); }

    QelError GetError() const noexcept { return m_error; }
    // The catalogue text of the code, then a line feed and the details when
    // there are any.
    TStringCore const& GetDetails() const noexcept { return m_message; }
    // The details alone, as the thrower passed them.
    TStringCore const& GetRawDetails() const noexcept { return m_details; }
    TStringCore const& GetContext() const noexcept { return m_context; }
    // Adds one line to the context; the message and what() do not change.
    void AppendContext(TStringCore const& text);

private:
    QelError m_error;
    TStringCore m_details;
    TStringCore m_message;
    TStringCore m_context;
    std::string m_what;
};

class QelRuntimeException : public QelException {
public:
    using QelException::QelException;
};

class QelLogicException : public QelException {
public:
    using QelException::QelException;
};

}  // namespace qel::core
