#pragma once

// Format: the text of a plain value, as messages, logs and the text forms of
// values spell it. Integers are decimal; floats use the library's one float
// text (ConvertFloatToString), which reads back to the same value. All
// overloads are reentrant; only a date-time can fail, as its ToString does.

#include "qel/core/utility/Base.h"
#include "qel/core/utility/QelColor.h"
#include "qel/core/utility/QelDateTime.h"

namespace qel::core {

class RIndirectString;

// "true" or "false".
TStringCore Format(bool value);
TStringCore Format(int value);
TStringCore Format(unsigned int value);
TStringCore Format(long long value);
TStringCore Format(unsigned long long value);
// A null pointer gives the empty text.
TStringCore Format(char16_t const* text);
TStringCore Format(TStringCore const& text);
TStringCore Format(RIndirectString const& text);
TStringCore Format(float value);
TStringCore Format(double value);
TStringCore Format(QelColor color);
TStringCore Format(QelDateTime dateTime);
// Narrow text would silently convert to bool and format as "true"; make that
// a compile error instead.
TStringCore Format(char const* text) = delete;

}  // namespace qel::core
