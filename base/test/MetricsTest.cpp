#include "qel/metrics/Metrics.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace qel::metrics {
namespace {

using std::chrono::milliseconds;

TEST(MetricsTest, ScopesReachTheSinkInstalledWhenTheyOpenAndClose) {
    std::vector<std::string> closed;
    MetricsSink const recorder = [&](MetricsValue const& value, std::chrono::nanoseconds took) {
        bool const timed = took >= milliseconds(5);
        closed.push_back(value.m_name + "/" + std::to_string(value.m_bits) + (timed ? "" : "?"));
    };
    struct Restore {
        MetricsSink previous;
        ~Restore() { SetSink(std::move(previous)); }
    } const restore{SetSink(recorder)};
    EXPECT_TRUE(TestBitsAndContext(0x5));
    {
        Scope outer("outer", 0x5);
        Scope inner("inner", 0x2);
        std::this_thread::sleep_for(milliseconds(5));
    }
    EXPECT_EQ(closed, (std::vector<std::string>{"inner/2", "outer/5"}));

    // A scope opened with no sink stays unmeasured; one whose sink goes away
    // before it closes reports nothing.
    EXPECT_TRUE(SetSink(MetricsSink()));
    EXPECT_FALSE(TestBitsAndContext(~0ull));
    {
        Scope unmeasured("unmeasured", 1);
        SetSink(recorder);
        Scope orphaned("orphaned", 1);
        SetSink(MetricsSink());
    }
    EXPECT_EQ(closed.size(), 2u);
}

}  // namespace
}  // namespace qel::metrics
