// The host's paged-array memory manager. Host interfaces are used by slot order: the
// placeholders keep every operation at its slot (counted from 0, the base's operations
// not counted). The figures count pages of 24 kilobytes.
#pragma once
#include <cstdint>

#include "core/qorobject.h"

class IQorMManager : public virtual IQorUnknown {
 public:
  // Slot 0: a page of `bytes` bytes, cleared when `zeroFill`.
  virtual void* allocatePage(int32_t bytes, bool zeroFill) = 0;
  // Slot 1: gives a page back; null is allowed.
  virtual void freePage(void* page) = 0;
  virtual void reserved2() = 0;
  // Slot 3: releases some memory; true if it did and another try is worth it.
  virtual bool releaseMemory() = 0;
  virtual void reserved4() = 0;
  virtual void reserved5() = 0;
  virtual void reserved6() = 0;
  virtual void reserved7() = 0;
  virtual void reserved8() = 0;
  virtual void reserved9() = 0;
  // Slot 10: the core limit, in pages.
  virtual int64_t coreLimit() = 0;
  // Slot 11: the swap limit, in pages.
  virtual int64_t swapLimit() = 0;
  // Slot 12: swap in use, in pages.
  virtual int64_t swapInUse() = 0;
  virtual void reserved13() = 0;
  virtual void reserved14() = 0;
  virtual void reserved15() = 0;
  virtual void reserved16() = 0;
  // Slot 17: core in use, in pages.
  virtual int64_t coreInUse() = 0;
};
