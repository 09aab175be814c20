#include "qel/core/functions/BuiltinFunctions.h"

#include "qel/core/functions/FunctionRegistry.h"
#include "qel/core/utility/MetricsFilter.h"

namespace qel::core {

void RegisterAllBuiltinFunctions(FunctionRegistry& registry) {
    auto const scope = OpenMetricsScope("qel_core_RegisterAllBuiltinFunctions");
    RegisterBuiltinFilterFunctions(registry);
    RegisterBuiltinMapFunctions(registry);
    RegisterBuiltinReduceFunctions(registry);
    RegisterBuiltinSetValueMultiFunctions(registry);
    RegisterBuiltinZipWithFunctions(registry);
}

}  // namespace qel::core
