#pragma once

// What the two sources of the binary value reader share: the reading of one
// element or key by its storage type. The key sets live in a source of
// their own, since their 36 pairs of storage types are most of the
// reader's compile time.

#include <memory>
#include <type_traits>
#include <utility>

#include "qel/core/serialize/BinaryProtocol.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/utility/QelTupleData.h"
#include "qel/core/utility/Validation.h"

namespace qel::core::binary_parser {

using NestedValue = std::shared_ptr<StoreValue>;

std::shared_ptr<StoreValue> MakeStoreValue(BinaryProtocolReader& p,
                                           std::pair<Type const*, bool> const& type);
QelTuple MakeTuple(BinaryProtocolReader& p, Type const* type);
std::shared_ptr<StoreValue> MakeKeySet(BinaryProtocolReader& p, Type const* type);

// A kind read from the wire; bytes past the enumeration fail "illegal
// special kind value".
SpecialKind CheckedSpecial(SpecialKind kind);

// One element of storage type T and element type `type`.
template <class T>
T ReadPrimitiveOrValue(BinaryProtocolReader& p, Type const* type) {
    if constexpr (std::is_same_v<T, unsigned char>)
        return p.ReadStorage8Bit();
    else if constexpr (std::is_same_v<T, unsigned int>)
        return p.ReadStorage32Bit();
    else if constexpr (std::is_same_v<T, unsigned long long>)
        return p.ReadStorage64Bit();
    else if constexpr (std::is_same_v<T, RIndirectString>)
        return RIndirectString(p.ReadString());
    else if constexpr (std::is_same_v<T, QelTuple>)
        return MakeTuple(p, type);
    else
        return MakeStoreValue(p, {type, false});
}

// One key of storage type T. A tuple key is a tuple list; nested values are
// never keys.
template <class T>
T ReadKey(BinaryProtocolReader& p, Type const* type) {
    if constexpr (std::is_same_v<T, unsigned char>) {
        return p.ReadStorage8BitKey();
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return p.ReadStorage32BitKey();
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        return p.ReadStorage64BitKey();
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return RIndirectString(p.ReadStringKey());
    } else if constexpr (std::is_same_v<T, QelTuple>) {
        return MakeTuple(p, type);
    } else {
        QEL_VALIDATE_LOGIC(IsStoreTypeSupportedInKeySetAsKey(type->GetStoreType()),
                           QelError::Unspecified);
        return nullptr;
    }
}

// Nested values carry their whole type; a descriptor may not (a key map's
// or table's members are not in it). The elements' own type, when they all
// have one, is therefore the better element type of their collection: Add
// each element as it is read, then Get the type.
class ElementTypeOf {
public:
    explicit ElementTypeOf(Type const* declared) : m_declared(declared) {}

    template <class T>
    void Add(T const& value) {
        if constexpr (std::is_same_v<T, NestedValue>) {
            Type const* const type = value->GetType();
            if (m_actual == nullptr)
                m_actual = type;
            else if (type != m_actual)
                m_mixed = true;
        }
    }
    Type const* Get() const { return m_actual == nullptr || m_mixed ? m_declared : m_actual; }

private:
    Type const* m_declared;
    Type const* m_actual = nullptr;
    bool m_mixed = false;
};

// How many elements to make room for before reading them: a count from the
// wire is not trusted with memory until the elements have arrived.
inline std::size_t ReserveFor(unsigned int count) {
    return count < 1024u ? count : 1024u;
}

}  // namespace qel::core::binary_parser
