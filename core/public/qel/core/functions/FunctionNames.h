#pragma once

// The names of the built-in transform functions. NEGATE and SUBTRACT share
// "-": the first is unary, the second binary. Nothing built in is registered
// under COMPARE and COMPARE_DESC; hosts use them for functions of their own.

namespace qel::core::FunctionNames {

// clang-format off
inline constexpr char16_t const* FILTER_NULL_AND_MISSING = u"filterNullAndMissing";
inline constexpr char16_t const* KEEP_ONLY = u"keepOnly";
inline constexpr char16_t const* KEEP_ONLY_NORMAL = u"keepOnlyNormal";
inline constexpr char16_t const* KEEP_ONLY_FALSE = u"keepOnlyFalse";
inline constexpr char16_t const* KEEP_ONLY_FIRST = u"keepOnlyFirst";
inline constexpr char16_t const* KEEP_ONLY_TRUE = u"keepOnlyTrue";
inline constexpr char16_t const* ABS = u"abs";
inline constexpr char16_t const* ADD_CONSTANT = u"addConstant";
inline constexpr char16_t const* DEC = u"dec";
inline constexpr char16_t const* DIVIDE_CONSTANT = u"divideConstant";
inline constexpr char16_t const* EQUAL_TO_VALUE = u"equalToValue";
inline constexpr char16_t const* EXP = u"exp";
inline constexpr char16_t const* FLOOR = u"floor";
inline constexpr char16_t const* GET_MONTH = u"getMonth";
inline constexpr char16_t const* GET_YEAR = u"getYear";
inline constexpr char16_t const* GET_ISO_WEEK = u"getISOWeek";
inline constexpr char16_t const* GET_ISO_YEAR = u"getISOYear";
inline constexpr char16_t const* GREATER_THAN = u">";
inline constexpr char16_t const* ASSIGN = u"=";
inline constexpr char16_t const* INC = u"inc";
inline constexpr char16_t const* IS_IN_SET = u"isInSet";
inline constexpr char16_t const* IS_NOT_IN_SET = u"isNotInSet";
inline constexpr char16_t const* LESS_THAN = u"<";
inline constexpr char16_t const* LN = u"ln";
inline constexpr char16_t const* MULTIPLY_CONSTANT = u"multiplyConstant";
inline constexpr char16_t const* NEGATE = u"-";
inline constexpr char16_t const* NORMALIZE = u"normalize";
inline constexpr char16_t const* SQRT = u"sqrt";
inline constexpr char16_t const* SYMLOG = u"symlog";
inline constexpr char16_t const* SYMLOGINV = u"symloginv";
inline constexpr char16_t const* TO_INT32 = u"toInt32";
inline constexpr char16_t const* TO_INT64 = u"toInt64";
inline constexpr char16_t const* TO_REAL32 = u"toReal32";
inline constexpr char16_t const* TO_REAL64 = u"toReal64";
inline constexpr char16_t const* TO_COLOR = u"toColor";
inline constexpr char16_t const* TO_DATETIME = u"toDateTime";
inline constexpr char16_t const* AND = u"and";
inline constexpr char16_t const* COUNT = u"count";
inline constexpr char16_t const* COUNT_ALL = u"countAll";
inline constexpr char16_t const* COUNT_SPECIALS = u"countSpecials";
inline constexpr char16_t const* COUNT_NEGATIVES = u"countNegatives";
inline constexpr char16_t const* COUNT_NULLS = u"countNulls";
inline constexpr char16_t const* OR = u"or";
inline constexpr char16_t const* SUM = u"sum";
inline constexpr char16_t const* XOR = u"xor";
inline constexpr char16_t const* COMPARE = u"compare";
inline constexpr char16_t const* COMPARE_DESC = u"compareDesc";
inline constexpr char16_t const* ADD = u"+";
inline constexpr char16_t const* BITOR = u"bitor";
inline constexpr char16_t const* MULTIPLY = u"*";
inline constexpr char16_t const* DIVIDE = u"/";
inline constexpr char16_t const* SUBTRACT = u"-";
inline constexpr char16_t const* MAX = u"max";
inline constexpr char16_t const* MIN = u"min";
inline constexpr char16_t const* EQUAL_TO = u"==";
inline constexpr char16_t const* GREATER_THAN_OR_EQUAL = u">=";
inline constexpr char16_t const* IS_FALSE = u"isFalse";
inline constexpr char16_t const* IS_TRUE = u"isTrue";
inline constexpr char16_t const* LESS_THAN_OR_EQUAL = u"<=";
inline constexpr char16_t const* NOT_EQUAL_TO = u"!=";
// clang-format on

}  // namespace qel::core::FunctionNames
