#pragma once

// StoreValue is the base of everything a data store holds. Values are
// immutable once made and may be read from any thread; clients hold them as
// std::shared_ptr<StoreValue> (or std::unique_ptr from Clone, Cast and the
// ...UniquePtr makers of factory).
//
// A value is either normal or special (Null, Missing, Error, ...). Specials
// carry a type and sort after every normal value of their base type.
//
// Typed accessors never convert: AsInt64 on an Int32 value throws "expected
// int64 but was " with the actual type as details, and so does any accessor
// on a special. Test IsSpecial first.
//
// Comparisons: Compare/IsLessThan/IsGreaterThan order two values of the same
// type; IsEqual is false (never a throw) across base types; the Fuzzy family
// compares reals within 16 units in the last place and promotes across
// numeric types.

#include <cstddef>
#include <memory>

#include "qel/core/store/SpecialKind.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/QelColor.h"
#include "qel/core/utility/QelDateTime.h"

namespace qel::core {

class IStoreCollection;
class IStoreMutableCollection;
class IUniformCollection;
class IStoreArray;
class IStoreSet;
class IStoreKeyMap;
class IStoreTable;
class QelTuple;
class ValueExternal;
template <class StorageT>
class ITypedArray;
template <class StorageT>
class ITypedSet;
template <class K, class V>
class IStoreDictionary;

class StoreValue {
public:
    StoreValue() = default;
    StoreValue(StoreValue const&) = delete;
    StoreValue& operator=(StoreValue const&) = delete;
    virtual ~StoreValue() = default;

    virtual StoreType GetStoreType() const { return GetType()->GetStoreType(); }
    virtual SpecialKind GetSpecialKind() const { return SpecialKind::Normal; }
    virtual Type const* GetType() const = 0;
    virtual qelsize_t GetCount() const = 0;
    virtual std::size_t GetHashValue() const { return 0; }
    // False when the base types differ; otherwise Compare(other) == 0.
    virtual bool IsEqual(StoreValue const& other) const;
    // A new value of `type`'s store type; a cast to the own store type is a
    // Clone that keeps the own type. Fails "illegal type cast".
    virtual std::unique_ptr<StoreValue> Cast(Type const* type) const;

    virtual bool AsBool() const;
    virtual int AsInt32() const;
    virtual long long AsInt64() const;
    virtual float AsReal32() const;
    virtual double AsReal64() const;
    virtual RIndirectString const& AsString() const;
    virtual QelDateTime AsDate() const;
    virtual QelDateTime AsDateTime() const;
    virtual QelColor AsColor() const;
    virtual ValueExternal const& AsExternal() const;
    virtual IStoreCollection const& AsCollection() const;
    virtual IStoreMutableCollection& AsMutableCollection();
    virtual IUniformCollection const& AsUniformCollection() const;
    virtual IStoreArray const& AsArray() const;
    virtual IStoreSet const& AsSet() const;
    virtual IStoreKeyMap const& AsKeyMap() const;
    virtual IStoreTable const& AsTable() const;
    virtual QelTuple const& AsTuple() const;

    // Run-time checked casts to the typed interfaces (defined with them, in
    // store/CollectionInterfaces.h): "StoreValue is not an ITypedArray", ...
    template <class StorageT>
    ITypedArray<StorageT> const& AsTypedArray() const;
    template <class StorageT>
    ITypedSet<StorageT> const& AsTypedSet() const;
    template <class K, class V>
    IStoreDictionary<K, V> const& AsDictionary() const;

    virtual std::unique_ptr<StoreValue> Clone() const = 0;

    bool IsSpecial() const { return GetSpecialKind() != SpecialKind::Normal; }

    // -1, 0 or 1. Whichever side is special, the special's comparison
    // decides. Two normal values of different store types throw.
    int Compare(StoreValue const& other) const;
    bool IsLessThan(StoreValue const& other) const { return Compare(other) < 0; }
    bool IsGreaterThan(StoreValue const& other) const { return Compare(other) > 0; }

    bool FuzzyIsEqual(StoreValue const& other) const;
    // Across base types the promoted type must exist ("unsupported type").
    bool FuzzyIsLessThan(StoreValue const& other) const;
    bool FuzzyIsGreaterThan(StoreValue const& other) const { return other.FuzzyIsLessThan(*this); }

protected:
    // Compares with a value of the same kind through other's accessor.
    virtual int CompareImpl(StoreValue const& other) const;
    virtual int FuzzyCompareImpl(StoreValue const& other) const { return CompareImpl(other); }

    // The details of a failed accessor: "Int32", or "Int32 (special kind: Null)".
    TStringCore GetActualTypeErrorMessage() const;

private:
    // Casts the side that is not of type P to P and fuzzily compares.
    int FuzzyComparePromoted(StoreValue const& other, Type const* promoted) const;
};

// Primitive text: specials by kind name, "true"/"false", decimal integers,
// ConvertFloatToString for reals, a string's own text unquoted, dates and
// date-times by QelDateTime::ToString ("2020-03-04T05:06:07"), colours by
// QelColor::ToString ("ff010203"). Other store types throw "invalid
// StoreType value".
TStringCore FormatPrimitive(StoreValue const& value);

// The failure branch of primitive dispatch: throws "unsupported primitive key
// type" with the store type's name.
[[noreturn]] void PrimitiveErrorFunction(StoreType type);

}  // namespace qel::core
