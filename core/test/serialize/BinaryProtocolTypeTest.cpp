#include "qel/core/serialize/BinaryProtocolType.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/test/ThrownText.h"
#include "qel/core/store/Collation.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/Type.h"

namespace qel::core {
namespace {

using test::ThrownText;
using Bytes = std::vector<int>;

// A byte stream with strings as a separate list, as the payload keeps them
// in its string table.
struct Stream : IBinaryProtocolTypeWriter, IBinaryProtocolTypeReader {
    void Append(signed char value) override { bytes.push_back(value); }
    void Append(unsigned char value) override { bytes.push_back(value); }
    void Append(TStringCore const& text) override {
        bytes.push_back(-1 - static_cast<int>(strings.size()));
        strings.push_back(text);
    }
    signed char ReadInt8() override { return static_cast<signed char>(Next()); }
    unsigned char ReadUInt8() override { return static_cast<unsigned char>(Next()); }
    TStringCore ReadString() override { return strings.at(-1 - Next()); }
    int Next() {
        if (pos >= bytes.size())
            throw std::out_of_range("end of stream");
        return bytes[pos++];
    }

    Bytes bytes;
    std::vector<TStringCore> strings;
    std::size_t pos = 0;
};

Bytes Written(Type const* type, bool special = false) {
    Stream s;
    SerializeBinaryProtocolType(s, type, special);
    return s.bytes;
}

std::pair<Type const*, bool> Read(Bytes const& bytes, std::vector<TStringCore> strings = {}) {
    Stream s;
    s.bytes = bytes;
    s.strings = std::move(strings);
    auto result = ReadBinaryProtocolType(s);
    EXPECT_EQ(s.pos, bytes.size()) << "unread bytes";
    return result;
}

TEST(BinaryProtocolTypeTest, ListBytes) {
    EXPECT_EQ(BinaryListType::Array(true, SortSpecOrder::UNKNOWN),
              BinaryListType::ArrayWithSpecials);
    EXPECT_EQ(BinaryListType::CompositeArray(true, SortSpecOrder::UNKNOWN),
              BinaryListType::CompositeArrayWithIndices);
    EXPECT_EQ(BinaryListType::ConstantArray(true), BinaryListType::ConstantArrayWithSpecials);
    BinaryListType const sorted = BinaryListType::Array(false, SortSpecOrder::UNORD);
    EXPECT_EQ(static_cast<signed char>(sorted), 0x61);
    EXPECT_EQ(sorted.GetSortOrder(), SortSpecOrder::UNORD);
    EXPECT_FALSE(sorted.HasSpecials());
    EXPECT_EQ(BinaryListType(0x13).GetContainerType(), BinaryContainerType::CompositeArray);
    EXPECT_TRUE(BinaryListType(0x13).HasIndices());
}

TEST(BinaryProtocolTypeTest, TypesWriteTheirBytesAndReadBack) {
    Type const* const i = IntType::Get32();
    Type const* const s = StringType::Get();
    EXPECT_EQ(Written(i), (Bytes{0x02}));
    EXPECT_EQ(Written(i, true), (Bytes{0x42}));
    EXPECT_EQ(Written(RealType::Get64()), (Bytes{0x05}));
    EXPECT_EQ(Written(RealType::Get64(10, 2)), (Bytes{0x85, 10, 2}));
    EXPECT_EQ(Written(s), (Bytes{0x06}));
    EXPECT_EQ(Written(ArrayType::Get(i)), (Bytes{0x0C, 0x02}));
    EXPECT_EQ(Written(KeySetType::Get(s, i)), (Bytes{0x0E, 0x06, 0x02}));
    EXPECT_EQ(Written(TupleType::Get({i, s})), (Bytes{0x8A, 0x02, 0x06, 0x00}));
    EXPECT_EQ(Written(TupleType::Get({})), (Bytes{0x0A}));
    // Key maps and tables are one byte: their members travel with the value.
    EXPECT_EQ(Written(KeyMapType::Get({{RInternString(u"a"), i}})), (Bytes{0x0F}));

    Type const* const german = StringType::Get(Collation(RInternString(u"de_DE")));
    Stream withLocale;
    SerializeBinaryProtocolType(withLocale, german, false);
    EXPECT_EQ(withLocale.bytes, (Bytes{0x86, -1}));
    EXPECT_EQ(withLocale.strings.at(0), TStringCore(u"de_DE"));

    for (Type const* type : std::vector<Type const*>{
             i, RealType::Get32(3, 1), german, ArrayType::Get(SetType::Get(i)),
             KeySetType::Get(german, TupleType::Get({i, RealType::Get64()})),
             TupleType::Get({s, DateType::Get()}), TableType::Get({}), ColorType::Get()}) {
        Stream s2;
        SerializeBinaryProtocolType(s2, type, false);
        EXPECT_EQ(Read(s2.bytes, s2.strings).first, type) << type->ToString().toStdString();
    }
    // The special bit of the first byte is reported, for any type there.
    auto const specialArray = Read({0x4C, 0x02});
    EXPECT_EQ(specialArray.first, ArrayType::Get(i));
    EXPECT_TRUE(specialArray.second);
}

TEST(BinaryProtocolTypeTest, BytesOutOfPlaceAreInvalidStoreTypes) {
    auto const refusal = [](Bytes const& bytes) {
        return ThrownText([&] { Read(bytes, {TStringCore(u"x")}); });
    };
    EXPECT_EQ(refusal({0x00}), "invalid StoreType");
    EXPECT_EQ(refusal({0x3F}), "invalid StoreType");
    EXPECT_EQ(refusal({0x0C, 0x4C, 0x02}), "only primitive values may be SpecialKind");
    EXPECT_EQ(refusal({0x0C, 0x00}), "invalid StoreType");
    EXPECT_EQ(refusal({0x8C, 0x02}), "invalid StoreType");
    EXPECT_EQ(refusal({0x82}), "invalid StoreType");
    EXPECT_EQ(refusal({0x0B}), "invalid external type ID");
    EXPECT_EQ(refusal({0x0C}), "end of stream");
    // Nesting is bounded, so that bytes cannot exhaust the stack.
    Bytes deep(200, 0x0C);
    deep.push_back(0x02);
    EXPECT_EQ(refusal(deep), "invalid StoreType");
    Bytes deepTuple(200, 0x8A);
    EXPECT_EQ(refusal(deepTuple), "invalid StoreType");
}

}  // namespace
}  // namespace qel::core
