#include "qel/core/serialize/StoreValueBinaryParser.h"
#include "qel/core/serialize/StoreValueParser.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/main/serialize/StoreValueBinaryParserImpl.h"
#include "core/main/store/ValueCompositeArrayImpl.h"
#include "core/main/store/ValueSetImpl.h"
#include "qel/core/store/DataStore.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueConstantArray.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/store/ValueSet.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/UnorderedMapUtil.h"

namespace qel::core {

namespace binary_parser {

namespace {

// Structures open at once, the value being read included. Hostile bytes can
// nest key maps without end (each level costs a few bytes), and the reader
// recurses once per level.
constexpr std::size_t kMaxDepth = 100;

template <class T>
constexpr bool kFixedWidth = std::is_same_v<T, unsigned char> || std::is_same_v<T, unsigned int> ||
                             std::is_same_v<T, unsigned long long>;

template <class T>
ArrayView<T const> ReadArrayOf(BinaryProtocolReader& p, unsigned int count) {
    if constexpr (std::is_same_v<T, unsigned char>)
        return p.ReadStorage8BitArray(count);
    else if constexpr (std::is_same_v<T, unsigned int>)
        return p.ReadStorage32BitArray(count);
    else
        return p.ReadStorage64BitArray(count);
}

// The elements where they lie in the received buffer, which the result
// keeps alive.
template <class T>
std::shared_ptr<TypedRawData<T> const> InPlace(BinaryProtocolReader& p,
                                               ArrayView<T const> const& elements) {
    return UnmanagedRawData<T>::Make(p.GetSharedBufferReference(), elements);
}

SpecialKind ReadCheckedSpecial(BinaryProtocolReader& p) {
    return CheckedSpecial(p.ReadSpecial());
}

std::pair<Type const*, bool> ReadKeyType(BinaryProtocolReader& p) {
    try {
        return p.ReadKeyType();
    } catch (std::out_of_range const&) {
        // The registry's answer to a name it does not know.
        QEL_VALIDATION_FAILED(QelError::InvalidExternalTypeID);
    }
}

std::shared_ptr<StoreValue> MakeExternal(BinaryProtocolReader& p, Type const* type) {
    ExternalType const* const external = TypeAs<ExternalType>(type);
    QEL_VALIDATE(p.BeginListType().GetContainerType() == BinaryContainerType::ByteBlob,
                 QelError::BinaryProtocolHasInvalidListType);
    unsigned int const count = p.BeginListData();
    ArrayView<unsigned char const> const bytes = p.ReadStorage8BitArray(count);
    p.EndListData();
    p.EndListType();
    std::shared_ptr<ValueExternal> value;
    try {
        value = DeserializeExternalType(external->GetExternalTypeId(), bytes);
    } catch (std::out_of_range const&) {
        QEL_VALIDATION_FAILED(QelError::InvalidExternalTypeID);
    }
    QEL_VALIDATE_NOT_NULL(value, QelError::ValueMustNotBeNull);
    return value;
}

template <class T>
std::shared_ptr<StoreValue> MakePlainArray(BinaryProtocolReader& p, ArrayType const* type,
                                           BinaryListType binListType) {
    QEL_VALIDATE(binListType.GetContainerType() == BinaryContainerType::Array,
                 QelError::BinaryProtocolHasInvalidListType);
    ElementTypeOf elementType(type->GetElementType());
    unsigned int const count = p.BeginListData();
    std::shared_ptr<RawData const> values;
    if constexpr (kFixedWidth<T>) {
        values = InPlace<T>(p, ReadArrayOf<T>(p, count));
    } else {
        std::vector<T> read;
        read.reserve(ReserveFor(count));
        for (unsigned int i = 0; i < count; ++i) {
            read.push_back(ReadPrimitiveOrValue<T>(p, type->GetElementType()));
            elementType.Add(read.back());
        }
        values = std::make_shared<VectorRawData<T>>(std::move(read));
    }
    p.EndListData();
    std::shared_ptr<RawData const> specials;
    if (binListType.HasSpecials()) {
        QEL_VALIDATE(
            (type->As<CollectionType>()->GetElementType()->TryAs<CollectionType>()) == nullptr,
            QelError::ArraysWithNestedCollectionsDoNotSupport);
        unsigned int const specialCount = p.BeginListData();
        ArrayView<SpecialKind const> const kinds = p.ReadSpecialArray(specialCount);
        for (SpecialKind const kind : kinds)
            CheckedSpecial(kind);
        specials = InPlace<SpecialKind>(p, kinds);
        p.EndListData();
    }
    return factory::MakeArray<T>(elementType.Get(), std::move(values), std::move(specials),
                                 binListType.GetSortOrder());
}

template <class T>
std::shared_ptr<StoreValue> MakeConstantArray(BinaryProtocolReader& p, ArrayType const* type,
                                              BinaryListType binListType) {
    QEL_VALIDATE(binListType.GetContainerType() == BinaryContainerType::ConstantArray,
                 QelError::BinaryProtocolHasInvalidListType);
    Type const* const elementType = type->GetElementType();
    unsigned int const count = p.BeginListData();
    std::shared_ptr<StoreValue> result;
    if (binListType.HasSpecials()) {
        SpecialKind const kind = ReadCheckedSpecial(p);
        // Normal stands only for the missing element 0 of an empty array:
        // anywhere else it would leave elements that were never sent.
        QEL_VALIDATE(kind != SpecialKind::Normal || count == 0, QelError::BinaryProtocolInvalidData,
                     u"constant array without its value");
        result = factory::MakeConstantArray<T>(elementType, count, kind);
    } else {
        result = factory::MakeConstantArray<T>(elementType, ReadPrimitiveOrValue<T>(p, elementType),
                                               count);
    }
    p.EndListData();
    return result;
}

template <class T>
std::shared_ptr<StoreValue> MakeCompositeArray(BinaryProtocolReader& p, ArrayType const* type,
                                               BinaryListType binListType) {
    QEL_VALIDATE(binListType.GetContainerType() == BinaryContainerType::CompositeArray,
                 QelError::BinaryProtocolHasInvalidListType);
    Type const* const elementType = type->GetElementType();
    unsigned int const rangeCount = p.BeginListData();
    std::vector<ValueCompositeArrayRange<T>> ranges;
    ranges.reserve(ReserveFor(rangeCount));
    for (unsigned int i = 0; i < rangeCount; ++i)
        ranges.push_back({ReadPrimitiveOrValue<T>(p, elementType), SpecialKind::Normal, 0});
    p.EndListData();
    unsigned int const specialsCount = p.BeginListData();
    QEL_VALIDATE(rangeCount == specialsCount, QelError::BinaryProtocolListValueCountIncorrect);
    for (ValueCompositeArrayRange<T>& range : ranges)
        range.special = ReadCheckedSpecial(p);
    p.EndListData();
    unsigned int const countsCount = p.BeginListData();
    QEL_VALIDATE(rangeCount == countsCount, QelError::BinaryProtocolListValueCountIncorrect);
    for (ValueCompositeArrayRange<T>& range : ranges)
        range.count = p.ReadStorage32Bit();
    p.EndListData();
    std::shared_ptr<TypedRawData<qelsize_t> const> indices;
    if (binListType.HasIndices()) {
        unsigned int const indexCount = p.BeginListData();
        indices = InPlace<qelsize_t>(p, p.ReadStorage32BitArray(indexCount));
        p.EndListData();
    }
    return ValueCompositeArray<T>::Make(type, std::move(ranges), std::move(indices),
                                        binListType.GetSortOrder());
}

// An array in any of its three forms; the list type says which.
struct MakeListHelper {
    BinaryProtocolReader& p;
    ArrayType const* type;

    template <class T>
    std::shared_ptr<StoreValue> operator()() {
        BinaryListType const binListType = p.BeginListType();
        std::shared_ptr<StoreValue> result;
        switch (binListType.GetContainerType()) {
            case BinaryContainerType::CompositeArray:
                result = MakeCompositeArray<T>(p, type, binListType);
                break;
            case BinaryContainerType::ConstantArray:
                result = MakeConstantArray<T>(p, type, binListType);
                break;
            default:
                result = MakePlainArray<T>(p, type, binListType);
                break;
        }
        p.EndListType();
        return result;
    }
};

std::shared_ptr<StoreValue> MakeArray(BinaryProtocolReader& p, Type const* type) {
    ArrayType const* const arrayType = TypeAs<ArrayType>(type);
    return ForAnyStorageType(arrayType->GetElementType()->GetStoreType(),
                             MakeListHelper{p, arrayType});
}

struct MakeSetHelper {
    BinaryProtocolReader& p;
    SetType const* type;

    template <class T>
    std::shared_ptr<StoreValue> operator()() {
        Type const* const elementType = type->GetElementType();
        BinaryListType const binListType = p.BeginListType();
        QEL_VALIDATE(binListType.GetContainerType() == BinaryContainerType::Set,
                     QelError::BinaryProtocolHasInvalidListType);
        unsigned int const count = p.BeginListData();
        std::unique_ptr<ValueSetContainer<T>> values =
            MakeSetContainer<T>(elementType, ReserveFor(count));
        for (unsigned int i = 0; i < count; ++i)
            values->insert(ReadPrimitiveOrValue<T>(p, elementType));
        p.EndListData();
        auto specials = std::make_unique<SpecialKindSet>();
        if (binListType.HasSpecials()) {
            unsigned int const specialCount = p.BeginListData();
            for (unsigned int i = 0; i < specialCount; ++i)
                specials->insert(ReadCheckedSpecial(p));
            p.EndListData();
        }
        p.EndListType();
        return factory::MakeSet<T>(elementType, std::move(values), std::move(specials));
    }
};

std::shared_ptr<StoreValue> MakeSet(BinaryProtocolReader& p, Type const* type) {
    SetType const* const setType = TypeAs<SetType>(type);
    return ForAnyStorageType(setType->GetElementType()->GetStoreType(), MakeSetHelper{p, setType});
}

// A name, its descriptor and its value, into `map`: an entry of a key map or
// a column of a table.
void ReadEntry(BinaryProtocolReader& p, std::unique_ptr<ValueMap> const& map) {
    RInternString name(p.ReadStringKey());
    std::pair<Type const*, bool> const type = ReadKeyType(p);
    UnorderedMapInsertUnique(map, std::move(name), MakeStoreValue(p, type));
}

std::shared_ptr<StoreValue> MakeKeyMap(BinaryProtocolReader& p) {
    unsigned int const count = p.BeginDictionaryType();
    auto map = std::make_unique<ValueMap>();
    for (unsigned int i = 0; i < count; ++i)
        ReadEntry(p, map);
    p.EndDictionaryType();
    return factory::MakeKeyMap(std::move(map));
}

// The names of the sort columns and their SortSpecOrder numbers, as two
// arrays of any form. A sort names columns of the table, so it is no
// longer than their count: that keeps a constant array's length from the
// wire out of the loop below.
std::unique_ptr<TableSortOrder> ParseTableSortOrder(BinaryProtocolReader& p,
                                                    unsigned int columnCount) {
    std::shared_ptr<StoreValue> const names = MakeArray(p, ArrayType::Get(StringType::Get()));
    std::shared_ptr<StoreValue> const orders = MakeArray(p, ArrayType::Get(IntType::Get32()));
    ITypedArray<RIndirectString> const& nameArray = names->AsTypedArray<RIndirectString>();
    ITypedArray<unsigned int> const& orderArray = orders->AsTypedArray<unsigned int>();
    qelsize_t const count = nameArray.GetCount();
    QEL_VALIDATE(count == orderArray.GetCount() && count <= columnCount,
                 QelError::BinaryProtocolInvalidData, u"corrupt table sort metadata");
    QEL_VALIDATE(!nameArray.HasSpecialValues() && !orderArray.HasSpecialValues(),
                 QelError::BinaryProtocolInvalidData, u"corrupt table sort metadata");
    auto sortOrder = std::make_unique<TableSortOrder>();
    for (qelsize_t i = 0; i < count; ++i) {
        unsigned int const order = orderArray.At(i);
        QEL_VALIDATE(order <= static_cast<unsigned int>(SortSpecOrder::UNORD),
                     QelError::BinaryProtocolInvalidData, u"corrupt table sort metadata");
        sortOrder->emplace_back(RInternString(nameArray.At(i)), static_cast<SortSpecOrder>(order));
    }
    return sortOrder;
}

std::shared_ptr<StoreValue> MakeTable(BinaryProtocolReader& p) {
    unsigned int const count = p.BeginTableType();
    std::unique_ptr<TableSortOrder> sortOrder = ParseTableSortOrder(p, count);
    auto columns = std::make_unique<ValueMap>();
    for (unsigned int i = 0; i < count; ++i)
        ReadEntry(p, columns);
    p.EndTableType();
    return factory::MakeTable(std::move(columns), std::move(sortOrder));
}

}  // namespace

SpecialKind CheckedSpecial(SpecialKind kind) {
    QEL_VALIDATE(static_cast<unsigned int>(kind) < kSpecialKindCount,
                 QelError::IllegalSpecialKindValue);
    return kind;
}

QelTuple MakeTuple(BinaryProtocolReader& p, Type const* tupleType) {
    TupleType const* const type = TypeAs<TupleType>(tupleType);
    BinaryListType const listType = p.BeginListType();
    QEL_VALIDATE(listType.GetContainerType() == BinaryContainerType::Tuple,
                 QelError::ExpectedTupleButWas,
                 std::to_string(static_cast<unsigned int>(listType.GetContainerType())).c_str());
    std::vector<Type const*> const& members = type->GetMembers();
    unsigned int const valueCount = p.BeginListData();
    QEL_VALIDATE(valueCount == type->GetMembers().size(), QelError::Unspecified);
    QelTuple tuple(type);
    std::vector<bool> normal(valueCount, true);
    unsigned int normalCount = valueCount;
    if (listType.HasSpecials()) {
        ArrayView<SpecialKind const> const kinds = p.ReadSpecialArray(valueCount);
        p.EndListData();
        for (unsigned int i = 0; i < valueCount; ++i) {
            SpecialKind const kind = CheckedSpecial(kinds[i]);
            if (kind != SpecialKind::Normal) {
                tuple.SetNthSpecial(i, kind);
                normal[i] = false;
                --normalCount;
            }
        }
        unsigned int const count = p.BeginListData();
        QEL_VALIDATE(count == normalCount, QelError::BinaryProtocolListValueCountIncorrect);
    }
    for (unsigned int i = 0; i < valueCount; ++i) {
        if (!normal[i])
            continue;
        Type const* const member = members[i];
        ForAnyStorageType(member->GetStoreType(), [&]<class S>() {
            if constexpr (std::is_same_v<S, RIndirectString>)
                tuple.SetNthString(i, RIndirectString(p.ReadString()));
            else if constexpr (std::is_same_v<S, NestedValue>)
                tuple.SetNthExternal(i, MakeExternal(p, member));
            else if constexpr (std::is_same_v<S, QelTuple>)
                QEL_VALIDATION_FAILED(QelError::InvalidStoreType);  // members are primitive
            else
                tuple.template SetNthValueUnsafe<S>(i, ReadPrimitiveOrValue<S>(p, member));
        });
    }
    p.EndListData();
    p.EndListType();
    return tuple;
}

std::shared_ptr<StoreValue> MakeStoreValue(BinaryProtocolReader& p,
                                           std::pair<Type const*, bool> const& typeInfo) {
    Type const* const type = typeInfo.first;
    QEL_VALIDATE_NOT_NULL(type, QelError::InvalidStoreType);
    if (typeInfo.second)
        return factory::MakeSpecial(type, ReadCheckedSpecial(p));
    QEL_VALIDATE(p.GetDepth() < kMaxDepth, QelError::BinaryProtocolInvalidData,
                 u"values nested too deep");
    switch (type->GetStoreType()) {
        case StoreType::Bool:
            return factory::MakeBool(p.ReadBool());
        case StoreType::Int32:
            return factory::MakeInt32(p.ReadInt32());
        case StoreType::Int64:
            return factory::MakeInt64(p.ReadInt64());
        case StoreType::Real32: {
            RealType const* const real = TypeAs<RealType>(type);
            return factory::MakeReal32(p.ReadReal32(), real->GetPrecision(), real->GetScale());
        }
        case StoreType::Real64: {
            RealType const* const real = TypeAs<RealType>(type);
            return factory::MakeReal64(p.ReadReal64(), real->GetPrecision(), real->GetScale());
        }
        case StoreType::String:
            return factory::MakeString(p.ReadString(), TypeAs<StringType>(type)->GetCollation());
        case StoreType::Date:
            return factory::MakeDate(p.ReadDateTime());
        case StoreType::DateTime:
            return factory::MakeDateTime(p.ReadDateTime());
        case StoreType::Color:
            return factory::MakeColor(p.ReadColor().AsInt32());
        case StoreType::Tuple:
            return factory::MakeTuple(MakeTuple(p, type));
        case StoreType::External:
            return MakeExternal(p, type);
        case StoreType::Array:
            return MakeArray(p, type);
        case StoreType::Set:
            return MakeSet(p, type);
        case StoreType::KeySet:
            return MakeKeySet(p, type);
        case StoreType::KeyMap:
            return MakeKeyMap(p);
        case StoreType::Table:
            return MakeTable(p);
        default:
            QEL_VALIDATION_FAILED(QelError::InvalidStoreType);
    }
}

}  // namespace binary_parser

std::shared_ptr<IDataStore> StoreValueBinaryParser::MakeDataStore(BinaryProtocolReader& reader) {
    return factory::MakeDataStore(binary_parser::MakeKeyMap(reader));
}

std::shared_ptr<DataStore> StoreValueParser::MakeDataStore(BinaryProtocolReader& reader) {
    return std::make_shared<DataStore>(binary_parser::MakeKeyMap(reader));
}

std::shared_ptr<StoreValue> StoreValueBinaryParser::MakeStoreValue(
    BinaryProtocolReader& reader, std::pair<Type const*, bool> const& type) {
    return binary_parser::MakeStoreValue(reader, type);
}

}  // namespace qel::core
