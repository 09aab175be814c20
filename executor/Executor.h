#pragma once

// A small executor of VTL programs, beside the library rather than in it: it
// runs a parsed program (ParseVtlList, ParseVtlPayload) over a data store,
// transform by transform, in the order of the text, and keeps each result in
// the store under the transform's output key. It is meant for trying a
// program on real data, not for production graphs: no scheduling, no type
// inference ahead of the run, one thread.
//
// Operators that run:
//   copy      input i to output i; as many outputs as inputs. Key maps are
//             copied deeply, everything else is shared (values are
//             immutable).
//   constant  the literal to the one output.
//   map       the function over its first argument, element by element. A
//             unary function takes its further arguments (literals, or keys
//             of scalars and sets) as creator inputs; a name with no unary
//             overload runs as a binary function with a second operand, the
//             way zipWith does. Over scalars only, the result is a scalar.
//   zipWith   a binary function over two operands, arrays of one length or
//             scalars repeated along the array.
//   filter    the function (as map computes it, and returning Bool) decides
//             per element; input i, kept where the predicate equals the
//             literal (true when there is none), goes to output i. The kept
//             elements are a new index vector over the input's buffers.
//   reduce    a fold of the function's one argument, an array, from the
//             literal, or from the first element when there is no literal;
//             an empty array with no literal reduces to Null.
//   scan      the same fold, keeping every running value as a column.
//   block     its children, in order. noOp (a comment) does nothing.
// Any other operator is refused by name ("invalid operator", with "<name> is
// not supported by the executor"), before the program's first transform runs.
//
// Functions are the registry's, looked up by name and by the element types
// of the operands (FunctionKey). The plain form runs when no operand holds a
// special value and the key has one; otherwise the special form, and
// without one the transform is refused.
//
// Every key is written once: writing a key the store holds already fails
// "value already set at path: ". An output key with a type must name the
// type of what is written there. Failures are QelExceptions whose context
// names the transform (and the blocks around it); the store keeps what the
// transforms before it wrote.

#include <cstddef>
#include <vector>

#include "qel/core/store/DataStore.h"
#include "qel/core/store/KeyPath.h"
#include "qel/core/vtl/OperatorType.h"
#include "qel/core/vtl/TransformSpec.h"

namespace qel::core {
class IFunctionLookup;
}  // namespace qel::core

namespace qel::executor {

// What a run did.
struct RunSummary {
    // Transforms that ran, blocks and comments not counted.
    std::size_t transformsRun = 0;
    // Every key written, in the order of writing.
    std::vector<core::KeyPath> written;
};

// Whether the executor runs transforms of this operator.
bool IsSupportedOperator(core::OperatorType type);

class Executor {
public:
    // The registry must outlive the executor (normally one filled by
    // RegisterAllBuiltinFunctions).
    explicit Executor(core::IFunctionLookup const& functions);

    // Runs the transforms in order, descending into blocks.
    RunSummary Run(std::vector<core::TransformSpec> const& program, core::IDataStore& store) const;

private:
    core::IFunctionLookup const& m_functions;
};

// Executor(functions).Run(program, store).
RunSummary RunProgram(std::vector<core::TransformSpec> const& program, core::IDataStore& store,
                      core::IFunctionLookup const& functions);

}  // namespace qel::executor
