#include "qel/core/store/SpecialKind.h"

#include <mutex>
#include <unordered_map>

#include "qel/core/utility/StringHash.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

struct KindName {
    SpecialKind kind;
    char16_t const* text;
};

constexpr KindName kKindNames[] = {
#define QEL_SPECIAL_KIND(name, value) {SpecialKind::name, u## #name},
#include "qel/core/store/SpecialKind.def"
#undef QEL_SPECIAL_KIND
};
static_assert(sizeof(kKindNames) / sizeof(*kKindNames) == kSpecialKindCount);

}  // namespace

TStringCore SpecialKindToString(SpecialKind kind) {
    static std::unordered_map<SpecialKind, TStringCore> const names = [] {
        std::unordered_map<SpecialKind, TStringCore> map;
        for (auto const& row : kKindNames)
            map.emplace(row.kind, TStringCore(row.text));
        return map;
    }();
    auto it = names.find(kind);
    if (it == names.end())
        throw QelRuntimeException(QelError::IllegalSpecialKindValue);
    return it->second;
}

SpecialKind SpecialKindFromString(TStringCore const& text) {
    static std::unordered_map<TStringCore, SpecialKind> const kinds = [] {
        std::unordered_map<TStringCore, SpecialKind> map;
        for (auto const& row : kKindNames)
            map.emplace(TStringCore(row.text), row.kind);
        return map;
    }();
    auto it = kinds.find(text);
    if (it == kinds.end())
        QEL_VALIDATION_FAILED(QelError::CannotParseSpecialKind);
    return it->second;
}

}  // namespace qel::core
