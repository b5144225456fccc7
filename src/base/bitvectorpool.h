// Scratch bit vectors lent to sorting routines, so that a sort does not allocate on each
// call. Any thread may borrow and return: the pool takes the scratch pools' shared mutex,
// then a mutex of its own, and lets them go in the reverse order. Both exist from the
// library's load to its unload.
#pragma once
#include <cstdint>

class BitVector;

// A vector from the pool, or a fresh BitVector(10) when the pool is empty. The first call
// makes the pool, with room for 8 vectors. The caller owns the vector until it gives it
// back.
BitVector* getBitVector();
// Clears every bit of the vector and returns it to the pool; without a pool (nothing has
// been borrowed yet, or the library is unloading) the vector is deleted. *vector becomes
// null.
void putBitVector(BitVector** vector);

namespace qor {
// Vectors waiting in the pool.
int32_t pooledBitVectors();
}  // namespace qor
