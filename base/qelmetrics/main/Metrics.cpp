#include "qel/metrics/Metrics.h"

#include <utility>

namespace qel::metrics {

namespace {

MetricsSink& Sink() {
    static MetricsSink sink;
    return sink;
}

}  // namespace

MetricsSink SetSink(MetricsSink sink) {
    std::swap(Sink(), sink);
    return sink;
}

// Bits narrow which scopes are wanted; with a sink installed every scope is.
bool TestBitsAndContext(unsigned long long) {
    return static_cast<bool>(Sink());
}

void Scope::OpenImpl(MetricsValue&& value) {
    m_value = std::move(value);
    m_open = true;
    m_start = std::chrono::steady_clock::now();
}

Scope::~Scope() {
    if (!m_open)
        return;
    auto elapsed = std::chrono::steady_clock::now() - m_start;
    if (MetricsSink const& sink = Sink()) {
        sink(m_value, std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed));
    }
}

}  // namespace qel::metrics
