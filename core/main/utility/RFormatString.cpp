#include "qel/core/utility/RFormatString.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "qel/core/types/RInternString.h"

namespace qel::core {

RFormatString::Exception::Exception(QelError error) : QelRuntimeException(error) {}

RFormatString::Exception::Exception(QelError error, TStringCore const& details)
    : QelRuntimeException(error, details) {}

RFormatString::RFormatString(TStringCore const& format) : m_format(format) {
    scanForMarkers();
}

RFormatString::RFormatString(char const* format) : m_format(format) {
    scanForMarkers();
}

RFormatString::RFormatString(char16_t const* format) : m_format(format) {
    scanForMarkers();
}

RFormatString& RFormatString::operator=(TStringCore const& format) {
    // Scan a copy first, so that a bad text leaves this object as it was.
    RFormatString scanned(format);
    m_highestNumber = scanned.m_highestNumber;
    m_markers = std::move(scanned.m_markers);
    m_format = std::move(scanned.m_format);
    return *this;
}

RFormatString& RFormatString::operator=(char16_t const* format) {
    return *this = TStringCore(format);
}

// Three states: plain text, just after a "%", and inside a marker's number.
// A marker ends at the first unit that is not a digit, and that unit is
// looked at again as text, so that "%1%2" holds two markers.
void RFormatString::scanForMarkers() {
    enum class State { Text, Percent, Number };
    m_markers.clear();
    m_highestNumber = 0;
    State state = State::Text;
    Marker marker{0, 0, 0};
    int const length = m_format.length();
    int i = 0;
    while (i < length) {
        char16_t const unit = m_format[i];
        switch (state) {
            case State::Text:
                if (unit == u'%') {
                    marker = Marker{i, 2, 0};
                    state = State::Percent;
                }
                ++i;
                break;
            case State::Percent:
                if (unit == u'%') {
                    m_markers.push_back(marker);
                    state = State::Text;
                } else if (!isDigit(unit)) {
                    throw Exception(QelError::InvalidNumberlessMarkerInFormatString);
                } else if (unit == u'0') {
                    throw Exception(QelError::LeadingZeroInMarkerNumberInFormat);
                } else {
                    marker.m_number = digitValue(unit);
                    state = State::Number;
                }
                ++i;
                break;
            case State::Number:
                if (isDigit(unit)) {
                    marker.m_number = marker.m_number * 10 + digitValue(unit);
                    ++marker.m_length;
                    if (marker.m_number >= 100)
                        throw Exception(QelError::InvalidMarkerNumberAbove99);
                    ++i;
                } else {
                    if (marker.m_number < 1)
                        throw Exception(QelError::InvalidMarkerNumberNotPositive);
                    m_highestNumber = std::max(m_highestNumber, marker.m_number);
                    m_markers.push_back(marker);
                    state = State::Text;  // the same unit again, as text
                }
                break;
        }
    }
    if (state == State::Percent)
        throw Exception(QelError::FormatStringEndsWithAnIncompleteMarker);
    if (state == State::Number) {
        if (marker.m_number < 1)
            throw Exception(QelError::FormatStringEndsWithNonPositiveMarker);
        m_highestNumber = std::max(m_highestNumber, marker.m_number);
        m_markers.push_back(marker);
    }
}

RFormatString& RFormatString::append(TStringCore text, int fieldWidth, char16_t fill) {
    if (fieldWidth > 0) {
        text = text.rightJustified(fieldWidth, fill);
    } else if (fieldWidth < 0) {
        // -INT_MIN is not an int; pad to INT_MAX instead.
        int const width = fieldWidth == INT_MIN ? INT_MAX : -fieldWidth;
        text = text.leftJustified(width, fill);
    }
    m_arguments.push_back(std::move(text));
    return *this;
}

RFormatString& RFormatString::arg(TStringCore const& text, int fieldWidth, char16_t fill) {
    return append(text, fieldWidth, fill);
}

RFormatString& RFormatString::arg(char16_t const* text, int fieldWidth, char16_t fill) {
    return append(TStringCore(text), fieldWidth, fill);
}

RFormatString& RFormatString::arg(char16_t unit, int fieldWidth, char16_t fill) {
    return append(TStringCore(unit, 1), fieldWidth, fill);
}

// The digits come unpadded and the field pads them, so that a fill goes
// before a minus sign as it does before any other text.
#define QEL_FORMAT_INTEGER_ARG(Type)                                                         \
    RFormatString& RFormatString::arg(Type value, int fieldWidth, int base, char16_t fill) { \
        return append(TStringCore::number(value, base, 0, u' '), fieldWidth, fill);          \
    }
QEL_FORMAT_INTEGER_ARG(short)
QEL_FORMAT_INTEGER_ARG(unsigned short)
QEL_FORMAT_INTEGER_ARG(int)
QEL_FORMAT_INTEGER_ARG(unsigned int)
QEL_FORMAT_INTEGER_ARG(long)
QEL_FORMAT_INTEGER_ARG(unsigned long)
QEL_FORMAT_INTEGER_ARG(long long)
QEL_FORMAT_INTEGER_ARG(unsigned long long)
#undef QEL_FORMAT_INTEGER_ARG

RFormatString& RFormatString::arg(double value, int fieldWidth, char format, int precision,
                                  char16_t fill, bool upperCase) {
    return append(TStringCore::number(value, format, precision, upperCase), fieldWidth, fill);
}

RFormatString& RFormatString::arg(std::vector<TStringCore> const& texts) {
    m_arguments.insert(m_arguments.end(), texts.begin(), texts.end());
    return *this;
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2) {
    return arg(std::vector<TStringCore>{a1, a2});
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2,
                                  TStringCore const& a3) {
    return arg(std::vector<TStringCore>{a1, a2, a3});
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2,
                                  TStringCore const& a3, TStringCore const& a4) {
    return arg(std::vector<TStringCore>{a1, a2, a3, a4});
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2,
                                  TStringCore const& a3, TStringCore const& a4,
                                  TStringCore const& a5) {
    return arg(std::vector<TStringCore>{a1, a2, a3, a4, a5});
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2,
                                  TStringCore const& a3, TStringCore const& a4,
                                  TStringCore const& a5, TStringCore const& a6) {
    return arg(std::vector<TStringCore>{a1, a2, a3, a4, a5, a6});
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2,
                                  TStringCore const& a3, TStringCore const& a4,
                                  TStringCore const& a5, TStringCore const& a6,
                                  TStringCore const& a7) {
    return arg(std::vector<TStringCore>{a1, a2, a3, a4, a5, a6, a7});
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2,
                                  TStringCore const& a3, TStringCore const& a4,
                                  TStringCore const& a5, TStringCore const& a6,
                                  TStringCore const& a7, TStringCore const& a8) {
    return arg(std::vector<TStringCore>{a1, a2, a3, a4, a5, a6, a7, a8});
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2,
                                  TStringCore const& a3, TStringCore const& a4,
                                  TStringCore const& a5, TStringCore const& a6,
                                  TStringCore const& a7, TStringCore const& a8,
                                  TStringCore const& a9) {
    return arg(std::vector<TStringCore>{a1, a2, a3, a4, a5, a6, a7, a8, a9});
}

RFormatString& RFormatString::arg(TStringCore const& a1, TStringCore const& a2,
                                  TStringCore const& a3, TStringCore const& a4,
                                  TStringCore const& a5, TStringCore const& a6,
                                  TStringCore const& a7, TStringCore const& a8,
                                  TStringCore const& a9, TStringCore const& a10) {
    return arg(std::vector<TStringCore>{a1, a2, a3, a4, a5, a6, a7, a8, a9, a10});
}

TStringCore RFormatString::result() const {
    if (m_arguments.size() < static_cast<size_t>(m_highestNumber)) {
        TStringCore details = RFormatString(u"have %1, need %2: format string = \"%3\"")
                                  .arg(static_cast<unsigned long long>(m_arguments.size()))
                                  .arg(m_highestNumber)
                                  .arg(m_format)
                                  .result();
        throw Exception(QelError::InsufficientParametersToFormatString, details);
    }
    TStringCore out;
    int copied = 0;  // the format text up to here is in `out`
    for (Marker const& marker : m_markers) {
        out.append(m_format.constData() + copied, marker.m_position - copied);
        if (marker.m_number == 0) {
            out.append(u'%');
        } else {
            out.append(m_arguments[static_cast<size_t>(marker.m_number - 1)]);
        }
        copied = marker.m_position + marker.m_length;
    }
    out.append(m_format.constData() + copied, m_format.length() - copied);
    return out;
}

// Defined here rather than with the other constructors so that the interned
// strings need not know the format string.
RInternString::RInternString(RFormatString const& text) : RInternString(text.result()) {}

}  // namespace qel::core
