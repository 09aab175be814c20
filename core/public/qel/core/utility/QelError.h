#pragma once

// QelError is the one catalogue of failures of the library and of the engine
// above it. Values 0 to 403 are the catalogue's rows; the value is passed as a
// 32-bit number, so a host may hold codes that are not rows (404 and up),
// which ErrorToString shows with the text of Unspecified.

#include "qel/core/utility/Base.h"

namespace qel::core {

enum class QelError : std::uint32_t {
#define QEL_ERROR(name, value, text) name = value,
#include "qel/core/utility/QelErrorCatalogue.h"
#undef QEL_ERROR
};

inline constexpr std::uint32_t kQelErrorCount = 404;

// The catalogue's text of a code; codes past the catalogue give the text of
// QelError::Unspecified.
TStringCore ErrorToString(QelError error);

// The same text as narrow UTF-8, without building a TStringCore.
char const* ErrorToCString(QelError error) noexcept;

}  // namespace qel::core
