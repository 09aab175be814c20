#pragma once

// What the text forms promise to carry back whole. A key segment with an
// empty name is written as nothing at all (a leading one vanishes with its
// slash, a later one leaves a path the reader refuses); an all-digit name
// with leading zeros is written bare and read back as a number ("007" comes
// back as "7"); quoting stops at a zero unit. Comments are never quoted, and
// the reader cuts lines before it knows what they hold, so an apostrophe in
// an indented comment opens a quote and a backslash escapes the line feed
// behind it: either one swallows the lines that follow. A noOp is written as
// its comment alone, and with an empty one as an empty line, which the reader
// skips. A special of a collection type reads, but the writer refuses it.
// The round-trip checks of the fuzz targets skip such inputs.

#include <vector>

#include "qel/core/QelCore.h"

namespace qel::fuzz {

inline bool WritesBackWhole(qel::core::KeyPath const& path) {
    for (auto const& segment : path.GetSegments()) {
        qel::sys::TStringCore const& name = segment.GetSegment().GetValue();
        if (name.isEmpty())
            return false;
        qel::core::VtlToken token;
        if (qel::core::VtlScanner::TryScanSingleToken(name, token, false) &&
            token.GetType() == qel::core::VtlTokenType::Int &&
            qel::sys::TStringCore::number(token.GetInt()) != name)
            return false;
    }
    return true;
}

inline bool WritesBackWhole(std::vector<qel::core::TransformSpec> const& program) {
    using qel::core::IsPrimitiveStoreType;
    using qel::core::TransformSpec;
    bool whole = true;
    auto const key = [&whole](qel::core::KeyPath const& path) {
        whole = whole && WritesBackWhole(path);
    };
    // Inputs include the function's key arguments; its literals are checked
    // here.
    auto const transform = [&whole](TransformSpec const& spec) {
        bool const emptyNoOp =
            spec.GetOperatorType() == qel::core::OperatorType::NoOp &&
            (spec.GetComment().isEmpty() || !spec.GetInputs().empty() ||
             !spec.GetOutputs().empty() || spec.GetFunctionSpec() || spec.GetValue());
        whole = whole && !emptyNoOp &&
                !(spec.GetValue() && !IsPrimitiveStoreType(spec.GetValue()->GetStoreType()));
        if (auto const& function = spec.GetFunctionSpec()) {
            for (auto const& input : function->GetFunctionInputs())
                whole = whole &&
                        (input.IsKey() || IsPrimitiveStoreType(input.GetValue()->GetStoreType()));
        }
    };
    auto const indentedComment = [&whole](TransformSpec const& spec) {
        whole =
            whole && spec.GetComment().indexOf(u'\'') < 0 && spec.GetComment().indexOf(u'\\') < 0;
    };
    qel::core::Visitors::PreOrderVisit(transform, key, key, program, true);
    for (auto const& spec : program)
        qel::core::Visitors::PreOrderVisit(indentedComment, nullptr, nullptr,
                                           spec.GetChildTransforms(), true);
    return whole;
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
