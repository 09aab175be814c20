#include "qel/core/store/StoreValue.h"

#include "qel/core/store/CollectionInterfaces.h"

#include "qel/core/utility/FloatUtil.h"

namespace qel::core {

namespace {

[[noreturn]] void Fail(QelError error, StoreValue const&, TStringCore const& details) {
    throw QelRuntimeException(error, details);
}

}  // namespace

namespace detail {

void StoreValueCastFailed(QelError error) {
    ValidationFailed(SourcePath(__FILE__), __LINE__, "(p) != nullptr", error);
}

}  // namespace detail

TStringCore StoreValue::GetActualTypeErrorMessage() const {
    TStringCore details = StoreTypeToString(GetStoreType());
    if (IsSpecial()) {
        details.append(TStringCore(u" (special kind: "));
        details.append(SpecialKindToString(GetSpecialKind()));
        details.append(u')');
    }
    return details;
}

// ---------------------------------------------------------------------------
// The accessors: none converts, so every default fails with the actual type.

bool StoreValue::AsBool() const {
    Fail(QelError::ExpectedBoolButWas, *this, GetActualTypeErrorMessage());
}
int StoreValue::AsInt32() const {
    Fail(QelError::ExpectedInt32ButWas, *this, GetActualTypeErrorMessage());
}
long long StoreValue::AsInt64() const {
    Fail(QelError::ExpectedInt64ButWas, *this, GetActualTypeErrorMessage());
}
float StoreValue::AsReal32() const {
    Fail(QelError::ExpectedReal32ButWas, *this, GetActualTypeErrorMessage());
}
double StoreValue::AsReal64() const {
    Fail(QelError::ExpectedReal64ButWas, *this, GetActualTypeErrorMessage());
}
RIndirectString const& StoreValue::AsString() const {
    Fail(QelError::ExpectedStringButWas, *this, GetActualTypeErrorMessage());
}
QelDateTime StoreValue::AsDate() const {
    Fail(QelError::ExpectedDateButWas, *this, GetActualTypeErrorMessage());
}
QelDateTime StoreValue::AsDateTime() const {
    Fail(QelError::ExpectedDatetimeButWas, *this, GetActualTypeErrorMessage());
}
QelColor StoreValue::AsColor() const {
    Fail(QelError::ExpectedColorButWas, *this, GetActualTypeErrorMessage());
}
ValueExternal const& StoreValue::AsExternal() const {
    Fail(QelError::ExternalTypeExpected, *this, GetActualTypeErrorMessage());
}
IStoreCollection const& StoreValue::AsCollection() const {
    Fail(QelError::ExpectedCollectionButWas, *this, GetActualTypeErrorMessage());
}
IStoreMutableCollection& StoreValue::AsMutableCollection() {
    throw QelRuntimeException(QelError::CannotModifyCollection);
}
IUniformCollection const& StoreValue::AsUniformCollection() const {
    Fail(QelError::ExpectedUniformCollectionButWas, *this, GetActualTypeErrorMessage());
}
IStoreArray const& StoreValue::AsArray() const {
    Fail(QelError::ExpectedArrayButWas, *this, GetActualTypeErrorMessage());
}
IStoreSet const& StoreValue::AsSet() const {
    Fail(QelError::ExpectedSetButWas, *this, GetActualTypeErrorMessage());
}
IStoreKeyMap const& StoreValue::AsKeyMap() const {
    Fail(QelError::ExpectedKeymapButWas, *this, GetActualTypeErrorMessage());
}
IStoreTable const& StoreValue::AsTable() const {
    Fail(QelError::ExpectedTableButWas, *this, GetActualTypeErrorMessage());
}
QelTuple const& StoreValue::AsTuple() const {
    Fail(QelError::ExpectedTupleButWas, *this, GetActualTypeErrorMessage());
}

std::unique_ptr<StoreValue> StoreValue::Cast(Type const*) const {
    QEL_VALIDATION_FAILED(QelError::IllegalTypeCast);
}

int StoreValue::CompareImpl(StoreValue const&) const {
    throw QelRuntimeException(QelError::IllegalTypeComparison);
}

// ---------------------------------------------------------------------------
// Comparison

int StoreValue::Compare(StoreValue const& other) const {
    // A special on either side decides, so that every comparison with a
    // special lands in the special's own ordering.
    if (other.IsSpecial())
        return -other.CompareImpl(*this);
    return CompareImpl(other);
}

bool StoreValue::IsEqual(StoreValue const& other) const {
    if (GetType()->GetBaseType() != other.GetType()->GetBaseType())
        return false;
    return Compare(other) == 0;
}

int StoreValue::FuzzyComparePromoted(StoreValue const& other, Type const* promoted) const {
    if (promoted == GetType()) {
        std::unique_ptr<StoreValue> cast = other.Cast(promoted);
        return FuzzyCompareImpl(*cast);
    }
    std::unique_ptr<StoreValue> cast = Cast(promoted);
    return cast->FuzzyCompareImpl(other);
}

bool StoreValue::FuzzyIsEqual(StoreValue const& other) const {
    if (IsSpecial() != other.IsSpecial())
        return false;
    if (GetType()->GetBaseType() == other.GetType()->GetBaseType()) {
        return FuzzyCompareImpl(other) == 0;
    }
    Type const* promoted = nullptr;
    if (!TryPromotedType(GetType(), other.GetType(), promoted))
        return false;
    return FuzzyComparePromoted(other, promoted) == 0;
}

bool StoreValue::FuzzyIsLessThan(StoreValue const& other) const {
    if (GetType()->GetBaseType() != other.GetType()->GetBaseType()) {
        return FuzzyComparePromoted(other, PromotedType(GetType(), other.GetType())) < 0;
    }
    if (other.IsSpecial())
        return other.FuzzyCompareImpl(*this) > 0;
    return FuzzyCompareImpl(other) < 0;
}

// ---------------------------------------------------------------------------
// Text

TStringCore FormatPrimitive(StoreValue const& value) {
    if (value.IsSpecial())
        return SpecialKindToString(value.GetSpecialKind());
    StoreType const type = value.GetStoreType();
    switch (type) {
        case StoreType::Bool:
            return TStringCore(value.AsBool() ? u"true" : u"false");
        case StoreType::Int32:
            return TStringCore::number(value.AsInt32());
        case StoreType::Int64:
            return TStringCore::number(value.AsInt64());
        case StoreType::Real32:
            return ConvertFloatToString(value.AsReal32());
        case StoreType::Real64:
            return ConvertFloatToString(value.AsReal64());
        case StoreType::String:
            return value.AsString().GetValue();
        case StoreType::Date:
            return value.AsDate().ToString();
        case StoreType::DateTime:
            return value.AsDateTime().ToString();
        case StoreType::Color:
            return value.AsColor().ToString();
        default:
            throw QelRuntimeException(QelError::InvalidStoreTypeValue, StoreTypeToString(type));
    }
}

void PrimitiveErrorFunction(StoreType type) {
    throw QelRuntimeException(QelError::UnsupportedPrimitiveKeyType, StoreTypeToString(type));
}

}  // namespace qel::core
