#include "qel/core/serialize/StoreValueSerializer.h"

#include <gtest/gtest.h>
#include <json/json.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/main/store/ValueSetImpl.h"
#include "core/test/Refusal.h"
#include "qel/core/store/DataStore.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueCompositeArray.h"
#include "qel/core/store/ValueConstantArray.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/store/ValueKeySet.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/Parser.h"

namespace qel::core {
namespace {

using namespace factory;
using test::Refusal;
using Value = std::shared_ptr<StoreValue>;
using Kinds = std::vector<SpecialKind>;
using Bytes = std::vector<unsigned char>;
constexpr SpecialKind N = SpecialKind::Normal;
constexpr SpecialKind Null = SpecialKind::Null;
Type const* const kI32 = IntType::Get32();
Type const* const kString = StringType::Get();

// Every text written must be JSON to a strict reader of another hand, whose
// root must be a collection: a lone value is checked inside an array.
std::string Strict(std::string const& text, bool isRoot = true) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    Json::Value root;
    std::string errors;
    std::istringstream in(isRoot ? text : "[" + text + "]");
    EXPECT_TRUE(Json::parseFromStream(builder, in, &root, &errors)) << text << "\n" << errors;
    return text;
}
std::string Json(Value const& value) {
    return Strict(SerializeValue(*value).toStdString(), false);
}
ValueMap Map(std::vector<std::pair<char16_t const*, Value>> entries) {
    ValueMap map;
    for (auto& [name, value] : entries)
        map.emplace(RInternString(name), std::move(value));
    return map;
}
std::string Store(ValueMap map, JsonOptions const& options = {}) {
    return Strict(SerializeDataStore(*MakeDataStore(std::move(map)), options).toStdString());
}
Value Ints(std::vector<unsigned int> values, Kinds kinds = {}) {
    if (kinds.empty())
        return MakeArray<unsigned int>(kI32, std::move(values));
    return MakeArray<unsigned int>(kI32, std::move(values), std::move(kinds));
}
template <class T>
Value SetOf(Type const* type, std::vector<T> const& items, Kinds const& kinds = {}) {
    auto set = MakeSetContainer<T>(type, 8);
    set->insert(items.begin(), items.end());
    return MakeSet<T>(type, std::move(set),
                      std::make_unique<SpecialKindSet>(kinds.begin(), kinds.end()));
}
template <class K, class V>
Value KeySetOf(Type const* key, Type const* element, std::vector<std::pair<K, V>> const& entries,
               std::vector<std::pair<SpecialKind, V>> const& specials = {}) {
    auto map = std::make_unique<DictionaryMap<K, V>>();
    if constexpr (std::is_same_v<K, RIndirectString>)
        map = MakeRawKeySet<V>(key);
    map->insert(entries.begin(), entries.end());
    return MakeKeySet<K, V>(key, element, std::move(map),
                            std::make_unique<SpecialKeyMap<V>>(specials.begin(), specials.end()));
}
QelTuple Pair(int number, char16_t const* text, SpecialKind first = N) {
    QelTuple tuple(TupleType::Get({kI32, kString}));
    tuple.SetNthInt32(0, number);
    tuple.SetNthSpecial(0, first);
    tuple.SetNthString(1, RIndirectString(text));
    return tuple;
}
unsigned long long Bits(double value) {
    return std::bit_cast<unsigned long long>(value);
}

class Blob final : public ValueExternal {
public:
    explicit Blob(Bytes bytes) : ValueExternal(TStringCore(u"blob")), m_bytes(std::move(bytes)) {}
    std::unique_ptr<StoreValue> Clone() const override { return std::make_unique<Blob>(m_bytes); }
    std::size_t GetHashValue() const override { return m_bytes.size(); }
    bool IsEqual(StoreValue const& other) const override {
        auto const* blob = dynamic_cast<Blob const*>(&other);
        return blob != nullptr && blob->m_bytes == m_bytes;
    }
    Bytes m_bytes;
};

TEST(StoreValueSerializerTest, EachKindOfValue) {
    double const inf = std::numeric_limits<double>::infinity();
    using Run = ValueCompositeArrayRange<unsigned long long>;
    std::vector<std::pair<Value, std::string>> const cases = {
        {MakeReal64(1.5), "1.5"},
        {MakeReal64(inf), R"("+inf")"},
        {MakeReal32(std::nanf("")), R"("nan")"},
        {MakeSpecial(kString, SpecialKind::Wildcard), R"("Wildcard")"},
        // Strings are quoted only where a reader would take them for
        // something else: a special, a quoted text, a word it trims.
        {MakeString(u"true"), R"("true")"},
        {MakeString(u"Null"), R"("'Null'")"},
        {MakeString(u"'"), R"("'\\''")"},
        {MakeString(u" a"), R"("' a'")"},
        {MakeString(u"a b"), R"("a b")"},
        {Ints({}), "[]"},
        {Ints({1, 0, 3}, {N, Null, N}), R"([1,[0,"Null"],3])"},
        {MakeArray<RIndirectString>(kString, {u"Null", u""}, {N, SpecialKind::Missing}),
         R"(["'Null'",["","Missing"]])"},
        {MakeConstantArray<unsigned int>(kI32, 2u, SpecialKind::Error),
         R"([[0,"Error"],[0,"Error"]])"},
        // A special's zeroed date is no date; the default one stands in.
        {MakeConstantArray<unsigned long long>(DateType::Get(), 1u, Null),
         R"([["1900-01-01","Null"]])"},
        {MakeCompositeArray<unsigned long long>(
             IntType::Get64(), {Run{4, N, 2}, Run{0, Null, 1}, Run{9, N, 1}},
             std::make_unique<std::vector<qelsize_t>>(std::vector<qelsize_t>{3, 2, 0})),
         R"([9,[0,"Null"],4])"},
        {MakeArray<Value>(ArrayType::Get(kI32), {Ints({1}), Ints({})}), "[[1],[]]"},
        {MakeArray<QelTuple>(Pair(0, u"").GetType(), {Pair(1, u"x"), Pair(0, u"a", Null)}),
         R"([[1,"x"],["Null","a"]])"},
        {MakeTuple(QelTuple(TupleType::Get({}))), "[]"},
        {SetOf<unsigned int>(kI32, {}), "[]"},
        {SetOf<unsigned int>(kI32, {3, 0xFFFFFFFFu, 1, 2}), "[-1,1,2,3]"},
        {SetOf<unsigned int>(kI32, {2, 1}, {SpecialKind::All, Null}), R"([[1,2],["Null","All"]])"},
        {SetOf<unsigned int>(kI32, {}, {Null}), R"([[],["Null"]])"},
        {SetOf<RIndirectString>(kString, {u"b", u"a", u"B", u"Null"}), R"(["B","'Null'","a","b"])"},
        {SetOf<unsigned long long>(RealType::Get64(), {Bits(std::nan("")), Bits(2.5), Bits(-1)}),
         R"([-1,2.5,"nan"])"},
        {SetOf<QelTuple>(Pair(0, u"").GetType(), {Pair(2, u"a"), Pair(1, u"b")}),
         R"([[1,"b"],[2,"a"]])"},
        {KeySetOf<RIndirectString, unsigned int>(kString, kI32, {}), "{}"},
        {KeySetOf<RIndirectString, unsigned int>(kString, kI32, {{u"b", 2}, {u"Null", 1}},
                                                 {{SpecialKind::Missing, 3}, {Null, 4}}),
         R"([{"Null":1,"b":2},{"Null":4,"Missing":3}])"},
        {KeySetOf<QelTuple, RIndirectString>(Pair(0, u"").GetType(), kString,
                                             {{Pair(2, u"x"), u"'"}, {Pair(1, u"y"), u"z"}}),
         R"({"[1,\"y\"]":"z","[2,\"x\"]":"'\\''"})"},
    };
    for (auto const& [value, json] : cases)
        EXPECT_EQ(Json(value), json) << SerializeAnonymousKey(*value).toStdString();
    EXPECT_EQ(ParseReal64FromString(TStringCore(u"+inf")), inf);

    std::string const refused =
        "arrays with collections do not support special values\n"
        "!(values.HasSpecialValues()) | !(values.HasSpecialValues())";
    // The one array of collections that the makers let hold a special.
    EXPECT_EQ(Refusal([] {
                  SerializeValue(*MakeConstantArray<QelTuple>(Pair(0, u"").GetType(), 2, Null));
              }),
              refused);
    EXPECT_EQ(Refusal([] { SerializeValue(*MakeArray<Value>(ArrayType::Get(kI32), {nullptr})); }),
              "cannot serialize null StoreValue\n(value) != nullptr | (value) != nullptr");
}

TEST(StoreValueSerializerTest, DataStoresWithTypedKeysAndOptions) {
    EXPECT_EQ(Store({}), "{}");
    QelDateTime const day(2020, 3, 4, 0, 0, 0, 0);
    Value const colors = KeySetOf<unsigned int, unsigned char>(
        ColorType::Get(), BoolType::Get(),
        {{static_cast<unsigned int>(QelColor(0, 0, 1, 0).AsInt32()), 1}, {0xff000000u, 0}});
    ValueMap map = Map({{u"b", MakeInt32(2)},
                        {u"a", MakeBool(true)},
                        {u"B", MakeSpecial(kI32, Null)},
                        {u"order date", MakeDateTime(day)},
                        {u"c", MakeColor(QelColor(1, 2, 3, 255).AsInt32())},
                        {u"k", colors}});
    // Sorted by name, by code unit, whatever the key text looks like.
    EXPECT_EQ(Store(map), R"({"B:i":"Null","a:b":true,"b:i":2,"c:c":"ff010203",)"
                          R"("k:K<c,b>":{"ff000000":false,"00000001":true},)"
                          R"("'order date':t":"2020-03-04"})");
    EXPECT_EQ(Store(std::move(map), {JsonSerializerType::Compact, false, true}),
              R"({"B":"Null","a":true,"b":2,"c":-16711165,"k":{"-16777216":false,"1":true},)"
              R"("order date":"2020-03-04"})");

    ClearExternalTypes();
    RegisterExternalType(
        77, TStringCore(u"blob"),
        [](ValueExternal const& v) { return static_cast<Blob const&>(v).m_bytes; },
        [](ArrayView<unsigned char const> const&) { return std::make_shared<Blob>(Bytes{}); });
    Value const blob = std::make_shared<Blob>(Bytes{0x0a, 0xff});
    Value const table =
        MakeTable(Map({{u"y", Ints({1, 2})}, {u"x", Ints({3, 4}, {N, Null})}}), TableSortOrder{});
    Value const kids = MakeArray<Value>(KeyMapType::Get({{RInternString(u"a"), kI32}}),
                                        {MakeKeyMap(Map({{u"a", MakeInt32(1)}}))});
    map = Map({{u"rows", table},
               {u"kids", kids},
               {u"blobs", SetOf<Value>(blob->GetType(), {blob, std::make_shared<Blob>(Bytes{1})})},
               {u"t", MakeTuple(Pair(7, u"Skipped"))}});
    // A key map's or table's own members are left out of its key, not those
    // of nested types.
    EXPECT_EQ(Store(map), R"({"blobs:S<x<blob>>":["01","0aff"],"kids:A<M{ a:i }>":[{"a:i":1}],)"
                          R"("rows:T":{"x:A<i>":[3,[4,"Null"]],"y:A<i>":[1,2]},)"
                          R"("t:P{ i, s }":[7,"'Skipped'"]})");
    EXPECT_EQ(SerializeKey(TStringCore(u"rows"), *table), TStringCore(u"rows:T"));
    EXPECT_EQ(SerializeAnonymousKey(*table), TStringCore(u"T{ x:A<i>, y:A<i> }"));

    JsonSerializer readable(JsonSerializerType::Readable);
    SerializeDataStore(readable, *MakeDataStore(std::move(map)));
    EXPECT_NE(Strict(readable.Build().toStdString()).find("\"rows:T\": {\n"), std::string::npos);
    ClearExternalTypes();
    EXPECT_EQ(Refusal([] {
                  Store(Map({{u"a", nullptr}}));
              }),
              "cannot serialize null StoreValue\n(value) != nullptr | (value) != nullptr");
}

// The seeds of the store parser and its fuzz target are this writer's own
// compact text.
TEST(StoreValueSerializerTest, StoreCorpusIsStrictJson) {
    int files = 0;
    for (auto const& entry :
         std::filesystem::directory_iterator(std::string(QEL_TEST_CORPUS_DIR) + "/stores")) {
        std::ifstream in(entry.path());
        std::string const text((std::istreambuf_iterator<char>(in)), {});
        EXPECT_EQ(Strict(text).find('\n'), std::string::npos) << entry.path();
        ++files;
    }
    EXPECT_GE(files, 5);
}

}  // namespace
}  // namespace qel::core
