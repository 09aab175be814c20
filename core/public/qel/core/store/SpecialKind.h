#pragma once

// SpecialKind: what stands in for a missing or unusable value. Normal marks an
// ordinary value and is never boxed as a special. The order is the sort order
// of specials: after all normal values of their base type, Null first.

#include <cstdint>

#include "qel/core/utility/Base.h"

namespace qel::core {

enum class SpecialKind : std::uint8_t {
#define QEL_SPECIAL_KIND(name, value) name = value,
#include "qel/core/store/SpecialKind.def"
#undef QEL_SPECIAL_KIND
};

inline constexpr unsigned kSpecialKindCount = 10;

// "Null", "Missing", ...; a value outside the enumeration throws "illegal
// special kind value".
TStringCore SpecialKindToString(SpecialKind kind);
// The exact, case-sensitive inverse (also of "Normal"); any other text throws
// "cannot parse special kind".
SpecialKind SpecialKindFromString(TStringCore const& text);

}  // namespace qel::core
