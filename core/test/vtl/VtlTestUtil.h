#pragma once

// Texts of keys, functions and refusals, so that each expectation of the
// transform tests is one readable line.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "core/test/Refusal.h"
#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/vtl/FunctionSpec.h"
#include "qel/core/vtl/TransformCompare.h"
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

// FindTransformDifference as a std::string, for EXPECT_EQ against "".
inline std::string TransformDifference(std::vector<TransformSpec> const& a,
                                       std::vector<TransformSpec> const& b) {
    return FindTransformDifference(a, b).toStdString();
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
