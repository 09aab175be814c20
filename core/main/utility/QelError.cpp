#include "qel/core/utility/QelError.h"

namespace qel::core {

namespace {

constexpr char const* kCatalogue[] = {
#define QEL_ERROR(name, value, text) text,
#include "qel/core/utility/QelErrorCatalogue.h"
#undef QEL_ERROR
};
static_assert(sizeof(kCatalogue) / sizeof(*kCatalogue) == kQelErrorCount);

// The rows must be listed in value order, since the table is indexed by value.
constexpr bool RowsInOrder() {
    std::uint32_t expected = 0;
#define QEL_ERROR(name, value, text) \
    if (value != expected++)         \
        return false;
#include "qel/core/utility/QelErrorCatalogue.h"
#undef QEL_ERROR
    return true;
}
static_assert(RowsInOrder());

}  // namespace

char const* ErrorToCString(QelError error) noexcept {
    auto index = static_cast<std::uint32_t>(error);
    if (index >= kQelErrorCount)
        index = static_cast<std::uint32_t>(QelError::Unspecified);
    return kCatalogue[index];
}

TStringCore ErrorToString(QelError error) {
    return TStringCore(ErrorToCString(error));
}

}  // namespace qel::core
