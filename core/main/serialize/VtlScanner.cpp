#include "qel/core/serialize/VtlScanner.h"

#include <locale.h>
#include <stdlib.h>

#include <limits>
#include <string>
#include <string_view>

#include "qel/core/utility/Validation.h"

namespace qel::core {

// ---------------------------------------------------------------------------
// Tokens

VtlToken const VtlToken::Invalid{};
VtlToken const VtlToken::Start{VtlTokenType::Start, TStringCore()};
VtlToken const VtlToken::End{VtlTokenType::End, TStringCore()};
VtlToken const VtlToken::Whitespace{VtlTokenType::Whitespace, TStringCore()};
VtlToken const VtlToken::BlockStart{VtlTokenType::BlockStart, TStringCore()};
VtlToken const VtlToken::BlockEnd{VtlTokenType::BlockEnd, TStringCore()};
VtlToken const VtlToken::Arrow{VtlTokenType::Arrow, TStringCore(u"->")};
VtlToken const VtlToken::Colon{VtlTokenType::Colon, TStringCore(u":")};
VtlToken const VtlToken::Comma{VtlTokenType::Comma, TStringCore(u",")};
VtlToken const VtlToken::Slash{VtlTokenType::Slash, TStringCore(u"/")};
VtlToken const VtlToken::OpenParen{VtlTokenType::OpenParen, TStringCore(u"(")};
VtlToken const VtlToken::CloseParen{VtlTokenType::CloseParen, TStringCore(u")")};
VtlToken const VtlToken::OpenCurlyBrace{VtlTokenType::OpenCurlyBrace, TStringCore(u"{")};
VtlToken const VtlToken::CloseCurlyBrace{VtlTokenType::CloseCurlyBrace, TStringCore(u"}")};
VtlToken const VtlToken::Plus{VtlTokenType::Plus, TStringCore(u"+")};
VtlToken const VtlToken::Minus{VtlTokenType::Minus, TStringCore(u"-")};
VtlToken const VtlToken::Multiply{VtlTokenType::Multiply, TStringCore(u"*")};
VtlToken const VtlToken::GreaterThan{VtlTokenType::GreaterThan, TStringCore(u">")};
VtlToken const VtlToken::LessThan{VtlTokenType::LessThan, TStringCore(u"<")};

bool IsLiteralToken(VtlToken const& token) {
    switch (token.GetType()) {
        case VtlTokenType::Plus:
        case VtlTokenType::Minus:
        case VtlTokenType::Bool:
        case VtlTokenType::Int:
        case VtlTokenType::Real:
        case VtlTokenType::Identifier:
        case VtlTokenType::QuotedString:
        case VtlTokenType::Special:
            return true;
        default:
            return false;
    }
}

// ---------------------------------------------------------------------------
// The automaton

namespace {

// What the first unit of a token selects.
enum class Rule : unsigned char {
    Invalid,
    Whitespace,
    LineFeed,
    CarriageReturn,
    Quote,
    Single,  // one-unit punctuation
    Minus,
    Slash,
    Dot,
    Digit,
    Keyword,  // may start a keyword, else an identifier
    Identifier,
};

struct Tables {
    Rule rule[127] = {};
    bool identifierUnit[127] = {};
    VtlToken const* single[127] = {};

    Tables() {
        rule[9] = rule[11] = rule[32] = Rule::Whitespace;
        rule[10] = Rule::LineFeed;
        rule[13] = Rule::CarriageReturn;
        rule[u'\''] = Rule::Quote;
        struct {
            char16_t c;
            VtlToken const* token;
        } const singles[] = {
            {u'(', &VtlToken::OpenParen},      {u')', &VtlToken::CloseParen},
            {u'*', &VtlToken::Multiply},       {u'+', &VtlToken::Plus},
            {u',', &VtlToken::Comma},          {u':', &VtlToken::Colon},
            {u'<', &VtlToken::LessThan},       {u'>', &VtlToken::GreaterThan},
            {u'{', &VtlToken::OpenCurlyBrace}, {u'}', &VtlToken::CloseCurlyBrace},
        };
        for (auto const& s : singles) {
            rule[s.c] = Rule::Single;
            single[s.c] = s.token;
        }
        rule[u'-'] = Rule::Minus;
        rule[u'/'] = Rule::Slash;
        rule[u'.'] = Rule::Dot;
        for (char16_t c = u'0'; c <= u'9'; ++c)
            rule[c] = Rule::Digit;
        for (char16_t c = u'A'; c <= u'Z'; ++c)
            rule[c] = Rule::Identifier;
        for (char16_t c = u'a'; c <= u'z'; ++c)
            rule[c] = Rule::Identifier;
        for (char16_t c : u"AEMNRSWfint") {
            if (c != 0)
                rule[c] = Rule::Keyword;
        }
        for (char16_t c : u"=^_~") {
            if (c != 0)
                rule[c] = Rule::Identifier;
        }

        for (char16_t c = u'A'; c <= u'Z'; ++c)
            identifierUnit[c] = true;
        for (char16_t c = u'a'; c <= u'z'; ++c)
            identifierUnit[c] = true;
        for (char16_t c = u'0'; c <= u'9'; ++c)
            identifierUnit[c] = true;
        for (char16_t c : u"^_?~#-.=") {
            if (c != 0)
                identifierUnit[c] = true;
        }
    }
};

Tables const& GetTables() {
    static Tables const tables;
    return tables;
}
[[maybe_unused]] Tables const& g_tablesAtStartup = GetTables();

inline bool IsDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

inline bool IsIdentifierUnit(Tables const& t, char16_t c) {
    return c < 127 && t.identifierUnit[c];
}

VtlToken KeywordToken(std::u16string_view text) {
    static constexpr struct {
        std::u16string_view text;
        SpecialKind kind;
    } kSpecials[] = {
        {u"All", SpecialKind::All},
        {u"Error", SpecialKind::Error},
        {u"ManyValues", SpecialKind::ManyValues},
        {u"Missing", SpecialKind::Missing},
        {u"NoAccess", SpecialKind::NoAccess},
        {u"Null", SpecialKind::Null},
        {u"Ragged", SpecialKind::Ragged},
        {u"Skipped", SpecialKind::Skipped},
        {u"Wildcard", SpecialKind::Wildcard},
    };
    for (auto const& s : kSpecials) {
        if (s.text == text)
            return VtlToken::Special(s.kind);
    }
    if (text == u"false")
        return VtlToken::Bool(false);
    if (text == u"true")
        return VtlToken::Bool(true);
    if (text == u"inf")
        return VtlToken::Real(std::numeric_limits<double>::infinity());
    if (text == u"nan")
        return VtlToken::Real(std::numeric_limits<double>::quiet_NaN());
    return VtlToken::Invalid;
}

// Reals are read in the C locale whatever locale the host runs in.
double ParseDouble(char const* text, char const** end) {
    static locale_t const cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    char* stop = nullptr;
    double value = strtod_l(text, &stop, cLocale);
    *end = stop;
    return value;
}

VtlToken ScanNumber(VtlScanner::State& state, char16_t const* start, bool skipValue) {
    char16_t const*& p = state.cursor;
    bool real = false;
    while (IsDigit(*p))
        ++p;
    if (*p == u'.') {
        real = true;
        ++p;
        while (IsDigit(*p))
            ++p;
    }
    if (*p == u'e' || *p == u'E') {
        state.marker = p;
        ++p;
        if (*p == u'+' || *p == u'-')
            ++p;
        if (IsDigit(*p)) {
            real = true;
            while (IsDigit(*p))
                ++p;
        } else {
            p = state.marker;  // not an exponent: "12e" is 12 and the name "e"
        }
    }
    if (skipValue)
        return real ? VtlToken::Real(0.0) : VtlToken::Int(0);
    if (!real) {
        unsigned long long value = 0;
        constexpr unsigned long long kMax = std::numeric_limits<long long>::max();
        for (char16_t const* q = start; q < p; ++q) {
            unsigned digit = static_cast<unsigned>(*q - u'0');
            if (value > (kMax - digit) / 10)
                return VtlToken::Invalid;
            value = value * 10 + digit;
        }
        return VtlToken::Int(static_cast<long long>(value));
    }
    // The token holds only ASCII digits, '.', 'e', 'E' and signs.
    auto length = static_cast<size_t>(p - start);
    char small[64];
    std::string large;
    char* text = small;
    if (length >= sizeof(small)) {
        large.resize(length);
        text = large.data();
    }
    for (size_t i = 0; i < length; ++i)
        text[i] = static_cast<char>(start[i]);
    text[length] = 0;
    char const* end = nullptr;
    double value = ParseDouble(text, &end);
    if (end != text + length)
        return VtlToken::Invalid;
    return VtlToken::Real(value);
}

VtlToken ScanQuotedString(VtlScanner::State& state) {
    char16_t const*& p = state.cursor;
    ++p;  // the opening apostrophe
    TStringCore content;
    for (;;) {
        if (p >= state.limit)
            return VtlToken::Invalid;
        char16_t c = *p;
        if (c == u'\'') {
            ++p;
            return VtlToken::QuotedString(std::move(content));
        }
        if (c == u'\n') {
            ++p;
            return VtlToken::Invalid;  // a string does not span lines
        }
        if (c != u'\\') {
            content.append(c);
            ++p;
            continue;
        }
        char16_t e = p[1];
        if (e == u'\\' || e == u'n' || e == u'\'') {
            content.append(e == u'n' ? u'\n' : e);
            p += 2;
        } else if (e == u'\n') {
            ++p;  // the line feed ends the string on the next round
        } else if (e >= 0xD800 && e <= 0xDBFF && p + 2 < state.limit && p[2] >= 0xDC00 &&
                   p[2] <= 0xDFFF) {
            p += 3;
            return VtlToken::Invalid;
        } else {
            p += 2;
            return VtlToken::Invalid;
        }
    }
}

VtlToken ScanIdentifier(VtlScanner::State& state, Tables const& t, char16_t const* start,
                        bool keyword, bool skipValue) {
    char16_t const*& p = state.cursor;
    ++p;
    while (IsIdentifierUnit(t, *p))
        ++p;
    auto length = static_cast<size_t>(p - start);
    if (keyword) {
        VtlToken token = KeywordToken(std::u16string_view(start, length));
        if (token.GetType() != VtlTokenType::Invalid)
            return token;
    }
    if (skipValue)
        return VtlToken::Identifier();
    return VtlToken::Identifier(TStringCore(start, static_cast<int>(length)));
}

VtlToken ScanLineBreak(VtlScanner::State& state, char16_t const* start) {
    char16_t const*& p = state.cursor;
    while (*p != u'\n')
        ++p;  // past a leading carriage return
    ++p;
    while (*p == u' ')
        ++p;
    auto indent = static_cast<unsigned short>(static_cast<unsigned long>(p - start - 1) & 0xFFFF);
    if (indent == state.indent)
        return VtlToken::Whitespace;
    bool rise = indent > state.indent;
    state.indent = indent;
    return rise ? VtlToken::BlockStart : VtlToken::BlockEnd;
}

VtlToken ScanComment(VtlScanner::State& state) {
    char16_t const*& p = state.cursor;
    p += 2;
    char16_t const* start = p;
    while (p < state.limit && *p != u'\n')
        ++p;
    TStringCore text(start, static_cast<int>(p - start));
    if (p < state.limit)
        ++p;  // the line feed belongs to the comment
    return VtlToken::Comment(std::move(text));
}

void SkipWhitespace(VtlScanner::State& state) {
    char16_t const*& p = state.cursor;
    while (*p == 9 || *p == 11 || *p == 13 || *p == 32)
        ++p;
}

VtlToken ScanOne(VtlScanner::State& state, bool skipValue) {
    Tables const& t = GetTables();
    char16_t const*& p = state.cursor;
    if (p >= state.limit)
        return VtlToken::End;
    char16_t const* start = p;
    char16_t c = *p;
    Rule rule = c < 127 ? t.rule[c] : Rule::Invalid;
    switch (rule) {
        case Rule::Whitespace:
            SkipWhitespace(state);
            return VtlToken::Whitespace;
        case Rule::LineFeed:
            return ScanLineBreak(state, start);
        case Rule::CarriageReturn:
            if (p[1] == u'\n')
                return ScanLineBreak(state, start);
            SkipWhitespace(state);
            return VtlToken::Whitespace;
        case Rule::Quote:
            return ScanQuotedString(state);
        case Rule::Single:
            ++p;
            return *t.single[c];
        case Rule::Minus:
            if (p[1] == u'>') {
                p += 2;
                return VtlToken::Arrow;
            }
            ++p;
            return VtlToken::Minus;
        case Rule::Slash:
            if (p[1] == u'/')
                return ScanComment(state);
            ++p;
            return VtlToken::Slash;
        case Rule::Dot:
            if (IsDigit(p[1]))
                return ScanNumber(state, start, skipValue);
            ++p;
            return VtlToken::Invalid;
        case Rule::Digit:
            return ScanNumber(state, start, skipValue);
        case Rule::Keyword:
            return ScanIdentifier(state, t, start, true, skipValue);
        case Rule::Identifier:
            return ScanIdentifier(state, t, start, false, skipValue);
        case Rule::Invalid:
            break;
    }
    ++p;
    return VtlToken::Invalid;
}

}  // namespace

VtlToken VtlScanner::ConsumeNext(State& state, bool skipValue) {
    for (;;) {
        VtlToken token = ScanOne(state, skipValue);
        if (token.GetType() != VtlTokenType::Whitespace)
            return token;
    }
}

// ---------------------------------------------------------------------------
// The reader's side

VtlScanner::VtlScanner(TStringCore&& text)
    : m_text(std::move(text)), m_state(m_text), m_current(VtlToken::Start) {}

// Once the reader has taken an Invalid token, the rest of the text is
// unreadable too: no recovery guesses at what was meant.
VtlToken VtlScanner::Scan() {
    if (m_current.GetType() == VtlTokenType::Invalid)
        return VtlToken::Invalid;
    return ConsumeNext(m_state, false);
}

VtlToken const& VtlScanner::Next() {
    if (!m_ahead.empty()) {
        m_current = std::move(m_ahead.back());
        m_ahead.pop_back();
    } else {
        m_current = Scan();
    }
    return m_current;
}

VtlToken const& VtlScanner::Next(VtlTokenType type, TStringCore const& message) {
    VtlToken const& token = Next();
    QEL_VALIDATE(token.GetType() == type, QelError::UnexpectedToken, message);
    return token;
}

bool VtlScanner::NextIf(VtlTokenType type) {
    if (Peek(1).GetType() != type)
        return false;
    Next();
    return true;
}

bool VtlScanner::NextIf(VtlTokenType type, VtlToken& out) {
    if (!NextIf(type))
        return false;
    out = m_current;
    return true;
}

bool VtlScanner::NextIfString() {
    if (!Peek(1).IsString())
        return false;
    Next();
    return true;
}

bool VtlScanner::NextIfString(VtlToken& out) {
    if (!NextIfString())
        return false;
    out = m_current;
    return true;
}

TStringCore VtlScanner::NextString(TStringCore const& message) {
    VtlToken const& token = Next();
    QEL_VALIDATE(token.IsString(), QelError::UnexpectedToken, message);
    return token.GetString();
}

VtlToken const& VtlScanner::Peek(unsigned n) {
    if (n == 0)
        return m_current;
    // Look-ahead is a few tokens at most, so inserting at the front is cheap.
    while (m_ahead.size() < n)
        m_ahead.insert(m_ahead.begin(), Scan());
    return m_ahead[m_ahead.size() - n];
}

// ---------------------------------------------------------------------------
// Single-token texts

bool VtlScanner::TryScanSingleToken(TStringCore const& text, VtlToken& out, bool skipValue) {
    State state(text);
    out = ConsumeNext(state, skipValue);
    return ConsumeNext(state, skipValue) == VtlToken::End;
}

bool VtlScanner::TryScanSingleToken(TStringCore const& text, VtlTokenType type, VtlToken& out,
                                    bool skipValue) {
    return TryScanSingleToken(text, out, skipValue) && out.GetType() == type;
}

VtlToken VtlScanner::ScanSingleToken(TStringCore const& text) {
    VtlToken token;
    QEL_VALIDATE(TryScanSingleToken(text, token, false), QelError::UnexpectedToken, text);
    return token;
}

bool VtlScanner::TryScanSingleString(TStringCore const& text, TStringCore& out) {
    VtlToken token;
    if (!TryScanSingleToken(text, token, false) || !token.IsString())
        return false;
    out = token.GetString();
    return true;
}

TStringCore VtlScanner::ScanSingleString(TStringCore const& text) {
    TStringCore out;
    QEL_VALIDATE(TryScanSingleString(text, out), QelError::UnexpectedToken, text);
    return out;
}

TStringCore VtlScanner::Quote(TStringCore const& text) {
    TStringCore out;
    out.reserve(text.size() + 4);
    out.append(u'\'');
    for (char16_t c : text.view()) {
        if (c == 0)
            break;
        if (c == u'\n') {
            out.append(u'\\');
            out.append(u'n');
        } else if (c == u'\'' || c == u'\\') {
            out.append(u'\\');
            out.append(c);
        } else {
            out.append(c);
        }
    }
    out.append(u'\'');
    return out;
}

}  // namespace qel::core
