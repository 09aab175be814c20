#include "qel/core/store/RawData.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "core/test/Refusal.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/StorageTypes.h"
#include "qel/core/utility/ArrayView.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {
namespace {

using test::MatchesRefusal;
using test::Refusal;

constexpr qelsize_t kMax32 = std::numeric_limits<qelsize_t>::max();
std::string const kWindowInBuffer =
    "index out of bounds | ((std::numeric_limits<qelsize_t>::max() - startIndex >= length) && "
    "(m_data.GetSize() >= (startIndex + length)))";
std::string const kElementInWindow =
    "index out of bounds | (index < m_length && m_startIndex + index < m_data.GetSize())";
std::string const kImmutable = "can't modify immutable value | ";

// Received memory: a vector that records when it dies.
template <class T>
struct ReceivedBuffer : ISharedDataBuffer {
    ReceivedBuffer(std::size_t size, bool& destroyed) : values(size), destroyed(destroyed) {}
    ~ReceivedBuffer() override { destroyed = true; }
    std::vector<T> values;
    bool& destroyed;
};

template <class T>
class RawDataTypedTest : public ::testing::Test {};
using ElementTypes = ::testing::Types<QEL_STORAGE_TYPES, SpecialKind>;
TYPED_TEST_SUITE(RawDataTypedTest, ElementTypes);

TYPED_TEST(RawDataTypedTest, PackagesAndSlicesNeverCopyElements) {
    using T = TypeParam;
    std::vector<T> values(5);
    T const* const first = values.data();
    PackagedArrayView<T> whole(std::move(values));
    EXPECT_TRUE(values.empty());
    ASSERT_FALSE(whole.IsNull());
    EXPECT_EQ(whole.GetSize(), 5u);
    EXPECT_EQ(whole.GetView().GetData(), first);

    PackagedArrayView<T> const slice = whole.GetSlice(1, 3);
    EXPECT_EQ(slice.GetView().GetData(), first + 1);
    EXPECT_EQ(slice.GetSize(), 3u);
    EXPECT_EQ(slice.GetData(), whole.GetData());
    EXPECT_EQ(whole.GetData().use_count(), 2);
    // A slice is checked against the buffer, not against its parent window.
    EXPECT_EQ(slice.GetSlice(2, 2).GetView().GetData(), first + 3);
    EXPECT_EQ(Refusal([&] { slice.GetSlice(2, 3); }), kWindowInBuffer);

    // A copy shares the buffer, never the window object.
    PackagedArrayView<T> copy = slice;
    EXPECT_NE(&copy.GetRawView(), &slice.GetRawView());
    EXPECT_EQ(copy.GetView().GetData(), first + 1);
    PackagedArrayView<T> moved = std::move(copy);
    EXPECT_TRUE(copy.GetView().IsNull());

    auto owned = std::make_unique<std::vector<T>>(2);
    T const* const ownedFirst = owned->data();
    EXPECT_EQ(PackagedArrayView<T>(std::move(owned)).GetView().GetData(), ownedFirst);
}

TYPED_TEST(RawDataTypedTest, BuffersKnowTheirElements) {
    using T = TypeParam;
    VectorRawData<T> data(std::vector<T>(3));
    EXPECT_EQ(data.GetSize(), 3u);
    EXPECT_EQ(data.GetTypeSize(), sizeof(T));
    // The byte view counts elements, not bytes.
    EXPECT_EQ(data.GetByteView().GetSize(), 3u);
    EXPECT_EQ(std::as_const(data).GetByteView().GetData(),
              reinterpret_cast<unsigned char const*>(data.GetView().GetData()));
    EXPECT_EQ(ConstRawDataView(data).GetValue(2), data.GetView().GetData() + 2);

    std::unique_ptr<TemporaryRawData> scratch = TemporaryRawData::Make<T>(4);
    EXPECT_EQ(scratch->Get().GetSize(), 4u);
    EXPECT_EQ(scratch->Get().GetTypeSize(), sizeof(T));
}

TYPED_TEST(RawDataTypedTest, UnmanagedDataKeepsItsBufferAliveAndReadOnly) {
    using T = TypeParam;
    bool destroyed = false;
    auto buffer = std::make_shared<ReceivedBuffer<T>>(4, destroyed);
    T const* const first = buffer->values.data();
    auto data = std::make_shared<UnmanagedRawData<T>>(buffer, ArrayView<T const>(first + 1, 3));
    EXPECT_EQ(buffer.use_count(), 2);
    buffer.reset();
    EXPECT_FALSE(destroyed);

    EXPECT_EQ(Refusal([&] { data->GetView(); }), kImmutable);
    EXPECT_EQ(Refusal([&] { data->GetByteView(); }), kImmutable);
    EXPECT_EQ(Refusal([&] { RawDataView(*data).GetValue(0); }), kImmutable);
    EXPECT_EQ(ConstRawDataView(*data).GetValue(2), first + 3);

    PackagedArrayView<T> package{std::shared_ptr<RawData const>(data)};
    EXPECT_EQ(package.GetView().GetData(), first + 1);
    data.reset();
    EXPECT_FALSE(destroyed);
    package = PackagedArrayView<T>();
    EXPECT_TRUE(destroyed);
}

TEST(RawDataTest, TypedViewsNeedOnlyTheElementSize) {
    std::string const cast = "illegal type cast | (sizeof(T) == m_typeSize)";
    VectorRawData<unsigned int> data(std::vector<unsigned int>{1, 2, 3});
    EXPECT_EQ(Refusal([&] { data.GetView<unsigned long long>(); }), cast);
    EXPECT_EQ(Refusal([&] { std::as_const(data).GetView<unsigned char>(); }), cast);
    ArrayView<float> const reals = data.GetView<float>();
    EXPECT_EQ(static_cast<void const*>(reals.GetData()), data.GetView().GetData());
    EXPECT_EQ(std::as_const(data).GetView<int>().GetAt(2), 3);

    auto shared = std::make_shared<VectorRawData<unsigned int> const>(std::vector<unsigned>(2));
    EXPECT_EQ(Refusal([&] { PackagedArrayView<unsigned long long>{shared}; }), cast);
}

TEST(RawDataTest, NullPackageIsNotAnEmptyOne) {
    using Specials = PackagedArrayView<SpecialKind>;
    for (Specials const& null : {Specials(), Specials(std::shared_ptr<RawData const>()),
                                 Specials(std::unique_ptr<std::vector<SpecialKind>>())}) {
        EXPECT_TRUE(null.IsNull());
        EXPECT_TRUE(null.GetView().IsNull());
        EXPECT_EQ(null.GetView().GetData(), nullptr);
        EXPECT_EQ(Refusal([&] { null.GetRawView(); }), "illegal operation | !(IsNull())");
        EXPECT_TRUE(null.GetSlice(0, 0).IsNull());
        EXPECT_TRUE(null.GetSlice(kMax32, kMax32).IsNull());
    }

    Specials const empty{std::vector<SpecialKind>()};
    EXPECT_FALSE(empty.IsNull());
    EXPECT_FALSE(empty.GetView().IsNull());
    EXPECT_EQ(empty.GetRawView().GetSize(), 0u);

    // No specials at all is still a buffer.
    auto specials = std::make_shared<VectorRawData<SpecialKind> const>(0u, SpecialKind::Null);
    EXPECT_FALSE(Specials(specials).IsNull());
    VectorRawData<SpecialKind> errors(3u, SpecialKind::Error);
    for (SpecialKind kind : std::as_const(errors).GetView())
        EXPECT_EQ(kind, SpecialKind::Error);
}

TEST(RawDataTest, WindowConstructorsCheckAsymmetrically) {
    VectorRawData<unsigned int> data(std::vector<unsigned int>{10, 11, 12, 13});
    unsigned int const* const first = data.GetView().GetData();
    EXPECT_EQ(ConstRawDataView(data, 4, 0).GetSize(), 0u);
    EXPECT_EQ(Refusal([&] { ConstRawDataView(data, 3, 2); }), kWindowInBuffer);
    // A sum that wraps to 1 fits only the weaker check of the writable view.
    EXPECT_EQ(Refusal([&] { ConstRawDataView(data, kMax32, 2); }), kWindowInBuffer);
    RawDataView const wrapped(data, kMax32, 2);
    EXPECT_EQ(Refusal([&] { RawDataView(data, 3, 2); }),
              "index out of bounds | (m_data.GetSize() >= (startIndex + length))");
    // Every element is still checked against the buffer itself.
    EXPECT_EQ(Refusal([&] { wrapped.GetValue(0); }), kElementInWindow);
    EXPECT_EQ(wrapped.GetValue(1), first);
    EXPECT_EQ(ConstRawDataView(wrapped).GetStartIndex(), kMax32);

    // The element must lie in the window as well as in the buffer.
    ConstRawDataView const window(data, 1, 2);
    EXPECT_EQ(window.GetValue(1), first + 2);
    EXPECT_EQ(Refusal([&] { window.GetValue(2); }), kElementInWindow);
    EXPECT_EQ(window.GetSlice(1, 2).GetValue(1), first + 3);
    EXPECT_TRUE(MatchesRefusal(Refusal([&] { window.GetSlice(kMax32, 0); }),
                               "index out of bounds | <any condition>"));
}

TEST(RawDataTest, ScratchIsFilledThroughAWritableView) {
    std::unique_ptr<TemporaryRawData> scratch = TemporaryRawData::Make<unsigned long long>(3);
    RawDataView const view = scratch->Get();
    for (qelsize_t i = 0; i < view.GetSize(); ++i)
        EXPECT_EQ(*static_cast<unsigned long long*>(view.GetValue(i)), 0u);
    *static_cast<unsigned long long*>(view.GetValue(2)) = 42;
    RawData const& filled = *scratch;
    EXPECT_EQ(filled.GetView<long long>()[2], 42);

    TemporaryRawData taken = std::move(*scratch);
    EXPECT_EQ(taken.Get().GetSize(), 3u);
    EXPECT_TRUE(MatchesRefusal(Refusal([&] { scratch->Get(); }),
                               "cannot dereference null pointer | <any condition>"));
    std::unique_ptr<TemporaryRawData> specials = TemporaryRawData::Make<SpecialKind>(2);
    for (SpecialKind kind : specials->Get().GetView<SpecialKind>())
        EXPECT_EQ(kind, SpecialKind::Normal);
}

TEST(RawDataTest, BuffersStayConsistentWhenMovedOrMisused) {
    using Bytes = VectorRawData<unsigned char>;
    std::vector<unsigned char> bytes{1, 2, 3};
    std::unique_ptr<Bytes> made = Bytes::Make(std::move(bytes));
    EXPECT_TRUE(bytes.empty());
    Bytes moved(std::move(*made));
    EXPECT_EQ(moved.GetSize(), 3u);
    EXPECT_EQ(made->GetSize(), 0u);
    EXPECT_EQ(made->GetByteView().GetSize(), 0u);

    // A window must be on the buffer it is packaged with.
    auto one = std::make_shared<Bytes const>(std::vector<unsigned char>(2));
    auto other = std::make_shared<Bytes const>(std::vector<unsigned char>(2));
    EXPECT_TRUE(MatchesRefusal(
        Refusal([&] { PackagedArrayView<unsigned char>(one, ConstRawDataView(*other)); }),
        "illegal operation\nthe window is not on the packaged buffer | <any condition>"));
    // A count past 32 bits is refused before anything is read.
    bool destroyed = false;
    auto owner = std::make_shared<ReceivedBuffer<unsigned char>>(1, destroyed);
    EXPECT_TRUE(MatchesRefusal(Refusal([&] {
                                   UnmanagedRawData<unsigned char>(
                                       owner, ArrayView<unsigned char const>(owner->values.data(),
                                                                             1ull << 32));
                               }),
                               "out of range | <any condition>"));
}

constexpr std::size_t kMax = std::numeric_limits<std::size_t>::max();
std::string const kIndexFits =
    "index out of bounds | ((std::numeric_limits<uint64_t>::max()) - index > (size_t)m_ptr)";
std::string const kSizeFits =
    "index out of bounds | ((std::numeric_limits<uint64_t>::max()) - m_size > (size_t)m_ptr)";
std::string const kStartInside = "index out of bounds | (ptr <= ptrEnd)";
std::string const kEndInside = "index out of bounds | (ptr + count <= ptrEnd)";

TEST(ArrayViewTest, SliceIsAWindowOnTheSameElementsThatRangeForVisits) {
    std::vector<unsigned int> data{10, 11, 12, 13, 14};
    ArrayView<unsigned int> const view(data.data(), data.size());
    ArrayView<unsigned int> const slice = view.GetSlice(1, 3);
    EXPECT_EQ(slice.GetData(), data.data() + 1);
    EXPECT_EQ(slice.GetSize(), 3u);
    EXPECT_FALSE(slice.IsNull());

    // The empty window at the end is a legal slice; one past it is not.
    ArrayView<unsigned int> const end = view.GetSlice(5, 0);
    EXPECT_EQ(end.GetData(), data.data() + 5);
    EXPECT_TRUE(end.IsEmpty());
    EXPECT_EQ(Refusal([&] { view.GetSlice(6, 0); }), kStartInside);
    EXPECT_EQ(Refusal([&] { view.GetSlice(2, 4); }), kEndInside);

    // Range-for visits the window, and writes through a writable one.
    unsigned int sum = 0;
    for (unsigned int value : slice)
        sum += value;
    EXPECT_EQ(sum, 11u + 12u + 13u);
    for (unsigned int& value : view.GetSlice(0, 2))
        value = 0;
    EXPECT_EQ(data, (std::vector<unsigned int>{0, 0, 12, 13, 14}));
}

TEST(ArrayViewTest, HostileIndicesAndCountsFailWithoutWrapping) {
    std::vector<unsigned char> data(8);
    ArrayView<unsigned char> const view(data.data(), data.size());
    // Each would pass if its sum were allowed to wrap or its index were
    // read as a negative number.
    EXPECT_EQ(Refusal([&] { view.GetSlice(1, kMax); }), kEndInside);
    EXPECT_EQ(Refusal([&] { view.GetSlice(8, kMax); }), kEndInside);
    EXPECT_EQ(Refusal([&] { view.GetSlice(std::size_t{1} << 63, 1); }), kStartInside);
    // The first check adds the index to the address unscaled, so this one
    // passes it and only the window check refuses.
    std::size_t const address = reinterpret_cast<std::uintptr_t>(data.data());
    EXPECT_EQ(Refusal([&] { view.GetSlice(kMax - address - 1, 0); }), kStartInside);
    EXPECT_EQ(Refusal([&] { view.GetSlice(kMax - address, 0); }), kIndexFits);
    EXPECT_EQ(Refusal([&] { view.GetSlice(kMax, 0); }), kIndexFits);
    // A view whose own size would run past the address space.
    ArrayView<unsigned char> const broken(data.data(), kMax);
    EXPECT_EQ(Refusal([&] { broken.GetSlice(0, 0); }), kSizeFits);
}

TEST(ArrayViewTest, NullFlagTravelsWithSlices) {
    ArrayView<unsigned int const> const null = ArrayView<unsigned int const>::Null();
    EXPECT_TRUE(null.IsNull());
    EXPECT_TRUE(null.GetSlice(0, 0).IsNull());
    EXPECT_EQ(Refusal([&] { null.GetSlice(0, 1); }), kEndInside);
    EXPECT_FALSE(ArrayView<int>().IsNull());

    std::vector<long long> data{1, 2, 3};
    ArrayView<long long const> const flagged(data.data(), 3, true);
    EXPECT_TRUE(flagged.GetSlice(1, 1).IsNull());
}

TEST(ArrayViewTest, GetAtChecksAndOperatorDoesNot) {
    std::vector<double> data{1.5, 2.5, 3.5};
    ArrayView<double> view(data.data(), data.size());
    view.GetAt(1) = 9.0;
    EXPECT_EQ(data[1], 9.0);
    EXPECT_EQ(&view.GetAt(2), &data[2]);
    EXPECT_EQ(Refusal([&] { view.GetAt(3); }), "index out of bounds | (index < m_size)");
    ArrayView<double const> const readOnly = view;  // writable converts to read-only
    EXPECT_EQ(readOnly.GetAt(0), 1.5);
    EXPECT_EQ(Refusal([&] { readOnly.GetAt(kMax); }), "index out of bounds | (index < m_size)");
    EXPECT_EQ(&readOnly[1], &data[1]);
}

}  // namespace
}  // namespace qel::core
