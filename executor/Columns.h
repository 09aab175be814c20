#pragma once

// The executor's inner layer: columns as functors see them, the run-time
// choice of element types, and the functor calls themselves. Executor.cpp
// decides what to run; Kernels.cpp runs it.

#include <bit>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

#include "qel/core/functions/RegisteredFunctions.h"
#include "qel/core/store/RawData.h"
#include "qel/core/store/SortSpecOrder.h"
#include "qel/core/store/SpecialKind.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/Type.h"
#include "qel/core/types/TypeTraits.h"
#include "qel/core/utility/QelException.h"

namespace qel::executor::detail {

using core::ConstRawDataView;
using core::RawData;
using core::SpecialKind;
using core::StoreValue;
using core::TStringCore;
using core::Type;

template <class E>
struct Tag {
    using type = E;
};

// Calls f with the Tag of the C type in which functors see elements of
// `type`. Dates and date-times share QelDateTime; every collection and
// external value is a boxed StoreValue. Tuples have no functor type.
template <class F>
decltype(auto) DispatchElement(Type const* type, F&& f) {
    using core::StoreType;
    switch (type->GetStoreType()) {
        case StoreType::Bool:
            return f(Tag<bool>{});
        case StoreType::Int32:
            return f(Tag<int>{});
        case StoreType::Int64:
            return f(Tag<long long>{});
        case StoreType::Real32:
            return f(Tag<float>{});
        case StoreType::Real64:
            return f(Tag<double>{});
        case StoreType::String:
            return f(Tag<core::RIndirectString>{});
        case StoreType::Date:
        case StoreType::DateTime:
            return f(Tag<core::QelDateTime>{});
        case StoreType::Color:
            return f(Tag<core::QelColor>{});
        case StoreType::Tuple:
            throw core::QelRuntimeException(
                core::QelError::TypeMismatch,
                TStringCore(u"functions do not run over tuples: ") + type->ToString());
        default:
            return f(Tag<std::shared_ptr<StoreValue>>{});
    }
}

template <class E>
using StorageOf = typename core::TypeTraits<E>::StorageType;

// An element as the store keeps it: the same object for strings and boxed
// values, the bits otherwise (a float in an unsigned int, a date's number).
template <class E>
StorageOf<E> ToStorage(E const& value) {
    if constexpr (std::is_same_v<E, StorageOf<E>>)
        return value;
    else
        return std::bit_cast<StorageOf<E>>(value);
}

// A primitive value read as E. REQUIRES: the value is Normal.
template <class E>
E ReadScalar(std::shared_ptr<StoreValue> const& value) {
    if constexpr (std::is_same_v<E, bool>)
        return value->AsBool();
    else if constexpr (std::is_same_v<E, int>)
        return value->AsInt32();
    else if constexpr (std::is_same_v<E, long long>)
        return value->AsInt64();
    else if constexpr (std::is_same_v<E, float>)
        return value->AsReal32();
    else if constexpr (std::is_same_v<E, double>)
        return value->AsReal64();
    else if constexpr (std::is_same_v<E, core::RIndirectString>)
        return value->AsString();
    else if constexpr (std::is_same_v<E, core::QelDateTime>)
        return value->GetStoreType() == core::StoreType::Date ? value->AsDate()
                                                              : value->AsDateTime();
    else if constexpr (std::is_same_v<E, core::QelColor>)
        return value->AsColor();
    else
        return value;
}

// One operand of a function, materialised for the functor: `size` values and
// as many specials, both as windows. An array is read in logical order (its
// indices applied into scratch when it has any); a scalar is repeated
// `size` times. The windows point into `source`, `scratch` or `owned`, all
// held here, so a Column must outlive any view taken from it.
struct Column {
    std::shared_ptr<StoreValue> source;
    Type const* elementType = nullptr;
    core::qelsize_t size = 0;
    bool hasSpecials = false;
    bool isArray = false;
    std::unique_ptr<core::TemporaryRawData> scratch;
    std::unique_ptr<core::TemporaryRawData> specialScratch;
    std::unique_ptr<RawData> owned;
    std::unique_ptr<RawData> ownedSpecials;
    std::optional<ConstRawDataView> values;
    std::optional<ConstRawDataView> specials;
};

// An array of primitives, or a scalar repeated `size` times. Other values
// fail "expected array but was " with their store type.
Column MakeArrayColumn(std::shared_ptr<StoreValue> const& array);
Column MakeScalarColumn(std::shared_ptr<StoreValue> const& scalar, core::qelsize_t size);

// A function resolved for one call: which registry entry, which of its two
// forms, the creator's values, and the element type of what it makes.
struct FunctionCall {
    core::RegisteredFunctions const* functions = nullptr;
    bool special = false;
    std::vector<std::shared_ptr<StoreValue>> creatorInputs;
    Type const* outputType = nullptr;
};

// A new column: values in the output's storage type, and specials only when
// one of them is not Normal.
struct ColumnResult {
    std::shared_ptr<RawData const> values;
    std::shared_ptr<RawData const> specials;
};

ColumnResult ProjectUnary(FunctionCall const& call, Column const& input);
ColumnResult ProjectBinary(FunctionCall const& call, Column const& first, Column const& second);

// A fold of `input` through a binary function, from `initial` (a primitive of
// `accumulatorType`, maybe special) or, when that is null, from the first
// element. With `running` the result is the column of running values (a
// scan), else the final value (a reduce); an empty input with no initial
// value reduces to Null.
struct FoldResult {
    std::shared_ptr<StoreValue> final;
    ColumnResult running;
};
FoldResult Fold(FunctionCall const& call, Type const* accumulatorType,
                std::shared_ptr<StoreValue> const& initial, Column const& input, bool running);

// The array of `elementType` over a result's buffers.
std::shared_ptr<StoreValue> MakeResultArray(Type const* elementType, ColumnResult const& result,
                                            core::SortSpecOrder order);
// Element `index` of a result, boxed as a primitive of `elementType`.
std::shared_ptr<StoreValue> BoxResultElement(Type const* elementType, ColumnResult const& result,
                                             core::qelsize_t index);

}  // namespace qel::executor::detail
