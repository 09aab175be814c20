#include "qel/core/store/DictionaryIterators.h"

#include "qel/core/utility/Validation.h"

namespace qel::core::detail {

void DictionaryRefused(char const* condition, QelError error) {
    ValidationFailed(SourcePath(__FILE__), __LINE__, condition, error);
}

void DictionaryNotAKeySet(char const* condition, StoreType actual) {
    ValidationFailed(SourcePath(__FILE__), __LINE__, condition, QelError::ExpectedKeysetButWas,
                     StoreTypeToString(actual));
}

}  // namespace qel::core::detail
