#include "qel/core/utility/Hash.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

namespace qel::core {
namespace {

constexpr char kText[] = "The quick brown fox jumps over the lazy dog";
constexpr unsigned int kStringSeed = 0xdeadbeef;

TEST(HashTest, KnownValuesAroundBlockBoundariesEveryBitAndTheLengthCount) {
    // lookup2 reference values: stored data holds these hashes.
    // Each row: the length, then the hash with seed 0 and with the string seed.
    std::tuple<unsigned long, unsigned int, unsigned int> const cases[] = {
        {0, 0xbd49d10d, 0x1153f4be},  {1, 0x312c4181, 0x9da6124d},  {11, 0x9335dea3, 0x79b35c2f},
        {12, 0xe0695d67, 0x265a6e3b}, {13, 0x0c6ac005, 0x217eec9e}, {24, 0xd5a21ff2, 0xa690e137},
        {25, 0x728393b1, 0xba232779}, {43, 0xfc1558de, 0xf0576fd6}};
    for (auto const& [length, seed0, seedStrings] : cases) {
        EXPECT_EQ(Hash(kText, length, 0), seed0) << length;
        EXPECT_EQ(Hash(kText, length, kStringSeed), seedStrings) << length;
    }
    // The length is taken to 32 bits.
    EXPECT_EQ(Hash(kText, (1ul << 32) + 3, 5), Hash(kText, 3, 5));

    unsigned char buffer[40];
    std::memcpy(buffer, kText, sizeof(buffer));
    unsigned int const base = Hash(buffer, sizeof(buffer), kStringSeed);
    for (std::size_t i = 0; i < sizeof(buffer) * 8; ++i) {
        buffer[i / 8] ^= static_cast<unsigned char>(1u << (i % 8));
        EXPECT_NE(Hash(buffer, sizeof(buffer), kStringSeed), base) << "bit " << i;
        buffer[i / 8] ^= static_cast<unsigned char>(1u << (i % 8));
    }
    // Trailing zero bytes still change the hash, at and across block ends.
    unsigned char const zeros[26] = {};
    for (unsigned long n = 0; n < 25; ++n)
        EXPECT_NE(Hash(zeros, n, 0), Hash(zeros, n + 1, 0)) << n;
}

}  // namespace
}  // namespace qel::core
