#include "qel/core/serialize/BinaryProtocol.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/types/Type.h"

namespace qel::core {
namespace {

using test::Refusal;
using test::ThrownText;
using Bytes = std::vector<unsigned char>;
using Tracker = BinaryProtocolStateTracker;

std::string const kNotSupported = "operation not supported in current binary protocol state | ";

TEST(BinaryProtocolStateTest, ListsCountTheirSegmentsAndItems) {
    Tracker t;
    EXPECT_EQ(Refusal([&] { t.TouchData(); }), kNotSupported + "!(m_states.empty())");
    t.BeginListType(BinaryListType::ArrayNoSpecials);
    t.BeginListData(3);
    t.TouchData();
    t.TouchVector(2);
    t.EndListData();
    t.EndListType();
    EXPECT_FALSE(t.HasStates());

    // A fourth value wraps the count, which the end refuses.
    t.BeginListType(BinaryListType::ArrayNoSpecials);
    t.BeginListData(3);
    t.TouchVector(4);
    EXPECT_EQ(Refusal([&] { t.EndListData(); }),
              "binary protocol list value count incorrect | (m_count == 0)");

    Tracker specials;
    specials.BeginListType(BinaryListType::ArrayWithSpecials);
    specials.BeginListData(3);
    specials.TouchVector(3);
    specials.EndListData();
    EXPECT_EQ(Refusal([&] { specials.BeginListData(2); }),
              "binary protocol list segment count mistmatch | (count == m_lastDataCount)");
    EXPECT_EQ(Refusal([&] { specials.EndListType(); }),
              "binary protocol list segment count mistmatch | (m_segmentCount == 0)");
    EXPECT_EQ(Refusal([&] { specials.TouchData(); }),
              "binary protocol expected list data | (m_state == State::ExpectData)");

    // A constant array says its length and holds one value.
    Tracker constant;
    constant.BeginListType(BinaryListType::ConstantArrayNoSpecials);
    constant.BeginListData(1000);
    constant.TouchData();
    constant.EndListData();
    EXPECT_EQ(Refusal([&] { constant.BeginListData(1); }),
              "binary protocol list segment count mistmatch | (m_segmentCount > 0)");
    constant.EndListType();

    EXPECT_EQ(Refusal([] { Tracker().BeginListType(BinaryListType(0x07)); }),
              "binary protocol has invalid list type | (type.GetContainerType() > "
              "BinaryContainerType::INVALID && type.GetContainerType() < "
              "BinaryContainerType::COUNT)");
}

TEST(BinaryProtocolStateTest, DictionariesTablesAndKeySets) {
    Tracker d;
    d.BeginDictionaryType(0);
    d.EndDictionaryType();
    d.BeginDictionaryType(1);
    EXPECT_EQ(Refusal([&] { d.TouchData(); }),
              "binary protocol expected dictionary data | (m_state == State::ExpectValue)");
    d.TouchKey();
    EXPECT_EQ(Refusal([&] { d.TouchKey(); }),
              "binary protocol expected dictionary key | (m_state == State::ExpectKey)");
    d.TouchTypeInfo();
    // A table is fine as a dictionary value; a table in a list is not.
    d.BeginTableType(1);
    d.BeginListType(BinaryListType::ArrayNoSpecials);
    d.BeginListData(0);
    d.EndListData();
    d.EndListType();
    d.BeginListType(BinaryListType::ArrayNoSpecials);
    EXPECT_EQ(Refusal([&] { d.EndTableType(); }), kNotSupported);
    d.BeginListData(0);
    d.EndListData();
    d.EndListType();
    EXPECT_EQ(Refusal([&] { d.EndTableType(); }),
              "binary protocol expected dictionary key | (m_state == State::EndCurrentTable)");
    d.TouchKey();
    d.TouchTypeInfo();
    d.BeginListType(BinaryListType::ArrayNoSpecials);
    EXPECT_EQ(Refusal([&] { d.BeginTableType(0); }), kNotSupported);
    d.BeginListData(0);
    d.EndListData();
    d.EndListType();
    d.EndTableType();
    d.EndDictionaryType();

    Tracker empty;
    empty.BeginTableType(0);
    for (int header = 0; header < 2; ++header) {
        empty.BeginListType(BinaryListType::ArrayNoSpecials);
        empty.BeginListData(0);
        empty.EndListData();
        empty.EndListType();
    }
    empty.EndTableType();

    // A key set of type 2 may end after its first segment; a tuple key is a
    // nested list.
    Tracker k;
    k.BeginKeySetType(BinaryKeySetType::WithSpecials);
    k.BeginListData(2);
    k.TouchKey();
    k.TouchData();
    k.BeginListType(BinaryListType::TupleNoSpecials);
    k.BeginListData(1);
    k.TouchData();
    k.EndListData();
    k.EndListType();
    EXPECT_EQ(Refusal([&] { k.TouchKey(); }),
              "binary protocol expected keyset key | (m_state == State::ExpectKey)");
    k.TouchData();
    k.EndListData();
    k.EndKeySetType();
    EXPECT_EQ(ThrownText([] { Tracker().BeginKeySetType(static_cast<BinaryKeySetType>(3)); }),
              "unspecified Vantrel Runtime error");
}

// A payload that holds a list of `strings`.
Bytes StringsPayload(BinaryProtocolCreator& creator, std::vector<char16_t const*> const& strings) {
    creator.BeginListType(BinaryListType::ArrayNoSpecials);
    creator.BeginListData(static_cast<unsigned int>(strings.size()));
    for (char16_t const* s : strings)
        creator.AppendData(TStringCore(s));
    creator.EndListData();
    creator.EndListType();
    return creator.FinalizePayload();
}

std::vector<std::string> ReadStrings(BinaryProtocolReader& reader) {
    std::vector<std::string> out;
    reader.BeginListType();
    for (unsigned int n = reader.BeginListData(); n > 0; --n)
        out.push_back(reader.ReadString().toStdString());
    reader.EndListData();
    reader.EndListType();
    return out;
}

TEST(BinaryProtocolTest, PayloadHeaderByteForByte) {
    BinaryProtocolCreator creator(false, false);
    EXPECT_EQ(Refusal([&] { creator.FinalizePayload(); }),
              "cannot serialize empty payload | (m_dataBuffer->GetLength() > 0)");
    creator.BeginListType(BinaryListType::ConstantArrayNoSpecials);
    creator.BeginListData(5);
    EXPECT_EQ(Refusal([&] { creator.FinalizePayload(); }),
              kNotSupported + "!(m_state->HasStates())");
    creator.AppendData(static_cast<unsigned char>(7));
    creator.EndListData();
    creator.EndListType();
    Bytes const payload = creator.FinalizePayload();
    Bytes const header{1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, '/', 0, 0, 0, 0, 0, 0, 0,
                       0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 40,  0, 0, 0, 0, 0, 0, 0};
    ASSERT_GE(payload.size(), 40u);
    EXPECT_EQ(Bytes(payload.begin(), payload.begin() + 40), header);
    EXPECT_EQ(Bytes(payload.begin() + 40, payload.end()), (Bytes{0x04, 0, 0, 0, 5, 0, 0, 0, 7}));

    // With a string: the table at 40, its bytes at 48, the data at 56.
    BinaryProtocolCreator withString(false, false);
    Bytes const second = StringsPayload(withString, {u"ab"});
    EXPECT_EQ(second[16], 40);
    EXPECT_EQ(second[20], 8);
    EXPECT_EQ(second[24], 48);
    EXPECT_EQ(second[28], 2);
    EXPECT_EQ(second[32], 56);
    EXPECT_EQ(Bytes(second.begin() + 56, second.end()),
              (Bytes{0x01, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}));

    // A 5-byte name moves the positions to 20.
    struct Named : BinaryProtocolCreator {
        Named() : BinaryProtocolCreator(false, true) { m_name = TStringCore(u"abcde"); }
    } named;
    Bytes const five = StringsPayload(named, {});
    EXPECT_EQ(five[4], 1);  // checksums
    BinaryProtocolReader reader;
    EXPECT_EQ(reader.NextPayload(MakeSharedArrayBuffer(Bytes(five))), TStringCore(u"abcde"));
    EXPECT_EQ(five[36], 40);  // dataTablePos, the fifth position field from 20
    EXPECT_TRUE(ReadStrings(reader).empty());
    EXPECT_EQ(Bytes(five.begin() + 40, five.end()), (Bytes{0x01, 0, 0, 0, 0, 0, 0, 0, 0x0D, 0xF0}));
}

TEST(BinaryProtocolTest, StringsTravelOnceAndPayloadsArriveInOrder) {
    BinaryProtocolCreator creator(true, true);
    Bytes const first = StringsPayload(creator, {u"x", u"", u"x"});
    Bytes const second = StringsPayload(creator, {u"", u"x"});
    Bytes const third = StringsPayload(creator, {u"y"});
    // The second payload adds no string: its table fields are all 0. (With
    // base 128 the name's length is one byte, so they start at 12.)
    EXPECT_EQ(Bytes(second.begin() + 12, second.begin() + 28), Bytes(16, 0));
    EXPECT_NE(Bytes(first.begin() + 12, first.begin() + 28), Bytes(16, 0));

    BinaryProtocolReader reader;
    reader.NextPayload(MakeSharedArrayBuffer(Bytes(first)));
    EXPECT_EQ(ReadStrings(reader), (std::vector<std::string>{"x", "", "x"}));
    reader.NextPayload(MakeSharedArrayBuffer(Bytes(second)));
    EXPECT_EQ(ReadStrings(reader), (std::vector<std::string>{"", "x"}));
    reader.NextPayload(MakeSharedArrayBuffer(Bytes(third)));
    EXPECT_EQ(ReadStrings(reader), (std::vector<std::string>{"y"}));

    // A reader that skipped the first payload cannot resolve its strings.
    BinaryProtocolReader late;
    late.NextPayload(MakeSharedArrayBuffer(Bytes(second)));
    late.BeginListType();
    late.BeginListData();
    EXPECT_EQ(ThrownText([&] { late.ReadString(); }), "invalid string table index");
    // Given the third first, it fails on that payload's own table.
    EXPECT_EQ(ThrownText([&] { BinaryProtocolReader r(MakeSharedArrayBuffer(Bytes(third))); }),
              "unspecified Vantrel Runtime error");
    // Reading on without closing, or closing without the sentinel, fails.
    EXPECT_EQ(Refusal([&] { late.NextPayload(MakeSharedArrayBuffer(Bytes(first))); }),
              kNotSupported + "!(m_state->HasStates())");
}

TEST(BinaryProtocolTest, HostileHeadersAreRefused) {
    BinaryProtocolCreator creator(false, false);
    Bytes const good = StringsPayload(creator, {u"abc"});
    auto const refusal = [](Bytes bytes) {
        return Refusal([&] { BinaryProtocolReader r(MakeSharedArrayBuffer(std::move(bytes))); });
    };
    Bytes version = good;
    version[0] = 2;
    EXPECT_EQ(refusal(version),
              "binary protocol version mismatch | (m_version == BinaryProtocol::Version)");
    Bytes noData = good;
    noData[32] = static_cast<unsigned char>(good.size());
    EXPECT_EQ(refusal(noData), kNotSupported + "(dataTablePos < length)");
    Bytes tableOutside = good;
    tableOutside[20] = 200;  // strIndicesLen
    EXPECT_EQ(refusal(tableOutside), kNotSupported + "(length - strIndicesPos >= strIndicesLen)");
    Bytes hugeName = good;
    hugeName[11] = 0x80;
    EXPECT_EQ(refusal(hugeName).substr(0, 45), "error reading outside of binary buffer bounds");
    // Cut at every length, or with any one byte changed: a catalogue
    // exception or a readable payload, never a crash or a read outside.
    auto const readAll = [](Bytes bytes) {
        try {
            BinaryProtocolReader reader(MakeSharedArrayBuffer(std::move(bytes)));
            ReadStrings(reader);
            return std::string("read");
        } catch (QelException const& e) {
            return std::string("refused");
        }
    };
    for (std::size_t n = 0; n < good.size(); ++n)
        EXPECT_EQ(readAll(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(n))),
                  "refused")
            << n;
    EXPECT_EQ(readAll(good), "read");
    int refused = 0;
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (unsigned char flip : {0x01, 0x80, 0xFF}) {
            Bytes changed = good;
            changed[i] ^= flip;
            refused += readAll(std::move(changed)) == "refused";
        }
    }
    EXPECT_GT(refused, 0);

    // A wrong first version stays the reader's version.
    BinaryProtocolReader reader;
    EXPECT_NE(ThrownText([&] { reader.NextPayload(MakeSharedArrayBuffer(Bytes(version))); }),
              "(nothing thrown)");
    EXPECT_EQ(Refusal([&] { reader.NextPayload(MakeSharedArrayBuffer(Bytes(good))); }),
              "binary protocol version mismatch | (m_version == version)");
}

}  // namespace
}  // namespace qel::core
