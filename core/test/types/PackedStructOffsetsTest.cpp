#include "qel/core/types/PackedStructOffsets.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/test/Refusal.h"
#include "qel/core/types/HeterogeneousType.h"

namespace qel::core {
namespace {

using test::Refusal;

struct Layout {
    std::vector<unsigned int> values;
    std::vector<unsigned int> specials;
    unsigned int size;
    bool operator==(Layout const&) const = default;
};

Layout LayoutOf(std::vector<Type const*> members) {
    auto const count = static_cast<unsigned int>(members.size());
    PackedStructOffsets const* offsets = TupleType::Get(std::move(members))->GetOffsets();
    Layout layout{{}, {}, offsets->GetSize()};
    for (unsigned int i = 0; i < count; ++i) {
        layout.values.push_back(offsets->GetValueOffset(i));
        layout.specials.push_back(offsets->GetSpecialOffset(i));
    }
    return layout;
}

TEST(PackedStructOffsetsTest, ValuesAlignToTheirSizeThenOneSpecialByteEach) {
    Type const* b = BoolType::Get();
    Type const* i = IntType::Get32();
    EXPECT_EQ(LayoutOf({b, i, b}), (Layout{{0, 4, 8}, {9, 10, 11}, 12}));
    // Strings take 32 bytes, external values 16, 64-bit values 8.
    EXPECT_EQ(LayoutOf({b, StringType::Get(), ExternalType::Get(7), DateType::Get(), i}),
              (Layout{{0, 32, 64, 80, 88}, {92, 93, 94, 95, 96}, 97}));
    EXPECT_EQ(LayoutOf({}), (Layout{{}, {}, 0}));
    TupleType const* tuple = TupleType::Get({b, i, b});
    EXPECT_EQ(PackedStructOffsets::Get(tuple), tuple->GetOffsets());
}

TEST(PackedStructOffsetsTest, AnIndexWithoutMemberIsOutOfBounds) {
    PackedStructOffsets const* offsets =
        TupleType::Get({BoolType::Get(), IntType::Get32(), BoolType::Get()})->GetOffsets();
    EXPECT_EQ(Refusal([&] { offsets->GetValueOffset(12); }),
              "index out of bounds | (index < m_size)");
    EXPECT_EQ(Refusal([&] { offsets->GetSpecialOffset(12); }),
              "index out of bounds | (index < m_size)");
    // Below the byte size, yet past the three members.
    EXPECT_EQ(Refusal([&] { offsets->GetValueOffset(3); }),
              "index out of bounds | (index < m_valueOffsets.size())");
    EXPECT_EQ(Refusal([&] { offsets->GetSpecialOffset(11); }),
              "index out of bounds | (index < m_specialOffsets.size())");
    EXPECT_EQ(Refusal([] { PackedStructOffsets::Get(nullptr); }),
              "unexpected null type | (type) != nullptr");
}

}  // namespace
}  // namespace qel::core
