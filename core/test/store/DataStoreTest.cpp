#include "qel/core/store/DataStore.h"

#include <gtest/gtest.h>

#include <string>

#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/KeyPathPrefixTree.h"
#include "qel/core/store/ValueArray.h"

namespace qel::core {
namespace {

using test::ThrownText;

KeyPath P(char16_t const* text) {
    return KeyPath::ParseString(TStringCore(text));
}

TEST(DataStoreTest, WritesCreateTheKeyMapsOnTheWay) {
    DataStore store;
    EXPECT_EQ(store.GetValue(KeyPath())->GetStoreType(), StoreType::KeyMap);
    store.SetValue(P(u"a/b/c"), factory::MakeInt32(1));
    EXPECT_EQ(store.GetValue(P(u"a/b"))->GetStoreType(), StoreType::KeyMap);
    EXPECT_EQ(store.GetValue(P(u"a/b/c"))->AsInt32(), 1);
    EXPECT_EQ(ThrownText([&] { store.SetValue(P(u"a/b/c"), factory::MakeInt32(2)); }),
              "value already set at path: \na/b/c");
    // A failed update keeps the maps its walk made.
    EXPECT_EQ(ThrownText([&] { store.UpdateValue(P(u"x/y"), factory::MakeInt32(2)); }),
              "value not yet computed\nx/y");
    EXPECT_NE(store.TryGetValue(P(u"x")), nullptr);
    store.UpdateValue(P(u"a/b/c"), factory::MakeInt32(5));
    store.SetOrUpdateValue(P(u"a/d"), factory::MakeBool(true));
    EXPECT_EQ(store.GetValue(P(u"a/b/c"))->AsInt32(), 5);

    // Reading passes through arrays by position; writing below one fails.
    store.SetValue(P(u"arr"), factory::MakeArray<unsigned int>(IntType::Get32(), {4, 5, 6}));
    EXPECT_EQ(store.GetValue(P(u"arr/2"))->AsInt32(), 6);
    EXPECT_EQ(ThrownText([&] { store.SetValue(P(u"arr/9"), factory::MakeInt32(1)); }),
              "cannot modify collection");
    EXPECT_EQ(ThrownText([&] { store.GetValue(P(u"a/b/c/d")); }),
              "collection cannot be accessed by string\na/b/c/d");
    EXPECT_EQ(store.TryGetValue(P(u"a/b/c/d")), nullptr);
    EXPECT_EQ(store.TryGetValue(P(u"nothing/here")), nullptr);
    EXPECT_EQ(store.TryGetValue(P(u"nothing")), nullptr);
    EXPECT_EQ(store.GetKeyMap()->GetCount(), 3u);  // a, x, arr: no "nothing"
}

TEST(DataStoreTest, RootsClonesAndTakingTheTree) {
    EXPECT_EQ(ThrownText([] { DataStore store(factory::MakeInt32(1)); }),
              "expected keymap but was \nInt32");
    auto root = factory::MakeKeyMap(nullptr);
    DataStore shared(root);
    shared.SetValue(P(u"k"), factory::MakeInt32(1));
    EXPECT_EQ(root->GetCount(), 1u);  // the store writes into the given map

    auto copy = shared.Clone();
    copy->SetValue(P(u"other"), factory::MakeInt32(2));
    EXPECT_EQ(root->GetCount(), 1u);

    std::shared_ptr<ValueKeyMap> const built = shared.BuildKeyMap();
    EXPECT_EQ(built, root);
    EXPECT_EQ(shared.GetKeyMap()->GetCount(), 0u);
    EXPECT_EQ(factory::MakeDataStore(ValueMap{})->GetKeyMap()->GetCount(), 0u);
}

TEST(DataStoreTest, APrefixTreeOfItsKeysGoesDownThroughKeyMapsOnly) {
    DataStore store;
    store.SetValue(P(u"a/b"), factory::MakeInt32(1));
    store.SetValue(P(u"a/c/d"), factory::MakeInt32(2));
    store.SetValue(P(u"arr"), factory::MakeArray<unsigned int>(IntType::Get32(), {4, 5}));
    auto const tree = KeyPathPrefixTree::Make(store);
    EXPECT_EQ(tree->GetConcreteDescendants().size(), 5u);  // a, a/b, a/c, a/c/d, arr
    ASSERT_NE(tree->Find(P(u"a/c/d")), nullptr);
    EXPECT_TRUE(tree->Find(P(u"a/c"))->IsConcrete());
    EXPECT_EQ(tree->Find(P(u"arr/0")), nullptr);
}

}  // namespace
}  // namespace qel::core
