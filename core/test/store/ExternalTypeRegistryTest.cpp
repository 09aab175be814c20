#include "qel/core/store/ExternalTypeRegistry.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "core/test/ThrownText.h"
#include "qel/core/store/ValueExternal.h"

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

}  // namespace
}  // namespace qel::core
