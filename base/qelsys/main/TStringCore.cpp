#include "qel/sys/TStringCore.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <ostream>
#include <stdexcept>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace qel::sys {

long long& TStringThreadMetrics::Local() {
    thread_local long long counter = 0;
    return counter;
}

// ---------------------------------------------------------------------------
// TLongStringHeader

namespace {

size_t BytesFor(int capacity) {
    return sizeof(TLongStringHeader) + (static_cast<size_t>(capacity) + 1) * sizeof(char16_t);
}

// Texts of many megabytes (a store's JSON text, say) are written once from
// front to back. On huge pages their first touch costs one page fault per
// 2 MiB instead of one per 4 KiB, which was a quarter of the time of writing
// such a text. Where the system offers no huge pages, the advice is ignored.
constexpr size_t kHugePage = size_t{2} << 20;
constexpr size_t kHugeText = 8 * kHugePage;

}  // namespace

TLongStringHeader* TLongStringHeader::Allocate(int capacity) {
    size_t const bytes = BytesFor(capacity);
    if (bytes < kHugeText)
        return new (::operator new(bytes)) TLongStringHeader(capacity);
    size_t const rounded = (bytes + kHugePage - 1) / kHugePage * kHugePage;
    void* const memory = ::operator new (rounded, std::align_val_t{kHugePage});
#ifdef MADV_HUGEPAGE
    ::madvise(memory, rounded, MADV_HUGEPAGE);
#endif
    return new (memory) TLongStringHeader(capacity);
}

void TLongStringHeader::release() noexcept {
    if (m_refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        bool const huge = BytesFor(m_capacity) >= kHugeText;
        this->~TLongStringHeader();
        if (huge)
            ::operator delete (static_cast<void*>(this), std::align_val_t{kHugePage});
        else
            ::operator delete(static_cast<void*>(this));
    }
}

// ---------------------------------------------------------------------------
// TStringManager

TStringManager::TStringManager(TStringManager const& other) noexcept
    : m_length(other.m_length), m_isLong(other.m_isLong) {
    if (m_isLong) {
        m_long = other.m_long;
        m_long->addRef();
    } else {
        std::memcpy(m_inline, other.m_inline, sizeof(m_inline));
    }
}

TStringManager::TStringManager(TStringManager&& other) noexcept
    : m_length(other.m_length), m_isLong(other.m_isLong) {
    if (m_isLong) {
        m_long = other.m_long;
    } else {
        std::memcpy(m_inline, other.m_inline, sizeof(m_inline));
    }
    other.m_isLong = false;
    other.m_length = 0;
    other.m_inline[0] = 0;
}

TStringManager& TStringManager::operator=(TStringManager const& other) noexcept {
    if (this != &other) {
        if (other.m_isLong)
            other.m_long->addRef();
        reset();
        m_length = other.m_length;
        m_isLong = other.m_isLong;
        if (m_isLong) {
            m_long = other.m_long;
        } else {
            std::memcpy(m_inline, other.m_inline, sizeof(m_inline));
        }
    }
    return *this;
}

TStringManager& TStringManager::operator=(TStringManager&& other) noexcept {
    if (this != &other) {
        reset();
        m_length = other.m_length;
        m_isLong = other.m_isLong;
        if (m_isLong) {
            m_long = other.m_long;
        } else {
            std::memcpy(m_inline, other.m_inline, sizeof(m_inline));
        }
        other.m_isLong = false;
        other.m_length = 0;
        other.m_inline[0] = 0;
    }
    return *this;
}

void TStringManager::reset() noexcept {
    if (m_isLong)
        m_long->release();
    m_isLong = false;
    m_length = 0;
    m_inline[0] = 0;
}

// Moves the first `keep` units into a fresh, unshared header of `capacity`.
void TStringManager::becomeLong(int capacity, int keep) {
    TLongStringHeader* header = TLongStringHeader::Allocate(capacity);
    std::memcpy(header->data(), data(), static_cast<size_t>(keep) * sizeof(char16_t));
    header->data()[keep] = 0;
    if (m_isLong)
        m_long->release();
    m_long = header;
    m_isLong = true;
}

char16_t* TStringManager::detach() {
    if (m_isLong && m_long->isShared())
        becomeLong(m_long->capacity(), m_length);
    return m_isLong ? m_long->data() : m_inline;
}

void TStringManager::reserve(int capacity) {
    if (capacity <= kInlineCapacity)
        return;
    if (!m_isLong || m_long->isShared() || m_long->capacity() < capacity) {
        becomeLong(std::max(capacity, m_length), m_length);
    }
}

char16_t* TStringManager::resize(int length) {
    if (length < 0)
        length = 0;
    if (length <= kInlineCapacity && !m_isLong) {
        // stays inline
    } else if (!m_isLong) {
        becomeLong(std::max(length, kInlineCapacity * 2), std::min(m_length, length));
    } else if (m_long->isShared() || m_long->capacity() < length) {
        int capacity = length;
        if (!m_long->isShared() && length > m_long->capacity()) {
            // Amortised growth for repeated appends.
            long long grown = static_cast<long long>(m_long->capacity()) * 3 / 2;
            capacity = static_cast<int>(std::min<long long>(std::max<long long>(grown, length),
                                                            std::numeric_limits<int>::max() - 64));
        }
        becomeLong(capacity, std::min(m_length, length));
    }
    m_length = length;
    char16_t* units = m_isLong ? m_long->data() : m_inline;
    units[length] = 0;
    return units;
}

// ---------------------------------------------------------------------------
// Construction and conversion

namespace {

int LengthOf(char const* text) {
    return static_cast<int>(std::strlen(text));
}

// Appends the UTF-8 form of one code point.
void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

char16_t FoldCase(char16_t c) {
    if ((c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7))
        return c + 32;
    return c;
}

bool IsSpace(char16_t c) {
    return c == u' ' || (c >= 9 && c <= 13) || c == 0x85 || c == 0xA0 || c == 0x2028 ||
           c == 0x2029 || c == 0x3000;
}

}  // namespace

TStringCore::TStringCore(char16_t const* text, int length) {
    countConstruction();
    if (text == nullptr)
        return;
    if (length < 0)
        length = TStringCore::length(text);
    if (length == 0)
        return;
    char16_t* out = m_data.resize(length);
    std::memcpy(out, text, static_cast<size_t>(length) * sizeof(char16_t));
}

TStringCore::TStringCore(char const* text, int length) {
    countConstruction();
    if (text == nullptr)
        return;
    if (length < 0)
        length = LengthOf(text);
    if (length == 0)
        return;
    char16_t* out = m_data.resize(length);
    for (int i = 0; i < length; ++i)
        out[i] = static_cast<unsigned char>(text[i]);
}

TStringCore::TStringCore(char16_t unit, int count) {
    countConstruction();
    if (count <= 0)
        return;
    char16_t* out = m_data.resize(count);
    std::fill(out, out + count, unit);
}

TStringCore TStringCore::fromStdString(std::string const& text) {
    return fromUtf8(text.data(), static_cast<int>(std::min<size_t>(text.size(), INT_MAX)));
}

TStringCore TStringCore::fromUtf8(char const* text, int length) {
    TStringCore result;
    if (text == nullptr)
        return result;
    if (length < 0)
        length = LengthOf(text);
    auto const* p = reinterpret_cast<unsigned char const*>(text);
    auto const* end = p + length;
    result.reserve(length);
    while (p < end) {
        unsigned char lead = *p;
        char32_t cp = 0xFFFD;
        int extra = 0;
        char32_t minimum = 0;
        if (lead < 0x80) {
            cp = lead;
        } else if (lead >= 0xC2 && lead <= 0xDF) {
            extra = 1, cp = lead & 0x1F, minimum = 0x80;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            extra = 2, cp = lead & 0x0F, minimum = 0x800;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            extra = 3, cp = lead & 0x07, minimum = 0x10000;
        } else {
            extra = -1;
        }
        ++p;
        if (extra < 0) {
            cp = 0xFFFD;
        } else if (extra > 0) {
            bool valid = end - p >= extra;
            for (int i = 0; valid && i < extra; ++i) {
                if ((p[i] & 0xC0) != 0x80)
                    valid = false;
            }
            if (valid) {
                for (int i = 0; i < extra; ++i)
                    cp = (cp << 6) | (p[i] & 0x3F);
                p += extra;
                if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
                    cp = 0xFFFD;
            } else {
                cp = 0xFFFD;
                // Skip the continuation units that do belong to the bad sequence.
                while (p < end && (*p & 0xC0) == 0x80)
                    ++p;
            }
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            result.append(static_cast<char16_t>(0xD800 + (cp >> 10)));
            result.append(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            result.append(static_cast<char16_t>(cp));
        }
    }
    return result;
}

std::string TStringCore::toStdString() const {
    std::string out;
    out.reserve(static_cast<size_t>(size()));
    char16_t const* p = data();
    int n = size();
    for (int i = 0; i < n; ++i) {
        char32_t c = p[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < n && p[i + 1] >= 0xDC00 && p[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (p[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = 0xFFFD;
        }
        AppendUtf8(out, c);
    }
    return out;
}

int TStringCore::length(char16_t const* text) noexcept {
    if (text == nullptr)
        return 0;
    char16_t const* p = text;
    while (*p)
        ++p;
    return static_cast<int>(p - text);
}

// ---------------------------------------------------------------------------
// Appending and assigning

TStringCore& TStringCore::appendByResizing(char16_t unit) {
    int n = size();
    m_data.resize(n + 1)[n] = unit;
    return *this;
}

char16_t* TStringCore::extendByResizing(int count) {
    int const n = size();
    return m_data.resize(n + std::max(count, 0)) + n;
}

TStringCore& TStringCore::append(char unit) {
    return append(static_cast<char16_t>(static_cast<unsigned char>(unit)));
}

TStringCore& TStringCore::appendByResizing(char16_t const* text, int length) {
    if (text == nullptr)
        return *this;
    if (length < 0)
        length = TStringCore::length(text);
    if (length == 0)
        return *this;
    int n = size();
    // `text` may point into this string; copy through a temporary then.
    if (text >= data() && text <= data() + n) {
        TStringCore copy(text, length);
        return append(copy);
    }
    char16_t* out = m_data.resize(n + length);
    std::memcpy(out + n, text, static_cast<size_t>(length) * sizeof(char16_t));
    return *this;
}

TStringCore& TStringCore::append(char const* text, int length) {
    if (text == nullptr)
        return *this;
    if (length < 0)
        length = LengthOf(text);
    int n = size();
    char16_t* out = m_data.resize(n + length);
    for (int i = 0; i < length; ++i)
        out[n + i] = static_cast<unsigned char>(text[i]);
    return *this;
}

TStringCore& TStringCore::append(TStringCore const& text) {
    if (text.isEmpty())
        return *this;
    if (isEmpty())
        return *this = text;
    if (&text == this) {
        TStringCore copy(text);
        return append(copy.data(), copy.size());
    }
    return append(text.data(), text.size());
}

TStringCore& TStringCore::assign(char16_t unit, int count) {
    *this = TStringCore(unit, count);
    return *this;
}

TStringCore& TStringCore::assign(char const* text, int length) {
    *this = TStringCore(text, length);
    return *this;
}

TStringCore operator+(char16_t a, TStringCore const& b) {
    TStringCore r;
    r.reserve(b.size() + 1);
    r.append(a);
    return r.append(b);
}

TStringCore operator+(char16_t const* a, TStringCore const& b) {
    TStringCore r(a);
    return r.append(b);
}

TStringCore operator+(TStringCore const& a, char16_t b) {
    TStringCore r(a);
    return r.append(b);
}

TStringCore operator+(TStringCore const& a, char16_t const* b) {
    TStringCore r(a);
    return r.append(b, -1);
}

TStringCore operator+(TStringCore const& a, TStringCore const& b) {
    TStringCore r;
    r.reserve(a.size() + b.size());
    r.append(a.data(), a.size());
    return r.append(b.data(), b.size());
}

std::ostream& operator<<(std::ostream& out, TStringCore const& s) {
    return out << s.toStdString();
}

// ---------------------------------------------------------------------------
// Comparison and search

bool TStringCore::operator==(char16_t const* other) const noexcept {
    if (other == nullptr)
        return isEmpty();
    return view() == std::u16string_view(other);
}

int TStringCore::compare(char16_t const* a, char16_t const* b, CaseSensitivity cs) noexcept {
    if (a == nullptr)
        a = u"";
    if (b == nullptr)
        b = u"";
    for (;; ++a, ++b) {
        char16_t x = *a;
        char16_t y = *b;
        if (cs == CaseSensitivity::CaseInsensitive) {
            x = FoldCase(x);
            y = FoldCase(y);
        }
        if (x != y)
            return x < y ? -1 : 1;
        if (x == 0)
            return 0;
    }
}

int TStringCore::compare(TStringCore const& other, CaseSensitivity cs) const noexcept {
    int n = std::min(size(), other.size());
    for (int i = 0; i < n; ++i) {
        char16_t x = (*this)[i];
        char16_t y = other[i];
        if (cs == CaseSensitivity::CaseInsensitive) {
            x = FoldCase(x);
            y = FoldCase(y);
        }
        if (x != y)
            return x < y ? -1 : 1;
    }
    return size() == other.size() ? 0 : (size() < other.size() ? -1 : 1);
}

int TStringCore::indexOf(char16_t unit, int from) const noexcept {
    if (from < 0)
        from = std::max(0, size() + from);
    for (int i = from; i < size(); ++i) {
        if ((*this)[i] == unit)
            return i;
    }
    return -1;
}

int TStringCore::indexOf(TStringCore const& text, int from, CaseSensitivity cs) const noexcept {
    if (from < 0)
        from = std::max(0, size() + from);
    int n = text.size();
    for (int i = from; i + n <= size(); ++i) {
        int j = 0;
        for (; j < n; ++j) {
            char16_t x = (*this)[i + j];
            char16_t y = text[j];
            if (cs == CaseSensitivity::CaseInsensitive) {
                x = FoldCase(x);
                y = FoldCase(y);
            }
            if (x != y)
                break;
        }
        if (j == n)
            return i;
    }
    return -1;
}

// ---------------------------------------------------------------------------
// Derived strings

TStringCore TStringCore::mid(int position, int count) const {
    int n = size();
    if (position >= n)
        return {};
    if (position < 0) {
        if (count >= 0)
            count = std::max(0, count + position);
        position = 0;
    }
    int available = n - position;
    if (count < 0 || count > available)
        count = available;
    if (position == 0 && count == n)
        return *this;
    return TStringCore(data() + position, count);
}

TStringCore& TStringCore::replace(char16_t unit, TStringCore const& text) {
    if (indexOf(unit) < 0)
        return *this;
    TStringCore replacement(text);  // `text` may alias this string
    TStringCore out;
    out.reserve(size());
    for (char16_t c : view()) {
        if (c == unit) {
            out.append(replacement);
        } else {
            out.append(c);
        }
    }
    return *this = std::move(out);
}

TStringCore TStringCore::trimmed() const {
    int first = 0;
    int last = size();
    while (first < last && IsSpace((*this)[first]))
        ++first;
    while (last > first && IsSpace((*this)[last - 1]))
        --last;
    return mid(first, last - first);
}

TStringCore TStringCore::repeated(int count) const {
    if (count <= 0 || isEmpty())
        return {};
    long long total = static_cast<long long>(size()) * count;
    if (total > std::numeric_limits<int>::max() - 64)
        throw std::length_error("string too long");
    TStringCore out;
    out.reserve(static_cast<int>(total));
    for (int i = 0; i < count; ++i)
        out.append(data(), size());
    return out;
}

std::vector<TStringCore> TStringCore::split(char16_t separator, SplitBehavior behavior) const {
    std::vector<TStringCore> parts;
    int start = 0;
    for (int i = 0; i <= size(); ++i) {
        if (i == size() || (*this)[i] == separator) {
            if (i > start || behavior == SplitBehavior::KeepEmptyParts) {
                parts.push_back(mid(start, i - start));
            }
            start = i + 1;
        }
    }
    return parts;
}

TStringCore TStringCore::leftJustified(int width, char16_t fill, bool truncate) const {
    if (size() >= width)
        return truncate ? mid(0, width) : *this;
    TStringCore out(*this);
    out.append(TStringCore(fill, width - size()));
    return out;
}

TStringCore TStringCore::rightJustified(int width, char16_t fill, bool truncate) const {
    if (size() >= width)
        return truncate ? mid(0, width) : *this;
    TStringCore out(fill, width - size());
    return out.append(*this);
}

// ---------------------------------------------------------------------------
// Numbers

template <class Int>
TStringCore TStringCore::integerText(Int v, int base, int width, char16_t fill) {
    if (base < 2 || base > 36)
        base = 10;
    using Unsigned = std::make_unsigned_t<Int>;
    bool negative = false;
    Unsigned magnitude = static_cast<Unsigned>(v);
    if constexpr (std::is_signed_v<Int>) {
        if (v < 0) {
            negative = true;
            magnitude = static_cast<Unsigned>(Unsigned(0) - magnitude);
        }
    }
    char16_t buffer[72];
    int pos = 72;
    do {
        unsigned digit = static_cast<unsigned>(magnitude % static_cast<Unsigned>(base));
        buffer[--pos] = static_cast<char16_t>(digit < 10 ? u'0' + digit : u'a' + digit - 10);
        magnitude /= static_cast<Unsigned>(base);
    } while (magnitude != 0);
    if (negative)
        buffer[--pos] = u'-';
    TStringCore digits(buffer + pos, 72 - pos);
    return width > digits.size() ? digits.rightJustified(width, fill) : digits;
}

TStringCore TStringCore::number(short v, int b, int w, char16_t f) {
    return integerText(v, b, w, f);
}
TStringCore TStringCore::number(unsigned short v, int b, int w, char16_t f) {
    return integerText(v, b, w, f);
}
TStringCore TStringCore::number(int v, int b, int w, char16_t f) {
    return integerText(v, b, w, f);
}
TStringCore TStringCore::number(unsigned int v, int b, int w, char16_t f) {
    return integerText(v, b, w, f);
}
TStringCore TStringCore::number(long v, int b, int w, char16_t f) {
    return integerText(v, b, w, f);
}
TStringCore TStringCore::number(unsigned long v, int b, int w, char16_t f) {
    return integerText(v, b, w, f);
}
TStringCore TStringCore::number(long long v, int b, int w, char16_t f) {
    return integerText(v, b, w, f);
}
TStringCore TStringCore::number(unsigned long long v, int b, int w, char16_t f) {
    return integerText(v, b, w, f);
}

TStringCore TStringCore::number(double value, char format, int precision, bool upperCase) {
    // Every double is spelt exactly with 1074 fractional digits; more only
    // adds zeros, and an unbounded precision would make the buffer unbounded.
    constexpr int kMaxPrecision = 1100;
    if (precision < 0)
        precision = 6;
    precision = std::min(precision, kMaxPrecision);
    std::chars_format notation = std::chars_format::general;
    switch (format) {
        case 'e':
        case 'E':
            notation = std::chars_format::scientific;
            break;
        case 'f':
            notation = std::chars_format::fixed;
            break;
        default:
            break;
    }
    bool const upper = upperCase || format == 'E' || format == 'G';
    // Sign, 309 integral digits, point, the fraction and an exponent fit.
    char buffer[kMaxPrecision + 340];
    auto const [end, error] =
        std::to_chars(buffer, buffer + sizeof(buffer), value, notation, precision);
    if (error != std::errc())
        return {};
    TStringCore text;
    char16_t* out = text.m_data.resize(static_cast<int>(end - buffer));
    for (char const* p = buffer; p != end; ++p) {
        char c = *p;
        if (upper && c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
        *out++ = static_cast<unsigned char>(c);
    }
    return text;
}

TStringCore TStringCore::pointer(void const* p, bool prefix, bool padded) {
    TStringCore digits = integerText(reinterpret_cast<uintptr_t>(p), 16,
                                     padded ? static_cast<int>(2 * sizeof(void*)) : 0, u'0');
    return prefix ? u"0x" + digits : digits;
}

namespace {

// The trimmed ASCII form of the text, or false if it holds a unit beyond
// ASCII (which can be no part of a number).
bool AsciiTrimmed(TStringCore const& text, std::string& out) {
    TStringCore t = text.trimmed();
    out.clear();
    out.reserve(static_cast<size_t>(t.size()));
    for (char16_t c : t.view()) {
        if (c == 0 || c > 0x7F)
            return false;
        out.push_back(static_cast<char>(c));
    }
    return !out.empty();
}

}  // namespace

long long TStringCore::toLongLong(bool* ok, int base) const {
    std::string text;
    long long value = 0;
    bool good = AsciiTrimmed(*this, text) && base >= 2 && base <= 36;
    if (good) {
        char* end = nullptr;
        errno = 0;
        value = std::strtoll(text.c_str(), &end, base);
        good = errno == 0 && end == text.c_str() + text.size() && !std::isspace(text[0]);
    }
    if (ok)
        *ok = good;
    return good ? value : 0;
}

unsigned short TStringCore::toUShort(bool* ok, int base) const {
    bool good = false;
    long long value = toLongLong(&good, base);
    good = good && value >= 0 && value <= std::numeric_limits<unsigned short>::max();
    if (ok)
        *ok = good;
    return good ? static_cast<unsigned short>(value) : 0;
}

double TStringCore::toDouble(bool* ok) const {
    std::string text;
    double value = 0;
    bool good = AsciiTrimmed(*this, text);
    if (good) {
        char* end = nullptr;
        value = std::strtod(text.c_str(), &end);
        good = end == text.c_str() + text.size();
    }
    if (ok)
        *ok = good;
    return good ? value : 0;
}

}  // namespace qel::sys
