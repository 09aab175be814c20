#include "qel/core/serialize/StoreValueBinaryParser.h"
#include "qel/core/serialize/StoreValueBinarySerializer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "core/test/EveryKindStore.h"
#include "core/test/Refusal.h"
#include "qel/core/serialize/BinaryProtocol.h"
#include "qel/core/serialize/StoreValueParser.h"
#include "qel/core/store/DataStore.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/SetIterators.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueCompositeArray.h"
#include "qel/core/store/ValueConstantArray.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/store/ValueKeySet.h"
#include "qel/core/store/ValueSet.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/UnorderedMapUtil.h"

namespace qel::core {
namespace {

using namespace factory;
using Bytes = std::vector<unsigned char>;
using Value = std::shared_ptr<StoreValue>;
using test::Refusal;

Bytes Write(IDataStore const& store, bool base128 = false, bool checksums = false) {
    BinaryProtocolCreator creator(base128, checksums);
    SerializeDataStore(creator, store);
    return creator.FinalizePayload();
}

std::shared_ptr<IDataStore> Read(Bytes bytes) {
    BinaryProtocolReader reader(MakeSharedArrayBuffer(std::move(bytes)));
    return StoreValueParser::MakeDataStore(reader);
}

using namespace test;

using StoreValueBinaryTest = test::EveryKindTest;

TEST_F(StoreValueBinaryTest, EveryKindRoundTripsUnderEveryOption) {
    std::unique_ptr<IDataStore> const store = EveryKind();
    for (bool const base128 : {false, true}) {
        for (bool const checksums : {false, true}) {
            std::shared_ptr<IDataStore> const back = Read(Write(*store, base128, checksums));
            EXPECT_EQ(Diff(*store->GetValue(KeyPath()), *back->GetValue(KeyPath()), ""), "")
                << base128 << checksums;
        }
    }
    // The comparison sees what a reader could get wrong.
    auto const ints = [](std::vector<unsigned int> v) {
        return MakeArray<unsigned int>(kI32, std::move(v));
    };
    EXPECT_NE(Diff(*ints({1, 2}), *ints({1, 3}), ""), "");
    EXPECT_NE(Diff(*ints({1, 1}), *MakeConstantArray<unsigned int>(kI32, 1, 2), ""), "");
    EXPECT_NE(Diff(*ints({1}), *MakeArray<unsigned int>(kI32, {1}, SortSpecOrder::ASC), ""), "");
    EXPECT_NE(Diff(*MakeReal32(1.5f), *MakeReal32(1.5f, 10, 2), ""), "");

    // An array with indices comes back dense, in logical order.
    auto indexed = MakeArray<unsigned int>(
        kI32, std::make_unique<std::vector<unsigned int>>(std::vector<unsigned int>{7, 8}), nullptr,
        std::make_unique<std::vector<qelsize_t>>(std::vector<qelsize_t>{1, 1, 0}));
    ValueMap root;
    root.emplace(Name(u"a"), indexed);
    Value const back =
        Read(Write(*factory::MakeDataStore(std::move(root))))->GetValue(KeyPath(Name(u"a")));
    EXPECT_FALSE(back->AsArray().HasIndices());
    ArrayView<unsigned int const> const dense = back->AsTypedArray<unsigned int>().GetRawArray();
    EXPECT_EQ(std::vector<unsigned int>(dense.begin(), dense.end()),
              (std::vector<unsigned int>{8, 8, 7}));
}

TEST_F(StoreValueBinaryTest, WireFormOfArraysAndTuples) {
    // Each value as a payload's root, read from the data stream's start.
    auto const data = [](StoreValue const& value) {
        BinaryProtocolCreator creator(false, false);
        SerializeValue(creator, value);
        Bytes const payload = creator.FinalizePayload();
        unsigned int const at = payload[32] | payload[33] << 8;
        return Bytes(payload.begin() + at, payload.end());
    };
    EXPECT_EQ(data(*MakeArray<unsigned int>(kI32, {1, 2, 3})),
              (Bytes{0x01, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0}));
    EXPECT_EQ(data(*MakeConstantArray<unsigned long long>(IntType::Get64(), 5, 1000)),
              (Bytes{0x04, 0, 0, 0, 0xE8, 3, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(data(*MakeConstantArray<unsigned int>(kI32, 2, SpecialKind::Null)),
              (Bytes{0x0C, 0, 0, 0, 2, 0, 0, 0, 1}));
    // Kinds of all three members first, then the two values: 1 and the
    // string table index of "x".
    EXPECT_EQ(data(*MakeTuple(Tuple(1, SpecialKind::Null, u"x"))),
              (Bytes{0x0E, 0, 0, 0, 3, 0, 0, 0, 0, 1, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}));
}

TEST_F(StoreValueBinaryTest, FixedWidthColumnsStayInTheReceivedBuffer) {
    ValueMap root;
    root.emplace(Name(u"a"), MakeArray<unsigned long long>(IntType::Get64(), {5, 6, 7}));
    std::shared_ptr<ISharedArrayBuffer> buffer =
        MakeSharedArrayBuffer(Write(*factory::MakeDataStore(std::move(root))));
    ArrayView<unsigned char const> const bytes = buffer->GetBytes();
    Value column;
    {
        BinaryProtocolReader reader(buffer);
        column = StoreValueBinaryParser::MakeDataStore(reader)->GetValue(KeyPath(Name(u"a")));
    }
    buffer.reset();  // the column alone keeps the bytes now
    ArrayView<unsigned long long const> const read =
        column->AsTypedArray<unsigned long long>().GetRawArray();
    auto const* first = reinterpret_cast<unsigned char const*>(read.GetData());
    EXPECT_GE(first, bytes.GetData());
    EXPECT_LE(first + 3 * sizeof(unsigned long long), bytes.GetData() + bytes.GetSize());
    EXPECT_EQ(std::vector<unsigned long long>(read.begin(), read.end()),
              (std::vector<unsigned long long>{5, 6, 7}));
}

TEST_F(StoreValueBinaryTest, MalformedValuesAreRefused) {
    // Payloads that the protocol accepts but whose values are wrong.
    auto const entry = [](Type const* type, auto&& writeValue) {
        BinaryProtocolCreator creator(false, false);
        creator.BeginDictionaryType(1);
        creator.AppendKey(TStringCore(u"k"));
        creator.AppendKeyType(type, false);
        writeValue(creator);
        creator.EndDictionaryType();
        return Refusal([&] { Read(creator.FinalizePayload()); });
    };
    EXPECT_EQ(entry(ArrayType::Get(kI32),
                    [](BinaryProtocolCreator& c) {
                        c.BeginListType(BinaryListType::SetNoSpecials);
                        c.BeginListData(0);
                        c.EndListData();
                        c.EndListType();
                    }),
              "binary protocol has invalid list type | (binListType.GetContainerType() == "
              "BinaryContainerType::Array)");
    EXPECT_EQ(entry(ArrayType::Get(kI32),
                    [](BinaryProtocolCreator& c) {
                        c.BeginListType(BinaryListType::ArrayWithSpecials);
                        c.BeginListData(1);
                        c.AppendData(1u);
                        c.EndListData();
                        c.BeginListData(1);
                        c.AppendData(static_cast<SpecialKind>(10));
                        c.EndListData();
                        c.EndListType();
                    }),
              "illegal special kind value | (static_cast<unsigned int>(kind) < kSpecialKindCount)");
    EXPECT_EQ(entry(TableType::Get({}),
                    [](BinaryProtocolCreator& c) {
                        c.BeginTableType(0);
                        SerializeValue(c, *MakeArray<RIndirectString>(kString, {u"a"}));
                        SerializeValue(c, *MakeArray<unsigned int>(kI32, {}));
                        c.EndTableType();
                    }),
              "binary protocol invalid data\ncorrupt table sort metadata | (count == "
              "orderArray.GetCount() && count <= columnCount)");
    // Key maps nested without end would exhaust the stack.
    BinaryProtocolCreator deep(false, false);
    for (int i = 0; i < 200; ++i) {
        deep.BeginDictionaryType(1);
        deep.AppendKey(TStringCore(u"k"));
        deep.AppendKeyType(KeyMapType::Get({}), false);
    }
    deep.BeginDictionaryType(0);
    for (int i = 0; i <= 200; ++i)
        deep.EndDictionaryType();
    EXPECT_EQ(Refusal([&] { Read(deep.FinalizePayload()); }),
              "binary protocol invalid data\nvalues nested too deep | (p.GetDepth() < kMaxDepth)");
    // A key set may announce special keys and send none.
    EXPECT_EQ(entry(KeySetType::Get(kI32, kI32),
                    [](BinaryProtocolCreator& c) {
                        c.BeginKeySetType(BinaryKeySetType::WithSpecials);
                        c.BeginListData(1);
                        c.AppendKey(1u);
                        c.AppendData(2u);
                        c.EndListData();
                        c.BeginListData(0);
                        c.EndListData();
                        c.EndKeySetType();
                    }),
              "(nothing thrown) | ");
    // A name the registry does not know.
    ValueMap root;
    root.emplace(Name(u"x"), std::make_shared<Blob>(Bytes{1}));
    Bytes const payload = Write(*factory::MakeDataStore(std::move(root)));
    ClearExternalTypes();
    EXPECT_EQ(Refusal([&] { Read(payload); }), "invalid external type ID | ");
}

TEST_F(StoreValueBinaryTest, CutOrFlippedPayloadsFailCleanly) {
    Bytes const payload = Write(*EveryKind(), true, true);
    int refused = 0;
    int read = 0;
    auto const attempt = [&](Bytes bytes) {
        try {
            std::shared_ptr<IDataStore> const store = Read(std::move(bytes));
            // What was read must write again.
            BinaryProtocolCreator creator(false, false);
            SerializeDataStore(creator, *store);
            ++read;
        } catch (QelException const&) {
            ++refused;
        }
    };
    for (std::size_t length = 0; length < payload.size(); ++length)
        attempt(Bytes(payload.begin(), payload.begin() + length));
    EXPECT_EQ(refused, static_cast<int>(payload.size()));
    for (std::size_t i = 0; i < payload.size(); ++i) {
        for (unsigned char const flip : {0x01, 0x80, 0xFF}) {
            Bytes bytes = payload;
            bytes[i] ^= flip;
            attempt(std::move(bytes));
        }
    }
    EXPECT_GT(read, 0);
    EXPECT_GT(refused, static_cast<int>(payload.size()));
}

}  // namespace
}  // namespace qel::core
