#pragma once

// Literal text to unboxed values, read through VtlScanner so that a text
// means here what it means in VTL:
//   bool      the keywords true and false
//   integer   an optional + or -, then an integer token; cut to the target's
//             width with no range check
//   real      an optional sign, then a real or integer token
//   string    an identifier or a quoted string
//   date-time a quoted 'yyyy-mm-dd' with an optional 'Thh:mm:ss' and an
//             optional '.ffff' of exactly four digits
//   colour    a quoted string of 1 to 8 hexadecimal digits
//
// Try... returns false and consumes nothing of the value token when the next
// token does not fit (a sign it already took stays taken); Parse... fails
// "cannot parse ..." instead. The ...FromString forms read a whole text: the
// Try forms require it to end after the value, while ParseInt32FromString and
// its numeric and date siblings ignore what follows a good value.

#include <memory>

#include "qel/core/utility/QelColor.h"
#include "qel/core/utility/QelDateTime.h"
#include "qel/core/utility/QelError.h"

namespace qel::core {

// The readers and values these functions speak of live in the areas above
// this one; a caller includes them (serialize/VtlScanner.h, types/Type.h).
class RIndirectString;
class StoreValue;
class Type;
class VtlScanner;

bool TryParseBool(VtlScanner& scanner, bool& result);
bool ParseBool(VtlScanner& scanner);
bool TryParseInt32(VtlScanner& scanner, int& result);
int ParseInt32(VtlScanner& scanner);
bool TryParseInt64(VtlScanner& scanner, long long& result);
long long ParseInt64(VtlScanner& scanner);
// On failure `error` says why: unexpected token, or an empty, too long or
// non-hexadecimal text. Eight digits may give a negative number.
bool TryParseInt32FromHex(VtlScanner& scanner, int& result, QelError& error);
int ParseInt32FromHex(VtlScanner& scanner);
bool TryParseReal32(VtlScanner& scanner, float& result);
float ParseReal32(VtlScanner& scanner);
bool TryParseReal64(VtlScanner& scanner, double& result);
double ParseReal64(VtlScanner& scanner);
// A well-formed text whose fields are out of range or name no day throws the
// date's own failure ("month out of range", "invalid date/time"), also here.
bool TryParseDateTime(VtlScanner& scanner, QelDateTime& result);
QelDateTime ParseDateTime(VtlScanner& scanner);
bool TryParseString(VtlScanner& scanner, TStringCore& result);
TStringCore ParseString(VtlScanner& scanner);

bool TryParseBoolFromString(TStringCore const& text, bool& result);
bool ParseBoolFromString(TStringCore const& text);
bool TryParseInt32FromString(TStringCore const& text, int& result);
int ParseInt32FromString(TStringCore const& text);
bool TryParseInt64FromString(TStringCore const& text, long long& result);
long long ParseInt64FromString(TStringCore const& text);
// One unsigned integer token, cut to 32 bits.
bool TryParseSizeIntFromString(TStringCore const& text, unsigned int& result);
unsigned int ParseSizeIntFromString(TStringCore const& text);
// The hexadecimal and date forms accept the text with or without its quotes.
bool TryParseInt32FromHexString(TStringCore const& text, int& result, QelError& error);
int ParseInt32FromHexString(TStringCore const& text);
bool TryParseReal32FromString(TStringCore const& text, float& result);
float ParseReal32FromString(TStringCore const& text);
bool TryParseReal64FromString(TStringCore const& text, double& result);
double ParseReal64FromString(TStringCore const& text);
bool TryParseDateTimeFromString(TStringCore const& text, QelDateTime& result);
QelDateTime ParseDateTimeFromString(TStringCore const& text);

// Text to a value of T; the type argument is there for the callers that
// dispatch by storage type and is not used. TryParse gives a default value
// and ok == false on failure.
template <class T>
struct StringParser;

#define QEL_DECLARE_STRING_PARSER(T)                                            \
    template <>                                                                 \
    struct StringParser<T> {                                                    \
        static T Parse(TStringCore const& text, Type const* type);              \
        static T TryParse(TStringCore const& text, Type const* type, bool& ok); \
    };
QEL_DECLARE_STRING_PARSER(bool)
QEL_DECLARE_STRING_PARSER(int)
QEL_DECLARE_STRING_PARSER(long long)
QEL_DECLARE_STRING_PARSER(float)
QEL_DECLARE_STRING_PARSER(double)
QEL_DECLARE_STRING_PARSER(QelColor)
QEL_DECLARE_STRING_PARSER(QelDateTime)
QEL_DECLARE_STRING_PARSER(TStringCore)
QEL_DECLARE_STRING_PARSER(RIndirectString)
#undef QEL_DECLARE_STRING_PARSER

// Text to the bits of storage type S, the type saying what they mean:
// unsigned int holds Int32, Real32 (the float's bits) or Color; unsigned long
// long holds Int64, Real64 (the double's bits), Date or DateTime. A type that
// S cannot hold fails.
template <class S>
S ParseStorageType(TStringCore const& text, Type const* type);
template <class S>
S TryParseStorageType(TStringCore const& text, Type const* type, bool& ok);

#define QEL_DECLARE_STORAGE_PARSER(S)                                 \
    template <>                                                       \
    S ParseStorageType<S>(TStringCore const& text, Type const* type); \
    template <>                                                       \
    S TryParseStorageType<S>(TStringCore const& text, Type const* type, bool& ok);
QEL_DECLARE_STORAGE_PARSER(unsigned char)
QEL_DECLARE_STORAGE_PARSER(unsigned int)
QEL_DECLARE_STORAGE_PARSER(unsigned long long)
QEL_DECLARE_STORAGE_PARSER(TStringCore)
QEL_DECLARE_STORAGE_PARSER(RIndirectString)
// Nested values have no literal text: Parse throws "not implemented", and
// TryParse gives null with ok == false.
QEL_DECLARE_STORAGE_PARSER(std::shared_ptr<StoreValue>)
#undef QEL_DECLARE_STORAGE_PARSER

}  // namespace qel::core
