#pragma once

// The JSON form of values and data stores, which StoreValueParser reads back.
// The text is deterministic: the names of key maps and tables, the items of
// sets and the keys of key sets are written sorted, never in the order of a
// hash table.
//
//   key map, table   a dictionary; with types, each key is the text form of
//                    a typed key segment ("sales:r", "'order date':t",
//                    "rows:T"), a key map's or table's own member list left
//                    out since its value repeats it
//   special          its keyword as a JSON string: "Null", "Missing", ...
//   Bool, Int, Real  bare numbers and true/false; infinities and NaN as the
//                    strings "+inf", "-inf", "nan"
//   String           a JSON string; a text that reads as a special keyword or
//                    begins with an apostrophe is written VTL-quoted ("'Null'"),
//                    and so is one that a reader would trim (" a")
//   Date, DateTime   strings; Color a string of hex digits, or a number
//                    with colorsAsIntegers; External the hex digits of the
//                    bytes its registered serializer gives
//   Tuple            an array of its members
//   Array            an array; a special element is [raw value, "Null"]
//   Set              [items] or [[items],[specials]]
//   KeySet           {key: element} or [{key: element}, {"Null": element}]
//
// All functions are reentrant; a JsonSerializer belongs to its caller.

#include "qel/core/serialize/JsonSerializer.h"
#include "qel/core/utility/Base.h"

namespace qel::core {

class IDataStore;
class StoreValue;

struct JsonOptions {
    JsonSerializerType serializerType = JsonSerializerType::Compact;
    // Keys of key maps and tables carry the type of their value. Without
    // types the text cannot be read back.
    bool includeTypes = true;
    // Colours as the decimal of their packed 32 bits, which no reader takes.
    bool colorsAsIntegers = false;
};

TStringCore SerializeDataStore(IDataStore const& store, JsonOptions const& options);
// Compact, with types.
TStringCore SerializeDataStoreCompact(IDataStore const& store);
// Into `json`, with types.
void SerializeDataStore(JsonSerializer& json, IDataStore const& store);

// Compact, with types. A value that is not a value kind of the store fails
// "unsupported primitive key type" with its store type; an array of
// collections or tuples that holds specials "arrays with collections do not
// support special values"; a set of tuples with specials "sets of tuples do
// not support special values"; a null value anywhere "cannot serialize null
// StoreValue".
TStringCore SerializeValue(StoreValue const& value);
void SerializeValue(JsonSerializer& json, StoreValue const& value);

// The key that a key map writes for `value` under `name`: "name:type".
TStringCore SerializeKey(TStringCore const& name, StoreValue const& value);
// The type of `value` alone, with all member lists: "M{ a:i }".
TStringCore SerializeAnonymousKey(StoreValue const& value);

}  // namespace qel::core
