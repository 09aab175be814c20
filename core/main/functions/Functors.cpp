#include "qel/core/functions/Functors.h"

namespace qel::core::detail {

void FunctorSizeMismatch(char const* condition) {
    ValidationFailed(SourcePath(__FILE__), __LINE__, condition,
                     QelError::VectorizedTransformFunctionHasAnInvalidArray);
}

}  // namespace qel::core::detail
