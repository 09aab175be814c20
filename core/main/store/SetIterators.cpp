#include "qel/core/store/SetIterators.h"

namespace qel::core::detail {

// Out of line, so that the iterators' inline loops carry only a call on their
// cold path.
void SetIteratorOutOfBounds() {
    ValidationFailed(SourcePath(__FILE__), __LINE__, "(m_pos != m_values->end())",
                     QelError::IteratorOutOfBounds);
}

void ValidateSetCastElementType(bool matches) {
    if (!matches) {
        ValidationFailed(SourcePath(__FILE__), __LINE__,
                         "(TypeTraits<NewCastType>::IsMatchingType(m_type->GetElementType()))",
                         QelError::TypeDoesntMatchExpectedType);
    }
}

}  // namespace qel::core::detail
