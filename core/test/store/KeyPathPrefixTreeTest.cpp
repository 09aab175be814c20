#include "qel/core/store/KeyPathPrefixTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/unordered_set.hpp>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/serialize/VtlParser.h"
#include "qel/core/types/Type.h"

namespace qel::core {
namespace {

KeyPath P(char16_t const* text) {
    return KeyPath::ParseString(TStringCore(text));
}

// The searches answer in hash map order; tests compare sorted texts.
std::string Sorted(std::vector<KeyPath> const& paths) {
    std::vector<std::string> texts;
    for (KeyPath const& path : paths)
        texts.push_back(path.ToString().toStdString());
    std::sort(texts.begin(), texts.end());
    std::string out;
    for (std::string const& text : texts)
        out += (out.empty() ? "" : " ") + text;
    return out;
}

TEST(KeyPathPrefixTreeTest, ConcreteNodesNeverTurnBack) {
    auto tree = KeyPathPrefixTree::Make();
    EXPECT_EQ(tree->PrettyPrint(0), u"Root Node:\n");
    KeyPathPrefixTree* ab = tree->Add(P(u"a/b"), true);
    EXPECT_TRUE(ab->IsConcrete());
    EXPECT_FALSE(tree->Find(P(u"a"))->IsConcrete());
    EXPECT_EQ(tree->PrettyPrint(1), u" Root Node:\n   Prefix Node: a\n     Concrete Node: b\n");
    EXPECT_EQ(tree->Add(P(u"a"), true), tree->Find(P(u"a")));
    EXPECT_TRUE(tree->Add(P(u"a"), false)->IsConcrete());
    EXPECT_EQ(tree->Find(KeyPath()), tree.get());
    EXPECT_EQ(tree->Find(P(u"a/x")), nullptr);
    EXPECT_EQ(ab->GetKeyPath(), P(u"a/b"));
    EXPECT_EQ(tree->GetKeyPath().GetCount(), 0u);
    // Insert leaves an existing node's value; InsertOrAssign sets it.
    EXPECT_EQ(tree->Insert(P(u"a/b"), false), std::make_pair(ab, false));
    EXPECT_TRUE(ab->IsConcrete());
    auto [cd, inserted] = tree->Insert(P(u"c/d"), false);
    EXPECT_TRUE(inserted);
    EXPECT_FALSE(cd->IsConcrete());
    EXPECT_FALSE(tree->InsertOrAssign(P(u"a/b"), false)->IsConcrete());
    EXPECT_TRUE(tree->InsertOrAssign(KeyPath(), true)->IsConcrete());
    EXPECT_TRUE(ab->HasConcreteAncestor());
}

TEST(KeyPathPrefixTreeTest, SearchesAboveAndBelow) {
    boost::unordered_set<KeyPath> paths{P(u"a"), P(u"a/b"), P(u"c/d"), P(u"a/b/c/e")};
    auto tree = KeyPathPrefixTree::Make(paths);
    EXPECT_EQ(Sorted(tree->GetEldersOfDescendants()), "a c/d");
    EXPECT_EQ(Sorted(tree->GetConcreteDescendants()), "a a/b a/b/c/e c/d");
    EXPECT_TRUE(tree->HasConcreteDescendant());
    EXPECT_FALSE(tree->Find(P(u"c/d"))->HasConcreteDescendant());
    EXPECT_EQ(Sorted(tree->GetDescendantsWithValue(false)), "a/b/c c");
    using Paths = std::vector<KeyPath>;
    EXPECT_EQ(tree->Find(P(u"a/b/c/e"))->GetConcreteAncestors(),
              (Paths{P(u"a/b"), P(u"a")}));  // nearest first
    EXPECT_FALSE(tree->Find(P(u"c"))->HasConcreteAncestor());
    // "a" is met before the missing step of "a/zzz".
    for (auto const& [path, has] : {std::pair(P(u"c/d"), true),
                                    {P(u"a/zzz"), true},
                                    {P(u"c/x"), false},
                                    {P(u"c"), false},
                                    {KeyPath(), false}})
        EXPECT_EQ(tree->HasConcreteAncestor(path), has) << path.ToString().toStdString();
    // Ancestors from the top, the node itself, then what lies below.
    EXPECT_EQ(tree->FindConcreteRelations(P(u"a/b")), (Paths{P(u"a"), P(u"a/b"), P(u"a/b/c/e")}));
    EXPECT_EQ(Sorted(tree->FindConcreteRelations(P(u"a/b/x"))), "a a/b");
    EXPECT_TRUE(tree->FindConcreteRelations(P(u"x")).empty());
    EXPECT_EQ(Sorted(tree->FindConcreteRelations(KeyPath())), "a a/b a/b/c/e c/d");
    // The node of the path itself counts only when concrete.
    auto const prefixOnly =
        KeyPathPrefixTree::Make(boost::unordered_set<KeyPath>{P(u"a"), P(u"a/b/c")});
    EXPECT_EQ(prefixOnly->FindConcreteRelations(P(u"a/b")), (Paths{P(u"a"), P(u"a/b/c")}));
}

TEST(KeyPathPrefixTreeTest, ChildrenAreFoundByNameTheFirstTypeStays) {
    auto tree = KeyPathPrefixTree::Make();
    KeyPathPrefixTree* typed = tree->Add(P(u"a:i"), true);
    EXPECT_EQ(tree->Add(P(u"a:s"), true), typed);
    EXPECT_EQ(typed->GetKeyPath().GetLeafSegment().GetType(), IntType::Get32());
    EXPECT_EQ(tree->Find(P(u"a:l")), typed);
    // A chain far deeper than any call stack is built, searched and freed.
    KeySegmentVector segments(200000, KeySegment(RInternString(u"n"), nullptr));
    KeyPathPrefixTree* leaf = tree->Add(KeyPath(std::move(segments)), true);
    EXPECT_EQ(leaf->GetKeyPath().GetCount(), 200000u);
    EXPECT_EQ(tree->GetEldersOfDescendants().size(), 2u);
}

// Outputs count unless empty, inputs and function keys always, children only
// when asked for.
TEST(KeyPathPrefixTreeTest, MadeFromTransforms) {
    auto const program = ParseVtlList(TStringCore(u"a/b -> map (f c/d :1:i) -> e\n"
                                                  u"-> block :'x' ->\n"
                                                  u"  g -> copy -> h/i\n"),
                                      false);
    auto const top = KeyPathPrefixTree::Make(program, false);
    EXPECT_EQ(Sorted(top->GetConcreteDescendants()), "a/b c/d e");
    EXPECT_FALSE(top->IsConcrete());
    EXPECT_EQ(Sorted(KeyPathPrefixTree::Make(program, true)->GetConcreteDescendants()),
              "a/b c/d e g h/i");
    // An empty output is skipped, an empty input stands for the root.
    auto const keys = [](std::vector<KeyPath> inputs, std::vector<KeyPath> outputs) {
        return std::vector<TransformSpec>{TransformSpec(OperatorType::Copy, inputs, outputs)};
    };
    EXPECT_FALSE(KeyPathPrefixTree::Make(keys({}, {KeyPath()}), true)->IsConcrete());
    auto const root = KeyPathPrefixTree::Make(keys({KeyPath()}, {}), true);
    EXPECT_TRUE(root->IsConcrete());
    EXPECT_TRUE(root->GetConcreteDescendants().empty());
}

}  // namespace
}  // namespace qel::core
