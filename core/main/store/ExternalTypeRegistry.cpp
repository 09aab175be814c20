#include "qel/core/store/ExternalTypeRegistry.h"

#include <boost/unordered_map.hpp>

#include "qel/core/store/ValueExternal.h"
#include "qel/core/utility/StringHash.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

struct ExternalTypeRegistration {
    TStringCore m_name;
    SerializeExternalFunction m_serialize;
    DeserializeExternalFunction m_deserialize;
};

struct ExternalTypeRegistry {
    boost::unordered_map<TStringCore, unsigned short, std::hash<TStringCore>> m_typeIds;
    boost::unordered_map<unsigned short, ExternalTypeRegistration> m_externalTypeRegistrations;
};

ExternalTypeRegistry& Registry() {
    static ExternalTypeRegistry registry;
    return registry;
}

[[maybe_unused]] auto const& g_registryAtStartup = Registry();

}  // namespace

void RegisterExternalType(unsigned short typeId, TStringCore const& typeName,
                          SerializeExternalFunction serializeValueFunction,
                          DeserializeExternalFunction deserializeValueFunction) {
    auto& m_typeIds = Registry().m_typeIds;
    auto& m_externalTypeRegistrations = Registry().m_externalTypeRegistrations;
    QEL_VALIDATE(m_typeIds.find(typeName) == m_typeIds.end() &&
                     m_externalTypeRegistrations.find(typeId) == m_externalTypeRegistrations.end(),
                 QelError::AnExternalTypeWithThisNameAlready);
    QEL_VALIDATE_NOT(typeName.isEmpty(), QelError::TypeNameCannotBeEmpty);
    QEL_VALIDATE_NOT_NULL(serializeValueFunction, QelError::SerializeValueFunctionCannotBeNull);
    QEL_VALIDATE_NOT_NULL(deserializeValueFunction, QelError::DeserializeValueFunctionCannotBeNull);
    m_typeIds.emplace(typeName, typeId);
    m_externalTypeRegistrations.emplace(
        typeId, ExternalTypeRegistration{typeName, std::move(serializeValueFunction),
                                         std::move(deserializeValueFunction)});
}

void ClearExternalTypes() {
    Registry().m_typeIds.clear();
    Registry().m_externalTypeRegistrations.clear();
}

TStringCore const& GetExternalTypeName(unsigned short typeId) {
    return Registry().m_externalTypeRegistrations.at(typeId).m_name;
}

unsigned short GetExternalTypeId(TStringCore const& typeName) {
    return Registry().m_typeIds.at(typeName);
}

std::vector<unsigned char> SerializeExternalType(ValueExternal const& value) {
    auto const* type = TypeAs<ExternalType>(value.GetType());
    return Registry().m_externalTypeRegistrations.at(type->GetExternalTypeId()).m_serialize(value);
}

std::shared_ptr<ValueExternal> DeserializeExternalType(unsigned short typeId,
                                                       ArrayView<unsigned char const> const& data) {
    return Registry().m_externalTypeRegistrations.at(typeId).m_deserialize(data);
}

// The name-facing half of ExternalType lives with the registry it asks.

ExternalType const* ExternalType::Get(TStringCore const& name) {
    return Get(qel::core::GetExternalTypeId(name));
}

TStringCore const& ExternalType::GetExternalTypeName() const {
    return qel::core::GetExternalTypeName(m_id);
}

TStringCore ExternalType::ToString() const {
    TStringCore text(u"x<");
    text.append(GetExternalTypeName());
    text.append(u'>');
    return text;
}

ValueExternal::ValueExternal(TStringCore const& typeName) : m_type(ExternalType::Get(typeName)) {}

}  // namespace qel::core
