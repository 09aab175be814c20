#pragma once

// Context is the process-wide owner of all types and interned texts.
//
// Every type lookup first searches a concurrent cache without a lock. On a
// miss the type is built with no lock held (its constructor may itself ask
// Context for base types), then inserted; if another thread inserted the same
// key meanwhile, the insert yields that thread's type and the loser's object
// is kept alive, unused, so every caller receives the one winning pointer.
// Only adopting a new object takes a mutex, once per new type.
//
// Interned texts get dense ids from 0 that never change; reading a text by id
// takes no lock. Neither types nor texts are ever freed: both tables grow for
// the life of the process, and are destroyed at exit.
//
// Any thread may call any operation at any time.

#include <memory>
#include <vector>

#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/Type.h"

namespace qel::core {

class PackedStructOffsets;

class Context {
public:
    static Context& Instance();

    Context(Context const&) = delete;
    Context& operator=(Context const&) = delete;

    BoolType const* GetBoolType() const;
    IntType const* GetInt32Type() const;
    IntType const* GetInt64Type() const;
    DateType const* GetDateType() const;
    DateTimeType const* GetDateTimeType() const;
    ColorType const* GetColorType() const;

    RealType const* GetReal32(signed char precision, signed char scale) const;
    RealType const* GetReal64(signed char precision, signed char scale) const;
    // REQUIRES: a collator pool is installed (collations are compared).
    StringType const* GetString(Collation const& collation) const;
    // The string type of the default collation.
    StringType const* GetStringBase() const;
    ExternalType const* GetExternal(unsigned short id) const;
    ArrayType const* GetArrayType(Type const* element) const;
    SetType const* GetSetType(Type const* element) const;
    KeySetType const* GetKeySetType(Type const* key, Type const* element) const;
    // Sorts `members` by name first, so that any order gives the same type.
    KeyMapType const* GetKeyMapType(std::vector<NamedHeterogeneousType::Member>&& members) const;
    TableType const* GetTableType(std::vector<NamedHeterogeneousType::Member>&& members) const;
    // Tuples keep their member order.
    TupleType const* GetTupleType(std::vector<Type const*>&& members) const;
    // REQUIRES: `type` is not null.
    PackedStructOffsets const* GetPackedStructOffsets(AnonymousHeterogeneousType const* type) const;

    unsigned long InternString(TStringCore&& text) const;
    // REQUIRES: `id` was returned by InternString; nothing checks it.
    TStringCore const& GetInternedString(unsigned long id) const;

private:
    Context();
    ~Context();
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace qel::core
