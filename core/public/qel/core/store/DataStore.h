#pragma once

// The in-memory store that a transform graph reads and writes: a tree of
// key maps addressed by key paths, with values of any kind at the leaves.
// Reading walks through every collection by its string access (key maps and
// tables by name, arrays and tuples by decimal position); writing creates
// the key maps on the way to a new leaf.
//
// A store has no lock: one writer at a time, and no reading during a write.
// Values move in and out by shared pointer, never copied.

#include <memory>

#include "qel/core/store/KeyPath.h"
#include "qel/core/store/ValueKeyMap.h"

namespace qel::core {

class IDataStore {
public:
    virtual ~IDataStore() = default;
    // The empty path is the root. Through a value that is no collection:
    // "collection cannot be accessed by string" with the path.
    virtual std::shared_ptr<StoreValue> GetValue(KeyPath const& path) const = 0;
    // A new leaf; an existing one fails "value already set at path: ".
    virtual void SetValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) = 0;
    // An existing leaf of the same type; a missing one fails "value not yet
    // computed" (the key maps made on the way stay).
    virtual void UpdateValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) = 0;
    virtual void SetOrUpdateValue(KeyPath const& path,
                                  std::shared_ptr<StoreValue> const& value) = 0;
    // As GetValue, with an empty pointer wherever that would fail on the
    // way; it never creates anything.
    virtual std::shared_ptr<StoreValue> TryGetValue(KeyPath const& path) const = 0;
    virtual std::shared_ptr<IStoreKeyMap const> GetKeyMap() const = 0;
    // Hands out the tree and goes on empty.
    virtual std::shared_ptr<ValueKeyMap> BuildKeyMap() = 0;
    // A deep copy.
    virtual std::unique_ptr<IDataStore> Clone() const = 0;
};

class DataStore final : public IDataStore {
public:
    // An empty store.
    DataStore();
    // The root is this key map itself, not a copy; any other value fails
    // "expected keymap but was " with its store type.
    explicit DataStore(std::shared_ptr<StoreValue> const& root);
    explicit DataStore(std::unique_ptr<ValueMap> map);
    explicit DataStore(ValueMap&& map);

    std::shared_ptr<StoreValue> GetValue(KeyPath const& path) const override;
    void SetValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) override;
    void UpdateValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) override;
    void SetOrUpdateValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) override;
    std::shared_ptr<StoreValue> TryGetValue(KeyPath const& path) const override;
    std::shared_ptr<IStoreKeyMap const> GetKeyMap() const override;
    std::shared_ptr<ValueKeyMap> BuildKeyMap() override;
    std::unique_ptr<IDataStore> Clone() const override;

    // The collection that is to hold the leaf of `path`, creating key maps
    // on the way.
    static IStoreMutableCollection& GetCollection(std::shared_ptr<StoreValue> const& root,
                                                  KeyPath const& path);

private:
    std::shared_ptr<ValueKeyMap> m_root;
};

namespace factory {

std::unique_ptr<IDataStore> MakeDataStore(std::shared_ptr<StoreValue> const& root);
std::unique_ptr<IDataStore> MakeDataStore(std::unique_ptr<ValueMap> map);
std::unique_ptr<IDataStore> MakeDataStore(ValueMap&& map);

}  // namespace factory

}  // namespace qel::core
