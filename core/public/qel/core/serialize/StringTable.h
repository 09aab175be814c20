#pragma once

// String tables of the binary protocol. Each distinct string is written once
// per creator, in UTF-8, and referred to by a 32-bit index from 1; a payload
// carries the strings that first appeared in it, as two buffers: an index
// table (the payload's first index, then each string's byte offset) and the
// string bytes. A reader therefore needs every earlier payload, in order.

#include <memory>
#include <vector>

#include "qel/core/serialize/BinaryBuffer.h"

namespace qel::core {

// The pair of buffers of one payload's table.
class StringTableBufferCreator {
public:
    // The index table starts with `startIndex`, so an empty table is 4 bytes.
    explicit StringTableBufferCreator(unsigned int startIndex);
    ~StringTableBufferCreator();
    // Appends without looking for duplicates.
    void AppendString(TStringCore const& text);
    std::shared_ptr<BinaryBufferCreator> const& GetIndicesBuffer() const;
    std::shared_ptr<BinaryBufferCreator> const& GetStringBuffer() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

class StringTableCreator {
public:
    StringTableCreator();
    ~StringTableCreator();
    // The number of strings known so far plus 1.
    unsigned int GetNextIndex() const;
    // The string's index; a new string is appended to this payload's table,
    // one known from an earlier payload keeps its index and is not written.
    unsigned int GetOrAppendString(TStringCore const& text);
    std::shared_ptr<BinaryBufferCreator> const& GetIndicesBuffer() const;
    std::shared_ptr<BinaryBufferCreator> const& GetStringBuffer() const;
    // A new pair of buffers for the next payload; the known strings stay.
    void NewPayload();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

class StringTableReader {
public:
    // Holds the empty string at index 0, which is never a string of a table.
    StringTableReader();
    // Reads one payload's table. Its first index must be the next one this
    // reader expects ("unspecified Vantrel Runtime error" otherwise): tables
    // arrive in order and none is missing.
    void AddStrings(BinaryBufferReader& indices, BinaryBufferReader& strings);
    // Fails "invalid string table index" for 0 and past the last string.
    TStringCore const& GetString(unsigned int index) const;

private:
    std::vector<TStringCore> m_strings;
};

}  // namespace qel::core
