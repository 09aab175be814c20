// The fast JSON reader: IJsonObject over simdjson's DOM.
//
// simdjson is strict JSON, jsoncpp (the reference) is not, so the verdicts
// agree by construction only in one direction: whatever simdjson refuses
// (comments, text after the root value, "01", "+1", raw control characters
// in strings, escapes of lone surrogates, numbers beyond the doubles...) is
// parsed again by the reference reader, which has the last word. What
// simdjson accepts, jsoncpp accepts too and reads the same, provided that
//   - nesting stops where jsoncpp's stack limit does: simdjson's depth limit
//     of 1000 refuses exactly the texts that jsoncpp's limit of 1000 does;
//   - a leading byte order mark, which jsoncpp skips, is skipped;
//   - no name reaches 2^30 bytes (jsoncpp refuses it): texts of 2^30 bytes
//     and more go to the reference reader whole.
// The tree then has to be walked the way jsoncpp's is: members in the byte
// order of their names, the last of equal names kept; numbers converted as
// jsoncpp's Value converts them, Int and UInt being the integers simdjson
// reads as int64 and uint64.

#include <simdjson.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "core/main/serialize/JsonReaders.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/Validation.h"

namespace qel::core::detail {

namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

constexpr std::size_t kMaxDepth = 1000;
constexpr std::size_t kLongestFastText = std::size_t{1} << 30;
// Smaller texts reuse a parser per thread; a large one would keep its
// buffers (several times the text) alive for the life of the thread.
constexpr std::size_t kLongestReusedParser = std::size_t{1} << 18;

using Root = std::shared_ptr<simdjson::dom::document const>;

JsonScalar ScalarOf(element e) {
    JsonScalar s;
    switch (e.type()) {
        case element_type::NULL_VALUE:
            break;
        case element_type::BOOL:
            s.kind = JsonKind::Bool;
            s.boolean = e.get_bool().value_unsafe();
            break;
        case element_type::INT64:
            s.kind = JsonKind::Int;
            s.integer = e.get_int64().value_unsafe();
            break;
        case element_type::UINT64:
            s.kind = JsonKind::UInt;
            s.unsignedInteger = e.get_uint64().value_unsafe();
            break;
        case element_type::DOUBLE:
            s.kind = JsonKind::Real;
            s.real = e.get_double().value_unsafe();
            break;
        case element_type::STRING:
            s.kind = JsonKind::String;
            break;
        case element_type::ARRAY:
            s.kind = JsonKind::Array;
            break;
        case element_type::OBJECT:
            s.kind = JsonKind::Object;
            break;
    }
    return s;
}

// The conversions settle the common cases here and leave the rest (every
// failure, and a real at the edge of a range) to the reference reader.
bool BoolOf(element e) {
    switch (e.type()) {
        case element_type::BOOL:
            return e.get_bool().value_unsafe();
        case element_type::NULL_VALUE:
            return false;
        case element_type::INT64:
            return e.get_int64().value_unsafe() != 0;
        case element_type::UINT64:
            return e.get_uint64().value_unsafe() != 0;
        case element_type::DOUBLE: {
            int const kind = std::fpclassify(e.get_double().value_unsafe());
            return kind != FP_ZERO && kind != FP_NAN;
        }
        default:
            return ReferenceBool(ScalarOf(e));
    }
}

int Int32Of(element e) {
    switch (e.type()) {
        case element_type::BOOL:
            return e.get_bool().value_unsafe() ? 1 : 0;
        case element_type::NULL_VALUE:
            return 0;
        case element_type::INT64: {
            long long const v = e.get_int64().value_unsafe();
            if (v >= INT_MIN && v <= INT_MAX)
                return static_cast<int>(v);
            break;
        }
        case element_type::DOUBLE: {
            double const v = e.get_double().value_unsafe();
            if (v >= -2147483648.0 && v <= 2147483647.0)
                return static_cast<int>(v);
            break;
        }
        default:
            break;
    }
    return ReferenceInt32(ScalarOf(e));
}

long long Int64Of(element e) {
    switch (e.type()) {
        case element_type::BOOL:
            return e.get_bool().value_unsafe() ? 1 : 0;
        case element_type::NULL_VALUE:
            return 0;
        case element_type::INT64:
            return e.get_int64().value_unsafe();
        case element_type::DOUBLE: {
            // 2^63 itself passes the reference's range check and converts
            // as the machine does; it decides that case.
            double const v = e.get_double().value_unsafe();
            if (v >= -9223372036854775808.0 && v < 9223372036854775808.0)
                return static_cast<long long>(v);
            break;
        }
        default:
            break;
    }
    return ReferenceInt64(ScalarOf(e));
}

// TStringCore::fromUtf8, quicker on ASCII, which it widens unit by unit as
// the Latin-1 constructor does.
TStringCore FromUtf8(char const* text, std::size_t size) {
    unsigned char any = 0;
    for (std::size_t i = 0; i < size; ++i)
        any |= static_cast<unsigned char>(text[i]);
    if (any < 0x80)
        return TStringCore(text, static_cast<int>(size));
    return TStringCore::fromUtf8(text, static_cast<int>(size));
}

// The length of a string's text up to its first NUL, as the reference
// reader's adapter cuts it, and in the same pass whether it is ASCII and
// whether it holds a unit that `marked` marks: strings are short, so one
// pass beats memchr and a second scan.
struct TextScan {
    std::size_t size = 0;
    bool ascii = true;
    bool marked = false;
};

template <bool kMark = false>
TextScan ScanText(std::string_view text, bool const* marked = nullptr) {
    unsigned char any = 0;
    bool mark = false;
    std::size_t size = 0;
    for (; size < text.size(); ++size) {
        auto const c = static_cast<unsigned char>(text[size]);
        if (c == 0)
            break;
        any |= c;
        if constexpr (kMark)
            mark |= marked[c];
    }
    return {size, any < 0x80, mark};
}

TStringCore TextOf(std::string_view text, TextScan const& scan) {
    if (scan.ascii)
        return TStringCore(text.data(), static_cast<int>(scan.size));
    return TStringCore::fromUtf8(text.data(), static_cast<int>(scan.size));
}

TStringCore StringOf(element e) {
    if (e.type() != element_type::STRING)
        ReferenceStringFailure(ScalarOf(e));
    std::string_view const text = e.get_string().value_unsafe();
    return TextOf(text, ScanText(text));
}

template <class Real>
Real RealOf(element e) {
    switch (e.type()) {
        case element_type::STRING:
            if constexpr (std::is_same_v<Real, float>)
                return ParseReal32FromString(StringOf(e));
            else
                return ParseReal64FromString(StringOf(e));
        case element_type::BOOL:
            return e.get_bool().value_unsafe() ? Real(1) : Real(0);
        case element_type::NULL_VALUE:
            return Real(0);
        case element_type::INT64:
            return static_cast<Real>(e.get_int64().value_unsafe());
        case element_type::UINT64:
            return static_cast<Real>(e.get_uint64().value_unsafe());
        case element_type::DOUBLE:
            return static_cast<Real>(e.get_double().value_unsafe());
        default:
            if constexpr (std::is_same_v<Real, float>)
                return ReferenceReal32(ScalarOf(e));
            else
                return ReferenceReal64(ScalarOf(e));
    }
}

// The members of a dictionary as jsoncpp keeps them: by the bytes of their
// names (shorter first on a common prefix), the last of equal names.
struct Member {
    std::string_view name;
    element value;
};
using Members = std::vector<Member>;

std::shared_ptr<Members const> MembersOf(element e) {
    auto members = std::make_shared<Members>();
    simdjson::dom::object const object = e.get_object().value_unsafe();
    members->reserve(object.size());
    bool ordered = true;
    for (auto const [name, value] : object) {
        if (!members->empty() && !(members->back().name < name))
            ordered = false;
        members->push_back({name, value});
    }
    if (ordered)
        return members;
    std::stable_sort(members->begin(), members->end(),
                     [](Member const& a, Member const& b) { return a.name < b.name; });
    auto kept = members->begin();
    for (auto it = members->begin(); it != members->end(); ++it) {
        if (std::next(it) != members->end() && std::next(it)->name == it->name)
            continue;
        *kept++ = *it;
    }
    members->erase(kept, members->end());
    return members;
}

template <class T>
class IteratorAdapter;

class Face;

// begin() and end() over the elements or the members of a face's current
// value.
template <class T>
class Iterable final : public IJsonIterable<T> {
public:
    explicit Iterable(Face const& face) : m_face(face) {}
    std::unique_ptr<IJsonIteratorAdapter<T>> begin() const override;
    std::unique_ptr<IJsonIteratorAdapter<T>> end() const override;

private:
    Face const& m_face;
};

class Face : public IJsonObject {
public:
    Face(Root root, element value)
        : m_root(std::move(root)), m_value(value), m_array(*this), m_dictionary(*this) {}
    Face(Face const& other) : Face(other.m_root, other.m_value) {}
    Face& operator=(Face const&) = delete;

    bool IsValue() const override { return !IsArray() && !IsDictionary(); }
    bool IsArray() const override { return m_value.type() == element_type::ARRAY; }
    bool IsDictionary() const override { return m_value.type() == element_type::OBJECT; }
    bool IsString() const override { return m_value.type() == element_type::STRING; }
    bool GetBool() const override { return BoolOf(m_value); }
    TStringCore GetString() const override { return StringOf(m_value); }
    int GetInt32() const override { return Int32Of(m_value); }
    long long GetInt64() const override { return Int64Of(m_value); }
    float GetReal32() const override { return RealOf<float>(m_value); }
    double GetReal64() const override { return RealOf<double>(m_value); }
    IJsonIterable<JsonArrayElement> const& GetArray() const override { return m_array; }
    IJsonIterable<JsonDictionaryEntry> const& GetDictionary() const override {
        return m_dictionary;
    }

    Root const& GetRoot() const { return m_root; }
    element GetValue() const { return m_value; }
    // Sorted once per value, shared by begin(), end() and their clones.
    std::shared_ptr<Members const> const& GetMembers() const {
        if (m_members == nullptr)
            m_members = MembersOf(m_value);
        return m_members;
    }

protected:
    void MoveTo(element value) {
        m_value = value;
        m_members.reset();
    }

    Root m_root;

private:
    element m_value;
    mutable std::shared_ptr<Members const> m_members;
    Iterable<JsonArrayElement> m_array;
    Iterable<JsonDictionaryEntry> m_dictionary;
};

// A position among the elements of an array or the members of a
// dictionary; an empty walk for any other value.
struct Position {
    simdjson::dom::array::iterator element;
    std::shared_ptr<Members const> members;
    std::size_t index = 0;

    bool operator==(Position const& other) const {
        if (members != nullptr || other.members != nullptr)
            return members == other.members && index == other.index;
        return element == other.element;
    }
};

template <class T>
class IteratorAdapter final : public IJsonIteratorAdapter<T>, public Face {
public:
    IteratorAdapter(Root const& root, Position position)
        : Face(root, element()), m_position(std::move(position)) {}

    T GetCurrent() const override {
        auto* self = const_cast<IteratorAdapter*>(this);
        Member const* member = nullptr;
        if (m_position.members != nullptr) {
            member = &(*m_position.members)[m_position.index];
            self->MoveTo(member->value);
        } else {
            self->MoveTo(*m_position.element);
        }
        // The element is this iterator, so it lives as long as the iterator
        // and no longer, whoever holds the pointer: owning nothing spares two
        // atomic counts per element.
        std::shared_ptr<IJsonObject> current(std::shared_ptr<void>(),
                                             static_cast<IJsonObject*>(self));
        if constexpr (std::is_same_v<T, JsonArrayElement>) {
            return current;
        } else {
            if (member == nullptr)
                return {TStringCore(), std::move(current)};
            return {FromUtf8(member->name.data(), member->name.size()), std::move(current)};
        }
    }
    void MoveNext() override {
        if (m_position.members != nullptr)
            ++m_position.index;
        else
            ++m_position.element;
    }
    std::unique_ptr<IJsonIteratorAdapter<T>> Clone() const override {
        return std::make_unique<IteratorAdapter>(m_root, m_position);
    }
    bool IsEqualTo(IJsonIteratorAdapter<T> const& other) const override {
        // Walks compare with end() at every step: typeid is cheaper than a
        // dynamic_cast.
        if (typeid(other) != typeid(IteratorAdapter))
            return false;
        return m_position == static_cast<IteratorAdapter const&>(other).m_position;
    }

private:
    Position m_position;
};

// Arrays walk their elements, dictionaries their members (as jsoncpp's
// iterators do, whichever walk is asked for), anything else nothing.
Position Start(Face const& face, bool atEnd) {
    Position position;
    element const value = face.GetValue();
    if (value.type() == element_type::ARRAY) {
        simdjson::dom::array const array = value.get_array().value_unsafe();
        position.element = atEnd ? array.end() : array.begin();
    } else if (value.type() == element_type::OBJECT) {
        position.members = face.GetMembers();
        position.index = atEnd ? position.members->size() : 0;
    }
    return position;
}

template <class T>
std::unique_ptr<IJsonIteratorAdapter<T>> Iterable<T>::begin() const {
    return std::make_unique<IteratorAdapter<T>>(m_face.GetRoot(), Start(m_face, false));
}

template <class T>
std::unique_ptr<IJsonIteratorAdapter<T>> Iterable<T>::end() const {
    return std::make_unique<IteratorAdapter<T>>(m_face.GetRoot(), Start(m_face, true));
}

// Narrows the run of ASCII at the start of `units`, sixteen or eight at a
// time, into `out`; returns how many units it took (maybe none).
std::size_t NarrowAscii(char16_t const* units, std::size_t n, char* out) {
    std::size_t i = 0;
#if defined(__SSE2__)
    for (; i + 16 <= n; i += 16) {
        __m128i const low = _mm_loadu_si128(reinterpret_cast<__m128i const*>(units + i));
        __m128i const high = _mm_loadu_si128(reinterpret_cast<__m128i const*>(units + i + 8));
        __m128i const wide = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(-128));
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(wide, _mm_setzero_si128())) != 0xFFFF)
            break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(low, high));
    }
#endif
    for (; i + 8 <= n; i += 8) {
        char16_t any = 0;
        for (std::size_t k = 0; k < 8; ++k)
            any |= units[i + k];
        if ((any & 0xFF80) != 0)
            break;
        for (std::size_t k = 0; k < 8; ++k)
            out[i + k] = static_cast<char>(units[i + k]);
    }
    return i;
}

// UTF-8 as TStringCore::toStdString writes it (a lone surrogate becomes
// U+FFFD), with simdjson's padding behind it. The buffer fits ASCII text
// and grows once, to the worst case of the rest, at the first other unit:
// JSON is mostly ASCII, and a buffer three times too large would cost its
// host that much memory for nothing.
class PaddedUtf8 {
public:
    explicit PaddedUtf8(TStringCore const& text)
        : m_bytes(new char[static_cast<std::size_t>(text.size()) + simdjson::SIMDJSON_PADDING]) {
        char16_t const* p = text.constData();
        std::size_t const n = static_cast<std::size_t>(text.size());
        char* out = m_bytes.get();
        bool grown = false;
        std::size_t i = 0;
        while (i < n) {
            std::size_t const ascii = NarrowAscii(p + i, n - i, out);
            i += ascii;
            out += ascii;
            if (i == n)
                break;
            if (!grown) {
                std::size_t const written = static_cast<std::size_t>(out - m_bytes.get());
                std::unique_ptr<char[]> bytes(
                    new char[written + 3 * (n - i) + simdjson::SIMDJSON_PADDING]);
                std::memcpy(bytes.get(), m_bytes.get(), written);
                m_bytes = std::move(bytes);
                out = m_bytes.get() + written;
                grown = true;
            }
            char32_t c = p[i++];
            if (c >= 0xD800 && c <= 0xDBFF && i < n && p[i] >= 0xDC00 && p[i] <= 0xDFFF) {
                c = 0x10000 + ((c - 0xD800) << 10) + (p[i] - 0xDC00);
                ++i;
            } else if (c >= 0xD800 && c <= 0xDFFF) {
                c = 0xFFFD;
            }
            if (c < 0x80) {
                *out++ = static_cast<char>(c);
            } else if (c < 0x800) {
                *out++ = static_cast<char>(0xC0 | (c >> 6));
                *out++ = static_cast<char>(0x80 | (c & 0x3F));
            } else if (c < 0x10000) {
                *out++ = static_cast<char>(0xE0 | (c >> 12));
                *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
                *out++ = static_cast<char>(0x80 | (c & 0x3F));
            } else {
                *out++ = static_cast<char>(0xF0 | (c >> 18));
                *out++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
                *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
                *out++ = static_cast<char>(0x80 | (c & 0x3F));
            }
        }
        m_size = static_cast<std::size_t>(out - m_bytes.get());
        std::memset(out, 0, simdjson::SIMDJSON_PADDING);
    }

    char const* data() const { return m_bytes.get(); }
    std::size_t size() const { return m_size; }

private:
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_size = 0;
};

bool Prepare(simdjson::dom::parser& parser, std::size_t size) {
    if (parser.capacity() >= size && parser.max_depth() == kMaxDepth)
        return true;
    std::size_t const capacity = std::max(size, parser.capacity());
    return parser.allocate(std::max<std::size_t>(capacity, 64), kMaxDepth) == simdjson::SUCCESS;
}

// The document parsed from a text, or nothing where simdjson refuses it.
Root ParseDocument(char const* data, std::size_t size) {
    auto document = std::make_shared<simdjson::dom::document>();
    element root;
    simdjson::error_code error = simdjson::SUCCESS;
    if (size <= kLongestReusedParser) {
        thread_local simdjson::dom::parser parser;
        if (!Prepare(parser, size))
            return nullptr;
        error = parser.parse_into_document(*document, data, size, false).get(root);
    } else {
        simdjson::dom::parser parser;
        if (!Prepare(parser, size))
            return nullptr;
        error = parser.parse_into_document(*document, data, size, false).get(root);
    }
    if (error != simdjson::SUCCESS)
        return nullptr;
    return document;
}

// The array's elements through `read`, which appends one to `values` or
// gives false for a form it leaves to the caller.
template <class S, class Read>
bool ReadColumn(IJsonObject const& array, std::vector<S>& values, Read&& read) {
    auto const* face = dynamic_cast<Face const*>(&array);
    if (face == nullptr || face->GetValue().type() != element_type::ARRAY)
        return false;
    simdjson::dom::array const elements = face->GetValue().get_array().value_unsafe();
    values.clear();
    values.reserve(elements.size());
    for (element const e : elements) {
        if (!read(e, values))
            return false;
    }
    return true;
}

bool IsNumber(element_type type) {
    return type == element_type::INT64 || type == element_type::UINT64 ||
           type == element_type::DOUBLE || type == element_type::BOOL ||
           type == element_type::NULL_VALUE;
}

// What an accessor gives for numbers, bools and null, by its bits; a string
// or a container is left to the caller.
template <class Real, class Bits>
bool ReadReal(element e, std::vector<Bits>& values) {
    if (!IsNumber(e.type()))
        return false;
    values.push_back(std::bit_cast<Bits>(RealOf<Real>(e)));
    return true;
}

// The bytes that make a string read as another text in the store's JSON
// form: a quote, and the blanks around a name.
struct NotPlainBytes {
    bool table[256] = {};
    constexpr NotPlainBytes() {
        for (unsigned char c : {'\'', '\t', '\n', '\v', '\r', ' '})
            table[c] = true;
    }
};
constexpr NotPlainBytes kNotPlain;

// StringOf of a string without those bytes, in the same pass.
bool ReadPlainString(element e, std::vector<RIndirectString>& values) {
    if (e.type() != element_type::STRING)
        return false;
    std::string_view const text = e.get_string().value_unsafe();
    TextScan const scan = ScanText<true>(text, kNotPlain.table);
    if (scan.marked)
        return false;
    values.emplace_back(TextOf(text, scan));
    return true;
}

}  // namespace

bool TryReadColumn(IJsonObject const& array, StoreType type, std::vector<unsigned char>& values) {
    if (type != StoreType::Bool)
        return false;
    return ReadColumn(array, values, [](element e, std::vector<unsigned char>& out) {
        if (!IsNumber(e.type()))
            return false;
        out.push_back(BoolOf(e) ? 1 : 0);
        return true;
    });
}

bool TryReadColumn(IJsonObject const& array, StoreType type, std::vector<unsigned int>& values) {
    if (type == StoreType::Real32)
        return ReadColumn(array, values, ReadReal<float, unsigned int>);
    if (type != StoreType::Int32)
        return false;
    // Out of range, the reader's failure is the caller's to report.
    return ReadColumn(array, values, [](element e, std::vector<unsigned int>& out) {
        if (e.type() != element_type::INT64)
            return false;
        long long const v = e.get_int64().value_unsafe();
        if (v < INT_MIN || v > INT_MAX)
            return false;
        out.push_back(static_cast<unsigned int>(static_cast<int>(v)));
        return true;
    });
}

bool TryReadColumn(IJsonObject const& array, StoreType type,
                   std::vector<unsigned long long>& values) {
    if (type == StoreType::Real64)
        return ReadColumn(array, values, ReadReal<double, unsigned long long>);
    if (type != StoreType::Int64)
        return false;
    return ReadColumn(array, values, [](element e, std::vector<unsigned long long>& out) {
        if (e.type() != element_type::INT64)
            return false;
        out.push_back(static_cast<unsigned long long>(e.get_int64().value_unsafe()));
        return true;
    });
}

bool TryReadColumn(IJsonObject const& array, StoreType type, std::vector<RIndirectString>& values) {
    return type == StoreType::String && ReadColumn(array, values, ReadPlainString);
}

std::shared_ptr<IJsonObject> ParseJsonFast(TStringCore const& text) {
    PaddedUtf8 const utf8(text);
    std::size_t skipped = 0;
    if (utf8.size() >= 3 && std::memcmp(utf8.data(), "\xEF\xBB\xBF", 3) == 0)
        skipped = 3;
    if (utf8.size() < kLongestFastText) {
        if (Root document = ParseDocument(utf8.data() + skipped, utf8.size() - skipped))
            return std::make_shared<Face>(document, document->root());
    }
    return ParseJsonWithReference(std::string(utf8.data(), utf8.size()));
}

}  // namespace qel::core::detail
