#include "qel/core/serialize/JsonObject.h"

#include <json/json.h>

#include <sstream>
#include <string>

#include "core/main/serialize/JsonReaders.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

using Root = std::shared_ptr<Json::Value const>;

// The object operations over one Json::Value, shared by the adapter of a
// value and by the iterators, which are their own current element.
bool IsArrayValue(Json::Value const& v) {
    return v.isArray();
}
bool IsDictionaryValue(Json::Value const& v) {
    return v.isObject();
}
float Real32Of(Json::Value const& v) {
    if (v.isString())
        return ParseReal32FromString(TStringCore::fromUtf8(v.asCString()));
    return v.asFloat();
}
double Real64Of(Json::Value const& v) {
    if (v.isString())
        return ParseReal64FromString(TStringCore::fromUtf8(v.asCString()));
    return v.asDouble();
}

template <class T>
class IteratorAdapter;

// begin() and end() over the array or the members of one Json::Value.
template <class T>
class Iterable final : public IJsonIterable<T> {
public:
    Iterable(Root const& root, Json::Value const* const* value) : m_root(root), m_value(value) {}
    std::unique_ptr<IJsonIteratorAdapter<T>> begin() const override {
        return std::make_unique<IteratorAdapter<T>>(m_root, Value().begin());
    }
    std::unique_ptr<IJsonIteratorAdapter<T>> end() const override {
        return std::make_unique<IteratorAdapter<T>>(m_root, Value().end());
    }

private:
    // Arrays and dictionaries only: any other value has no members, and
    // jsoncpp's iterators on it are empty, so a walk ends at once.
    Json::Value const& Value() const { return **m_value; }

    Root const& m_root;
    // The adapter's current value; for an iterator it changes as it moves.
    Json::Value const* const* m_value;
};

// The object face of one Json::Value, kept by pointer so that an iterator
// can move it along.
class ValueFace : public IJsonObject {
public:
    ValueFace(Root root, Json::Value const* value)
        : m_root(std::move(root)),
          m_value(value),
          m_array(m_root, &m_value),
          m_dictionary(m_root, &m_value) {}
    ValueFace(ValueFace const& other) : ValueFace(other.m_root, other.m_value) {}
    ValueFace& operator=(ValueFace const&) = delete;

    bool IsValue() const override { return !IsArray() && !IsDictionary(); }
    bool IsArray() const override { return IsArrayValue(*m_value); }
    bool IsDictionary() const override { return IsDictionaryValue(*m_value); }
    bool IsString() const override { return m_value->isString(); }
    bool GetBool() const override { return m_value->asBool(); }
    TStringCore GetString() const override { return TStringCore::fromUtf8(m_value->asCString()); }
    int GetInt32() const override { return m_value->asInt(); }
    long long GetInt64() const override { return m_value->asInt64(); }
    float GetReal32() const override { return Real32Of(*m_value); }
    double GetReal64() const override { return Real64Of(*m_value); }
    IJsonIterable<JsonArrayElement> const& GetArray() const override { return m_array; }
    IJsonIterable<JsonDictionaryEntry> const& GetDictionary() const override {
        return m_dictionary;
    }

protected:
    Root m_root;
    Json::Value const* m_value;

private:
    Iterable<JsonArrayElement> m_array;
    Iterable<JsonDictionaryEntry> m_dictionary;
};

template <class T>
class IteratorAdapter final : public IJsonIteratorAdapter<T>, public ValueFace {
public:
    IteratorAdapter(Root const& root, Json::Value::const_iterator it)
        : ValueFace(root, nullptr), m_it(it) {}

    T GetCurrent() const override {
        // The element is this iterator; the pointer shares the tree's life.
        auto* self = const_cast<IteratorAdapter*>(this);
        self->m_value = &*m_it;
        std::shared_ptr<IJsonObject> element(m_root, static_cast<IJsonObject*>(self));
        if constexpr (std::is_same_v<T, JsonArrayElement>) {
            return element;
        } else {
            std::string const name = m_it.name();
            return {TStringCore::fromUtf8(name.data(), static_cast<int>(name.size())),
                    std::move(element)};
        }
    }
    void MoveNext() override { ++m_it; }
    std::unique_ptr<IJsonIteratorAdapter<T>> Clone() const override {
        return std::make_unique<IteratorAdapter>(m_root, m_it);
    }
    bool IsEqualTo(IJsonIteratorAdapter<T> const& other) const override {
        auto const* that = dynamic_cast<IteratorAdapter const*>(&other);
        return that != nullptr && m_it == that->m_it;
    }

private:
    Json::Value::const_iterator m_it;
};

class JsonValueAdapter final : public ValueFace {
public:
    explicit JsonValueAdapter(Root root) : ValueFace(root, root.get()) {}
};

// A value of the kind and number given, for the conversions below.
Json::Value ValueOf(detail::JsonScalar const& value) {
    switch (value.kind) {
        case detail::JsonKind::Null:
            break;
        case detail::JsonKind::Bool:
            return Json::Value(value.boolean);
        case detail::JsonKind::Int:
            return Json::Value(static_cast<Json::Int64>(value.integer));
        case detail::JsonKind::UInt:
            return Json::Value(static_cast<Json::UInt64>(value.unsignedInteger));
        case detail::JsonKind::Real:
            return Json::Value(value.real);
        case detail::JsonKind::String:
            return Json::Value(Json::stringValue);
        case detail::JsonKind::Array:
            return Json::Value(Json::arrayValue);
        case detail::JsonKind::Object:
            return Json::Value(Json::objectValue);
    }
    return Json::Value();
}

}  // namespace

namespace detail {

std::shared_ptr<IJsonObject> ParseJsonWithReference(std::string const& text) {
    std::istringstream stream(text);
    Json::CharReaderBuilder builder;
    // The library's defaults accept "[1,]"; a trailing comma is not JSON.
    builder["allowTrailingCommas"] = false;
    auto value = std::make_shared<Json::Value>();
    std::string errors;
    bool parsed = false;
    try {
        parsed = Json::parseFromStream(builder, stream, value.get(), &errors);
    } catch (Json::Exception const&) {
        // Nesting past the reader's depth limit is thrown, not returned.
        parsed = false;
    }
    QEL_VALIDATE(parsed, QelError::FailedToParseStringAsJSON);
    return std::make_shared<JsonValueAdapter>(std::move(value));
}

bool ReferenceBool(JsonScalar const& value) {
    return ValueOf(value).asBool();
}
int ReferenceInt32(JsonScalar const& value) {
    return ValueOf(value).asInt();
}
long long ReferenceInt64(JsonScalar const& value) {
    return ValueOf(value).asInt64();
}
float ReferenceReal32(JsonScalar const& value) {
    return ValueOf(value).asFloat();
}
double ReferenceReal64(JsonScalar const& value) {
    return ValueOf(value).asDouble();
}
void ReferenceStringFailure(JsonScalar const& value) {
    ValueOf(value).asCString();
    QEL_VALIDATE_LOGIC(false, QelError::Unspecified, "a string has no conversion failure");
}

}  // namespace detail

std::shared_ptr<IJsonObject> GetRootJsonObject(TStringCore const& text) {
    return detail::ParseJsonFast(text);
}

std::shared_ptr<IJsonObject> GetRootJsonObject(TStringCore const& text, JsonReader reader) {
    if (reader == JsonReader::Fast)
        return detail::ParseJsonFast(text);
    return detail::ParseJsonWithReference(text.toStdString());
}

}  // namespace qel::core
