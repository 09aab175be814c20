#include "qel/core/serialize/StoreValueSerializer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/main/serialize/EdgeBlanks.h"
#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/DataStore.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/store/SetIterators.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/FloatUtil.h"
#include "qel/core/utility/Format.h"
#include "qel/core/utility/QelTupleData.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

using NamedEntries = IStoreTable::ColumnIterable;

template <class S>
constexpr bool kIsNested = std::is_same_v<S, std::shared_ptr<StoreValue>>;

// Whether `text` surely reads back as itself: it begins with a letter or
// digit that starts no special keyword (All, Error, ManyValues, Missing,
// NoAccess, Null, Ragged, Skipped, Wildcard) and ends with no blank. Most
// strings pass, and skip the scanner.
bool PlainForSure(TStringCore const& text) {
    if (text.isEmpty() || detail::HasEdgeBlank(text))
        return false;
    char16_t const first = text[0];
    bool const alphanumeric = (first >= u'a' && first <= u'z') ||
                              (first >= u'A' && first <= u'Z') || (first >= u'0' && first <= u'9');
    return alphanumeric && std::u16string_view(u"AEMNRSW").find(first) == std::u16string_view::npos;
}

// A String value that is not plain for sure, as a JSON string body. A reader
// takes a text that scans as one special keyword for the special, unquotes a
// text in apostrophes, and trims the blanks around a single word; each of
// those is VTL-quoted here so that the string comes back as it was.
TStringCore FormatUnplainString(TStringCore const& text) {
    VtlToken token;
    bool quote = text.startsWith(u'\'') ||
                 VtlScanner::TryScanSingleToken(text, VtlTokenType::Special, token, true);
    if (!quote && detail::HasEdgeBlank(text) && VtlScanner::TryScanSingleToken(text, token, true))
        quote = token.GetType() == VtlTokenType::Identifier ||
                token.GetType() == VtlTokenType::QuotedString;
    return quote ? VtlScanner::Quote(text) : text;
}

// About how many units an element of a long column takes, separator
// included; strings are guessed short.
long long UnitsPerElement(StoreType type) {
    switch (type) {
        case StoreType::Bool:
            return 6;
        case StoreType::Int32:
        case StoreType::Color:
            return 12;
        case StoreType::Real32:
            return 16;
        case StoreType::Int64:
            return 21;
        case StoreType::Real64:
            return 24;
        case StoreType::Date:
        case StoreType::DateTime:
            return 28;
        default:
            return 16;
    }
}

// About how many units the text of an array takes.
long long EstimateArrayUnits(long long count, Type const* elementType) {
    return 2 + count * UnitsPerElement(elementType->GetStoreType());
}

long long EstimateUnits(StoreValue const& value);

long long EstimateNamedUnits(NamedEntries entries) {
    long long units = 2;
    for (auto const& [name, entry] : entries)
        units += 24 + (entry != nullptr ? EstimateUnits(*entry) : 0);
    return units;
}

// About how many units the text of `value` takes: a store's long columns
// reserved at once, so that the text grows in one step instead of being
// copied as each column comes.
long long EstimateUnits(StoreValue const& value) {
    if (value.IsSpecial())
        return 16;
    switch (value.GetStoreType()) {
        case StoreType::Array:
            return EstimateArrayUnits(value.AsArray().GetCount(), value.AsArray().GetElementType());
        case StoreType::KeyMap:
            return EstimateNamedUnits(value.AsKeyMap().GetKeyValuePairs());
        case StoreType::Table:
            return EstimateNamedUnits(value.AsTable().GetColumns());
        default:
            return 16;
    }
}

void Reserve(JsonSerializer& json, long long units) {
    json.Reserve(static_cast<int>(std::min<long long>(units, 1LL << 28)));
}

// Two lower-case hex digits a byte, the form ParseBytesFromHex reads.
TStringCore FormatBytes(std::vector<unsigned char> const& bytes) {
    static constexpr char16_t kDigits[] = u"0123456789abcdef";
    TStringCore text;
    text.reserve(static_cast<int>(bytes.size() * 2));
    for (unsigned char const byte : bytes) {
        text.append(kDigits[byte >> 4]);
        text.append(kDigits[byte & 15]);
    }
    return text;
}

// Reals in the order of operator<, made total so that sorting stays defined:
// NaN after every number, and -0 before 0, as their texts differ.
template <class F>
bool RealLess(F a, F b) {
    if (std::isnan(a) || std::isnan(b))
        return !std::isnan(a) && std::isnan(b);
    return a < b || (a == b && std::signbit(a) && !std::signbit(b));
}

// The value stored under a special element means nothing, and makers leave
// it zeroed, which is no date: the default date stands in for such a one, so
// that writing cannot fail on it.
template <class S>
S const& SpecialPlaceholder(Type const* type, S const& raw) {
    if constexpr (std::is_same_v<S, unsigned long long>) {
        static constexpr unsigned long long kDefaultDate = QelDateTime::DateTimeDefault;
        if ((type->Is(StoreType::Date) || type->Is(StoreType::DateTime)) &&
            !QelDateTime(raw).IsValid())
            return kDefaultDate;
    }
    return raw;
}

class ValueWriter {
public:
    ValueWriter(JsonSerializer& json, JsonOptions const& options)
        : m_json(json), m_options(options) {}

    void WriteValue(StoreValue const& value);
    void WriteNamed(NamedEntries entries);

private:
    template <class S>
    void WriteElement(Type const* type, S const& raw);
    template <class F>
    void WriteReal(F value);
    template <class I>
    void WriteInteger(I value);
    // Most strings are plain and go as they are, uncopied.
    void WriteString(TStringCore const& text) {
        if (PlainForSure(text))
            m_json.AppendString(text);
        else
            m_json.AppendString(FormatUnplainString(text));
    }
    template <class Format>
    void WriteDigits(Format format);
    void WriteColor(QelColor color);
    void WriteTuple(QelTuple const& tuple);
    void WriteSpecial(SpecialKind kind) { m_json.AppendString(SpecialKindToString(kind)); }
    template <class S>
    void WriteArray(ITypedArray<S> const& values);
    template <class S>
    void WriteSet(ITypedSet<S> const& values);
    template <class K, class V>
    void WriteKeySet(IStoreDictionary<K, V> const& values, KeySetType const* type);
    template <class K>
    TStringCore KeyText(Type const* type, K const& raw) const;
    template <class S, class Item, class Key>
    void SortItems(Type const* type, std::vector<Item>& items, Key key) const;
    TStringCore CompactText(StoreValue const& value) const;

    JsonSerializer& m_json;
    JsonOptions const& m_options;
};

void ValueWriter::WriteValue(StoreValue const& value) {
    if (value.IsSpecial()) {
        WriteSpecial(value.GetSpecialKind());
        return;
    }
    StoreType const storeType = value.GetStoreType();
    switch (storeType) {
        case StoreType::Bool:
        case StoreType::Int32:
        case StoreType::Int64:
            m_json.AppendUnquotedString(FormatPrimitive(value));
            return;
        case StoreType::Real32:
            WriteReal(value.AsReal32());
            return;
        case StoreType::Real64:
            WriteReal(value.AsReal64());
            return;
        case StoreType::String:
            WriteString(value.AsString().GetValue());
            return;
        case StoreType::Date:
        case StoreType::DateTime:
            m_json.AppendString(FormatPrimitive(value));
            return;
        case StoreType::Color:
            WriteColor(value.AsColor());
            return;
        case StoreType::External:
            m_json.AppendString(FormatBytes(SerializeExternalType(value.AsExternal())));
            return;
        case StoreType::Tuple:
            WriteTuple(value.AsTuple());
            return;
        case StoreType::Array:
            ForAnyStorageType(value.AsArray().GetElementType()->GetStoreType(),
                              [&]<class S>() { WriteArray(value.AsTypedArray<S>()); });
            return;
        case StoreType::Set:
            ForAnyStorageType(value.AsSet().GetElementType()->GetStoreType(),
                              [&]<class S>() { WriteSet(value.AsTypedSet<S>()); });
            return;
        case StoreType::KeySet: {
            auto const* const type = TypeAs<KeySetType>(value.GetType());
            ForAnyTwoStorageTypes(
                type->GetKeyType()->GetStoreType(), type->GetElementType()->GetStoreType(),
                [&]<class K, class V>() { WriteKeySet(value.AsDictionary<K, V>(), type); });
            return;
        }
        case StoreType::KeyMap:
            WriteNamed(value.AsKeyMap().GetKeyValuePairs());
            return;
        case StoreType::Table:
            WriteNamed(value.AsTable().GetColumns());
            return;
        default:
            PrimitiveErrorFunction(storeType);
    }
}

// Names in the order of their texts, by code unit: interned ids and hash
// order say nothing about it.
void ValueWriter::WriteNamed(NamedEntries entries) {
    using Entry = std::pair<RInternString const*, std::shared_ptr<StoreValue> const*>;
    std::vector<Entry> sorted;
    for (auto const& [name, value] : entries)
        sorted.emplace_back(&name, &value);
    std::sort(sorted.begin(), sorted.end(), [](Entry const& a, Entry const& b) {
        return a.first->GetValue() < b.first->GetValue();
    });
    m_json.BeginDictionary();
    for (auto const& [name, slot] : sorted) {
        std::shared_ptr<StoreValue> const& value = *slot;
        QEL_VALIDATE_NOT_NULL_SHOWN(value, QelError::CannotSerializeNullStoreValue);
        m_json.AppendKey(m_options.includeTypes
                             ? KeyPathSerializer::FromKeySegmentWithoutHeterogeneousTypeContents(
                                   KeySegment(*name, value->GetType()), true)
                             : name->GetValue());
        WriteValue(*value);
    }
    m_json.EndDictionary();
}

// One stored element of `type`, read from the bits of its storage.
template <class S>
void ValueWriter::WriteElement(Type const* type, S const& raw) {
    if constexpr (std::is_same_v<S, unsigned char>) {
        m_json.AppendUnquotedString(Format(raw != 0));
    } else if constexpr (std::is_same_v<S, unsigned int>) {
        switch (type->GetStoreType()) {
            case StoreType::Int32:
                WriteInteger(static_cast<int>(raw));
                return;
            case StoreType::Real32:
                WriteReal(detail::CastStorage<float>(raw));
                return;
            case StoreType::Color:
                WriteColor(detail::CastStorage<QelColor>(raw));
                return;
            default:
                PrimitiveErrorFunction(type->GetStoreType());
        }
    } else if constexpr (std::is_same_v<S, unsigned long long>) {
        switch (type->GetStoreType()) {
            case StoreType::Int64:
                WriteInteger(static_cast<long long>(raw));
                return;
            case StoreType::Real64:
                WriteReal(detail::CastStorage<double>(raw));
                return;
            case StoreType::Date:
            case StoreType::DateTime:
                m_json.AppendString(Format(detail::CastStorage<QelDateTime>(raw)));
                return;
            default:
                PrimitiveErrorFunction(type->GetStoreType());
        }
    } else if constexpr (std::is_same_v<S, RIndirectString>) {
        WriteString(raw.GetValue());
    } else if constexpr (std::is_same_v<S, QelTuple>) {
        WriteTuple(raw);
    } else {
        static_assert(kIsNested<S>);
        std::shared_ptr<StoreValue> const& value = raw;
        QEL_VALIDATE_NOT_NULL_SHOWN(value, QelError::CannotSerializeNullStoreValue);
        WriteValue(*value);
    }
}

template <class F>
void ValueWriter::WriteReal(F value) {
    // JSON has no infinities or NaN; their texts go as strings, which the
    // reader's real parser takes.
    if (!std::isfinite(value)) [[unlikely]] {
        m_json.AppendString(Format(value));
        return;
    }
    WriteDigits([value](char(&digits)[32]) { return ConvertFloatToChars(value, digits); });
}

template <class I>
void ValueWriter::WriteInteger(I value) {
    WriteDigits([value](char(&digits)[32]) {
        return static_cast<int>(std::to_chars(digits, digits + 32, value).ptr - digits);
    });
}

// The ASCII text that `format` writes and measures, formatted on the stack
// so that a column of numbers costs no string per element, and widened as a
// whole register's worth of units.
template <class Format>
void ValueWriter::WriteDigits(Format format) {
    char digits[32] = {};
    int const length = format(digits);
    char16_t units[32];
    for (int i = 0; i < 32; ++i)
        units[i] = static_cast<unsigned char>(digits[i]);
    m_json.AppendUnquotedUnits(std::u16string_view(units, static_cast<std::size_t>(length)));
}

void ValueWriter::WriteColor(QelColor color) {
    if (m_options.colorsAsIntegers)
        m_json.AppendUnquotedString(Format(color.AsInt32()));
    else
        m_json.AppendString(Format(color));
}

void ValueWriter::WriteTuple(QelTuple const& tuple) {
    std::vector<Type const*> const& members = tuple.GetType()->GetMembers();
    m_json.BeginArray(false);
    for (unsigned int n = 0; n < members.size(); ++n) {
        SpecialKind const kind = tuple.GetNthSpecialUnsafe(n);
        if (kind != SpecialKind::Normal) {
            WriteSpecial(kind);
            continue;
        }
        Type const* const member = members[n];
        ForAnyStorageType(member->GetStoreType(), [&]<class S>() {
            // A tuple's members are primitive; its type refuses anything else.
            if constexpr (std::is_same_v<S, QelTuple>)
                PrimitiveErrorFunction(member->GetStoreType());
            else
                WriteElement<S>(member, tuple.GetNthValueUnsafe<S>(n));
        });
    }
    m_json.EndArray();
}

template <class S>
void ValueWriter::WriteArray(ITypedArray<S> const& values) {
    Type const* const elementType = values.GetElementType();
    bool const hasCollections = IsCollectionStoreType(elementType->GetStoreType());
    // The reader takes a nested array for a collection element, so a special
    // could not be told from one.
    if (hasCollections)
        QEL_VALIDATE_NOT_SHOWN(values.HasSpecialValues(),
                               QelError::ArraysWithCollectionsDoNotSupportSpecial);
    auto const write = [&](S const& raw, SpecialKind kind) {
        if (kind == SpecialKind::Normal) {
            WriteElement<S>(elementType, raw);
            return;
        }
        m_json.BeginArray(false);
        WriteElement<S>(elementType, SpecialPlaceholder(elementType, raw));
        WriteSpecial(kind);
        m_json.EndArray();
    };
    m_json.BeginArray(hasCollections);
    // A long column makes the text grow once, not in steps that copy it.
    if (values.GetCount() >= 1024)
        Reserve(m_json, EstimateArrayUnits(values.GetCount(), elementType));
    if (!values.HasIndices() && !values.IsComposite() && !values.IsConstantValue()) {
        // The common plain column: its elements where they lie, uncopied.
        ArrayView<S const> const raw = values.GetRawArray();
        if (values.HasSpecialValues()) {
            ArrayView<SpecialKind const> const specials = values.GetRawSpecialArray();
            for (std::size_t i = 0; i < raw.GetSize(); ++i)
                write(raw[i], specials[i]);
        } else {
            for (S const& element : raw)
                WriteElement<S>(elementType, element);
        }
    } else {
        for (auto const& [element, kind] : values.GetAll())
            write(element, kind);
    }
    m_json.EndArray();
}

template <class S>
void ValueWriter::WriteSet(ITypedSet<S> const& values) {
    Type const* const elementType = values.GetElementType();
    bool const ofTuples = elementType->Is(StoreType::Tuple);
    if (ofTuples)
        QEL_VALIDATE_NOT_SHOWN(values.HasSpecialValues(),
                               QelError::SetsOfTuplesDoNotSupportSpecial);
    std::vector<S const*> items;
    items.reserve(values.GetCount());
    for (S const& item : values.GetValues())
        items.push_back(&item);
    SortItems<S>(elementType, items, [](S const* item) -> S const& { return *item; });

    bool const withSpecials = values.HasSpecialValues();
    m_json.BeginArray(ofTuples);
    if (withSpecials)
        m_json.BeginArray(false);
    for (S const* item : items)
        WriteElement<S>(elementType, *item);
    if (withSpecials) {
        m_json.EndArray();
        SpecialKindSetIterable const& kinds = values.GetSpecialValues();
        std::vector<SpecialKind> sorted(kinds.begin(), kinds.end());
        std::sort(sorted.begin(), sorted.end());
        sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
        m_json.BeginArray(false);
        for (SpecialKind const kind : sorted)
            WriteSpecial(kind);
        m_json.EndArray();
    }
    m_json.EndArray();
}

template <class K, class V>
void ValueWriter::WriteKeySet(IStoreDictionary<K, V> const& values, KeySetType const* type) {
    Type const* const keyType = type->GetKeyType();
    Type const* const elementType = type->GetElementType();
    if constexpr (kIsNested<K>)
        PrimitiveErrorFunction(keyType->GetStoreType());
    using Entry = std::pair<K const*, V const*>;
    std::vector<Entry> entries;
    entries.reserve(values.GetCount());
    for (auto const& [key, element] : values.GetKeyValuePairs())
        entries.emplace_back(&key, &element);
    SortItems<K>(keyType, entries, [](Entry const& entry) -> K const& { return *entry.first; });

    bool const withSpecials = values.HasSpecialKeys();
    if (withSpecials)
        m_json.BeginArray(false);
    m_json.BeginDictionary();
    for (auto const& [key, element] : entries) {
        m_json.AppendKey(KeyText<K>(keyType, *key));
        WriteElement<V>(elementType, *element);
    }
    m_json.EndDictionary();
    if (withSpecials) {
        std::vector<std::pair<SpecialKind, V const*>> specials;
        for (auto const& [kind, element] : values.GetSpecialKeyValuePairs())
            specials.emplace_back(kind, &element);
        std::sort(specials.begin(), specials.end(),
                  [](auto const& a, auto const& b) { return a.first < b.first; });
        m_json.BeginDictionary();
        for (auto const& [kind, element] : specials) {
            m_json.AppendKey(SpecialKindToString(kind));
            WriteElement<V>(elementType, *element);
        }
        m_json.EndDictionary();
        m_json.EndArray();
    }
}

// A key set's key as a dictionary key: the plain text of the value, never
// quoted, since a dictionary key cannot be a special.
template <class K>
TStringCore ValueWriter::KeyText(Type const* type, K const& raw) const {
    if constexpr (std::is_same_v<K, unsigned char>) {
        return Format(raw != 0);
    } else if constexpr (std::is_same_v<K, unsigned int>) {
        switch (type->GetStoreType()) {
            case StoreType::Int32:
                return Format(static_cast<int>(raw));
            case StoreType::Real32:
                return Format(detail::CastStorage<float>(raw));
            case StoreType::Color: {
                QelColor const color = detail::CastStorage<QelColor>(raw);
                return m_options.colorsAsIntegers ? Format(color.AsInt32()) : Format(color);
            }
            default:
                PrimitiveErrorFunction(type->GetStoreType());
        }
    } else if constexpr (std::is_same_v<K, unsigned long long>) {
        switch (type->GetStoreType()) {
            case StoreType::Int64:
                return Format(static_cast<long long>(raw));
            case StoreType::Real64:
                return Format(detail::CastStorage<double>(raw));
            case StoreType::Date:
            case StoreType::DateTime:
                return Format(detail::CastStorage<QelDateTime>(raw));
            default:
                PrimitiveErrorFunction(type->GetStoreType());
        }
    } else if constexpr (std::is_same_v<K, RIndirectString>) {
        return Format(raw);
    } else if constexpr (std::is_same_v<K, QelTuple>) {
        // The tuple's own compact JSON, escaped again as the key.
        JsonSerializer json(JsonSerializerType::Compact);
        ValueWriter(json, m_options).WriteTuple(raw);
        return json.Build();
    } else {
        PrimitiveErrorFunction(type->GetStoreType());
    }
}

// CompareSetItems: sorts `items` by the order of their elements of `type`,
// read through `key`. Numbers, dates and colours by operator< of their
// element type, strings by code unit (not by collation: the text must not
// depend on the collator), tuples by their own order. External values have
// no order of their own; they go by their written text, so that equal sets
// still give equal texts.
template <class S, class Item, class Key>
void ValueWriter::SortItems(Type const* type, std::vector<Item>& items, Key key) const {
    if constexpr (kIsNested<S>) {
        std::vector<std::pair<TStringCore, Item>> texts;
        texts.reserve(items.size());
        for (Item const& item : items) {
            std::shared_ptr<StoreValue> const& value = key(item);
            QEL_VALIDATE_NOT_NULL_SHOWN(value, QelError::CannotSerializeNullStoreValue);
            texts.emplace_back(CompactText(*value), item);
        }
        std::stable_sort(texts.begin(), texts.end(),
                         [](auto const& a, auto const& b) { return a.first < b.first; });
        for (std::size_t i = 0; i < items.size(); ++i)
            items[i] = texts[i].second;
    } else {
        auto const by = [&](auto less) {
            std::sort(items.begin(), items.end(),
                      [&](Item const& a, Item const& b) { return less(key(a), key(b)); });
        };
        if constexpr (std::is_same_v<S, unsigned char> || std::is_same_v<S, QelTuple>) {
            by([](S const& a, S const& b) { return a < b; });
        } else if constexpr (std::is_same_v<S, RIndirectString>) {
            by([](S const& a, S const& b) { return a.GetValue() < b.GetValue(); });
        } else {
            using Signed = std::conditional_t<std::is_same_v<S, unsigned int>, int, long long>;
            using Real = std::conditional_t<std::is_same_v<S, unsigned int>, float, double>;
            switch (type->GetStoreType()) {
                case StoreType::Int32:
                case StoreType::Int64:
                    by([](S a, S b) { return static_cast<Signed>(a) < static_cast<Signed>(b); });
                    return;
                case StoreType::Real32:
                case StoreType::Real64:
                    by([](S a, S b) {
                        return RealLess(detail::CastStorage<Real>(a), detail::CastStorage<Real>(b));
                    });
                    return;
                case StoreType::Color:
                    // Signed, as QelColor's operator< compares.
                    by([](S a, S b) { return static_cast<Signed>(a) < static_cast<Signed>(b); });
                    return;
                default:  // Date, DateTime: the tick count
                    by([](S a, S b) { return a < b; });
                    return;
            }
        }
    }
}

TStringCore ValueWriter::CompactText(StoreValue const& value) const {
    JsonSerializer json(JsonSerializerType::Compact);
    ValueWriter(json, m_options).WriteValue(value);
    return json.Build();
}

constexpr JsonOptions kDefaultOptions{};

// A store is its root key map; a store that handed its tree out holds none.
void WriteStore(JsonSerializer& json, IDataStore const& store, JsonOptions const& options) {
    std::shared_ptr<IStoreKeyMap const> const root = store.GetKeyMap();
    if (root == nullptr) {
        json.BeginDictionary();
        json.EndDictionary();
        return;
    }
    Reserve(json, EstimateNamedUnits(root->GetKeyValuePairs()));
    ValueWriter(json, options).WriteNamed(root->GetKeyValuePairs());
}

}  // namespace

TStringCore SerializeDataStore(IDataStore const& store, JsonOptions const& options) {
    JsonSerializer json(options.serializerType);
    WriteStore(json, store, options);
    return json.Build();
}

TStringCore SerializeDataStoreCompact(IDataStore const& store) {
    return SerializeDataStore(store, kDefaultOptions);
}

void SerializeDataStore(JsonSerializer& json, IDataStore const& store) {
    WriteStore(json, store, kDefaultOptions);
}

TStringCore SerializeValue(StoreValue const& value) {
    JsonSerializer json(JsonSerializerType::Compact);
    ValueWriter(json, kDefaultOptions).WriteValue(value);
    return json.Build();
}

void SerializeValue(JsonSerializer& json, StoreValue const& value) {
    ValueWriter(json, kDefaultOptions).WriteValue(value);
}

TStringCore SerializeKey(TStringCore const& name, StoreValue const& value) {
    return KeyPathSerializer::FromKeySegmentWithoutHeterogeneousTypeContents(
        KeySegment(RInternString(name), value.GetType()), true);
}

TStringCore SerializeAnonymousKey(StoreValue const& value) {
    return KeyPathSerializer::FromKeySegment(KeySegment(RInternString(), value.GetType()), true);
}

}  // namespace qel::core
