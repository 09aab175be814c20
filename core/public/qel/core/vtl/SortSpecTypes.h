#pragma once

#include "qel/core/store/SortSpecOrder.h"
#include "qel/core/utility/Base.h"

namespace qel::core {

// "UNKNOWN", "ASC", "DESC" or "UNORD". A byte above 3 (read from a damaged
// payload) fails "unspecified Vantrel Runtime error" with the details
// "Unknown sort order".
TStringCore SortSpecOrderToString(SortSpecOrder order);

}  // namespace qel::core
