#pragma once

// The base-layer names that the library uses as its own: the UTF-16 string,
// its comparison options and the locks. Everything in qel::core spells them
// without a namespace prefix.

#include <cstdint>

#include "qel/sys/TLocks.h"
#include "qel/sys/TStringCore.h"

namespace qel::core {

using sys::CaseSensitivity;
using sys::SplitBehavior;
using sys::TReadLocker;
using sys::TReadWriteLock;
using sys::TRecursiveMutex;
using sys::TStringCore;
using sys::TWriteLocker;

// The library's 32-bit unsigned size and index type.
using qelsize_t = std::uint32_t;

}  // namespace qel::core
