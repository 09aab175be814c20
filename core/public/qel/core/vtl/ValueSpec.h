#pragma once

// ValueSpec: one argument of a function in a transform, either a key path
// (read from the data store when the transform runs) or a literal value.
// At most one of the two is held; only a default-constructed ValueSpec holds
// neither, and asking it which one it is is a programming error.
//
// A ValueSpec owns its key path on the heap, so that the common literal-only
// argument stays two pointers wide: copying copies the path, moving moves
// the pointer. The literal is shared, never copied.

#include <memory>

#include "qel/core/store/KeyPath.h"

namespace qel::core {

class StoreValue;

class ValueSpec {
public:
    // Neither a key nor a value.
    ValueSpec() noexcept;
    // A literal. REQUIRES: `input` is not null; else "unspecified Vantrel
    // Runtime error" with the condition "(input) != nullptr".
    explicit ValueSpec(std::shared_ptr<StoreValue> const& input);
    // A key. REQUIRES: `input` is not IsEmpty(); else "unspecified Vantrel
    // Runtime error" with the condition "!(input.IsEmpty())".
    explicit ValueSpec(KeyPath const& input);

    ValueSpec(ValueSpec const& other);
    ValueSpec(ValueSpec&& other) noexcept;
    ValueSpec& operator=(ValueSpec const& other);
    ValueSpec& operator=(ValueSpec&& other) noexcept;
    ~ValueSpec();

    // Whether a key path is held. On a default-constructed ValueSpec: a
    // QelLogicException with the condition "(m_value) != nullptr".
    bool IsKey() const;
    // The literal. Fails "ValueSpec instance contains a key, not a value" on
    // a key, and as IsKey on an empty ValueSpec.
    std::shared_ptr<StoreValue> const& GetValue() const;
    // The key path. Fails "ValueSpec instance contains a value, not a key" on
    // a literal, and as IsKey on an empty ValueSpec.
    KeyPath const& GetKeyPath() const;
    KeyPath& GetKeyPath();

private:
    std::shared_ptr<StoreValue> m_value;
    std::unique_ptr<KeyPath> m_keyPath;
};

}  // namespace qel::core
