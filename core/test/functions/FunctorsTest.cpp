#include "qel/core/functions/Functors.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/RawData.h"
#include "qel/core/store/StoreValue.h"

namespace qel::core {
namespace {

using test::Refusal;
using test::ThrownText;
using Direction = FunctorAggregationDirection;
using Kinds = std::vector<SpecialKind>;
constexpr SpecialKind N = SpecialKind::Normal;
constexpr SpecialKind X = SpecialKind::Null;

template <class T>
T Plus(T a, T b) {
    return static_cast<T>(a + b);
}

// Fails on 0, as a division does.
int Invert(int a, int b) {
    if (b == 0)
        throw std::runtime_error("zero");
    return a * 10 + b;
}

// Skips specials and keeps the element's kind otherwise.
std::pair<int, SpecialKind> PlusSpecial(int a, SpecialKind ka, int b, SpecialKind kb) {
    return kb == N ? std::pair{a + b, ka} : std::pair{a, ka};
}

template <class T>
std::vector<T> Values(std::initializer_list<int> v) {
    return std::vector<T>(v.begin(), v.end());
}

template <class T>
ArrayView<T const> In(std::vector<T> const& v) {
    return ArrayView<T const>(v.data(), v.size());
}
template <class T>
ArrayView<T> Out(std::vector<T>& v) {
    return ArrayView<T>(v.data(), v.size());
}

template <class T>
class FunctorTypedTest : public testing::Test {};
using Numbers = testing::Types<int, long long, float, double>;
TYPED_TEST_SUITE(FunctorTypedTest, Numbers);

// Scan in both directions writes the running value where its element
// stands; a reduce writes nothing and leaves the final accumulator.
TYPED_TEST(FunctorTypedTest, AggregateScansAndReducesInBothDirections) {
    using T = TypeParam;
    auto functor = BinaryFunctorFactory<T, T, T, &Plus<T>>();
    std::vector<T> const in = Values<T>({1, 2, 3});
    std::vector<T> out(3);
    ArrayView<T> scan = Out(out);
    T value = 0;
    functor->Aggregate(value, In(in), scan, Direction::Backward);
    EXPECT_EQ(out, Values<T>({6, 5, 3}));
    EXPECT_EQ(value, 6);
    functor->Aggregate(value, In(in), scan, Direction::Forward);
    EXPECT_EQ(out, Values<T>({7, 9, 12}));
    EXPECT_EQ(value, 12);
    // Any value other than Forward runs backward.
    ArrayView<T> none;
    value = 1;
    functor->Aggregate(value, In(in), none, static_cast<Direction>(7));
    EXPECT_EQ(value, 7);
    // Nothing in, nothing written, the accumulator as given.
    std::vector<T> const empty;
    functor->Aggregate(value, In(empty), none, Direction::Forward);
    functor->Project(In(empty), In(empty), none);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(functor->Do(2, 3), 5);
}

TEST(FunctorsTest, RawWindowsCutFromLargerBuffersTouchOnlyTheirElements) {
    auto functor = BinaryFunctorFactory<int, int, int, &Plus<int>>();
    // Int32 columns lie in unsigned int buffers; the functor reads them as int.
    VectorRawData<unsigned int> const a({1, 2, 3, 4, 5, 6});
    VectorRawData<unsigned int> const b({10, 20, 30, 40, 50, 60});
    VectorRawData<unsigned int> out(std::vector<unsigned int>(6, 99));
    RawDataView outWindow(out, 1, 3);
    functor->Project(ConstRawDataView(a, 2, 3), ConstRawDataView(b, 0, 3), outWindow);
    EXPECT_EQ(out.GetView<int>()[0], 99);
    EXPECT_EQ(out.GetView<int>()[1], 13);
    EXPECT_EQ(out.GetView<int>()[2], 24);
    EXPECT_EQ(out.GetView<int>()[3], 35);
    EXPECT_EQ(out.GetView<int>()[4], 99);

    // A raw reduce updates the caller's accumulator in place.
    int sum = -1;
    RawDataValueType<unsigned char> accumulator(sum);
    VectorRawData<unsigned int> nothing(std::vector<unsigned int>{});
    RawDataView noOutput(nothing);
    functor->Aggregate(accumulator, ConstRawDataView(a, 3, 3), noOutput, Direction::Forward);
    EXPECT_EQ(sum, 14);

    // The special form reads the kinds through windows of their own.
    auto special = BinarySpecialFunctorFactory<int, int, int, &PlusSpecial>();
    VectorRawData<SpecialKind> const kinds({N, X, N, X, N, N});
    VectorRawData<unsigned int> scan(std::vector<unsigned int>(2));
    VectorRawData<SpecialKind> scanKinds(2, N);
    RawDataView scanOut(scan), scanKindsOut(scanKinds);
    SpecialKind kind = X;
    sum = 0;
    special->Aggregate(accumulator, kind, ConstRawDataView(a, 2, 2), ConstRawDataView(kinds, 2, 2),
                       scanOut, scanKindsOut, Direction::Forward);
    EXPECT_EQ(scan.GetView<int>()[0], 3);
    EXPECT_EQ(scan.GetView<int>()[1], 3);
    EXPECT_EQ(sum, 3);
    EXPECT_EQ(kind, X);

    // A window of the wrong element size is refused before the loop.
    VectorRawData<unsigned long long> const wide({1, 2});
    EXPECT_EQ(ThrownText([&] {
                  RawDataView whole(out);
                  functor->Project(ConstRawDataView(wide), ConstRawDataView(wide), whole);
              }),
              "illegal type cast");
}

TEST(FunctorsTest, SizesAreCheckedInOrderBeforeAnythingIsWritten) {
    std::string const invalid = "vectorized transform function has an invalid array size | ";
    std::vector<int> three{1, 2, 3}, two{1, 2};
    std::vector<int> out3(3, 7), out2(2, 7);
    Kinds k3(3, N), k2(2, N), outK3(3, N), outK2(2, N);
    ArrayView<int> o3 = Out(out3), o2 = Out(out2), none;
    ArrayView<SpecialKind> ok3 = Out(outK3), ok2 = Out(outK2), noKinds;

    auto special = BinarySpecialFunctorFactory<int, int, int, &PlusSpecial>();
    // Every size wrong at once reports the first condition of the list.
    EXPECT_EQ(Refusal([&] { special->Project(In(three), In(k2), In(two), In(k3), o2, ok3); }),
              invalid + "(inputs1.GetSize() == specialInputs1.GetSize())");
    EXPECT_EQ(Refusal([&] { special->Project(In(three), In(k3), In(two), In(k3), o2, ok3); }),
              invalid + "(inputs2.GetSize() == specialInputs2.GetSize())");
    EXPECT_EQ(Refusal([&] { special->Project(In(three), In(k3), In(two), In(k2), o2, ok3); }),
              invalid + "(outputs.GetSize() == specialOutputs.GetSize())");
    EXPECT_EQ(Refusal([&] { special->Project(In(three), In(k3), In(two), In(k2), o2, ok2); }),
              invalid + "(inputs1.GetSize() == outputs.GetSize())");
    EXPECT_EQ(Refusal([&] { special->Project(In(three), In(k3), In(two), In(k2), o3, ok3); }),
              invalid + "(inputs2.GetSize() == outputs.GetSize())");
    EXPECT_EQ(out3, std::vector<int>(3, 7));
    EXPECT_EQ(out2, std::vector<int>(2, 7));

    int value = 0;
    SpecialKind kind = N;
    std::string const aggregate = "(inputs.GetSize() == outputs.GetSize() || outputs.IsEmpty())";
    EXPECT_EQ(Refusal([&] { special->Aggregate(value, kind, In(three), In(k2), o2, ok3, {}); }),
              invalid + aggregate);
    EXPECT_EQ(Refusal([&] { special->Aggregate(value, kind, In(three), In(k2), o3, ok3, {}); }),
              invalid + "(inputs.GetSize() == specialInputs.GetSize())");
    // A scan needs its kinds too; no output at all is a reduce.
    EXPECT_EQ(Refusal([&] { special->Aggregate(value, kind, In(three), In(k3), o3, noKinds, {}); }),
              invalid + "(outputs.GetSize() == specialOutputs.GetSize())");
    special->Aggregate(value, kind, In(three), In(k3), none, noKinds, Direction::Forward);
    EXPECT_EQ(value, 6);

    auto plain = BinaryFunctorFactory<int, int, int, &Plus<int>>();
    EXPECT_EQ(Refusal([&] { plain->Project(In(three), In(two), o2); }),
              invalid + "(inputs1.GetSize() == outputs.GetSize())");
    EXPECT_EQ(Refusal([&] { plain->Project(In(two), In(three), o2); }),
              invalid + "(inputs2.GetSize() == outputs.GetSize())");
    EXPECT_EQ(Refusal([&] { plain->Aggregate(value, In(three), o2, {}); }), invalid + aggregate);
    EXPECT_EQ(value, 6);
}

// What a creator and a stateful function object look like: the creator reads
// its constant from the values, and the state runs on from call to call.
struct AddNth {
    explicit AddNth(std::vector<std::shared_ptr<StoreValue>> const& values)
        : step(values[0]->AsInt32()) {}
    int operator()(int input) { return input + step * ++calls; }
    int step;
    int calls = 0;
};

std::pair<int, SpecialKind> Flip(int v, SpecialKind k) {
    return {-v, k == N ? X : N};
}

TEST(FunctorsTest, UnaryFormsCreatorsAndState) {
    std::vector<std::shared_ptr<StoreValue>> const values{factory::MakeInt32(10)};
    auto functor = UnaryFunctorCreatorFactory<int, int, AddNth>(values);
    std::vector<int> in{1, 1, 1}, out(3);
    ArrayView<int> o = Out(out);
    functor->Project(In(in), o);
    EXPECT_EQ(out, (std::vector<int>{11, 21, 31}));
    EXPECT_EQ(functor->Do(0), 40);
    // Each factory call starts a new pass.
    auto fresh = UnaryFunctorCreatorFactory<int, int, AddNth>(values);
    EXPECT_EQ(fresh->Do(0), 10);
    std::vector<int> two(2);
    ArrayView<int> o2 = Out(two);
    EXPECT_EQ(Refusal([&] { functor->Project(In(in), o2); }),
              "vectorized transform function has an invalid array size | "
              "(inputs.GetSize() == outputs.GetSize())");

    auto special = UnarySpecialFunctorFactory<int, int, &Flip>();
    Kinds kinds{N, X, N}, outKinds(3, SpecialKind::Error);
    ArrayView<SpecialKind> ok = Out(outKinds);
    special->Project(In(in), In(kinds), o, ok);
    EXPECT_EQ(out, (std::vector<int>{-1, -1, -1}));
    EXPECT_EQ(outKinds, (Kinds{X, N, X}));
    Kinds shortKinds{N, N};
    EXPECT_EQ(Refusal([&] { special->Project(In(in), In(shortKinds), o, ok); }),
              "vectorized transform function has an invalid array size | "
              "(inputs.GetSize() == specialInputs.GetSize())");
}

TEST(FunctorsTest, AFailureInsideTheFunctionKeepsWhatWasDone) {
    auto functor = BinaryFunctorFactory<int, int, int, &Invert>();
    std::vector<int> a{1, 2, 3}, b{4, 0, 6}, out(3, -1);
    ArrayView<int> o = Out(out);
    EXPECT_EQ(ThrownText([&] { functor->Project(In(a), In(b), o); }), "zero");
    EXPECT_EQ(out, (std::vector<int>{14, -1, -1}));
    // The scan wrote 6 and then 64 backward; the accumulator stands at 64.
    std::vector<int> elements{0, 4, 6};
    int value = 0;
    EXPECT_EQ(ThrownText([&] { functor->Aggregate(value, In(elements), o, Direction::Backward); }),
              "zero");
    EXPECT_EQ(out, (std::vector<int>{14, 64, 6}));
    EXPECT_EQ(value, 64);
}

}  // namespace
}  // namespace qel::core
