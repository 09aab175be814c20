#include "qel/core/serialize/VtlSerializer.h"

#include <optional>

#include "core/main/serialize/EdgeBlanks.h"
#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"
#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/RInternString.h"
#include "qel/core/types/StoreType.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/Validation.h"
#include "qel/core/vtl/ValueSpec.h"

namespace qel::core {

namespace {

bool IsIdentifier(TStringCore const& text) {
    VtlToken token;
    return VtlScanner::TryScanSingleToken(text, VtlTokenType::Identifier, token, true) &&
           !detail::HasEdgeBlank(text);
}

// The literal's type in the text form of a typed key segment with no name,
// which is what the reader expects behind a literal's second colon.
TStringCore SerializeAnonymousKey(StoreValue const& value) {
    return KeyPathSerializer::FromKeySegment(KeySegment(RInternString(), value.GetType()), true);
}

void AppendKey(TStringCore& out, KeyPath const& path, KeyPathSerializerCache* cache) {
    out += KeyPathSerializer::FromKeyPath(path, true, cache);
}

}  // namespace

TStringCore BuildPrimitiveValue(StoreValue const& value) {
    TStringCore text = FormatPrimitive(value);
    // A special's keyword reads back as the special whatever its type, so
    // it must stay bare even for strings.
    if (value.IsSpecial())
        return text;
    switch (value.GetStoreType()) {
        case StoreType::Date:
        case StoreType::DateTime:
        case StoreType::Color:
            // Their text holds separators that would split the token.
            return VtlScanner::Quote(text);
        case StoreType::String:
            // A keyword such as "true" is no identifier token, so it is
            // quoted and cannot come back as a Bool.
            return IsIdentifier(text) ? text : VtlScanner::Quote(text);
        default:
            return text;
    }
}

void BuildFunction(TStringCore& out, FunctionSpec const& function, KeyPathSerializerCache* cache) {
    TStringCore const& name = function.GetFunctionId().GetValue();
    out += IsIdentifier(name) ? name : VtlScanner::Quote(name);
    for (ValueSpec const& valuespec : function.GetFunctionInputs()) {
        out += u' ';
        if (valuespec.IsKey()) {
            AppendKey(out, valuespec.GetKeyPath(), cache);
            continue;
        }
        QEL_VALIDATE_SHOWN(IsPrimitiveStoreType(valuespec.GetValue()->GetStoreType()),
                           QelError::OperatorTypeMustBeAPrimitive);
        QEL_VALIDATE_NOT_SHOWN(valuespec.GetValue()->GetStoreType() == StoreType::External,
                               QelError::OperatorTypeMustNotBeExternal);
        // The reader cannot infer an argument's type from the function, so a
        // literal argument always carries it.
        out += u':';
        out += BuildPrimitiveValue(*valuespec.GetValue());
        out += u':';
        out += SerializeAnonymousKey(*valuespec.GetValue());
    }
}

void TransformToStringWithCache(TStringCore& out, int level, TransformSpec const& spec,
                                KeyPathSerializerCache* cache) {
    for (int i = 0; i < level; ++i)
        out.append(u"  ", 2);
    if (!spec.GetComment().isEmpty()) {
        out.append(u"//", 2);
        out += spec.GetComment();
    }
    OperatorType const op = spec.GetOperatorType();
    if (op != OperatorType::NoOp) {
        for (KeyPath const& input : spec.GetInputs()) {
            AppendKey(out, input, cache);
            out += u' ';
        }
        out.append(u"-> ", 3);
        out += OperatorTypeToString(op);
        if (spec.GetValue()) {
            QEL_VALIDATE_SHOWN(IsPrimitiveStoreType(spec.GetValue()->GetStoreType()),
                               QelError::OperatorTypeMustBeAPrimitive);
            QEL_VALIDATE_NOT_SHOWN(spec.GetValue()->GetStoreType() == StoreType::External,
                                   QelError::OperatorTypeMustNotBeExternal);
            out.append(u" :", 2);
            out += BuildPrimitiveValue(*spec.GetValue());
            // Operators with a fixed literal type let the reader supply it;
            // the others need it written.
            if (DoesOperatorTakeAnyStoreType(op)) {
                out += u':';
                out += SerializeAnonymousKey(*spec.GetValue());
            }
        }
        if (spec.GetFunctionSpec()) {
            out.append(u" (", 2);
            BuildFunction(out, *spec.GetFunctionSpec(), cache);
            out += u')';
        }
        out.append(u" ->", 3);
        for (KeyPath const& output : spec.GetOutputs()) {
            out += u' ';
            AppendKey(out, output, cache);
        }
    }
    // The caller ends the last line, so that a child list and a single
    // transform end alike.
    for (TransformSpec const& child : spec.GetChildTransforms()) {
        out += u'\n';
        TransformToStringWithCache(out, level + 1, child, cache);
    }
}

TStringCore TransformsToString(std::vector<TransformSpec> const& transforms, bool keepComments,
                               KeyPathSerializerCache* cache) {
    std::optional<KeyPathSerializerCache> local;
    if (cache == nullptr)
        cache = &local.emplace();
    TStringCore out;
    for (TransformSpec const& spec : transforms) {
        // Only the top level is filtered: a noOp among children still holds
        // its place in the nesting.
        if (!keepComments && spec.GetOperatorType() == OperatorType::NoOp)
            continue;
        TransformToStringWithCache(out, 0, spec, cache);
        out += u'\n';
    }
    return out;
}

TStringCore TransformsToPayloadString(std::vector<TransformSpec> const& transforms,
                                      KeyPathSerializerCache* cache) {
    return TransformsToString(transforms, false, cache);
}

void TransformToString(TStringCore& out, int level, TransformSpec const& spec) {
    TransformToStringWithCache(out, level, spec, nullptr);
}

void TransformToString(TStringCore& out, TransformSpec const& spec) {
    TransformToStringWithCache(out, 0, spec, nullptr);
}

TStringCore TransformToString(TransformSpec const& spec) {
    TStringCore out;
    TransformToStringWithCache(out, 0, spec, nullptr);
    return out;
}

TStringCore FunctionToString(FunctionSpec const& function) {
    TStringCore out;
    BuildFunction(out, function, nullptr);
    return out;
}

}  // namespace qel::core
