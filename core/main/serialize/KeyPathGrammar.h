#pragma once

// The pieces of the key path and type grammar, for the readers of the
// serialize area that embed key paths and types in their own text (VTL lines,
// payload sections). KeyPathParser is the public face; the functions live in
// KeyPathParser.cpp.
//
// The TryParse... family answers QelError::NoError on success, or the code of
// "unexpected token" or "invalid StoreType", and then leaves the scanner
// exactly where it stood: also the tokens of nested parts that had already
// succeeded go back. An `enclosing` restorer receives the tokens of a success,
// so that its own failure puts them back as well. Only an unknown type letter
// and the failures of building a type (a set of sets, a repeated member name,
// an unregistered external name) throw.
//
// The compound forms (TryParseRealType ... TryParseTableType) read what
// follows the type letter, which the caller has taken.

#include <vector>

#include "core/main/serialize/TokenRestorer.h"
#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/KeyPath.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/QelError.h"

namespace qel::core::recursive_descent {

// Types may nest this deep; deeper text is refused as "unexpected token",
// so that hostile text cannot exhaust the stack.
inline constexpr int kMaxTypeNesting = 100;

KeyPath ParseKeyPath(VtlScanner& scanner, TStringCore const& message);
// Whether the next token can begin a key path: an integer, an identifier or
// a quoted string.
bool PeekKeyPath(VtlScanner& scanner);
std::vector<KeyPath> ParseKeyPathList(VtlScanner& scanner, TStringCore const& message);
// A name and, after a colon, a type. A type that does not parse leaves the
// colon unread and the segment untyped.
KeySegment ParseKeySegment(VtlScanner& scanner, TStringCore const& message);
// TryParseType, with a failure thrown with `message` as details.
Type const* ParseType(VtlScanner& scanner, TStringCore const& message);

QelError TryParseType(VtlScanner& scanner, Type const*& type, TokenRestorer* enclosing = nullptr);
// The type letter alone.
QelError TryParseStoreType(VtlScanner& scanner, StoreType& type,
                           TokenRestorer* enclosing = nullptr);
// REQUIRES: `storeType` is Real32 or Real64.
QelError TryParseRealType(StoreType storeType, VtlScanner& scanner, RealType const*& type,
                          TokenRestorer* enclosing = nullptr);
QelError TryParseStringType(VtlScanner& scanner, StringType const*& type,
                            TokenRestorer* enclosing = nullptr);
QelError TryParseTupleType(VtlScanner& scanner, TupleType const*& type,
                           TokenRestorer* enclosing = nullptr);
QelError TryParseExternalType(VtlScanner& scanner, ExternalType const*& type,
                              TokenRestorer* enclosing = nullptr);
QelError TryParseArrayType(VtlScanner& scanner, ArrayType const*& type,
                           TokenRestorer* enclosing = nullptr);
QelError TryParseSetType(VtlScanner& scanner, SetType const*& type,
                         TokenRestorer* enclosing = nullptr);
QelError TryParseKeySetType(VtlScanner& scanner, KeySetType const*& type,
                            TokenRestorer* enclosing = nullptr);
QelError TryParseKeyMapType(VtlScanner& scanner, KeyMapType const*& type,
                            TokenRestorer* enclosing = nullptr);
QelError TryParseTableType(VtlScanner& scanner, TableType const*& type,
                           TokenRestorer* enclosing = nullptr);
// "name:type, ...", possibly empty; `members` is cleared first.
QelError TryParseNamedTypeList(VtlScanner& scanner,
                               std::vector<NamedHeterogeneousType::Member>& members,
                               TokenRestorer* enclosing = nullptr);
// "type, ...", possibly empty; `types` is cleared first.
QelError TryParseAnonymousTypeList(VtlScanner& scanner, std::vector<Type const*>& types,
                                   TokenRestorer* enclosing = nullptr);

}  // namespace qel::core::recursive_descent
