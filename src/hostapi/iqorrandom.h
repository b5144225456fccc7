// The host's source of pseudo-random numbers. Host interfaces are used by slot order: the
// placeholders keep every operation at its slot (counted from 0, the base's operations
// not counted). This system calls only the fourth and the fifth operation; a
// deterministic generator behind them is enough.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class IQorRandom : public virtual IQorUnknown {
 public:
  // Slots 0 to 2 belong to the host; this system never calls them.
  virtual void reserved0() = 0;
  virtual void reserved1() = 0;
  virtual void reserved2() = 0;
  // Slot 3 (the fourth operation): the next number in 0 .. range - 1; 0 when range is
  // below 1.
  virtual int32_t next(int32_t range) = 0;
  // Slot 4 (the fifth operation): restarts the sequence from `seed`.
  virtual void seed(int32_t seed) = 0;
};
