// Oriented triangles as scripts see them: OrientedTriangle round one number, and
// OrientedTriangleStack, a Collection round an owned edge stack. Indices are zero-based at
// this surface; values go in as objects, of which only the number is kept, and come out as
// new objects that the caller owns. OrientedTriangleStackList holds one reference to each
// of its stacks. The IQor* interfaces declare their operations in the order of the host's
// slots; a name that stands twice fills two slots, as its const and non-const forms.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "bulk/ortri.h"
#include "datamodel/collection.h"

class OrientedTriangle;
class OrientedTriangleIter;
class OrientedTriangleStack;

// One number naming a side of a triangle, in slot order.
class IQorOrientedTriangle : public virtual IQorUnknown {
 public:
  virtual uint32_t rawValue() const = 0;
  // (number >> 3) - 1, shifted unsigned.
  virtual int32_t index() const = 0;
  virtual int32_t version() const = 0;
  virtual int32_t isOdd() const = 0;
  virtual void set(int32_t index, int32_t version) = 0;
  virtual void setRawValue(uint32_t raw) = 0;
  // New objects, owned by the caller: through the interface from a const object,
  // as the class otherwise.
  virtual IQorOrientedTriangle* flipped() const = 0;
  virtual IQorOrientedTriangle* rotated() const = 0;
  virtual IQorOrientedTriangle* rotatedBack() const = 0;
  virtual OrientedTriangle* flipped() = 0;
  virtual OrientedTriangle* rotated() = 0;
  virtual OrientedTriangle* rotatedBack() = 0;
};

// A stack of oriented triangles, in slot order. Values go in as objects, of which only the
// number is kept, and come out as new objects owned by the caller. The built-in cursor is
// zero-based: after reset, current is the first entry.
class IQorOrientedTriangleStack : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  virtual int32_t size() const = 0;
  virtual bool next() = 0;
  virtual OrientedTriangle* current() = 0;
  virtual OrientedTriangle* at(int32_t index) = 0;
  virtual OrientedTriangle* at(int32_t index) const = 0;
  virtual void set(int32_t index, const OrientedTriangle* t) = 0;
  virtual int32_t append(const OrientedTriangle* t) = 0;
  virtual OrientedTriangle* pop() = 0;
  virtual bool appendChecked(const OrientedTriangle* t) = 0;
  virtual void reset() = 0;
  virtual void insertAt(int32_t index, const OrientedTriangle* t) = 0;
  virtual void removeAt(int32_t index) = 0;
  virtual int32_t indexOf(const OrientedTriangle* t) const = 0;
  virtual void clear() = 0;
  virtual int32_t count() const = 0;
  virtual OrientedTriangle* getOrInvalid(int32_t index) const = 0;
  virtual bool setIfValid(int32_t index, const OrientedTriangle* t) = 0;
  virtual OrientedTriangle* last() const = 0;
  virtual OrientedTriangle* first() const = 0;
};

// A live iterator over a list of stacks: one-based, before the first entry at the start.
class IQorOrientedTriangleStackIter : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  virtual bool next() = 0;
  // The entry at the position; null outside 1..size.
  virtual OrientedTriangleStack* current() = 0;
  virtual void reset() = 0;
};

// A list of stacks holding one reference to each, in slot order. The cursor is one-based.
class IQorOrientedTriangleStackList : public virtual IQorUnknown {
 public:
  virtual int32_t size() const = 0;
  virtual bool next() = 0;
  virtual OrientedTriangleStack* current() = 0;
  virtual OrientedTriangleStack* at(int32_t index) const = 0;
  virtual OrientedTriangleStack* at(int32_t index) = 0;
  virtual void set(int32_t index, OrientedTriangleStack* s) = 0;
  virtual void append(OrientedTriangleStack* s) = 0;
  // Releases the list's reference before it returns: the pointer is valid only for a
  // caller that holds a reference of its own.
  virtual OrientedTriangleStack* pop() = 0;
  virtual void reset() = 0;
  virtual void insertAt(int32_t index, OrientedTriangleStack* s) = 0;
  virtual void removeAt(int32_t index) = 0;
  virtual int32_t indexOf(const OrientedTriangleStack* s) const = 0;
  virtual void clear() = 0;
  virtual IQorOrientedTriangleStackIter* newIterator() = 0;
};

class OrientedTriangle : public Primitive, public IQorOrientedTriangle {
 public:
  OrientedTriangle() = default;
  // The number as it stands.
  explicit OrientedTriangle(uint32_t raw) : value_(raw) {}
  // By the rule of set.
  OrientedTriangle(int32_t index, int32_t version) { set(index, version); }
  OrientedTriangle(const OrientedTriangle& other)
      : IQorUnknown(), Primitive(), IQorOrientedTriangle(), value_(other.value_) {}
  // Answers "OrientedTriangle", "IQorOrientedTriangle", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "OrientedTriangle"; }

  uint32_t rawValue() const override { return value_; }
  // The triangle's zero-based index; -1 for no triangle.
  int32_t index() const override { return static_cast<int32_t>(value_ >> 3) - 1; }
  int32_t version() const override { return static_cast<int32_t>(value_ & 7u); }
  int32_t isOdd() const override { return static_cast<int32_t>(value_ & 1u); }
  // Raises "version must have a value >= 0 and <= 5" for a version outside 0..5 and keeps
  // the value; an index below -1 counts as no triangle.
  void set(int32_t index, int32_t version) override;
  // The number, with a version of 6 or 7 taken as 5.
  void setRawValue(uint32_t raw) override;

  IQorOrientedTriangle* flipped() const override { return turned(ortri::flipped(value_)); }
  IQorOrientedTriangle* rotated() const override { return turned(ortri::rotated(value_)); }
  IQorOrientedTriangle* rotatedBack() const override { return turned(ortri::rotatedBack(value_)); }
  OrientedTriangle* flipped() override { return turned(ortri::flipped(value_)); }
  OrientedTriangle* rotated() override { return turned(ortri::rotated(value_)); }
  OrientedTriangle* rotatedBack() override { return turned(ortri::rotatedBack(value_)); }
  void flip() { value_ = ortri::flipped(value_); }
  void rotate() { value_ = ortri::rotated(value_); }
  void rotateBack() { value_ = ortri::rotatedBack(value_); }

 private:
  static OrientedTriangle* turned(uint32_t raw) { return new OrientedTriangle(raw); }
  uint32_t value_ = 0;
};

// A live iterator over a stack's numbers: one-based, before the first entry at the start.
// It holds a plain pointer to the stack's storage, so the stack must outlive it.
class OrientedTriangleIter : public Primitive {
 public:
  explicit OrientedTriangleIter(const ClassifiedEdgeStack* stack) : stack_(stack) {}
  // Answers "OrientedTriangleIter", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "OrientedTriangleIter"; }
  int32_t size() const { return stack_->count(); }
  bool next() { return ++position_ <= stack_->count(); }
  // A new object with the entry at the position; index -1 and version 0 outside 1..size.
  OrientedTriangle* current() const;
  void reset() { position_ = 0; }

 private:
  const ClassifiedEdgeStack* stack_;
  int32_t position_ = 0;
};

class OrientedTriangleStack : public Collection, public IQorOrientedTriangleStack {
 public:
  // A new edge stack with room for `capacity` entries.
  explicit OrientedTriangleStack(int32_t capacity = 0)
      : stack_(new ClassifiedEdgeStack(capacity > 0 ? capacity : 0)) {}
  // Takes over `stack`.
  explicit OrientedTriangleStack(ClassifiedEdgeStack* stack) : stack_(stack) {}
  OrientedTriangleStack(const OrientedTriangleStack& other)
      : IQorUnknown(),
        Collection(other),
        IQorOrientedTriangleStack(),
        stack_(new ClassifiedEdgeStack(*other.stack_)) {}
  ~OrientedTriangleStack() override { delete stack_; }
  OrientedTriangleStack& operator=(const OrientedTriangleStack&) = delete;
  // Answers "OrientedTriangleStack", "IQorOrientedTriangleStack", then Primitive's names.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "OrientedTriangleStack"; }

  int32_t size() override { return stack_->count(); }
  int32_t size() const override { return stack_->count(); }
  int32_t count() const override { return stack_->count(); }
  // cursor + 1; true while it is below the count. The cursor is zero-based here.
  bool next() override { return ++cursor_ < size(); }
  void reset() override { cursor_ = 0; }
  OrientedTriangle* current() override { return getOrInvalid(cursor_); }
  OrientedTriangle* at(int32_t index) override;
  OrientedTriangle* at(int32_t index) const override;
  // A null triangle raises "An oriented triangle is required, not null" after the
  // collection's checks, here and in append and insertAt.
  void set(int32_t index, const OrientedTriangle* t) override;
  // The zero-based index the number went to.
  int32_t append(const OrientedTriangle* t) override;
  bool appendChecked(const OrientedTriangle* t) override {
    append(t);
    return true;
  }
  OrientedTriangle* pop() override;
  void insertAt(int32_t index, const OrientedTriangle* t) override;
  void removeAt(int32_t index) override;
  // From the last entry to the first, by number; -1 when absent or null.
  int32_t indexOf(const OrientedTriangle* t) const override;
  void clear() override;

  // These never raise: out of range gives index -1 and version 0, or false (also for a
  // null triangle).
  OrientedTriangle* getOrInvalid(int32_t index) const override;
  bool setIfValid(int32_t index, const OrientedTriangle* t) override;
  OrientedTriangle* last() const override { return getOrInvalid(size() - 1); }
  OrientedTriangle* first() const override { return getOrInvalid(0); }
  // A live iterator; this stack must outlive it.
  virtual OrientedTriangleIter* newIterator() { return new OrientedTriangleIter(stack_); }

  int32_t cursor() const { return cursor_; }
  ClassifiedEdgeStack& stack() { return *stack_; }
  const ClassifiedEdgeStack& stack() const { return *stack_; }

 private:
  ClassifiedEdgeStack* stack_;
};

// The live iterator of a list of stacks; the list must outlive it.
class OrientedTriangleStackIter : public Primitive, public IQorOrientedTriangleStackIter {
 public:
  explicit OrientedTriangleStackIter(const IterStack<OrientedTriangleStack*>* entries)
      : entries_(entries) {}
  // Answers "OrientedTriangleStackIter", "IQorOrientedTriangleStackIter", then Primitive's.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "OrientedTriangleStackIter"; }
  int32_t size() override { return entries_->count(); }
  bool next() override { return ++position_ <= entries_->count(); }
  OrientedTriangleStack* current() override {
    return position_ < 1 || position_ > entries_->count() ? nullptr : entries_->get(position_);
  }
  void reset() override { position_ = 0; }

 private:
  const IterStack<OrientedTriangleStack*>* entries_;
  int32_t position_ = 0;
};

class OrientedTriangleStackList : public Collection, public IQorOrientedTriangleStackList {
 public:
  OrientedTriangleStackList() : entries_(20) {}
  ~OrientedTriangleStackList() override;
  OrientedTriangleStackList(const OrientedTriangleStackList&) = delete;
  OrientedTriangleStackList& operator=(const OrientedTriangleStackList&) = delete;
  // Answers "OrientedTriangleStackList", "IQorOrientedTriangleStackList", then Primitive's.
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "OrientedTriangleStackList"; }

  int32_t size() const override { return entries_.count(); }
  // cursor + 1; true while it is at most the size.
  bool next() override { return ++cursor_ <= size(); }
  void reset() override { cursor_ = 0; }
  // Null before the first next and past the end.
  OrientedTriangleStack* current() override {
    return cursor_ < 1 || cursor_ > size() ? nullptr : entries_.get(cursor_);
  }
  OrientedTriangleStack* at(int32_t index) const override;
  OrientedTriangleStack* at(int32_t index) override;
  // Releases the old entry and holds the new one.
  void set(int32_t index, OrientedTriangleStack* s) override;
  // Null is allowed.
  void append(OrientedTriangleStack* s) override;
  // Releases the last entry, takes it off and returns it (see the interface).
  OrientedTriangleStack* pop() override;
  void insertAt(int32_t index, OrientedTriangleStack* s) override;
  void removeAt(int32_t index) override;
  // From the last entry to the first, by pointer; -1 when absent.
  int32_t indexOf(const OrientedTriangleStack* s) const override;
  void clear() override;
  IQorOrientedTriangleStackIter* newIterator() override {
    return new OrientedTriangleStackIter(&entries_);
  }

  int32_t cursor() const { return cursor_; }

 private:
  IterStack<OrientedTriangleStack*> entries_;
};
