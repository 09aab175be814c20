#pragma once

// The order a producer declares for a column. It is metadata: nothing
// verifies it, and a copy that may have lost the order says UNKNOWN. Arrays
// carry it, and the binary protocol writes it as one byte. Its text form
// belongs to the transforms (SortSpecTypes.h).

#include <cstdint>

namespace qel::core {

enum class SortSpecOrder : std::uint8_t {
    UNKNOWN = 0,
    ASC = 1,
    DESC = 2,
    UNORD = 3,
};

}  // namespace qel::core
