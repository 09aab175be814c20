#include "qel/core/utility/Parser.h"

#include <cstdint>
#include <cstring>
#include <memory>

#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/TextUtil.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

// An optional sign token: +1 or -1.
long long TakeSign(VtlScanner& scanner) {
    if (scanner.NextIf(VtlTokenType::Minus))
        return -1;
    scanner.NextIf(VtlTokenType::Plus);
    return 1;
}

// A sign, then a real or an integer token.
bool TryParseReal(VtlScanner& scanner, double& result) {
    double const sign = static_cast<double>(TakeSign(scanner));
    VtlToken token;
    if (scanner.NextIf(VtlTokenType::Real, token)) {
        result = sign * token.GetReal();
        return true;
    }
    if (scanner.NextIf(VtlTokenType::Int, token)) {
        result = sign * static_cast<double>(token.GetInt());
        return true;
    }
    return false;
}

bool AtEnd(VtlScanner& scanner) {
    return scanner.Next().GetType() == VtlTokenType::End;
}

// The scanner reads hexadecimal and date texts only as quoted strings.
TStringCore Quoted(TStringCore const& text) {
    if (text.startsWith(u'\''))
        return text;
    TStringCore quoted(u'\'', 1);
    quoted.append(text);
    quoted.append(u'\'');
    return quoted;
}

}  // namespace

// ---------------------------------------------------------------------------
// Scanner layer

bool TryParseBool(VtlScanner& scanner, bool& result) {
    VtlToken token;
    if (!scanner.NextIf(VtlTokenType::Bool, token))
        return false;
    result = token.GetBool();
    return true;
}

bool ParseBool(VtlScanner& scanner) {
    bool result = false;
    if (!TryParseBool(scanner, result))
        QEL_VALIDATION_FAILED(QelError::CannotParseBool);
    return result;
}

bool TryParseInt64(VtlScanner& scanner, long long& result) {
    long long const sign = TakeSign(scanner);
    VtlToken token;
    if (!scanner.NextIf(VtlTokenType::Int, token))
        return false;
    result = sign * token.GetInt();  // an Int token is never negative
    return true;
}

long long ParseInt64(VtlScanner& scanner) {
    long long result = 0;
    if (!TryParseInt64(scanner, result))
        QEL_VALIDATION_FAILED(QelError::CannotParseInt64);
    return result;
}

bool TryParseInt32(VtlScanner& scanner, int& result) {
    long long wide = 0;
    if (!TryParseInt64(scanner, wide))
        return false;
    result = static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(wide)));
    return true;
}

int ParseInt32(VtlScanner& scanner) {
    int result = 0;
    if (!TryParseInt32(scanner, result))
        QEL_VALIDATION_FAILED(QelError::CannotParseInt32);
    return result;
}

bool TryParseInt32FromHex(VtlScanner& scanner, int& result, QelError& error) {
    VtlToken token;
    if (!scanner.NextIf(VtlTokenType::QuotedString, token)) {
        error = QelError::UnexpectedToken;
        return false;
    }
    TStringCore const& text = token.GetString();
    if (text.isEmpty()) {
        error = QelError::HexStringCannotBeEmpty;
        return false;
    }
    if (text.size() > 8) {
        error = QelError::HexStringMustBe8OrFewer;
        return false;
    }
    std::uint32_t value = 0;
    for (char16_t c : text.view()) {
        int digit = HexDigitValue(c);
        if (digit < 0) {
            error = QelError::HexStringContainsInvalidCharacter;
            return false;
        }
        value = (value << 4) | static_cast<std::uint32_t>(digit);
    }
    result = static_cast<int>(value);
    return true;
}

int ParseInt32FromHex(VtlScanner& scanner) {
    int result = 0;
    QelError error = QelError::NoError;
    if (!TryParseInt32FromHex(scanner, result, error))
        QEL_VALIDATION_FAILED(error);
    return result;
}

bool TryParseReal32(VtlScanner& scanner, float& result) {
    double wide = 0;
    if (!TryParseReal(scanner, wide))
        return false;
    result = static_cast<float>(wide);
    return true;
}

float ParseReal32(VtlScanner& scanner) {
    float result = 0;
    if (!TryParseReal32(scanner, result))
        QEL_VALIDATION_FAILED(QelError::CannotParseReal32);
    return result;
}

bool TryParseReal64(VtlScanner& scanner, double& result) {
    return TryParseReal(scanner, result);
}

double ParseReal64(VtlScanner& scanner) {
    double result = 0;
    if (!TryParseReal64(scanner, result))
        QEL_VALIDATION_FAILED(QelError::CannotParseReal64);
    return result;
}

bool TryParseDateTime(VtlScanner& scanner, QelDateTime& result) {
    VtlToken token;
    if (!scanner.NextIf(VtlTokenType::QuotedString, token))
        return false;
    TStringCore const& text = token.GetString();

    // The pieces are cut by position, separators searched left to right.
    int const dash1 = text.indexOf(u'-');
    int const dash2 = dash1 < 0 ? -1 : text.indexOf(u'-', dash1 + 1);
    if (dash2 < 0)
        return false;
    int const t = text.indexOf(u'T', dash2 + 1);
    TStringCore pieces[7];
    pieces[0] = text.mid(0, dash1);
    pieces[1] = text.mid(dash1 + 1, dash2 - dash1 - 1);
    if (t < 0) {
        pieces[2] = text.mid(dash2 + 1);
    } else {
        pieces[2] = text.mid(dash2 + 1, t - dash2 - 1);
        int const colon1 = text.indexOf(u':', t + 1);
        int const colon2 = colon1 < 0 ? -1 : text.indexOf(u':', colon1 + 1);
        if (colon2 < 0)
            return false;
        pieces[3] = text.mid(t + 1, colon1 - t - 1);
        pieces[4] = text.mid(colon1 + 1, colon2 - colon1 - 1);
        int const dot = text.indexOf(u'.', colon2 + 1);
        if (dot < 0) {
            pieces[5] = text.mid(colon2 + 1);
        } else {
            pieces[5] = text.mid(colon2 + 1, dot - colon2 - 1);
            pieces[6] = text.mid(dot + 1);
            if (pieces[6].size() != 4)
                return false;
        }
    }
    int fields[7] = {};
    int const count = t < 0 ? 3 : (pieces[6].isEmpty() ? 6 : 7);
    for (int i = 0; i < count; ++i) {
        if (!TryParseInt32FromString(pieces[i], fields[i]))
            return false;
    }
    result = QelDateTime(QelDateTimeParts(fields[0], fields[1], fields[2], fields[3], fields[4],
                                          fields[5], fields[6]));
    return true;
}

QelDateTime ParseDateTime(VtlScanner& scanner) {
    QelDateTime result;
    if (!TryParseDateTime(scanner, result))
        QEL_VALIDATION_FAILED(QelError::CannotParseDateTime);
    return result;
}

bool TryParseString(VtlScanner& scanner, TStringCore& result) {
    VtlToken token;
    if (!scanner.NextIfString(token))
        return false;
    result = token.GetString();
    return true;
}

TStringCore ParseString(VtlScanner& scanner) {
    TStringCore result;
    if (!TryParseString(scanner, result))
        QEL_VALIDATION_FAILED(QelError::CannotParseString);
    return result;
}

// ---------------------------------------------------------------------------
// String layer

namespace {

template <class T, class TryParse>
bool TryWhole(TStringCore const& text, T& result, TryParse&& tryParse) {
    VtlScanner scanner{TStringCore(text)};
    return tryParse(scanner, result) && AtEnd(scanner);
}

template <class Parse>
auto ParseFront(TStringCore const& text, Parse&& parse) {
    VtlScanner scanner{TStringCore(text)};
    return parse(scanner);
}

}  // namespace

bool TryParseBoolFromString(TStringCore const& text, bool& result) {
    return TryWhole(text, result, [](VtlScanner& s, bool& r) { return TryParseBool(s, r); });
}

bool ParseBoolFromString(TStringCore const& text) {
    bool result = false;
    if (!TryParseBoolFromString(text, result))
        throw QelRuntimeException(QelError::CannotParseBool);
    return result;
}

bool TryParseInt32FromString(TStringCore const& text, int& result) {
    return TryWhole(text, result, [](VtlScanner& s, int& r) { return TryParseInt32(s, r); });
}

int ParseInt32FromString(TStringCore const& text) {
    return ParseFront(text, [](VtlScanner& s) { return ParseInt32(s); });
}

bool TryParseInt64FromString(TStringCore const& text, long long& result) {
    return TryWhole(text, result, [](VtlScanner& s, long long& r) { return TryParseInt64(s, r); });
}

long long ParseInt64FromString(TStringCore const& text) {
    return ParseFront(text, [](VtlScanner& s) { return ParseInt64(s); });
}

bool TryParseSizeIntFromString(TStringCore const& text, unsigned int& result) {
    VtlScanner scanner{TStringCore(text)};
    VtlToken token;
    if (!scanner.NextIf(VtlTokenType::Int, token) || !AtEnd(scanner))
        return false;
    result = static_cast<unsigned int>(static_cast<std::uint64_t>(token.GetInt()));
    return true;
}

unsigned int ParseSizeIntFromString(TStringCore const& text) {
    unsigned int result = 0;
    if (!TryParseSizeIntFromString(text, result)) {
        throw QelRuntimeException(QelError::CannotParseInt32);
    }
    return result;
}

bool TryParseInt32FromHexString(TStringCore const& text, int& result, QelError& error) {
    VtlScanner scanner(Quoted(text));
    return TryParseInt32FromHex(scanner, result, error) && AtEnd(scanner);
}

int ParseInt32FromHexString(TStringCore const& text) {
    VtlScanner scanner(Quoted(text));
    return ParseInt32FromHex(scanner);
}

bool TryParseReal32FromString(TStringCore const& text, float& result) {
    return TryWhole(text, result, [](VtlScanner& s, float& r) { return TryParseReal32(s, r); });
}

float ParseReal32FromString(TStringCore const& text) {
    return ParseFront(text, [](VtlScanner& s) { return ParseReal32(s); });
}

bool TryParseReal64FromString(TStringCore const& text, double& result) {
    return TryWhole(text, result, [](VtlScanner& s, double& r) { return TryParseReal64(s, r); });
}

double ParseReal64FromString(TStringCore const& text) {
    return ParseFront(text, [](VtlScanner& s) { return ParseReal64(s); });
}

bool TryParseDateTimeFromString(TStringCore const& text, QelDateTime& result) {
    VtlScanner scanner(Quoted(text));
    return TryParseDateTime(scanner, result) && AtEnd(scanner);
}

QelDateTime ParseDateTimeFromString(TStringCore const& text) {
    VtlScanner scanner(Quoted(text));
    return ParseDateTime(scanner);
}

// ---------------------------------------------------------------------------
// StringParser

namespace {

template <class T, class TryFn>
T TryOrDefault(TStringCore const& text, bool& ok, TryFn&& tryParse) {
    T result{};
    ok = tryParse(text, result);
    return ok ? result : T{};
}

}  // namespace

bool StringParser<bool>::Parse(TStringCore const& text, Type const*) {
    return ParseBoolFromString(text);
}
bool StringParser<bool>::TryParse(TStringCore const& text, Type const*, bool& ok) {
    return TryOrDefault<bool>(text, ok, TryParseBoolFromString);
}

int StringParser<int>::Parse(TStringCore const& text, Type const*) {
    return ParseInt32FromString(text);
}
int StringParser<int>::TryParse(TStringCore const& text, Type const*, bool& ok) {
    return TryOrDefault<int>(text, ok, TryParseInt32FromString);
}

long long StringParser<long long>::Parse(TStringCore const& text, Type const*) {
    return ParseInt64FromString(text);
}
long long StringParser<long long>::TryParse(TStringCore const& text, Type const*, bool& ok) {
    return TryOrDefault<long long>(text, ok, TryParseInt64FromString);
}

float StringParser<float>::Parse(TStringCore const& text, Type const*) {
    return ParseReal32FromString(text);
}
float StringParser<float>::TryParse(TStringCore const& text, Type const*, bool& ok) {
    return TryOrDefault<float>(text, ok, TryParseReal32FromString);
}

double StringParser<double>::Parse(TStringCore const& text, Type const*) {
    return ParseReal64FromString(text);
}
double StringParser<double>::TryParse(TStringCore const& text, Type const*, bool& ok) {
    return TryOrDefault<double>(text, ok, TryParseReal64FromString);
}

QelColor StringParser<QelColor>::Parse(TStringCore const& text, Type const*) {
    return QelColor::FromInt32(ParseInt32FromHexString(text));
}
QelColor StringParser<QelColor>::TryParse(TStringCore const& text, Type const*, bool& ok) {
    int packed = 0;
    QelError error = QelError::NoError;
    ok = TryParseInt32FromHexString(text, packed, error);
    return ok ? QelColor::FromInt32(packed) : QelColor();
}

QelDateTime StringParser<QelDateTime>::Parse(TStringCore const& text, Type const*) {
    return ParseDateTimeFromString(text);
}
QelDateTime StringParser<QelDateTime>::TryParse(TStringCore const& text, Type const*, bool& ok) {
    QelDateTime result;
    ok = TryParseDateTimeFromString(text, result);
    return ok ? result : QelDateTime();
}

TStringCore StringParser<TStringCore>::Parse(TStringCore const& text, Type const*) {
    return text;
}
TStringCore StringParser<TStringCore>::TryParse(TStringCore const& text, Type const*, bool& ok) {
    ok = true;
    return text;
}

RIndirectString StringParser<RIndirectString>::Parse(TStringCore const& text, Type const*) {
    return RIndirectString(text);
}
RIndirectString StringParser<RIndirectString>::TryParse(TStringCore const& text, Type const*,
                                                        bool& ok) {
    ok = true;
    return RIndirectString(text);
}

// ---------------------------------------------------------------------------
// By storage type. Parse and TryParse share one body; `ok` is null for the
// throwing form.

namespace {

template <class T>
T ParseOrTry(TStringCore const& text, Type const* type, bool* ok) {
    if (ok == nullptr)
        return StringParser<T>::Parse(text, type);
    return StringParser<T>::TryParse(text, type, *ok);
}

template <class Bits, class T>
Bits BitsOf(T value) {
    static_assert(sizeof(Bits) == sizeof(T));
    Bits bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

unsigned char ParseBoolStorage(TStringCore const& text, Type const* type, bool* ok) {
    QEL_VALIDATE_NOT_NULL(type, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE(type->GetStoreType() == StoreType::Bool, QelError::ExpectedBoolButWas);
    return ParseOrTry<bool>(text, type, ok) ? 1 : 0;
}

unsigned int ParseWordStorage(TStringCore const& text, Type const* type, bool* ok) {
    QEL_VALIDATE_NOT_NULL(type, QelError::NullIsNotAValidArgument);
    switch (type->GetStoreType()) {
        case StoreType::Color:
            return static_cast<unsigned int>(ParseOrTry<QelColor>(text, type, ok).AsInt32());
        case StoreType::Real32:
            return BitsOf<unsigned int>(ParseOrTry<float>(text, type, ok));
        case StoreType::Int32:
            return static_cast<unsigned int>(ParseOrTry<int>(text, type, ok));
        default:
            QEL_VALIDATION_FAILED(QelError::TypeDoesntMatchExpectedType);
    }
}

unsigned long long ParseLongStorage(TStringCore const& text, Type const* type, bool* ok) {
    QEL_VALIDATE_NOT_NULL(type, QelError::NullIsNotAValidArgument);
    switch (type->GetStoreType()) {
        case StoreType::Date:
        case StoreType::DateTime:
            return ParseOrTry<QelDateTime>(text, type, ok).GetValue();
        case StoreType::Real64:
            return BitsOf<unsigned long long>(ParseOrTry<double>(text, type, ok));
        case StoreType::Int64:
            return static_cast<unsigned long long>(ParseOrTry<long long>(text, type, ok));
        default:
            QEL_VALIDATION_FAILED(QelError::TypeDoesntMatchExpectedType);
    }
}

void ValidateStringStorage(Type const* type) {
    QEL_VALIDATE_NOT_NULL(type, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE(type->GetStoreType() == StoreType::String, QelError::ExpectedStringButWas);
}

}  // namespace

template <>
unsigned char ParseStorageType<unsigned char>(TStringCore const& text, Type const* type) {
    return ParseBoolStorage(text, type, nullptr);
}
template <>
unsigned char TryParseStorageType<unsigned char>(TStringCore const& text, Type const* type,
                                                 bool& ok) {
    return ParseBoolStorage(text, type, &ok);
}

template <>
unsigned int ParseStorageType<unsigned int>(TStringCore const& text, Type const* type) {
    return ParseWordStorage(text, type, nullptr);
}
template <>
unsigned int TryParseStorageType<unsigned int>(TStringCore const& text, Type const* type,
                                               bool& ok) {
    return ParseWordStorage(text, type, &ok);
}

template <>
unsigned long long ParseStorageType<unsigned long long>(TStringCore const& text, Type const* type) {
    return ParseLongStorage(text, type, nullptr);
}
template <>
unsigned long long TryParseStorageType<unsigned long long>(TStringCore const& text,
                                                           Type const* type, bool& ok) {
    return ParseLongStorage(text, type, &ok);
}

template <>
TStringCore ParseStorageType<TStringCore>(TStringCore const& text, Type const* type) {
    ValidateStringStorage(type);
    return text;
}
template <>
TStringCore TryParseStorageType<TStringCore>(TStringCore const& text, Type const* type, bool& ok) {
    ValidateStringStorage(type);
    ok = true;
    return text;
}

template <>
RIndirectString ParseStorageType<RIndirectString>(TStringCore const& text, Type const* type) {
    ValidateStringStorage(type);
    return RIndirectString(text);
}
template <>
RIndirectString TryParseStorageType<RIndirectString>(TStringCore const& text, Type const* type,
                                                     bool& ok) {
    ValidateStringStorage(type);
    ok = true;
    return RIndirectString(text);
}

// Nested values have no literal text.
template <>
std::shared_ptr<StoreValue> ParseStorageType<std::shared_ptr<StoreValue>>(TStringCore const&,
                                                                          Type const*) {
    throw QelRuntimeException(QelError::NotImplemented);
}
template <>
std::shared_ptr<StoreValue> TryParseStorageType<std::shared_ptr<StoreValue>>(TStringCore const&,
                                                                             Type const*,
                                                                             bool& ok) {
    ok = false;
    return nullptr;
}

}  // namespace qel::core
