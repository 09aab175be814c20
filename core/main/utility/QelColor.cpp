#include "qel/core/utility/QelColor.h"

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

// The parameter names are part of the reported condition text.
void ValidateRed(int r) {
    QEL_VALIDATE_RANGE(r, 0, 255, QelError::InvalidRedValue, u"Must be between 0 and 255");
}
void ValidateGreen(int g) {
    QEL_VALIDATE_RANGE(g, 0, 255, QelError::InvalidGreenValue, u"Must be between 0 and 255");
}
void ValidateBlue(int b) {
    QEL_VALIDATE_RANGE(b, 0, 255, QelError::InvalidBlueValue, u"Must be between 0 and 255");
}
void ValidateAlpha(int a) {
    QEL_VALIDATE_RANGE(a, 0, 255, QelError::InvalidAlphaValue, u"Must be between 0 and 255");
}

// Replaces the byte at `shift` of `packed`; `channel` is already validated.
std::uint32_t WithChannel(std::uint32_t packed, int channel, int shift) {
    return (packed & ~(std::uint32_t{0xFF} << shift)) |
           (static_cast<std::uint32_t>(channel) << shift);
}

}  // namespace

QelColor::QelColor(int r, int g, int b, int a)
    : m_value(
          (static_cast<std::uint32_t>(a) << 24) | ((static_cast<std::uint32_t>(r) & 0xFF) << 16) |
          ((static_cast<std::uint32_t>(g) & 0xFF) << 8) | (static_cast<std::uint32_t>(b) & 0xFF)) {
    ValidateRed(r);
    ValidateGreen(g);
    ValidateBlue(b);
    ValidateAlpha(a);
}

void QelColor::SetR(int r) {
    ValidateRed(r);
    m_value = WithChannel(m_value, r, 16);
}

void QelColor::SetG(int g) {
    ValidateGreen(g);
    m_value = WithChannel(m_value, g, 8);
}

void QelColor::SetB(int b) {
    ValidateBlue(b);
    m_value = WithChannel(m_value, b, 0);
}

void QelColor::SetA(int a) {
    ValidateAlpha(a);
    m_value = WithChannel(m_value, a, 24);
}

TStringCore QelColor::ToString() const {
    TStringCore text = TStringCore::number(GetA(), 16, 2, u'0');
    text.append(TStringCore::number(GetR(), 16, 2, u'0'));
    text.append(TStringCore::number(GetG(), 16, 2, u'0'));
    text.append(TStringCore::number(GetB(), 16, 2, u'0'));
    return text;
}

}  // namespace qel::core
