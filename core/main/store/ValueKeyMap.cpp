#include "qel/core/store/ValueKeyMap.h"

#include <stdexcept>
#include <string>

#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/ValueUtil.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/QelLog.h"
#include "qel/core/utility/UnorderedMapUtil.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

constexpr std::size_t kInitialBuckets = 16;

std::unique_ptr<ValueMap> NewMap() {
    auto map = std::make_unique<ValueMap>(kInitialBuckets);
    map->max_load_factor(1.0f);
    return map;
}

std::unique_ptr<ValueMap> OrEmpty(std::unique_ptr<ValueMap> map) {
    if (map == nullptr)
        return NewMap();
    map->max_load_factor(1.0f);
    return map;
}

// What std::unordered_map::at says, for the lookups that behave like it.
[[noreturn]] void AbsentKey() {
    throw std::out_of_range("Unable to find key in unordered_map.");
}

[[noreturn]] void NoSpecialKeys() {
    QEL_VALIDATION_FAILED(QelError::CollectionDoesNotSupportSpecialKeys);
}

std::vector<NamedHeterogeneousType::Member> MembersOf(ValueMap const& map) {
    std::vector<NamedHeterogeneousType::Member> members;
    members.reserve(map.size());
    for (auto const& [name, value] : map)
        members.push_back({name, value->GetType()});
    return members;
}

using Pairs = KeyValuePairIterator<RInternString, std::shared_ptr<StoreValue>, RInternString,
                                   std::shared_ptr<StoreValue>>;
using SpecialPairs =
    SpecialKeyValuePairIterator<std::shared_ptr<StoreValue>, std::shared_ptr<StoreValue>>;

}  // namespace

// ---------------------------------------------------------------------------
// ValueKeyMap

ValueKeyMap::ValueKeyMap() : m_dict(NewMap()) {}
ValueKeyMap::ValueKeyMap(std::unique_ptr<ValueMap> map) : m_dict(OrEmpty(std::move(map))) {}
ValueKeyMap::ValueKeyMap(ValueMap&& map)
    : m_dict(OrEmpty(std::make_unique<ValueMap>(std::move(map)))) {}
ValueKeyMap::~ValueKeyMap() = default;

std::shared_ptr<ValueKeyMap> ValueKeyMap::Make(std::unique_ptr<ValueMap> map) {
    return std::make_shared<ValueKeyMap>(std::move(map));
}

std::shared_ptr<ValueKeyMap> ValueKeyMap::Make(ValueMap&& map) {
    return std::make_shared<ValueKeyMap>(std::move(map));
}

Type const* ValueKeyMap::GetType() const {
    return KeyMapType::Get(MembersOf(*m_dict));
}

Type const* ValueKeyMap::GetKeyType() const {
    return StringType::Get();
}

qelsize_t ValueKeyMap::GetCount() const {
    return static_cast<qelsize_t>(m_dict->size());
}

std::unique_ptr<StoreValue> ValueKeyMap::Clone() const {
    auto copy = NewMap();
    copy->reserve(m_dict->size());
    for (auto const& [name, value] : *m_dict)
        copy->emplace(name,
                      value == nullptr ? nullptr : std::shared_ptr<StoreValue>(value->Clone()));
    return std::make_unique<ValueKeyMap>(std::move(copy));
}

std::shared_ptr<StoreValue> const& ValueKeyMap::GetValue(RInternString const& key) const {
    auto const found = m_dict->find(key);
    if (found == m_dict->end())
        AbsentKey();
    return found->second;
}

bool ValueKeyMap::ContainsKey(RInternString const& key) const {
    return m_dict->find(key) != m_dict->end();
}

qelsize_t ValueKeyMap::GetSpecialKeyCount() const {
    NoSpecialKeys();
}

std::shared_ptr<StoreValue> const& ValueKeyMap::GetValue(SpecialKind) const {
    NoSpecialKeys();
}

SpecialPairs ValueKeyMap::GetSpecialKeyValuePairs() const {
    NoSpecialKeys();
}

Pairs ValueKeyMap::GetKeyValuePairs() const {
    return Pairs(StringType::Get(), nullptr, m_dict.get(), m_dict->begin());
}

std::shared_ptr<StoreValue> ValueKeyMap::GetByString(RInternString const& key) const {
    auto const found = m_dict->find(key);
    if (found == m_dict->end())
        QEL_VALIDATION_FAILED(QelError::NoValueFoundAtKey, key.GetValue());
    return found->second;
}

std::shared_ptr<StoreValue> ValueKeyMap::TryGetByString(RInternString const& key) const {
    auto const found = m_dict->find(key);
    return found == m_dict->end() ? nullptr : found->second;
}

bool ValueKeyMap::ContainsStringKey(RInternString const& key) const {
    return ContainsKey(key);
}

void ValueKeyMap::SetByString(RInternString const& key, std::shared_ptr<StoreValue> const& value) {
    QEL_VALIDATE_NOT(key.GetValue().isEmpty(), QelError::KeyPathCantBeEmpty);
    QEL_VALIDATE_NOT_NULL(value, QelError::NullIsNotAValidArgument);
    auto const result = m_dict->emplace(key, value);
    QEL_VALIDATE(result.second, QelError::CantModifyImmutableValue);
}

void ValueKeyMap::UpdateByString(RInternString const& key,
                                 std::shared_ptr<StoreValue> const& value) {
    QEL_VALIDATE_NOT(key.GetValue().isEmpty(), QelError::KeyPathCantBeEmpty);
    QEL_VALIDATE_NOT_NULL(value, QelError::NullIsNotAValidArgument);
    auto const itr = m_dict->find(key);
    QEL_VALIDATE(itr != m_dict->cend(), QelError::ValueNotYetComputed);
    QEL_VALIDATE(value->GetType() == itr->second->GetType(), QelError::TypeDoesntMatchExpectedType);
    itr->second = value;
}

void ValueKeyMap::SetOrUpdateByString(RInternString const& key,
                                      std::shared_ptr<StoreValue> const& value) {
    QEL_VALIDATE_NOT(key.GetValue().isEmpty(), QelError::KeyPathCantBeEmpty);
    QEL_VALIDATE_NOT_NULL(value, QelError::NullIsNotAValidArgument);
    auto const itr = m_dict->find(key);
    if (itr != m_dict->end())
        QEL_VALIDATE(value->GetType() == itr->second->GetType(),
                     QelError::TypeDoesntMatchExpectedType);
    (*m_dict)[key] = value;
}

// ---------------------------------------------------------------------------
// Tables

namespace {

class ValueTable final : public StoreValue,
                         public IStoreTable,
                         public IStoreCollection,
                         public IStoreKeyMap {
public:
    ValueTable(std::unique_ptr<ValueMap> columns, std::unique_ptr<TableSortOrder> sortOrder)
        : m_columns(OrEmpty(std::move(columns))),
          m_type(TableType::Get(MembersOf(*m_columns))),
          m_rowCount(m_columns->empty() ? 0 : m_columns->begin()->second->GetCount()),
          m_sortOrder(sortOrder != nullptr ? std::shared_ptr<TableSortOrder>(std::move(sortOrder))
                                           : std::make_shared<TableSortOrder>()) {
        CheckColumnSizes();
    }
    // Copies share the columns and the sort metadata.
    ValueTable(ValueTable const& other)
        : StoreValue(),
          m_columns(other.m_columns),
          m_type(other.m_type),
          m_rowCount(other.m_rowCount),
          m_sortOrder(other.m_sortOrder) {}

    Type const* GetType() const override { return m_type; }
    Type const* GetKeyType() const override { return StringType::Get(); }
    qelsize_t GetCount() const override { return GetColumnCount(); }
    std::unique_ptr<StoreValue> Clone() const override {
        return std::make_unique<ValueTable>(*this);
    }
    IStoreCollection const& AsCollection() const override { return *this; }
    IStoreTable const& AsTable() const override { return *this; }
    IStoreKeyMap const& AsKeyMap() const override { return *this; }

    // IStoreTable
    qelsize_t GetColumnCount() const override { return static_cast<qelsize_t>(m_columns->size()); }
    qelsize_t GetRowCount() const override { return m_rowCount; }
    bool HasColumn(RInternString const& name) const override {
        return m_columns->find(name) != m_columns->end();
    }
    std::shared_ptr<StoreValue> GetColumn(RInternString const& name) const override {
        return GetValue(name);
    }
    ColumnIterable GetColumns() const override {
        return ColumnIterable(StringType::Get(), nullptr, m_columns.get(), m_columns->begin());
    }
    // A range forgets the sort metadata; the columns keep their own.
    std::shared_ptr<StoreValue> GetRange(unsigned int startIndex, unsigned int length,
                                         unsigned int step) const override {
        auto columns = NewMap();
        columns->reserve(m_columns->size());
        for (auto const& [name, column] : *m_columns)
            columns->emplace(name, column->AsArray().GetRange(startIndex, length, step));
        return std::make_shared<ValueTable>(std::move(columns), nullptr);
    }
    SortOrder GetSortOrder() const override { return *m_sortOrder; }
    std::shared_ptr<StoreValue> CreateCopy() const override {
        auto columns = std::make_unique<ValueMap>(*m_columns);
        return std::make_shared<ValueTable>(std::move(columns),
                                            std::make_unique<TableSortOrder>(*m_sortOrder));
    }
    std::shared_ptr<StoreValue> CopyAndApplyIndices(std::vector<qelsize_t>&& indices,
                                                    SortOrder order) const override {
        std::shared_ptr<TypedRawData<qelsize_t> const> buffer =
            VectorRawData<qelsize_t>::Make(std::move(indices));
        return CopyAndApplyIndices(std::move(buffer), std::move(order));
    }
    // The columns share the one indices buffer and carry no sort order of
    // their own; the table's metadata says what the rows are sorted by.
    std::shared_ptr<StoreValue> CopyAndApplyIndices(
        std::shared_ptr<TypedRawData<qelsize_t> const> indices, SortOrder order) const override {
        auto columns = NewMap();
        for (auto const& [name, column] : *m_columns) {
            UnorderedMapInsertUnique(
                columns, name,
                column->AsArray().CopyAndApplyIndices(indices, SortSpecOrder::UNKNOWN));
        }
        return std::make_shared<ValueTable>(std::move(columns),
                                            std::make_unique<TableSortOrder>(std::move(order)));
    }

    // IStoreKeyMap
    std::shared_ptr<StoreValue> const& GetValue(RInternString const& key) const override {
        auto const found = m_columns->find(key);
        if (found == m_columns->end())
            AbsentKey();
        return found->second;
    }
    bool ContainsKey(RInternString const& key) const override { return HasColumn(key); }
    bool HasSpecialKeys() const override { return false; }
    bool ContainsKey(SpecialKind) const override { return false; }
    qelsize_t GetSpecialKeyCount() const override { NoSpecialKeys(); }
    std::shared_ptr<StoreValue> const& GetValue(SpecialKind) const override { NoSpecialKeys(); }
    SpecialPairs GetSpecialKeyValuePairs() const override { NoSpecialKeys(); }
    Pairs GetKeyValuePairs() const override { return GetColumns(); }

    // IStoreCollection: the column, or the out-of-range failure.
    std::shared_ptr<StoreValue> GetByString(RInternString const& key) const override {
        return GetValue(key);
    }
    std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const override {
        return ContainsStringKey(key) ? GetByString(key) : nullptr;
    }
    bool ContainsStringKey(RInternString const& key) const override { return HasColumn(key); }

private:
    void CheckColumnSizes() const {
        for (auto const& [name, column] : *m_columns) {
            if (column->GetCount() == m_rowCount)
                continue;
            TStringCore text(u"Found mismatch in table column sizes. Columns and sizes:");
            for (auto const& [each, eachColumn] : *m_columns) {
                text.append(u"\n\t", 2);
                text.append(each.GetValue());
                text.append(u": ", 2);
                text.append(TStringCore(std::to_string(eachColumn->GetCount()).c_str()));
            }
            QelLog(QelLogLevel::Fatal, text);
            QEL_VALIDATION_FAILED(QelError::TableColumnsMustBeSameSize);
        }
    }

    std::shared_ptr<ValueMap> m_columns;
    TableType const* m_type;
    qelsize_t m_rowCount;
    std::shared_ptr<TableSortOrder> m_sortOrder;
};

// ---------------------------------------------------------------------------
// Tuple values

class ValueTuple final : public StoreValue, public IStoreCollection {
public:
    explicit ValueTuple(QelTuple&& tuple) : m_tuple(std::move(tuple)) {}
    explicit ValueTuple(QelTuple const& tuple) : m_tuple(tuple) {}

    Type const* GetType() const override { return m_tuple.GetType(); }
    qelsize_t GetCount() const override { return static_cast<qelsize_t>(m_tuple.GetCount()); }
    std::size_t GetHashValue() const override { return m_tuple.GetHashValue(); }
    bool IsEqual(StoreValue const& other) const override {
        if (TypeAs<HeterogeneousType>(GetType())->GetBaseType() != other.GetType())
            return false;
        auto const* tuple = dynamic_cast<ValueTuple const*>(&other);
        return tuple != nullptr && m_tuple.Compare(tuple->m_tuple) == 0;
    }
    std::unique_ptr<StoreValue> Clone() const override {
        return std::make_unique<ValueTuple>(m_tuple);
    }
    IStoreCollection const& AsCollection() const override { return *this; }
    QelTuple const& AsTuple() const override { return m_tuple; }

    std::shared_ptr<StoreValue> GetByString(RInternString const& key) const override {
        return FetchStoreValueFromTuple(m_tuple, ParseSizeIntFromString(key.GetValue()));
    }
    std::shared_ptr<StoreValue> TryGetByString(RInternString const& key) const override {
        unsigned int index = 0;
        if (!TryParseSizeIntFromString(key.GetValue(), index) || index >= GetCount())
            return nullptr;
        return FetchStoreValueFromTuple(m_tuple, index);
    }
    bool ContainsStringKey(RInternString const& key) const override {
        unsigned int index = 0;
        return TryParseSizeIntFromString(key.GetValue(), index) && index < GetCount();
    }

protected:
    int CompareImpl(StoreValue const& other) const override {
        auto const* tuple = dynamic_cast<ValueTuple const*>(&other);
        if (tuple == nullptr)
            QEL_VALIDATION_FAILED(QelError::ExpectedTupleButWas,
                                  StoreTypeToString(other.GetStoreType()));
        return m_tuple.Compare(tuple->m_tuple);
    }

private:
    QelTuple m_tuple;
};

}  // namespace

namespace factory {

std::shared_ptr<StoreValue> MakeKeyMap(std::unique_ptr<ValueMap> map) {
    return ValueKeyMap::Make(std::move(map));
}

std::shared_ptr<StoreValue> MakeKeyMap(ValueMap&& map) {
    return ValueKeyMap::Make(std::move(map));
}

std::shared_ptr<StoreValue> MakeTable(std::unique_ptr<ValueMap> columns,
                                      std::unique_ptr<TableSortOrder> sortOrder) {
    return std::make_shared<ValueTable>(std::move(columns), std::move(sortOrder));
}

std::shared_ptr<StoreValue> MakeTable(ValueMap&& columns, TableSortOrder&& sortOrder) {
    return MakeTable(std::make_unique<ValueMap>(std::move(columns)),
                     std::make_unique<TableSortOrder>(std::move(sortOrder)));
}

std::shared_ptr<StoreValue> MakeTuple(QelTuple&& tuple) {
    return std::make_shared<ValueTuple>(std::move(tuple));
}

}  // namespace factory

}  // namespace qel::core
