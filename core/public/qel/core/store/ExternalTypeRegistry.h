#pragma once

// The process-wide registry of host value kinds: a 16-bit id, a unique name,
// and the two functions that turn a value into bytes and back. Register during
// set-up, before other threads read it; reads take no lock.

#include <functional>
#include <memory>
#include <vector>

#include "qel/core/utility/Base.h"

namespace qel::core {

template <class T>
class ArrayView;
class ValueExternal;

using SerializeExternalFunction = std::function<std::vector<unsigned char>(ValueExternal const&)>;
using DeserializeExternalFunction =
    std::function<std::shared_ptr<ValueExternal>(ArrayView<unsigned char const> const&)>;

// Fails "an external type with this name already exists" when the name or the
// id is taken, "typeName cannot be empty", and for a missing function its own
// "... cannot be null".
void RegisterExternalType(unsigned short typeId, TStringCore const& typeName,
                          SerializeExternalFunction serialize,
                          DeserializeExternalFunction deserialize);
void ClearExternalTypes();
// Unknown ids and names throw std::out_of_range.
TStringCore const& GetExternalTypeName(unsigned short typeId);
unsigned short GetExternalTypeId(TStringCore const& typeName);
std::vector<unsigned char> SerializeExternalType(ValueExternal const& value);
std::shared_ptr<ValueExternal> DeserializeExternalType(unsigned short typeId,
                                                       ArrayView<unsigned char const> const& data);

}  // namespace qel::core
