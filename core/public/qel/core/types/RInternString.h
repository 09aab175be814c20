#pragma once

// RInternString is a handle on a text interned in Context: its dense id and a
// pointer to the text, which lives until process exit. Handles compare and
// hash by id alone, so equality is one integer test. There is no ordering;
// code that needs sorted names compares the texts.

#include <cstddef>
#include <functional>

#include "qel/core/utility/Base.h"

namespace qel::core {

class RFormatString;
class RIndirectString;

class RInternString {
public:
    // The empty text.
    RInternString();
    explicit RInternString(TStringCore&& text);
    explicit RInternString(TStringCore const& text);
    explicit RInternString(char16_t unit);
    explicit RInternString(char16_t const* text);
    explicit RInternString(RIndirectString const& text);
    // Interns the format string's result(), and throws as that does.
    explicit RInternString(RFormatString const& text);
    // An id that GetStringId gave; it is not checked.
    explicit RInternString(unsigned long id);

    unsigned long GetStringId() const noexcept { return m_id; }
    TStringCore const& GetValue() const noexcept { return *m_text; }
    operator TStringCore const&() const noexcept { return *m_text; }

    bool operator==(RInternString const& other) const noexcept { return m_id == other.m_id; }
    bool operator!=(RInternString const& other) const noexcept { return m_id != other.m_id; }

private:
    unsigned long m_id;
    TStringCore const* m_text;
};

}  // namespace qel::core

template <>
struct std::hash<qel::core::RInternString> {
    std::size_t operator()(qel::core::RInternString const& s) const noexcept {
        return s.GetStringId();
    }
};
