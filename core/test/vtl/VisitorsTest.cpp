#include "qel/core/vtl/Visitors.h"

#include <gtest/gtest.h>

#include <functional>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"
#include "qel/core/store/Factory.h"

namespace qel::core {
namespace {

using test::P;

std::string S(KeyPath const& path) {
    return path.ToString().toStdString();
}

// -> block :'Main' ->            (one output, the empty key)
//   -> constant :5:i -> x
//   x -> map ('+' x :1:i) -> y
// y -> copy -> z
std::vector<TransformSpec> Program() {
    std::vector<ValueSpec> plus{ValueSpec(P(u"x")), ValueSpec(factory::MakeInt32(1))};
    std::vector<TransformSpec> children{
        {OperatorType::Constant, KeyPath(), P(u"x"), nullptr, factory::MakeInt32(5)},
        {OperatorType::Map, {P(u"x")}, P(u"y"), FunctionSpec::Make(RInternString(u"+"), plus)}};
    return {{OperatorType::Block, {}, KeyPath(), std::move(children), TStringCore(u"Main")},
            {OperatorType::Copy, {P(u"y")}, std::vector<KeyPath>{P(u"z")}}};
}

// Every event of a walk, in order: "T:op", "O:key", "I:key".
std::string Walk(std::vector<TransformSpec> const& program, bool recurse = true) {
    std::string log;
    Visitors::PreOrderVisit(
        [&](TransformSpec const& t) {
            log += " T:" + OperatorTypeToString(t.GetOperatorType()).toStdString();
        },
        [&](KeyPath const& k) { log += " O:" + S(k); },
        [&](KeyPath const& k) { log += " I:" + S(k); }, program, recurse);
    return log;
}

TEST(VisitorsTest, PreOrderVisitWalksChildrenFirst) {
    auto const program = Program();
    EXPECT_EQ(Walk(program), " T:constant O:x T:map O:y I:x I:x T:block O: T:copy O:z I:y");
    EXPECT_EQ(Walk(program, false), " T:block O: T:copy O:z I:y");
    int count = 0;  // every callback is optional
    Visitors::PreOrderVisit([&](TransformSpec const&) { ++count; }, nullptr, nullptr, program,
                            true);
    EXPECT_EQ(count, 4);
}

TEST(VisitorsTest, OverwriteKeysEditsInPlaceAndReplacesSharedFunctions) {
    auto program = Program();
    auto const shared = program[0].GetChildTransforms()[1].GetFunctionSpec();
    Visitors::OverwriteKeys([](KeyPath& k) { k = KeyPath(RInternString(u"out")).Add(k); },
                            [](KeyPath& k) { k = KeyPath(RInternString(u"in")).Add(k); }, program,
                            true);
    Visitors::OverwriteKeys(
        nullptr, [](KeyPath& k) { k = k.GetTail(); }, program, false);
    EXPECT_EQ(Walk(program),
              " T:constant O:out/x T:map O:out/y I:in/x I:in/x T:block O:out T:copy O:out/z I:y");
    EXPECT_EQ(S(shared->GetFunctionInputs()[0].GetKeyPath()), "x");
}

TEST(VisitorsTest, RewriteKeysBuildsANewProgram) {
    auto program = Program();
    program.insert(program.begin(), TransformSpec(TStringCore(u" note")));
    program.push_back({OperatorType::Reverse, {P(u"z")}, {P(u"r")}, nullptr, {}, nullptr});
    program.back().GetComment() = TStringCore(u"dropped");
    std::string calls;
    auto rewrite = [&](char const* tag) {
        return [&calls, tag](KeyPath const& k) {
            calls += std::string(" ") + tag + S(k);
            return KeyPath(RInternString(TStringCore::fromUtf8(tag))).Add(k);
        };
    };
    auto result = Visitors::RewriteKeys(rewrite("o"), rewrite("i"), program, true);
    // Children, then outputs, then inputs, then the function's keys.
    EXPECT_EQ(calls, " ox oy ix ix o oz iy or iz");
    EXPECT_EQ(Walk(result),
              " T:noOp T:constant O:o/x T:map O:o/y I:i/x I:i/x T:block O:o T:copy "
              "O:o/z I:i/y T:reverse O:o/r I:i/z");
    EXPECT_EQ(result[0].GetComment().toStdString(), " note");
    EXPECT_TRUE(result.back().GetComment().isEmpty());
    EXPECT_EQ(result[1].GetValue(), program[1].GetValue());
    EXPECT_EQ(Walk(program).find("o/"), std::string::npos);
    auto flat = Visitors::RewriteKeys(rewrite("o"), rewrite("i"), program[1], false);
    EXPECT_EQ(Walk({flat}), " T:constant O:x T:map O:y I:x I:x T:block O:o");
    EXPECT_THROW(Visitors::RewriteKeys(nullptr, rewrite("i"), program, true),
                 std::bad_function_call);
    EXPECT_EQ(Visitors::RewriteKeys(nullptr, nullptr, program[0], true).GetComment().toStdString(),
              " note");  // a noOp needs no callback
}

}  // namespace
}  // namespace qel::core
