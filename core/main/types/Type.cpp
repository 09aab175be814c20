#include "qel/core/types/Type.h"

#include "qel/core/store/Collation.h"
#include "qel/core/types/Context.h"

namespace qel::core {

namespace {

// Computes a base type once and keeps it; racing threads compute the same
// interned pointer, so the race is benign.
template <class Compute>
Type const* CachedBase(std::atomic<Type const*>& slot, Compute&& compute) {
    Type const* base = slot.load(std::memory_order_acquire);
    if (base == nullptr) {
        base = compute();
        slot.store(base, std::memory_order_release);
    }
    return base;
}

TStringCore Decorated(Type const& type, TStringCore const& inner) {
    TStringCore text(StoreTypeToChar(type.GetStoreType()), 1);
    text.append(u'<');
    text.append(inner);
    text.append(u'>');
    return text;
}

}  // namespace

namespace detail {

void TypeCastFailed() {
    ValidationFailed(SourcePath(__FILE__), __LINE__, "(t) != nullptr",
                     QelError::CannotCastToTheRequestedTypeClass);
}

}  // namespace detail

TStringCore Type::ToString() const {
    return TStringCore(StoreTypeToChar(m_storeType), 1);
}

BoolType const* BoolType::Get() {
    return Context::Instance().GetBoolType();
}
IntType const* IntType::Get32() {
    return Context::Instance().GetInt32Type();
}
IntType const* IntType::Get64() {
    return Context::Instance().GetInt64Type();
}
DateType const* DateType::Get() {
    return Context::Instance().GetDateType();
}
DateTimeType const* DateTimeType::Get() {
    return Context::Instance().GetDateTimeType();
}
ColorType const* ColorType::Get() {
    return Context::Instance().GetColorType();
}

// ---------------------------------------------------------------------------
// RealType

RealType const* RealType::Get32() {
    return Get32(DefaultPrecision, DefaultScale);
}
RealType const* RealType::Get32(signed char precision, signed char scale) {
    return Context::Instance().GetReal32(precision, scale);
}
RealType const* RealType::Get64() {
    return Get64(DefaultPrecision, DefaultScale);
}
RealType const* RealType::Get64(signed char precision, signed char scale) {
    return Context::Instance().GetReal64(precision, scale);
}

Type const* RealType::GetBaseType() const {
    return CachedBase(
        m_base, [this]() -> Type const* { return Is(StoreType::Real32) ? Get32() : Get64(); });
}

TStringCore RealType::ToString() const {
    TStringCore inner = TStringCore::number(static_cast<int>(m_precision));
    inner.append(u',');
    inner.append(TStringCore::number(static_cast<int>(m_scale)));
    return Decorated(*this, inner);
}

// ---------------------------------------------------------------------------
// StringType

StringType::StringType(Collation const& collation)
    : Type(StoreType::String), m_collation(std::make_unique<Collation const>(collation)) {}

StringType::~StringType() = default;

StringType const* StringType::Get() {
    return Context::Instance().GetStringBase();
}
StringType const* StringType::Get(Collation const& collation) {
    return Context::Instance().GetString(collation);
}

Type const* StringType::GetBaseType() const {
    return Get();
}

TStringCore StringType::ToString() const {
    return Decorated(*this, m_collation->GetLocale());
}

// ---------------------------------------------------------------------------
// ExternalType

ExternalType const* ExternalType::Get(unsigned short id) {
    return Context::Instance().GetExternal(id);
}

// ---------------------------------------------------------------------------
// Collections

CollectionType const* CollectionType::Get(StoreType type, Type const* element) {
    switch (type) {
        case StoreType::Array:
            return ArrayType::Get(element);
        case StoreType::Set:
            return SetType::Get(element);
        default:
            QEL_VALIDATION_FAILED(QelError::TypeDoesntMatchExpectedType);
    }
}

TStringCore CollectionType::ToString() const {
    return Decorated(*this, m_element->ToString());
}

ArrayType::ArrayType(Type const* elementType) : CollectionType(StoreType::Array, elementType) {
    QEL_VALIDATE_NOT_NULL(elementType, QelError::IllegalElementType);
    QEL_VALIDATE(IsStoreTypeSupportedInArray(elementType->GetStoreType()),
                 QelError::IllegalElementType);
}

ArrayType const* ArrayType::Get(Type const* element) {
    return Context::Instance().GetArrayType(element);
}

Type const* ArrayType::GetBaseType() const {
    return CachedBase(m_base, [this]() -> Type const* {
        Type const* elementBase = m_element->GetBaseType();
        return elementBase == m_element ? this : Get(elementBase);
    });
}

CollectionType const* ArrayType::WithElementType(Type const* element) const {
    return Get(element);
}

SetType::SetType(Type const* elementType) : CollectionType(StoreType::Set, elementType) {
    QEL_VALIDATE_NOT_NULL(elementType, QelError::IllegalElementType);
    QEL_VALIDATE(IsStoreTypeSupportedInSet(elementType->GetStoreType()),
                 QelError::IllegalElementType);
}

SetType const* SetType::Get(Type const* element) {
    return Context::Instance().GetSetType(element);
}

Type const* SetType::GetBaseType() const {
    return CachedBase(m_base, [this]() -> Type const* {
        Type const* elementBase = m_element->GetBaseType();
        return elementBase == m_element ? this : Get(elementBase);
    });
}

CollectionType const* SetType::WithElementType(Type const* element) const {
    return Get(element);
}

KeySetType::KeySetType(Type const* keyType, Type const* elementType)
    : CollectionType(StoreType::KeySet, elementType), m_key(keyType) {
    QEL_VALIDATE_NOT_NULL(keyType, QelError::IllegalKeyType);
    QEL_VALIDATE(IsStoreTypeSupportedInKeySetAsKey(keyType->GetStoreType()),
                 QelError::IllegalKeyType);
    QEL_VALIDATE_NOT_NULL(elementType, QelError::IllegalElementType);
    QEL_VALIDATE(IsStoreTypeSupportedInKeySet(elementType->GetStoreType()),
                 QelError::IllegalElementType);
}

KeySetType const* KeySetType::Get(Type const* key, Type const* element) {
    return Context::Instance().GetKeySetType(key, element);
}

Type const* KeySetType::GetBaseType() const {
    return CachedBase(m_base, [this]() -> Type const* {
        Type const* keyBase = m_key->GetBaseType();
        Type const* elementBase = m_element->GetBaseType();
        return keyBase == m_key && elementBase == m_element ? this : Get(keyBase, elementBase);
    });
}

CollectionType const* KeySetType::WithElementType(Type const* element) const {
    return Get(m_key, element);
}

TStringCore KeySetType::ToString() const {
    TStringCore inner = m_key->ToString();
    inner.append(u',');
    inner.append(m_element->ToString());
    return Decorated(*this, inner);
}

// ---------------------------------------------------------------------------
// Promotion

namespace {

bool IsInteger(Type const* t) {
    return t->Is(StoreType::Int32) || t->Is(StoreType::Int64);
}
bool IsReal(Type const* t) {
    return t->Is(StoreType::Real32) || t->Is(StoreType::Real64);
}
bool IsPair(Type const* a, Type const* b, StoreType x, StoreType y) {
    return (a->Is(x) && b->Is(y)) || (a->Is(y) && b->Is(x));
}

}  // namespace

bool TryPromotedType(Type const* a, Type const* b, Type const*& result) {
    if (a == b) {
        result = a;
    } else if (IsPair(a, b, StoreType::Int32, StoreType::Int64)) {
        result = IntType::Get64();
    } else if (IsPair(a, b, StoreType::Real32, StoreType::Real64)) {
        result = RealType::Get64();
    } else if (IsInteger(a) && IsReal(b)) {
        result = b;
    } else if (IsReal(a) && IsInteger(b)) {
        result = a;
    } else if (IsPair(a, b, StoreType::Date, StoreType::DateTime)) {
        result = DateTimeType::Get();
    } else {
        return false;
    }
    return true;
}

Type const* PromotedType(Type const* a, Type const* b) {
    Type const* result = nullptr;
    if (!TryPromotedType(a, b, result))
        QEL_VALIDATION_FAILED(QelError::UnsupportedType);
    return result;
}

Type const* MakePrimitiveType(StoreType type) {
    switch (type) {
        case StoreType::Bool:
            return BoolType::Get();
        case StoreType::Int32:
            return IntType::Get32();
        case StoreType::Int64:
            return IntType::Get64();
        case StoreType::Real32:
            return RealType::Get32();
        case StoreType::Real64:
            return RealType::Get64();
        case StoreType::String:
            return StringType::Get();
        case StoreType::Date:
            return DateType::Get();
        case StoreType::DateTime:
            return DateTimeType::Get();
        case StoreType::Color:
            return ColorType::Get();
        default:
            QEL_VALIDATION_FAILED(QelError::InvalidStoreType);
    }
}

}  // namespace qel::core
