// DirIndex: an index with a one-bit version in one signed 32-bit number,
// (index + 1) * 2 + version. A value object, not a collection.
#pragma once
#include <cstdint>

#include "datamodel/dataeventsource.h"

// The interface of DirIndex, in slot order.
class IQorDirIndex : public virtual IQorUnknown {
 public:
  // (value >> 1) - 1.
  virtual int32_t index() const = 0;
  // value & 1.
  virtual int32_t version() const = 0;
  // Keeps the version.
  virtual void setIndex(int32_t index) = 0;
  // Takes 0 or 1; anything else raises "version must have a value of 0 or 1." and keeps
  // the value.
  virtual void setVersion(int32_t version) = 0;
  // Toggles the version in place.
  virtual void flip() = 0;
  // A new object with this index and the other version, owned by the caller.
  virtual IQorDirIndex* flipped() const = 0;
};

class DirIndex : public Primitive, public IQorDirIndex {
 public:
  // Value 0: index -1, version 0.
  DirIndex() = default;
  // Raises for a version above 1; a negative version is folded into the number as it is.
  DirIndex(int32_t index, int32_t version);
  // The number as it stands.
  explicit DirIndex(int32_t raw) : value_(raw) {}
  DirIndex(const DirIndex& other)
      : IQorUnknown(), Primitive(), IQorDirIndex(), value_(other.value_) {}
  DirIndex& operator=(const DirIndex& other) {
    value_ = other.value_;
    return *this;
  }

  // Answers "DirIndex", "IQorDirIndex", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "DirIndex"; }

  int32_t index() const override { return (value_ >> 1) - 1; }
  int32_t version() const override { return value_ & 1; }
  void setIndex(int32_t index) override;
  void setVersion(int32_t version) override;
  void flip() override { value_ ^= 1; }
  IQorDirIndex* flipped() const override;

  int32_t rawValue() const { return value_; }
  void setRawValue(int32_t raw) { value_ = raw; }
  // Equal when index and version agree.
  bool operator==(const DirIndex& o) const {
    return index() == o.index() && version() == o.version();
  }

 private:
  // (index + 1) * 2 + version in 32-bit unsigned arithmetic, so that no index overflows.
  static int32_t pack(int32_t index, int32_t version) {
    return static_cast<int32_t>((static_cast<uint32_t>(index) + 1u) * 2u +
                                static_cast<uint32_t>(version));
  }
  int32_t value_ = 0;
};
