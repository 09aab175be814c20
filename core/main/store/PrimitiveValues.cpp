#include "core/main/store/PrimitiveValues.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "qel/core/store/Collation.h"
#include "qel/core/utility/FloatUtil.h"

namespace qel::core {

namespace {

template <class T>
int Order(T x, T y) {
    return x < y ? -1 : (y < x ? 1 : 0);
}

// Reals: a NaN is neither below nor above anything, so it compares equal.
template <class T>
int RealOrder(T x, T y) {
    if (y > x)
        return -1;
    if (x > y)
        return 1;
    return 0;
}

// The processor's truncating conversion: toward zero, and the lowest value of
// the target for a NaN or a value out of its range.
template <class Int, class Real>
Int Truncate(Real value) {
    constexpr Real kLow = static_cast<Real>(std::numeric_limits<Int>::min());
    constexpr Real kHigh = -kLow;  // 2^(bits-1), exactly representable
    if (!(value >= kLow && value < kHigh))
        return std::numeric_limits<Int>::min();
    return static_cast<Int>(value);
}

void ValidateCastTarget(Type const* type) {
    QEL_VALIDATE_NOT_NULL(type, QelError::IllegalTypeCast);
}

[[noreturn]] void IllegalCast() {
    QEL_VALIDATION_FAILED(QelError::IllegalTypeCast);
}

std::unique_ptr<StoreValue> MakeReal32Value(float v) {
    return std::make_unique<ValueReal32>(RealType::Get32(), v);
}
std::unique_ptr<StoreValue> MakeReal64Value(double v) {
    return std::make_unique<ValueReal64>(RealType::Get64(), v);
}

}  // namespace

// ---------------------------------------------------------------------------
// ValueBool

std::unique_ptr<StoreValue> ValueBool::Clone() const {
    return std::make_unique<ValueBool>(m_value);
}

std::unique_ptr<StoreValue> ValueBool::Cast(Type const* type) const {
    ValidateCastTarget(type);
    if (type->Is(StoreType::Bool))
        return Clone();
    IllegalCast();
}

int ValueBool::CompareImpl(StoreValue const& other) const {
    return Order(m_value, other.AsBool());
}

// ---------------------------------------------------------------------------
// ValueInt32

std::unique_ptr<StoreValue> ValueInt32::Clone() const {
    return std::make_unique<ValueInt32>(m_value);
}

std::unique_ptr<StoreValue> ValueInt32::Cast(Type const* type) const {
    ValidateCastTarget(type);
    switch (type->GetStoreType()) {
        case StoreType::Int32:
            return Clone();
        case StoreType::Int64:
            return std::make_unique<ValueInt64>(m_value);
        case StoreType::Real32:
            return MakeReal32Value(static_cast<float>(m_value));
        case StoreType::Real64:
            return MakeReal64Value(static_cast<double>(m_value));
        default:
            IllegalCast();
    }
}

int ValueInt32::CompareImpl(StoreValue const& other) const {
    return Order(m_value, other.AsInt32());
}

// ---------------------------------------------------------------------------
// ValueInt64

std::unique_ptr<StoreValue> ValueInt64::Clone() const {
    return std::make_unique<ValueInt64>(m_value);
}

std::unique_ptr<StoreValue> ValueInt64::Cast(Type const* type) const {
    ValidateCastTarget(type);
    switch (type->GetStoreType()) {
        case StoreType::Int32:
            // The low 32 bits, as two's complement.
            return std::make_unique<ValueInt32>(
                static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(m_value))));
        case StoreType::Int64:
            return Clone();
        case StoreType::Real32:
            return MakeReal32Value(static_cast<float>(m_value));
        case StoreType::Real64:
            return MakeReal64Value(static_cast<double>(m_value));
        default:
            IllegalCast();
    }
}

int ValueInt64::CompareImpl(StoreValue const& other) const {
    return Order(m_value, other.AsInt64());
}

// ---------------------------------------------------------------------------
// ValueReal32

std::size_t ValueReal32::GetHashValue() const {
    if (m_value == 0.0f)
        return 0;  // both zeros hash alike, as they compare equal
    std::uint32_t bits;
    std::memcpy(&bits, &m_value, sizeof(bits));
    return bits;
}

std::unique_ptr<StoreValue> ValueReal32::Clone() const {
    return std::make_unique<ValueReal32>(m_type, m_value);
}

std::unique_ptr<StoreValue> ValueReal32::Cast(Type const* type) const {
    ValidateCastTarget(type);
    switch (type->GetStoreType()) {
        case StoreType::Int32:
            return std::make_unique<ValueInt32>(Truncate<int>(m_value));
        case StoreType::Int64:
            return std::make_unique<ValueInt64>(Truncate<long long>(m_value));
        case StoreType::Real32:
            return Clone();
        case StoreType::Real64: {
            // Widening keeps the decimal format; narrowing (below) drops it.
            auto const* own = static_cast<RealType const*>(m_type);
            return std::make_unique<ValueReal64>(
                RealType::Get64(own->GetPrecision(), own->GetScale()), m_value);
        }
        default:
            IllegalCast();
    }
}

int ValueReal32::CompareImpl(StoreValue const& other) const {
    return RealOrder(m_value, other.AsReal32());
}

int ValueReal32::FuzzyCompareImpl(StoreValue const& other) const {
    return FloatUtil::Compare(m_value, other.AsReal32(), 16);
}

// ---------------------------------------------------------------------------
// ValueReal64

std::size_t ValueReal64::GetHashValue() const {
    if (m_value == 0.0)
        return 0;
    std::uint64_t bits;
    std::memcpy(&bits, &m_value, sizeof(bits));
    return bits;
}

std::unique_ptr<StoreValue> ValueReal64::Clone() const {
    return std::make_unique<ValueReal64>(m_type, m_value);
}

std::unique_ptr<StoreValue> ValueReal64::Cast(Type const* type) const {
    ValidateCastTarget(type);
    switch (type->GetStoreType()) {
        case StoreType::Int32:
            return std::make_unique<ValueInt32>(Truncate<int>(m_value));
        case StoreType::Int64:
            return std::make_unique<ValueInt64>(Truncate<long long>(m_value));
        case StoreType::Real32:
            return MakeReal32Value(static_cast<float>(m_value));
        case StoreType::Real64:
            return Clone();
        default:
            IllegalCast();
    }
}

int ValueReal64::CompareImpl(StoreValue const& other) const {
    return RealOrder(m_value, other.AsReal64());
}

int ValueReal64::FuzzyCompareImpl(StoreValue const& other) const {
    return FloatUtil::Compare(m_value, other.AsReal64(), 16);
}

// ---------------------------------------------------------------------------
// ValueString

std::size_t ValueString::GetHashValue() const {
    return m_type->GetCollation().GetCollator()->Hash(m_value);
}

std::unique_ptr<StoreValue> ValueString::Clone() const {
    return std::make_unique<ValueString>(m_type, m_value);
}

std::unique_ptr<StoreValue> ValueString::Cast(Type const* type) const {
    ValidateCastTarget(type);
    if (type->Is(StoreType::String))
        return Clone();
    IllegalCast();
}

int ValueString::CompareImpl(StoreValue const& other) const {
    int r = m_type->GetCollation().GetCollator()->Compare(m_value, other.AsString());
    return r < 0 ? -1 : (r > 0 ? 1 : 0);
}

}  // namespace qel::core
