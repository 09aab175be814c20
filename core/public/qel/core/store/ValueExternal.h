#pragma once

// The base of value kinds that a host registers in the external type
// registry. A derived class implements Clone and, as it needs them, the hash,
// Cast and comparison (which by default fail).

#include "qel/core/store/StoreValue.h"

namespace qel::core {

class ValueExternal : public StoreValue {
public:
    Type const* GetType() const override { return m_type; }
    qelsize_t GetCount() const override { return 1; }
    ValueExternal const& AsExternal() const override { return *this; }

protected:
    // The type registered under `typeName`; an unknown name throws
    // std::out_of_range.
    explicit ValueExternal(TStringCore const& typeName);

private:
    Type const* m_type;
};

}  // namespace qel::core
