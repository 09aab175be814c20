#include "qel/core/utility/MetricsFilter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/test/Refusal.h"

namespace qel::core {
namespace {

static_assert(!MetricsFilter::PassesFilter(MetricsFilter::None));
static_assert(MetricsFilter::PassesFilter(MetricsFilter::Bits{4}));

TEST(MetricsFilterTest, ScopeIsMeasuredUnderItsNameOnlyWithASink) {
    std::vector<std::string> closed;
    metrics::MetricsSink previous =
        metrics::SetSink([&](metrics::MetricsValue const& value, std::chrono::nanoseconds) {
            closed.push_back(value.m_name + "/" + std::to_string(value.m_bits));
        });
    OpenMetricsScope("qel_core_MakeVtlPayload").reset();
    metrics::SetSink({});
    OpenMetricsScope("qel_core_ParseVtlPayload").reset();
    metrics::SetSink(std::move(previous));
    EXPECT_EQ(closed, std::vector<std::string>{"qel_core_MakeVtlPayload/0"});
    EXPECT_TRUE(test::MatchesRefusal(test::Refusal([] { OpenMetricsScope(nullptr); }),
                                     "null is not a valid argument\nmetric scope name | "
                                     "<any condition>"));
}

}  // namespace
}  // namespace qel::core
