#pragma once

// A token of VtlScanner: a type, a value (bool, 64-bit integer, double or
// special kind) and a text. Punctuation and structure tokens are shared
// statics; literals and names are made by the factories. Tokens compare equal
// when type, the value's alternative and value, and text all are equal, so a
// scanned end of text equals VtlToken::End.

#include <boost/variant/get.hpp>
#include <boost/variant/variant.hpp>
#include <cstdint>

#include "qel/core/store/SpecialKind.h"
#include "qel/core/utility/Base.h"

namespace qel::core {

enum class VtlTokenType : std::uint8_t {
    Invalid = 0,
    Start = 1,
    End = 2,
    Comment = 3,
    Whitespace = 4,
    BlockStart = 5,
    BlockEnd = 6,
    Arrow = 7,
    Comma = 8,
    Colon = 9,
    Slash = 10,
    OpenParen = 11,
    CloseParen = 12,
    OpenCurlyBrace = 13,
    CloseCurlyBrace = 14,
    Plus = 15,
    Minus = 16,
    Multiply = 17,
    LessThan = 18,
    GreaterThan = 19,
    Bool = 20,
    Int = 21,
    Real = 22,
    Identifier = 23,
    QuotedString = 24,
    Special = 25,
};

class VtlToken {
public:
    using Value = boost::variant<bool, long long, double, SpecialKind>;

    // Type Invalid, value 0.0, no text.
    VtlToken() : m_type(VtlTokenType::Invalid), m_value(0.0) {}
    VtlToken(VtlTokenType type, Value value) : m_type(type), m_value(value) {}
    VtlToken(VtlTokenType type, TStringCore&& text)
        : m_type(type), m_value(0.0), m_text(std::move(text)) {}

    static VtlToken Comment(TStringCore&& text) { return {VtlTokenType::Comment, std::move(text)}; }
    static VtlToken Identifier(TStringCore&& text) {
        return {VtlTokenType::Identifier, std::move(text)};
    }
    // An identifier whose text was not kept (value false, no text).
    static VtlToken Identifier() { return {VtlTokenType::Identifier, Value(false)}; }
    static VtlToken QuotedString(TStringCore&& text) {
        return {VtlTokenType::QuotedString, std::move(text)};
    }
    static VtlToken Bool(bool value) { return {VtlTokenType::Bool, Value(value)}; }
    static VtlToken Int(long long value) { return {VtlTokenType::Int, Value(value)}; }
    static VtlToken Real(double value) { return {VtlTokenType::Real, Value(value)}; }
    static VtlToken Special(SpecialKind kind) { return {VtlTokenType::Special, Value(kind)}; }

    static VtlToken const Invalid;
    static VtlToken const Start;
    static VtlToken const End;
    static VtlToken const Whitespace;
    static VtlToken const BlockStart;
    static VtlToken const BlockEnd;
    static VtlToken const Arrow;
    static VtlToken const Colon;
    static VtlToken const Comma;
    static VtlToken const Slash;
    static VtlToken const OpenParen;
    static VtlToken const CloseParen;
    static VtlToken const OpenCurlyBrace;
    static VtlToken const CloseCurlyBrace;
    static VtlToken const Plus;
    static VtlToken const Minus;
    static VtlToken const Multiply;
    static VtlToken const GreaterThan;
    static VtlToken const LessThan;

    VtlTokenType GetType() const { return m_type; }
    // The value in its alternative; boost::bad_get when it holds another.
    bool GetBool() const { return boost::get<bool>(m_value); }
    long long GetInt() const { return boost::get<long long>(m_value); }
    double GetReal() const { return boost::get<double>(m_value); }
    SpecialKind GetSpecial() const { return boost::get<SpecialKind>(m_value); }
    TStringCore const& GetString() const { return m_text; }
    Value const& GetValue() const { return m_value; }
    bool IsString() const {
        return m_type == VtlTokenType::Identifier || m_type == VtlTokenType::QuotedString;
    }

    bool operator==(VtlToken const& other) const {
        return m_type == other.m_type && m_value == other.m_value && m_text == other.m_text;
    }
    bool operator!=(VtlToken const& other) const { return !(*this == other); }

private:
    VtlTokenType m_type;
    Value m_value;
    TStringCore m_text;
};

// Plus, Minus, Bool, Int, Real, Identifier, QuotedString and Special: the
// tokens a literal may start with.
bool IsLiteralToken(VtlToken const& token);

}  // namespace qel::core
