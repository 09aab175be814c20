#pragma once

// A date and time as one unsigned 64-bit tick count. The calendar arithmetic
// and text form come with the date values; here it is the value type that
// the typed accessors of StoreValue return.

#include <cstdint>

namespace qel::core {

class QelDateTime {
public:
    constexpr QelDateTime() = default;
    constexpr explicit QelDateTime(std::uint64_t ticks) : m_ticks(ticks) {}
    constexpr std::uint64_t GetTicks() const { return m_ticks; }
    constexpr bool operator==(QelDateTime const&) const = default;

private:
    std::uint64_t m_ticks = 0;
};

}  // namespace qel::core
