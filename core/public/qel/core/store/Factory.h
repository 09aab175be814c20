#pragma once

// The makers of primitive values. Each numeric and boolean maker has a twin
// with the suffix UniquePtr. Strings without a collation get the default one;
// those need a collator pool installed (RegisterDefaultCollatorPool).

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

// A special of any type (not checked). `kind` must not be Normal.
std::shared_ptr<StoreValue> MakeSpecial(Type const* type, SpecialKind kind);

}  // namespace qel::core::factory
