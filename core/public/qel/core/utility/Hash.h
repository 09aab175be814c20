#pragma once

// Bob Jenkins' lookup2 hash over `length` bytes (taken to 32 bits), with
// `seed` as the initial value. Stable across runs and platforms of the same
// byte order; the text and binary forms rely on that. Reentrant.

namespace qel::core {

unsigned int Hash(void const* data, unsigned long length, unsigned int seed);

}  // namespace qel::core
