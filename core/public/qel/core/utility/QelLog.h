#pragma once

// The library's one replaceable global logger. The library logs failed
// validations at level 4 and duplicate member names at level 1; a host
// installs a logger with SetQelLogger before other threads start (the global
// pointer is read without a lock). The default logger drops everything.

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>

#include "qel/core/utility/Base.h"

namespace qel::core {

// Severity in rising order.
enum class QelLogLevel : std::uint8_t {
    Trace = 0,
    Debug = 1,
    Info = 2,
    Warning = 3,
    Error = 4,
    Fatal = 5,
};

// A logger is three functions; an empty one makes its call do nothing (and an
// empty level test says no).
class QelLogger {
public:
    using LogCharsFunction = std::function<void(QelLogLevel, char16_t const*)>;
    using LogStringFunction = std::function<void(QelLogLevel, TStringCore const&)>;
    using AcceptsFunction = std::function<bool(QelLogLevel)>;

    QelLogger(LogCharsFunction&& logChars, LogStringFunction&& logString, AcceptsFunction&& accepts)
        : m_logChars(std::move(logChars)),
          m_logString(std::move(logString)),
          m_accepts(std::move(accepts)) {}

    void Log(QelLogLevel level, char16_t const* text) const {
        if (m_logChars)
            m_logChars(level, text);
    }
    void Log(QelLogLevel level, TStringCore const& text) const {
        if (m_logString)
            m_logString(level, text);
    }
    bool AcceptsLogLevel(QelLogLevel level) const { return m_accepts ? m_accepts(level) : false; }

private:
    LogCharsFunction m_logChars;
    LogStringFunction m_logString;
    AcceptsFunction m_accepts;
};

class QelNullLogger {
public:
    static std::unique_ptr<QelLogger> Make();
};

// Writes "<local time> -- <text>" lines to a stream, for levels at or above
// `lowest`. The QelLogger it hands out calls back into this object, which
// must therefore outlive it. No lock: lines from several threads may
// interleave unless the stream prevents it.
class QelStreamLogger {
public:
    QelStreamLogger(QelLogLevel lowest, std::ostream& out);
    QelStreamLogger(QelStreamLogger const&) = delete;
    QelStreamLogger& operator=(QelStreamLogger const&) = delete;

    std::shared_ptr<QelLogger> GetQelLogger() const { return m_logger; }
    void LogRChar(QelLogLevel level, char16_t const* text);
    void LogRString(QelLogLevel level, TStringCore const& text);
    bool AcceptsLogLevel(QelLogLevel level) const { return m_lowest <= level; }

private:
    QelLogLevel m_lowest;
    std::ostream& m_out;
    std::shared_ptr<QelLogger> m_logger;
};

// Hand a text to the global logger, unfiltered.
void QelLog(QelLogLevel level, char16_t const* text);
void QelLog(QelLogLevel level, TStringCore const& text);

QelLogger* GetQelLogger();
// Installs a logger (a null one for a null argument) and returns the previous.
std::shared_ptr<QelLogger> SetQelLogger(std::shared_ptr<QelLogger> logger);

}  // namespace qel::core
