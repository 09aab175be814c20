#pragma once

// A parsed JSON text as a tree of IJsonObject, so that the readers above it
// never see the JSON library underneath.
//
// Walking an array or a dictionary allocates no object per element: the
// iterator is itself the current element, so an element handed out by
// GetCurrent() is valid until the iterator moves or dies. Copy what must
// outlive that. The tree lives as long as any object or iterator of it.
//
// Accessors of the wrong kind (GetString of a number), and numbers out of the
// range of the accessor, fail with the JSON library's own exception: a
// std::exception, not a QelException, with the same type and text whichever
// reader built the tree. Callers test the kind first where a message of the
// catalogue is wanted. GetArray of a dictionary walks its values, GetDictionary
// of an array its elements under empty names; of any other value, nothing.

#include <memory>
#include <utility>

#include "qel/core/types/RIndirectString.h"
#include "qel/core/utility/Base.h"

namespace qel::core {

class IJsonObject;

template <class T>
class IJsonIteratorAdapter {
public:
    virtual ~IJsonIteratorAdapter() = default;
    virtual T GetCurrent() const = 0;
    virtual void MoveNext() = 0;
    virtual std::unique_ptr<IJsonIteratorAdapter> Clone() const = 0;
    virtual bool IsEqualTo(IJsonIteratorAdapter const& other) const = 0;
};

// begin() and end() of an array (T: the element) or a dictionary (T: the
// member's name and value); walk begin() until IsEqualTo(end()).
template <class T>
class IJsonIterable {
public:
    virtual ~IJsonIterable() = default;
    virtual std::unique_ptr<IJsonIteratorAdapter<T>> begin() const = 0;
    virtual std::unique_ptr<IJsonIteratorAdapter<T>> end() const = 0;
};

using JsonArrayElement = std::shared_ptr<IJsonObject>;
using JsonDictionaryEntry = std::pair<TStringCore, std::shared_ptr<IJsonObject>>;

class IJsonObject {
public:
    virtual ~IJsonObject() = default;
    // Neither array nor dictionary: null, a bool, a number or a string.
    virtual bool IsValue() const = 0;
    virtual bool IsArray() const = 0;
    virtual bool IsDictionary() const = 0;
    virtual bool IsString() const = 0;
    virtual bool GetBool() const = 0;
    virtual TStringCore GetString() const = 0;
    virtual int GetInt32() const = 0;
    virtual long long GetInt64() const = 0;
    // A JSON string is read as the text of a real ("inf", "nan").
    virtual float GetReal32() const = 0;
    virtual double GetReal64() const = 0;
    virtual IJsonIterable<JsonArrayElement> const& GetArray() const = 0;
    // Members in the order of their names, not of the text.
    virtual IJsonIterable<JsonDictionaryEntry> const& GetDictionary() const = 0;

    template <class T>
    T Cast() const;
};

template <>
inline bool IJsonObject::Cast<bool>() const {
    return GetBool();
}
template <>
inline TStringCore IJsonObject::Cast<TStringCore>() const {
    return GetString();
}
template <>
inline RIndirectString IJsonObject::Cast<RIndirectString>() const {
    return RIndirectString(GetString());
}
template <>
inline int IJsonObject::Cast<int>() const {
    return GetInt32();
}
template <>
inline long long IJsonObject::Cast<long long>() const {
    return GetInt64();
}
template <>
inline float IJsonObject::Cast<float>() const {
    return GetReal32();
}
template <>
inline double IJsonObject::Cast<double>() const {
    return GetReal64();
}

// The parser underneath. Both accept and refuse the same texts and build the
// same trees. Reference is jsoncpp. Fast is simdjson, several times quicker
// on plain JSON; a text it does not read itself (comments, text after the
// root value, a byte order mark, a raw control character in a string, a
// number that is not JSON's: "01", "+1", "-") costs it a second parse by the
// reference reader.
enum class JsonReader { Fast, Reference };

// Parses a text with jsoncpp's default settings (comments allowed, text
// after the root value ignored, nesting up to 1000 deep), except that a
// trailing comma in an array or a dictionary is refused (jsoncpp still lets
// one pass after a member named "", as in {"": 1,}). A text that does not
// parse fails "failed to parse string as JSON"; the parser's own message is
// dropped. Without a reader named, the fast reader parses.
std::shared_ptr<IJsonObject> GetRootJsonObject(TStringCore const& text);
std::shared_ptr<IJsonObject> GetRootJsonObject(TStringCore const& text, JsonReader reader);

}  // namespace qel::core
