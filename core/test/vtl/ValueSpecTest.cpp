#include "qel/core/vtl/ValueSpec.h"

#include <gtest/gtest.h>

#include <utility>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/store/Factory.h"

namespace qel::core {
namespace {

using test::P;
using test::Refused;

TEST(ValueSpecTest, CopiesTheKeyAndMovesItsPointer) {
    ValueSpec key(P(u"a/b")), copy(key);
    copy.GetKeyPath() = P(u"c");
    EXPECT_EQ(key.GetKeyPath(), P(u"a/b"));
    auto literal = factory::MakeInt32(7);
    copy = ValueSpec(literal);
    EXPECT_FALSE(copy.IsKey());
    EXPECT_EQ(copy.GetValue(), literal);
    copy = key;
    EXPECT_NE(&copy.GetKeyPath(), &key.GetKeyPath());
    KeyPath const* held = &key.GetKeyPath();
    ValueSpec moved(std::move(key));
    copy = std::move(moved);
    EXPECT_EQ(&copy.GetKeyPath(), held);
}

TEST(ValueSpecTest, EveryRefusal) {
    std::string const unspecified = "unspecified Vantrel Runtime error | ";
    std::string const at = " @ Source: core/main/vtl/ValueSpec";
    EXPECT_EQ(Refused([] { ValueSpec{std::shared_ptr<StoreValue>()}; }),
              unspecified + "(input) != nullptr" + at);
    EXPECT_EQ(Refused([] { ValueSpec{KeyPath()}; }), unspecified + "!(input.IsEmpty())" + at);
    // A path whose leaf name is empty is empty too.
    EXPECT_EQ(Refused([] { ValueSpec{P(u"a").Add(RInternString())}; }),
              unspecified + "!(input.IsEmpty())" + at);

    ValueSpec const key(P(u"a"));
    ValueSpec value(factory::MakeBool(true));
    EXPECT_TRUE(test::MatchesRefusal(
        Refused([&] { key.GetValue(); }),
        "ValueSpec instance contains a key, not a value | <any condition>" + at));
    std::string const notAKey = "ValueSpec instance contains a value, not a key | (IsKey())" + at;
    EXPECT_EQ(Refused([&] { std::as_const(value).GetKeyPath(); }), notAKey);
    EXPECT_EQ(Refused([&] { value.GetKeyPath(); }), notAKey);

    // Asking an empty ValueSpec anything is a programming error.
    ValueSpec empty;
    std::string const logic = "logic: " + unspecified + "(m_value) != nullptr" + at;
    EXPECT_EQ(Refused([&] { empty.IsKey(); }), logic);
    EXPECT_EQ(Refused([&] { empty.GetValue(); }), logic);
    EXPECT_EQ(Refused([&] { empty.GetKeyPath(); }), logic);
}

}  // namespace
}  // namespace qel::core
