// Fuzz target: arbitrary UTF-16 text through the payload reader. What it
// reads must write back to a text that reads again to the same content, and
// writing that is a fixed point (for what the text form promises to carry,
// see RoundTrip.h); refusals are the catalogue's exceptions. Anything else is
// a finding.

#include <boost/unordered_set.hpp>
#include <cstddef>
#include <cstdint>

#include "fuzz/FuzzText.h"
#include "fuzz/RoundTrip.h"
#include "qel/core/QelCore.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace qel::core;
    static bool const ready = [] {
        RegisterDefaultCollatorPool();
        return true;
    }();
    (void)ready;
    TStringCore const text = qel::fuzz::TextFromBytes(data, size);
    std::vector<TransformSpec> transforms;
    std::vector<GraphEdge> edges;
    boost::unordered_set<KeyPath> keys;
    try {
        ParseVtlPayload(text, transforms, edges, keys);
    } catch (QelException const&) {
        return 0;
    }
    if (text.indexOf(u'\0') >= 0 || !qel::fuzz::WritesBackWhole(transforms))
        return 0;
    for (auto const& edge : edges) {
        if (!qel::fuzz::WritesBackWhole(edge))
            return 0;
    }
    for (auto const& key : keys) {
        if (!qel::fuzz::WritesBackWhole(key))
            return 0;
    }
    TStringCore const written = MakeVtlPayload(transforms, edges, keys);
    std::vector<TransformSpec> transforms2;
    std::vector<GraphEdge> edges2;
    boost::unordered_set<KeyPath> keys2;
    ParseVtlPayload(written, transforms2, edges2, keys2);
    // The updatable keys are an unordered set, written in its iteration
    // order, so two sets with the same keys may write them differently. The
    // keys are compared as a set, and the rest through a second writing
    // that reuses the first set, whose order is then the same.
    if (!(keys2 == keys))
        __builtin_trap();
    if (MakeVtlPayload(transforms2, edges2, keys) != written)
        __builtin_trap();
    return 0;
}
