#include "core/main/store/ValueSpecial.h"

namespace qel::core {

ValueSpecial::ValueSpecial(Type const* type, SpecialKind kind) : m_type(type), m_specialKind(kind) {
    QEL_VALIDATE_NE(m_specialKind, SpecialKind::Normal, QelError::BoxedSpecialValueMustNotBeNormal);
}

std::unique_ptr<StoreValue> ValueSpecial::Clone() const {
    return std::make_unique<ValueSpecial>(m_type, m_specialKind);
}

std::unique_ptr<StoreValue> ValueSpecial::Cast(Type const* type) const {
    return std::make_unique<ValueSpecial>(type, m_specialKind);
}

int ValueSpecial::CompareImpl(StoreValue const& other) const {
    QEL_VALIDATE(GetType()->GetBaseType() == other.GetType()->GetBaseType(),
                 QelError::TypeMismatch);
    auto own = static_cast<unsigned>(m_specialKind);
    auto theirs = static_cast<unsigned>(other.GetSpecialKind());
    return own < theirs ? -1 : (own > theirs ? 1 : 0);
}

}  // namespace qel::core
