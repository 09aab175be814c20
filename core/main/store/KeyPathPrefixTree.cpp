#include "qel/core/store/KeyPathPrefixTree.h"

#include <algorithm>
#include <boost/unordered_map.hpp>
#include <boost/unordered_set.hpp>

#include "qel/core/store/DataStore.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/vtl/TransformSpec.h"
#include "qel/core/vtl/Visitors.h"

namespace qel::core {

// Keyed by KeySegment's own hash and equality, which look at names only.
struct KeyPathPrefixTree::Children {
    Children() { map.max_load_factor(1.0f); }
    boost::unordered_map<KeySegment, std::unique_ptr<KeyPathPrefixTree>, std::hash<KeySegment>> map;
};

namespace {

// What a search does after looking at a node.
enum class Step { Descend, Prune, Stop };

}  // namespace

KeyPathPrefixTree::KeyPathPrefixTreeMap(KeyPathPrefixTree* parent, KeySegment const& segment)
    : m_parent(parent), m_segment(segment) {}

// A path of a million segments makes a chain of a million nodes, so the
// subtrees are detached and freed from a list rather than by recursion.
KeyPathPrefixTree::~KeyPathPrefixTreeMap() {
    std::vector<std::unique_ptr<Children>> pending;
    if (m_children)
        pending.push_back(std::move(m_children));
    while (!pending.empty()) {
        std::unique_ptr<Children> children = std::move(pending.back());
        pending.pop_back();
        for (auto& entry : children->map) {
            if (entry.second->m_children)
                pending.push_back(std::move(entry.second->m_children));
        }
    }
}

namespace {

void AddKeys(KeyPathPrefixTree& node, IStoreKeyMap const& map) {
    for (auto const& [key, value] : map.GetKeyValuePairs()) {
        KeyPathPrefixTree* const child = node.InsertOrAssign(KeyPath(key), true);
        if (value != nullptr && value->GetStoreType() == StoreType::KeyMap)
            AddKeys(*child, value->AsKeyMap());
    }
}

}  // namespace

std::unique_ptr<KeyPathPrefixTree> KeyPathPrefixTree::Make(IDataStore const& store) {
    std::unique_ptr<KeyPathPrefixTree> tree = Make();
    AddKeys(*tree, *store.GetKeyMap());
    return tree;
}

std::unique_ptr<KeyPathPrefixTree> KeyPathPrefixTree::Make() {
    return std::unique_ptr<KeyPathPrefixTree>(new KeyPathPrefixTree(nullptr, KeySegment()));
}

std::unique_ptr<KeyPathPrefixTree> KeyPathPrefixTree::Make(
    boost::unordered_set<KeyPath> const& paths) {
    std::unique_ptr<KeyPathPrefixTree> root = Make();
    for (KeyPath const& path : paths)
        root->Add(path, true);
    return root;
}

std::unique_ptr<KeyPathPrefixTree> KeyPathPrefixTree::Make(
    std::vector<TransformSpec> const& transforms, bool recursive) {
    std::unique_ptr<KeyPathPrefixTree> root = Make();
    KeyPathPrefixTree& tree = *root;
    Visitors::PreOrderVisit(
        nullptr,
        [&tree](KeyPath const& output) {
            if (!output.IsEmpty())
                tree.Add(output, true);
        },
        [&tree](KeyPath const& input) { tree.Add(input, true); }, transforms, recursive);
    return root;
}

// ---------------------------------------------------------------------------
// Building

std::pair<KeyPathPrefixTree*, bool> KeyPathPrefixTree::Walk(KeyPath const& path) {
    KeyPathPrefixTree* node = this;
    bool created = false;
    for (KeySegment const& segment : path.GetSegments()) {
        if (!node->m_children)
            node->m_children = std::make_unique<Children>();
        std::unique_ptr<KeyPathPrefixTree>& child = node->m_children->map[segment];
        created = child == nullptr;
        if (created)
            child.reset(new KeyPathPrefixTree(node, segment));
        node = child.get();
    }
    return {node, created};
}

KeyPathPrefixTree* KeyPathPrefixTree::Add(KeyPath const& path, bool concrete) {
    return AddImpl(path, concrete);
}

KeyPathPrefixTree* KeyPathPrefixTree::AddImpl(KeyPath const& path, bool concrete) {
    KeyPathPrefixTree* node = Walk(path).first;
    // A new node starts as a prefix, so this also covers a fresh one.
    node->m_value = node->m_value || concrete;
    return node;
}

std::pair<KeyPathPrefixTree*, bool> KeyPathPrefixTree::Insert(KeyPath const& path, bool value) {
    std::pair<KeyPathPrefixTree*, bool> result = Walk(path);
    if (result.second)
        result.first->m_value = value;
    return result;
}

KeyPathPrefixTree* KeyPathPrefixTree::InsertOrAssign(KeyPath const& path, bool value) {
    KeyPathPrefixTree* node = Walk(path).first;
    node->m_value = value;
    return node;
}

// ---------------------------------------------------------------------------
// Looking up

KeyPathPrefixTree const* KeyPathPrefixTree::FindChild(KeySegment const& segment) const {
    if (!m_children)
        return nullptr;
    auto it = m_children->map.find(segment);
    return it == m_children->map.end() ? nullptr : it->second.get();
}

KeyPathPrefixTree const* KeyPathPrefixTree::Find(KeyPath const& path) const {
    KeyPathPrefixTree const* node = this;
    for (KeySegment const& segment : path.GetSegments()) {
        node = node->FindChild(segment);
        if (node == nullptr)
            return nullptr;
    }
    return node;
}

KeyPathPrefixTree* KeyPathPrefixTree::Find(KeyPath const& path) {
    return const_cast<KeyPathPrefixTree*>(std::as_const(*this).Find(path));
}

KeyPath KeyPathPrefixTree::GetKeyPath() const {
    KeySegmentVector segments;
    for (KeyPathPrefixTree const* node = this; node->m_parent != nullptr; node = node->m_parent)
        segments.push_back(node->m_segment);
    if (segments.empty())
        return KeyPath::Empty();
    std::reverse(segments.begin(), segments.end());
    return KeyPath(std::move(segments));
}

// ---------------------------------------------------------------------------
// Searching

// Depth first with one explicit stack, so that a deep tree cannot exhaust the
// call stack; the children of a node are pushed in map order and the last
// pushed is visited first.
template <class Visit>
void KeyPathPrefixTree::VisitBelow(Visit&& visit) const {
    std::vector<KeyPathPrefixTree const*> stack;
    auto pushChildren = [&stack](KeyPathPrefixTree const& node) {
        if (!node.m_children)
            return;
        for (auto const& entry : node.m_children->map)
            stack.push_back(entry.second.get());
    };
    pushChildren(*this);
    while (!stack.empty()) {
        KeyPathPrefixTree const* node = stack.back();
        stack.pop_back();
        switch (visit(*node)) {
            case Step::Descend:
                pushChildren(*node);
                break;
            case Step::Prune:
                break;
            case Step::Stop:
                return;
        }
    }
}

void KeyPathPrefixTree::GetDescendantsWithValueImpl(KeyPathPrefixTree const& node, bool value,
                                                    std::vector<KeyPath>& out) {
    node.VisitBelow([&](KeyPathPrefixTree const& below) {
        if (below.m_value == value)
            out.push_back(below.GetKeyPath());
        return Step::Descend;
    });
}

std::vector<KeyPath> KeyPathPrefixTree::GetDescendantsWithValue(bool value) const {
    std::vector<KeyPath> found;
    GetDescendantsWithValueImpl(*this, value, found);
    return found;
}

std::vector<KeyPath> KeyPathPrefixTree::GetEldersOfDescendantsWithValue(bool value) const {
    std::vector<KeyPath> found;
    VisitBelow([&](KeyPathPrefixTree const& node) {
        if (node.m_value != value)
            return Step::Descend;
        found.push_back(node.GetKeyPath());
        return Step::Prune;
    });
    return found;
}

bool KeyPathPrefixTree::HasDescendantWithValue(bool value) const {
    bool found = false;
    VisitBelow([&](KeyPathPrefixTree const& node) {
        found = node.m_value == value;
        return found ? Step::Stop : Step::Descend;
    });
    return found;
}

std::vector<KeyPath> KeyPathPrefixTree::GetAncestorsWithValue(bool value) const {
    std::vector<KeyPath> found;
    for (KeyPathPrefixTree const* node = m_parent; node != nullptr; node = node->m_parent) {
        if (node->m_value == value)
            found.push_back(node->GetKeyPath());
    }
    return found;
}

bool KeyPathPrefixTree::HasConcreteAncestor() const noexcept {
    for (KeyPathPrefixTree const* node = m_parent; node != nullptr; node = node->m_parent) {
        if (node->m_value)
            return true;
    }
    return false;
}

bool KeyPathPrefixTree::HasConcreteAncestor(KeyPath const& path) const {
    KeyPathPrefixTree const* node = this;
    for (KeySegment const& segment : path.GetSegments()) {
        node = node->FindChild(segment);
        if (node == nullptr)
            return false;
        if (node->m_value)
            return true;
    }
    return false;
}

std::vector<KeyPath> KeyPathPrefixTree::FindRelationsWithValue(KeyPath const& path,
                                                               bool value) const {
    std::vector<KeyPath> found;
    KeyPathPrefixTree const* node = this;
    for (KeySegment const& segment : path.GetSegments()) {
        node = node->FindChild(segment);
        if (node == nullptr)
            return found;
        if (node->m_value == value)
            found.push_back(node->GetKeyPath());
    }
    std::vector<KeyPath> below = node->GetDescendantsWithValue(value);
    found.insert(found.end(), std::make_move_iterator(below.begin()),
                 std::make_move_iterator(below.end()));
    return found;
}

// ---------------------------------------------------------------------------
// Printing

// Pre-order from an explicit stack, for the reason the destructor gives.
TStringCore KeyPathPrefixTree::PrettyPrint(int indent) const {
    TStringCore out;
    std::vector<std::pair<KeyPathPrefixTree const*, int>> stack{{this, std::max(indent, 0)}};
    std::vector<KeyPathPrefixTree const*> children;
    while (!stack.empty()) {
        auto [node, blanks] = stack.back();
        stack.pop_back();
        out.append(TStringCore(u' ', blanks));
        if (node->m_parent == nullptr) {
            out.append(TStringCore(u"Root Node:"));
        } else {
            out.append(TStringCore(node->m_value ? u"Concrete Node: " : u"Prefix Node: "));
            out.append(node->m_segment.GetSegment().GetValue());
        }
        out.append(u'\n');
        if (!node->m_children)
            continue;
        // Pushed in reverse, so that they print in map order.
        children.clear();
        for (auto const& entry : node->m_children->map)
            children.push_back(entry.second.get());
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            stack.emplace_back(*it, blanks + 2);
    }
    return out;
}

}  // namespace qel::core
