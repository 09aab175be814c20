#pragma once

// The binary form of values, written through a BinaryProtocolCreator; the
// reader is StoreValueBinaryParser. A value carries no type of its own on the
// wire: its type comes from outside, from the enclosing collection or from
// the type descriptor that stands beside a key map entry or table column. So
// writer and reader walk a value in the same order:
//
//   special      one byte, the SpecialKind (its descriptor has the special
//                bit set)
//   primitive    one AppendData of the value; a string is its string table
//                index
//   External     a ByteBlob list of the bytes its registered serializer gives
//   Tuple        a Tuple list: with specials first a segment of every
//                member's kind, then a segment of the non-special members
//   Array        plain: the values (fixed-width ones as one block, with
//                indices resolved into logical order), then with specials a
//                segment of kinds; constant: the length and one value or
//                kind; composite: the runs' values, kinds and lengths, and
//                the indices when it has them
//   Set          the non-special elements, then with specials their kinds
//   KeySet       the normal entries (key, value), then with special keys
//                their entries
//   KeyMap       the entry count, then for each entry name, descriptor, value
//   Table        the column count, the sort order as two arrays (names,
//                SortSpecOrder numbers), then each column as a key map entry
//
// Losses, by design: an array with indices comes back dense in logical
// order, and the iteration order of sets, key sets and key maps is not kept.

namespace qel::core {

class BinaryProtocolCreator;
class IDataStore;
class StoreValue;

// The store's root key map, and nothing else. A null value in the tree fails
// "cannot serialize null StoreValue"; an array or set of collections or
// tuples with specials "arrays with collections do not support special
// values" or "sets of tuples do not support special values"; the protocol's
// own refusals pass through.
void SerializeDataStore(BinaryProtocolCreator& protocol, IDataStore const& store);

// One value in its binary form, for a place in a structure that expects it
// (a list may also stand alone as a payload's root).
void SerializeValue(BinaryProtocolCreator& protocol, StoreValue const& value);

}  // namespace qel::core
