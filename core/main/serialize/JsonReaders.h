#pragma once

// What the two JSON readers share. The reference reader (jsoncpp, in
// JsonObject.cpp, the only source that includes it) decides what a text
// means; the fast reader (simdjson, in SimdJsonObject.cpp) reads the texts it
// can and hands every other one, and every conversion it does not settle
// itself, to the reference, so that both accept, refuse and fail alike.

#include <memory>
#include <string>
#include <vector>

#include "qel/core/serialize/JsonObject.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/types/StoreType.h"

namespace qel::core::detail {

// The reference reader over UTF-8 text; refuses with the catalogue's
// "failed to parse string as JSON".
std::shared_ptr<IJsonObject> ParseJsonWithReference(std::string const& text);

std::shared_ptr<IJsonObject> ParseJsonFast(TStringCore const& text);

// A value the way the reference reader holds it: a number is an Int when its
// text is an integer in the signed 64-bit range, a UInt when it is an
// integer above it, a Real otherwise.
enum class JsonKind { Null, Bool, Int, UInt, Real, String, Array, Object };

struct JsonScalar {
    JsonKind kind = JsonKind::Null;
    bool boolean = false;
    long long integer = 0;
    unsigned long long unsignedInteger = 0;
    double real = 0;
};

// The reference reader's conversions, with its results at the edges of the
// ranges and its exceptions (a std::exception with the library's text).
bool ReferenceBool(JsonScalar const& value);
int ReferenceInt32(JsonScalar const& value);
long long ReferenceInt64(JsonScalar const& value);
float ReferenceReal32(JsonScalar const& value);
double ReferenceReal64(JsonScalar const& value);
[[noreturn]] void ReferenceStringFailure(JsonScalar const& value);

// The elements of an array of the fast reader's tree as the values of a
// column of `type`, read as the element-by-element walk reads them (each
// accessor's result, its failures included) without a call through the
// interface per element. Only the commonest forms are read: numbers, bools
// and null for numbers and bools, strings for strings (as GetString gives
// them) that hold no quote and no blank, and so read as themselves. False, with `values` in any
// state, when `array` is not the fast reader's, `type` is of another kind, or an element has
// another form (a two-item special, a number for Int64 that is a real, ...): the caller then walks
// the elements one by one.
bool TryReadColumn(IJsonObject const& array, StoreType type, std::vector<unsigned char>& values);
bool TryReadColumn(IJsonObject const& array, StoreType type, std::vector<unsigned int>& values);
bool TryReadColumn(IJsonObject const& array, StoreType type,
                   std::vector<unsigned long long>& values);
bool TryReadColumn(IJsonObject const& array, StoreType type, std::vector<RIndirectString>& values);

}  // namespace qel::core::detail
