#include "qel/core/store/ArrayIterators.h"

namespace qel::core::detail {

// Out of line, so that the iterators' inline loops carry only a call on their
// cold path.
void ArrayIteratorOutOfBounds() {
    ValidationFailed(SourcePath(__FILE__), __LINE__, "(m_pos < m_size)",
                     QelError::IteratorOutOfBounds);
}

void ValidateCastElementType(bool matches) {
    if (!matches) {
        ValidationFailed(SourcePath(__FILE__), __LINE__,
                         "(TypeTraits<NewCastType>::IsMatchingType(m_type->GetElementType()))",
                         QelError::TypeDoesntMatchExpectedType);
    }
}

void ValidateAdapterElementType(bool matches) {
    if (!matches) {
        ValidationFailed(SourcePath(__FILE__), __LINE__,
                         "(TypeTraits<T>::IsMatchingType(elementType))",
                         QelError::TypeDoesntMatchExpectedType);
    }
}

}  // namespace qel::core::detail
