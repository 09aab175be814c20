#include "qel/core/store/StoreValueSampler.h"

#include <algorithm>
#include <utility>

#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/store/ValueKeySet.h"
#include "qel/core/utility/UnorderedMapUtil.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

using Boxed = std::shared_ptr<StoreValue>;

std::shared_ptr<StoreValue> Copy(StoreValue const& value) {
    return value.Clone();
}

std::shared_ptr<StoreValue> SampleArray(StoreValue const& column, unsigned int maxCount) {
    return column.AsArray().GetRange(0, std::min(column.GetCount(), maxCount), 1);
}

// A map of K keys sized for `count` entries, hashing strings by the key
// type's collation.
template <class K>
std::unique_ptr<DictionaryMap<K, Boxed>> NewKeyMap(Type const* keyType, qelsize_t count) {
    std::unique_ptr<DictionaryMap<K, Boxed>> map;
    if constexpr (std::is_same_v<K, RIndirectString>) {
        map = factory::MakeRawKeySet<Boxed>(keyType);
        map->rehash(count);
    } else {
        map = std::make_unique<DictionaryMap<K, Boxed>>(count);
    }
    map->max_load_factor(1.0f);
    return map;
}

template <class K>
std::shared_ptr<StoreValue> SampleKeySetOfArrays(StoreValue const& value, KeySetType const& type,
                                                 unsigned int maxCount) {
    IStoreDictionary<K, Boxed> const& dictionary = value.AsDictionary<K, Boxed>();
    qelsize_t const specialCount = dictionary.GetSpecialKeyCount();
    auto values = NewKeyMap<K>(type.GetKeyType(), dictionary.GetCount() - specialCount);
    for (auto const& [key, array] : dictionary.GetKeyValuePairs())
        UnorderedMapInsertUnique(values, key, SampleStoreValue(*array, maxCount));
    auto specials = std::make_unique<SpecialKeyMap<Boxed>>(specialCount);
    specials->max_load_factor(1.0f);
    for (auto const& [kind, array] : dictionary.GetSpecialKeyValuePairs())
        UnorderedMapInsertUnique(specials, kind, SampleStoreValue(*array, maxCount));
    return factory::MakeKeySet<K, Boxed>(type.GetKeyType(), type.GetElementType(),
                                         std::move(values), std::move(specials));
}

std::shared_ptr<StoreValue> SampleKeySet(StoreValue const& value, unsigned int maxCount) {
    KeySetType const& type = *TypeAs<KeySetType>(value.GetType());
    if (!type.GetElementType()->Is(StoreType::Array))
        return Copy(value);
    StoreType const keyStoreType = type.GetKeyType()->GetStoreType();
    return ForAnyStorageType(keyStoreType, [&]<class K>() -> std::shared_ptr<StoreValue> {
        // Boxed keys (External and the collections) cannot key a key set
        // type today; should one appear, it is refused rather than guessed.
        if constexpr (std::is_same_v<K, Boxed>) {
            QEL_VALIDATION_FAILED(QelError::NotImplemented,
                                  u"cannot truncate KeySet with unexpected key type");
        } else {
            return SampleKeySetOfArrays<K>(value, type, maxCount);
        }
    });
}

std::shared_ptr<StoreValue> SampleKeyMap(StoreValue const& value, unsigned int maxCount) {
    IStoreKeyMap const& keyMap = value.AsKeyMap();
    auto entries = std::make_unique<ValueMap>(keyMap.GetCount());
    entries->max_load_factor(1.0f);
    for (auto const& [key, entry] : keyMap.GetKeyValuePairs())
        UnorderedMapInsertUnique(entries, key, SampleStoreValue(*entry, maxCount));
    return factory::MakeKeyMap(std::move(entries));
}

std::shared_ptr<StoreValue> SampleTable(StoreValue const& value, unsigned int maxCount) {
    IStoreTable const& table = value.AsTable();
    auto columns = std::make_unique<ValueMap>(table.GetColumnCount());
    columns->max_load_factor(1.0f);
    for (auto const& [name, column] : table.GetColumns())
        UnorderedMapInsertUnique(columns, name, SampleArray(*column, maxCount));
    return factory::MakeTable(std::move(columns), std::make_unique<TableSortOrder>());
}

}  // namespace

std::shared_ptr<StoreValue> SampleStoreValue(StoreValue const& value, unsigned int maxCount) {
    // A special of a collection type has no elements to cut.
    if (value.IsSpecial())
        return Copy(value);
    switch (value.GetStoreType()) {
        case StoreType::Array:
            return SampleArray(value, maxCount);
        case StoreType::KeySet:
            return SampleKeySet(value, maxCount);
        case StoreType::KeyMap:
            return SampleKeyMap(value, maxCount);
        case StoreType::Table:
            return SampleTable(value, maxCount);
        default:
            return Copy(value);
    }
}

}  // namespace qel::core
