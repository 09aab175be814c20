#pragma once

// Metric scopes of the library. A few long operations (registering the
// builtin functions, making and parsing a VTL payload) are measured: each
// opens a scope through OpenMetricsScope for its whole duration. Whether a
// scope is measured is the metrics library's decision (it is when a sink is
// installed). With metrics off an operation pays for the scope's allocation
// and its one test; the filter test below is a constant and folds away.

#include <memory>

#include "qel/metrics/Metrics.h"

namespace qel::core {

class MetricsFilter {
public:
    // Groups of measured operations. The library's scopes ask for All.
    enum Bits : unsigned long long {
        None = 0,
        All = ~0ull,
    };

    // Whether scopes of the groups in `bits` may open: any bit passes.
    static constexpr bool PassesFilter(Bits bits) { return bits != None; }
};

// Opens the metric scope `name` (with bits 0) for as long as the result
// lives, when the filter passes All; a null result means nothing is
// measured. Use a literal name, such as "qel_core_MakeVtlPayload".
// Throws QelRuntimeException (NullIsNotAValidArgument) for a null name.
std::unique_ptr<metrics::Scope> OpenMetricsScope(char const* name);

}  // namespace qel::core
