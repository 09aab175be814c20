#include "qel/core/store/Factory.h"

#include "core/main/store/DateColorValues.h"
#include "core/main/store/PrimitiveValues.h"
#include "core/main/store/ValueSpecial.h"

namespace qel::core::factory {

std::shared_ptr<StoreValue> MakeBool(bool value) {
    return std::make_shared<ValueBool>(value);
}
std::unique_ptr<StoreValue> MakeBoolUniquePtr(bool value) {
    return std::make_unique<ValueBool>(value);
}

std::shared_ptr<StoreValue> MakeInt32(int value) {
    return std::make_shared<ValueInt32>(value);
}
std::unique_ptr<StoreValue> MakeInt32UniquePtr(int value) {
    return std::make_unique<ValueInt32>(value);
}

std::shared_ptr<StoreValue> MakeInt64(long long value) {
    return std::make_shared<ValueInt64>(value);
}
std::unique_ptr<StoreValue> MakeInt64UniquePtr(long long value) {
    return std::make_unique<ValueInt64>(value);
}

std::shared_ptr<StoreValue> MakeReal32(float value) {
    return std::make_shared<ValueReal32>(RealType::Get32(), value);
}
std::shared_ptr<StoreValue> MakeReal32(float value, signed char precision, signed char scale) {
    return std::make_shared<ValueReal32>(RealType::Get32(precision, scale), value);
}
std::unique_ptr<StoreValue> MakeReal32UniquePtr(float value) {
    return std::make_unique<ValueReal32>(RealType::Get32(), value);
}
std::unique_ptr<StoreValue> MakeReal32UniquePtr(float value, signed char precision,
                                                signed char scale) {
    return std::make_unique<ValueReal32>(RealType::Get32(precision, scale), value);
}

std::shared_ptr<StoreValue> MakeReal64(double value) {
    return std::make_shared<ValueReal64>(RealType::Get64(), value);
}
std::shared_ptr<StoreValue> MakeReal64(double value, signed char precision, signed char scale) {
    return std::make_shared<ValueReal64>(RealType::Get64(precision, scale), value);
}
std::unique_ptr<StoreValue> MakeReal64UniquePtr(double value) {
    return std::make_unique<ValueReal64>(RealType::Get64(), value);
}
std::unique_ptr<StoreValue> MakeReal64UniquePtr(double value, signed char precision,
                                                signed char scale) {
    return std::make_unique<ValueReal64>(RealType::Get64(precision, scale), value);
}

std::shared_ptr<StoreValue> MakeString(char16_t const* value) {
    return MakeString(RIndirectString(value));
}
std::shared_ptr<StoreValue> MakeString(TStringCore const& value) {
    return MakeString(RIndirectString(value));
}
std::shared_ptr<StoreValue> MakeString(RIndirectString const& value) {
    return std::make_shared<ValueString>(StringType::Get(), value);
}
std::shared_ptr<StoreValue> MakeString(char16_t const* value, Collation const& collation) {
    return MakeString(RIndirectString(value), collation);
}
std::shared_ptr<StoreValue> MakeString(TStringCore const& value, Collation const& collation) {
    return MakeString(RIndirectString(value), collation);
}
std::shared_ptr<StoreValue> MakeString(RIndirectString const& value, Collation const& collation) {
    return std::make_shared<ValueString>(StringType::Get(collation), value);
}

std::shared_ptr<StoreValue> MakeDate(QelDateTime value) {
    return std::make_shared<ValueDate>(value);
}
std::unique_ptr<StoreValue> MakeDateUniquePtr(QelDateTime value) {
    return std::make_unique<ValueDate>(value);
}
std::shared_ptr<StoreValue> MakeDateTime(QelDateTime value) {
    return std::make_shared<ValueDateTime>(value);
}
std::unique_ptr<StoreValue> MakeDateTimeUniquePtr(QelDateTime value) {
    return std::make_unique<ValueDateTime>(value);
}

std::shared_ptr<StoreValue> MakeColor(int packed) {
    return std::make_shared<ValueColor>(QelColor::FromInt32(packed));
}
std::shared_ptr<StoreValue> MakeColor(int r, int g, int b, int a) {
    return std::make_shared<ValueColor>(QelColor(r, g, b, a));
}

std::shared_ptr<StoreValue> MakeSpecial(Type const* type, SpecialKind kind) {
    return std::make_shared<ValueSpecial>(type, kind);
}

}  // namespace qel::core::factory
