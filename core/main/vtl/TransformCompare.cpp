#include "qel/core/vtl/TransformCompare.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "qel/core/store/StoreValue.h"
#include "qel/core/types/StoreType.h"
#include "qel/core/vtl/FunctionSpec.h"
#include "qel/core/vtl/ValueSpec.h"

namespace qel::core {

namespace {

bool SameKeys(std::vector<KeyPath> const& a, std::vector<KeyPath> const& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](auto const& x, auto const& y) {
        return std::equal(x.GetSegments().begin(), x.GetSegments().end(), y.GetSegments().begin(),
                          y.GetSegments().end(),
                          [](auto const& s, auto const& t) { return s.TypeAwareEquals(t); });
    });
}

// IsEqual alone would not do: it reads base types only (a collation or a
// decimal format is lost), lets a NaN match any real and calls 0 and -0
// equal. It still decides numbers, as a Real32's text keeps only 8 digits.
// Strings are judged by their text alone: a collator may call two texts
// equal, or may not be installed for the value's locale at all. A value
// with no text (an external value, a collection built in memory) has no
// equality of its own either: only the same object counts as the same.
bool SameValue(StoreValue const* a, StoreValue const* b) {
    if (a == nullptr || b == nullptr)
        return a == b;
    if (a->GetType() != b->GetType() || a->GetSpecialKind() != b->GetSpecialKind())
        return false;
    StoreType const storeType = a->GetStoreType();
    if (!a->IsSpecial() && (!IsPrimitiveStoreType(storeType) || storeType == StoreType::External))
        return a == b;
    return FormatPrimitive(*a) == FormatPrimitive(*b) &&
           (storeType == StoreType::String || a->IsEqual(*b));
}

std::string FunctionDifference(FunctionSpec const* a, FunctionSpec const* b) {
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

std::string Difference(std::vector<TransformSpec> const& a, std::vector<TransformSpec> const& b,
                       std::string const& at) {
    if (a.size() != b.size()) {
        std::string text = at.empty() ? std::string("transforms ") : at + " children ";
        text += std::to_string(a.size());
        text += " vs ";
        text += std::to_string(b.size());
        return text;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        TransformSpec const& x = a[i];
        TransformSpec const& y = b[i];
        std::string here = at;
        here += '[';
        here += std::to_string(i);
        here += ']';
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
            return here + ' ' + field;
        std::string inner = Difference(x.GetChildTransforms(), y.GetChildTransforms(), here);
        if (!inner.empty())
            return inner;
    }
    return "";
}

}  // namespace

TStringCore FindTransformDifference(std::vector<TransformSpec> const& a,
                                    std::vector<TransformSpec> const& b) {
    return TStringCore::fromStdString(Difference(a, b, ""));
}

}  // namespace qel::core
