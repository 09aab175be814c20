#pragma once

// TStringCore is the string of the whole runtime: a sequence of UTF-16 code
// units with a signed 32-bit length and value semantics. Surrogate pairs are
// not interpreted; every operation works on code units.
//
// Storage: up to kInlineCapacity units live inside the object. Longer texts
// live in a reference-counted TLongStringHeader that a copy shares, so copying
// a long string costs one atomic increment. A mutating call on a shared long
// string first detaches it (copy on write), so value semantics hold.
//
// Thread safety: like std::string. Distinct objects may be used from distinct
// threads even when they share a long-string header; one object must not be
// mutated while another thread reads it.
//
// constData() is always zero-terminated.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace qel::sys {

enum class CaseSensitivity : int { CaseInsensitive = 0, CaseSensitive = 1 };
enum class SplitBehavior : int { KeepEmptyParts = 0, SkipEmptyParts = 1 };

// Opt-in instrumentation: while m_enabled is set, every string constructor
// raises the calling thread's counter and every destructor lowers it. Set the
// flag before any string of interest is made; it is not synchronised.
struct TStringMetrics {
    static inline bool m_enabled = false;
};
struct TStringThreadMetrics {
    static long long& Local();
};

// The shared storage of a long string. The code units follow the header in
// the same allocation.
class TLongStringHeader {
public:
    static TLongStringHeader* Allocate(int capacity);

    void addRef() noexcept { m_refs.fetch_add(1, std::memory_order_relaxed); }
    // Drops one reference; frees the allocation at zero.
    void release() noexcept;
    bool isShared() const noexcept { return m_refs.load(std::memory_order_acquire) > 1; }
    int capacity() const noexcept { return m_capacity; }
    char16_t* data() noexcept { return reinterpret_cast<char16_t*>(this + 1); }
    char16_t const* data() const noexcept { return reinterpret_cast<char16_t const*>(this + 1); }

private:
    explicit TLongStringHeader(int capacity) : m_refs(1), m_capacity(capacity) {}
    std::atomic<int> m_refs;
    int m_capacity;
};
static_assert(sizeof(TLongStringHeader) % alignof(char16_t) == 0);

// The storage half of TStringCore: inline units or a shared header.
class TStringManager {
public:
    static constexpr int kInlineCapacity = 11;

    TStringManager() noexcept : m_length(0), m_isLong(false) { m_inline[0] = 0; }
    TStringManager(TStringManager const& other) noexcept;
    TStringManager(TStringManager&& other) noexcept;
    TStringManager& operator=(TStringManager const& other) noexcept;
    TStringManager& operator=(TStringManager&& other) noexcept;
    ~TStringManager() {
        if (m_isLong)
            m_long->release();
    }

    int size() const noexcept { return m_length; }
    char16_t const* data() const noexcept { return m_isLong ? m_long->data() : m_inline; }
    // Makes the string `length` units long (keeping the common prefix) and
    // returns its unshared, writable storage; the unit at `length` is zero.
    char16_t* resize(int length);
    // Ensures room for `capacity` units without changing the text.
    void reserve(int capacity);
    // Room for `count` more units at the end of a long, unshared text that
    // has it, the text made that long; null otherwise (resize() then). The
    // appends of a writer that reserved its text take this inline path.
    char16_t* tryExtend(int count) noexcept {
        if (!m_isLong || m_long->capacity() - m_length < count || m_long->isShared())
            return nullptr;
        char16_t* const at = m_long->data() + m_length;
        m_length += count;
        at[count] = 0;
        return at;
    }
    // Writable storage of the current text, detached from any other owner.
    char16_t* detach();

private:
    void becomeLong(int capacity, int keep);
    void reset() noexcept;

    union {
        char16_t m_inline[kInlineCapacity + 1];
        TLongStringHeader* m_long;
    };
    int m_length;
    bool m_isLong;
};

class TStringCore {
public:
    using value_type = char16_t;
    using const_iterator = char16_t const*;
    using iterator = char16_t*;

    TStringCore() noexcept { countConstruction(); }
    // A copy of `length` code units, or up to the terminating zero when length
    // is -1. A null pointer or a zero length gives the empty string.
    explicit TStringCore(char16_t const* text, int length = -1);
    // A widened copy of narrow (Latin-1) text; -1 means up to the zero.
    explicit TStringCore(char const* text, int length = -1);
    // A run of `count` copies of one unit.
    TStringCore(char16_t unit, int count);
    TStringCore(TStringCore const& other) noexcept : m_data(other.m_data) { countConstruction(); }
    TStringCore(TStringCore&& other) noexcept : m_data(std::move(other.m_data)) {
        countConstruction();
    }
    TStringCore& operator=(TStringCore const&) noexcept = default;
    TStringCore& operator=(TStringCore&&) noexcept = default;
    ~TStringCore() {
        if (TStringMetrics::m_enabled) [[unlikely]]
            --TStringThreadMetrics::Local();
    }

    // Narrow text is UTF-8 in both directions; an invalid sequence decodes to
    // U+FFFD and a lone surrogate encodes as U+FFFD.
    static TStringCore fromStdString(std::string const& text);
    static TStringCore fromUtf8(char const* text, int length = -1);
    std::string toStdString() const;

    static int length(char16_t const* text) noexcept;
    int length() const noexcept { return m_data.size(); }
    int size() const noexcept { return m_data.size(); }
    bool isEmpty() const noexcept { return m_data.size() == 0; }

    char16_t const* constData() const noexcept { return m_data.data(); }
    char16_t const* data() const noexcept { return m_data.data(); }
    operator char16_t const*() const noexcept { return m_data.data(); }
    std::u16string_view view() const noexcept {
        return {m_data.data(), static_cast<size_t>(m_data.size())};
    }

    const_iterator begin() const noexcept { return m_data.data(); }
    const_iterator end() const noexcept { return m_data.data() + m_data.size(); }
    const_iterator cbegin() const noexcept { return begin(); }
    const_iterator cend() const noexcept { return end(); }
    iterator begin() { return m_data.detach(); }
    iterator end() { return m_data.detach() + m_data.size(); }

    // REQUIRES: 0 <= index < length().
    char16_t operator[](int index) const noexcept { return m_data.data()[index]; }
    char16_t operator[](unsigned long index) const noexcept { return m_data.data()[index]; }
    char16_t& operator[](int index) { return m_data.detach()[index]; }
    char16_t& operator[](unsigned long index) { return m_data.detach()[index]; }

    TStringCore& append(char16_t unit) {
        if (char16_t* const at = m_data.tryExtend(1)) {
            *at = unit;
            return *this;
        }
        return appendByResizing(unit);
    }
    TStringCore& append(char unit);
    // Short texts (numbers, names) are copied unit by unit inline when the
    // reserved room allows: cheaper than a call to memcpy.
    TStringCore& append(char16_t const* text, int length) {
        if (length > 0 && length <= 32 && text != nullptr && !overlaps(text)) {
            if (char16_t* const at = m_data.tryExtend(length)) {
                for (int i = 0; i < length; ++i)
                    at[i] = text[i];
                return *this;
            }
        }
        return appendByResizing(text, length);
    }
    TStringCore& append(char const* text, int length);
    TStringCore& append(TStringCore const& text);
    // Makes the text `count` (>= 0) units longer and returns where those
    // units begin, for the caller to write them all before any other use of
    // the string: a writer that knows its next units fills them in place.
    char16_t* extend(int count) {
        if (char16_t* const at = m_data.tryExtend(count))
            return at;
        return extendByResizing(count);
    }
    TStringCore& operator+=(TStringCore const& text) { return append(text); }
    TStringCore& operator+=(char16_t unit) { return append(unit); }

    TStringCore& assign(char16_t unit, int count);
    TStringCore& assign(char const* text, int length);

    bool operator==(TStringCore const& other) const noexcept { return view() == other.view(); }
    bool operator!=(TStringCore const& other) const noexcept { return !(*this == other); }
    bool operator<(TStringCore const& other) const noexcept { return view() < other.view(); }
    bool operator==(char16_t const* other) const noexcept;
    bool operator!=(char16_t const* other) const noexcept { return !(*this == other); }

    static int compare(char16_t const* a, char16_t const* b, CaseSensitivity cs) noexcept;
    int compare(TStringCore const& other, CaseSensitivity cs) const noexcept;

    int indexOf(char16_t unit, int from = 0) const noexcept;
    int indexOf(TStringCore const& text, int from = 0,
                CaseSensitivity cs = CaseSensitivity::CaseSensitive) const noexcept;
    // The `count` units from `position`, clipped to the string; -1 means to
    // the end. A position past the end gives the empty string.
    TStringCore mid(int position, int count = -1) const;
    bool startsWith(char16_t unit) const noexcept { return size() > 0 && (*this)[0] == unit; }
    // Replaces every occurrence of `unit` by `text`.
    TStringCore& replace(char16_t unit, TStringCore const& text);
    void reserve(int capacity) { m_data.reserve(capacity); }
    TStringCore trimmed() const;
    TStringCore repeated(int count) const;
    std::vector<TStringCore> split(char16_t separator,
                                   SplitBehavior behavior = SplitBehavior::KeepEmptyParts) const;
    TStringCore leftJustified(int width, char16_t fill = u' ', bool truncate = false) const;
    TStringCore rightJustified(int width, char16_t fill = u' ', bool truncate = false) const;

    // Integer text in bases 2 to 36 (lower-case digits), padded on the left
    // with `fill` to `width` units. A negative value gets a leading minus.
    static TStringCore number(short v, int base = 10, int width = 0, char16_t fill = u' ');
    static TStringCore number(unsigned short v, int base = 10, int width = 0, char16_t fill = u' ');
    static TStringCore number(int v, int base = 10, int width = 0, char16_t fill = u' ');
    static TStringCore number(unsigned int v, int base = 10, int width = 0, char16_t fill = u' ');
    static TStringCore number(long v, int base = 10, int width = 0, char16_t fill = u' ');
    static TStringCore number(unsigned long v, int base = 10, int width = 0, char16_t fill = u' ');
    static TStringCore number(long long v, int base = 10, int width = 0, char16_t fill = u' ');
    static TStringCore number(unsigned long long v, int base = 10, int width = 0,
                              char16_t fill = u' ');
    // Floating-point text as printf gives it in the C locale, whatever the
    // process locale: `format` is 'e', 'E', 'f', 'g' or 'G' (any other acts as
    // 'g') and `precision` means what it means there (negative: 6; above 1100,
    // which already spells every double exactly, 1100). `upperCase` writes the
    // letters of the text ("E", "INF", "NAN") in upper case whatever the case
    // of `format`, so that callers that hold the case apart from the notation
    // need not rebuild the format character.
    static TStringCore number(double value, char format = 'g', int precision = 6,
                              bool upperCase = false);
    // Text of a pointer for diagnostics: hexadecimal, with a "0x" prefix when
    // `prefix` is set and zero-padded to the pointer's width when `padded`.
    static TStringCore pointer(void const* p, bool prefix = true, bool padded = false);

    // Whole-string conversions: surrounding blanks are allowed, anything else
    // that is not part of the number makes `ok` false and the result 0.
    long long toLongLong(bool* ok = nullptr, int base = 10) const;
    unsigned short toUShort(bool* ok = nullptr, int base = 10) const;
    double toDouble(bool* ok = nullptr) const;

private:
    TStringCore& appendByResizing(char16_t unit);
    TStringCore& appendByResizing(char16_t const* text, int length);
    char16_t* extendByResizing(int count);
    // Whether `text` may point into this string's own units.
    bool overlaps(char16_t const* text) const noexcept {
        auto const at = reinterpret_cast<std::uintptr_t>(text);
        auto const begin = reinterpret_cast<std::uintptr_t>(m_data.data());
        return at >= begin && at <= begin + sizeof(char16_t) * static_cast<std::size_t>(size());
    }
    void countConstruction() noexcept {
        if (TStringMetrics::m_enabled) [[unlikely]]
            ++TStringThreadMetrics::Local();
    }
    template <class Int>
    static TStringCore integerText(Int v, int base, int width, char16_t fill);

    TStringManager m_data;
};

TStringCore operator+(char16_t a, TStringCore const& b);
TStringCore operator+(char16_t const* a, TStringCore const& b);
TStringCore operator+(TStringCore const& a, char16_t b);
TStringCore operator+(TStringCore const& a, char16_t const* b);
TStringCore operator+(TStringCore const& a, TStringCore const& b);

// Writes the UTF-8 form; for test diagnostics and logs.
std::ostream& operator<<(std::ostream& out, TStringCore const& s);

}  // namespace qel::sys
