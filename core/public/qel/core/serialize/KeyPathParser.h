#pragma once

// KeyPathParser reads the one text form of key paths, key segments and
// types, over the tokens of VtlScanner; KeyPathSerializer writes it.
//
//   key path   segment ("/" segment)*            a/b:i/'c d'
//   segment    name (":" type)?                  a name is an identifier, a
//                                                quoted string, or an integer
//                                                (its decimal value: 007 is 7)
//   path list  key path*                         a b/c 12
//   type       one letter and what it asks for:  b i l d t c
//              f r, optionally <precision,scale> r<10,2>
//              s, optionally <locale>            s<en_US>
//              P, optionally { type, ... }       P{ i, s }
//              x<registered name>                x<Geometry>
//              A<type>  S<type>  K<key,element>  A<S<i>>
//              M, T, optionally { name:type, ... }   M{ a:i, 'b c':A<s> }
//
// Blanks between tokens mean nothing. A type that does not parse after a
// segment's colon leaves the colon unread, so "a:foo" stops before ":";
// an unknown type letter, by contrast, fails at once.
//
// Every refusal is a QelRuntimeException: "unexpected token" or "invalid
// StoreType" with the caller's message (the Make... forms: the text itself)
// as details, or "unknown type name" for an unknown letter (with the name
// as details for an unregistered external type). Building the types may
// refuse too, with the type's own failure (a set of sets, a table member
// that is no array, a repeated member name).
//
// All functions are reentrant.

#include <vector>

#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/KeyPath.h"

namespace qel::core {

class KeyPathParser {
public:
    // Each reads the whole text: anything left behind fails "unexpected
    // token" with the text as details.
    static KeyPath MakeKeyPath(TStringCore const& text);
    // The empty text is the empty list.
    static std::vector<KeyPath> MakeKeyPathList(TStringCore const& text);
    static KeySegment MakeSegment(TStringCore const& text);
    static Type const* MakeType(TStringCore const& text);

    // Each reads from the caller's scanner and leaves it behind what it
    // read; `message` is the details of a refusal.
    static KeyPath ParseKeyPath(VtlScanner& scanner, TStringCore const& message);
    // Key paths for as long as the next token can begin one.
    static std::vector<KeyPath> ParseKeyPathList(VtlScanner& scanner, TStringCore const& message);
    static Type const* ParseType(VtlScanner& scanner, TStringCore const& message);
};

}  // namespace qel::core
