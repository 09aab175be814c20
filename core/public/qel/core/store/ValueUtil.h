#pragma once

// Boxing and unboxing between the typed forms of values and StoreValue, the
// access to tuple members as boxed values, constant arrays from one boxed
// value, and the joining of arrays and of tables.

#include <memory>
#include <vector>

#include "qel/core/store/SortSpecOrder.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {

// Boxes `value` as a value of `type`. T is bool, int, long long, float,
// double, QelColor, QelDateTime, QelTuple, RIndirectString or
// std::shared_ptr<StoreValue>; `type` must be of the store type whose values
// are T ("type doesn't match expected type"; a string "expected string but
// was ", a date "expected date but was "). Reals keep the precision and
// scale of their type, strings its collation; a nested value is returned
// itself.
template <class T>
std::shared_ptr<StoreValue> MakeStoreValue(Type const* type, T value);

// A Date or a DateTime by the store type of `type`; any other fails
// "expected date but was " with the store type's name.
std::shared_ptr<StoreValue> MakeDateTime(Type const* type, QelDateTime value);

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

// `count` copies of a primitive or external value, of its type: a special
// gives a constant array of its kind. Other store types fail "unsupported
// primitive key type".
std::shared_ptr<StoreValue> MakeConstantArray(std::shared_ptr<StoreValue> const& value,
                                              unsigned int count);
// `count` copies of `special`, of element type `type`.
std::shared_ptr<StoreValue> MakeConstantArray(Type const* type, unsigned int count,
                                              SpecialKind special);

// The arrays' elements one after the other, of the first array's element
// type (the others must lie in the same storage). Constant arrays only give
// a composite array of one run each, so the join stays run-length encoded;
// any other mix gives a plain array. `indices` (may be null) then index the
// joined elements, and `order` is the result's declared order. No arrays
// fail "composite array requires at least one array".
std::shared_ptr<StoreValue> ConcatenateArrays(
    std::vector<std::shared_ptr<StoreValue>> const& arrays,
    std::unique_ptr<std::vector<qelsize_t>> indices, SortSpecOrder order);

// The tables' rows one after the other, column by column, without sort
// metadata; a single table is returned itself. All must have the columns of
// the first ("concatenated tables must contain the same columns"); none
// fails "at least one value needed for concatenation".
std::shared_ptr<StoreValue> ConcatenateTables(
    std::vector<std::shared_ptr<StoreValue>> const& tables);

}  // namespace qel::core
