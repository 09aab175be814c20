// The benchmark driver. The library needs a collator pool before the first
// string type or collation comparison; installing it here, before any
// benchmark runs, keeps that set-up out of every measured loop.

#include <benchmark/benchmark.h>

#include "qel/core/store/Collation.h"

int main(int argc, char** argv) {
    qel::core::RegisterDefaultCollatorPool();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
