#pragma once

// What the text forms promise to carry back whole. A key segment with an
// empty name is written as nothing at all (a leading one vanishes with its
// slash, a later one leaves a path the reader refuses), and quoting stops at
// a zero unit; the round-trip checks of the fuzz targets skip such inputs.

#include <vector>

#include "qel/core/QelCore.h"

namespace qel::fuzz {

inline bool WritesBackWhole(qel::core::KeyPath const& path) {
    for (auto const& segment : path.GetSegments()) {
        if (segment.GetSegment().GetValue().isEmpty())
            return false;
    }
    return true;
}

inline bool WritesBackWhole(std::vector<qel::core::TransformSpec> const& program) {
    for (auto const& spec : program) {
        for (auto const* keys : {&spec.GetInputs(), &spec.GetOutputs()}) {
            for (auto const& key : *keys) {
                if (!WritesBackWhole(key))
                    return false;
            }
        }
        if (auto const& function = spec.GetFunctionSpec()) {
            for (auto const& input : function->GetFunctionInputs()) {
                if (input.IsKey() && !WritesBackWhole(input.GetKeyPath()))
                    return false;
            }
        }
        if (!WritesBackWhole(spec.GetChildTransforms()))
            return false;
    }
    return true;
}

// A graph line reads its leading integers as ids, so an edge key whose first
// name scans as an integer is taken for a target and cannot come back.
inline bool WritesBackWhole(qel::core::GraphEdge const& edge) {
    if (!WritesBackWhole(edge.key) || edge.key.GetSegments().empty())
        return false;
    qel::core::VtlToken token;
    return !(qel::core::VtlScanner::TryScanSingleToken(
                 edge.key.GetSegments().front().GetSegment().GetValue(), token, true) &&
             token.GetType() == qel::core::VtlTokenType::Int);
}

}  // namespace qel::fuzz
