#include "qel/core/utility/ArrayView.h"

namespace qel::core::detail {

void ArrayViewOutOfBounds(char const* condition) {
    ValidationFailed(SourcePath(__FILE__), __LINE__, condition, QelError::IndexOutOfBounds);
}

}  // namespace qel::core::detail
