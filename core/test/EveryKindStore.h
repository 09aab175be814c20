#pragma once

// A data store with every kind of value, in every form and with specials,
// and a deep comparison that names the first difference: shared by the
// round trips of the text and binary forms.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "qel/core/store/DataStore.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/SetIterators.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueCompositeArray.h"
#include "qel/core/store/ValueConstantArray.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/store/ValueKeySet.h"
#include "qel/core/store/ValueSet.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/UnorderedMapUtil.h"

namespace qel::core::test {

using Bytes = std::vector<unsigned char>;
using Value = std::shared_ptr<StoreValue>;
using namespace factory;

// A host value: its bytes, compared as bytes.
class Blob final : public ValueExternal {
public:
    explicit Blob(Bytes bytes) : ValueExternal(TStringCore(u"blob")), m_bytes(std::move(bytes)) {}
    std::unique_ptr<StoreValue> Clone() const override { return std::make_unique<Blob>(m_bytes); }
    Bytes m_bytes;

protected:
    int CompareImpl(StoreValue const& other) const override {
        Bytes const& theirs = static_cast<Blob const&>(other).m_bytes;
        return m_bytes < theirs ? -1 : (theirs < m_bytes ? 1 : 0);
    }
};

// With `forms` false, only what a value means is compared: a constant or
// composite array equals the plain array of its elements, and sort orders
// are ignored (the text form carries neither).
std::string Diff(StoreValue const& a, StoreValue const& b, std::string const& at,
                 bool forms = true);

template <class T>
inline std::string ElementDiff(T const& a, T const& b, std::string const& at, bool forms) {
    if constexpr (std::is_same_v<T, Value>)
        return Diff(*a, *b, at, forms);
    else
        return a == b ? "" : at + ": elements differ";
}

// The first difference of two uniform collections, element by element.
struct UniformDiff {
    StoreValue const& a;
    StoreValue const& b;
    std::string const& at;
    bool forms;

    template <class T>
    std::string operator()() {
        if (a.GetStoreType() == StoreType::Set) {
            auto const& x = a.AsTypedSet<T>();
            auto const& y = b.AsTypedSet<T>();
            if (x.GetSpecialCount() != y.GetSpecialCount())
                return at + ": special counts differ";
            for (SpecialKind const kind : x.GetSpecialValues()) {
                if (!y.ContainsSpecialKind(kind))
                    return at + ": a special is missing";
            }
            for (T const& element : x.GetValues()) {
                if (!y.Contains(element))
                    return at + ": an element is missing";
            }
            return "";
        }
        auto const& x = a.AsTypedArray<T>();
        auto const& y = b.AsTypedArray<T>();
        if (forms && (x.IsConstantValue() != y.IsConstantValue() ||
                      x.IsComposite() != y.IsComposite() || x.GetSortOrder() != y.GetSortOrder()))
            return at + ": array forms differ";
        for (qelsize_t i = 0; i < x.GetCount(); ++i) {
            std::string const where = at + "[" + std::to_string(i) + "]";
            if (x.GetSpecialAt(i) != y.GetSpecialAt(i))
                return where + ": specials differ";
            if (x.GetSpecialAt(i) == SpecialKind::Normal) {
                if (std::string diff = ElementDiff(x.At(i), y.At(i), where, forms); !diff.empty())
                    return diff;
            }
        }
        return "";
    }
};

struct KeySetDiff {
    StoreValue const& a;
    StoreValue const& b;
    std::string const& at;
    bool forms;

    template <class K, class V>
    std::string operator()() {
        if constexpr (std::is_same_v<K, Value>) {
            return at + ": nested keys";
        } else {
            auto const& x = a.AsDictionary<K, V>();
            auto const& y = b.AsDictionary<K, V>();
            if (x.GetSpecialKeyCount() != y.GetSpecialKeyCount())
                return at + ": special key counts differ";
            for (auto const& [key, element] : x.GetKeyValuePairs()) {
                if (!y.ContainsKey(key))
                    return at + ": a key is missing";
                if (std::string diff = ElementDiff(element, y.GetValue(key), at, forms);
                    !diff.empty())
                    return diff;
            }
            for (auto const& [kind, element] : x.GetSpecialKeyValuePairs()) {
                if (!y.ContainsKey(kind))
                    return at + ": a special key is missing";
                if (std::string diff = ElementDiff(element, y.GetValue(kind), at, forms);
                    !diff.empty())
                    return diff;
            }
            return "";
        }
    }
};

template <class Named>
inline std::string NamedDiff(Named const& x, Named const& y, std::string const& at, bool forms) {
    for (auto const& [name, value] : x) {
        std::string const where = at + "/" + name.GetValue().toStdString();
        auto found = y.begin();
        while (found != y.end() && !((*found).first == name))
            ++found;
        if (found == y.end())
            return where + ": missing";
        if (std::string diff = Diff(*value, *(*found).second, where, forms); !diff.empty())
            return diff;
    }
    return "";
}

// "" when the values are the same: type, specials, form and elements.
inline std::string Diff(StoreValue const& a, StoreValue const& b, std::string const& at,
                        bool forms) {
    if (a.GetType() != b.GetType() || a.GetSpecialKind() != b.GetSpecialKind() ||
        a.GetCount() != b.GetCount())
        return at + ": " + a.GetType()->ToString().toStdString() + " against " +
               b.GetType()->ToString().toStdString();
    if (a.IsSpecial())
        return "";
    switch (a.GetStoreType()) {
        case StoreType::Array:
        case StoreType::Set:
            return ForAnyStorageType(a.AsUniformCollection().GetElementType()->GetStoreType(),
                                     UniformDiff{a, b, at, forms});
        case StoreType::KeySet: {
            auto const* type = TypeAs<KeySetType>(a.GetType());
            KeySetDiff diff{a, b, at, forms};
            return ForAnyTwoStorageTypes(type->GetKeyType()->GetStoreType(),
                                         type->GetElementType()->GetStoreType(), diff);
        }
        case StoreType::KeyMap:
            return NamedDiff(a.AsKeyMap().GetKeyValuePairs(), b.AsKeyMap().GetKeyValuePairs(), at,
                             forms);
        case StoreType::Table:
            if (forms && a.AsTable().GetSortOrder() != b.AsTable().GetSortOrder())
                return at + ": sort orders differ";
            return NamedDiff(a.AsTable().GetColumns(), b.AsTable().GetColumns(), at, forms);
        default:
            return a.IsEqual(b) ? "" : at + ": values differ";
    }
}

inline Type const* const kI32 = IntType::Get32();
inline RInternString Name(char16_t const* text) {
    return RInternString(text);
}
inline Type const* const kString = StringType::Get();

inline TupleType const* const kTuple = TupleType::Get({kI32, RealType::Get64(), kString});

inline QelTuple Tuple(int i, SpecialKind middle, char16_t const* s) {
    QelTuple t(kTuple);
    t.SetNthInt32(0, i);
    t.SetNthSpecial(1, middle);
    t.SetNthString(2, RIndirectString(s));
    return t;
}

template <class V>
Value KeySet(Type const* keyType, Type const* valueType, std::vector<std::pair<unsigned, V>> in,
             std::vector<std::pair<SpecialKind, V>> specials) {
    auto values = std::make_unique<DictionaryMap<unsigned int, V>>();
    for (auto& [key, value] : in)
        UnorderedMapInsertUnique(values, key, value);
    auto specialMap = std::make_unique<SpecialKeyMap<V>>();
    for (auto& [key, value] : specials)
        UnorderedMapInsertUnique(specialMap, key, value);
    return MakeKeySet<unsigned int, V>(keyType, valueType, std::move(values),
                                       std::move(specialMap));
}

// A store with every kind of value, in every form and with specials.
inline std::unique_ptr<IDataStore> EveryKind() {
    auto const uints = [](std::vector<unsigned int> v) {
        return MakeArray<unsigned int>(kI32, std::move(v));
    };
    ValueMap inner;
    inner.emplace(Name(u"i"), MakeInt32(-7));
    inner.emplace(Name(u"l"), MakeInt64(1LL << 40));
    inner.emplace(Name(u"b"), MakeBool(true));
    inner.emplace(Name(u"f"), MakeReal32(1.5f, 10, 2));
    inner.emplace(Name(u"r"), MakeReal64(-2.25));
    inner.emplace(Name(u"s"), MakeString(u"h\u00e9llo"));
    inner.emplace(Name(u"empty"), MakeString(u""));
    inner.emplace(Name(u"d"), MakeDate(QelDateTime(2019, 12, 31, 0, 0, 0, 0)));
    inner.emplace(Name(u"t"), MakeDateTime(QelDateTime(1582, 10, 15, 23, 59, 58, 0)));
    inner.emplace(Name(u"c"), MakeColor(0x11223344));
    inner.emplace(Name(u"null"), MakeSpecial(kI32, SpecialKind::Null));
    inner.emplace(Name(u"missingArray"),
                  MakeSpecial(ArrayType::Get(kString), SpecialKind::Missing));
    Value const blob = std::make_shared<Blob>(Bytes{1, 2, 0, 255});
    inner.emplace(Name(u"x"), blob);
    inner.emplace(Name(u"blobs"), MakeArray<Value>(blob->GetType(), {blob, blob}));
    QelTuple withBlob(TupleType::Get({kString, blob->GetType()}));
    withBlob.SetNthExternal(1, blob);
    inner.emplace(Name(u"tupleWithBlob"), MakeTuple(std::move(withBlob)));
    inner.emplace(Name(u"tuple"), MakeTuple(Tuple(1, SpecialKind::Null, u"x")));
    inner.emplace(Name(u"noMembers"), MakeTuple(QelTuple(TupleType::Get({}))));
    inner.emplace(Name(u"emptyMap"), MakeKeyMap(ValueMap()));

    ValueMap arrays;
    arrays.emplace(Name(u"sorted"), MakeArray<unsigned int>(kI32, {1, 2, 3}, SortSpecOrder::ASC));
    arrays.emplace(
        Name(u"bools"),
        MakeArray<unsigned char>(BoolType::Get(), {1, 0, 1},
                                 {SpecialKind::Normal, SpecialKind::Error, SpecialKind::Normal}));
    arrays.emplace(
        Name(u"strings"),
        MakeArray<RIndirectString>(kString, {u"a", u"", u"a"},
                                   {SpecialKind::Normal, SpecialKind::Null, SpecialKind::Normal}));
    arrays.emplace(Name(u"dates"),
                   MakeArray<unsigned long long>(DateType::Get(),
                                                 {QelDateTime(2000, 2, 29, 0, 0, 0, 0).GetValue(),
                                                  QelDateTime(1900, 1, 1, 0, 0, 0, 0).GetValue()}));
    arrays.emplace(Name(u"none"), MakeArray<unsigned long long>(IntType::Get64(), {}));
    arrays.emplace(Name(u"tuples"),
                   MakeArray<QelTuple>(kTuple, {Tuple(1, SpecialKind::Null, u"x"),
                                                Tuple(2, SpecialKind::Normal, u"y")}));
    arrays.emplace(Name(u"nested"),
                   MakeArray<Value>(ArrayType::Get(kI32), {uints({1}), uints({})}));
    // The descriptor of a key map has no members; the elements bring them.
    Value const map = MakeKeyMap(ValueMap(inner));
    arrays.emplace(Name(u"maps"), MakeArray<Value>(map->GetType(), {map}));
    arrays.emplace(Name(u"constant"),
                   MakeConstantArray<unsigned long long>(IntType::Get64(), 5, 1000));
    arrays.emplace(Name(u"constantText"),
                   MakeConstantArray<RIndirectString>(kString, RIndirectString(u"x"), 3));
    arrays.emplace(Name(u"constantSpecial"),
                   MakeConstantArray<unsigned int>(kI32, 4, SpecialKind::Missing));
    arrays.emplace(Name(u"constantTuple"),
                   MakeConstantArray<QelTuple>(kTuple, Tuple(3, SpecialKind::Normal, u"z"), 2));
    arrays.emplace(Name(u"constantNone"),
                   MakeConstantArray<RIndirectString>(kString, RIndirectString(u"gone"), 0));
    arrays.emplace(
        Name(u"composite"),
        MakeCompositeArray<unsigned int>(
            kI32,
            {{1, SpecialKind::Normal, 3}, {0, SpecialKind::Null, 2}, {9, SpecialKind::Normal, 1}},
            SortSpecOrder::DESC));
    arrays.emplace(
        Name(u"compositeIndexed"),
        MakeCompositeArray<RIndirectString>(
            kString, {{u"p", SpecialKind::Normal, 2}, {u"", SpecialKind::Error, 1}},
            std::make_unique<std::vector<qelsize_t>>(std::vector<qelsize_t>{2, 0, 1, 1})));

    auto set = std::make_unique<ValueSetContainer<unsigned int>>();
    set->insert({4, 5, 6});
    auto specials = std::make_unique<SpecialKindSet>();
    specials->insert({SpecialKind::Null, SpecialKind::Missing});
    ValueMap collections;
    collections.emplace(Name(u"set"),
                        MakeSet<unsigned int>(kI32, std::move(set), std::move(specials)));
    collections.emplace(
        Name(u"emptySet"),
        MakeSet<unsigned int>(kI32, std::make_unique<ValueSetContainer<unsigned int>>(), nullptr));
    collections.emplace(Name(u"keys"), KeySet<Value>(kI32, ArrayType::Get(kI32),
                                                     {{1, uints({1, 2})}, {2, uints({})}},
                                                     {{SpecialKind::Null, uints({3})}}));
    collections.emplace(Name(u"plainKeys"), KeySet<unsigned int>(kI32, kI32, {{1, 10}}, {}));
    auto strings = MakeRawKeySet<QelTuple>(kString);
    UnorderedMapInsertUnique(strings, RIndirectString(u"k"), Tuple(5, SpecialKind::Null, u"v"));
    collections.emplace(Name(u"stringKeys"), MakeKeySet<RIndirectString, QelTuple>(
                                                 kString, kTuple, std::move(strings),
                                                 std::make_unique<SpecialKeyMap<QelTuple>>()));
    ValueMap columns;
    columns.emplace(Name(u"a"), uints({1, 2, 3}));
    columns.emplace(Name(u"b"),
                    MakeConstantArray<RIndirectString>(kString, RIndirectString(u"q"), 3));
    collections.emplace(
        Name(u"sortedTable"),
        MakeTable(ValueMap(columns), TableSortOrder{{Name(u"b"), SortSpecOrder::DESC},
                                                    {Name(u"a"), SortSpecOrder::ASC}}));
    collections.emplace(Name(u"table"), MakeTable(std::move(columns), TableSortOrder{}));

    ValueMap root;
    root.emplace(Name(u"inner"), MakeKeyMap(std::move(inner)));
    root.emplace(Name(u"arrays"), MakeKeyMap(std::move(arrays)));
    root.emplace(Name(u"collections"), MakeKeyMap(std::move(collections)));
    return factory::MakeDataStore(std::move(root));
}

// The registry is process-wide; the blob type is there for these tests only.
class EveryKindTest : public testing::Test {
protected:
    void SetUp() override {
        ClearExternalTypes();
        RegisterExternalType(
            4711, TStringCore(u"blob"),
            [](ValueExternal const& v) { return static_cast<Blob const&>(v).m_bytes; },
            [](ArrayView<unsigned char const> const& bytes) {
                return std::make_shared<Blob>(Bytes(bytes.begin(), bytes.end()));
            });
    }
    void TearDown() override { ClearExternalTypes(); }
};

}  // namespace qel::core::test
