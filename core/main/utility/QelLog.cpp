#include "qel/core/utility/QelLog.h"

#include <chrono>
#include <ctime>
#include <ostream>

namespace qel::core {

namespace {

std::shared_ptr<QelLogger>& GlobalLogger() {
    static std::shared_ptr<QelLogger> logger(QelNullLogger::Make());
    return logger;
}

// Made during static initialisation, so that the first QelLog from any
// thread finds the logger built.
[[maybe_unused]] auto const& g_loggerAtStartup = GlobalLogger();

}  // namespace

std::unique_ptr<QelLogger> QelNullLogger::Make() {
    return std::make_unique<QelLogger>(QelLogger::LogCharsFunction(),
                                       QelLogger::LogStringFunction(),
                                       QelLogger::AcceptsFunction());
}

QelStreamLogger::QelStreamLogger(QelLogLevel lowest, std::ostream& out)
    : m_lowest(lowest),
      m_out(out),
      m_logger(std::make_shared<QelLogger>(
          [this](QelLogLevel level, char16_t const* text) { LogRChar(level, text); },
          [this](QelLogLevel level, TStringCore const& text) { LogRString(level, text); },
          [this](QelLogLevel level) { return AcceptsLogLevel(level); })) {}

void QelStreamLogger::LogRChar(QelLogLevel level, char16_t const* text) {
    LogRString(level, TStringCore(text));
}

void QelStreamLogger::LogRString(QelLogLevel level, TStringCore const& text) {
    if (!AcceptsLogLevel(level))
        return;
    std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm local{};
    if (localtime_r(&now, &local) != nullptr) {
        char buffer[64];
        std::strftime(buffer, sizeof(buffer), "%Y-%m-%d %H:%M:%S", &local);
        m_out << buffer;
    } else {
        m_out << "(error retrieving time)";
    }
    m_out << " -- " << text.toStdString() << std::endl;
}

void QelLog(QelLogLevel level, char16_t const* text) {
    GlobalLogger()->Log(level, text);
}

void QelLog(QelLogLevel level, TStringCore const& text) {
    GlobalLogger()->Log(level, text);
}

QelLogger* GetQelLogger() {
    return GlobalLogger().get();
}

std::shared_ptr<QelLogger> SetQelLogger(std::shared_ptr<QelLogger> logger) {
    std::shared_ptr<QelLogger> previous = GlobalLogger();
    if (!logger)
        logger = QelNullLogger::Make();
    GlobalLogger() = std::move(logger);
    return previous;
}

}  // namespace qel::core
