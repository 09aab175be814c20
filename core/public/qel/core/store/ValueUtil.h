#pragma once

// Boxing and unboxing between the typed forms of values and StoreValue, and
// the access to tuple members as boxed values.

#include <memory>

#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {

// Unboxes `value` as T:
//   bool, int, long long, float, double, QelColor, RIndirectString,
//   TStringCore     the value's As... accessor
//   QelDateTime     AsDate or AsDateTime by the value's type; any other
//                   fails "expected date but was "
//   QelTuple        AsTuple
//   std::shared_ptr<StoreValue>  the pointer itself
//   unsigned char   as AsBool
//   unsigned int, unsigned long long  the stored bits of a value of that
//                   width (a Color's packed value, a real's bits, an
//                   integer, a date's number); any other fails "illegal
//                   operation"
template <class T>
T FetchStoreValue(std::shared_ptr<StoreValue> const& value);

// Member `n` of the tuple as a boxed value: a special of the member's type,
// or its value. Fails "index out of bounds" past the members.
std::shared_ptr<StoreValue> FetchStoreValueFromTuple(QelTuple const& tuple, unsigned int n);

// Stores a boxed value into member `n`: its kind when special, else its
// value. The member's index and type are not checked.
void SetTupleNthUnboxedUnsafe(QelTuple& tuple, unsigned int n,
                              std::shared_ptr<StoreValue> const& value);

}  // namespace qel::core
