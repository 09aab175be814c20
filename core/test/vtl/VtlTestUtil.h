#pragma once

// Texts of keys, functions and refusals, so that each expectation of the
// transform tests is one readable line; and a field-by-field comparison of
// transform trees for the round trips.

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "core/test/Refusal.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/vtl/FunctionSpec.h"
#include "qel/core/vtl/KeyPathSerializer.h"
#include "qel/core/vtl/TransformSpec.h"

namespace qel::core::test {

inline KeyPath P(char16_t const* text) {
    return KeyPath::ParseString(TStringCore(text));
}

// The paths with their types, blank-separated; an empty path is "<empty>".
inline std::string Keys(std::vector<KeyPath> const& paths) {
    // Appended piece by piece: g++ 12 at -O3 misreads `"x" + string`.
    std::string text;
    for (auto const& path : paths) {
        if (!text.empty())
            text += ' ';
        text += path.IsEmpty() ? std::string("<empty>")
                               : KeyPathSerializer::FromKeyPath(path, true, nullptr).toStdString();
    }
    return text;
}

// "f(k:a v:1)": the name, then each argument, a key or a value's text; "-"
// for no function.
inline std::string Call(FunctionSpec const* function) {
    if (function == nullptr)
        return "-";
    std::string text = function->GetFunctionId().GetValue().toStdString() + "(";
    for (auto const& input : function->GetFunctionInputs()) {
        if (text.back() != '(')
            text += ' ';
        text += input.IsKey() ? "k:" : "v:";
        text += input.IsKey() ? Keys({input.GetKeyPath()})
                              : FormatPrimitive(*input.GetValue()).toStdString();
    }
    text += ')';
    return text;
}

// Names and types of every segment: KeyPath's own equality reads names only.
inline bool SameKeys(std::vector<KeyPath> const& a, std::vector<KeyPath> const& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](auto const& x, auto const& y) {
        return std::equal(x.GetSegments().begin(), x.GetSegments().end(), y.GetSegments().begin(),
                          y.GetSegments().end(),
                          [](auto const& s, auto const& t) { return s.TypeAwareEquals(t); });
    });
}

// Same type, special kind and text; IsEqual alone would not do, since it
// reads base types only (collation and decimal format are lost), lets a NaN
// match any real and calls 0 and -0 equal. IsEqual still decides numbers, as
// a Real32's text keeps only 8 digits. Strings are judged by their text: a
// collator may call two texts equal, and the pool may know only the default.
inline bool SameValue(StoreValue const* a, StoreValue const* b) {
    if (a == nullptr || b == nullptr)
        return a == b;
    return a->GetType() == b->GetType() && a->GetSpecialKind() == b->GetSpecialKind() &&
           FormatPrimitive(*a) == FormatPrimitive(*b) &&
           (a->GetStoreType() == StoreType::String || a->IsEqual(*b));
}

// The first differing part of two functions, "" when they agree.
inline std::string FunctionDifference(FunctionSpec const* a, FunctionSpec const* b) {
    if (a == nullptr || b == nullptr)
        return a == b ? "" : "function";
    if (a->GetFunctionId() != b->GetFunctionId())
        return "function id";
    auto const& x = a->GetFunctionInputs();
    auto const& y = b->GetFunctionInputs();
    if (x.size() != y.size())
        return "function argument count";
    for (std::size_t i = 0; i < x.size(); ++i) {
        bool const same =
            x[i].IsKey() ? y[i].IsKey() && SameKeys({x[i].GetKeyPath()}, {y[i].GetKeyPath()})
                         : !y[i].IsKey() && SameValue(x[i].GetValue().get(), y[i].GetValue().get());
        if (!same)
            return "function argument " + std::to_string(i);
    }
    return "";
}

// Two transform lists compared field by field, children recursively. "" when
// equal, else where and what: "[2][0] value" is the value of the first child
// of the third transform. TransformSpec has no operator== of its own.
inline std::string TransformDifference(std::vector<TransformSpec> const& a,
                                       std::vector<TransformSpec> const& b,
                                       std::string const& at = "") {
    if (a.size() != b.size())
        return (at.empty() ? "transforms " : at + " children ") + std::to_string(a.size()) +
               " vs " + std::to_string(b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        TransformSpec const& x = a[i];
        TransformSpec const& y = b[i];
        std::string const here = at + "[" + std::to_string(i) + "]";
        std::string field;
        if (x.GetOperatorType() != y.GetOperatorType())
            field = "operator";
        else if (!SameKeys(x.GetInputs(), y.GetInputs()))
            field = "inputs";
        else if (!SameKeys(x.GetOutputs(), y.GetOutputs()))
            field = "outputs";
        else if (!SameValue(x.GetValue().get(), y.GetValue().get()))
            field = "value";
        else if (x.GetComment() != y.GetComment())
            field = "comment";
        else
            field = FunctionDifference(x.GetFunctionSpec().get(), y.GetFunctionSpec().get());
        if (!field.empty())
            return here + " " + field;
        std::string inner =
            TransformDifference(x.GetChildTransforms(), y.GetChildTransforms(), here);
        if (!inner.empty())
            return inner;
    }
    return "";
}

// "<what()> | <condition> @ <source without line>", with "logic: " in front
// of a QelLogicException.
template <class F>
std::string Refused(F&& call) {
    std::string source;
    bool logic = false;
    auto refusal = Refusal([&] {
        try {
            call();
        } catch (QelException const& e) {
            source = e.GetContext().toStdString();
            source.resize(source.rfind(':'));
            logic = dynamic_cast<QelLogicException const*>(&e) != nullptr;
            throw;
        }
    });
    return (logic ? "logic: " : "") + refusal + " @ " + source;
}

// The VTL texts of the shared corpus (core/test/serialize/corpus/vtl/*.vtl),
// by file name, so that reader and writer tests walk the same texts.
inline std::map<std::string, std::string> VtlCorpus() {
    std::map<std::string, std::string> texts;
    auto const dir = std::filesystem::path(QEL_TEST_CORPUS_DIR) / "vtl";
    for (auto const& entry : std::filesystem::directory_iterator(dir)) {
        if (entry.path().extension() != ".vtl")
            continue;
        std::ifstream in(entry.path(), std::ios::binary);
        texts[entry.path().filename().string()] =
            std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return texts;
}

}  // namespace qel::core::test
