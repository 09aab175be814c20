#include "qel/core/serialize/JsonSerializer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

// ---------------------------------------------------------------------------
// Builders: the look of the text.

class IJsonBuilder {
public:
    virtual ~IJsonBuilder() = default;
    virtual TStringCore const& Build() const = 0;
    virtual void SetIsSimpleArray(bool simple) = 0;
    virtual void AppendKey(TStringCore const& key) = 0;
    virtual void AppendString(TStringCore const& text) = 0;
    virtual void AppendUnquotedString(std::u16string_view text) = 0;
    virtual void NextItem() = 0;
    virtual void BeginArray() = 0;
    virtual void EndArray() = 0;
    virtual void BeginDictionary() = 0;
    virtual void EndDictionary() = 0;
    virtual void Reserve(int units) = 0;
};

char16_t HexDigit(unsigned value) {
    return static_cast<char16_t>(value < 10 ? u'0' + value : u'a' + value - 10);
}

// A unit that a JSON string holds as it stands.
bool IsPlainUnit(char16_t unit) {
    return unit >= 32 && unit != u'"' && unit != u'\\';
}

// A JSON string body: the short escapes where JSON has them, "\u00xx" for
// the other control units, everything else (the slash, non-ASCII) as is.
void AppendEscaped(TStringCore& out, TStringCore const& text) {
    char16_t const* unit = text.data();
    char16_t const* const end = unit + text.size();
    while (unit != end) {
        // Most text needs no escape: runs of it are copied at once.
        char16_t const* const run = unit;
        while (unit != end && IsPlainUnit(*unit))
            ++unit;
        if (unit != run)
            out.append(run, static_cast<int>(unit - run));
        if (unit == end)
            break;
        switch (*unit) {
            case 8:
                out.append(u"\\b", 2);
                break;
            case 9:
                out.append(u"\\t", 2);
                break;
            case 10:
                out.append(u"\\n", 2);
                break;
            case 12:
                out.append(u"\\f", 2);
                break;
            case 13:
                out.append(u"\\r", 2);
                break;
            case u'"':
                out.append(u"\\\"", 2);
                break;
            case u'\\':
                out.append(u"\\\\", 2);
                break;
            default:
                out.append(u"\\u00", 4);
                out.append(HexDigit(*unit >> 4));
                out.append(HexDigit(*unit & 0xF));
        }
        ++unit;
    }
}

// Whether any of `length` units is a control unit, a double quote or a
// backslash. Four units at a time: a lane is zero after the XOR with the
// unit it matches, and a zero or small lane borrows into its top bit.
bool NeedsEscape(char16_t const* units, int length) {
    constexpr std::uint64_t kOnes = 0x0001000100010001ULL;
    constexpr std::uint64_t kTops = 0x8000800080008000ULL;
    int i = 0;
    for (; i + 4 <= length; i += 4) {
        std::uint64_t lanes;
        std::memcpy(&lanes, units + i, sizeof lanes);
        std::uint64_t const quote = lanes ^ (kOnes * u'"');
        std::uint64_t const backslash = lanes ^ (kOnes * u'\\');
        std::uint64_t const found = ((lanes - kOnes * 32) & ~lanes) | ((quote - kOnes) & ~quote) |
                                    ((backslash - kOnes) & ~backslash);
        if ((found & kTops) != 0)
            return true;
    }
    for (; i < length; ++i)
        if (!IsPlainUnit(units[i]))
            return true;
    return false;
}

class CompactJsonBuilder : public IJsonBuilder {
public:
    TStringCore const& Build() const override { return m_text; }
    void SetIsSimpleArray(bool) override {}
    void AppendKey(TStringCore const& key) override {
        AppendString(key);
        m_text.append(u':');
    }
    void AppendString(TStringCore const& text) override {
        // A text without escapes, the common case, is quoted in place.
        int const length = text.size();
        if (!NeedsEscape(text.data(), length)) {
            char16_t* const at = m_text.extend(length + 2);
            at[0] = u'"';
            if (length <= 32) {
                for (int i = 0; i < length; ++i)
                    at[i + 1] = text.data()[i];
            } else {
                std::memcpy(at + 1, text.data(),
                            sizeof(char16_t) * static_cast<std::size_t>(length));
            }
            at[length + 1] = u'"';
            return;
        }
        m_text.append(u'"');
        AppendEscaped(m_text, text);
        m_text.append(u'"');
    }
    void AppendUnquotedString(std::u16string_view text) override {
        m_text.append(text.data(), static_cast<int>(text.size()));
    }
    void NextItem() override { m_text.append(u','); }
    void BeginArray() override { m_text.append(u'['); }
    void EndArray() override { m_text.append(u']'); }
    void BeginDictionary() override { m_text.append(u'{'); }
    void EndDictionary() override { m_text.append(u'}'); }
    // Grows at least twofold, so that hints for many columns in a row stay
    // linear in the text's length.
    void Reserve(int units) override {
        long long const wanted = static_cast<long long>(m_text.size()) + units;
        if (wanted <= m_reserved)
            return;
        long long const grown = std::max(wanted, 2LL * m_text.size());
        m_reserved = std::min<long long>(grown, std::numeric_limits<int>::max() / 2);
        m_text.reserve(static_cast<int>(m_reserved));
    }

protected:
    TStringCore m_text;
    long long m_reserved = 0;
};

class ReadableJsonBuilder final : public CompactJsonBuilder {
public:
    void SetIsSimpleArray(bool simple) override { m_simpleArray = simple; }
    // The key leaves the line indented, so that its value follows on it.
    void AppendKey(TStringCore const& key) override {
        Indent();
        AppendString(key);
        m_text.append(u": ", 2);
    }
    void AppendString(TStringCore const& text) override {
        BeforeValue();
        CompactJsonBuilder::AppendString(text);
    }
    void AppendUnquotedString(std::u16string_view text) override {
        BeforeValue();
        CompactJsonBuilder::AppendUnquotedString(text);
    }
    void NextItem() override {
        m_text.append(u',');
        if (!m_simpleArray)
            NewLine();
    }
    void BeginArray() override {
        Indent();
        m_text.append(u'[');
        if (!m_simpleArray) {
            NewLine();
            ++m_level;
        }
    }
    void EndArray() override {
        if (!m_simpleArray) {
            NewLine();
            --m_level;
            Indent();
        } else {
            m_text.append(u' ');
        }
        m_text.append(u']');
    }
    void BeginDictionary() override {
        Indent();
        m_text.append(u'{');
        NewLine();
        ++m_level;
    }
    void EndDictionary() override {
        NewLine();
        --m_level;
        Indent();
        m_text.append(u'}');
    }

private:
    void Indent() {
        if (m_indented)
            return;
        for (int i = 0; i < m_level; ++i)
            m_text.append(u"    ", 4);
        m_indented = true;
    }
    // Never a blank line: an empty dictionary closes on the line after the
    // one it opened on, "{", a line feed, the indentation, "}".
    void NewLine() {
        if (!m_indented)
            return;
        m_text.append(u'\n');
        m_indented = false;
    }
    void BeforeValue() {
        if (m_simpleArray)
            m_text.append(u' ');
        else
            Indent();
    }

    int m_level = 0;
    bool m_indented = false;
    bool m_simpleArray = false;
};

// ---------------------------------------------------------------------------
// States: the order of calls.

class ArraySerializerState;

class SerializerState {
public:
    explicit SerializerState(IJsonBuilder& builder) : m_builder(builder) {}
    virtual ~SerializerState() = default;

    virtual void BeginAsArray() {
        QEL_VALIDATION_FAILED(QelError::ArrayNotSupportedInCurrentState);
    }
    virtual void EndAsArray() { QEL_VALIDATION_FAILED(QelError::ArrayNotSupportedInCurrentState); }
    virtual void BeginAsDictionary() {
        QEL_VALIDATION_FAILED(QelError::DictionaryNotSupportedInCurrentState);
    }
    virtual void EndAsDictionary() {
        QEL_VALIDATION_FAILED(QelError::DictionaryNotSupportedInCurrentState);
    }
    virtual void AppendKey(TStringCore const&) {
        QEL_VALIDATION_FAILED(QelError::UnableToAddKeyValuesToCurrent);
    }
    virtual void AppendString(TStringCore const& text) = 0;
    virtual void AppendUnquotedString(std::u16string_view text) = 0;
    virtual void BeginSubArray() = 0;
    virtual void BeginSubDictionary() = 0;
    virtual void EndSubCollection() = 0;
    virtual ArraySerializerState* AsArray() { return nullptr; }

protected:
    IJsonBuilder& m_builder;
};

class RootSerializerState final : public SerializerState {
public:
    using SerializerState::SerializerState;
    void AppendString(TStringCore const& text) override {
        TakeTheOneItem();
        m_builder.AppendString(text);
    }
    void AppendUnquotedString(std::u16string_view text) override {
        TakeTheOneItem();
        m_builder.AppendUnquotedString(text);
    }
    void BeginSubArray() override { TakeTheOneItem(); }
    void BeginSubDictionary() override { TakeTheOneItem(); }
    void EndSubCollection() override {}

private:
    void TakeTheOneItem() {
        QEL_VALIDATE(m_items == 0, QelError::CanOnlyAddAddASingleItem);
        m_items = 1;
    }
    int m_items = 0;
};

class ArraySerializerState final : public SerializerState {
public:
    ArraySerializerState(IJsonBuilder& builder, bool hasCollections)
        : SerializerState(builder), m_isSimple(!hasCollections) {}
    void BeginAsArray() override {
        m_builder.SetIsSimpleArray(m_isSimple);
        m_builder.BeginArray();
    }
    void EndAsArray() override { m_builder.EndArray(); }
    void AppendKey(TStringCore const&) override {
        QEL_VALIDATION_FAILED(QelError::UnableToAddKeysToAJSON);
    }
    void AppendString(TStringCore const& text) override {
        NextItem();
        m_builder.AppendString(text);
    }
    void AppendUnquotedString(std::u16string_view text) override {
        NextItem();
        m_builder.AppendUnquotedString(text);
    }
    void BeginSubArray() override { NextItem(); }
    void BeginSubDictionary() override { NextItem(); }
    // A collection inside restores this array's flag on its way out.
    void EndSubCollection() override { m_builder.SetIsSimpleArray(m_isSimple); }
    ArraySerializerState* AsArray() override { return this; }

    // The items of a long column go to the compact builder without a
    // virtual call: in an array it needs nothing but the separators.
    void AppendCompact(CompactJsonBuilder& compact, std::u16string_view text) {
        if (m_items++ > 0)
            compact.CompactJsonBuilder::NextItem();
        compact.CompactJsonBuilder::AppendUnquotedString(text);
    }
    void AppendCompact(CompactJsonBuilder& compact, TStringCore const& text) {
        if (m_items++ > 0)
            compact.CompactJsonBuilder::NextItem();
        compact.CompactJsonBuilder::AppendString(text);
    }

private:
    void NextItem() {
        if (m_items++ > 0)
            m_builder.NextItem();
    }
    int m_items = 0;
    bool m_isSimple;
};

class DictionarySerializerState final : public SerializerState {
public:
    enum State { NeedsKey = 0, NeedsValue = 1 };

    using SerializerState::SerializerState;
    void BeginAsDictionary() override {
        m_builder.SetIsSimpleArray(false);
        m_builder.BeginDictionary();
    }
    void EndAsDictionary() override { m_builder.EndDictionary(); }
    void AppendKey(TStringCore const& key) override {
        QEL_VALIDATE(m_state == NeedsKey, QelError::UnexpectedDictionaryKey);
        m_state = NeedsValue;
        if (m_items++ > 0)
            m_builder.NextItem();
        m_builder.AppendKey(key);
    }
    void AppendString(TStringCore const& text) override {
        TakeValue();
        m_builder.AppendString(text);
    }
    void AppendUnquotedString(std::u16string_view text) override {
        TakeValue();
        m_builder.AppendUnquotedString(text);
    }
    // A dictionary opened without its key reports the array's text too.
    void BeginSubArray() override { TakeCollection(); }
    void BeginSubDictionary() override { TakeCollection(); }
    void EndSubCollection() override { m_builder.SetIsSimpleArray(false); }

private:
    void TakeValue() {
        QEL_VALIDATE(m_state == NeedsValue, QelError::UnexpectedDictionaryValue);
        m_state = NeedsKey;
    }
    void TakeCollection() {
        QEL_VALIDATE(m_state == NeedsValue, QelError::CannotStartArrayKeyExpected);
        m_state = NeedsKey;
    }
    int m_items = 0;
    State m_state = NeedsKey;
};

std::unique_ptr<IJsonBuilder> MakeBuilder(JsonSerializerType type) {
    switch (type) {
        case JsonSerializerType::Readable:
            return std::make_unique<ReadableJsonBuilder>();
        case JsonSerializerType::Compact:
            return std::make_unique<CompactJsonBuilder>();
    }
    QEL_VALIDATION_FAILED(QelError::UnsupportedSerializerType);
}

}  // namespace

struct JsonSerializer::Impl {
    explicit Impl(JsonSerializerType type) : builder(MakeBuilder(type)) {
        if (type == JsonSerializerType::Compact)
            compact = static_cast<CompactJsonBuilder*>(builder.get());
        states.push_back(std::make_unique<RootSerializerState>(*builder));
    }

    SerializerState& Top() { return *states.back(); }
    // After every push and pop.
    void NewTop() { compactArray = compact != nullptr ? Top().AsArray() : nullptr; }

    std::unique_ptr<IJsonBuilder> builder;
    std::deque<std::unique_ptr<SerializerState>> states;
    // The builder when it is the compact one, and then the top state when
    // it is an array: the path of a column's items.
    CompactJsonBuilder* compact = nullptr;
    ArraySerializerState* compactArray = nullptr;
};

JsonSerializer::JsonSerializer() : JsonSerializer(JsonSerializerType::Compact) {}

JsonSerializer::JsonSerializer(JsonSerializerType type) : m_impl(std::make_unique<Impl>(type)) {}

JsonSerializer::JsonSerializer(JsonSerializer&&) noexcept = default;
JsonSerializer& JsonSerializer::operator=(JsonSerializer&&) noexcept = default;
JsonSerializer::~JsonSerializer() = default;

void JsonSerializer::BeginArray(bool hasCollections) {
    m_impl->Top().BeginSubArray();
    auto state = std::make_unique<ArraySerializerState>(*m_impl->builder, hasCollections);
    state->BeginAsArray();
    m_impl->states.push_back(std::move(state));
    m_impl->NewTop();
}

void JsonSerializer::EndArray() {
    m_impl->Top().EndAsArray();
    m_impl->states.pop_back();
    m_impl->Top().EndSubCollection();
    m_impl->NewTop();
}

void JsonSerializer::BeginDictionary() {
    m_impl->Top().BeginSubDictionary();
    auto state = std::make_unique<DictionarySerializerState>(*m_impl->builder);
    state->BeginAsDictionary();
    m_impl->states.push_back(std::move(state));
    m_impl->NewTop();
}

void JsonSerializer::EndDictionary() {
    m_impl->Top().EndAsDictionary();
    m_impl->states.pop_back();
    m_impl->Top().EndSubCollection();
    m_impl->NewTop();
}

void JsonSerializer::AppendKey(TStringCore const& key) {
    m_impl->Top().AppendKey(key);
}

void JsonSerializer::AppendString(TStringCore const& text) {
    if (m_impl->compactArray != nullptr)
        m_impl->compactArray->AppendCompact(*m_impl->compact, text);
    else
        m_impl->Top().AppendString(text);
}

void JsonSerializer::AppendUnquotedString(TStringCore const& text) {
    AppendUnquotedUnits(std::u16string_view(text.data(), static_cast<std::size_t>(text.size())));
}

void JsonSerializer::Reserve(int units) {
    if (units > 0)
        m_impl->builder->Reserve(units);
}

void JsonSerializer::AppendUnquotedUnits(std::u16string_view text) {
    if (m_impl->compactArray != nullptr)
        m_impl->compactArray->AppendCompact(*m_impl->compact, text);
    else
        m_impl->Top().AppendUnquotedString(text);
}

TStringCore const& JsonSerializer::Build() const {
    return m_impl->builder->Build();
}

TStringCore JsonSerializer::UnescapeFromJson(TStringCore const& text) {
    TStringCore out;
    bool isEscaping = false;
    for (char16_t const unit : text) {
        if (unit == u'\\') {
            if (isEscaping)
                out.append(u'\\');
            isEscaping = !isEscaping;
            continue;
        }
        if (isEscaping) {
            switch (unit) {
                case u'b':
                    out.append(char16_t{8});
                    break;
                case u'f':
                    out.append(char16_t{12});
                    break;
                case u'n':
                    out.append(char16_t{10});
                    break;
                case u'r':
                    out.append(char16_t{13});
                    break;
                case u't':
                    out.append(char16_t{9});
                    break;
                default:
                    out.append(unit);
            }
            isEscaping = false;
            continue;
        }
        out.append(unit);
    }
    QEL_VALIDATE_NOT(isEscaping, QelError::FailedToParseStringAsJSON);
    return out;
}

}  // namespace qel::core
