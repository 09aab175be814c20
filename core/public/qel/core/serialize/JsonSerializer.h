#pragma once

// A small streaming JSON writer. A stack of states checks the order of calls
// (one value at the root, keys and values alternating in a dictionary, no
// keys in an array); a builder gives the text its look, compact or readable.
// The writer never reorders: what a caller appends is what the text says.
//
// A JsonSerializer belongs to one thread.

#include <memory>
#include <string_view>

#include "qel/core/utility/Base.h"

namespace qel::core {

enum class JsonSerializerType : int {
    // Indented by four blanks, an array of scalars kept on one line.
    Readable = 0,
    // No white space at all.
    Compact = 1,
};

class JsonSerializer {
public:
    // The compact form.
    JsonSerializer();
    // Any value outside the enumeration fails "unsupported serializer type".
    explicit JsonSerializer(JsonSerializerType type);
    JsonSerializer(JsonSerializer&&) noexcept;
    JsonSerializer& operator=(JsonSerializer&&) noexcept;
    ~JsonSerializer();

    // `hasCollections`: whether the array holds arrays or dictionaries. An
    // array that holds neither stays on one line in the readable form.
    void BeginArray(bool hasCollections);
    void EndArray();
    void BeginDictionary();
    void EndDictionary();
    void AppendKey(TStringCore const& key);
    // A JSON string, quoted and escaped.
    void AppendString(TStringCore const& text);
    // Text that is already JSON: a number, true, false, null.
    void AppendUnquotedString(TStringCore const& text);
    // The same from units held elsewhere, such as a number formatted on the
    // stack, so that a long column costs no string per element.
    void AppendUnquotedUnits(std::u16string_view text);
    // A hint that about `units` more will follow (a long column), so that
    // the text grows once instead of step by step. Changes no output.
    void Reserve(int units);
    // The text so far; valid until the next call.
    TStringCore const& Build() const;

    // Undoes the escapes of a JSON string's body, all but "\u", which stays
    // as "u" and the digits. A text that ends inside an escape fails "failed
    // to parse string as JSON".
    static TStringCore UnescapeFromJson(TStringCore const& text);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace qel::core
