#include "qel/core/serialize/OperatorTypeSerializeUtils.h"

#include <string_view>

#include "qel/core/utility/Validation.h"

namespace qel::core {

TStringCore OperatorTypeToString(OperatorType type) {
    static constexpr auto& s_strings = detail::kOperatorTypeTexts;
    auto const typeIndex = static_cast<std::size_t>(type);
    // The condition's spelling is part of the logged report.
    // clang-format off
    QEL_VALIDATE_LE(typeIndex, (sizeof(s_strings)/sizeof(*(s_strings))) - 1, QelError::Unspecified);
    // clang-format on
    return TStringCore(s_strings[typeIndex]);
}

OperatorType OperatorTypeFromString(TStringCore const& text) {
    // 33 short texts: a scan costs less than building and locking a map, and
    // a program is read once per load.
    std::u16string_view const wanted(text.view());
    for (unsigned i = 0; i < kOperatorTypeCount; ++i) {
        if (wanted == detail::kOperatorTypeTexts[i])
            return static_cast<OperatorType>(i);
    }
    QEL_VALIDATION_FAILED(QelError::UnknownTypeName, text);
}

StoreType OperatorStoreType(OperatorType type) {
    StoreType storeType{};
    if (!detail::FindOperatorStoreType(type, storeType))
        QEL_VALIDATION_FAILED(QelError::OperatorDoesNotExpectASpecificStoreType);
    return storeType;
}

}  // namespace qel::core
