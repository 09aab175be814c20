#include "core/main/store/DateColorValues.h"

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

void ValidateCastTarget(Type const* type) {
    QEL_VALIDATE_NOT_NULL(type, QelError::IllegalTypeCast);
}

[[noreturn]] void IllegalCast() {
    QEL_VALIDATION_FAILED(QelError::IllegalTypeCast);
}

}  // namespace

// ---------------------------------------------------------------------------
// ValueDate

std::unique_ptr<StoreValue> ValueDate::Clone() const {
    return std::make_unique<ValueDate>(m_value);
}

std::unique_ptr<StoreValue> ValueDate::Cast(Type const* type) const {
    ValidateCastTarget(type);
    switch (type->GetStoreType()) {
        case StoreType::Date:
            return Clone();
        case StoreType::DateTime:
            return std::make_unique<ValueDateTime>(m_value);
        default:
            IllegalCast();
    }
}

int ValueDate::CompareImpl(StoreValue const& other) const {
    return m_value.CompareTo(other.AsDate());
}

// ---------------------------------------------------------------------------
// ValueDateTime

std::unique_ptr<StoreValue> ValueDateTime::Clone() const {
    return std::make_unique<ValueDateTime>(m_value);
}

std::unique_ptr<StoreValue> ValueDateTime::Cast(Type const* type) const {
    ValidateCastTarget(type);
    switch (type->GetStoreType()) {
        case StoreType::Date:
            return std::make_unique<ValueDate>(m_value);
        case StoreType::DateTime:
            return Clone();
        default:
            IllegalCast();
    }
}

int ValueDateTime::CompareImpl(StoreValue const& other) const {
    return m_value.CompareTo(other.AsDateTime());
}

// ---------------------------------------------------------------------------
// ValueColor

std::unique_ptr<StoreValue> ValueColor::Clone() const {
    return std::make_unique<ValueColor>(m_value);
}

int ValueColor::CompareImpl(StoreValue const& other) const {
    QelColor const y = other.AsColor();
    return m_value < y ? -1 : (m_value > y ? 1 : 0);
}

}  // namespace qel::core
