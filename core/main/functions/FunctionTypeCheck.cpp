#include "qel/core/functions/FunctionTypeCheck.h"

#include "qel/core/utility/Validation.h"

namespace qel::core::detail {

namespace {

bool Fits(Type const* type, std::uint32_t accepted) {
    if (accepted == kAnyStoreType)
        return true;
    return type != nullptr && (accepted & StoreTypeBit(type->GetStoreType())) != 0;
}

}  // namespace

void ValidateInputCount(FunctionKey const& key, std::size_t count) {
    if (key.GetInputTypes().size() == count)
        return;
    QEL_VALIDATION_FAILED(count == 1 ? QelError::UnaryTransformFunctionRequiresOneInputType
                                     : QelError::BinaryTransformFunctionRequiresTwoInputTypes,
                          key.GetName().GetValue());
}

void ValidateInputType(FunctionKey const& key, std::size_t index, std::uint32_t accepted) {
    QEL_VALIDATE(Fits(key.GetInputTypes()[index], accepted),
                 QelError::InputTypeMismatchOnTransformFunction, key.GetName().GetValue());
}

void ValidateOutputType(FunctionKey const& key, OptionalTypeRef const& output,
                        std::uint32_t accepted) {
    QEL_VALIDATE(Fits(output, accepted), QelError::OutputTypeMismatchOnTransformFunction,
                 key.GetName().GetValue());
}

}  // namespace qel::core::detail
