#pragma once

// The reader of VTL text: a program of transforms, one per logical line.
//
//   transform line  inputs "->" operator literal? function? "->" outputs
//   literal         ":" value (":" type)?      the type may be left out when
//                                              the operator fixes it
//   function        "(" name argument* ")"?    the end of the line closes it
//   argument        ":" value ":" type         a literal, typed
//                   | key path
//   comment         "//" text                  a noOp carrying the text
//
// Inputs and outputs are key path lists (KeyPathParser). Whatever follows
// the output list on a line is ignored.
//
// A line feed ends a logical line unless it stands inside single quotes.
// Indentation by blanks nests transforms: every two blanks are one level,
// and a line one level deeper than the one before becomes a child of that
// line's transform, which must be an operator that may own children.
//
// Every refusal is a QelRuntimeException; the text is the caller's input,
// so no text crashes the reader. Both functions are reentrant.

#include <vector>

#include "qel/core/utility/Base.h"
#include "qel/core/vtl/TransformSpec.h"

namespace qel::core {

// The top-level transforms of `text`, with their children. Comment lines
// become noOp transforms when `keepComments`, and vanish otherwise. An empty
// text, or one of blank lines only, gives no transforms.
std::vector<TransformSpec> ParseVtlList(TStringCore const& text, bool keepComments);

// As above, for tools that show a refusal where it stands: when a line is
// refused, `*refusedLine` holds the 1-based number of the physical line of
// `text` on which the refused logical line begins; after success, and for a
// refusal that concerns no line, it holds 0. `refusedLine` may be null.
std::vector<TransformSpec> ParseVtlList(TStringCore const& text, bool keepComments,
                                        int* refusedLine);

// One logical line as one transform, without children; leading blanks are
// skipped.
TransformSpec ParseVtlLine(TStringCore const& line);

}  // namespace qel::core
