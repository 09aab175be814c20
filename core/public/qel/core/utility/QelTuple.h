#pragma once

// A tuple value held in one flat buffer, so that a column of tuples needs no
// boxed values: the members lie at the offsets of their type's
// PackedStructOffsets, followed by one special byte (SpecialKind) each.
// Numbers, dates and colours lie there as plain bits; strings and external
// values as live objects (RIndirectString, std::shared_ptr<StoreValue>).
//
// Ownership: a tuple either owns its buffer's contents (it made them, and it
// destroys the strings and external values in them) or is a reference that
// shares another tuple's buffer (ReferenceTo). A reference is only good
// while its owner lives: the owner destroys the objects in the buffer even
// when a reference still shares the bytes. Copies are deep and own.
//
// The buffer is made, zeroed, on first access, even by a const accessor; a
// reference whose source had no buffer yet cannot make one and fails there.
// So a tuple isn't thread-safe, not even for reads, until its buffer exists;
// after that the Unsafe accessors may read it from several threads.
//
// Checked accessors (GetNthX, SetNthX) validate the index ("index out of
// bounds") and the member's store type ("type doesn't match expected type");
// the Unsafe ones are offset arithmetic with no check at all.
//
// QelTuple is the same object with comparison operators and hashing, for use
// as a container element.

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>

#include "qel/core/store/SpecialKind.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/PackedStructOffsets.h"
#include "qel/core/types/TypeTraits.h"

namespace qel::core {

class StoreValue;

class QelTupleData {
public:
    // A tuple of the empty tuple type.
    QelTupleData();
    // Owns; no buffer yet. A null type fails "unexpected null type".
    explicit QelTupleData(TupleType const* type);
    // A deep copy that owns its data.
    QelTupleData(QelTupleData const& other);
    // Takes all fields, the ownership included; `other` is left without buffer.
    QelTupleData(QelTupleData&& other) noexcept;
    // A deep copy when `ownsData`, else a reference sharing other's buffer.
    QelTupleData(QelTupleData const& other, bool ownsData);
    // Takes other's type and becomes an owning deep copy.
    QelTupleData& operator=(QelTupleData const& other);
    QelTupleData& operator=(QelTupleData&& other) noexcept;
    ~QelTupleData();

    QelTupleData CloneOf() const;
    QelTupleData ReferenceTo() const;

    TupleType const* GetType() const noexcept { return m_type; }
    std::size_t GetCount() const noexcept { return m_type->GetMembers().size(); }
    unsigned int GetDataSize() const noexcept { return m_type->GetOffsets()->GetSize(); }
    bool IsReference() const noexcept { return !m_ownsData; }
    unsigned int GetValueOffset(unsigned int index) const;
    unsigned int GetSpecialOffset(unsigned int index) const;
    Type const* GetNthType(unsigned int index) const;

    // Member by member: first the special bytes, where a normal member is
    // greater than a special one and a lower kind greater than a higher one
    // (the reverse of the order among values); then the values. -1, 0 or 1.
    // Different tuple types fail "type mismatch".
    int Compare(QelTupleData const& other) const;
    // Strings hash by their collation; 0.0 and -0.0 hash apart.
    std::size_t GetHashValue() const;

    bool GetNthBool(unsigned int index) const;
    bool GetNthBoolUnsafe(unsigned int index) const;
    void SetNthBool(unsigned int index, bool value);
    void SetNthBoolUnsafe(unsigned int index, bool value);
    int GetNthInt32(unsigned int index) const;
    int GetNthInt32Unsafe(unsigned int index) const;
    void SetNthInt32(unsigned int index, int value);
    void SetNthInt32Unsafe(unsigned int index, int value);
    long long GetNthInt64(unsigned int index) const;
    long long GetNthInt64Unsafe(unsigned int index) const;
    void SetNthInt64(unsigned int index, long long value);
    void SetNthInt64Unsafe(unsigned int index, long long value);
    float GetNthReal32(unsigned int index) const;
    float GetNthReal32Unsafe(unsigned int index) const;
    void SetNthReal32(unsigned int index, float value);
    void SetNthReal32Unsafe(unsigned int index, float value);
    double GetNthReal64(unsigned int index) const;
    double GetNthReal64Unsafe(unsigned int index) const;
    void SetNthReal64(unsigned int index, double value);
    void SetNthReal64Unsafe(unsigned int index, double value);
    RIndirectString const& GetNthString(unsigned int index) const;
    RIndirectString const& GetNthStringUnsafe(unsigned int index) const;
    void SetNthString(unsigned int index, RIndirectString const& value);
    void SetNthStringUnsafe(unsigned int index, RIndirectString const& value);
    QelDateTime GetNthDate(unsigned int index) const;
    QelDateTime GetNthDateUnsafe(unsigned int index) const;
    void SetNthDate(unsigned int index, QelDateTime value);
    void SetNthDateUnsafe(unsigned int index, QelDateTime value);
    QelDateTime GetNthDateTime(unsigned int index) const;
    QelDateTime GetNthDateTimeUnsafe(unsigned int index) const;
    void SetNthDateTime(unsigned int index, QelDateTime value);
    void SetNthDateTimeUnsafe(unsigned int index, QelDateTime value);
    QelColor GetNthColor(unsigned int index) const;
    QelColor GetNthColorUnsafe(unsigned int index) const;
    void SetNthColor(unsigned int index, QelColor value);
    void SetNthColorUnsafe(unsigned int index, QelColor value);
    std::shared_ptr<StoreValue> const& GetNthExternal(unsigned int index) const;
    std::shared_ptr<StoreValue> const& GetNthExternalUnsafe(unsigned int index) const;
    void SetNthExternal(unsigned int index, std::shared_ptr<StoreValue> const& value);
    void SetNthExternalUnsafe(unsigned int index, std::shared_ptr<StoreValue> const& value);

    // The special byte; setting it leaves the value as it is, and setting a
    // value leaves the special byte.
    SpecialKind GetNthSpecial(unsigned int index) const;
    SpecialKind GetNthSpecialUnsafe(unsigned int index) const;
    bool IsNthSpecial(unsigned int index) const {
        return GetNthSpecial(index) != SpecialKind::Normal;
    }
    void SetNthSpecial(unsigned int index, SpecialKind kind);
    void SetNthSpecialUnsafe(unsigned int index, SpecialKind kind);

    // T is an element type of TypeTraits or one of the storage types
    // unsigned char, unsigned int and unsigned long long, which read the raw
    // bits of every member of their width. The checked form accepts a member
    // whose store type TypeTraits<T> matches.
    template <class T>
    typename TypeTraits<T>::ArgType GetNthValue(unsigned int index) const;
    template <class T>
    typename TypeTraits<T>::ArgType GetNthValueUnsafe(unsigned int index) const;
    template <class T>
    void SetNthValueUnsafe(unsigned int index, typename TypeTraits<T>::ArgType value);

private:
    // The buffer, made on first use.
    unsigned char* Data() const {
        if (m_data == nullptr) [[unlikely]]
            m_data = InitializeData();
        return m_data.get();
    }
    unsigned char* ValueAt(unsigned int index) const {
        return Data() + m_type->GetOffsets()->GetValueOffsetUnsafe(index);
    }
    std::shared_ptr<unsigned char[]> InitializeData() const;
    void CopyData(QelTupleData const& other) const;
    void DestroyData() noexcept;

    TupleType const* m_type;
    bool m_ownsData;
    mutable std::shared_ptr<unsigned char[]> m_data;
};

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

// clang-format off
#define QEL_DETAIL_TUPLE_VALUE_TYPES(X)                                          \
    X(bool) X(int) X(long long) X(float) X(double) X(RIndirectString)            \
    X(QelDateTime) X(QelColor) X(std::shared_ptr<StoreValue>)                    \
    X(unsigned char) X(unsigned int) X(unsigned long long)
// clang-format on

#define QEL_DETAIL_TUPLE_EXTERN(T)                                                                 \
    extern template TypeTraits<T>::ArgType QelTupleData::GetNthValue<T>(unsigned int) const;       \
    extern template TypeTraits<T>::ArgType QelTupleData::GetNthValueUnsafe<T>(unsigned int) const; \
    extern template void QelTupleData::SetNthValueUnsafe<T>(unsigned int, TypeTraits<T>::ArgType);
QEL_DETAIL_TUPLE_VALUE_TYPES(QEL_DETAIL_TUPLE_EXTERN)
#undef QEL_DETAIL_TUPLE_EXTERN

#define QEL_DETAIL_TUPLE_UNSAFE(X, T)                                                         \
    inline TypeTraits<T>::ArgType QelTupleData::GetNth##X##Unsafe(unsigned int index) const { \
        return GetNthValueUnsafe<T>(index);                                                   \
    }                                                                                         \
    inline void QelTupleData::SetNth##X##Unsafe(unsigned int index,                           \
                                                TypeTraits<T>::ArgType value) {               \
        SetNthValueUnsafe<T>(index, value);                                                   \
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

inline SpecialKind QelTupleData::GetNthSpecialUnsafe(unsigned int index) const {
    return static_cast<SpecialKind>(Data()[m_type->GetOffsets()->GetSpecialOffsetUnsafe(index)]);
}

inline void QelTupleData::SetNthSpecialUnsafe(unsigned int index, SpecialKind kind) {
    Data()[m_type->GetOffsets()->GetSpecialOffsetUnsafe(index)] = static_cast<unsigned char>(kind);
}

class QelTuple : public QelTupleData {
public:
    QelTuple() = default;
    explicit QelTuple(TupleType const* type) : QelTupleData(type) {}
    // A reference to `data`'s buffer: what an array hands out for an element.
    explicit QelTuple(QelTupleData const& data) : QelTupleData(data, false) {}
    QelTuple(QelTuple const&) = default;
    QelTuple(QelTuple&&) noexcept = default;
    QelTuple& operator=(QelTuple const&) = default;
    QelTuple& operator=(QelTuple&&) noexcept = default;
};

inline bool operator==(QelTuple const& a, QelTuple const& b) {
    return a.Compare(b) == 0;
}
inline bool operator!=(QelTuple const& a, QelTuple const& b) {
    return a.Compare(b) != 0;
}
inline bool operator<(QelTuple const& a, QelTuple const& b) {
    return a.Compare(b) < 0;
}
inline bool operator>(QelTuple const& a, QelTuple const& b) {
    return a.Compare(b) > 0;
}

}  // namespace qel::core

template <>
struct std::hash<qel::core::QelTuple> {
    std::size_t operator()(qel::core::QelTuple const& t) const { return t.GetHashValue(); }
};

template <>
struct std::equal_to<qel::core::QelTuple> {
    bool operator()(qel::core::QelTuple const& a, qel::core::QelTuple const& b) const {
        return a == b;
    }
};
