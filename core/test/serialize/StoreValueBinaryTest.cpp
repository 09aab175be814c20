#include "qel/core/serialize/StoreValueBinaryParser.h"
#include "qel/core/serialize/StoreValueBinarySerializer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "core/test/Refusal.h"
#include "qel/core/serialize/BinaryProtocol.h"
#include "qel/core/serialize/StoreValueParser.h"
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

namespace qel::core {
namespace {

using namespace factory;
using Bytes = std::vector<unsigned char>;
using Value = std::shared_ptr<StoreValue>;
using test::Refusal;

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

std::string Diff(StoreValue const& a, StoreValue const& b, std::string const& at);

template <class T>
std::string ElementDiff(T const& a, T const& b, std::string const& at) {
    if constexpr (std::is_same_v<T, Value>)
        return Diff(*a, *b, at);
    else
        return a == b ? "" : at + ": elements differ";
}

// The first difference of two uniform collections, element by element.
struct UniformDiff {
    StoreValue const& a;
    StoreValue const& b;
    std::string const& at;

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
        if (x.IsConstantValue() != y.IsConstantValue() || x.IsComposite() != y.IsComposite() ||
            x.GetSortOrder() != y.GetSortOrder())
            return at + ": array forms differ";
        for (qelsize_t i = 0; i < x.GetCount(); ++i) {
            std::string const where = at + "[" + std::to_string(i) + "]";
            if (x.GetSpecialAt(i) != y.GetSpecialAt(i))
                return where + ": specials differ";
            if (x.GetSpecialAt(i) == SpecialKind::Normal) {
                if (std::string diff = ElementDiff(x.At(i), y.At(i), where); !diff.empty())
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
                if (std::string diff = ElementDiff(element, y.GetValue(key), at); !diff.empty())
                    return diff;
            }
            for (auto const& [kind, element] : x.GetSpecialKeyValuePairs()) {
                if (!y.ContainsKey(kind))
                    return at + ": a special key is missing";
                if (std::string diff = ElementDiff(element, y.GetValue(kind), at); !diff.empty())
                    return diff;
            }
            return "";
        }
    }
};

template <class Named>
std::string NamedDiff(Named const& x, Named const& y, std::string const& at) {
    for (auto const& [name, value] : x) {
        std::string const where = at + "/" + name.GetValue().toStdString();
        auto found = y.begin();
        while (found != y.end() && !((*found).first == name))
            ++found;
        if (found == y.end())
            return where + ": missing";
        if (std::string diff = Diff(*value, *(*found).second, where); !diff.empty())
            return diff;
    }
    return "";
}

// "" when the values are the same: type, specials, form and elements.
std::string Diff(StoreValue const& a, StoreValue const& b, std::string const& at) {
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
                                     UniformDiff{a, b, at});
        case StoreType::KeySet: {
            auto const* type = TypeAs<KeySetType>(a.GetType());
            KeySetDiff diff{a, b, at};
            return ForAnyTwoStorageTypes(type->GetKeyType()->GetStoreType(),
                                         type->GetElementType()->GetStoreType(), diff);
        }
        case StoreType::KeyMap:
            return NamedDiff(a.AsKeyMap().GetKeyValuePairs(), b.AsKeyMap().GetKeyValuePairs(), at);
        case StoreType::Table:
            if (a.AsTable().GetSortOrder() != b.AsTable().GetSortOrder())
                return at + ": sort orders differ";
            return NamedDiff(a.AsTable().GetColumns(), b.AsTable().GetColumns(), at);
        default:
            return a.IsEqual(b) ? "" : at + ": values differ";
    }
}

Bytes Write(IDataStore const& store, bool base128 = false, bool checksums = false) {
    BinaryProtocolCreator creator(base128, checksums);
    SerializeDataStore(creator, store);
    return creator.FinalizePayload();
}

std::shared_ptr<IDataStore> Read(Bytes bytes) {
    BinaryProtocolReader reader(MakeSharedArrayBuffer(std::move(bytes)));
    return StoreValueParser::MakeDataStore(reader);
}

Type const* const kI32 = IntType::Get32();
RInternString Name(char16_t const* text) {
    return RInternString(text);
}
Type const* const kString = StringType::Get();

TupleType const* const kTuple = TupleType::Get({kI32, RealType::Get64(), kString});

QelTuple Tuple(int i, SpecialKind middle, char16_t const* s) {
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
std::unique_ptr<IDataStore> EveryKind() {
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
    inner.emplace(Name(u"d"), MakeDate(QelDateTime(737000)));
    inner.emplace(Name(u"t"), MakeDateTime(QelDateTime(63700000000ULL)));
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
    arrays.emplace(Name(u"dates"), MakeArray<unsigned long long>(DateType::Get(), {1, 2}));
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
class StoreValueBinaryTest : public testing::Test {
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

TEST_F(StoreValueBinaryTest, EveryKindRoundTripsUnderEveryOption) {
    std::unique_ptr<IDataStore> const store = EveryKind();
    for (bool const base128 : {false, true}) {
        for (bool const checksums : {false, true}) {
            std::shared_ptr<IDataStore> const back = Read(Write(*store, base128, checksums));
            EXPECT_EQ(Diff(*store->GetValue(KeyPath()), *back->GetValue(KeyPath()), ""), "")
                << base128 << checksums;
        }
    }
    // The comparison sees what a reader could get wrong.
    auto const ints = [](std::vector<unsigned int> v) {
        return MakeArray<unsigned int>(kI32, std::move(v));
    };
    EXPECT_NE(Diff(*ints({1, 2}), *ints({1, 3}), ""), "");
    EXPECT_NE(Diff(*ints({1, 1}), *MakeConstantArray<unsigned int>(kI32, 1, 2), ""), "");
    EXPECT_NE(Diff(*ints({1}), *MakeArray<unsigned int>(kI32, {1}, SortSpecOrder::ASC), ""), "");
    EXPECT_NE(Diff(*MakeReal32(1.5f), *MakeReal32(1.5f, 10, 2), ""), "");

    // An array with indices comes back dense, in logical order.
    auto indexed = MakeArray<unsigned int>(
        kI32, std::make_unique<std::vector<unsigned int>>(std::vector<unsigned int>{7, 8}), nullptr,
        std::make_unique<std::vector<qelsize_t>>(std::vector<qelsize_t>{1, 1, 0}));
    ValueMap root;
    root.emplace(Name(u"a"), indexed);
    Value const back =
        Read(Write(*factory::MakeDataStore(std::move(root))))->GetValue(KeyPath(Name(u"a")));
    EXPECT_FALSE(back->AsArray().HasIndices());
    ArrayView<unsigned int const> const dense = back->AsTypedArray<unsigned int>().GetRawArray();
    EXPECT_EQ(std::vector<unsigned int>(dense.begin(), dense.end()),
              (std::vector<unsigned int>{8, 8, 7}));
}

TEST_F(StoreValueBinaryTest, WireFormOfArraysAndTuples) {
    // Each value as a payload's root, read from the data stream's start.
    auto const data = [](StoreValue const& value) {
        BinaryProtocolCreator creator(false, false);
        SerializeValue(creator, value);
        Bytes const payload = creator.FinalizePayload();
        unsigned int const at = payload[32] | payload[33] << 8;
        return Bytes(payload.begin() + at, payload.end());
    };
    EXPECT_EQ(data(*MakeArray<unsigned int>(kI32, {1, 2, 3})),
              (Bytes{0x01, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0}));
    EXPECT_EQ(data(*MakeConstantArray<unsigned long long>(IntType::Get64(), 5, 1000)),
              (Bytes{0x04, 0, 0, 0, 0xE8, 3, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(data(*MakeConstantArray<unsigned int>(kI32, 2, SpecialKind::Null)),
              (Bytes{0x0C, 0, 0, 0, 2, 0, 0, 0, 1}));
    // Kinds of all three members first, then the two values: 1 and the
    // string table index of "x".
    EXPECT_EQ(data(*MakeTuple(Tuple(1, SpecialKind::Null, u"x"))),
              (Bytes{0x0E, 0, 0, 0, 3, 0, 0, 0, 0, 1, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}));
}

TEST_F(StoreValueBinaryTest, FixedWidthColumnsStayInTheReceivedBuffer) {
    ValueMap root;
    root.emplace(Name(u"a"), MakeArray<unsigned long long>(IntType::Get64(), {5, 6, 7}));
    std::shared_ptr<ISharedArrayBuffer> buffer =
        MakeSharedArrayBuffer(Write(*factory::MakeDataStore(std::move(root))));
    ArrayView<unsigned char const> const bytes = buffer->GetBytes();
    Value column;
    {
        BinaryProtocolReader reader(buffer);
        column = StoreValueBinaryParser::MakeDataStore(reader)->GetValue(KeyPath(Name(u"a")));
    }
    buffer.reset();  // the column alone keeps the bytes now
    ArrayView<unsigned long long const> const read =
        column->AsTypedArray<unsigned long long>().GetRawArray();
    auto const* first = reinterpret_cast<unsigned char const*>(read.GetData());
    EXPECT_GE(first, bytes.GetData());
    EXPECT_LE(first + 3 * sizeof(unsigned long long), bytes.GetData() + bytes.GetSize());
    EXPECT_EQ(std::vector<unsigned long long>(read.begin(), read.end()),
              (std::vector<unsigned long long>{5, 6, 7}));
}

TEST_F(StoreValueBinaryTest, MalformedValuesAreRefused) {
    // Payloads that the protocol accepts but whose values are wrong.
    auto const entry = [](Type const* type, auto&& writeValue) {
        BinaryProtocolCreator creator(false, false);
        creator.BeginDictionaryType(1);
        creator.AppendKey(TStringCore(u"k"));
        creator.AppendKeyType(type, false);
        writeValue(creator);
        creator.EndDictionaryType();
        return Refusal([&] { Read(creator.FinalizePayload()); });
    };
    EXPECT_EQ(entry(ArrayType::Get(kI32),
                    [](BinaryProtocolCreator& c) {
                        c.BeginListType(BinaryListType::SetNoSpecials);
                        c.BeginListData(0);
                        c.EndListData();
                        c.EndListType();
                    }),
              "binary protocol has invalid list type | (binListType.GetContainerType() == "
              "BinaryContainerType::Array)");
    EXPECT_EQ(entry(ArrayType::Get(kI32),
                    [](BinaryProtocolCreator& c) {
                        c.BeginListType(BinaryListType::ArrayWithSpecials);
                        c.BeginListData(1);
                        c.AppendData(1u);
                        c.EndListData();
                        c.BeginListData(1);
                        c.AppendData(static_cast<SpecialKind>(10));
                        c.EndListData();
                        c.EndListType();
                    }),
              "illegal special kind value | (static_cast<unsigned int>(kind) < kSpecialKindCount)");
    EXPECT_EQ(entry(TableType::Get({}),
                    [](BinaryProtocolCreator& c) {
                        c.BeginTableType(0);
                        SerializeValue(c, *MakeArray<RIndirectString>(kString, {u"a"}));
                        SerializeValue(c, *MakeArray<unsigned int>(kI32, {}));
                        c.EndTableType();
                    }),
              "binary protocol invalid data\ncorrupt table sort metadata | (count == "
              "orderArray.GetCount() && count <= columnCount)");
    // Key maps nested without end would exhaust the stack.
    BinaryProtocolCreator deep(false, false);
    for (int i = 0; i < 200; ++i) {
        deep.BeginDictionaryType(1);
        deep.AppendKey(TStringCore(u"k"));
        deep.AppendKeyType(KeyMapType::Get({}), false);
    }
    deep.BeginDictionaryType(0);
    for (int i = 0; i <= 200; ++i)
        deep.EndDictionaryType();
    EXPECT_EQ(Refusal([&] { Read(deep.FinalizePayload()); }),
              "binary protocol invalid data\nvalues nested too deep | (p.GetDepth() < kMaxDepth)");
    // A key set may announce special keys and send none.
    EXPECT_EQ(entry(KeySetType::Get(kI32, kI32),
                    [](BinaryProtocolCreator& c) {
                        c.BeginKeySetType(BinaryKeySetType::WithSpecials);
                        c.BeginListData(1);
                        c.AppendKey(1u);
                        c.AppendData(2u);
                        c.EndListData();
                        c.BeginListData(0);
                        c.EndListData();
                        c.EndKeySetType();
                    }),
              "(nothing thrown) | ");
    // A name the registry does not know.
    ValueMap root;
    root.emplace(Name(u"x"), std::make_shared<Blob>(Bytes{1}));
    Bytes const payload = Write(*factory::MakeDataStore(std::move(root)));
    ClearExternalTypes();
    EXPECT_EQ(Refusal([&] { Read(payload); }), "invalid external type ID | ");
}

TEST_F(StoreValueBinaryTest, CutOrFlippedPayloadsFailCleanly) {
    Bytes const payload = Write(*EveryKind(), true, true);
    int refused = 0;
    int read = 0;
    auto const attempt = [&](Bytes bytes) {
        try {
            std::shared_ptr<IDataStore> const store = Read(std::move(bytes));
            // What was read must write again.
            BinaryProtocolCreator creator(false, false);
            SerializeDataStore(creator, *store);
            ++read;
        } catch (QelException const&) {
            ++refused;
        }
    };
    for (std::size_t length = 0; length < payload.size(); ++length)
        attempt(Bytes(payload.begin(), payload.begin() + length));
    EXPECT_EQ(refused, static_cast<int>(payload.size()));
    for (std::size_t i = 0; i < payload.size(); ++i) {
        for (unsigned char const flip : {0x01, 0x80, 0xFF}) {
            Bytes bytes = payload;
            bytes[i] ^= flip;
            attempt(std::move(bytes));
        }
    }
    EXPECT_GT(read, 0);
    EXPECT_GT(refused, static_cast<int>(payload.size()));
}

}  // namespace
}  // namespace qel::core
