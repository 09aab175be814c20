#pragma once

// A stack guard for recursive-descent parsers: it records the tokens taken
// through it and, unless the parse commits, pushes them back on destruction
// (last first), so that a failed TryParse... leaves the scanner where it was.
//
// A nested parse that succeeds inside one that later fails must be undone
// too: a restorer made with an enclosing one hands its tokens to that one on
// commit, so the outermost failure puts back everything read below it.

#include <boost/container/small_vector.hpp>

#include "qel/core/serialize/VtlScanner.h"

namespace qel::core::recursive_descent {

class TokenRestorer {
public:
    explicit TokenRestorer(VtlScanner& scanner, TokenRestorer* enclosing = nullptr)
        : m_scanner(scanner), m_enclosing(enclosing) {}
    TokenRestorer(TokenRestorer const&) = delete;
    TokenRestorer& operator=(TokenRestorer const&) = delete;
    ~TokenRestorer() {
        if (!m_restore)
            return;
        for (auto it = m_tokens.rbegin(); it != m_tokens.rend(); ++it) {
            m_scanner.Push(std::move(*it));
        }
    }

    bool NextIf(VtlTokenType type) {
        if (!m_scanner.NextIf(type))
            return false;
        m_tokens.push_back(m_scanner.GetCurrentToken());
        return true;
    }
    bool NextIf(VtlTokenType type, VtlToken& out) {
        if (!NextIf(type))
            return false;
        out = m_tokens.back();
        return true;
    }
    // The parse succeeded: keep what it consumed, unless the enclosing parse
    // fails after all.
    void Commit() {
        m_restore = false;
        if (m_enclosing == nullptr)
            return;
        for (VtlToken& token : m_tokens)
            m_enclosing->m_tokens.push_back(std::move(token));
        m_tokens.clear();
    }

private:
    VtlScanner& m_scanner;
    TokenRestorer* m_enclosing;
    boost::container::small_vector<VtlToken, 6> m_tokens;
    bool m_restore = true;
};

}  // namespace qel::core::recursive_descent
