#include "qel/core/utility/Hash.h"

#include <cstdint>
#include <cstring>

namespace qel::core {

namespace {

// clang-format off
inline void Mix(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c) {
    a -= b; a -= c; a ^= (c >> 13);
    b -= c; b -= a; b ^= (a << 8);
    c -= a; c -= b; c ^= (b >> 13);
    a -= b; a -= c; a ^= (c >> 12);
    b -= c; b -= a; b ^= (a << 16);
    c -= a; c -= b; c ^= (b >> 5);
    a -= b; a -= c; a ^= (c >> 3);
    b -= c; b -= a; b ^= (a << 10);
    c -= a; c -= b; c ^= (b >> 15);
}
// clang-format on

// A little-endian word; the library only runs on little-endian processors.
inline std::uint32_t Word(unsigned char const* p) {
    std::uint32_t w;
    std::memcpy(&w, p, sizeof(w));
    return w;
}

}  // namespace

unsigned int Hash(void const* data, unsigned long length, unsigned int seed) {
    auto const* k = static_cast<unsigned char const*>(data);
    auto const total = static_cast<std::uint32_t>(length);
    std::uint32_t len = total;
    std::uint32_t a = 0x9e3779b9;
    std::uint32_t b = 0x9e3779b9;
    std::uint32_t c = seed;
    while (len >= 12) {
        a += Word(k);
        b += Word(k + 4);
        c += Word(k + 8);
        Mix(a, b, c);
        k += 12;
        len -= 12;
    }
    c += total;
    // The lowest byte of c is reserved for the length.
    switch (len) {
        case 11:
            c += static_cast<std::uint32_t>(k[10]) << 24;
            [[fallthrough]];
        case 10:
            c += static_cast<std::uint32_t>(k[9]) << 16;
            [[fallthrough]];
        case 9:
            c += static_cast<std::uint32_t>(k[8]) << 8;
            [[fallthrough]];
        case 8:
            b += static_cast<std::uint32_t>(k[7]) << 24;
            [[fallthrough]];
        case 7:
            b += static_cast<std::uint32_t>(k[6]) << 16;
            [[fallthrough]];
        case 6:
            b += static_cast<std::uint32_t>(k[5]) << 8;
            [[fallthrough]];
        case 5:
            b += k[4];
            [[fallthrough]];
        case 4:
            a += static_cast<std::uint32_t>(k[3]) << 24;
            [[fallthrough]];
        case 3:
            a += static_cast<std::uint32_t>(k[2]) << 16;
            [[fallthrough]];
        case 2:
            a += static_cast<std::uint32_t>(k[1]) << 8;
            [[fallthrough]];
        case 1:
            a += k[0];
            [[fallthrough]];
        default:
            break;
    }
    Mix(a, b, c);
    return c;
}

}  // namespace qel::core
