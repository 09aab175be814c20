#include "qel/core/vtl/ValueSpec.h"

#include <utility>

#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

ValueSpec::ValueSpec() noexcept = default;

ValueSpec::ValueSpec(std::shared_ptr<StoreValue> const& input) : m_value(input) {
    QEL_VALIDATE_NOT_NULL(input, QelError::Unspecified);
}

ValueSpec::ValueSpec(KeyPath const& input) {
    // An empty key would name the root of the store, never an argument.
    QEL_VALIDATE_NOT(input.IsEmpty(), QelError::Unspecified);
    m_keyPath = std::make_unique<KeyPath>(input);
}

ValueSpec::ValueSpec(ValueSpec const& other)
    : m_value(other.m_value),
      m_keyPath(other.m_keyPath ? std::make_unique<KeyPath>(*other.m_keyPath) : nullptr) {}

ValueSpec::ValueSpec(ValueSpec&& other) noexcept = default;

ValueSpec& ValueSpec::operator=(ValueSpec const& other) {
    if (this != &other) {
        // Build the copy first, so that a failed allocation leaves *this whole.
        auto keyPath = other.m_keyPath ? std::make_unique<KeyPath>(*other.m_keyPath) : nullptr;
        m_value = other.m_value;
        m_keyPath = std::move(keyPath);
    }
    return *this;
}

ValueSpec& ValueSpec::operator=(ValueSpec&& other) noexcept = default;

ValueSpec::~ValueSpec() = default;

bool ValueSpec::IsKey() const {
    if (m_keyPath != nullptr)
        return true;
    QEL_VALIDATE_LOGIC_NOT_NULL(m_value, QelError::Unspecified);
    return false;
}

std::shared_ptr<StoreValue> const& ValueSpec::GetValue() const {
    QEL_VALIDATE_NOT(IsKey(), QelError::ValueSpecInstanceContainsAKeyNotA);
    QEL_VALIDATE_NOT_NULL(m_value, QelError::Unspecified);
    return m_value;
}

KeyPath const& ValueSpec::GetKeyPath() const {
    QEL_VALIDATE(IsKey(), QelError::ValueSpecInstanceContainsAValueNotA);
    return *m_keyPath;
}

KeyPath& ValueSpec::GetKeyPath() {
    QEL_VALIDATE(IsKey(), QelError::ValueSpecInstanceContainsAValueNotA);
    return *m_keyPath;
}

}  // namespace qel::core
