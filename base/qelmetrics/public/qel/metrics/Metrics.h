#pragma once

// Scoped metrics. A Scope measures the wall time of the code it spans and
// hands the result to the installed sink when it closes. With no sink
// installed, TestBitsAndContext says no and a scope costs one test.
//
// SetSink is a set-up call: install the sink before other threads open scopes.

#include <chrono>
#include <functional>
#include <string>

namespace qel::metrics {

struct MetricsValue {
    std::string m_name;
    unsigned long long m_bits = 0;
};

// Receives every closed scope: its name and its duration.
using MetricsSink = std::function<void(MetricsValue const&, std::chrono::nanoseconds)>;

// Installs a sink and returns the previous one; an empty sink turns metrics off.
MetricsSink SetSink(MetricsSink sink);

// Whether a scope with these bits would be measured now.
bool TestBitsAndContext(unsigned long long bits);

class Scope {
public:
    Scope(char const* name, unsigned long long bits) { Open(name, bits); }
    ~Scope();
    Scope(Scope const&) = delete;
    Scope& operator=(Scope const&) = delete;

private:
    void Open(char const* name, unsigned long long bits) {
        if (TestBitsAndContext(bits))
            OpenImpl(MetricsValue{name, bits});
    }
    void OpenImpl(MetricsValue&& value);

    bool m_open = false;
    MetricsValue m_value;
    std::chrono::steady_clock::time_point m_start;
};

}  // namespace qel::metrics
