#include "qel/core/serialize/KeyPathParser.h"

#include <stdexcept>

#include "core/main/serialize/KeyPathGrammar.h"
#include "qel/core/store/Collation.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace recursive_descent {

namespace {

constexpr QelError kOk = QelError::NoError;

// Counts the types being read on this thread. Every nesting goes through
// TryParseType, so one guard there bounds the recursion of the whole grammar.
class NestingGuard {
public:
    NestingGuard() { ++s_depth; }
    ~NestingGuard() { --s_depth; }
    NestingGuard(NestingGuard const&) = delete;
    NestingGuard& operator=(NestingGuard const&) = delete;
    bool TooDeep() const { return s_depth > kMaxTypeNesting; }

private:
    static thread_local int s_depth;
};

thread_local int NestingGuard::s_depth = 0;

// The store type of a letter. The letters are StoreTypeToChar's; an unknown
// one is refused here rather than by StoreTypeFromChar, so that the refusal
// names this reader as its source like every other.
StoreType LetterToStoreType(char16_t letter) {
    for (unsigned i = 0; i < kStoreTypeCount; ++i) {
        auto const type = static_cast<StoreType>(i);
        if (StoreTypeToChar(type) == letter)
            return type;
    }
    QEL_VALIDATION_FAILED(QelError::UnknownTypeName);
}

// The letter of a type through `restorer`, which keeps it for a later undo.
QelError TakeStoreType(TokenRestorer& restorer, StoreType& type) {
    VtlToken token;
    if (!restorer.NextIf(VtlTokenType::Identifier, token))
        return QelError::UnexpectedToken;
    if (token.GetString().size() != 1)
        return QelError::InvalidStoreType;
    type = LetterToStoreType(token.GetString()[0]);
    return kOk;
}

// A name token's text; an integer names itself in decimal.
TStringCore NameText(VtlToken const& token) {
    if (token.GetType() == VtlTokenType::Int)
        return TStringCore::number(token.GetInt());
    return token.GetString();
}

bool TakeName(TokenRestorer& restorer, VtlToken& token) {
    return restorer.NextIf(VtlTokenType::Identifier, token) ||
           restorer.NextIf(VtlTokenType::QuotedString, token) ||
           restorer.NextIf(VtlTokenType::Int, token);
}

// Precision and scale are bytes; the writer puts the unset value -1 as 255.
bool TakeByte(TokenRestorer& restorer, signed char& value) {
    VtlToken token;
    if (!restorer.NextIf(VtlTokenType::Int, token) || token.GetInt() > 255)
        return false;
    value = static_cast<signed char>(static_cast<unsigned char>(token.GetInt()));
    return true;
}

// "<" type ">" behind the letter of an array or a set.
QelError TakeElement(VtlScanner& scanner, TokenRestorer& restorer, Type const*& element) {
    if (!restorer.NextIf(VtlTokenType::LessThan))
        return QelError::UnexpectedToken;
    if (QelError error = TryParseType(scanner, element, &restorer); error != kOk)
        return error;
    return restorer.NextIf(VtlTokenType::GreaterThan) ? kOk : QelError::UnexpectedToken;
}

// Runs one of the compound parsers and widens its result to Type.
template <class T, class Parse>
QelError Compound(Parse parse, VtlScanner& scanner, TokenRestorer& restorer, Type const*& type) {
    T const* result = nullptr;
    QelError error = parse(scanner, result, &restorer);
    if (error == kOk)
        type = result;
    return error;
}

}  // namespace

// ---------------------------------------------------------------------------
// Key paths

bool PeekKeyPath(VtlScanner& scanner) {
    VtlTokenType const next = scanner.Peek().GetType();
    return next == VtlTokenType::Int || next == VtlTokenType::Identifier ||
           next == VtlTokenType::QuotedString;
}

KeySegment ParseKeySegment(VtlScanner& scanner, TStringCore const& message) {
    VtlToken const& token = scanner.Next();
    bool const isName = token.GetType() == VtlTokenType::Identifier ||
                        token.GetType() == VtlTokenType::QuotedString ||
                        token.GetType() == VtlTokenType::Int;
    QEL_VALIDATE(isName, QelError::UnexpectedToken, message);
    RInternString name(NameText(token));
    Type const* type = nullptr;
    if (scanner.NextIf(VtlTokenType::Colon) && TryParseType(scanner, type) != kOk) {
        // Not a type after all: the colon is the caller's to meet.
        type = nullptr;
        scanner.Push(VtlToken(VtlToken::Colon));
    }
    return KeySegment(name, type);
}

KeyPath ParseKeyPath(VtlScanner& scanner, TStringCore const& message) {
    KeySegmentVector segments;
    segments.push_back(ParseKeySegment(scanner, message));
    while (scanner.NextIf(VtlTokenType::Slash))
        segments.push_back(ParseKeySegment(scanner, message));
    return KeyPath(std::move(segments));
}

std::vector<KeyPath> ParseKeyPathList(VtlScanner& scanner, TStringCore const& message) {
    std::vector<KeyPath> paths;
    while (PeekKeyPath(scanner))
        paths.push_back(ParseKeyPath(scanner, message));
    return paths;
}

// ---------------------------------------------------------------------------
// Types

Type const* ParseType(VtlScanner& scanner, TStringCore const& message) {
    Type const* type = nullptr;
    QelError const error = TryParseType(scanner, type);
    QEL_VALIDATE(error == QelError::NoError, error, message);
    return type;
}

QelError TryParseStoreType(VtlScanner& scanner, StoreType& type, TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    QelError const error = TakeStoreType(restorer, type);
    if (error == kOk)
        restorer.Commit();
    return error;
}

QelError TryParseType(VtlScanner& scanner, Type const*& type, TokenRestorer* enclosing) {
    NestingGuard nesting;
    if (nesting.TooDeep())
        return QelError::UnexpectedToken;
    TokenRestorer restorer(scanner, enclosing);
    StoreType storeType = StoreType::Bool;
    if (QelError error = TakeStoreType(restorer, storeType); error != kOk)
        return error;
    QelError error = kOk;
    switch (storeType) {
        case StoreType::Bool:
            type = BoolType::Get();
            break;
        case StoreType::Int32:
            type = IntType::Get32();
            break;
        case StoreType::Int64:
            type = IntType::Get64();
            break;
        case StoreType::Date:
            type = DateType::Get();
            break;
        case StoreType::DateTime:
            type = DateTimeType::Get();
            break;
        case StoreType::Color:
            type = ColorType::Get();
            break;
        case StoreType::Real32:
        case StoreType::Real64: {
            RealType const* real = nullptr;
            error = TryParseRealType(storeType, scanner, real, &restorer);
            if (error == kOk)
                type = real;
            break;
        }
        case StoreType::String:
            error = Compound<StringType>(TryParseStringType, scanner, restorer, type);
            break;
        case StoreType::Tuple:
            error = Compound<TupleType>(TryParseTupleType, scanner, restorer, type);
            break;
        case StoreType::External:
            error = Compound<ExternalType>(TryParseExternalType, scanner, restorer, type);
            break;
        case StoreType::Array:
            error = Compound<ArrayType>(TryParseArrayType, scanner, restorer, type);
            break;
        case StoreType::Set:
            error = Compound<SetType>(TryParseSetType, scanner, restorer, type);
            break;
        case StoreType::KeySet:
            error = Compound<KeySetType>(TryParseKeySetType, scanner, restorer, type);
            break;
        case StoreType::KeyMap:
            error = Compound<KeyMapType>(TryParseKeyMapType, scanner, restorer, type);
            break;
        case StoreType::Table:
            error = Compound<TableType>(TryParseTableType, scanner, restorer, type);
            break;
    }
    if (error == kOk)
        restorer.Commit();
    return error;
}

QelError TryParseRealType(StoreType storeType, VtlScanner& scanner, RealType const*& type,
                          TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    signed char precision = RealType::DefaultPrecision;
    signed char scale = RealType::DefaultScale;
    if (restorer.NextIf(VtlTokenType::LessThan)) {
        // Once "<" is there, precision and scale must both follow.
        if (!TakeByte(restorer, precision) || !restorer.NextIf(VtlTokenType::Comma) ||
            !TakeByte(restorer, scale) || !restorer.NextIf(VtlTokenType::GreaterThan))
            return QelError::UnexpectedToken;
    }
    type = storeType == StoreType::Real32 ? RealType::Get32(precision, scale)
                                          : RealType::Get64(precision, scale);
    restorer.Commit();
    return kOk;
}

QelError TryParseStringType(VtlScanner& scanner, StringType const*& type,
                            TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    if (!restorer.NextIf(VtlTokenType::LessThan)) {
        type = StringType::Get();
        restorer.Commit();
        return kOk;
    }
    VtlToken locale;
    if (!restorer.NextIf(VtlTokenType::Identifier, locale) ||
        !restorer.NextIf(VtlTokenType::GreaterThan))
        return QelError::UnexpectedToken;
    type = StringType::Get(Collation(RInternString(locale.GetString())));
    restorer.Commit();
    return kOk;
}

QelError TryParseTupleType(VtlScanner& scanner, TupleType const*& type, TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    std::vector<Type const*> members;
    if (restorer.NextIf(VtlTokenType::OpenCurlyBrace)) {
        if (QelError error = TryParseAnonymousTypeList(scanner, members, &restorer); error != kOk)
            return error;
        if (!restorer.NextIf(VtlTokenType::CloseCurlyBrace))
            return QelError::UnexpectedToken;
    }
    type = TupleType::Get(std::move(members));
    restorer.Commit();
    return kOk;
}

QelError TryParseExternalType(VtlScanner& scanner, ExternalType const*& type,
                              TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    VtlToken name;
    if (!restorer.NextIf(VtlTokenType::LessThan) ||
        !restorer.NextIf(VtlTokenType::Identifier, name) ||
        !restorer.NextIf(VtlTokenType::GreaterThan))
        return QelError::UnexpectedToken;
    // The registry answers an unknown name with std::out_of_range; text is
    // the caller's input, so it gets the catalogue's refusal instead.
    unsigned short id = 0;
    try {
        id = GetExternalTypeId(name.GetString());
    } catch (std::out_of_range const&) {
        QEL_VALIDATION_FAILED(QelError::UnknownTypeName, name.GetString());
    }
    type = ExternalType::Get(id);
    restorer.Commit();
    return kOk;
}

QelError TryParseArrayType(VtlScanner& scanner, ArrayType const*& type, TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    Type const* element = nullptr;
    if (QelError error = TakeElement(scanner, restorer, element); error != kOk)
        return error;
    type = ArrayType::Get(element);
    restorer.Commit();
    return kOk;
}

QelError TryParseSetType(VtlScanner& scanner, SetType const*& type, TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    Type const* element = nullptr;
    if (QelError error = TakeElement(scanner, restorer, element); error != kOk)
        return error;
    type = SetType::Get(element);
    restorer.Commit();
    return kOk;
}

QelError TryParseKeySetType(VtlScanner& scanner, KeySetType const*& type,
                            TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    Type const* key = nullptr;
    Type const* element = nullptr;
    if (!restorer.NextIf(VtlTokenType::LessThan))
        return QelError::UnexpectedToken;
    if (QelError error = TryParseType(scanner, key, &restorer); error != kOk)
        return error;
    if (!restorer.NextIf(VtlTokenType::Comma))
        return QelError::UnexpectedToken;
    if (QelError error = TryParseType(scanner, element, &restorer); error != kOk)
        return error;
    if (!restorer.NextIf(VtlTokenType::GreaterThan))
        return QelError::UnexpectedToken;
    type = KeySetType::Get(key, element);
    restorer.Commit();
    return kOk;
}

namespace {

// "{" named type list "}", or nothing: no members.
QelError TakeMembers(VtlScanner& scanner, TokenRestorer& restorer,
                     std::vector<NamedHeterogeneousType::Member>& members) {
    if (!restorer.NextIf(VtlTokenType::OpenCurlyBrace))
        return kOk;
    if (QelError error = TryParseNamedTypeList(scanner, members, &restorer); error != kOk)
        return error;
    return restorer.NextIf(VtlTokenType::CloseCurlyBrace) ? kOk : QelError::UnexpectedToken;
}

}  // namespace

QelError TryParseKeyMapType(VtlScanner& scanner, KeyMapType const*& type,
                            TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    std::vector<NamedHeterogeneousType::Member> members;
    if (QelError error = TakeMembers(scanner, restorer, members); error != kOk)
        return error;
    type = KeyMapType::Get(std::move(members));
    restorer.Commit();
    return kOk;
}

QelError TryParseTableType(VtlScanner& scanner, TableType const*& type, TokenRestorer* enclosing) {
    TokenRestorer restorer(scanner, enclosing);
    std::vector<NamedHeterogeneousType::Member> members;
    if (QelError error = TakeMembers(scanner, restorer, members); error != kOk)
        return error;
    type = TableType::Get(std::move(members));
    restorer.Commit();
    return kOk;
}

QelError TryParseNamedTypeList(VtlScanner& scanner,
                               std::vector<NamedHeterogeneousType::Member>& members,
                               TokenRestorer* enclosing) {
    members.clear();
    VtlTokenType const next = scanner.Peek().GetType();
    if (next != VtlTokenType::Identifier && next != VtlTokenType::QuotedString &&
        next != VtlTokenType::Int)
        return kOk;
    TokenRestorer restorer(scanner, enclosing);
    std::vector<NamedHeterogeneousType::Member> read;
    do {
        VtlToken name;
        Type const* type = nullptr;
        if (!TakeName(restorer, name) || !restorer.NextIf(VtlTokenType::Colon))
            return QelError::UnexpectedToken;
        if (QelError error = TryParseType(scanner, type, &restorer); error != kOk)
            return error;
        read.emplace_back(RInternString(NameText(name)), type);
    } while (restorer.NextIf(VtlTokenType::Comma));
    members = std::move(read);
    restorer.Commit();
    return kOk;
}

QelError TryParseAnonymousTypeList(VtlScanner& scanner, std::vector<Type const*>& types,
                                   TokenRestorer* enclosing) {
    types.clear();
    if (!scanner.PeekString())
        return kOk;
    TokenRestorer restorer(scanner, enclosing);
    std::vector<Type const*> read;
    do {
        Type const* type = nullptr;
        if (QelError error = TryParseType(scanner, type, &restorer); error != kOk)
            return error;
        read.push_back(type);
    } while (restorer.NextIf(VtlTokenType::Comma));
    types = std::move(read);
    restorer.Commit();
    return kOk;
}

}  // namespace recursive_descent

// ---------------------------------------------------------------------------
// The public face

namespace {

// The Make... forms read the whole text; what is left is refused with the
// text itself as details.
void ExpectEnd(VtlScanner& scanner, TStringCore const& text) {
    QEL_VALIDATE(scanner.Next() == VtlToken::End, QelError::UnexpectedToken, text);
}

}  // namespace

KeyPath KeyPathParser::MakeKeyPath(TStringCore const& text) {
    VtlScanner scanner{TStringCore(text)};
    KeyPath path = recursive_descent::ParseKeyPath(scanner, text);
    ExpectEnd(scanner, text);
    return path;
}

std::vector<KeyPath> KeyPathParser::MakeKeyPathList(TStringCore const& text) {
    VtlScanner scanner{TStringCore(text)};
    std::vector<KeyPath> paths = recursive_descent::ParseKeyPathList(scanner, text);
    ExpectEnd(scanner, text);
    return paths;
}

KeySegment KeyPathParser::MakeSegment(TStringCore const& text) {
    VtlScanner scanner{TStringCore(text)};
    KeySegment segment = recursive_descent::ParseKeySegment(scanner, text);
    ExpectEnd(scanner, text);
    return segment;
}

Type const* KeyPathParser::MakeType(TStringCore const& text) {
    VtlScanner scanner{TStringCore(text)};
    Type const* type = recursive_descent::ParseType(scanner, text);
    ExpectEnd(scanner, text);
    return type;
}

KeyPath KeyPathParser::ParseKeyPath(VtlScanner& scanner, TStringCore const& message) {
    return recursive_descent::ParseKeyPath(scanner, message);
}

std::vector<KeyPath> KeyPathParser::ParseKeyPathList(VtlScanner& scanner,
                                                     TStringCore const& message) {
    return recursive_descent::ParseKeyPathList(scanner, message);
}

Type const* KeyPathParser::ParseType(VtlScanner& scanner, TStringCore const& message) {
    return recursive_descent::ParseType(scanner, message);
}

}  // namespace qel::core
