#include "qel/core/utility/TextUtil.h"

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

constexpr char16_t kQuote = KeyChars::EncloseChar;
constexpr char16_t kBackslash = u'\\';

bool ContainsSpecial(std::u16string_view text) {
    for (std::u16string_view special : KeyChars::SpecialChars) {
        if (text.find(special) != std::u16string_view::npos)
            return true;
    }
    return false;
}

// The units of a text, where a read before the first or past the last gives
// 0. It lets the quoting check below read both ends of a text that may be
// empty, and spell the check the way its report names it.
class Units {
public:
    explicit Units(TStringCore const& text) : m_text(text) {}
    int length() const { return m_text.length(); }
    char16_t operator[](int index) const {
        return index >= 0 && index < m_text.length() ? m_text[index] : u'\0';
    }

private:
    TStringCore const& m_text;
};

std::vector<TStringCore> Tokenize(TStringCore const& text, std::u16string_view separator,
                                  bool keepEmpty) {
    std::vector<TStringCore> tokens;
    TStringCore token;
    // Units of the separator matched so far. Matching only ever happens
    // outside quotes and escapes, so a partial match is always plain text.
    size_t matched = 0;
    bool escaped = false;
    bool quoted = false;
    auto finishToken = [&] {
        if (!token.isEmpty() || keepEmpty)
            tokens.push_back(UnquoteString(token));
        token = TStringCore();
    };
    auto flushPartialMatch = [&] {
        token.append(separator.data(), static_cast<int>(matched));
        matched = 0;
    };

    for (char16_t const unit : text.view()) {
        // A partial match that this unit does not carry on was text after all.
        // Quotes and backslashes never carry it on: they have their own roles.
        if (matched > 0 && (unit != separator[matched] || unit == kQuote || unit == kBackslash)) {
            flushPartialMatch();
        }
        if (escaped) {
            token.append(unit);
            escaped = false;
            matched = 0;
        } else if (unit == kQuote) {
            token.append(unit);
            quoted = !quoted;
            matched = 0;
        } else if (unit == kBackslash) {
            token.append(unit);
            escaped = true;
            matched = 0;
        } else if (!quoted && !separator.empty() && unit == separator[matched]) {
            if (matched + 1 == separator.size()) {
                matched = 0;
                finishToken();
            } else {
                ++matched;
            }
        } else {
            token.append(unit);
        }
    }
    flushPartialMatch();
    finishToken();
    return tokens;
}

}  // namespace

bool ContainsSpecialCharacters(TStringCore const& text) {
    return ContainsSpecial(text.view());
}

TStringCore EscapeString(TStringCore const& text) {
    TStringCore escaped(text);
    escaped.replace(kQuote, TStringCore(u"\\'"));
    if (!ContainsSpecialCharacters(escaped))
        return escaped;
    TStringCore quoted;
    quoted.reserve(escaped.length() + 2);
    quoted.append(kQuote);
    quoted.append(escaped);
    quoted.append(kQuote);
    return quoted;
}

TStringCore UnescapeString(TStringCore const& text) {
    Units const s(text);
    QEL_VALIDATE(s[0] == KeyChars::EncloseChar && s[s.length() - 1] == KeyChars::EncloseChar,
                 QelError::StringMustBeQuotedToBeUnescaped);
    TStringCore out;
    out.reserve(text.length());
    bool escaped = false;
    bool quoted = false;
    for (char16_t const unit : text.view()) {
        if (!escaped && unit == kQuote) {
            quoted = !quoted;
        } else if (escaped && quoted) {
            out.append(unit);
            escaped = false;
        } else if (!quoted || unit != kBackslash) {
            out.append(unit);
        } else {
            escaped = true;
        }
    }
    return out;
}

TStringCore UnquoteString(TStringCore const& text) {
    int const length = text.length();
    if (length >= 2 && text[0] == kQuote && text[length - 1] == kQuote) {
        TStringCore inner = text.mid(1, length - 2);
        if (!ContainsSpecialCharacters(inner))
            return inner;
    }
    return text;
}

std::vector<TStringCore> TokenizeString(TStringCore const& text, char16_t separator,
                                        bool keepEmpty) {
    return Tokenize(text, std::u16string_view(&separator, 1), keepEmpty);
}

std::vector<TStringCore> TokenizeString(TStringCore const& text, TStringCore const& separator,
                                        bool keepEmpty) {
    return Tokenize(text, separator.view(), keepEmpty);
}

int HexDigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    if (unit >= u'a' && unit <= u'f')
        return unit - u'a' + 10;
    if (unit >= u'A' && unit <= u'F')
        return unit - u'A' + 10;
    return -1;
}

std::vector<unsigned char> ParseBytesFromHex(TStringCore const& s) {
    QEL_VALIDATE(s.length() % 2 == 0, QelError::HexStringLengthMustBeEven);
    std::vector<unsigned char> bytes;
    bytes.reserve(static_cast<size_t>(s.length() / 2));
    for (int i = 0; i < s.length(); i += 2) {
        int const high = HexDigitValue(s[i]);
        int const low = HexDigitValue(s[i + 1]);
        bool const isOk = high >= 0 && low >= 0;
        QEL_VALIDATE(isOk, QelError::HexStringContainsInvalidCharacter);
        bytes.push_back(static_cast<unsigned char>(high * 16 + low));
    }
    return bytes;
}

}  // namespace qel::core
