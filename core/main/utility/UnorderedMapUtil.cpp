#include "qel/core/utility/UnorderedMapUtil.h"

#include "qel/core/utility/Validation.h"

namespace qel::core::detail {

void UnorderedMapRefused(char const* condition, QelError error) {
    ValidationFailed(SourcePath(__FILE__), __LINE__, condition, error);
}

}  // namespace qel::core::detail
