#pragma once

// Reads the binary form of values (see StoreValueBinarySerializer.h) from a
// BinaryProtocolReader that NextPayload has given a payload.
//
// Fixed-width columns are not copied: a plain array of numbers, dates,
// colours or bools, its specials, and a composite array's indices are views
// into the received buffer, which each such array keeps alive through the
// reader's GetSharedBufferReference(). The buffer must therefore start on an
// 8-byte boundary (heap memory does). Constant and composite arrays stay
// compressed.
//
// The bytes are untrusted: every count is checked against what the buffer
// holds before anything is built, special kinds outside the enumeration are
// refused ("illegal special kind value"), values nest at most 100 structures
// deep ("binary protocol invalid data"), and an external type that is not
// registered is "invalid external type ID". Whatever is wrong fails with a
// QelException and leaves the reader in mid-structure, to be dropped.

#include <memory>
#include <utility>

namespace qel::core {

class BinaryProtocolReader;
class IDataStore;
class StoreValue;
class Type;

class StoreValueBinaryParser {
public:
    // The store whose root key map the payload holds.
    static std::shared_ptr<IDataStore> MakeDataStore(BinaryProtocolReader& reader);
    // One value of `type` (its descriptor: the type, and whether the value
    // is special). A key map's or table's type comes from its entries, not
    // from the member-less type of a descriptor.
    static std::shared_ptr<StoreValue> MakeStoreValue(BinaryProtocolReader& reader,
                                                      std::pair<Type const*, bool> const& type);
};

}  // namespace qel::core
