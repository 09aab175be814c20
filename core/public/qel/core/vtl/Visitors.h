#pragma once

// Visitors: walks over transforms and their keys, for the code above that
// checks, renames or rewires a program. Each walk works on one transform or
// a vector of them; `recurse` says whether child transforms are walked too.
//
// The keys of a transform are its outputs, its inputs, and the keys among
// its function's arguments, which count as inputs. A callback that is empty
// where a walk must call it raises std::bad_function_call; the optional ones
// are noted below.

#include <functional>
#include <vector>

#include "qel/core/store/KeyPath.h"
#include "qel/core/vtl/TransformSpec.h"

namespace qel::core {

class Visitors {
public:
    using TransformVisitor = std::function<void(TransformSpec const&)>;
    using KeyVisitor = std::function<void(KeyPath const&)>;
    using KeyEditor = std::function<void(KeyPath&)>;
    using KeyRewriter = std::function<KeyPath(KeyPath const&)>;

    Visitors() = delete;

    // Despite the name, children come first: for each transform, its
    // children are walked (when `recurse`), then onTransform sees the
    // transform, then onOutput each output, then onInput each input and
    // each key argument of the function. Every callback is optional.
    static void PreOrderVisit(TransformVisitor const& onTransform, KeyVisitor const& onOutput,
                              KeyVisitor const& onInput, TransformSpec const& transform,
                              bool recurse);
    static void PreOrderVisit(TransformVisitor const& onTransform, KeyVisitor const& onOutput,
                              KeyVisitor const& onInput,
                              std::vector<TransformSpec> const& transforms, bool recurse);

    // The walk of PreOrderVisit, editing the keys in place. Each callback is
    // optional. The function is replaced by a new FunctionSpecImpl with the
    // edited arguments rather than edited, because other transforms may
    // share it.
    static void OverwriteKeys(KeyEditor const& onOutput, KeyEditor const& onInput,
                              TransformSpec& transform, bool recurse);
    static void OverwriteKeys(KeyEditor const& onOutput, KeyEditor const& onInput,
                              std::vector<TransformSpec>& transforms, bool recurse);

    // New transforms with every output mapped by rewriteOutput and every
    // input and key argument by rewriteInput; the originals are left alone.
    // A noOp is copied whole. Other transforms are rebuilt from operator,
    // keys, function and value, so their comment is dropped; without
    // `recurse` their children are copied as they are.
    static TransformSpec RewriteKeys(KeyRewriter const& rewriteOutput,
                                     KeyRewriter const& rewriteInput,
                                     TransformSpec const& transform, bool recurse);
    static std::vector<TransformSpec> RewriteKeys(KeyRewriter const& rewriteOutput,
                                                  KeyRewriter const& rewriteInput,
                                                  std::vector<TransformSpec> const& transforms,
                                                  bool recurse);

    // Each path mapped through `rewrite`, in order.
    static std::vector<KeyPath> RewriteKeyPathVec(std::vector<KeyPath> const& paths,
                                                  KeyRewriter const& rewrite);
};

}  // namespace qel::core
