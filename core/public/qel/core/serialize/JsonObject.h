#pragma once

// A parsed JSON text as a tree of IJsonObject, so that the readers above it
// never see the JSON library underneath.
//
// Walking an array or a dictionary allocates no object per element: the
// iterator is itself the current element, so an element handed out by
// GetCurrent() is valid until the iterator moves or dies. Copy what must
// outlive that. The tree lives as long as any object or iterator of it.
//
// Accessors of the wrong kind (GetString of a number, GetArray of a string)
// fail with the JSON library's own exception; callers test the kind first
// where a message of the catalogue is wanted.

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

// Parses a text with the JSON library's default settings (comments allowed,
// text after the root value ignored), except that a trailing comma in an
// array or a dictionary is refused. A text that does not parse fails
// "failed to parse string as JSON"; the library's own message is dropped.
std::shared_ptr<IJsonObject> GetRootJsonObject(TStringCore const& text);

}  // namespace qel::core
