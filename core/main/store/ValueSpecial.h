#pragma once

// A boxed special value: a type and a kind other than Normal. Every accessor
// fails on it; comparisons against it order by kind within its base type.

#include "qel/core/store/StoreValue.h"

namespace qel::core {

class ValueSpecial final : public StoreValue {
public:
    // The type is not checked and may even be null (then its base type, and
    // so comparison, is unavailable). Fails when `kind` is Normal.
    ValueSpecial(Type const* type, SpecialKind kind);

    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return 1; }
    SpecialKind GetSpecialKind() const override { return m_specialKind; }
    std::size_t GetHashValue() const override { return static_cast<std::size_t>(m_specialKind); }
    std::unique_ptr<StoreValue> Clone() const override;
    // A special of the same kind and of any type.
    std::unique_ptr<StoreValue> Cast(Type const* type) const override;

protected:
    int CompareImpl(StoreValue const& other) const override;

private:
    Type const* m_type;
    SpecialKind m_specialKind;
};

}  // namespace qel::core
