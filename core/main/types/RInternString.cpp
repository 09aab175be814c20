#include "qel/core/types/RInternString.h"

#include "qel/core/types/Context.h"
#include "qel/core/types/RIndirectString.h"

namespace qel::core {

namespace {

unsigned long Intern(TStringCore&& text) {
    return Context::Instance().InternString(std::move(text));
}

}  // namespace

RInternString::RInternString() : RInternString(TStringCore()) {}

RInternString::RInternString(TStringCore&& text)
    : m_id(Intern(std::move(text))), m_text(&Context::Instance().GetInternedString(m_id)) {}

RInternString::RInternString(TStringCore const& text) : RInternString(TStringCore(text)) {}

RInternString::RInternString(char16_t unit) : RInternString(TStringCore(unit, 1)) {}

RInternString::RInternString(char16_t const* text) : RInternString(TStringCore(text)) {}

RInternString::RInternString(RIndirectString const& text) : RInternString(text.GetValue()) {}

RInternString::RInternString(unsigned long id)
    : m_id(id), m_text(&Context::Instance().GetInternedString(id)) {}

}  // namespace qel::core
