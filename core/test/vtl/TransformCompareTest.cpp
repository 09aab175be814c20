#include "qel/core/vtl/TransformCompare.h"

#include <gtest/gtest.h>

#include "core/test/vtl/VtlTestUtil.h"
#include "qel/core/serialize/VtlParser.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/types/Type.h"

namespace qel::core {
namespace {

TStringCore U(char const* text) {
    return TStringCore::fromStdString(text);
}

// The comparison behind the round trips must see every field, or a lossy
// writer would pass them.
TEST(TransformCompareTest, SeesEachField) {
    char const* const block = "-> block :b ->\n  -> block :c ->\n    -> copy -> x\n";
    char const* const cases[][3] = {
        {"a -> copy -> b", "a -> copy -> b", ""},
        {"a -> copy -> b", "a -> reverse -> b", "[0] operator"},
        {"a -> copy -> b", "a:i -> copy -> b", "[0] inputs"},
        {"a -> copy -> b/c:A<i>", "a -> copy -> b/c:A<l>", "[0] outputs"},
        {"-> constant :1:i -> x", "-> constant -> x", "[0] value"},
        {"-> constant :1:i -> x", "-> constant :1:l -> x", "[0] value"},
        {"-> constant :Null:i -> x", "-> constant :Missing:i -> x", "[0] value"},
        {"-> constant :nan:r -> x", "-> constant :1:r -> x", "[0] value"},
        {"-> constant :0:r -> x", "-> constant :-0.0:r -> x", "[0] value"},
        {"-> constant :x:s -> x", "-> constant :x:s<en_US> -> x", "[0] value"},
        {"// x", "// y", "[0] comment"},
        {"a -> map (f) -> b", "a -> map -> b", "[0] function"},
        {"a -> map (f a) -> b", "a -> map (g a) -> b", "[0] function id"},
        {"a -> map (f a) -> b", "a -> map (f a a) -> b", "[0] function argument count"},
        {"a -> map (f a:i) -> b", "a -> map (f a) -> b", "[0] function argument 0"},
        {"a -> map (f :a:s) -> b", "a -> map (f a) -> b", "[0] function argument 0"},
        {"a -> map (f a :1:i) -> b", "a -> map (f a :2:i) -> b", "[0] function argument 1"},
        {block, "-> block :b ->\n  -> block :c ->\n    -> copy -> y", "[0][0][0] outputs"},
        {block, "-> block :b ->\n  -> block :c ->", "[0][0] children 1 vs 0"},
        {"-> copy -> x", "", "transforms 1 vs 0"}};
    for (auto const& [left, right, difference] : cases) {
        auto const a = ParseVtlList(U(left), true);
        auto const b = ParseVtlList(U(right), true);
        EXPECT_EQ(test::TransformDifference(a, b), difference) << left << " | " << right;
        // Counts are told in the order given; only their presence is symmetric.
        EXPECT_EQ(test::TransformDifference(b, a).empty(), *difference == '\0') << right;
    }
}

// A literal with no text of its own (built in memory) has no equality
// either: it is the same only as itself, and comparing never throws.
TEST(TransformCompareTest, ValuesWithoutText) {
    auto const program = [](std::shared_ptr<StoreValue> const& value) {
        return std::vector<TransformSpec>{TransformSpec(
            OperatorType::Constant, KeyPath(), KeyPath::ParseString(U("x")), nullptr, value)};
    };
    auto const array = [] {
        return factory::MakeArray(IntType::Get32(), std::vector<unsigned int>{1, 2});
    };
    auto const shared = array();
    EXPECT_EQ(test::TransformDifference(program(shared), program(shared)), "");
    EXPECT_EQ(test::TransformDifference(program(shared), program(array())), "[0] value");
}

}  // namespace
}  // namespace qel::core
