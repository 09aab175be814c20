#include "qel/core/vtl/SortSpecTypes.h"

#include "qel/core/utility/Validation.h"

namespace qel::core {

TStringCore SortSpecOrderToString(SortSpecOrder order) {
    switch (order) {
        case SortSpecOrder::UNKNOWN:
            return TStringCore(u"UNKNOWN");
        case SortSpecOrder::ASC:
            return TStringCore(u"ASC");
        case SortSpecOrder::DESC:
            return TStringCore(u"DESC");
        case SortSpecOrder::UNORD:
            return TStringCore(u"UNORD");
    }
    QEL_VALIDATION_FAILED(QelError::Unspecified, "Unknown sort order");
}

}  // namespace qel::core
