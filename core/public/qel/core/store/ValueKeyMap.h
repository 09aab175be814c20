#pragma once

// Key maps, tables and tuple values: the heterogeneous collections above the
// columns.
//
// ValueKeyMap is a string-keyed map of values of any kind and the only
// mutable value of the store: a data store is one tree of key maps. Its
// type is not stored but built from its entries at each GetType().
// A table is a set of named, equally long array columns with sort metadata;
// a tuple value boxes one QelTuple. Both are immutable and built by their
// makers.
//
// The maps are boost::unordered_map, complete here: every user of a key map
// builds or walks one.

#include <boost/unordered_map.hpp>

#include <memory>
#include <utility>
#include <vector>

#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/DictionaryMaps.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {

using ValueMap = DictionaryMap<RInternString, std::shared_ptr<StoreValue>>;
using TableSortOrder = std::vector<std::pair<RInternString, SortSpecOrder>>;

class ValueKeyMap final : public StoreValue, public IStoreMutableCollection, public IStoreKeyMap {
public:
    // An empty pointer gives an empty map.
    ValueKeyMap();
    explicit ValueKeyMap(std::unique_ptr<ValueMap> map);
    explicit ValueKeyMap(ValueMap&& map);
    ~ValueKeyMap() override;

    static std::shared_ptr<ValueKeyMap> Make(std::unique_ptr<ValueMap> map);
    static std::shared_ptr<ValueKeyMap> Make(ValueMap&& map);

    StoreType GetStoreType() const override { return StoreType::KeyMap; }
    // The key map type of the entries, in map order.
    Type const* GetType() const override;
    Type const* GetKeyType() const override;
    qelsize_t GetCount() const override;
    IStoreCollection const& AsCollection() const override { return *this; }
    IStoreMutableCollection& AsMutableCollection() override { return *this; }
    IStoreKeyMap const& AsKeyMap() const override { return *this; }
    // A deep copy: each value is the value's own Clone().
    std::unique_ptr<StoreValue> Clone() const override;

    // Absent: "Unable to find key in unordered_map." (std::out_of_range).
    std::shared_ptr<StoreValue> const& GetValue(RInternString const& key) const override;
    bool ContainsKey(RInternString const& key) const override;
    bool HasSpecialKeys() const override { return false; }
    bool ContainsKey(SpecialKind) const override { return false; }
    // The special-key operations fail "collection does not support special
    // keys".
    qelsize_t GetSpecialKeyCount() const override;
    std::shared_ptr<StoreValue> const& GetValue(SpecialKind key) const override;
    SpecialKeyValuePairIterator<std::shared_ptr<StoreValue>, std::shared_ptr<StoreValue>>
    GetSpecialKeyValuePairs() const override;
    KeyValuePairIterator<RInternString, std::shared_ptr<StoreValue>, RInternString,
                         std::shared_ptr<StoreValue>>
    GetKeyValuePairs() const override;

    // Absent: "no value found at key " with the key.
    std::shared_ptr<StoreValue> GetByString(RInternString const& key) const override;
    std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const override;
    bool ContainsStringKey(RInternString const& key) const override;

    // A new key; an existing one fails "can't modify immutable value".
    void SetByString(RInternString const& key, std::shared_ptr<StoreValue> const& value) override;
    // An existing key ("value not yet computed" otherwise), with a value of
    // the same type ("type doesn't match expected type" otherwise).
    void UpdateByString(RInternString const& key,
                        std::shared_ptr<StoreValue> const& value) override;
    // Either; an existing key keeps its type.
    void SetOrUpdateByString(RInternString const& key,
                             std::shared_ptr<StoreValue> const& value) override;

    ValueMap const& GetMap() const { return *m_dict; }

private:
    std::unique_ptr<ValueMap> m_dict;
};

namespace factory {

std::shared_ptr<StoreValue> MakeKeyMap(std::unique_ptr<ValueMap> map);
std::shared_ptr<StoreValue> MakeKeyMap(ValueMap&& map);

// The columns must be arrays of one length ("table columns must be same
// size", after the sizes are logged). An empty sort pointer gives none.
std::shared_ptr<StoreValue> MakeTable(std::unique_ptr<ValueMap> columns,
                                      std::unique_ptr<TableSortOrder> sortOrder);
std::shared_ptr<StoreValue> MakeTable(ValueMap&& columns, TableSortOrder&& sortOrder);

std::shared_ptr<StoreValue> MakeTuple(QelTuple&& tuple);

}  // namespace factory

}  // namespace qel::core
