#include "qel/core/vtl/FunctionSpec.h"

#include <gtest/gtest.h>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/store/Factory.h"
#include "qel/core/types/Type.h"
#include "qel/core/vtl/KeyPathTypeLookup.h"

namespace qel::core {
namespace {

using test::Call;
using test::P;

TEST(FunctionSpecTest, EveryFactoryKeepsTheArgumentsInOrder) {
    RInternString const f(u"f");
    auto a = P(u"a:i"), b = P(u"b"), c = P(u"c/d"), d = P(u"e");
    EXPECT_EQ(Call(FunctionSpec::Make(f).get()), "f()");
    EXPECT_EQ(Call(FunctionSpec::Make(f, factory::MakeInt64(1)).get()), "f(v:1)");
    EXPECT_EQ(Call(FunctionSpec::Make(f, a).get()), "f(k:a:i)");
    EXPECT_EQ(Call(FunctionSpec::Make(f, a, b).get()), "f(k:a:i k:b)");
    EXPECT_EQ(Call(FunctionSpec::Make(f, a, b, c).get()), "f(k:a:i k:b k:c/d)");
    EXPECT_EQ(Call(FunctionSpec::Make(f, a, b, c, d).get()), "f(k:a:i k:b k:c/d k:e)");
    EXPECT_EQ(Call(FunctionSpec::Make(f, std::vector<KeyPath>{d, a}).get()), "f(k:e k:a:i)");
    std::vector<ValueSpec> mixed{ValueSpec(b), ValueSpec(factory::MakeBool(false))};
    EXPECT_EQ(Call(FunctionSpec::Make(f, mixed).get()), "f(k:b v:false)");
    EXPECT_EQ(Call(FunctionSpec::Make(f, std::move(mixed)).get()), "f(k:b v:false)");
}

TEST(FunctionSpecTest, InputTypesComeFromTheLookupOrTheLiteral) {
    KeyPathTypeLookup const lookup;
    auto function = FunctionSpec::Make(
        RInternString(u"+"),
        std::vector<ValueSpec>{ValueSpec(P(u"x:r")), ValueSpec(factory::MakeInt32(1))});
    EXPECT_EQ(GetFunctionInputTypes(*function, lookup),
              (std::vector<Type const*>{MakePrimitiveType(StoreType::Real64),
                                        MakePrimitiveType(StoreType::Int32)}));
}

}  // namespace
}  // namespace qel::core
