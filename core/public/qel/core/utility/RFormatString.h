#pragma once

// RFormatString is the library's format string: a text with numbered markers
// "%1" to "%99" that result() replaces by the arguments collected with arg(),
// and "%%", which stands for one percent sign.
//
//   RFormatString(u"%2 of %1").arg(total).arg(done).result()
//
// Markers are found once, when the text is set; a malformed marker throws
// RFormatString::Exception there, and too few arguments throw it from
// result(). A marker number may be used any number of times and numbers need
// not be dense; arguments beyond the highest number are ignored. An object
// whose scan threw must not be used further.
//
// Thread safety: an object belongs to one thread at a time; the static
// functions are reentrant.

#include <vector>

#include "qel/core/utility/Base.h"
#include "qel/core/utility/QelException.h"

namespace qel::core {

class RFormatString {
public:
    // Every fault of a format string, as a QelRuntimeException so that a
    // caller who catches that also catches this.
    class Exception : public QelRuntimeException {
    public:
        explicit Exception(QelError error);
        // For faults that can say more, such as how many arguments are missing.
        Exception(QelError error, TStringCore const& details);
    };

    // One marker in the format text: where it starts, how many code units it
    // spans, and its number (0 for "%%").
    struct Marker {
        int m_position;
        int m_length;
        int m_number;
    };

    // Each scans the text for markers. Narrow text is widened unit by unit;
    // a null pointer is the empty text.
    explicit RFormatString(TStringCore const& format);
    explicit RFormatString(char const* format);
    explicit RFormatString(char16_t const* format);
    RFormatString(RFormatString const&) = default;
    RFormatString(RFormatString&&) noexcept = default;
    ~RFormatString() = default;

    RFormatString& operator=(RFormatString const&) = default;
    RFormatString& operator=(RFormatString&&) noexcept = default;
    // A new text, scanned again; the arguments collected so far are kept, so
    // a set of arguments can be laid out by another text. If the scan throws
    // the object is left as it was.
    RFormatString& operator=(TStringCore const& format);
    RFormatString& operator=(char16_t const* format);

    // Each appends one argument and returns *this. A positive `fieldWidth`
    // pads on the left with `fill`, a negative one on the right; a text that
    // is already that wide is never cut.
    RFormatString& arg(TStringCore const& text, int fieldWidth = 0, char16_t fill = u' ');
    RFormatString& arg(char16_t const* text, int fieldWidth = 0, char16_t fill = u' ');
    RFormatString& arg(char16_t unit, int fieldWidth = 0, char16_t fill = u' ');
    // Integers in `base` (2 to 36). The fill goes before the sign: -7 with
    // width 4 and fill '0' gives "00-7".
    RFormatString& arg(short value, int fieldWidth = 0, int base = 10, char16_t fill = u' ');
    RFormatString& arg(unsigned short value, int fieldWidth = 0, int base = 10,
                       char16_t fill = u' ');
    RFormatString& arg(int value, int fieldWidth = 0, int base = 10, char16_t fill = u' ');
    RFormatString& arg(unsigned int value, int fieldWidth = 0, int base = 10, char16_t fill = u' ');
    RFormatString& arg(long value, int fieldWidth = 0, int base = 10, char16_t fill = u' ');
    RFormatString& arg(unsigned long value, int fieldWidth = 0, int base = 10,
                       char16_t fill = u' ');
    RFormatString& arg(long long value, int fieldWidth = 0, int base = 10, char16_t fill = u' ');
    RFormatString& arg(unsigned long long value, int fieldWidth = 0, int base = 10,
                       char16_t fill = u' ');
    // As TStringCore::number(value, format, precision, upperCase).
    RFormatString& arg(double value, int fieldWidth = 0, char format = 'g', int precision = 6,
                       char16_t fill = u' ', bool upperCase = false);
    // Several arguments at once, in order, none padded.
    RFormatString& arg(std::vector<TStringCore> const& texts);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2, TStringCore const& a3);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2, TStringCore const& a3,
                       TStringCore const& a4);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2, TStringCore const& a3,
                       TStringCore const& a4, TStringCore const& a5);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2, TStringCore const& a3,
                       TStringCore const& a4, TStringCore const& a5, TStringCore const& a6);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2, TStringCore const& a3,
                       TStringCore const& a4, TStringCore const& a5, TStringCore const& a6,
                       TStringCore const& a7);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2, TStringCore const& a3,
                       TStringCore const& a4, TStringCore const& a5, TStringCore const& a6,
                       TStringCore const& a7, TStringCore const& a8);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2, TStringCore const& a3,
                       TStringCore const& a4, TStringCore const& a5, TStringCore const& a6,
                       TStringCore const& a7, TStringCore const& a8, TStringCore const& a9);
    RFormatString& arg(TStringCore const& a1, TStringCore const& a2, TStringCore const& a3,
                       TStringCore const& a4, TStringCore const& a5, TStringCore const& a6,
                       TStringCore const& a7, TStringCore const& a8, TStringCore const& a9,
                       TStringCore const& a10);

    // The text with every marker replaced. Throws Exception("insufficient
    // parameters to format string") when fewer arguments were collected than
    // the highest marker number.
    TStringCore result() const;

    // A decimal digit; units of 256 and above are never digits.
    static bool isDigit(char16_t unit) { return unit < 256 && unit >= u'0' && unit <= u'9'; }
    // REQUIRES: isDigit(unit).
    static int digitValue(char16_t unit) { return unit - 48; }

private:
    void scanForMarkers();
    RFormatString& append(TStringCore text, int fieldWidth, char16_t fill);

    int m_highestNumber = 0;
    std::vector<Marker> m_markers;
    std::vector<TStringCore> m_arguments;
    TStringCore m_format;
};

}  // namespace qel::core
