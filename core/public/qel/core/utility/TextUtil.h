#pragma once

// Quoting, escaping and splitting of key text, and hexadecimal bytes.
//
// A key text is quoted with single quotes when it holds one of the strings
// that the key path text form treats as special (KeyChars::SpecialChars);
// inside quotes a backslash makes the next unit literal. EscapeString and
// UnescapeString are the two directions of that form; UnquoteString removes
// quotes that are not needed. TokenizeString splits at a separator outside
// quotes and leaves quotes and backslashes in the tokens.
//
// All functions are reentrant. Failures are validations that throw
// QelRuntimeException.

#include <array>
#include <string_view>
#include <vector>

#include "qel/core/utility/Base.h"

namespace qel::core {

struct KeyChars {
    // The strings that make a key text need quotes, in this order. A constant
    // table, so that it is ready before any static initialiser may use it.
    static constexpr std::array<std::u16string_view, 11> SpecialChars = {
        u":", u"/", u"\\", u"{", u"'", u" ", u"(", u")", u"->", u"\"", u","};
    static constexpr char16_t EncloseChar = u'\'';
};

// True when `text` holds one of KeyChars::SpecialChars (case sensitive).
bool ContainsSpecialCharacters(TStringCore const& text);

// The key text form of `text`: each single quote gets a backslash before it
// (backslashes themselves are not doubled), and the whole is put in single
// quotes if it then holds a special string. So a text with a quote is always
// quoted, and "ab" stays bare.
TStringCore EscapeString(TStringCore const& text);

// The inverse of EscapeString for a quoted text. Quotes are dropped and,
// inside quotes, a backslash makes the next unit literal; a backslash outside
// quotes is kept. Fails "a string must be quoted to be unescaped" unless the
// first and the last units are single quotes (an empty text fails too).
TStringCore UnescapeString(TStringCore const& text);

// The text between a leading and a trailing single quote, if it needs no
// quotes (holds no special string); otherwise `text` as it stands. A lone
// quote is not a quoted text and comes back as it is.
TStringCore UnquoteString(TStringCore const& text);

// Splits `text` at each `separator` outside single quotes; a unit after a
// backslash never separates. Each token goes through UnquoteString; quotes
// and backslashes otherwise stay in it. Empty tokens are dropped unless
// `keepEmpty`, in which case "" gives one empty token. An empty separator
// never matches.
std::vector<TStringCore> TokenizeString(TStringCore const& text, char16_t separator,
                                        bool keepEmpty);
std::vector<TStringCore> TokenizeString(TStringCore const& text, TStringCore const& separator,
                                        bool keepEmpty);

// The bytes of a text of hexadecimal digit pairs, without prefix: "0aFF"
// gives {0x0a, 0xff}, "" gives none. Fails "hex string length must be even"
// or "hex string contains invalid character" (blanks and signs included).
std::vector<unsigned char> ParseBytesFromHex(TStringCore const& text);

// The value of one hexadecimal digit (either case), or -1.
int HexDigitValue(char16_t unit);

}  // namespace qel::core
