#pragma once

// OperatorType: what a transform does, one value per VTL operator. The order
// is fixed because VTL payloads and tables index by it; the table with each
// operator's text and its rules for literals and children is OperatorType.def.
//
// The text conversions and the predicates (which literal an operator takes,
// whether it may own child transforms) are generated from that table into
// qel/core/serialize/OperatorTypeSerializeUtils.h.
//
// noOp is the carrier of comments: a VTL line that holds only a comment reads
// as a noOp transform with that comment.

#include <cstdint>

namespace qel::core {

enum class OperatorType : std::uint8_t {
#define QEL_OPERATOR_TYPE(name, value, ...) name = value,
#include "qel/core/vtl/OperatorType.def"
#undef QEL_OPERATOR_TYPE
};

}  // namespace qel::core
