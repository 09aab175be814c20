#pragma once

// An interned, immutable description of a value's type. One object exists per
// distinct type in the process, so two types are equal exactly when their
// pointers are equal and a type's hash is its address; never compare types
// structurally. Types are made and owned by Context, are never freed, and may
// be shared between threads without synchronisation.
//
// The base type strips precision, scale and collation, recursively; value
// comparisons that must ignore such decoration compare base types.

#include <atomic>
#include <cstddef>
#include <memory>

#include "qel/core/types/StoreType.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

// How the strings of a string type compare (store/Collation.h).
class Collation;

class Type {
public:
    Type(Type const&) = delete;
    Type& operator=(Type const&) = delete;
    virtual ~Type() = default;

    virtual Type const* GetBaseType() const = 0;
    // The key path text of the type: "i", "r<10,2>", "A<s<LROOT>>", ...
    virtual TStringCore ToString() const;

    StoreType GetStoreType() const noexcept { return m_storeType; }
    std::size_t GetHashValue() const noexcept { return reinterpret_cast<std::size_t>(this); }
    bool Is(StoreType type) const noexcept { return m_storeType == type; }

    // The type as a T; throws "cannot cast to the requested type class" when
    // it is no T. Use TypeAs<T>(ptr) where the pointer may be null.
    template <class T>
    T const* As() const;
    template <class T>
    T const* TryAs() const {
        return dynamic_cast<T const*>(this);
    }

protected:
    explicit Type(StoreType type) noexcept : m_storeType(type) {}

private:
    StoreType m_storeType;
};

namespace detail {
// Out of line, so that the refusal names the library's source, not the
// host's copy of this header.
[[noreturn]] void TypeCastFailed();
}  // namespace detail

// Type::As for a pointer that may be null: null fails like a wrong class.
template <class T>
T const* TypeAs(Type const* type) {
    T const* t = type == nullptr ? nullptr : dynamic_cast<T const*>(type);
    if (t == nullptr) [[unlikely]]
        detail::TypeCastFailed();
    return t;
}

template <class T>
T const* Type::As() const {
    return TypeAs<T>(this);
}

class BoolType final : public Type {
public:
    static BoolType const* Get();
    Type const* GetBaseType() const override { return this; }

private:
    friend class Context;
    BoolType() : Type(StoreType::Bool) {}
};

class IntType final : public Type {
public:
    static IntType const* Get32();
    static IntType const* Get64();
    Type const* GetBaseType() const override { return this; }

private:
    friend class Context;
    explicit IntType(StoreType type) : Type(type) {}
};

class DateType final : public Type {
public:
    static DateType const* Get();
    Type const* GetBaseType() const override { return this; }

private:
    friend class Context;
    DateType() : Type(StoreType::Date) {}
};

class DateTimeType final : public Type {
public:
    static DateTimeType const* Get();
    Type const* GetBaseType() const override { return this; }

private:
    friend class Context;
    DateTimeType() : Type(StoreType::DateTime) {}
};

class ColorType final : public Type {
public:
    static ColorType const* Get();
    Type const* GetBaseType() const override { return this; }

private:
    friend class Context;
    ColorType() : Type(StoreType::Color) {}
};

// Precision and scale describe a decimal format that a real was given; they
// take no part in arithmetic. Only the low four bits of the precision tell
// types apart: precisions -1 and 15 (or 3 and 19) share one interned type,
// which is the one asked for first.
class RealType final : public Type {
public:
    static constexpr signed char DefaultPrecision = -1;
    static constexpr signed char DefaultScale = -1;

    static RealType const* Get32();
    static RealType const* Get32(signed char precision, signed char scale);
    static RealType const* Get64();
    static RealType const* Get64(signed char precision, signed char scale);

    signed char GetPrecision() const noexcept { return m_precision; }
    signed char GetScale() const noexcept { return m_scale; }
    // The default real type of the same store type.
    Type const* GetBaseType() const override;
    TStringCore ToString() const override;

private:
    friend class Context;
    RealType(StoreType type, signed char precision, signed char scale)
        : Type(type), m_precision(precision), m_scale(scale) {}
    signed char m_precision;
    signed char m_scale;
    mutable std::atomic<Type const*> m_base{nullptr};
};

class StringType final : public Type {
public:
    // The string type of the default collation.
    static StringType const* Get();
    static StringType const* Get(Collation const& collation);

    Collation const& GetCollation() const noexcept { return *m_collation; }
    // The string type of the default collation.
    Type const* GetBaseType() const override;
    TStringCore ToString() const override;
    ~StringType() override;

private:
    friend class Context;
    explicit StringType(Collation const& collation);
    // Held apart so that this header needs no more than the name of the
    // class; made once per interned type.
    std::unique_ptr<Collation const> m_collation;
};

// A value kind that the host registers. Only the 16-bit id is interned; the
// name is the external type registry's.
class ExternalType final : public Type {
public:
    static ExternalType const* Get(unsigned short id);
    // The type of a registered name; an unknown name throws std::out_of_range.
    static ExternalType const* Get(TStringCore const& name);

    unsigned short GetExternalTypeId() const noexcept { return m_id; }
    // The registered name; an unknown id throws std::out_of_range.
    TStringCore const& GetExternalTypeName() const;
    Type const* GetBaseType() const override { return this; }
    // "x<name>".
    TStringCore ToString() const override;

private:
    friend class Context;
    explicit ExternalType(unsigned short id) : Type(StoreType::External), m_id(id) {}
    unsigned short m_id;
};

// Arrays, sets and key sets: a uniform collection of one element type.
class CollectionType : public Type {
public:
    // An array or set type; any other store type fails "type doesn't match
    // expected type".
    static CollectionType const* Get(StoreType type, Type const* element);

    Type const* GetElementType() const noexcept { return m_element; }
    // The same kind of collection with another element (a key set keeps its
    // key type).
    virtual CollectionType const* WithElementType(Type const* element) const = 0;
    TStringCore ToString() const override;

protected:
    CollectionType(StoreType type, Type const* element) : Type(type), m_element(element) {}
    Type const* m_element;
    mutable std::atomic<Type const*> m_base{nullptr};
};

class ArrayType final : public CollectionType {
public:
    static ArrayType const* Get(Type const* element);
    Type const* GetBaseType() const override;
    CollectionType const* WithElementType(Type const* element) const override;

private:
    friend class Context;
    explicit ArrayType(Type const* element);
};

class SetType final : public CollectionType {
public:
    static SetType const* Get(Type const* element);
    Type const* GetBaseType() const override;
    CollectionType const* WithElementType(Type const* element) const override;

private:
    friend class Context;
    explicit SetType(Type const* element);
};

class KeySetType final : public CollectionType {
public:
    static KeySetType const* Get(Type const* key, Type const* element);
    Type const* GetKeyType() const noexcept { return m_key; }
    Type const* GetBaseType() const override;
    CollectionType const* WithElementType(Type const* element) const override;
    TStringCore ToString() const override;

private:
    friend class Context;
    KeySetType(Type const* key, Type const* element);
    Type const* m_key;
};

// The promotion of two types for mixed comparisons: Int32 with Int64 gives
// Int64, Real32 with Real64 the default Real64, an integer with a real the
// real, Date with DateTime DateTime. False (and `result` untouched) when
// there is none.
bool TryPromotedType(Type const* a, Type const* b, Type const*& result);
// As TryPromotedType; throws "unsupported type" when there is none.
Type const* PromotedType(Type const* a, Type const* b);
// The default type of a primitive store type (Bool to Color); others throw
// "invalid StoreType".
Type const* MakePrimitiveType(StoreType type);

}  // namespace qel::core
