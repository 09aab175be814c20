#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

#include "qel/core/store/Collation.h"
#include "qel/core/store/SpecialKind.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/PackedStructOffsets.h"
#include "qel/core/types/StorageTypes.h"
#include "qel/core/types/TypeTraits.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {

namespace {

using ExternalPtr = std::shared_ptr<StoreValue>;

// The buffer comes from operator new[], which aligns for every object that a
// tuple holds; the layout places each at a multiple of its size.
static_assert(alignof(RIndirectString) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
static_assert(alignof(ExternalPtr) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
static_assert(std::is_trivially_copyable_v<QelDateTime> && std::is_trivially_copyable_v<QelColor>);

template <class T>
T Load(unsigned char const* at) {
    T value;
    std::memcpy(&value, at, sizeof(T));
    return value;
}

template <class T>
T const& Object(unsigned char const* at) {
    return *std::launder(reinterpret_cast<T const*>(at));
}

ICollator const& CollatorOf(Type const* type) {
    return *static_cast<StringType const*>(type)->GetCollation().GetCollator();
}

template <class T>
int Order(T a, T b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

// A NaN compares equal to everything.
template <class T>
int OrderReal(T a, T b) {
    return b > a ? -1 : (a > b ? 1 : 0);
}

// An absent external value sorts below any present one.
int OrderExternal(ExternalPtr const& a, ExternalPtr const& b) {
    if (a == nullptr || b == nullptr)
        return Order(a != nullptr, b != nullptr);
    return Order(a->Compare(*b), 0);
}

int CompareMember(Type const* type, unsigned char const* a, unsigned char const* b) {
    switch (type->GetStoreType()) {
        case StoreType::Bool:
            return Order(*a != 0, *b != 0);
        case StoreType::Int32:
            return Order(Load<int>(a), Load<int>(b));
        case StoreType::Int64:
            return Order(Load<long long>(a), Load<long long>(b));
        case StoreType::Real32:
            return OrderReal(Load<float>(a), Load<float>(b));
        case StoreType::Real64:
            return OrderReal(Load<double>(a), Load<double>(b));
        case StoreType::String:
            return Order(
                CollatorOf(type).Compare(Object<RIndirectString>(a), Object<RIndirectString>(b)),
                0);
        case StoreType::Date:
        case StoreType::DateTime:
            return Order(Load<QelDateTime>(a), Load<QelDateTime>(b));
        case StoreType::Color:
            return Order(Load<QelColor>(a), Load<QelColor>(b));
        case StoreType::External:
            return OrderExternal(Object<ExternalPtr>(a), Object<ExternalPtr>(b));
        default:
            PrimitiveErrorFunction(type->GetStoreType());
    }
}

std::size_t HashMember(Type const* type, unsigned char const* at) {
    switch (type->GetStoreType()) {
        case StoreType::Bool:
            return *at;
        case StoreType::Int32:
        case StoreType::Real32:
        case StoreType::Color:
            return Load<std::uint32_t>(at);
        case StoreType::Int64:
        case StoreType::Real64:
        case StoreType::Date:
        case StoreType::DateTime:
            return Load<std::uint64_t>(at);
        case StoreType::String:
            return CollatorOf(type).Hash(Object<RIndirectString>(at));
        case StoreType::External: {
            ExternalPtr const& value = Object<ExternalPtr>(at);
            return value == nullptr ? 0 : value->GetHashValue();
        }
        default:
            PrimitiveErrorFunction(type->GetStoreType());
    }
}

}  // namespace

// ---------------------------------------------------------------------------
// Life cycle

QelTupleData::QelTupleData() : QelTupleData(TupleType::Get({})) {}

QelTupleData::QelTupleData(TupleType const* type) : m_type(type), m_ownsData(true) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
}

QelTupleData::QelTupleData(QelTupleData const& other) : QelTupleData(other, true) {}

QelTupleData::QelTupleData(QelTupleData&& other) noexcept
    : m_type(other.m_type), m_ownsData(other.m_ownsData), m_data(std::move(other.m_data)) {}

QelTupleData::QelTupleData(QelTupleData const& other, bool ownsData)
    : m_type(other.m_type), m_ownsData(ownsData) {
    CopyData(other);
}

QelTupleData& QelTupleData::operator=(QelTupleData const& other) {
    // Copy first: `other` may be this tuple, or a reference into its buffer.
    QelTupleData copy(other, true);
    return *this = std::move(copy);
}

QelTupleData& QelTupleData::operator=(QelTupleData&& other) noexcept {
    if (this != &other) {
        DestroyData();
        m_type = other.m_type;
        m_ownsData = other.m_ownsData;
        m_data = std::move(other.m_data);
    }
    return *this;
}

QelTupleData::~QelTupleData() {
    DestroyData();
}

QelTupleData QelTupleData::CloneOf() const {
    return QelTupleData(*this, true);
}

QelTupleData QelTupleData::ReferenceTo() const {
    return QelTupleData(*this, false);
}

// Zeroes cover every member but those whose zero bytes aren't their default:
// dates start at DateTimeDefault, and strings and external values are objects.
std::shared_ptr<unsigned char[]> QelTupleData::InitializeData() const {
    QEL_VALIDATE_LOGIC(m_ownsData, QelError::Unspecified);
    PackedStructOffsets const& offsets = *m_type->GetOffsets();
    std::shared_ptr<unsigned char[]> data(new unsigned char[offsets.GetSize()]());
    auto const& members = m_type->GetMembers();
    for (unsigned int i = 0; i < members.size(); ++i) {
        unsigned char* at = data.get() + offsets.GetValueOffsetUnsafe(i);
        switch (members[i]->GetStoreType()) {
            case StoreType::Date:
            case StoreType::DateTime:
                new (at) QelDateTime();
                break;
            case StoreType::String:
                new (at) RIndirectString();
                break;
            case StoreType::External:
                new (at) ExternalPtr();
                break;
            default:
                break;
        }
    }
    return data;
}

void QelTupleData::CopyData(QelTupleData const& other) const {
    QEL_VALIDATE_LOGIC(m_type == other.m_type, QelError::TypeDoesntMatchExpectedType);
    if (!m_ownsData) {
        m_data = other.m_data;
        return;
    }
    if (other.m_data == nullptr) {
        m_data.reset();
        return;
    }
    PackedStructOffsets const& offsets = *m_type->GetOffsets();
    std::shared_ptr<unsigned char[]> data(new unsigned char[offsets.GetSize()]);
    unsigned char const* source = other.m_data.get();
    std::memcpy(data.get(), source, offsets.GetSize());
    // The bytes of plain members are their values; objects are copied as
    // objects, so that string storage and external values gain an owner.
    auto const& members = m_type->GetMembers();
    for (unsigned int i = 0; i < members.size(); ++i) {
        unsigned int const offset = offsets.GetValueOffsetUnsafe(i);
        if (members[i]->Is(StoreType::String))
            new (data.get() + offset) RIndirectString(Object<RIndirectString>(source + offset));
        else if (members[i]->Is(StoreType::External))
            new (data.get() + offset) ExternalPtr(Object<ExternalPtr>(source + offset));
    }
    m_data = std::move(data);
}

void QelTupleData::DestroyData() noexcept {
    if (m_ownsData && m_data != nullptr) {
        PackedStructOffsets const& offsets = *m_type->GetOffsets();
        auto const& members = m_type->GetMembers();
        for (unsigned int i = 0; i < members.size(); ++i) {
            unsigned char* at = m_data.get() + offsets.GetValueOffsetUnsafe(i);
            if (members[i]->Is(StoreType::String))
                std::launder(reinterpret_cast<RIndirectString*>(at))->~RIndirectString();
            else if (members[i]->Is(StoreType::External))
                std::launder(reinterpret_cast<ExternalPtr*>(at))->~ExternalPtr();
        }
    }
    m_data.reset();
}

// ---------------------------------------------------------------------------
// Members

unsigned int QelTupleData::GetValueOffset(unsigned int index) const {
    return m_type->GetOffsets()->GetValueOffset(index);
}

unsigned int QelTupleData::GetSpecialOffset(unsigned int index) const {
    return m_type->GetOffsets()->GetSpecialOffset(index);
}

Type const* QelTupleData::GetNthType(unsigned int index) const {
    auto const& members = m_type->GetMembers();
    QEL_VALIDATE(index < members.size(), QelError::IndexOutOfBounds);
    return members[index];
}

std::size_t QelTupleData::GetCount() const noexcept {
    return m_type->GetMembers().size();
}

unsigned int QelTupleData::GetDataSize() const noexcept {
    return m_type->GetOffsets()->GetSize();
}

bool QelTupleData::IsNthSpecial(unsigned int index) const {
    return GetNthSpecial(index) != SpecialKind::Normal;
}

unsigned char* QelTupleData::ValueAt(unsigned int index) const {
    return Data() + m_type->GetOffsets()->GetValueOffsetUnsafe(index);
}

// Plain values are copied in and out as bytes; strings and external values
// are objects that live in the buffer.
template <class T>
typename TypeTraits<T>::ArgType QelTupleData::GetNthValueUnsafe(unsigned int index) const {
    unsigned char const* at = ValueAt(index);
    if constexpr (std::is_same_v<T, bool>) {
        return *at != 0;
    } else if constexpr (std::is_trivially_copyable_v<T>) {
        T value;
        std::memcpy(&value, at, sizeof(T));
        return value;
    } else {
        return *std::launder(reinterpret_cast<T const*>(at));
    }
}

template <class T>
void QelTupleData::SetNthValueUnsafe(unsigned int index, typename TypeTraits<T>::ArgType value) {
    unsigned char* at = ValueAt(index);
    if constexpr (std::is_same_v<T, bool>) {
        *at = value ? 1 : 0;
    } else if constexpr (std::is_trivially_copyable_v<T>) {
        std::memcpy(at, &value, sizeof(T));
    } else {
        *std::launder(reinterpret_cast<T*>(at)) = value;
    }
}

#define QEL_DETAIL_TUPLE_UNSAFE(X, T)                                                        \
    TypeTraits<T>::ArgType QelTupleData::GetNth##X##Unsafe(unsigned int index) const {       \
        return GetNthValueUnsafe<T>(index);                                                  \
    }                                                                                        \
    void QelTupleData::SetNth##X##Unsafe(unsigned int index, TypeTraits<T>::ArgType value) { \
        SetNthValueUnsafe<T>(index, value);                                                  \
    }
QEL_DETAIL_TUPLE_UNSAFE(Bool, bool)
QEL_DETAIL_TUPLE_UNSAFE(Int32, int)
QEL_DETAIL_TUPLE_UNSAFE(Int64, long long)
QEL_DETAIL_TUPLE_UNSAFE(Real32, float)
QEL_DETAIL_TUPLE_UNSAFE(Real64, double)
QEL_DETAIL_TUPLE_UNSAFE(String, RIndirectString)
QEL_DETAIL_TUPLE_UNSAFE(Date, QelDateTime)
QEL_DETAIL_TUPLE_UNSAFE(DateTime, QelDateTime)
QEL_DETAIL_TUPLE_UNSAFE(Color, QelColor)
QEL_DETAIL_TUPLE_UNSAFE(External, std::shared_ptr<StoreValue>)
#undef QEL_DETAIL_TUPLE_UNSAFE

SpecialKind QelTupleData::GetNthSpecialUnsafe(unsigned int index) const {
    return static_cast<SpecialKind>(Data()[m_type->GetOffsets()->GetSpecialOffsetUnsafe(index)]);
}

void QelTupleData::SetNthSpecialUnsafe(unsigned int index, SpecialKind kind) {
    Data()[m_type->GetOffsets()->GetSpecialOffsetUnsafe(index)] = static_cast<unsigned char>(kind);
}

template <class T>
typename TypeTraits<T>::ArgType QelTupleData::GetNthValue(unsigned int index) const {
    QEL_VALIDATE(TypeTraits<T>::IsMatchingType(GetNthType(index)),
                 QelError::TypeDoesntMatchExpectedType);
    return GetNthValueUnsafe<T>(index);
}

#define QEL_DETAIL_TUPLE_INSTANTIATE(T)                                                     \
    template TypeTraits<T>::ArgType QelTupleData::GetNthValue<T>(unsigned int) const;       \
    template TypeTraits<T>::ArgType QelTupleData::GetNthValueUnsafe<T>(unsigned int) const; \
    template void QelTupleData::SetNthValueUnsafe<T>(unsigned int, TypeTraits<T>::ArgType);
QEL_FOR_EACH_VALUE_TYPE(QEL_DETAIL_TUPLE_INSTANTIATE)
#undef QEL_DETAIL_TUPLE_INSTANTIATE

// The checked accessors of one store type X, whose values are T.
#define QEL_DETAIL_TUPLE_CHECKED(X, T)                                                            \
    TypeTraits<T>::ArgType QelTupleData::GetNth##X(unsigned int index) const {                    \
        QEL_VALIDATE(GetNthType(index)->Is(StoreType::X), QelError::TypeDoesntMatchExpectedType); \
        return GetNthValueUnsafe<T>(index);                                                       \
    }                                                                                             \
    void QelTupleData::SetNth##X(unsigned int index, TypeTraits<T>::ArgType value) {              \
        QEL_VALIDATE(GetNthType(index)->Is(StoreType::X), QelError::TypeDoesntMatchExpectedType); \
        SetNthValueUnsafe<T>(index, value);                                                       \
    }
QEL_DETAIL_TUPLE_CHECKED(Bool, bool)
QEL_DETAIL_TUPLE_CHECKED(Int32, int)
QEL_DETAIL_TUPLE_CHECKED(Int64, long long)
QEL_DETAIL_TUPLE_CHECKED(Real32, float)
QEL_DETAIL_TUPLE_CHECKED(Real64, double)
QEL_DETAIL_TUPLE_CHECKED(String, RIndirectString)
QEL_DETAIL_TUPLE_CHECKED(Date, QelDateTime)
QEL_DETAIL_TUPLE_CHECKED(DateTime, QelDateTime)
QEL_DETAIL_TUPLE_CHECKED(Color, QelColor)
QEL_DETAIL_TUPLE_CHECKED(External, ExternalPtr)
#undef QEL_DETAIL_TUPLE_CHECKED

SpecialKind QelTupleData::GetNthSpecial(unsigned int index) const {
    QEL_VALIDATE(index < m_type->GetMembers().size(), QelError::IndexOutOfBounds);
    return GetNthSpecialUnsafe(index);
}

void QelTupleData::SetNthSpecial(unsigned int index, SpecialKind kind) {
    QEL_VALIDATE(index < m_type->GetMembers().size(), QelError::IndexOutOfBounds);
    SetNthSpecialUnsafe(index, kind);
}

// ---------------------------------------------------------------------------
// Order and hash

// The value of a special member is compared too: it is whatever was last
// written there, so two equal specials may still differ.
int QelTupleData::Compare(QelTupleData const& other) const {
    QEL_VALIDATE(m_type == other.m_type, QelError::TypeMismatch);
    unsigned char const* a = Data();
    unsigned char const* b = other.Data();
    PackedStructOffsets const& offsets = *m_type->GetOffsets();
    auto const& members = m_type->GetMembers();
    for (unsigned int i = 0; i < members.size(); ++i) {
        unsigned int const special = offsets.GetSpecialOffsetUnsafe(i);
        if (a[special] != b[special])
            return a[special] < b[special] ? 1 : -1;
        unsigned int const value = offsets.GetValueOffsetUnsafe(i);
        if (int const result = CompareMember(members[i], a + value, b + value); result != 0)
            return result;
    }
    return 0;
}

std::size_t QelTupleData::GetHashValue() const {
    unsigned char const* data = Data();
    PackedStructOffsets const& offsets = *m_type->GetOffsets();
    auto const& members = m_type->GetMembers();
    std::uint64_t h = 0;
    for (unsigned int i = 0; i < members.size(); ++i) {
        std::uint64_t const s = data[offsets.GetSpecialOffsetUnsafe(i)];
        std::uint64_t const v = HashMember(members[i], data + offsets.GetValueOffsetUnsafe(i));
        h = ((h >> 2) + h * 64 + s + v + 0x9e3779b9ULL) ^ h;
    }
    return static_cast<std::size_t>(h);
}

}  // namespace qel::core
