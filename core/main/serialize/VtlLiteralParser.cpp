#include "qel/core/serialize/VtlLiteralParser.h"

#include "qel/core/store/Factory.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

std::shared_ptr<StoreValue> ParseVtlLiteral(Type const* type, VtlScanner& scanner) {
    QEL_VALIDATE_NOT_NULL(type, QelError::NullIsNotAValidArgument);
    VtlToken special;
    if (scanner.NextIf(VtlTokenType::Special, special)) {
        return factory::MakeSpecial(type, special.GetSpecial());
    }
    switch (type->GetStoreType()) {
        case StoreType::Bool:
            return factory::MakeBool(ParseBool(scanner));
        case StoreType::Int32:
            return factory::MakeInt32(ParseInt32(scanner));
        case StoreType::Int64:
            return factory::MakeInt64(ParseInt64(scanner));
        case StoreType::Real32:
            // A literal carries no decimal format; the type's is not applied.
            return factory::MakeReal32(ParseReal32(scanner));
        case StoreType::Real64:
            return factory::MakeReal64(ParseReal64(scanner));
        case StoreType::String: {
            TStringCore text = ParseString(scanner);
            return factory::MakeString(text, type->As<StringType>()->GetCollation());
        }
        case StoreType::Date:
            return factory::MakeDate(ParseDateTime(scanner));
        case StoreType::DateTime:
            return factory::MakeDateTime(ParseDateTime(scanner));
        case StoreType::Color:
            return factory::MakeColor(ParseInt32FromHex(scanner));
        default:
            QEL_VALIDATION_FAILED(QelError::CannotMakeStoreValueForGivenKey);
    }
}

std::shared_ptr<StoreValue> ParsePrimitive(Type const* type, TStringCore const& text) {
    QEL_VALIDATE_NOT_NULL(type, QelError::NullIsNotAValidArgument);
    VtlScanner scanner{TStringCore(text)};
    std::shared_ptr<StoreValue> value = ParseVtlLiteral(type, scanner);
    // A refused literal is the caller's bad text, not a broken invariant:
    // it carries its source but logs no report.
    if (scanner.Next().GetType() != VtlTokenType::End) {
        QEL_THROW_WITH_SOURCE(QelError::UnexpectedToken, text);
    }
    return value;
}

}  // namespace qel::core
