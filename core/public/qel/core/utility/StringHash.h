#pragma once

// The hash of a text: lookup2 over its code units as bytes, seed 0xdeadbeef.
// Equal texts hash alike on every platform of the same byte order.

#include <cstddef>
#include <functional>

#include "qel/core/utility/Base.h"
#include "qel/core/utility/Hash.h"

namespace qel::core {

inline constexpr unsigned int kStringHashSeed = 0xdeadbeef;

inline std::size_t HashString(TStringCore const& text) {
    return Hash(text.constData(), static_cast<unsigned long>(text.size()) * sizeof(char16_t),
                kStringHashSeed);
}

}  // namespace qel::core

template <>
struct std::hash<qel::sys::TStringCore> {
    std::size_t operator()(qel::sys::TStringCore const& text) const {
        return qel::core::HashString(text);
    }
};
