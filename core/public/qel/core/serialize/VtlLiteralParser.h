#pragma once

// A type and literal text to a primitive StoreValue. A special keyword
// (Null, Missing, ...) gives a special of the type, whatever the type; other
// text is read by the type's store type with the functions of Parser.h.
// FormatPrimitive is the way back, except that strings, dates and colours
// are written without the quotes needed to read them.

#include <memory>

#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/StoreValue.h"

namespace qel::core {

// Reads one literal from the scanner. A type that has no literal form
// (tuples, external types, collections) fails "cannot make StoreValue for
// given key" unless the literal is a special.
std::shared_ptr<StoreValue> ParseVtlLiteral(Type const* type, VtlScanner& scanner);

// The whole text must be one literal; anything after it fails "unexpected
// token" with the text as details.
std::shared_ptr<StoreValue> ParsePrimitive(Type const* type, TStringCore const& text);

}  // namespace qel::core
