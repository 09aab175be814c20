#include "qel/core/vtl/KeyPathTypeLookup.h"

#include "qel/core/types/Type.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

bool KeyPathTypeLookup::HasType(KeyPath const& path) const {
    // GetLeafSegment refuses a path of no segment; such a path simply has no
    // type, so that GetType reports the key instead.
    return path.GetCount() > 0 && path.GetLeafSegment().HasType();
}

Type const* KeyPathTypeLookup::GetType(KeyPath const& path) const {
    // Through the virtual table: a subclass that hides some annotations
    // from HasType hides them from GetType and IsKeyMap as well.
    QEL_VALIDATE(HasType(path), QelError::NoValueFoundAtKey, path.ToString());
    return path.GetLeafSegment().GetType();
}

bool KeyPathTypeLookup::IsKeyMap(KeyPath const& path) const {
    return GetType(path)->GetStoreType() == StoreType::KeyMap;
}

}  // namespace qel::core
