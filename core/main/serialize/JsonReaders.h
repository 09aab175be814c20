#pragma once

// What the two JSON readers share. The reference reader (jsoncpp, in
// JsonObject.cpp, the only source that includes it) decides what a text
// means; the fast reader (simdjson, in SimdJsonObject.cpp) reads the texts it
// can and hands every other one, and every conversion it does not settle
// itself, to the reference, so that both accept, refuse and fail alike.

#include <memory>
#include <string>

#include "qel/core/serialize/JsonObject.h"

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

}  // namespace qel::core::detail
