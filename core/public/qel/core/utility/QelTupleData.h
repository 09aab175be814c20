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
#include <cstdint>
#include <functional>
#include <memory>

#include "qel/core/utility/QelColor.h"
#include "qel/core/utility/QelDateTime.h"

namespace qel::core {

// The tuple's type and its members' values belong to the areas above this
// one (types/HeterogeneousType.h, types/TypeTraits.h, store/SpecialKind.h);
// every accessor that needs them is defined out of line.
class RIndirectString;
class StoreValue;
class TupleType;
class Type;
template <class T>
struct TypeTraits;
enum class SpecialKind : std::uint8_t;

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
    std::size_t GetCount() const noexcept;
    unsigned int GetDataSize() const noexcept;
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
    bool IsNthSpecial(unsigned int index) const;
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
    unsigned char* ValueAt(unsigned int index) const;
    std::shared_ptr<unsigned char[]> InitializeData() const;
    void CopyData(QelTupleData const& other) const;
    void DestroyData() noexcept;

    TupleType const* m_type;
    bool m_ownsData;
    mutable std::shared_ptr<unsigned char[]> m_data;
};

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
