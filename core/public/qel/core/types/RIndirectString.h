#pragma once

// RIndirectString is the string element of arrays, sets and tuples: one
// TStringCore held by value, whose long-string storage a copy shares. Hash
// and equality are those of the text.

#include <cstddef>
#include <functional>

#include "qel/core/utility/Base.h"
#include "qel/core/utility/StringHash.h"

namespace qel::core {

class RIndirectString {
public:
    RIndirectString() = default;
    RIndirectString(TStringCore const& text) : m_text(text) {}
    RIndirectString(TStringCore&& text) noexcept : m_text(std::move(text)) {}
    RIndirectString(char16_t const* text) : m_text(text) {}
    RIndirectString(RIndirectString const&) = default;
    RIndirectString(RIndirectString&&) noexcept = default;
    RIndirectString& operator=(RIndirectString const&) = default;
    RIndirectString& operator=(RIndirectString&&) noexcept = default;

    TStringCore const& GetValue() const noexcept { return m_text; }
    operator TStringCore const&() const noexcept { return m_text; }

    bool operator==(RIndirectString const& other) const noexcept { return m_text == other.m_text; }
    bool operator!=(RIndirectString const& other) const noexcept { return m_text != other.m_text; }

private:
    TStringCore m_text;
};

}  // namespace qel::core

template <>
struct std::hash<qel::core::RIndirectString> {
    std::size_t operator()(qel::core::RIndirectString const& s) const {
        return qel::core::HashString(s.GetValue());
    }
};
