// The key sets of the binary value reader: one reading per pair of key and
// value storage types.

#include <memory>
#include <type_traits>
#include <utility>

#include "core/main/serialize/StoreValueBinaryParserImpl.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueKeySet.h"
#include "qel/core/utility/UnorderedMapUtil.h"

namespace qel::core::binary_parser {

namespace {

struct MakeKeySetHelper {
    BinaryProtocolReader& p;
    KeySetType const* type;
    BinaryKeySetType kind;

    template <class K, class V>
    std::shared_ptr<StoreValue> operator()() {
        Type const* const keyType = type->GetKeyType();
        Type const* const valueType = type->GetElementType();
        if constexpr (std::is_same_v<K, NestedValue>) {
            QEL_VALIDATE_LOGIC(IsStoreTypeSupportedInKeySetAsKey(keyType->GetStoreType()),
                               QelError::Unspecified);
            return nullptr;
        } else {
            std::unique_ptr<DictionaryMap<K, V>> values;
            if constexpr (std::is_same_v<K, RIndirectString>)
                values = factory::MakeRawKeySet<V>(keyType);
            else
                values = std::make_unique<DictionaryMap<K, V>>();
            ElementTypeOf elementType(valueType);
            unsigned int const count = p.BeginListData();
            for (unsigned int i = 0; i < count; ++i) {
                K key = ReadKey<K>(p, keyType);
                V value = ReadPrimitiveOrValue<V>(p, valueType);
                elementType.Add(value);
                UnorderedMapInsertUnique(values, std::move(key), std::move(value));
            }
            p.EndListData();
            auto specials = std::make_unique<SpecialKeyMap<V>>();
            if (kind == BinaryKeySetType::WithSpecials) {
                unsigned int const specialCount = p.BeginListData();
                for (unsigned int i = 0; i < specialCount; ++i) {
                    SpecialKind const key = CheckedSpecial(p.ReadSpecialKey());
                    // Normal is no special key: it would stand beside the
                    // normal keys as a second kind of the same entry.
                    QEL_VALIDATE(key != SpecialKind::Normal, QelError::IllegalSpecialKindValue);
                    V value = ReadPrimitiveOrValue<V>(p, valueType);
                    elementType.Add(value);
                    UnorderedMapInsertUnique(specials, key, std::move(value));
                }
                p.EndListData();
            }
            return factory::MakeKeySet<K, V>(keyType, elementType.Get(), std::move(values),
                                             std::move(specials));
        }
    }
};

}  // namespace

std::shared_ptr<StoreValue> MakeKeySet(BinaryProtocolReader& p, Type const* type) {
    KeySetType const* const keySetType = TypeAs<KeySetType>(type);
    MakeKeySetHelper helper{p, keySetType, p.BeginKeySetType()};
    std::shared_ptr<StoreValue> result =
        ForAnyTwoStorageTypes(keySetType->GetKeyType()->GetStoreType(),
                              keySetType->GetElementType()->GetStoreType(), helper);
    p.EndKeySetType();
    return result;
}

}  // namespace qel::core::binary_parser
