#pragma once

// The scalar value classes. Each holds its unboxed value and, only where the
// type can vary (reals, strings), a Type pointer. Clients see them as
// StoreValue; the makers of factory build them.

#include "qel/core/store/StoreValue.h"

namespace qel::core {

class ValueBool final : public StoreValue {
public:
    explicit ValueBool(bool value) : m_value(value) {}
    Type const* GetType() const override { return BoolType::Get(); }
    qelsize_t GetCount() const override { return 1; }
    std::size_t GetHashValue() const override { return m_value ? 1 : 0; }
    std::unique_ptr<StoreValue> Clone() const override;
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;
    bool AsBool() const override { return m_value; }

protected:
    int CompareImpl(StoreValue const& other) const override;

private:
    bool m_value;
};

class ValueInt32 final : public StoreValue {
public:
    explicit ValueInt32(int value) : m_value(value) {}
    Type const* GetType() const override { return IntType::Get32(); }
    qelsize_t GetCount() const override { return 1; }
    std::size_t GetHashValue() const override {
        return static_cast<std::size_t>(static_cast<long long>(m_value));
    }
    std::unique_ptr<StoreValue> Clone() const override;
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;
    int AsInt32() const override { return m_value; }

protected:
    int CompareImpl(StoreValue const& other) const override;

private:
    int m_value;
};

class ValueInt64 final : public StoreValue {
public:
    explicit ValueInt64(long long value) : m_value(value) {}
    Type const* GetType() const override { return IntType::Get64(); }
    qelsize_t GetCount() const override { return 1; }
    std::size_t GetHashValue() const override { return static_cast<std::size_t>(m_value); }
    std::unique_ptr<StoreValue> Clone() const override;
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;
    long long AsInt64() const override { return m_value; }

protected:
    int CompareImpl(StoreValue const& other) const override;

private:
    long long m_value;
};

class ValueReal32 final : public StoreValue {
public:
    // REQUIRES: `type` is a Real32 type.
    ValueReal32(Type const* type, float value) : m_type(type), m_value(value) {}
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return 1; }
    std::size_t GetHashValue() const override;
    std::unique_ptr<StoreValue> Clone() const override;
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;
    float AsReal32() const override { return m_value; }

protected:
    int CompareImpl(StoreValue const& other) const override;
    int FuzzyCompareImpl(StoreValue const& other) const override;

private:
    Type const* m_type;
    float m_value;
};

class ValueReal64 final : public StoreValue {
public:
    // REQUIRES: `type` is a Real64 type.
    ValueReal64(Type const* type, double value) : m_type(type), m_value(value) {}
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return 1; }
    std::size_t GetHashValue() const override;
    std::unique_ptr<StoreValue> Clone() const override;
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;
    double AsReal64() const override { return m_value; }

protected:
    int CompareImpl(StoreValue const& other) const override;
    int FuzzyCompareImpl(StoreValue const& other) const override;

private:
    Type const* m_type;
    double m_value;
};

class ValueString final : public StoreValue {
public:
    // REQUIRES: `type` is a StringType.
    ValueString(StringType const* type, RIndirectString value)
        : m_type(type), m_value(std::move(value)) {}
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return 1; }
    // The hash of the type's collator, so that texts it deems equal hash alike.
    std::size_t GetHashValue() const override;
    std::unique_ptr<StoreValue> Clone() const override;
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;
    RIndirectString const& AsString() const override { return m_value; }

protected:
    int CompareImpl(StoreValue const& other) const override;

private:
    StringType const* m_type;
    RIndirectString m_value;
};

}  // namespace qel::core
