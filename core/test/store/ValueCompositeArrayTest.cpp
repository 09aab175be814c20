#include "core/main/store/ValueCompositeArrayImpl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/ArrayAdapter.h"
#include "qel/core/store/SetIterators.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueConstantArray.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {
namespace {

using namespace factory;
using test::Refusal;
using test::ThrownText;
using U = unsigned int;
using Run = ValueCompositeArrayRange<U>;
using Indices = std::vector<qelsize_t>;
using Element = std::pair<U, SpecialKind>;
constexpr SpecialKind kNormal = SpecialKind::Normal;
constexpr SpecialKind kNull = SpecialKind::Null;

Type const* I32() {
    return IntType::Get32();
}

// The logical content of an array: runs laid end to end, read through
// indices when there are some. Every form below is built from one.
struct Model {
    std::vector<Run> runs;
    std::optional<Indices> indices;

    std::vector<Element> Expanded() const {
        std::vector<Element> flat;
        for (Run const& run : runs)
            flat.insert(flat.end(), run.count, {run.value, run.special});
        return flat;
    }
    std::vector<Element> Flat() const {
        std::vector<Element> flat = Expanded();
        if (!indices)
            return flat;
        std::vector<Element> picked;
        for (qelsize_t i : *indices)
            picked.push_back(flat[i]);
        return picked;
    }
    bool HasSpecials() const {
        return std::any_of(runs.begin(), runs.end(), [](Run r) { return r.special != kNormal; });
    }
    bool Uniform() const {
        std::vector<Element> const flat = Expanded();
        return std::all_of(flat.begin(), flat.end(), [&](Element e) { return e == flat[0]; });
    }
};

bool Equal(Element a, Element b) {
    return a.second == b.second && (a.second != kNormal || a.first == b.first);
}

template <class Array>
std::vector<Element> ReadAll(Array const& array) {
    std::vector<Element> out;
    for (auto [value, special] : array.GetAll())
        out.emplace_back(value, special);
    return out;
}
std::vector<Element> ReadAll(std::shared_ptr<StoreValue> const& value) {
    return ReadAll(value->AsTypedArray<U>());
}

std::string Text(std::shared_ptr<StoreValue> const& value) {
    return FormatPrimitive(*value).toStdString();
}
std::string Text(Element e) {
    return e.second != kNormal ? SpecialKindToString(e.second).toStdString()
                               : std::to_string(static_cast<int>(e.first));
}

struct PlainForm {
    static constexpr bool kAnyContent = true;
    static std::shared_ptr<StoreValue> Make(Model const& model) {
        auto values = std::make_unique<std::vector<U>>();
        auto specials = std::make_unique<std::vector<SpecialKind>>();
        for (auto [value, special] : model.Expanded()) {
            values->push_back(value);
            specials->push_back(special);
        }
        return MakeArray<U>(I32(), std::move(values),
                            model.HasSpecials() ? std::move(specials) : nullptr,
                            model.indices ? std::make_unique<Indices>(*model.indices) : nullptr);
    }
};

// Holds only uniform content; indices just set its count.
struct ConstantForm {
    static constexpr bool kAnyContent = false;
    static std::shared_ptr<StoreValue> Make(Model const& model) {
        std::vector<Element> const flat = model.Expanded();
        U const count = static_cast<U>(flat.size());
        auto made = flat[0].second == kNormal ? MakeConstantArray<U>(I32(), flat[0].first, count)
                                              : MakeConstantArray<U>(I32(), count, flat[0].second);
        if (model.indices)
            made = made->AsArray().CopyAndApplyIndices(Indices(*model.indices), SortSpecOrder::ASC);
        return made;
    }
};

struct CompositeForm {
    static constexpr bool kAnyContent = true;
    static std::shared_ptr<StoreValue> Make(Model const& model) {
        return MakeCompositeArray<U>(
            I32(), std::vector<Run>(model.runs),
            model.indices ? std::make_unique<Indices>(*model.indices) : nullptr);
    }
};

std::vector<Model> Models() {
    std::vector<Run> const sevens = {{7, kNormal, 2}, {7, kNormal, 0}, {7, kNormal, 3}};
    // Equal neighbours stay separate runs; one special run, placeholder 0.
    std::vector<Run> const mixed = {{5, kNormal, 2}, {5, kNormal, 1}, {0, kNull, 1},
                                    {6, kNormal, 2}, {6, kNormal, 0}, {8, kNormal, 3}};
    return {{sevens, {}},
            {{{0, kNull, 4}}, {}},
            {sevens, Indices{4, 0, 4}},
            {mixed, {}},
            {mixed, Indices{8, 0, 3, 4, 3, 5, 7}}};
}

template <class Form>
class ThreeFormsTest : public testing::Test {};
using Forms = testing::Types<PlainForm, ConstantForm, CompositeForm>;
TYPED_TEST_SUITE(ThreeFormsTest, Forms);

// Every form of the same content answers every reading operation alike.
TYPED_TEST(ThreeFormsTest, ReadLikeTheirContent) {
    for (Model const& model : Models()) {
        if (!TypeParam::kAnyContent && !model.Uniform())
            continue;
        auto const value = TypeParam::Make(model);
        auto const& array = value->template AsTypedArray<U>();
        std::vector<Element> const flat = model.Flat();
        U const n = static_cast<U>(flat.size());
        SCOPED_TRACE(testing::Message() << "count " << n << (model.indices ? " indexed" : ""));
        ASSERT_EQ(array.GetCount(), n);
        EXPECT_EQ(array.HasSpecialValues(), model.HasSpecials());
        EXPECT_EQ(ReadAll(array), flat);
        std::vector<Element> cast;
        for (auto [v, s] : ArrayAdapter<int>(value).GetAll())
            cast.emplace_back(static_cast<U>(v), s);
        EXPECT_EQ(cast, flat);

        std::vector<std::string> boxed, expected;
        auto const& iterable = array.GetStoreValues();
        for (auto it = iterable.begin()->Clone(); it->NotEqual(iterable.end()); it->MoveNext())
            boxed.push_back(Text(it->GetCurrent()));
        for (U i = 0; i < n; ++i) {
            expected.push_back(Text(flat[i]));
            EXPECT_EQ(array.At(i), flat[i].first);
            EXPECT_EQ(array[i], flat[i].first);
            EXPECT_EQ(array.GetSpecialAt(i), flat[i].second);
            EXPECT_EQ(Text(array.GetStoreValueAt(i)), Text(flat[i]));
            // By key a special gives its placeholder, as an ordinary value.
            auto const key = RInternString(TStringCore::number(i));
            EXPECT_EQ(value->AsCollection().GetByString(key)->AsInt32(), int(flat[i].first));
            unsigned int last = i;
            while (last + 1 < n && Equal(flat[i], flat[last + 1]))
                ++last;
            EXPECT_EQ(array.FindLastEqualElement(i), last);
            for (U j = 0; j < n; ++j)
                EXPECT_EQ(array.ElementsAreEqual(i, j), Equal(flat[i], flat[j]));
        }
        EXPECT_EQ(boxed, expected);
        EXPECT_EQ(ThrownText([&] { array.At(n); }), "index out of bounds");
        EXPECT_EQ(value->AsCollection().TryGetByString(RInternString(TStringCore::number(n))),
                  nullptr);

        // Ranges whose length is the number of elements wanted (a constant
        // array counts it in positions, which agrees with step 1 or a length
        // that reaches the end).
        for (U start = 0; start < n; ++start) {
            for (U length : {1u, 2u, n}) {
                for (U step : {1u, 2u, 3u}) {
                    if (step != 1 && length < n - start)
                        continue;
                    std::vector<Element> want;
                    for (U i = start; i < n && want.size() < length; i += step)
                        want.push_back(flat[i]);
                    EXPECT_EQ(ReadAll(array.GetRange(start, length, step)), want)
                        << start << " " << length << " " << step;
                }
            }
        }
        Indices const picks = {n - 1, 0, n / 2};
        std::vector<Element> const picked = {flat[n - 1], flat[0], flat[n / 2]};
        EXPECT_EQ(ReadAll(array.CopyAndApplyIndices(Indices(picks), SortSpecOrder::UNKNOWN)),
                  picked);
        EXPECT_EQ(ReadAll(array.CopyAndApplyIndices(
                      std::make_shared<VectorRawData<qelsize_t>>(Indices(picks)),
                      SortSpecOrder::UNKNOWN)),
                  picked);
        auto const materialized = array.Materialize();
        EXPECT_EQ(ReadAll(materialized), flat);
        EXPECT_FALSE(materialized->AsArray().HasIndices());
        EXPECT_EQ(materialized->AsUniformCollection().IsConstantValue(), array.IsConstantValue());

        // Sets hold the elements' values, placeholders included, and their
        // specials when asked for.
        for (bool includeSpecials : {false, true}) {
            std::set<U> wantValues, values;
            std::set<SpecialKind> wantSpecials;
            for (auto [v, s] : flat) {
                wantValues.insert(v);
                if (includeSpecials && s != kNormal)
                    wantSpecials.insert(s);
            }
            auto const set = array.CopyAsSet(includeSpecials);
            auto const& typed = set->template AsTypedSet<U>();
            for (U v : typed.GetValues())
                values.insert(v);
            EXPECT_EQ(values, wantValues);
            EXPECT_EQ(std::set<SpecialKind>(typed.GetSpecialValues().begin(),
                                            typed.GetSpecialValues().end()),
                      wantSpecials);
        }

        // Copies of the inner elements into buffers of exactly their length.
        U const length = n - 2;
        std::vector<U> values(length);
        std::vector<SpecialKind> specials(length, SpecialKind::Error);
        array.CopyMaterializedRange(ArrayView<U>(values.data(), length), 1, length);
        array.CopyMaterializedSpecialRange(ArrayView<SpecialKind>(specials.data(), length), 1,
                                           length);
        auto temp = TemporaryRawData::Make<U>(n);
        ConstRawDataView const view = array.GetRawMaterializedView(*temp, 1, length);
        ASSERT_EQ(view.GetSize(), length);
        for (U i = 0; i < length; ++i) {
            EXPECT_EQ(values[i], flat[i + 1].first);
            EXPECT_EQ(specials[i], flat[i + 1].second);
            EXPECT_EQ(*static_cast<U const*>(view.GetValue(i)), flat[i + 1].first);
        }
    }
}

// ---------------------------------------------------------------------------
// Composite arrays

std::shared_ptr<StoreValue> FiveNullSix(std::unique_ptr<Indices> indices = nullptr) {
    return MakeCompositeArray<U>(I32(), {{5, kNormal, 2}, {0, kNull, 1}, {6, kNormal, 2}},
                                 std::move(indices), SortSpecOrder::DESC);
}

TEST(ValueCompositeArrayTest, SlicesCutRunsAtTheirBoundaries) {
    auto const value = FiveNullSix();
    auto const& array = value->AsTypedArray<U>();
    EXPECT_TRUE(array.IsComposite());
    auto const range = array.GetRange(1, 3, 2);
    auto const& runs = range->AsTypedArray<U>().GetRawRanges();
    ASSERT_EQ(runs.GetSize(), 2u);
    EXPECT_EQ(std::make_pair(runs[0].value, runs[0].count), std::make_pair(5u, 1u));
    EXPECT_EQ(std::make_pair(runs[1].value, runs[1].count), std::make_pair(6u, 1u));
    // A step-1 slice keeps whole runs in the middle and cuts those at the
    // edges; the sort order travels with every derived array.
    auto const middle = array.GetRange(1, 3, 1);
    EXPECT_EQ(middle->AsTypedArray<U>().GetRawRanges().GetSize(), 3u);
    EXPECT_EQ(ReadAll(middle), (std::vector<Element>{{5, kNormal}, {0, kNull}, {6, kNormal}}));
    EXPECT_EQ(middle->AsArray().GetSortOrder(), SortSpecOrder::DESC);
    EXPECT_EQ(value->Clone()->AsArray().GetSortOrder(), SortSpecOrder::DESC);
    EXPECT_EQ(array.Materialize()->AsArray().GetSortOrder(), SortSpecOrder::DESC);
    EXPECT_EQ(array.GetRange(1, 0, 1)->GetCount(), 0u);
    EXPECT_EQ(array.GetRange(9, 2, 1)->GetCount(), 0u);
    EXPECT_EQ(ThrownText([&] { array.GetRange(0, 5, 0); }),
              "index out of bounds\nIllegal range step value");
}

TEST(ValueCompositeArrayTest, IndicesAreSeenThroughArrayWithIndices) {
    auto const value = FiveNullSix(std::make_unique<Indices>(Indices{4, 0}));
    EXPECT_EQ(ReadAll(value), (std::vector<Element>{{6, kNormal}, {5, kNormal}}));
    auto const& indices = ArrayWithIndices::As(value->AsArray()).GetIndices();
    EXPECT_EQ(Indices(indices.GetView().begin(), indices.GetView().end()), (Indices{4, 0}));
    // Replacing indices from a buffer copies its entries.
    auto const buffer = std::make_shared<VectorRawData<qelsize_t>>(Indices{2});
    auto const replaced = value->AsArray().CopyAndReplaceIndices(buffer, SortSpecOrder::UNKNOWN);
    EXPECT_EQ(ReadAll(replaced), (std::vector<Element>{{0, kNull}}));
    EXPECT_NE(ArrayWithIndices::As(replaced->AsArray()).GetIndices().GetData(), buffer);
    auto const plain = MakeArray<U>(I32(), {1});
    EXPECT_THROW(ArrayWithIndices::As(plain->AsArray()), std::bad_cast);
}

// Bisection and the run cursor against a flat model: many runs, some empty,
// random positions, and indices that go forwards, backwards and at random.
TEST(ValueCompositeArrayTest, AccessAgreesWithTheExpansionOverManyRuns) {
    std::mt19937 random(13);
    Model model;
    for (int r = 0; r < 3000; ++r) {
        bool const special = random() % 10 == 0;
        model.runs.push_back(
            {special ? 0u : U(random() % 50), special ? kNull : kNormal, U(random() % 6)});
    }
    std::vector<Element> const flat = model.Expanded();
    U const total = static_cast<U>(flat.size());
    auto const value = CompositeForm::Make(model);
    auto const& array = value->AsTypedArray<U>();
    for (int k = 0; k < 5000; ++k) {
        U const i = random() % total;
        ASSERT_EQ(Element(array.At(i), array.GetSpecialAt(i)), flat[i]) << i;
    }
    EXPECT_EQ(ReadAll(array), flat);
    Indices indices;
    for (U i = 0; i < total; i += 3)
        indices.push_back(i);
    for (U i = total; i-- > 0;)
        indices.push_back(i);
    for (int k = 0; k < 5000; ++k)
        indices.push_back(random() % total);
    model.indices = indices;
    auto const indexed = CompositeForm::Make(model);
    std::vector<Element> const picked = model.Flat();
    EXPECT_EQ(ReadAll(indexed), picked);
    EXPECT_EQ(ReadAll(indexed->AsArray().Materialize()), picked);
    std::vector<U> copied(picked.size());
    indexed->AsTypedArray<U>().CopyMaterializedRange(ArrayView<U>(copied.data(), copied.size()), 0,
                                                     U(copied.size()));
    for (std::size_t i = 0; i < picked.size(); ++i)
        ASSERT_EQ(copied[i], picked[i].first) << i;
}

TEST(ValueCompositeArrayTest, MadeFromConstantArrays) {
    auto const type = ArrayType::Get(I32());
    using Constant = ValueConstantArray<U>;
    auto const five = std::make_shared<Constant>(type, 5u, 2u);
    auto const none = std::make_shared<Constant>(type, 9u, 0u);
    auto const null = std::make_shared<Constant>(type, 1u, kNull);
    auto const made = ValueCompositeArray<U>::Make({five, none, null, five});
    EXPECT_EQ(made->GetRawRanges().GetSize(), 3u) << "an empty array leaves no run";
    EXPECT_EQ(
        ReadAll(*made),
        (std::vector<Element>{{5, kNormal}, {5, kNormal}, {0, kNull}, {5, kNormal}, {5, kNormal}}));
    EXPECT_TRUE(made->HasSpecialValues());
    auto const indexed =
        ValueCompositeArray<U>::Make({null, five}, std::make_unique<Indices>(Indices{2}));
    EXPECT_EQ(ReadAll(*indexed), (std::vector<Element>{{5, kNormal}}));
    EXPECT_EQ(ValueCompositeArray<U>::Make({none, none})->GetCount(), 0u);

    EXPECT_EQ(Refusal([] { ValueCompositeArray<U>::Make({}); }),
              "composite array requires at least one array | (constantArrays).size() >= (1)");
    auto const other = std::make_shared<Constant>(ArrayType::Get(ColorType::Get()), 5u, 1u);
    EXPECT_EQ(Refusal([&] {
                  ValueCompositeArray<U>::Make({five, other});
              }),
              "composed arrays must be of the same type | (ca->GetType() == type)");
}

TEST(ValueCompositeArrayTest, Refusals) {
    std::string const mismatch = "type doesn't match expected type | ";
    EXPECT_EQ(Refusal([] { ValueCompositeArray<U>::Make(nullptr, {}, nullptr); }),
              "null is not a valid argument | (m_type) != nullptr");
    EXPECT_EQ(Refusal([] { MakeCompositeArray<QelTuple>(TupleType::Get({I32()}), {}); }),
              mismatch + "(IsPrimitiveStoreType(elementStoreType))");
    EXPECT_EQ(Refusal([] { MakeCompositeArray<U>(IntType::Get64(), {}); }),
              mismatch + "(StorageTypeTraits<StorageT>::IsMatchingType(m_type->GetElementType()))");
    // Beyond 32-bit positions, and indices past the runs.
    U const most = std::numeric_limits<U>::max();
    EXPECT_TRUE(test::MatchesRefusal(
        Refusal([&] {
            MakeCompositeArray<U>(I32(), {{1, kNormal, most}, {2, kNormal, 1}});
        }),
        "out of range | <any condition>"));
    EXPECT_TRUE(test::MatchesRefusal(Refusal([] {
                                         FiveNullSix(std::make_unique<Indices>(Indices{0, 5}));
                                     }),
                                     "index out of bounds | <any condition>"));

    auto const value = FiveNullSix();
    auto const& array = value->AsTypedArray<U>();
    EXPECT_EQ(Refusal([&] { array.GetSpecialAt(5); }),
              "index out of bounds | (index < m_sizeAndHasSpecials.first)");
    EXPECT_EQ(Refusal([&] { array.ElementsAreEqual(0, 5); }),
              "index out of bounds | (idx2 < m_sizeAndHasSpecials.first)");
    EXPECT_EQ(Refusal([&] { array.FindLastEqualElement(5); }),
              "index out of bounds | (startIndex < m_sizeAndHasSpecials.first)");
    EXPECT_EQ(Refusal([&] { array.GetRawArray(); }), "not implemented | ");
    EXPECT_EQ(Refusal([&] { array.GetRawSpecialArray(); }), "not implemented | ");
    std::vector<U> out(3);
    EXPECT_TRUE(test::MatchesRefusal(
        Refusal([&] { array.CopyMaterializedRange(ArrayView<U>(out.data(), 3), 4, 2); }),
        "index out of bounds | <any condition>"));
}

// A table's column becomes member 0 of each tuple, specials first.
TEST(ValueCompositeArrayTest, FillsTupleMembers) {
    auto const value = FiveNullSix();
    TupleType const* const pair = TupleType::Get({I32(), StringType::Get()});
    std::vector<QelTuple> tuples(3, QelTuple(pair));
    ArrayView<QelTuple> const view(tuples.data(), tuples.size());
    value->AsArray().CopyMaterializedToTuples(view, 1, 3, 0);
    EXPECT_EQ(tuples[0].GetNthInt32(0), 5);
    EXPECT_EQ(tuples[1].GetNthSpecial(0), kNull);
    EXPECT_EQ(tuples[2].GetNthSpecial(0), kNormal);
    EXPECT_EQ(tuples[2].GetNthInt32(0), 6);
    EXPECT_EQ(Refusal([&] { value->AsArray().CopyMaterializedToTuples(view, 1, 3, 1); }),
              "type mismatch | (outView[0].GetNthType(tupleIndex) == m_type->GetElementType())");
}

// The iterators of the three modes: empty arrays, the end, and a cast
// iterator of a composite array, which goes on from where it stands.
TEST(ValueCompositeArrayTest, IteratorModes) {
    for (auto const& empty : {MakeArray<U>(I32(), {}), MakeConstantArray<U>(I32(), 7u, 0u),
                              MakeCompositeArray<U>(I32(), {{7, kNormal, 0}})}) {
        auto const all = empty->AsTypedArray<U>().GetAll();
        EXPECT_TRUE(all.begin() == all.end());
        EXPECT_EQ(ThrownText([&] { *all.begin(); }), "iterator out of bounds");
    }
    auto const value = FiveNullSix();
    auto it = value->AsTypedArray<U>().GetAll().begin();
    ++ ++ ++it;
    auto cast = it.AsCastIterator<int>();
    EXPECT_EQ(cast.GetPosition(), 3u);
    EXPECT_EQ(*cast, std::make_pair(6, kNormal));
    ++ ++cast;
    EXPECT_EQ(ThrownText([&] { ++cast; }), "iterator out of bounds");
}

}  // namespace
}  // namespace qel::core
