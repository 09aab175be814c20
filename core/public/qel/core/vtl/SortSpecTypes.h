#pragma once

// The order a producer declares for a column. It is metadata: nothing
// verifies it, and a copy that may have lost the order says UNKNOWN. Arrays
// carry it, and the binary protocol writes it as one byte.

#include <cstdint>

#include "qel/core/utility/Base.h"

namespace qel::core {

enum class SortSpecOrder : std::uint8_t {
    UNKNOWN = 0,
    ASC = 1,
    DESC = 2,
    UNORD = 3,
};

// "UNKNOWN", "ASC", "DESC" or "UNORD". A byte above 3 (read from a damaged
// payload) fails "unspecified Vantrel Runtime error" with the details
// "Unknown sort order".
TStringCore SortSpecOrderToString(SortSpecOrder order);

}  // namespace qel::core
