// The host's maker of point arrays. Host interfaces are used by slot order: the
// placeholders keep every operation at its slot (counted from 0, the base's operations
// not counted).
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class RealPArray;

class IRealPArrayFactory : public virtual IQorUnknown {
 public:
  virtual void reserved0() = 0;
  virtual void reserved1() = 0;
  virtual void reserved2() = 0;
  // Slot 3: a new empty array of the host's default class, room for `capacity` points.
  virtual RealPArray* create(int32_t capacity) = 0;
  // Slot 4: a new empty array of the class whose stream starts with `word`, or null when
  // no class knows it.
  virtual RealPArray* create(uint32_t word, int32_t capacity) = 0;
};
