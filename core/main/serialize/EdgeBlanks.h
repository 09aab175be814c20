#pragma once

// The scanner skips blanks around a token, so a text that scans as a single
// token may still begin or end with some. Written bare, the reader would drop
// them; the writers quote such texts instead.

#include "qel/sys/TStringCore.h"

namespace qel::core::detail {

inline bool IsBlankUnit(char16_t unit) {
    return unit == 9 || unit == 10 || unit == 11 || unit == 13 || unit == 32;
}

inline bool HasEdgeBlank(qel::sys::TStringCore const& text) {
    return !text.isEmpty() && (IsBlankUnit(text[0]) || IsBlankUnit(text[text.size() - 1]));
}

}  // namespace qel::core::detail
