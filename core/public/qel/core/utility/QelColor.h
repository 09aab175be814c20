#pragma once

// A colour packed into 32 bits. Channel access and validation come with the
// colour values; here it is the value type that StoreValue::AsColor returns.

#include <cstdint>

namespace qel::core {

class QelColor {
public:
    constexpr QelColor() = default;
    constexpr explicit QelColor(std::uint32_t packed) : m_packed(packed) {}
    constexpr std::uint32_t GetPacked() const { return m_packed; }
    constexpr bool operator==(QelColor const&) const = default;

private:
    std::uint32_t m_packed = 0;
};

}  // namespace qel::core
