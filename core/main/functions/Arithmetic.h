#pragma once

// The arithmetic of the built-in functions. Integers wrap as the machine
// does, computed on unsigned values so that overflow is defined; the one
// quotient that overflows (the lowest value divided by -1) wraps to itself
// instead of trapping. Reals follow IEEE 754.

#include <type_traits>

namespace qel::core::arithmetic {

template <class T>
T Add(T a, T b) {
    if constexpr (std::is_integral_v<T>) {
        using U = std::make_unsigned_t<T>;
        return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
    } else {
        return a + b;
    }
}

template <class T>
T Subtract(T a, T b) {
    if constexpr (std::is_integral_v<T>) {
        using U = std::make_unsigned_t<T>;
        return static_cast<T>(static_cast<U>(a) - static_cast<U>(b));
    } else {
        return a - b;
    }
}

template <class T>
T Multiply(T a, T b) {
    if constexpr (std::is_integral_v<T>) {
        using U = std::make_unsigned_t<T>;
        return static_cast<T>(static_cast<U>(a) * static_cast<U>(b));
    } else {
        return a * b;
    }
}

// REQUIRES: b != 0 for integers.
template <class T>
T Divide(T a, T b) {
    if constexpr (std::is_integral_v<T>) {
        if (b == -1)
            return Subtract(T{0}, a);
        return a / b;
    } else {
        return a / b;
    }
}

}  // namespace qel::core::arithmetic
