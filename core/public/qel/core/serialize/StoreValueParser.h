#pragma once

// StoreValueParser builds values and data stores from their JSON text form,
// the form that StoreValueSerializer writes. Every value is read against a
// known type, and types come only from the keys of key maps and tables (a
// key is the text of a key segment: "sales:r", "rows:T", "kids:A<M>"), so a
// document without typed keys cannot be read. The member lists of a key map
// or table type in a key are not consulted: the value's own keys say what it
// holds.
//
// A JSON string that is exactly a special keyword ("Null", "Missing", ...)
// stands for that special wherever a whole value stands, whatever the type;
// a quoted text ("'Null'") stands for the text inside the quotes. Inside an
// array a special element has the two-item form [raw value, "Null"].
//
// Every refusal is a QelRuntimeException of the catalogue (a value that its
// primitive string parser refuses fails as that parser does); what was
// built so far is dropped. Nesting is bounded by the JSON reader's depth
// limit and by the depth of key path types, so hostile text cannot exhaust
// the stack.
//
// All functions are reentrant; a JSON tree belongs to the calling thread.

#include <memory>
#include <utility>

#include "qel/core/serialize/JsonObject.h"
#include "qel/core/store/DataStore.h"
#include "qel/core/store/SpecialKind.h"

namespace qel::core {

class ArrayType;
class BinaryProtocolReader;
class KeySetType;
class SetType;
class Type;

class StoreValueParser {
public:
    // The text must be a JSON dictionary: the root key map.
    static std::shared_ptr<DataStore> MakeDataStore(TStringCore const& json);
    // The store whose root key map the reader's current payload holds; see
    // StoreValueBinaryParser.h for what stays in the received buffer.
    static std::shared_ptr<DataStore> MakeDataStore(BinaryProtocolReader& reader);

    static std::shared_ptr<StoreValue> MakeKeyMap(TStringCore const& json);
    static std::shared_ptr<StoreValue> MakeKeyMap(std::shared_ptr<IJsonObject> const& o);
    // As a key map whose keys are all arrays of primitives.
    static std::shared_ptr<StoreValue> MakeTable(std::shared_ptr<IJsonObject> const& o);
    static std::shared_ptr<StoreValue> MakeArray(ArrayType const* type,
                                                 std::shared_ptr<IJsonObject> const& o);
    static std::shared_ptr<StoreValue> MakeSet(SetType const* type,
                                               std::shared_ptr<IJsonObject> const& o);
    static std::shared_ptr<StoreValue> MakeKeySet(KeySetType const* type,
                                                  std::shared_ptr<IJsonObject> const& obj);
    // A whole value of `type`: a special keyword string gives the special.
    static std::shared_ptr<StoreValue> MakeStoreValueFromJsonObject(
        Type const* type, std::shared_ptr<IJsonObject> const& o);

    // The text of a JSON string and whether it names a special: a single
    // identifier or quoted string gives its text (unquoted, unescaped) and
    // Normal; a single special keyword gives the empty text and its kind;
    // anything else gives the text as it stands and Normal.
    static std::pair<TStringCore, SpecialKind> ParseJsonStringAsPossibleSpecialKind(
        std::shared_ptr<IJsonObject> const& o);
};

}  // namespace qel::core
