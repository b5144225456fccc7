// The host's per-point extra data of a point array: colours, one record per point, indexed
// like the points (from 1). Host interfaces are used by slot order: the placeholders keep
// every operation at its slot (counted from 0, the base's operations not counted).
#pragma once
#include <cstdint>

#include "bulk/pagedarray.h"
#include "core/qorobject.h"

class IQorPointExtraInfo : public virtual IQorUnknown {
 public:
  // Slot 0: a new copy holding the same data, with no reference taken yet.
  virtual IQorPointExtraInfo* clone() = 0;
  // Slot 1: whether it holds data for the points.
  virtual bool hasData() = 0;
  // Slot 2: room for the points 1 to size, all black.
  virtual bool allocate(int32_t size) = 0;
  // Slot 3: drops all data.
  virtual void clear() = 0;
  // Slots 4 and 5: the colour of point index, red, green and blue.
  virtual bool setColor(int32_t index, const double* color) = 0;
  virtual bool setColor(int32_t index, const float* color) = 0;
  virtual void reserved6() = 0;
  // Slots 7 and 8: the colour of point index into color[0..2]; false without data there.
  virtual bool color(int32_t index, double* color) = 0;
  virtual bool color(int32_t index, float* color) = 0;
  virtual void reserved9() = 0;
  // Slot 10: the points it holds data for.
  virtual int32_t size() = 0;
  // Slot 11: whether the records 1 to size equal those of other.
  virtual bool equals(IQorPointExtraInfo* other, int32_t size) = 0;
  // Slot 12: record from is copied to record to.
  virtual void move(int32_t to, int32_t from) = 0;
  // Slot 13: keeps the records 1 to size.
  virtual void setSize(int32_t size) = 0;
  // Slot 14: whether it holds no record.
  virtual bool isEmpty() = 0;
  virtual void reserved15() = 0;
  virtual void reserved16() = 0;
  virtual void reserved17() = 0;
  virtual void reserved18() = 0;
  // Slot 19: takes over other's records.
  virtual void assign(IQorPointExtraInfo* other) = 0;
  // Slot 20: the new record at p is the old record at indices[p], for p from first to last.
  virtual void permute(const QorMM::Array<int>& indices, int32_t first, int32_t last) = 0;
  // Slots 21 and 22: storage upkeep, forwarded by the array as they are.
  virtual void materialise() = 0;
  virtual void trim() = 0;
  // Slot 23: whether the data are fit for use.
  virtual bool isValid() = 0;
};
