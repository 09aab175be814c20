#include "core/main/functions/CreatorValues.h"

#include "qel/core/types/Type.h"
#include "qel/core/utility/Validation.h"

namespace qel::core::functions {

std::shared_ptr<StoreValue> const& CreatorValue(CreatorInputs const& values) {
    QEL_VALIDATE(!values.empty(), QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_NOT_NULL(values[0], QelError::NullIsNotAValidArgument);
    return values[0];
}

QelDateTime FetchDateTime(StoreValue const& value) {
    Type const* const type = value.GetType();
    if (type->Is(StoreType::Date))
        return value.AsDate();
    if (type->Is(StoreType::DateTime))
        return value.AsDateTime();
    QEL_VALIDATION_FAILED(QelError::ExpectedDateButWas, type->ToString());
}

}  // namespace qel::core::functions
