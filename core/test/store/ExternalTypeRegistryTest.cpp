#include "qel/core/store/ExternalTypeRegistry.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "core/test/ThrownText.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/types/HeterogeneousType.h"

namespace qel::core {
namespace {

using test::ThrownText;

constexpr char kNotFound[] = "Unable to find key in unordered_map.";
constexpr char kTaken[] = "an external type with this name already exists";

// A host value of one byte, serialised as that byte and a marker.
class Point final : public ValueExternal {
public:
    explicit Point(unsigned char x) : ValueExternal(TStringCore(u"point")), m_x(x) {}
    std::unique_ptr<StoreValue> Clone() const override { return std::make_unique<Point>(m_x); }
    unsigned char m_x;
};

std::vector<unsigned char> Serialize(ValueExternal const& v) {
    return {static_cast<Point const&>(v).m_x, 0xEE};
}
std::shared_ptr<ValueExternal> Deserialize(ArrayView<unsigned char const> const&) {
    return std::make_shared<Point>(0);
}
void Register(unsigned short id, char16_t const* name) {
    RegisterExternalType(id, TStringCore(name), Serialize, Deserialize);
}

// The registry is process-wide: every test starts and ends with it empty.
class ExternalTypeRegistryTest : public ::testing::Test {
protected:
    void SetUp() override { ClearExternalTypes(); }
    void TearDown() override { ClearExternalTypes(); }
};

TEST_F(ExternalTypeRegistryTest, RegisteredTypesAndTheirValues) {
    Register(12, u"point");
    EXPECT_EQ(GetExternalTypeId(TStringCore(u"point")), 12);
    ExternalType const* type = ExternalType::Get(TStringCore(u"point"));
    EXPECT_EQ(type, ExternalType::Get(static_cast<unsigned short>(12)));
    EXPECT_EQ(type->ToString(), u"x<point>");
    EXPECT_EQ(ArrayType::Get(type)->ToString(), u"A<x<point>>");

    Point const p(42);
    EXPECT_EQ(p.GetType(), type);
    EXPECT_EQ(&p.AsExternal(), &p);
    EXPECT_EQ(SerializeExternalType(p), (std::vector<unsigned char>{42, 0xEE}));
    // What a host type doesn't override fails.
    EXPECT_EQ(ThrownText([&] { p.Cast(type); }), "illegal type cast");
    EXPECT_EQ(ThrownText([&] { p.Compare(p); }), "illegal type comparison");
}

TEST_F(ExternalTypeRegistryTest, RegistrationRulesInOrder) {
    Register(12, u"point");
    EXPECT_EQ(ThrownText([] { Register(13, u"point"); }), kTaken);
    EXPECT_EQ(ThrownText([] { Register(12, u"line"); }), kTaken);
    EXPECT_EQ(ThrownText([] { Register(12, u""); }), kTaken);  // before the empty name
    EXPECT_EQ(ThrownText([] { RegisterExternalType(14, TStringCore(), nullptr, nullptr); }),
              "typeName cannot be empty");
    EXPECT_EQ(ThrownText([] { RegisterExternalType(14, TStringCore(u"l"), nullptr, nullptr); }),
              "serializeValueFunction cannot be null");
    EXPECT_EQ(ThrownText([] { RegisterExternalType(14, TStringCore(u"l"), Serialize, nullptr); }),
              "deserializeValueFunctiond cannot be null");
    // Failed registrations left nothing behind.
    EXPECT_EQ(ThrownText([] { GetExternalTypeId(TStringCore(u"l")); }), kNotFound);
    EXPECT_THROW(GetExternalTypeName(14), std::out_of_range);
    Register(14, u"l");
}

TEST_F(ExternalTypeRegistryTest, UnknownOrClearedNamesAndIdsAreOutOfRange) {
    EXPECT_EQ(ThrownText([] { ExternalType::Get(TStringCore(u"nothing")); }), kNotFound);
    EXPECT_THROW(Point(1), std::out_of_range);  // "point" isn't registered here
    // A type by id needs no registration, but its name does.
    EXPECT_THROW(ExternalType::Get(static_cast<unsigned short>(99))->ToString(), std::out_of_range);

    Register(12, u"point");
    ExternalType const* before = ExternalType::Get(TStringCore(u"point"));
    ClearExternalTypes();
    Register(30, u"point");
    EXPECT_EQ(ExternalType::Get(TStringCore(u"point"))->GetExternalTypeId(), 30);
    EXPECT_THROW(before->GetExternalTypeName(), std::out_of_range);  // id 12 has no name now
    Register(12, u"point again");
    EXPECT_EQ(before->ToString(), u"x<point again>");
}

TEST_F(ExternalTypeRegistryTest, HostValuesInArraysAndTuples) {
    Register(12, u"point");
    ExternalType const* type = ExternalType::Get(TStringCore(u"point"));
    using Held = std::shared_ptr<StoreValue>;
    auto const a = std::make_shared<Point>(1);
    auto const b = std::make_shared<Point>(2);
    auto const column =
        factory::MakeArray<Held>(type, std::vector<Held>{a, nullptr, b},
                                 {SpecialKind::Normal, SpecialKind::Null, SpecialKind::Normal});
    EXPECT_EQ(column->GetType(), ArrayType::Get(type));
    IStoreArray const& array = column->AsArray();
    // Host values are held, never copied, also through a re-ordering.
    EXPECT_EQ(array.GetStoreValueAt(0), a);
    auto const reordered =
        array.CopyAndApplyIndices(std::vector<qelsize_t>{2, 1}, SortSpecOrder::UNKNOWN);
    EXPECT_EQ(reordered->AsArray().GetStoreValueAt(0), b);
    // A special element is a special of the host type.
    auto const hole = reordered->AsArray().GetStoreValueAt(1);
    EXPECT_TRUE(hole->IsSpecial());
    EXPECT_EQ(hole->GetSpecialKind(), SpecialKind::Null);
    EXPECT_EQ(hole->GetType(), type);

    QelTuple row(TupleType::Get({IntType::Get32(), type}));
    row.SetNthInt32(0, 5);
    row.SetNthExternal(1, b);
    auto const boxed = factory::MakeTuple(std::move(row));
    EXPECT_EQ(boxed->AsTuple().GetNthExternal(1), b);
    EXPECT_EQ(SerializeExternalType(boxed->AsTuple().GetNthExternal(1)->AsExternal()),
              (std::vector<unsigned char>{2, 0xEE}));
}

}  // namespace
}  // namespace qel::core
