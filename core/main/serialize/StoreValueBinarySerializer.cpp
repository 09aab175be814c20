#include "qel/core/serialize/StoreValueBinarySerializer.h"

#include <limits>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "qel/core/serialize/BinaryProtocol.h"
#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/DataStore.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/store/SetIterators.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/QelTupleData.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

using NestedValue = std::shared_ptr<StoreValue>;

template <class T>
constexpr bool kFixedWidth = std::is_same_v<T, unsigned char> || std::is_same_v<T, unsigned int> ||
                             std::is_same_v<T, unsigned long long>;

void SerializeTuple(BinaryProtocolCreator& p, QelTuple const& tuple);

void SerializeNested(BinaryProtocolCreator& p, NestedValue const& value) {
    QEL_VALIDATE_NOT_NULL(value, QelError::CannotSerializeNullStoreValue);
    SerializeValue(p, *value);
}

// One element of storage type T, as data or as a key. Numbers go as their
// storage bits: Real32 and Color lie in unsigned int, dates and Real64 in
// unsigned long long, and their wire bytes are the same either way.
template <class T>
struct PrimitiveSerializer {
    static void AppendData(BinaryProtocolCreator& p, T const& value) {
        if constexpr (std::is_same_v<T, RIndirectString>)
            p.AppendData(value.GetValue());
        else if constexpr (std::is_same_v<T, QelTuple>)
            SerializeTuple(p, value);
        else if constexpr (std::is_same_v<T, NestedValue>)
            SerializeNested(p, value);
        else
            p.AppendData(value);
    }
    // A tuple key is a tuple list, which a key set counts as its key. Nested
    // values are never keys (SerializeKeySetHelper refuses them).
    static void AppendKey(BinaryProtocolCreator& p, T const& value) {
        if constexpr (std::is_same_v<T, RIndirectString>)
            p.AppendKey(value.GetValue());
        else if constexpr (std::is_same_v<T, QelTuple>)
            SerializeTuple(p, value);
        else
            p.AppendKey(value);
    }
};

// The placeholder a constant array of length 0 sends, since it has no
// element 0 to send.
template <class T>
T EmptyConstant(Type const* elementType) {
    if constexpr (std::is_same_v<T, QelTuple>)
        return QelTuple(TypeAs<TupleType>(elementType));
    else
        return T{};
}

void SerializeTuple(BinaryProtocolCreator& p, QelTuple const& tuple) {
    std::vector<Type const*> const& members = tuple.GetType()->GetMembers();
    auto const size = static_cast<unsigned int>(members.size());
    std::vector<SpecialKind> specials(size);
    unsigned int specialCount = 0;
    for (unsigned int i = 0; i < size; ++i) {
        specials[i] = tuple.GetNthSpecial(i);
        if (specials[i] != SpecialKind::Normal)
            ++specialCount;
    }
    p.BeginListType(BinaryListType::Tuple(specialCount > 0));
    if (specialCount > 0) {
        p.BeginListData(size);
        p.AppendArray(ArrayView<SpecialKind const>(specials.data(), specials.size()));
        p.EndListData();
    }
    p.BeginListData(size - specialCount);
    for (unsigned int i = 0; i < size; ++i) {
        if (specials[i] != SpecialKind::Normal)
            continue;
        ForAnyStorageType(members[i]->GetStoreType(), [&]<class S>() {
            if constexpr (std::is_same_v<S, RIndirectString>)
                p.AppendData(tuple.GetNthString(i).GetValue());
            else if constexpr (std::is_same_v<S, NestedValue>)
                SerializeNested(p, tuple.GetNthExternal(i));
            else if constexpr (std::is_same_v<S, QelTuple>)
                QEL_VALIDATION_FAILED(QelError::InvalidStoreType);  // members are primitive
            else
                p.AppendData(tuple.template GetNthValue<S>(i));
        });
    }
    p.EndListData();
    p.EndListType();
}

void SerializeExternal(BinaryProtocolCreator& p, StoreValue const& value) {
    std::vector<unsigned char> const bytes = SerializeExternalType(value.AsExternal());
    QEL_VALIDATE(bytes.size() <= std::numeric_limits<unsigned int>::max(), QelError::OutOfRange);
    p.BeginListType(BinaryListType::ByteBlob);
    p.BeginListData(static_cast<unsigned int>(bytes.size()));
    p.AppendArray(ArrayView<unsigned char const>(bytes.data(), bytes.size()));
    p.EndListData();
    p.EndListType();
}

// The values of a plain array in logical order: fixed-width storage without
// indices in one block, everything else element by element.
template <class T>
void DoAppendArrayValues(BinaryProtocolCreator& p, ITypedArray<T> const& values) {
    if constexpr (kFixedWidth<T>) {
        if (!values.HasIndices()) {
            p.AppendArray(values.GetRawArray());
            return;
        }
    }
    qelsize_t const count = values.GetCount();
    for (qelsize_t i = 0; i < count; ++i)
        PrimitiveSerializer<T>::AppendData(p, values.At(i));
}

struct SerializeArrayHelper {
    BinaryProtocolCreator& p;
    StoreValue const& value;

    template <class T>
    void operator()() {
        ITypedArray<T> const& values = value.AsTypedArray<T>();
        if (values.IsConstantValue())
            Constant(values);
        else if (values.IsComposite())
            Composite(values);
        else
            Plain(values);
    }

    template <class T>
    void Plain(ITypedArray<T> const& values) {
        bool const hasSpecials = values.HasSpecialValues();
        if (hasSpecials) {
            QEL_VALIDATE_NOT(IsCollectionStoreType(values.GetElementType()->GetStoreType()),
                             QelError::ArraysWithCollectionsDoNotSupportSpecial);
        }
        qelsize_t const count = values.GetCount();
        p.BeginListType(BinaryListType::Array(hasSpecials, values.GetSortOrder()));
        p.BeginListData(count);
        DoAppendArrayValues(p, values);
        p.EndListData();
        if (hasSpecials) {
            p.BeginListData(count);
            if (!values.HasIndices()) {
                p.AppendArray(values.GetRawSpecialArray());
            } else {
                for (qelsize_t i = 0; i < count; ++i)
                    p.AppendData(values.GetSpecialAt(i));
            }
            p.EndListData();
        }
        p.EndListType();
    }

    template <class T>
    void Constant(ITypedArray<T> const& values) {
        qelsize_t const count = values.GetCount();
        bool hasSpecials = values.HasSpecialValues();
        // An empty constant array of nested values has no value to send, not
        // even a placeholder; the form with specials sends a kind instead.
        if constexpr (std::is_same_v<T, NestedValue>)
            hasSpecials = hasSpecials || count == 0;
        p.BeginListType(BinaryListType::ConstantArray(hasSpecials));
        p.BeginListData(count);
        if (hasSpecials)
            p.AppendData(count == 0 ? SpecialKind::Normal : values.GetSpecialAt(0));
        else if (count == 0)
            PrimitiveSerializer<T>::AppendData(p, EmptyConstant<T>(values.GetElementType()));
        else
            PrimitiveSerializer<T>::AppendData(p, values.At(0));
        p.EndListData();
        p.EndListType();
    }

    template <class T>
    void Composite(ITypedArray<T> const& values) {
        ArrayView<ValueCompositeArrayRange<T> const> const ranges = values.GetRawRanges();
        PackagedArrayView<qelsize_t> const& indices = ArrayWithIndices::As(values).GetIndices();
        auto const rangeCount = static_cast<unsigned int>(ranges.GetSize());
        p.BeginListType(BinaryListType::CompositeArray(!indices.IsNull(), values.GetSortOrder()));
        p.BeginListData(rangeCount);
        for (ValueCompositeArrayRange<T> const& range : ranges)
            PrimitiveSerializer<T>::AppendData(p, range.value);
        p.EndListData();
        p.BeginListData(rangeCount);
        for (ValueCompositeArrayRange<T> const& range : ranges)
            p.AppendData(range.special);
        p.EndListData();
        p.BeginListData(rangeCount);
        for (ValueCompositeArrayRange<T> const& range : ranges)
            p.AppendData(static_cast<unsigned int>(range.count));
        p.EndListData();
        if (!indices.IsNull()) {
            p.BeginListData(indices.GetSize());
            p.AppendArray(indices.GetView());
            p.EndListData();
        }
        p.EndListType();
    }
};

struct SerializeSetHelper {
    BinaryProtocolCreator& p;
    StoreValue const& value;

    template <class T>
    void operator()() {
        ITypedSet<T> const& values = value.AsTypedSet<T>();
        bool const hasSpecials = values.HasSpecialValues();
        if (hasSpecials) {
            QEL_VALIDATE_NOT(IsCollectionStoreType(values.GetElementType()->GetStoreType()),
                             QelError::SetsOfTuplesDoNotSupportSpecial);
        }
        p.BeginListType(BinaryListType::Set(hasSpecials));
        p.BeginListData(values.GetCount() - values.GetSpecialCount());
        for (T const& element : values.GetValues())
            PrimitiveSerializer<T>::AppendData(p, element);
        p.EndListData();
        if (hasSpecials) {
            p.BeginListData(values.GetSpecialCount());
            for (SpecialKind const kind : values.GetSpecialValues())
                p.AppendData(kind);
            p.EndListData();
        }
        p.EndListType();
    }
};

struct SerializeKeySetHelper {
    BinaryProtocolCreator& p;
    StoreValue const& value;

    template <class K, class V>
    void operator()() {
        if constexpr (std::is_same_v<K, NestedValue>) {
            // No such key type exists; a key set claiming one is corrupt.
            Type const* const keyType = TypeAs<KeySetType>(value.GetType())->GetKeyType();
            QEL_VALIDATE_LOGIC(IsStoreTypeSupportedInKeySetAsKey(keyType->GetStoreType()),
                               QelError::Unspecified);
        } else {
            IStoreDictionary<K, V> const& entries = value.AsDictionary<K, V>();
            bool const withSpecials = entries.HasSpecialKeys();
            p.BeginKeySetType(withSpecials ? BinaryKeySetType::WithSpecials
                                           : BinaryKeySetType::NoSpecials);
            p.BeginListData(entries.GetCount() - entries.GetSpecialKeyCount());
            for (auto const& [key, element] : entries.GetKeyValuePairs()) {
                PrimitiveSerializer<K>::AppendKey(p, key);
                PrimitiveSerializer<V>::AppendData(p, element);
            }
            p.EndListData();
            if (withSpecials) {
                p.BeginListData(entries.GetSpecialKeyCount());
                for (auto const& [kind, element] : entries.GetSpecialKeyValuePairs()) {
                    p.AppendKey(kind);
                    PrimitiveSerializer<V>::AppendData(p, element);
                }
                p.EndListData();
            }
            p.EndKeySetType();
        }
    }
};

// A name, the value's descriptor, the value: one entry of a key map or one
// column of a table.
void SerializeEntry(BinaryProtocolCreator& p, RInternString const& name, NestedValue const& value) {
    QEL_VALIDATE_NOT_NULL(value, QelError::CannotSerializeNullStoreValue);
    p.AppendKey(name.GetValue());
    p.AppendKeyType(value->GetType(), value->IsSpecial());
    SerializeValue(p, *value);
}

void SerializeKeyMap(BinaryProtocolCreator& p, IStoreKeyMap const& map) {
    p.BeginDictionaryType(map.GetCount());
    for (auto const& [name, value] : map.GetKeyValuePairs())
        SerializeEntry(p, name, value);
    p.EndDictionaryType();
}

// Always both arrays, empty when there is no sort: the reader's state
// expects two lists before the first column.
void SerializeTableSortOrder(BinaryProtocolCreator& p, IStoreTable const& table) {
    std::vector<RIndirectString> names;
    std::vector<unsigned int> orders;
    for (auto const& [name, order] : table.GetSortOrder()) {
        names.emplace_back(name.GetValue());
        orders.push_back(static_cast<unsigned int>(order));
    }
    SerializeValue(p, *factory::MakeArray<RIndirectString>(StringType::Get(), std::move(names)));
    SerializeValue(p, *factory::MakeArray<unsigned int>(IntType::Get32(), std::move(orders)));
}

void SerializeTable(BinaryProtocolCreator& p, IStoreTable const& table) {
    p.BeginTableType(table.GetColumnCount());
    SerializeTableSortOrder(p, table);
    for (auto const& [name, column] : table.GetColumns())
        SerializeEntry(p, name, column);
    p.EndTableType();
}

Type const* ElementTypeOf(StoreValue const& value) {
    return TypeAs<CollectionType>(value.GetType())->GetElementType();
}

}  // namespace

void SerializeValue(BinaryProtocolCreator& p, StoreValue const& value) {
    if (value.IsSpecial()) {
        p.AppendData(value.GetSpecialKind());
        return;
    }
    switch (value.GetStoreType()) {
        case StoreType::Bool:
            p.AppendData(value.AsBool());
            return;
        case StoreType::Int32:
            p.AppendData(value.AsInt32());
            return;
        case StoreType::Int64:
            p.AppendData(value.AsInt64());
            return;
        case StoreType::Real32:
            p.AppendData(value.AsReal32());
            return;
        case StoreType::Real64:
            p.AppendData(value.AsReal64());
            return;
        case StoreType::String:
            p.AppendData(value.AsString().GetValue());
            return;
        case StoreType::Date:
            p.AppendData(value.AsDate());
            return;
        case StoreType::DateTime:
            p.AppendData(value.AsDateTime());
            return;
        case StoreType::Color:
            p.AppendData(value.AsColor());
            return;
        case StoreType::Tuple:
            SerializeTuple(p, value.AsTuple());
            return;
        case StoreType::External:
            SerializeExternal(p, value);
            return;
        case StoreType::Array:
            ForAnyStorageType(ElementTypeOf(value)->GetStoreType(), SerializeArrayHelper{p, value});
            return;
        case StoreType::Set:
            ForAnyStorageType(ElementTypeOf(value)->GetStoreType(), SerializeSetHelper{p, value});
            return;
        case StoreType::KeySet: {
            auto const* type = TypeAs<KeySetType>(value.GetType());
            SerializeKeySetHelper helper{p, value};
            ForAnyTwoStorageTypes(type->GetKeyType()->GetStoreType(),
                                  type->GetElementType()->GetStoreType(), helper);
            return;
        }
        case StoreType::KeyMap:
            SerializeKeyMap(p, value.AsKeyMap());
            return;
        case StoreType::Table:
            SerializeTable(p, value.AsTable());
            return;
        default:
            QEL_VALIDATION_FAILED(QelError::InvalidStoreType);
    }
}

void SerializeDataStore(BinaryProtocolCreator& protocol, IDataStore const& store) {
    std::shared_ptr<IStoreKeyMap const> const root = store.GetKeyMap();
    QEL_VALIDATE_NOT_NULL(root, QelError::CannotSerializeNullStoreValue);
    SerializeKeyMap(protocol, *root);
}

}  // namespace qel::core
