#pragma once

// What the sources of StoreValueParser share: a range over the members of a
// JSON array or dictionary, and the reading of one plain element (no
// special) of a given type into the storage type that holds it. The
// collections are written once over the six storage types and dispatched
// on the run-time StoreType; what the bits of a storage type mean (an
// unsigned int is an Int32, a Real32 or a colour) is decided here from the
// element's type.

#include <cstddef>
#include <memory>
#include <utility>

#include "qel/core/serialize/JsonObject.h"
#include "qel/core/store/SpecialKind.h"
#include "qel/core/types/StorageTypes.h"
#include "qel/core/utility/QelError.h"

namespace qel::core {

class TupleType;
class Type;
class QelTuple;

namespace json_parse {

// An input iterator over an IJsonIterable, comparable with ==, so that the
// walks read like loops over containers. The current member is valid until
// the iterator moves: read it whole before stepping on.
template <class T>
class JsonIterator {
public:
    explicit JsonIterator(std::unique_ptr<IJsonIteratorAdapter<T>> at) : m_at(std::move(at)) {}
    T operator*() const { return m_at->GetCurrent(); }
    JsonIterator& operator++() {
        m_at->MoveNext();
        return *this;
    }
    bool operator==(JsonIterator const& other) const { return m_at->IsEqualTo(*other.m_at); }

private:
    std::unique_ptr<IJsonIteratorAdapter<T>> m_at;
};

template <class T>
class JsonRange {
public:
    explicit JsonRange(IJsonIterable<T> const& iterable) : m_iterable(iterable) {}
    JsonIterator<T> begin() const { return JsonIterator<T>(m_iterable.begin()); }
    JsonIterator<T> end() const { return JsonIterator<T>(m_iterable.end()); }
    std::size_t size() const {
        std::size_t count = 0;
        for (auto at = begin(), last = end(); !(at == last); ++at)
            ++count;
        return count;
    }

private:
    IJsonIterable<T> const& m_iterable;
};

// REQUIRES: the object is an array, or a dictionary.
inline JsonRange<JsonArrayElement> ArrayOf(IJsonObject const& o) {
    return JsonRange<JsonArrayElement>(o.GetArray());
}
inline JsonRange<JsonDictionaryEntry> DictionaryOf(IJsonObject const& o) {
    return JsonRange<JsonDictionaryEntry>(o.GetDictionary());
}

// The text of a JSON string; anything else fails "expected a json string".
TStringCore JsonString(std::shared_ptr<IJsonObject> const& o);

// The text of a JSON string (which it must be) as a value's text: a single
// identifier or quoted string gives its text; anything else, a special
// keyword included, stays as it stands. Where a special has a form of its
// own (inside arrays, sets and key sets) a keyword is plain text.
TStringCore JsonText(std::shared_ptr<IJsonObject> const& o);

// True when JsonText gives a string's text unchanged, as it does for most:
// without a quote or a blank, the scanner cannot read it as another text.
bool ReadsAsItself(TStringCore const& text);

// The special named by a JSON string ("Null", ...), for the specials lists
// of arrays, sets and key sets; anything else fails as
// SpecialKindFromString.
SpecialKind JsonSpecialKind(std::shared_ptr<IJsonObject> const& o);

// One plain value of `type` as the storage type S that holds it. A
// primitive must be given in its own JSON form: a number or bool for
// numbers and bools (a string for a real is read as the real's text, which
// is how "inf" and "nan" come back), a string for strings, dates, colours
// and external values, an array for a tuple. Nested values (S a shared
// pointer) are whole values and may be special.
template <class S>
struct PrimitiveTraits {
    static S MakePrimitive(Type const* type, std::shared_ptr<IJsonObject> const& o);
};

#define QEL_DETAIL_DECLARE_PRIMITIVE_TRAITS(S) extern template struct PrimitiveTraits<S>;
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_PRIMITIVE_TRAITS)
#undef QEL_DETAIL_DECLARE_PRIMITIVE_TRAITS

}  // namespace json_parse
}  // namespace qel::core
