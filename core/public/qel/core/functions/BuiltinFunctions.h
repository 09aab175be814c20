#pragma once

// The built-in transform functions. RegisterAllBuiltinFunctions fills a
// registry with all of them; the order of the lists fixes the stored order of
// overloads, and so how ties resolve. A registry that holds them already
// refuses the second call at its first registration.

namespace qel::core {

class FunctionRegistry;

// Runs in the metric scope "qel_core_RegisterAllBuiltinFunctions".
void RegisterAllBuiltinFunctions(FunctionRegistry& registry);

// Filter functions: a Bool per element, some from a creator's set.
void RegisterBuiltinFilterFunctions(FunctionRegistry& registry);
// Map functions: one output element per input element.
void RegisterBuiltinMapFunctions(FunctionRegistry& registry);
// Binary folds, run through Aggregate: min, max, sum, and, or, xor and the
// counts.
void RegisterBuiltinReduceFunctions(FunctionRegistry& registry);
// Element-wise arithmetic on two columns, run through Project.
void RegisterBuiltinZipWithFunctions(FunctionRegistry& registry);
// Functions of boxed values, each returning one scalar.
void RegisterBuiltinSetValueMultiFunctions(FunctionRegistry& registry);

}  // namespace qel::core
