#pragma once

// A colour packed into 32 bits: alpha in bits 24-31, red 16-23, green 8-15,
// blue 0-7. The order (<, >) is that of the packed value as a signed 32-bit
// number, so an alpha of 128 or more sorts below a lower alpha.

#include <cstddef>
#include <cstdint>
#include <functional>

#include "qel/core/utility/Base.h"

namespace qel::core {

class QelColor {
public:
    constexpr QelColor() = default;
    // Packs, then validates each channel to 0..255 ("invalid red value", ...).
    QelColor(int r, int g, int b, int a);
    // Cannot fail.
    constexpr QelColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a)
        : m_value((std::uint32_t(a) << 24) | (std::uint32_t(r) << 16) | (std::uint32_t(g) << 8) |
                  std::uint32_t(b)) {}

    static constexpr QelColor FromInt32(int packed) {
        QelColor c;
        c.m_value = static_cast<std::uint32_t>(packed);
        return c;
    }
    constexpr int AsInt32() const { return static_cast<int>(m_value); }
    constexpr void SetValue(int packed) { m_value = static_cast<std::uint32_t>(packed); }

    constexpr int GetR() const { return static_cast<int>((m_value >> 16) & 0xFF); }
    constexpr int GetG() const { return static_cast<int>((m_value >> 8) & 0xFF); }
    constexpr int GetB() const { return static_cast<int>(m_value & 0xFF); }
    constexpr int GetA() const { return static_cast<int>(m_value >> 24); }
    // Validate like the constructor, then replace their one channel.
    void SetR(int r);
    void SetG(int g);
    void SetB(int b);
    void SetA(int a);

    // The packed value, sign-extended.
    constexpr std::size_t GetHashValue() const {
        return static_cast<std::size_t>(static_cast<long long>(AsInt32()));
    }
    // Alpha, red, green, blue as two hexadecimal digits each: "ff010203".
    TStringCore ToString() const;

private:
    std::uint32_t m_value = 0;
};

constexpr bool operator==(QelColor a, QelColor b) {
    return a.AsInt32() == b.AsInt32();
}
constexpr bool operator!=(QelColor a, QelColor b) {
    return a.AsInt32() != b.AsInt32();
}
constexpr bool operator<(QelColor a, QelColor b) {
    return a.AsInt32() < b.AsInt32();
}
constexpr bool operator>(QelColor a, QelColor b) {
    return a.AsInt32() > b.AsInt32();
}

}  // namespace qel::core

template <>
struct std::hash<qel::core::QelColor> {
    std::size_t operator()(qel::core::QelColor c) const noexcept { return c.GetHashValue(); }
};
