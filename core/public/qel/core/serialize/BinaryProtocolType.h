#pragma once

// The one-byte codes of the binary protocol that carry the shape of what
// follows: BinaryListType for the layout of a list of values, and the type
// descriptor, a byte per type (store type + 1, a special bit, an
// extra-information bit) followed by what the type needs: a real's
// precision and scale, a string's collation, an external type's name, and
// the nested types of collections and tuples.

#include <cstdint>
#include <utility>

#include "qel/core/store/SortSpecOrder.h"
#include "qel/core/utility/Base.h"

namespace qel::core {

class Type;

enum class BinaryContainerType : std::uint8_t {
    INVALID = 0,
    Array = 1,
    ByteBlob = 2,
    CompositeArray = 3,
    ConstantArray = 4,
    Set = 5,
    Tuple = 6,
    COUNT = 7,
};

// Bits 0-2 the container, 3 has specials, 4 has indices, 5-6 the sort order.
class BinaryListType {
public:
    constexpr BinaryListType() = default;
    constexpr explicit BinaryListType(unsigned char byte) : m_byte(byte) {}
    constexpr BinaryListType(BinaryContainerType container, bool hasSpecials, bool hasIndices,
                             SortSpecOrder order)
        : m_byte(static_cast<unsigned char>((static_cast<unsigned>(container) & 7u) |
                                            (hasSpecials ? 8u : 0u) | (hasIndices ? 16u : 0u) |
                                            ((static_cast<unsigned>(order) & 3u) << 5))) {}

    static constexpr BinaryListType Array(bool hasSpecials, SortSpecOrder order) {
        return {BinaryContainerType::Array, hasSpecials, false, order};
    }
    static constexpr BinaryListType CompositeArray(bool hasIndices, SortSpecOrder order) {
        return {BinaryContainerType::CompositeArray, false, hasIndices, order};
    }
    static constexpr BinaryListType ConstantArray(bool hasSpecials) {
        return {BinaryContainerType::ConstantArray, hasSpecials, false, SortSpecOrder::UNKNOWN};
    }
    static constexpr BinaryListType Set(bool hasSpecials) {
        return {BinaryContainerType::Set, hasSpecials, false, SortSpecOrder::UNKNOWN};
    }
    static constexpr BinaryListType Tuple(bool hasSpecials) {
        return {BinaryContainerType::Tuple, hasSpecials, false, SortSpecOrder::UNKNOWN};
    }

    constexpr BinaryContainerType GetContainerType() const {
        return static_cast<BinaryContainerType>(m_byte & 7u);
    }
    constexpr bool HasSpecials() const { return (m_byte & 8u) != 0; }
    constexpr bool HasIndices() const { return (m_byte & 16u) != 0; }
    constexpr SortSpecOrder GetSortOrder() const {
        return static_cast<SortSpecOrder>((m_byte >> 5) & 3u);
    }
    constexpr bool operator==(BinaryListType const& other) const = default;
    constexpr operator signed char() const { return static_cast<signed char>(m_byte); }

    static BinaryListType const ArrayNoSpecials;
    static BinaryListType const ArrayWithSpecials;
    static BinaryListType const ByteBlob;
    static BinaryListType const CompositeArrayNoIndices;
    static BinaryListType const CompositeArrayWithIndices;
    static BinaryListType const ConstantArrayNoSpecials;
    static BinaryListType const ConstantArrayWithSpecials;
    static BinaryListType const SetNoSpecials;
    static BinaryListType const SetWithSpecials;
    static BinaryListType const TupleNoSpecials;
    static BinaryListType const TupleWithSpecials;

private:
    unsigned char m_byte = 0;
};

inline constexpr BinaryListType BinaryListType::ArrayNoSpecials{0x01};
inline constexpr BinaryListType BinaryListType::ArrayWithSpecials{0x09};
inline constexpr BinaryListType BinaryListType::ByteBlob{0x02};
inline constexpr BinaryListType BinaryListType::CompositeArrayNoIndices{0x03};
inline constexpr BinaryListType BinaryListType::CompositeArrayWithIndices{0x13};
inline constexpr BinaryListType BinaryListType::ConstantArrayNoSpecials{0x04};
inline constexpr BinaryListType BinaryListType::ConstantArrayWithSpecials{0x0C};
inline constexpr BinaryListType BinaryListType::SetNoSpecials{0x05};
inline constexpr BinaryListType BinaryListType::SetWithSpecials{0x0D};
inline constexpr BinaryListType BinaryListType::TupleNoSpecials{0x06};
inline constexpr BinaryListType BinaryListType::TupleWithSpecials{0x0E};

// The kind of a key set: its normal keys only, or a second segment of
// special keys. Any other byte read from a payload is refused when the key
// set opens.
enum class BinaryKeySetType : unsigned char {
    NoSpecials = 1,
    WithSpecials = 2,
};

// Where a type descriptor goes and comes from: the payload's data stream,
// with strings through its string table.
class IBinaryProtocolTypeWriter {
public:
    virtual ~IBinaryProtocolTypeWriter() = default;
    virtual void Append(signed char value) = 0;
    virtual void Append(unsigned char value) = 0;
    virtual void Append(TStringCore const& text) = 0;
};

class IBinaryProtocolTypeReader {
public:
    virtual ~IBinaryProtocolTypeReader() = default;
    virtual signed char ReadInt8() = 0;
    virtual unsigned char ReadUInt8() = 0;
    virtual TStringCore ReadString() = 0;
};

void SerializeBinaryProtocolType(IBinaryProtocolTypeWriter& writer, Type const* type,
                                 bool isSpecial);

// The type, interned, and the special bit of its first byte. Nested types
// may not be null or special; anything out of place is "invalid StoreType".
// Types nest at most 100 deep, so that hostile bytes cannot exhaust the
// stack.
std::pair<Type const*, bool> ReadBinaryProtocolType(IBinaryProtocolTypeReader& reader);

}  // namespace qel::core
