#pragma once

// Field-by-field comparison of programs, for tools that rewrite VTL and must
// know that the rewrite kept the meaning (a formatter, a round trip). Keys
// compare by name and type of every segment (KeyPath's own equality reads
// names only); literals by type, special kind and text, and numbers by value
// too (a literal with no text, built in memory, only by identity); functions by name and arguments;
// children recursively; comments by text. TransformSpec itself has no operator==: which of these a
// caller needs depends on the caller.

#include <vector>

#include "qel/core/utility/Base.h"
#include "qel/core/vtl/TransformSpec.h"

namespace qel::core {

// The first difference of two transform lists, or the empty text when they
// agree: where ("[2][0]" is the first child of the third transform) and what
// ("operator", "inputs", "outputs", "value", "comment", "function",
// "function id", "function argument count", "function argument N"), or
// "transforms N vs M" / "[i] children N vs M" when the counts differ.
TStringCore FindTransformDifference(std::vector<TransformSpec> const& a,
                                    std::vector<TransformSpec> const& b);

}  // namespace qel::core
