#pragma once

// The makers of primitive values, dates and colours. Each numeric, boolean
// and date maker has a twin with the suffix UniquePtr. Strings without a
// collation get the default one; those need a collator pool installed
// (RegisterDefaultCollatorPool).

#include <memory>

#include "qel/core/store/StoreValue.h"

namespace qel::core::factory {

std::shared_ptr<StoreValue> MakeBool(bool value);
std::unique_ptr<StoreValue> MakeBoolUniquePtr(bool value);
std::shared_ptr<StoreValue> MakeInt32(int value);
std::unique_ptr<StoreValue> MakeInt32UniquePtr(int value);
std::shared_ptr<StoreValue> MakeInt64(long long value);
std::unique_ptr<StoreValue> MakeInt64UniquePtr(long long value);
std::shared_ptr<StoreValue> MakeReal32(float value);
std::shared_ptr<StoreValue> MakeReal32(float value, signed char precision, signed char scale);
std::unique_ptr<StoreValue> MakeReal32UniquePtr(float value);
std::unique_ptr<StoreValue> MakeReal32UniquePtr(float value, signed char precision,
                                                signed char scale);
std::shared_ptr<StoreValue> MakeReal64(double value);
std::shared_ptr<StoreValue> MakeReal64(double value, signed char precision, signed char scale);
std::unique_ptr<StoreValue> MakeReal64UniquePtr(double value);
std::unique_ptr<StoreValue> MakeReal64UniquePtr(double value, signed char precision,
                                                signed char scale);

std::shared_ptr<StoreValue> MakeString(char16_t const* value);
std::shared_ptr<StoreValue> MakeString(TStringCore const& value);
std::shared_ptr<StoreValue> MakeString(RIndirectString const& value);
std::shared_ptr<StoreValue> MakeString(char16_t const* value, Collation const& collation);
std::shared_ptr<StoreValue> MakeString(TStringCore const& value, Collation const& collation);
std::shared_ptr<StoreValue> MakeString(RIndirectString const& value, Collation const& collation);

// Dates and date-times keep the number as given: a date may hold a time of
// day, and an out-of-range number is boxed as it is.
std::shared_ptr<StoreValue> MakeDate(QelDateTime value);
std::unique_ptr<StoreValue> MakeDateUniquePtr(QelDateTime value);
std::shared_ptr<StoreValue> MakeDateTime(QelDateTime value);
std::unique_ptr<StoreValue> MakeDateTimeUniquePtr(QelDateTime value);
// The packed value as it stands (alpha in the top byte).
std::shared_ptr<StoreValue> MakeColor(int packed);
// Validates each channel like QelColor(r, g, b, a).
std::shared_ptr<StoreValue> MakeColor(int r, int g, int b, int a);

// A special of any type (not checked). `kind` must not be Normal.
std::shared_ptr<StoreValue> MakeSpecial(Type const* type, SpecialKind kind);

}  // namespace qel::core::factory
