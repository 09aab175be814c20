#include "qel/core/store/DataStore.h"

#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

void RequireCollection(StoreValue const& cursor, KeyPath const& path) {
    if (!IsCollectionStoreType(cursor.GetStoreType()))
        QEL_VALIDATION_FAILED(QelError::CollectionCannotBeAccessedByString, path.ToString());
}

std::shared_ptr<ValueKeyMap> AsKeyMapRoot(std::shared_ptr<StoreValue> const& root) {
    QEL_VALIDATE_NOT_NULL(root, QelError::NullIsNotAValidArgument);
    if (root->GetStoreType() != StoreType::KeyMap)
        QEL_VALIDATION_FAILED(QelError::ExpectedKeymapButWas,
                              StoreTypeToString(root->GetStoreType()));
    auto keyMap = std::dynamic_pointer_cast<ValueKeyMap>(root);
    // A key map of some other class cannot be written through.
    if (keyMap == nullptr)
        QEL_VALIDATION_FAILED(QelError::CannotModifyCollection);
    return keyMap;
}

}  // namespace

DataStore::DataStore() : m_root(ValueKeyMap::Make(nullptr)) {}
DataStore::DataStore(std::shared_ptr<StoreValue> const& root) : m_root(AsKeyMapRoot(root)) {}
DataStore::DataStore(std::unique_ptr<ValueMap> map) : m_root(ValueKeyMap::Make(std::move(map))) {}
DataStore::DataStore(ValueMap&& map) : m_root(ValueKeyMap::Make(std::move(map))) {}

std::shared_ptr<StoreValue> DataStore::GetValue(KeyPath const& path) const {
    std::shared_ptr<StoreValue> cursor = m_root;
    for (KeySegment const& segment : path.GetSegments()) {
        RequireCollection(*cursor, path);
        cursor = cursor->AsCollection().GetByString(segment.GetSegment());
    }
    return cursor;
}

std::shared_ptr<StoreValue> DataStore::TryGetValue(KeyPath const& path) const {
    std::shared_ptr<StoreValue> cursor = m_root;
    for (KeySegment const& segment : path.GetSegments()) {
        if (cursor == nullptr || !IsCollectionStoreType(cursor->GetStoreType()))
            return nullptr;
        cursor = cursor->AsCollection().TryGetByString(segment.GetSegment());
    }
    return cursor;
}

IStoreMutableCollection& DataStore::GetCollection(std::shared_ptr<StoreValue> const& root,
                                                  KeyPath const& path) {
    std::shared_ptr<StoreValue> cursor = root;
    KeyPath const parent = path.GetParent();
    if (!parent.IsEmpty()) {
        for (KeySegment const& segment : parent.GetSegments()) {
            RequireCollection(*cursor, path);
            IStoreMutableCollection& collection = cursor->AsMutableCollection();
            std::shared_ptr<StoreValue> next = collection.TryGetByString(segment.GetSegment());
            if (next == nullptr) {
                next = factory::MakeKeyMap(nullptr);
                collection.SetByString(segment.GetSegment(), next);
            }
            cursor = std::move(next);
        }
    }
    RequireCollection(*cursor, path);
    // The collection stays alive through its parent, the root above all.
    return cursor->AsMutableCollection();
}

void DataStore::SetValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) {
    IStoreMutableCollection& collection = GetCollection(m_root, path);
    RInternString const& leaf = path.GetLeaf();
    if (collection.ContainsStringKey(leaf))
        QEL_VALIDATION_FAILED(QelError::ValueAlreadySetAtPath, path.ToString());
    collection.SetByString(leaf, value);
}

void DataStore::UpdateValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) {
    IStoreMutableCollection& collection = GetCollection(m_root, path);
    RInternString const& leaf = path.GetLeaf();
    if (!collection.ContainsStringKey(leaf))
        QEL_VALIDATION_FAILED(QelError::ValueNotYetComputed, path.ToString());
    collection.UpdateByString(leaf, value);
}

void DataStore::SetOrUpdateValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) {
    GetCollection(m_root, path).SetOrUpdateByString(path.GetLeaf(), value);
}

std::shared_ptr<IStoreKeyMap const> DataStore::GetKeyMap() const {
    return m_root;
}

std::shared_ptr<ValueKeyMap> DataStore::BuildKeyMap() {
    std::shared_ptr<ValueKeyMap> built = std::move(m_root);
    m_root = ValueKeyMap::Make(nullptr);
    return built;
}

std::unique_ptr<IDataStore> DataStore::Clone() const {
    std::shared_ptr<StoreValue> copy = m_root->Clone();
    return std::make_unique<DataStore>(copy);
}

namespace factory {

std::unique_ptr<IDataStore> MakeDataStore(std::shared_ptr<StoreValue> const& root) {
    return std::make_unique<DataStore>(root);
}

std::unique_ptr<IDataStore> MakeDataStore(std::unique_ptr<ValueMap> map) {
    return std::make_unique<DataStore>(std::move(map));
}

std::unique_ptr<IDataStore> MakeDataStore(ValueMap&& map) {
    return std::make_unique<DataStore>(std::move(map));
}

}  // namespace factory

}  // namespace qel::core
