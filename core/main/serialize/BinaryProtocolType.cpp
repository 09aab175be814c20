#include "qel/core/serialize/BinaryProtocolType.h"

#include <vector>

#include "qel/core/store/Collation.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

// The first byte of a serialized type.
class BinaryProtocolType {
public:
    explicit BinaryProtocolType(unsigned char byte) : m_byte(byte) {}
    BinaryProtocolType(StoreType storeType, bool isSpecial, bool hasExtraTypeInfo)
        : m_byte(static_cast<unsigned char>((hasExtraTypeInfo ? 0x80u : 0u) |
                                            (isSpecial ? 0x40u : 0u) |
                                            ((static_cast<unsigned>(storeType) + 1) & 63u))) {}

    bool IsNull() const { return (m_byte & 63u) == 0; }
    bool IsSpecial() const { return (m_byte & 0x40u) != 0; }
    bool HasExtraTypeInfo() const { return (m_byte & 0x80u) != 0; }
    // 255 for the null type, which is none of the store types.
    StoreType GetStoreType() const {
        return static_cast<StoreType>(static_cast<unsigned char>((m_byte & 63u) - 1));
    }
    unsigned char GetByte() const { return m_byte; }

private:
    unsigned char m_byte;
};

constexpr signed char kUnset = -1;
constexpr int kMaxDepth = 100;

bool NeedsExtraInfo(Type const* type) {
    switch (type->GetStoreType()) {
        case StoreType::Real32:
        case StoreType::Real64: {
            auto const* real = TypeAs<RealType>(type);
            return real->GetPrecision() != kUnset || real->GetScale() != kUnset;
        }
        case StoreType::String:
            // By locale name, so that writing needs no collator pool.
            return TypeAs<StringType>(type)->GetCollation().GetLocale() !=
                   Collation::DefaultCollation.GetLocale();
        case StoreType::Tuple:
            return !TypeAs<TupleType>(type)->GetMembers().empty();
        case StoreType::External:
            return true;
        default:
            return false;
    }
}

void Write(IBinaryProtocolTypeWriter& writer, Type const* type, bool isSpecial) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    StoreType const storeType = type->GetStoreType();
    bool const extra = NeedsExtraInfo(type);
    writer.Append(BinaryProtocolType(storeType, isSpecial, extra).GetByte());
    if (extra) {
        switch (storeType) {
            case StoreType::Real32:
            case StoreType::Real64: {
                auto const* real = TypeAs<RealType>(type);
                writer.Append(real->GetPrecision());
                writer.Append(real->GetScale());
                break;
            }
            case StoreType::String:
                writer.Append(TypeAs<StringType>(type)->GetCollation().GetLocale().GetValue());
                break;
            case StoreType::External:
                writer.Append(TypeAs<ExternalType>(type)->GetExternalTypeName());
                break;
            default:
                break;
        }
    }
    if (IsUniformCollectionStoreType(storeType)) {
        auto const* collection = TypeAs<CollectionType>(type);
        if (storeType == StoreType::KeySet)
            Write(writer, TypeAs<KeySetType>(type)->GetKeyType(), false);
        Write(writer, collection->GetElementType(), false);
    } else if (extra && storeType == StoreType::Tuple) {
        for (Type const* member : TypeAs<TupleType>(type)->GetMembers())
            Write(writer, member, false);
        writer.Append(static_cast<unsigned char>(0));
    }
}

Type const* ReadType(IBinaryProtocolTypeReader& reader, BinaryProtocolType binaryType, int depth);

// A nested type: neither null nor special.
Type const* ReadNested(IBinaryProtocolTypeReader& reader, int depth) {
    BinaryProtocolType const binaryType(reader.ReadUInt8());
    QEL_VALIDATE_NOT(binaryType.IsNull(), QelError::InvalidStoreType);
    QEL_VALIDATE_NOT(binaryType.IsSpecial(), QelError::OnlyPrimitiveValuesMayBeSpecialKind);
    return ReadType(reader, binaryType, depth);
}

Type const* ReadType(IBinaryProtocolTypeReader& reader, BinaryProtocolType binaryType, int depth) {
    QEL_VALIDATE(depth < kMaxDepth, QelError::InvalidStoreType);
    StoreType const storeType = binaryType.GetStoreType();
    bool const hasExtraInfo = binaryType.HasExtraTypeInfo();
    if (IsPrimitiveStoreType(storeType)) {
        switch (storeType) {
            case StoreType::Real32:
            case StoreType::Real64: {
                signed char precision = kUnset;
                signed char scale = kUnset;
                if (hasExtraInfo) {
                    precision = reader.ReadInt8();
                    scale = reader.ReadInt8();
                }
                return storeType == StoreType::Real32 ? RealType::Get32(precision, scale)
                                                      : RealType::Get64(precision, scale);
            }
            case StoreType::String:
                if (!hasExtraInfo)
                    return StringType::Get();
                return StringType::Get(Collation(RInternString(reader.ReadString())));
            case StoreType::External:
                QEL_VALIDATE(hasExtraInfo, QelError::InvalidExternalTypeID);
                return ExternalType::Get(reader.ReadString());
            default:
                QEL_VALIDATE_NOT(hasExtraInfo, QelError::InvalidStoreType);
                return MakePrimitiveType(storeType);
        }
    }
    if (IsUniformCollectionStoreType(storeType)) {
        QEL_VALIDATE_NOT(binaryType.HasExtraTypeInfo(), QelError::InvalidStoreType);
        Type const* const first = ReadNested(reader, depth + 1);
        switch (storeType) {
            case StoreType::Array:
                return ArrayType::Get(first);
            case StoreType::Set:
                return SetType::Get(first);
            default:
                return KeySetType::Get(first, ReadNested(reader, depth + 1));
        }
    }
    switch (storeType) {
        case StoreType::Table:
            return TableType::Get({});
        case StoreType::KeyMap:
            return KeyMapType::Get({});
        case StoreType::Tuple: {
            std::vector<Type const*> members;
            if (hasExtraInfo) {
                // The special bit of a member is not looked at.
                for (unsigned char byte = reader.ReadUInt8(); byte != 0; byte = reader.ReadUInt8())
                    members.push_back(ReadType(reader, BinaryProtocolType(byte), depth + 1));
            }
            return TupleType::Get(std::move(members));
        }
        default:
            QEL_VALIDATION_FAILED(QelError::InvalidStoreType);
    }
}

}  // namespace

void SerializeBinaryProtocolType(IBinaryProtocolTypeWriter& writer, Type const* type,
                                 bool isSpecial) {
    Write(writer, type, isSpecial);
}

std::pair<Type const*, bool> ReadBinaryProtocolType(IBinaryProtocolTypeReader& reader) {
    BinaryProtocolType const binaryType(reader.ReadUInt8());
    return {ReadType(reader, binaryType, 0), binaryType.IsSpecial()};
}

}  // namespace qel::core
