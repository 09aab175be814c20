#pragma once

// Floating-point comparison with a tolerance in units in the last place, and
// the library's one text form of floats. All functions are reentrant.

#include "qel/core/utility/Base.h"

namespace qel::core {

struct FloatUtil {
    // -1, 0 or 1. Equal numbers give 0; otherwise values of the same sign
    // whose bit patterns lie within `ulps` steps give 0. A NaN on either side
    // is never below the other, so it gives 1 unless the patterns are close.
    static int Compare(float a, float b, unsigned int ulps);
    static int Compare(double a, double b, unsigned int ulps);

    static bool IsNan(float x) { return x != x; }
    static bool IsNan(double x) { return x != x; }
    // A NaN or an infinity of either sign.
    static bool IsSpecial(float x);
    static bool IsSpecial(double x);
};

// "nan", "-inf", "+inf", or printf's "%.*g" with 8 significant digits for
// float and 17 for double, so that the text reads back to the same value.
template <class T>
TStringCore ConvertFloatToString(T value);

extern template TStringCore ConvertFloatToString<float>(float);
extern template TStringCore ConvertFloatToString<double>(double);

// The same digits for a finite value, written into `buffer` without a
// terminator; the count of characters written (at most 24).
template <class T>
int ConvertFloatToChars(T value, char (&buffer)[32]);

extern template int ConvertFloatToChars<float>(float, char (&)[32]);
extern template int ConvertFloatToChars<double>(double, char (&)[32]);

}  // namespace qel::core
