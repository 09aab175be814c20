#pragma once

// VtlScanner turns UTF-16 text into VtlTokens. It is the one lexer of the
// library: key paths, types, VTL text, payload sections and literals are all
// read through it. It is a deterministic automaton over 16-bit code units
// with no decoding of surrogates.
//
// Scanning never throws: unreadable text gives an Invalid token, and once
// Next has returned Invalid every later token is Invalid too. At the end of
// the text the scanner returns End for ever. Only the checking operations
// (Next(type, message), NextString, ScanSingle...) throw "unexpected token".
//
// Indentation is measured at each line break (blanks only, not tabs): a rise
// gives BlockStart, a fall of any depth one BlockEnd, and line breaks at the
// same depth give no token. A comment takes its line feed with it, so the
// next line's indentation is not measured.
//
// A scanner owns its text and belongs to one thread; the static operations
// may run on any thread.

#include <vector>

#include "qel/core/serialize/VtlToken.h"

namespace qel::core {

class VtlScanner {
public:
    // Where the automaton stands in a zero-terminated text.
    struct State {
        State() = default;
        explicit State(TStringCore const& text)
            : cursor(text.constData()), limit(text.constData() + text.size()) {}

        char16_t const* cursor = nullptr;
        char16_t const* limit = nullptr;
        char16_t const* marker = nullptr;
        unsigned short indent = 0;
    };

    explicit VtlScanner(TStringCore&& text);
    VtlScanner(VtlScanner const&) = delete;
    VtlScanner& operator=(VtlScanner const&) = delete;

    // The next token: the front of the look-ahead, or a newly scanned one.
    VtlToken const& Next();
    // Next(), failing "unexpected token" with `message` as details unless the
    // token has `type`.
    VtlToken const& Next(VtlTokenType type, TStringCore const& message);
    // Consume the next token only if it fits.
    bool NextIf(VtlTokenType type);
    bool NextIf(VtlTokenType type, VtlToken& out);
    bool NextIfString();
    bool NextIfString(VtlToken& out);
    // The text of the next token, which must be an identifier or quoted string.
    TStringCore NextString(TStringCore const& message);

    // Peek(0) is the current token, Peek(n) the n-th ahead.
    VtlToken const& Peek() { return Peek(1); }
    VtlToken const& Peek(unsigned n);
    bool Peek(VtlTokenType type) { return Peek(1).GetType() == type; }
    bool Peek(unsigned n, VtlTokenType type) { return Peek(n).GetType() == type; }
    bool PeekString() { return Peek(1).IsString(); }
    bool PeekString(unsigned n) { return Peek(n).IsString(); }

    VtlToken const& GetCurrentToken() const { return m_current; }
    // Puts a token back: it is the next one read.
    void Push(VtlToken&& token) { m_ahead.push_back(std::move(token)); }

    // The first token of `text` goes to `out`; true when it is the only one.
    // With `skipValue`, numbers are not converted and identifiers keep no text.
    static bool TryScanSingleToken(TStringCore const& text, VtlToken& out, bool skipValue);
    static bool TryScanSingleToken(TStringCore const& text, VtlTokenType type, VtlToken& out,
                                   bool skipValue);
    static VtlToken ScanSingleToken(TStringCore const& text);
    static bool TryScanSingleString(TStringCore const& text, TStringCore& out);
    static TStringCore ScanSingleString(TStringCore const& text);
    // The text as a quoted string that scans back to itself (cut at a zero unit).
    static TStringCore Quote(TStringCore const& text);

    // One token from `state`, skipping whitespace. Never throws.
    static VtlToken ConsumeNext(State& state, bool skipValue);

private:
    VtlToken Scan();

    TStringCore m_text;
    State m_state;
    VtlToken m_current;
    // The look-ahead, next token last, so that Next and Push work at the back.
    // An empty vector allocates nothing, which keeps a scanner over a short
    // literal cheap to make.
    std::vector<VtlToken> m_ahead;
};

}  // namespace qel::core
