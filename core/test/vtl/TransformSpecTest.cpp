#include "qel/core/vtl/TransformSpec.h"

#include <gtest/gtest.h>

#include <utility>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"
#include "qel/core/store/Factory.h"

namespace qel::core {
namespace {

using test::Keys;
using test::P;

// "op [inputs] -> [outputs] function children value 'comment'".
std::string Fields(TransformSpec const& t) {
    auto const& value = t.GetValue();
    return OperatorTypeToString(t.GetOperatorType()).toStdString() + " [" + Keys(t.GetInputs()) +
           "] -> [" + Keys(t.GetOutputs()) + "] " + test::Call(t.GetFunctionSpec().get()) + " " +
           std::to_string(t.GetChildTransforms().size()) + " " +
           (value ? FormatPrimitive(*value).toStdString() : "-") + " '" +
           t.GetComment().toStdString() + "'";
}

TEST(TransformSpecTest, EveryConstructorFillsItsFields) {
    auto f = FunctionSpec::Make(RInternString(u"f"), P(u"k"));
    auto five = factory::MakeInt32(5);
    std::vector<KeyPath> const ab{P(u"a"), P(u"b:i")};
    auto kids = [] { return std::vector<TransformSpec>{TransformSpec(TStringCore(u"c"))}; };
    auto impl = std::make_unique<TransformSpec::Impl>();
    impl->operatorType = OperatorType::Reverse;
    impl->inputs = {P(u"r")};
    std::vector<TransformSpec> const all{
        {OperatorType::Map,
         std::vector<KeyPath>(ab),
         {P(u"o")},
         f,
         kids(),
         five,
         TStringCore(u"x")},
        TransformSpec(std::move(impl)),
        {OperatorType::Map, ab, P(u"o"), f},
        {OperatorType::Constant, P(u"i"), P(u"o"), nullptr, five},
        // Empty keys stand for no input and no output in this form only.
        {OperatorType::Copy, KeyPath(), KeyPath(), nullptr, nullptr},
        {OperatorType::Copy, {}, KeyPath(), nullptr},
        {OperatorType::Block, ab, P(u"o"), kids(), TStringCore(u"Main Block")},
        {OperatorType::GroupBy, ab, P(u"o"), kids()},
        {OperatorType::Zip, ab, std::vector<KeyPath>{P(u"x"), P(u"y")}},
        {OperatorType::When, ab, {P(u"o")}, f, kids(), five},
        TransformSpec(TStringCore(u" prepare")),
        TransformSpec(TStringCore())};
    std::string fields;
    for (auto const& t : all)
        fields += Fields(t) + "\n";
    EXPECT_EQ(fields,
              "map [a b:i] -> [o] f(k:k) 1 5 'x'\n"
              "reverse [r] -> [] - 0 - ''\n"
              "map [a b:i] -> [o] f(k:k) 0 - ''\n"
              "constant [i] -> [o] - 0 5 ''\n"
              "copy [] -> [] - 0 - ''\n"
              "copy [] -> [<empty>] - 0 - ''\n"
              "block [a b:i] -> [o] - 1 Main Block ''\n"
              "groupBy [a b:i] -> [o] - 1 - ''\n"
              "zip [a b:i] -> [x y] - 0 - ''\n"
              "when [a b:i] -> [o] f(k:k) 1 5 ''\n"
              "noOp [] -> [] - 0 - ' prepare'\n"
              "noOp [] -> [] - 0 - ''\n");
    EXPECT_EQ(all[6].GetValue()->GetStoreType(), StoreType::String);
    // The inputs, then the function's keys; duplicates stay.
    EXPECT_EQ(Keys(TransformSpec(OperatorType::Map, ab, P(u"o"),
                                 FunctionSpec::Make(f->GetFunctionId(), P(u"a"), P(u"k")))
                       .CollectAllInputs()),
              "a b:i a k");
    EXPECT_EQ(Keys(all[8].CollectAllInputs()), "a b:i");
    EXPECT_TRUE(test::MatchesRefusal(
        test::Refused([] { TransformSpec{std::unique_ptr<TransformSpec::Impl>()}; }),
        "spec must not be null | <any condition> @ Source: core/main/vtl/TransformSpec"));
}

TEST(TransformSpecTest, CopiesAreDeepAndMovesTakeThePointer) {
    std::vector<TransformSpec> kids{TransformSpec(OperatorType::Copy, {P(u"a")}, {P(u"b")})};
    TransformSpec original(OperatorType::Block, {}, P(u"o"), std::move(kids));
    TransformSpec copy(original);
    copy.GetChildTransforms()[0].GetInputs()[0] = P(u"z");
    EXPECT_EQ(Keys(original.GetChildTransforms()[0].GetInputs()), "a");
    copy = original;
    copy.GetOutputs().clear();
    EXPECT_EQ(Keys(original.GetOutputs()), "o");
    auto const* children = &original.GetChildTransforms();
    TransformSpec moved(std::move(original));
    copy = std::move(moved);
    EXPECT_EQ(&copy.GetChildTransforms(), children);
}

}  // namespace
}  // namespace qel::core
