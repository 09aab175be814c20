#pragma once

// The boxed dates, date-times and colours. A date and a date-time share the
// encoding of QelDateTime and differ only in their type: a ValueDate may hold
// a time of day, as neither its maker nor a cast to Date truncates.

#include "qel/core/store/StoreValue.h"

namespace qel::core {

class ValueDate final : public StoreValue {
public:
    explicit ValueDate(QelDateTime value) : m_value(value) {}
    Type const* GetType() const override { return DateType::Get(); }
    qelsize_t GetCount() const override { return 1; }
    std::size_t GetHashValue() const override { return m_value.GetHashValue(); }
    std::unique_ptr<StoreValue> Clone() const override;
    // To Date a clone, to DateTime the same number with its time.
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;
    QelDateTime AsDate() const override { return m_value; }

protected:
    int CompareImpl(StoreValue const& other) const override;

private:
    QelDateTime m_value;
};

class ValueDateTime final : public StoreValue {
public:
    explicit ValueDateTime(QelDateTime value) : m_value(value) {}
    Type const* GetType() const override { return DateTimeType::Get(); }
    qelsize_t GetCount() const override { return 1; }
    std::size_t GetHashValue() const override { return m_value.GetHashValue(); }
    std::unique_ptr<StoreValue> Clone() const override;
    // To DateTime a clone, to Date the same number, time kept.
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;
    QelDateTime AsDateTime() const override { return m_value; }

protected:
    int CompareImpl(StoreValue const& other) const override;

private:
    QelDateTime m_value;
};

// Keeps StoreValue's Cast, so every cast of a colour fails, even to Color.
class ValueColor final : public StoreValue {
public:
    explicit ValueColor(QelColor value) : m_value(value) {}
    Type const* GetType() const override { return ColorType::Get(); }
    qelsize_t GetCount() const override { return 1; }
    // Sign-extended, as QelColor hashes unboxed.
    std::size_t GetHashValue() const override { return m_value.GetHashValue(); }
    std::unique_ptr<StoreValue> Clone() const override;
    QelColor AsColor() const override { return m_value; }

protected:
    // By QelColor's order: the packed value as a signed number.
    int CompareImpl(StoreValue const& other) const override;

private:
    QelColor m_value;
};

}  // namespace qel::core
