#include "qel/core/store/ValueUtil.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include "core/main/store/ValueCompositeArrayImpl.h"
#include "core/main/store/ValueConstantArrayImpl.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueConstantArray.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/utility/UnorderedMapUtil.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

StoreValue const& Checked(std::shared_ptr<StoreValue> const& value) {
    QEL_VALIDATE_NOT_NULL(value, QelError::NullIsNotAValidArgument);
    return *value;
}

RealType const& RealOf(Type const* type) {
    return *TypeAs<RealType>(type);
}

}  // namespace

// ---------------------------------------------------------------------------
// Boxing

template <class T>
std::shared_ptr<StoreValue> MakeStoreValue(Type const* type, T value) {
    if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        return value;
    } else {
        QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
        if constexpr (std::is_same_v<T, QelDateTime>) {
            return MakeDateTime(type, value);
        } else if constexpr (std::is_same_v<T, RIndirectString>) {
            QEL_VALIDATE(type->GetStoreType() == StoreType::String, QelError::ExpectedStringButWas,
                         StoreTypeToString(type->GetStoreType()));
            return factory::MakeString(value, TypeAs<StringType>(type)->GetCollation());
        } else {
            QEL_VALIDATE(TypeTraits<T>::IsMatchingType(type),
                         QelError::TypeDoesntMatchExpectedType);
            if constexpr (std::is_same_v<T, bool>) {
                return factory::MakeBool(value);
            } else if constexpr (std::is_same_v<T, int>) {
                return factory::MakeInt32(value);
            } else if constexpr (std::is_same_v<T, long long>) {
                return factory::MakeInt64(value);
            } else if constexpr (std::is_same_v<T, float>) {
                return factory::MakeReal32(value, RealOf(type).GetPrecision(),
                                           RealOf(type).GetScale());
            } else if constexpr (std::is_same_v<T, double>) {
                return factory::MakeReal64(value, RealOf(type).GetPrecision(),
                                           RealOf(type).GetScale());
            } else if constexpr (std::is_same_v<T, QelColor>) {
                return factory::MakeColor(value.AsInt32());
            } else {
                static_assert(std::is_same_v<T, QelTuple>);
                return factory::MakeTuple(std::move(value));
            }
        }
    }
}

std::shared_ptr<StoreValue> MakeDateTime(Type const* type, QelDateTime value) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    switch (type->GetStoreType()) {
        case StoreType::Date:
            return factory::MakeDate(value);
        case StoreType::DateTime:
            return factory::MakeDateTime(value);
        default:
            QEL_VALIDATION_FAILED(QelError::ExpectedDateButWas,
                                  StoreTypeToString(type->GetStoreType()));
    }
}

// ---------------------------------------------------------------------------
// Unboxing

template <class T>
T FetchStoreValue(std::shared_ptr<StoreValue> const& value) {
    if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        return value;
    } else {
        StoreValue const& v = Checked(value);
        if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, unsigned char>) {
            return static_cast<T>(v.AsBool());
        } else if constexpr (std::is_same_v<T, int>) {
            return v.AsInt32();
        } else if constexpr (std::is_same_v<T, long long>) {
            return v.AsInt64();
        } else if constexpr (std::is_same_v<T, float>) {
            return v.AsReal32();
        } else if constexpr (std::is_same_v<T, double>) {
            return v.AsReal64();
        } else if constexpr (std::is_same_v<T, QelColor>) {
            return v.AsColor();
        } else if constexpr (std::is_same_v<T, RIndirectString>) {
            return v.AsString();
        } else if constexpr (std::is_same_v<T, TStringCore>) {
            return v.AsString().GetValue();
        } else if constexpr (std::is_same_v<T, QelTuple>) {
            return v.AsTuple();
        } else if constexpr (std::is_same_v<T, QelDateTime>) {
            if (v.GetType()->Is(StoreType::Date))
                return v.AsDate();
            if (v.GetType()->Is(StoreType::DateTime))
                return v.AsDateTime();
            QEL_VALIDATION_FAILED(QelError::ExpectedDateButWas,
                                  StoreTypeToString(v.GetStoreType()));
        } else if constexpr (std::is_same_v<T, unsigned int>) {
            switch (v.GetStoreType()) {
                case StoreType::Color:
                    return static_cast<unsigned int>(v.AsColor().AsInt32());
                case StoreType::Real32:
                    return std::bit_cast<unsigned int>(v.AsReal32());
                case StoreType::Int32:
                    return static_cast<unsigned int>(v.AsInt32());
                default:
                    QEL_VALIDATION_FAILED(QelError::IllegalOperation);
            }
        } else {
            static_assert(std::is_same_v<T, unsigned long long>);
            switch (v.GetStoreType()) {
                case StoreType::Int64:
                    return static_cast<unsigned long long>(v.AsInt64());
                case StoreType::Real64:
                    return std::bit_cast<unsigned long long>(v.AsReal64());
                case StoreType::Date:
                    return v.AsDate().GetValue();
                case StoreType::DateTime:
                    return v.AsDateTime().GetValue();
                default:
                    QEL_VALIDATION_FAILED(QelError::IllegalOperation);
            }
        }
    }
}

std::shared_ptr<StoreValue> FetchStoreValueFromTuple(QelTuple const& tuple, unsigned int n) {
    Type const* const type = tuple.GetNthType(n);
    StoreType const storeType = type->GetStoreType();
    if (!IsPrimitiveStoreType(storeType))
        PrimitiveErrorFunction(storeType);
    SpecialKind const kind = tuple.GetNthSpecialUnsafe(n);
    if (kind != SpecialKind::Normal)
        return factory::MakeSpecial(type, kind);
    return ForAnyStorageType(storeType, [&]<class S>() {
        return MakeStoreValueFromStorageType<S>(type, tuple.GetNthValueUnsafe<S>(n));
    });
}

void SetTupleNthUnboxedUnsafe(QelTuple& tuple, unsigned int n,
                              std::shared_ptr<StoreValue> const& value) {
    StoreValue const& v = Checked(value);
    if (v.IsSpecial()) {
        tuple.SetNthSpecialUnsafe(n, v.GetSpecialKind());
        return;
    }
    ForAnyStorageType(v.GetStoreType(), [&]<class S>() {
        if constexpr (std::is_same_v<S, QelTuple>)
            PrimitiveErrorFunction(StoreType::Tuple);
        else
            tuple.SetNthValueUnsafe<S>(n, FetchStoreValue<S>(value));
    });
}

// ---------------------------------------------------------------------------
// Constant arrays

std::shared_ptr<StoreValue> MakeConstantArray(std::shared_ptr<StoreValue> const& value,
                                              unsigned int count) {
    StoreValue const& v = Checked(value);
    Type const* const type = v.GetType();
    if (v.IsSpecial())
        return MakeConstantArray(type, count, v.GetSpecialKind());
    StoreType const storeType = v.GetStoreType();
    // Primitives include External here; a tuple or a collection has no
    // storage value to repeat.
    if (!IsPrimitiveStoreType(storeType))
        PrimitiveErrorFunction(storeType);
    return ForAnyStorageType(storeType, [&]<class S>() -> std::shared_ptr<StoreValue> {
        if constexpr (std::is_same_v<S, QelTuple>)
            PrimitiveErrorFunction(storeType);
        else
            return factory::MakeConstantArray<S>(type, FetchStoreValue<S>(value), count);
    });
}

std::shared_ptr<StoreValue> MakeConstantArray(Type const* type, unsigned int count,
                                              SpecialKind special) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    return ForAnyStorageType(type->GetStoreType(), [&]<class S>() {
        return factory::MakeConstantArray<S>(type, count, special);
    });
}

// ---------------------------------------------------------------------------
// Joining arrays

namespace {

using Values = std::vector<std::shared_ptr<StoreValue>>;

// Constant arrays join as one run each, nothing expanded.
template <class T>
std::shared_ptr<StoreValue> JoinConstantArrays(Values const& arrays,
                                               std::unique_ptr<std::vector<qelsize_t>> indices,
                                               SortSpecOrder order) {
    typename ValueCompositeArray<T>::ConstantArrays constants;
    constants.reserve(arrays.size());
    for (auto const& array : arrays) {
        auto constant = std::dynamic_pointer_cast<ValueConstantArray<T>>(array);
        // Constant, but of another storage than the first array.
        QEL_VALIDATE_NOT_NULL(constant, QelError::StoreValueIsNotAnITypedArray);
        constants.push_back(std::move(constant));
    }
    return ValueCompositeArray<T>::Make(constants, std::move(indices), order);
}

// Appends the array's elements in logical order; `specials` is null when the
// joined array has none.
template <class T>
void AppendElements(ITypedArray<T> const& array, std::vector<T>& values,
                    std::vector<SpecialKind>* specials) {
    qelsize_t const count = array.GetCount();
    if (count == 0)
        return;
    bool const ownSpecials = array.HasSpecialValues();
    if (array.IsConstantValue()) {
        values.insert(values.end(), count, array[0]);
        if (specials != nullptr)
            specials->insert(specials->end(), count, array.GetSpecialAt(0));
        return;
    }
    // Physical order is logical order: copy the buffers whole.
    if (!array.HasIndices() && !array.IsComposite()) {
        ArrayView<T const> const raw = array.GetRawArray();
        values.insert(values.end(), raw.begin(), raw.end());
        if (specials != nullptr && ownSpecials) {
            ArrayView<SpecialKind const> const rawSpecials = array.GetRawSpecialArray();
            specials->insert(specials->end(), rawSpecials.begin(), rawSpecials.end());
        } else if (specials != nullptr) {
            specials->insert(specials->end(), count, SpecialKind::Normal);
        }
        return;
    }
    if (specials != nullptr && ownSpecials) {
        for (auto&& [value, special] : array.GetAll()) {
            values.push_back(std::move(value));
            specials->push_back(special);
        }
        return;
    }
    for (auto&& value : array.GetValues())
        values.push_back(std::move(value));
    if (specials != nullptr)
        specials->insert(specials->end(), count, SpecialKind::Normal);
}

template <class T>
std::shared_ptr<StoreValue> JoinIntoPlainArray(Type const* elementType, Values const& arrays,
                                               std::unique_ptr<std::vector<qelsize_t>> indices,
                                               SortSpecOrder order) {
    bool anySpecials = false;
    std::size_t total = 0;
    for (auto const& array : arrays) {
        anySpecials = anySpecials || array->AsArray().HasSpecialValues();
        total += array->GetCount();
    }
    QEL_VALIDATE_LE(total, std::numeric_limits<qelsize_t>::max(), QelError::OutOfRange);
    auto values = std::make_unique<std::vector<T>>();
    values->reserve(total);
    std::unique_ptr<std::vector<SpecialKind>> specials;
    if (anySpecials) {
        specials = std::make_unique<std::vector<SpecialKind>>();
        specials->reserve(total);
    }
    for (auto const& array : arrays)
        AppendElements(array->template AsTypedArray<T>(), *values, specials.get());
    return factory::MakeArray<T>(elementType, std::move(values), std::move(specials),
                                 std::move(indices), order);
}

}  // namespace

// The result has the first array's element type; the others are read in
// its storage, so that arrays differing only in a real's format or a
// string's collation still join.
std::shared_ptr<StoreValue> ConcatenateArrays(
    std::vector<std::shared_ptr<StoreValue>> const& arrays,
    std::unique_ptr<std::vector<qelsize_t>> indices, SortSpecOrder order) {
    QEL_VALIDATE_MIN_SIZE(arrays, 1, QelError::CompositeArrayRequiresAtLeastOneArray);
    for (auto const& array : arrays)
        QEL_VALIDATE_NOT_NULL(array, QelError::NullIsNotAValidArgument);
    Type const* const elementType = arrays.front()->AsArray().GetElementType();
    bool const allConstant = std::all_of(arrays.begin(), arrays.end(), [](auto const& array) {
        return array->AsArray().IsConstantValue();
    });
    return ForAnyStorageType(elementType->GetStoreType(), [&]<class T>() {
        if (allConstant)
            return JoinConstantArrays<T>(arrays, std::move(indices), order);
        return JoinIntoPlainArray<T>(elementType, arrays, std::move(indices), order);
    });
}

std::shared_ptr<StoreValue> ConcatenateTables(
    std::vector<std::shared_ptr<StoreValue>> const& tables) {
    QEL_VALIDATE_NOT(tables.empty(), QelError::AtLeastOneValueNeededForConcatenation);
    if (tables.size() == 1)
        return tables.front();
    for (auto const& table : tables)
        QEL_VALIDATE_NOT_NULL(table, QelError::NullIsNotAValidArgument);
    qelsize_t const colCount = tables.front()->GetCount();
    for (auto const& table : tables) {
        QEL_VALIDATE(table->GetCount() == colCount,
                     QelError::ConcatenatedTablesMustContainTheSameColumns);
    }
    auto columns = std::make_unique<ValueMap>(colCount);
    columns->max_load_factor(1.0f);
    Values gathered;
    gathered.reserve(tables.size());
    for (auto const& [columnName, firstColumn] : tables.front()->AsTable().GetColumns()) {
        gathered.clear();
        for (auto const& value : tables) {
            IStoreTable const& table = value->AsTable();
            QEL_VALIDATE(table.HasColumn(columnName),
                         QelError::ConcatenatedTablesMustContainTheSameColumns);
            gathered.push_back(table.GetColumn(columnName));
        }
        UnorderedMapInsertUnique(columns, columnName,
                                 ConcatenateArrays(gathered, nullptr, SortSpecOrder::UNKNOWN));
    }
    return factory::MakeTable(std::move(columns), std::make_unique<TableSortOrder>());
}

#define QEL_DETAIL_INSTANTIATE_FETCH(T) \
    template T FetchStoreValue<T>(std::shared_ptr<StoreValue> const&);
QEL_DETAIL_INSTANTIATE_FETCH(TStringCore)
// Every element type and every storage type, once each.
QEL_FOR_EACH_VALUE_TYPE(QEL_DETAIL_INSTANTIATE_FETCH)
#undef QEL_DETAIL_INSTANTIATE_FETCH

#define QEL_DETAIL_INSTANTIATE_MAKE(T) \
    template std::shared_ptr<StoreValue> MakeStoreValue<T>(Type const*, T);
QEL_DETAIL_INSTANTIATE_MAKE(bool)
QEL_DETAIL_INSTANTIATE_MAKE(int)
QEL_DETAIL_INSTANTIATE_MAKE(long long)
QEL_DETAIL_INSTANTIATE_MAKE(float)
QEL_DETAIL_INSTANTIATE_MAKE(double)
QEL_DETAIL_INSTANTIATE_MAKE(QelColor)
QEL_DETAIL_INSTANTIATE_MAKE(QelDateTime)
QEL_DETAIL_INSTANTIATE_MAKE(QelTuple)
QEL_DETAIL_INSTANTIATE_MAKE(RIndirectString)
QEL_DETAIL_INSTANTIATE_MAKE(std::shared_ptr<StoreValue>)
#undef QEL_DETAIL_INSTANTIATE_MAKE

}  // namespace qel::core
