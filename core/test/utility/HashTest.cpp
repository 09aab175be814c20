#include "qel/core/utility/Hash.h"

#include <gtest/gtest.h>

#include <cstring>

namespace qel::core {
namespace {

constexpr char kText[] = "The quick brown fox jumps over the lazy dog";
constexpr unsigned int kStringSeed = 0xdeadbeef;

TEST(HashTest, KnownValuesAroundBlockBoundaries) {
    // lookup2 reference values: stored data holds these hashes.
    struct Case {
        unsigned long length;
        unsigned int seed0;
        unsigned int seedStrings;
    };
    for (Case c : {Case{0, 0xbd49d10d, 0x1153f4be}, Case{1, 0x312c4181, 0x9da6124d},
                   Case{11, 0x9335dea3, 0x79b35c2f}, Case{12, 0xe0695d67, 0x265a6e3b},
                   Case{13, 0x0c6ac005, 0x217eec9e}, Case{24, 0xd5a21ff2, 0xa690e137},
                   Case{25, 0x728393b1, 0xba232779}, Case{43, 0xfc1558de, 0xf0576fd6}}) {
        EXPECT_EQ(Hash(kText, c.length, 0), c.seed0) << c.length;
        EXPECT_EQ(Hash(kText, c.length, kStringSeed), c.seedStrings) << c.length;
    }
    // The length is taken to 32 bits.
    EXPECT_EQ(Hash(kText, (1ul << 32) + 3, 5), Hash(kText, 3, 5));
}

TEST(HashTest, EveryBitAndTheLengthCount) {
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
