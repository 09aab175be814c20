#pragma once

// Real locales: a collator pool over ICU, so that strings of a type such as
// "s<de_DE>" or "s<sv_SE>" compare, hash and sort by the CLDR rules of their
// locale. Built only with the CMake option QEL_WITH_ICU; a host that includes
// this header from a build without it fails here, at compile time, rather
// than finding out from an exception in production.
//
// Locale names, as a string type carries them:
// - "LROOT", the default collation: unchanged, exact order of code units, so
//   that the default strings keep the order and hashes they had under the
//   default pool.
// - An ICU locale id: "de_DE", "sv_SE", "de_DE.UTF-8" (a POSIX charset is
//   ignored), "root"; from code also with keywords,
//   "de_DE@colStrength=primary".
// - A BCP 47 tag with Unicode collation keywords, the form that type text can
//   carry (its identifiers have no "@"): "de-DE-u-ks-level1".
//
// Strength (the ks keyword): level3 is the default, where accents and then
// case break ties ("a" < "A" < "ä"); level2 ignores case; level1 ignores case
// and accents ("Straße" = "STRASSE"); level1 with kc-true ignores accents but
// not case. Other CLDR keywords work too, such as kn-true (digits by numeric
// value) or co-phonebk (German phone book order).
//
// A name that is not a locale, or whose language, region or variant ICU does
// not know (it would otherwise sort silently by another locale's rules), is
// refused when its collator is first asked for: "invalid collation used",
// with the reason as details, as the default pool refuses any locale. The
// type itself can still be made. Two collations are equivalent only when
// their locale names are the same text: "de_DE" and "de-DE" are two types
// that order alike, since a collation hashes by its name.

#include <memory>

#include "qel/core/store/Collation.h"

#ifndef QEL_WITH_ICU
#error "qelcore was built without ICU; configure it with -DQEL_WITH_ICU=ON to use IcuCollatorPool.h"
#endif

namespace qel::core {

// A new pool; collators are made on first use and kept for the pool's life.
// Safe to use from any thread once installed.
std::shared_ptr<ICollatorPool> MakeIcuCollatorPool();
// Makes a pool as above and installs it, releasing whatever stood there: the
// set-up call in place of RegisterDefaultCollatorPool.
void RegisterIcuCollatorPool();

}  // namespace qel::core
