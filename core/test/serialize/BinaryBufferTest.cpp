#include "qel/core/serialize/BinaryBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/test/Refusal.h"
#include "qel/core/serialize/StringTable.h"

namespace qel::core {
namespace {

using test::Refusal;
using Bytes = std::vector<unsigned char>;
std::string const kOutside = "error reading outside of binary buffer bounds | ";

BinaryBufferReader ReaderOf(Bytes const& bytes) {
    return BinaryBufferReader(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

TEST(BinaryBufferTest, ValuesAlignToTheirSizeFromTheStartOfTheBuffer) {
    BinaryBufferCreator out(0);
    out.Append(static_cast<unsigned char>(0xAB));
    out.Append(0x01020304u);
    EXPECT_EQ(out.GetBuffer(), (Bytes{0xAB, 0, 0, 0, 4, 3, 2, 1}));
    out.Append(true);
    out.Append(static_cast<unsigned short>(7));
    out.Append(-2.5);
    std::vector<long long> const longs{-1, 5};
    out.AppendArray(ArrayView<long long const>(longs.data(), 2));
    // An empty array adds nothing, not even padding.
    out.Append(static_cast<signed char>(-3));
    out.AppendArray(ArrayView<double const>());
    EXPECT_EQ(out.GetLength(), 41u);
    out.AppendData("xyz", 3, 4);
    out.AlignToWordBoundary(3);  // any size 1 to 8 pads
    EXPECT_EQ(out.GetLength(), 48u);

    // The buffer's storage is only 1-aligned in principle; copy it to an
    // 8-aligned home, as a received payload would be.
    std::vector<double> home(out.GetLength() / 8 + 1);
    std::memcpy(home.data(), out.GetConstData(), out.GetLength());
    BinaryBufferReader in(reinterpret_cast<unsigned char const*>(home.data()), out.GetLength());
    EXPECT_EQ(in.ReadUInt8(), 0xAB);
    EXPECT_EQ(in.ReadUInt32(), 0x01020304u);
    EXPECT_TRUE(in.ReadBool());
    EXPECT_EQ(in.ReadUInt16(), 7);
    EXPECT_EQ(in.ReadReal64(), -2.5);
    ArrayView<long long const> const read = in.ReadArray<long long>(2);
    EXPECT_EQ(read[0], -1);
    EXPECT_EQ(read[1], 5);
    // Zero copy: the view points into the received bytes.
    EXPECT_EQ(reinterpret_cast<unsigned char const*>(read.GetData()),
              reinterpret_cast<unsigned char const*>(home.data()) + 24);
    EXPECT_EQ(in.ReadInt8(), -3);
    EXPECT_TRUE(in.ReadArray<double>(0).IsNull());
    EXPECT_EQ(in.GetPosition(), 41u);
    in.MoveToWordBoundary(4);
    EXPECT_EQ(in.ReadString(3), TStringCore(u"xyz"));
    EXPECT_FALSE(in.IsEndOfBuffer());

    EXPECT_EQ(Refusal([&] { in.MoveToWordBoundary(3); }),
              "invalid word size used in binary buffer | ((wordSize == 1) || (wordSize == 2) || "
              "(wordSize == 4) || (wordSize == 8))");
    EXPECT_EQ(Refusal([&] { out.AlignToWordBoundary(9); }),
              "invalid word size used in binary buffer | (wordSize > 0 && wordSize <= 8)");
    EXPECT_EQ(Refusal([&] { out.SetAt(45, 1); }),
              "error setting value outside of binary buffer bounds | (pos + "
              "sizeof(buffersize_t) <= m_buffer.size())");
    out.SetAt(44, 0x11223344u);
    EXPECT_EQ(out.GetBuffer()[44], 0x44);
}

TEST(BinaryBufferTest, HostileBytesNeverReadPastTheEnd) {
    Bytes const five{1, 2, 3, 4, 5};
    {
        // The alignment move goes past the end; the check that follows sees it.
        BinaryBufferReader in = ReaderOf(five);
        in.ReadUInt32();
        EXPECT_EQ(Refusal([&] { in.ReadUInt64(); }), kOutside + "(m_pos <= m_bufferEnd)");
    }
    {
        BinaryBufferReader in = ReaderOf(five);
        in.ReadUInt8();
        EXPECT_EQ(Refusal([&] { in.ReadUInt32(); }),
                  kOutside + "((size_t)(m_bufferEnd - m_pos) >= size)");
        EXPECT_EQ(Refusal([&] { in.ReadString(0xFFFFFFFFu); }),
                  kOutside + "((size_t)(m_bufferEnd - m_pos) >= size)");
    }
    // A count that promises more elements than the bytes hold, even one
    // whose byte count needs more than 32 bits.
    std::vector<unsigned long long> aligned(2);
    BinaryBufferReader in(reinterpret_cast<unsigned char const*>(aligned.data()), 16);
    EXPECT_EQ(Refusal([&] { in.ReadArray<double>(3); }).substr(0, kOutside.size()), kOutside);
    EXPECT_EQ(Refusal([&] { in.ReadArray<double>(0x80000000u); }).substr(0, kOutside.size()),
              kOutside);
    EXPECT_EQ(in.ReadArray<double>(2).GetSize(), 2u);
    // Elements are read in place, so a misaligned home is refused.
    BinaryBufferReader shifted(reinterpret_cast<unsigned char const*>(aligned.data()) + 1, 15);
    EXPECT_EQ(Refusal([&] { shifted.ReadArray<unsigned int>(2); }).substr(0, 39),
              "invalid word size used in binary buffer");
    EXPECT_TRUE(BinaryBufferReader(nullptr, 10).IsEndOfBuffer());
}

TEST(BinaryBufferTest, Base128) {
    auto const encode = [](unsigned int value) {
        BinaryBufferCreator out(0);
        out.AppendEncodeBase128(value);
        return out.GetBuffer();
    };
    EXPECT_EQ(encode(127), (Bytes{0x7F}));
    EXPECT_EQ(encode(128), (Bytes{0x80, 0x01}));
    EXPECT_EQ(encode(0xFFFFFFFFu), (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x0F}));

    auto const decode = [](Bytes const& bytes) { return ReaderOf(bytes).ReadEncodedBase128(); };
    EXPECT_EQ(decode({0xFF, 0xFF, 0xFF, 0xFF, 0x0F}), 0xFFFFFFFFu);
    EXPECT_EQ(decode({0x80, 0x00}), 0u);  // over-long, but within the limits
    std::string const range = "out of range | (shift <= 21 || (shift <= 28 && b <= 15))";
    EXPECT_EQ(Refusal([&] { decode({0xFF, 0xFF, 0xFF, 0xFF, 0x10}); }), range);
    EXPECT_EQ(Refusal([&] { decode({0x80, 0x80, 0x80, 0x80, 0x81, 0x00}); }), range);
    EXPECT_EQ(Refusal([&] {
                  decode({0x80, 0x80});
              }),
              kOutside + "((size_t)(m_bufferEnd - m_pos) >= size)");
}

TEST(StringTableTest, StringsTravelOncePerCreatorAndArriveInOrder) {
    StringTableCreator creator;
    EXPECT_EQ(creator.GetOrAppendString(TStringCore(u"é")), 1u);
    EXPECT_EQ(creator.GetOrAppendString(TStringCore()), 2u);
    EXPECT_EQ(creator.GetOrAppendString(TStringCore(u"ab")), 3u);
    EXPECT_EQ(creator.GetOrAppendString(TStringCore(u"é")), 1u);
    EXPECT_EQ(creator.GetIndicesBuffer()->GetBuffer(),
              (Bytes{1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0}));
    Bytes const indices1 = creator.GetIndicesBuffer()->GetBuffer();
    Bytes const strings1 = creator.GetStringBuffer()->GetBuffer();
    EXPECT_EQ(strings1, (Bytes{0xC3, 0xA9, 'a', 'b'}));

    creator.NewPayload();
    EXPECT_EQ(creator.GetOrAppendString(TStringCore(u"ab")), 3u);  // not written again
    EXPECT_EQ(creator.GetOrAppendString(TStringCore(u"c")), 4u);
    Bytes const indices2 = creator.GetIndicesBuffer()->GetBuffer();
    Bytes const strings2 = creator.GetStringBuffer()->GetBuffer();
    EXPECT_EQ(indices2, (Bytes{4, 0, 0, 0, 0, 0, 0, 0}));

    StringTableReader reader;
    // The second table cannot come first.
    BinaryBufferReader early = ReaderOf(indices2), earlyStrings = ReaderOf(strings2);
    EXPECT_EQ(Refusal([&] { reader.AddStrings(early, earlyStrings); }),
              "unspecified Vantrel Runtime error | (static_cast<qelsize_t>(m_strings.size()) == "
              "payloadStartIndex)");
    BinaryBufferReader i1 = ReaderOf(indices1), s1 = ReaderOf(strings1);
    reader.AddStrings(i1, s1);
    BinaryBufferReader i2 = ReaderOf(indices2), s2 = ReaderOf(strings2);
    reader.AddStrings(i2, s2);
    EXPECT_EQ(reader.GetString(1), TStringCore(u"é"));
    EXPECT_EQ(reader.GetString(2), TStringCore());
    EXPECT_EQ(reader.GetString(3), TStringCore(u"ab"));
    EXPECT_EQ(reader.GetString(4), TStringCore(u"c"));
    std::string const invalid =
        "invalid string table index | (index > 0 && index < m_strings.size())";
    EXPECT_EQ(Refusal([&] { reader.GetString(0); }), invalid);
    EXPECT_EQ(Refusal([&] { reader.GetString(5); }), invalid);

    // An empty table body adds nothing; offsets out of order fail the bounds.
    Bytes const emptyTable{5, 0, 0, 0};
    Bytes const none;
    BinaryBufferReader e = ReaderOf(emptyTable), noStrings = ReaderOf(none);
    reader.AddStrings(e, noStrings);
    Bytes const backwards{5, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0};
    Bytes const three{'x', 'y', 'z'};
    BinaryBufferReader b = ReaderOf(backwards), bs = ReaderOf(three);
    EXPECT_EQ(Refusal([&] { reader.AddStrings(b, bs); }).substr(0, kOutside.size()), kOutside);
}

}  // namespace
}  // namespace qel::core
