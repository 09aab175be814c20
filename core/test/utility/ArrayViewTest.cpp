#include "qel/core/utility/ArrayView.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "core/test/Refusal.h"

namespace qel::core {
namespace {

using test::Refusal;

constexpr std::size_t kMax = std::numeric_limits<std::size_t>::max();
std::string const kIndexFits =
    "index out of bounds | ((std::numeric_limits<uint64_t>::max()) - index > (size_t)m_ptr)";
std::string const kSizeFits =
    "index out of bounds | ((std::numeric_limits<uint64_t>::max()) - m_size > (size_t)m_ptr)";
std::string const kStartInside = "index out of bounds | (ptr <= ptrEnd)";
std::string const kEndInside = "index out of bounds | (ptr + count <= ptrEnd)";

TEST(ArrayViewTest, SliceIsAWindowOnTheSameElements) {
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

TEST(ArrayViewTest, RangeForVisitsTheWindow) {
    std::vector<int> data{1, 2, 3, 4, 5, 6};
    ArrayView<int> const view = ArrayView<int>(data.data(), data.size()).GetSlice(2, 3);
    int sum = 0;
    for (int value : view)
        sum += value;
    EXPECT_EQ(sum, 3 + 4 + 5);
    for (int& value : ArrayView<int>(data.data(), 2))
        value = 0;
    EXPECT_EQ(data, (std::vector<int>{0, 0, 3, 4, 5, 6}));
}

}  // namespace
}  // namespace qel::core
