#include "qel/core/functions/RegisteredFunctions.h"

#include <utility>

#include "qel/core/utility/Validation.h"

namespace qel::core {

RegisteredFunctions::RegisteredFunctions(RInternString const& name, OptionalTypeRef const& output,
                                         bool isCreator, bool isStateful)
    : m_name(name), m_output(output), m_isCreator(isCreator), m_isStateful(isStateful) {}

RegisteredFunctions::RegisteredFunctions(RInternString&& name, OptionalTypeRef const& output,
                                         bool isCreator, bool isStateful)
    : m_name(std::move(name)), m_output(output), m_isCreator(isCreator), m_isStateful(isStateful) {}

void RegisteredFunctions::SetFunction(ErasedFunction f) {
    QEL_VALIDATE_NOT_NULL(f, QelError::TransformFunctionWasNull);
    m_function = f;
}

void RegisteredFunctions::SetSpecialFunction(ErasedFunction f) {
    QEL_VALIDATE_NOT_NULL(f, QelError::TransformFunctionWasNull);
    m_specialFunction = f;
}

}  // namespace qel::core
