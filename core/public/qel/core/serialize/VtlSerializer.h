#pragma once

// The writer of VTL text: the inverse of VtlParser, so that text it writes
// reads back as the same transforms. The form is fixed to the byte, which
// lets a written program be compared as text and makes writing a fixed
// point after the first pass.
//
//   "  " * level  ("//" comment)?
//   (input " ")* "-> " operator (" :" literal (":" type)?)?
//       (" (" name (" " argument)* ")")? " ->" (" " output)*
//
// The type follows a transform's literal only when the operator takes a
// literal of any type; a function's literal always carries it. Children
// follow their parent, each on its own line, one level deeper.
//
// A literal must be a primitive value and not External; anything else is a
// QelRuntimeException. The text is built in memory; nothing is written
// elsewhere. All functions are reentrant.

#include <vector>

#include "qel/core/utility/Base.h"
#include "qel/core/vtl/FunctionSpec.h"
#include "qel/core/vtl/TransformSpec.h"

namespace qel::core {

class KeyPathSerializerCache;

// Each transform at level 0 and its line feed, the last one included. Without
// `keepComments`, top-level noOps are left out entirely (children keep
// theirs). A null `cache` makes one for this call, so that each key segment's
// text is computed once per run.
TStringCore TransformsToString(std::vector<TransformSpec> const& transforms, bool keepComments,
                               KeyPathSerializerCache* cache);
// The text for a payload: comments left out.
TStringCore TransformsToPayloadString(std::vector<TransformSpec> const& transforms,
                                      KeyPathSerializerCache* cache);

// Appends one transform with its children at `level` (two blanks each),
// without a final line feed.
void TransformToString(TStringCore& out, int level, TransformSpec const& spec);
void TransformToString(TStringCore& out, TransformSpec const& spec);
TStringCore TransformToString(TransformSpec const& spec);

// The function's name and arguments, without the parentheses.
TStringCore FunctionToString(FunctionSpec const& function);

// The pieces the functions above are made of; `cache` may be null.
void TransformToStringWithCache(TStringCore& out, int level, TransformSpec const& spec,
                                KeyPathSerializerCache* cache);
void BuildFunction(TStringCore& out, FunctionSpec const& function, KeyPathSerializerCache* cache);
// A literal's value as VTL writes it, without its type.
TStringCore BuildPrimitiveValue(StoreValue const& value);

}  // namespace qel::core
