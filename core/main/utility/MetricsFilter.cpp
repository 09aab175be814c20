#include "qel/core/utility/MetricsFilter.h"

#include "qel/core/utility/Validation.h"

namespace qel::core {

std::unique_ptr<metrics::Scope> OpenMetricsScope(char const* name) {
    QEL_VALIDATE_NOT_NULL(name, QelError::NullIsNotAValidArgument, "metric scope name");
    if (!MetricsFilter::PassesFilter(MetricsFilter::All))
        return nullptr;
    // The scope asks the metrics library itself whether to measure.
    return std::make_unique<metrics::Scope>(name, 0);
}

}  // namespace qel::core
