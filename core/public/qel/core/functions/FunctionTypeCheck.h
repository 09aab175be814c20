#pragma once

// Which store types a C++ element type of a functor can stand for, as the
// registries check keys against the functors registered under them.

#include <cstdint>
#include <memory>

#include "qel/core/functions/FunctionKey.h"
#include "qel/core/types/StoreType.h"

namespace qel::core {

class QelColor;
class QelDateTime;
class RIndirectString;
class StoreValue;

template <class T>
struct FunctionTypeCheck;

namespace detail {
constexpr std::uint32_t StoreTypeBit(StoreType type) {
    return std::uint32_t{1} << static_cast<unsigned>(type);
}
// Every store type, with no test made: a boxed value stands for anything.
inline constexpr std::uint32_t kAnyStoreType = ~std::uint32_t{0};
}  // namespace detail

#define QEL_DETAIL_TYPE_CHECK(T, bits)                    \
    template <>                                           \
    struct FunctionTypeCheck<T> {                         \
        static constexpr std::uint32_t Accepted = (bits); \
    };
QEL_DETAIL_TYPE_CHECK(bool, detail::StoreTypeBit(StoreType::Bool))
QEL_DETAIL_TYPE_CHECK(int, detail::StoreTypeBit(StoreType::Int32))
QEL_DETAIL_TYPE_CHECK(long long, detail::StoreTypeBit(StoreType::Int64))
QEL_DETAIL_TYPE_CHECK(float, detail::StoreTypeBit(StoreType::Real32))
QEL_DETAIL_TYPE_CHECK(double, detail::StoreTypeBit(StoreType::Real64))
QEL_DETAIL_TYPE_CHECK(RIndirectString, detail::StoreTypeBit(StoreType::String))
QEL_DETAIL_TYPE_CHECK(QelDateTime, detail::StoreTypeBit(StoreType::Date) |
                                       detail::StoreTypeBit(StoreType::DateTime))
QEL_DETAIL_TYPE_CHECK(QelColor, detail::StoreTypeBit(StoreType::Color))
QEL_DETAIL_TYPE_CHECK(std::shared_ptr<StoreValue>, detail::kAnyStoreType)
#undef QEL_DETAIL_TYPE_CHECK

namespace detail {
// The refusals of the registries' validators, raised from the library's
// source. `accepted` is a mask of StoreTypeBit.
void ValidateInputCount(FunctionKey const& key, std::size_t count);
void ValidateInputType(FunctionKey const& key, std::size_t index, std::uint32_t accepted);
void ValidateOutputType(FunctionKey const& key, OptionalTypeRef const& output,
                        std::uint32_t accepted);
}  // namespace detail

}  // namespace qel::core
