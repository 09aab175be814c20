// Key sets: a JSON dictionary from the text of each key to its element, or,
// when the key set has special keys, an array of two dictionaries: the
// normal keys, then the special keys by their keywords.

#include <memory>
#include <type_traits>

#include "core/main/serialize/StoreValueParser_Traits.h"
#include "qel/core/serialize/JsonSerializer.h"
#include "qel/core/serialize/StoreValueParser.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueKeySet.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/QelTupleData.h"
#include "qel/core/utility/UnorderedMapUtil.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

using namespace json_parse;

namespace {

// A dictionary key as a key of `keyType`, stored as K: numbers, bools,
// dates and colours by their literal parsers, strings as they stand, and
// tuples as the compact JSON text of the tuple.
template <class K>
K MakeKeySetKey(TStringCore const& key, Type const* keyType) {
    if constexpr (std::is_same_v<K, RIndirectString>) {
        return RIndirectString(key);
    } else if constexpr (std::is_same_v<K, QelTuple>) {
        QEL_VALIDATE(keyType->Is(StoreType::Tuple), QelError::ExpectedTupleButWas,
                     StoreTypeToString(keyType->GetStoreType()));
        return PrimitiveTraits<QelTuple>::MakePrimitive(
            keyType, GetRootJsonObject(JsonSerializer::UnescapeFromJson(key)));
    } else {
        return ParseStorageType<K>(key, keyType);
    }
}

template <class V>
V MakeKeySetElement(Type const* elementType, std::shared_ptr<IJsonObject> const& element) {
    return PrimitiveTraits<V>::MakePrimitive(elementType, element);
}

template <class K, class V>
std::unique_ptr<DictionaryMap<K, V>> MakeEmptyMap(Type const* keyType) {
    if constexpr (std::is_same_v<K, RIndirectString>)
        return factory::MakeRawKeySet<V>(keyType);
    else
        return std::make_unique<DictionaryMap<K, V>>();
}

struct MakeKeySetHelper {
    KeySetType const* type;
    std::shared_ptr<IJsonObject> const& obj;

    template <class K, class V>
    std::shared_ptr<StoreValue> operator()() const {
        Type const* const keyType = type->GetKeyType();
        Type const* const elementType = type->GetElementType();
        if constexpr (std::is_same_v<K, std::shared_ptr<StoreValue>>) {
            QEL_VALIDATION_FAILED(QelError::UnsupportedKeysetElementType,
                                  StoreTypeToString(keyType->GetStoreType()));
        } else {
            auto values = MakeEmptyMap<K, V>(keyType);
            auto specials = std::make_unique<SpecialKeyMap<V>>();
            auto const addValues = [&](std::shared_ptr<IJsonObject> const& dictionary) {
                QEL_VALIDATE(dictionary->IsDictionary(), QelError::UnexpectedContentFoundInKeySet);
                for (JsonDictionaryEntry const& entry : DictionaryOf(*dictionary)) {
                    K key = MakeKeySetKey<K>(entry.first, keyType);
                    UnorderedMapInsertUnique(values, std::move(key),
                                             MakeKeySetElement<V>(elementType, entry.second));
                }
            };
            if (obj->IsDictionary()) {
                addValues(obj);
            } else {
                auto const parts = ArrayOf(*obj);
                auto part = parts.begin();
                QEL_VALIDATE_NOT(part == parts.end(), QelError::UnexpectedContentFoundInKeySet);
                addValues(*part);
                ++part;
                QEL_VALIDATE_NOT(part == parts.end(), QelError::UnexpectedContentFoundInKeySet);
                std::shared_ptr<IJsonObject> const special = *part;
                QEL_VALIDATE(special->IsDictionary(), QelError::UnexpectedContentFoundInKeySet);
                for (JsonDictionaryEntry const& entry : DictionaryOf(*special)) {
                    // Normal is no special key, though the keyword parser knows it.
                    SpecialKind const kind = SpecialKindFromString(entry.first);
                    QEL_VALIDATE(kind != SpecialKind::Normal, QelError::CannotParseSpecialKind,
                                 entry.first);
                    UnorderedMapInsertUnique(specials, kind,
                                             MakeKeySetElement<V>(elementType, entry.second));
                }
                ++part;
                QEL_VALIDATE(part == parts.end(), QelError::UnexpectedContentFoundInKeySet);
            }
            return factory::MakeKeySet<K, V>(keyType, elementType, std::move(values),
                                             std::move(specials));
        }
    }
};

}  // namespace

std::shared_ptr<StoreValue> StoreValueParser::MakeKeySet(KeySetType const* type,
                                                         std::shared_ptr<IJsonObject> const& obj) {
    QEL_VALIDATE_NOT_NULL_SHOWN(obj, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_SHOWN(obj->IsDictionary() || obj->IsArray(),
                       QelError::KeySetRequiresADictionaryOrArrayNone);
    QEL_VALIDATE_NOT_NULL_SHOWN(type, QelError::NullIsNotAValidArgument);
    StoreType const keyStoreType = type->GetKeyType()->GetStoreType();
    StoreType const elementStoreType = type->GetElementType()->GetStoreType();
    QEL_VALIDATE(IsStoreTypeSupportedInKeySetAsKey(keyStoreType),
                 QelError::UnsupportedKeysetElementType, StoreTypeToString(keyStoreType));
    QEL_VALIDATE(IsStoreTypeSupportedInKeySet(elementStoreType),
                 QelError::UnsupportedKeysetElementType, StoreTypeToString(elementStoreType));
    return ForAnyTwoStorageTypes(keyStoreType, elementStoreType, MakeKeySetHelper{type, obj});
}

}  // namespace qel::core
