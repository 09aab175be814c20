#include "qel/core/types/StoreType.h"

#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

constexpr char16_t const* kNames[] = {
#define QEL_STORE_TYPE(name, ...) u## #name,
#include "qel/core/types/StoreType.def"
#undef QEL_STORE_TYPE
};

}  // namespace

bool IsCollectionStoreType(std::shared_ptr<StoreValue> const& value) {
    return IsCollectionStoreType(value->GetStoreType());
}

bool IsUniformCollectionStoreType(std::shared_ptr<StoreValue> const& value) {
    return IsUniformCollectionStoreType(value->GetStoreType());
}

TStringCore StoreTypeToString(StoreType type) {
    auto index = static_cast<unsigned>(type);
    if (index >= kStoreTypeCount)
        throw QelRuntimeException(QelError::InvalidStoreType);
    return TStringCore(kNames[index]);
}

char16_t StoreTypeToChar(StoreType type) {
    static constexpr char16_t s_types[] = {
#define QEL_STORE_TYPE(name, value, ch, ...) ch,
#include "qel/core/types/StoreType.def"
#undef QEL_STORE_TYPE
    };
    auto typeIndex = static_cast<unsigned>(type);
    // The condition's spelling is part of the logged report.
    // clang-format off
    QEL_VALIDATE(typeIndex < sizeof(s_types)/sizeof(*s_types), QelError::InvalidStoreTypeValue);
    // clang-format on
    return s_types[typeIndex];
}

StoreType StoreTypeFromChar(char16_t character) {
    for (unsigned i = 0; i < kStoreTypeCount; ++i) {
        if (detail::kStoreTypeRows[i].character == character)
            return static_cast<StoreType>(i);
    }
    throw QelRuntimeException(QelError::UnknownTypeName);
}

}  // namespace qel::core
