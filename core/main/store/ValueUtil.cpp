#include "qel/core/store/ValueUtil.h"

#include <bit>

#include "qel/core/store/Factory.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

StoreValue const& Checked(std::shared_ptr<StoreValue> const& value) {
    QEL_VALIDATE_NOT_NULL(value, QelError::NullIsNotAValidArgument);
    return *value;
}

}  // namespace

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

#define QEL_DETAIL_INSTANTIATE_FETCH(T) \
    template T FetchStoreValue<T>(std::shared_ptr<StoreValue> const&);
QEL_DETAIL_INSTANTIATE_FETCH(TStringCore)
// Every element type and every storage type, once each.
QEL_FOR_EACH_VALUE_TYPE(QEL_DETAIL_INSTANTIATE_FETCH)
#undef QEL_DETAIL_INSTANTIATE_FETCH

}  // namespace qel::core
