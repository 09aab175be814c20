#pragma once

// What the creators of the built-in functions read from their creator input
// values: a constant of the function's element type, or a set of it. The
// executing layer has checked the values against the creator input types;
// a missing or null value still fails cleanly, "null is not a valid
// argument", rather than being read.

#include <memory>
#include <type_traits>
#include <vector>

#include "qel/core/store/SetAdapter.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/QelDateTime.h"

namespace qel::core::functions {

using CreatorInputs = std::vector<std::shared_ptr<StoreValue>>;

// The value at position 0.
std::shared_ptr<StoreValue> const& CreatorValue(CreatorInputs const& values);

// A Date or DateTime value as QelDateTime; any other value fails "expected
// date but was " with its type.
QelDateTime FetchDateTime(StoreValue const& value);

template <class T>
T FetchConstant(CreatorInputs const& values) {
    StoreValue const& value = *CreatorValue(values);
    if constexpr (std::is_same_v<T, bool>)
        return value.AsBool();
    else if constexpr (std::is_same_v<T, int>)
        return value.AsInt32();
    else if constexpr (std::is_same_v<T, long long>)
        return value.AsInt64();
    else if constexpr (std::is_same_v<T, float>)
        return value.AsReal32();
    else if constexpr (std::is_same_v<T, double>)
        return value.AsReal64();
    else if constexpr (std::is_same_v<T, QelDateTime>)
        return FetchDateTime(value);
    else
        return value.AsString();
}

// The set of a keepOnly or isInSet creator, through SetAdapter, which keeps
// the value alive and checks its element type.
template <class T>
SetAdapter<T> SetOf(CreatorInputs const& values) {
    return SetAdapter<T>(CreatorValue(values));
}

}  // namespace qel::core::functions
