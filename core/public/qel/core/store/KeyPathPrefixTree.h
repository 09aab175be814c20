#pragma once

// A trie over key paths that tells what is stored above or below a path.
// Each node is reached from its parent by one KeySegment and is either
// concrete (a path that was added) or a prefix node (it exists only on the
// way to a concrete one). The root stands for the empty path and carries an
// empty, untyped segment.
//
// Children are found by segment name only: two segments of one name and
// different types lead to the same child, and the child keeps the type of
// the segment that created it; GetKeyPath returns those types.
//
// A tree owns its nodes; a node pointer stays valid as long as the tree.
// Build a tree, then read it: Add and Insert must not run while anyone
// reads. The searches return full paths from the root, in an order that
// follows the children's hash map and is therefore not sorted.

#include <boost/unordered/unordered_set_fwd.hpp>
#include <memory>
#include <utility>
#include <vector>

#include "qel/core/store/KeyPath.h"

namespace qel::core {

class IDataStore;
class TransformSpec;

// The trie node over values of type V. Only the boolean, single-valued form
// exists (a node is concrete or a prefix): that is KeyPathPrefixTree.
template <class V, bool kMultiValued>
class KeyPathPrefixTreeMap;
template <>
class KeyPathPrefixTreeMap<bool, false>;
using KeyPathPrefixTree = KeyPathPrefixTreeMap<bool, false>;

template <>
class KeyPathPrefixTreeMap<bool, false> {
public:
    ~KeyPathPrefixTreeMap();
    KeyPathPrefixTreeMap(KeyPathPrefixTreeMap const&) = delete;
    KeyPathPrefixTreeMap& operator=(KeyPathPrefixTreeMap const&) = delete;

    // An empty tree: a root that is not concrete.
    static std::unique_ptr<KeyPathPrefixTree> Make();
    // A tree with each path of `paths` concrete.
    static std::unique_ptr<KeyPathPrefixTree> Make(boost::unordered_set<KeyPath> const& paths);
    // A tree of the store's keys, each concrete; the tree goes down through
    // key maps only, so the values of any other kind are leaves.
    static std::unique_ptr<KeyPathPrefixTree> Make(IDataStore const& store);
    // A tree of the keys the transforms use (children too when `recursive`),
    // each concrete: outputs unless empty, inputs and the function's key
    // arguments as they are, so an empty input makes the root concrete.
    static std::unique_ptr<KeyPathPrefixTree> Make(std::vector<TransformSpec> const& transforms,
                                                   bool recursive);

    // Walks `path` down from this node, creating prefix nodes as needed, and
    // returns the final node. A node once concrete stays concrete: adding it
    // again with `concrete` false changes nothing. The empty path is this
    // node itself.
    KeyPathPrefixTree* Add(KeyPath const& path, bool concrete);
    // As Add, but the final node's value is left alone when the node already
    // existed; the flag tells whether the final node was created.
    std::pair<KeyPathPrefixTree*, bool> Insert(KeyPath const& path, bool value);
    // As Add, but the final node takes `value` in every case.
    KeyPathPrefixTree* InsertOrAssign(KeyPath const& path, bool value);

    // The node of `path` below this one, or null when a step is missing.
    KeyPathPrefixTree const* Find(KeyPath const& path) const;
    KeyPathPrefixTree* Find(KeyPath const& path);

    bool IsConcrete() const noexcept { return m_value; }
    KeyPathPrefixTree const* GetParent() const noexcept { return m_parent; }
    // The segment that leads here from the parent.
    KeySegment const& GetSegment() const noexcept { return m_segment; }
    // The path from the root to this node; empty for the root.
    KeyPath GetKeyPath() const;

    // Concrete nodes strictly below this one.
    std::vector<KeyPath> GetConcreteDescendants() const { return GetDescendantsWithValue(true); }
    // Concrete nodes strictly above this one, the nearest first.
    std::vector<KeyPath> GetConcreteAncestors() const { return GetAncestorsWithValue(true); }
    bool HasConcreteAncestor() const noexcept;
    // Whether a node on the way down `path` from here is concrete, the final
    // node included and this node not. False for the empty path and as soon
    // as a step is missing.
    bool HasConcreteAncestor(KeyPath const& path) const;
    bool HasConcreteDescendant() const { return HasDescendantWithValue(true); }
    // All concrete nodes that touch `path`: those on the way down (top first,
    // the node of `path` last), then all below the node of `path`. Stops with
    // what it has when a step is missing.
    std::vector<KeyPath> FindConcreteRelations(KeyPath const& path) const {
        return FindRelationsWithValue(path, true);
    }
    // The topmost concrete node on each branch below this one.
    std::vector<KeyPath> GetEldersOfDescendants() const {
        return GetEldersOfDescendantsWithValue(true);
    }

    // The general forms of the searches above, for either value.
    std::vector<KeyPath> GetDescendantsWithValue(bool value) const;
    std::vector<KeyPath> GetAncestorsWithValue(bool value) const;
    bool HasDescendantWithValue(bool value) const;
    std::vector<KeyPath> FindRelationsWithValue(KeyPath const& path, bool value) const;
    std::vector<KeyPath> GetEldersOfDescendantsWithValue(bool value) const;

    // One line per node, children indented by two more blanks:
    // "Root Node:", "Concrete Node: a", "Prefix Node: b", each with a line
    // feed, the subtree of this node starting at `indent` blanks.
    TStringCore PrettyPrint(int indent) const;

private:
    struct Children;

    KeyPathPrefixTreeMap(KeyPathPrefixTree* parent, KeySegment const& segment);

    KeyPathPrefixTree* AddImpl(KeyPath const& path, bool concrete);
    // Every node strictly below `node` whose value is `value`, depth first
    // from a stack of its own: a chain may be far deeper than the call stack.
    static void GetDescendantsWithValueImpl(KeyPathPrefixTree const& node, bool value,
                                            std::vector<KeyPath>& out);

    KeyPathPrefixTree const* FindChild(KeySegment const& segment) const;
    std::pair<KeyPathPrefixTree*, bool> Walk(KeyPath const& path);
    template <class Visit>
    void VisitBelow(Visit&& visit) const;

    bool m_value = false;
    KeyPathPrefixTree* m_parent;
    KeySegment m_segment;
    // Made with the first child, so that leaves cost no map.
    std::unique_ptr<Children> m_children;
};

}  // namespace qel::core
