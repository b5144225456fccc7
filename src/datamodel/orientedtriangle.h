// Oriented triangles as scripts see them: OrientedTriangle round one number, and
// OrientedTriangleStack, a Collection round an owned edge stack. Indices are zero-based at
// this surface; values go in as objects, of which only the number is kept, and come out as
// new objects that the caller owns. OrientedTriangleStackList holds one reference to each
// of its stacks.
#pragma once
#include <cstdint>

#include "base/iterstack.h"
#include "bulk/ortri.h"
#include "datamodel/collection.h"

class OrientedTriangle : public Primitive {
 public:
  OrientedTriangle() = default;
  // The number as it stands.
  explicit OrientedTriangle(uint32_t raw) : value_(raw) {}
  // By the rule of set.
  OrientedTriangle(int32_t index, int32_t version) { set(index, version); }
  OrientedTriangle(const OrientedTriangle& other) : Primitive(), value_(other.value_) {}
  const char* className() override { return "OrientedTriangle"; }

  uint32_t rawValue() const { return value_; }
  // The triangle's zero-based index; -1 for no triangle.
  int32_t index() const { return static_cast<int32_t>(value_ >> 3) - 1; }
  int32_t version() const { return static_cast<int32_t>(value_ & 7u); }
  int32_t isOdd() const { return static_cast<int32_t>(value_ & 1u); }
  // Raises "version must have a value >= 0 and <= 5" for a version outside 0..5 and keeps
  // the value; an index below -1 counts as no triangle.
  void set(int32_t index, int32_t version);
  // The number, with a version of 6 or 7 taken as 5.
  virtual void setRawValue(uint32_t raw);

  OrientedTriangle* flipped() const { return new OrientedTriangle(ortri::flipped(value_)); }
  OrientedTriangle* rotated() const { return new OrientedTriangle(ortri::rotated(value_)); }
  OrientedTriangle* rotatedBack() const { return new OrientedTriangle(ortri::rotatedBack(value_)); }
  void flip() { value_ = ortri::flipped(value_); }
  void rotate() { value_ = ortri::rotated(value_); }
  void rotateBack() { value_ = ortri::rotatedBack(value_); }

 private:
  uint32_t value_ = 0;
};

class OrientedTriangleStack : public Collection {
 public:
  // A new edge stack with room for `capacity` entries.
  explicit OrientedTriangleStack(int32_t capacity = 0)
      : stack_(new ClassifiedEdgeStack(capacity)) {}
  // Takes over `stack`.
  explicit OrientedTriangleStack(ClassifiedEdgeStack* stack) : stack_(stack) {}
  OrientedTriangleStack(const OrientedTriangleStack& other)
      : Collection(other), stack_(new ClassifiedEdgeStack(*other.stack_)) {}
  ~OrientedTriangleStack() override { delete stack_; }
  OrientedTriangleStack& operator=(const OrientedTriangleStack&) = delete;
  const char* className() override { return "OrientedTriangleStack"; }

  int32_t size() const { return stack_->count(); }
  int32_t count() const { return stack_->count(); }
  // cursor + 1; true while it is below the count. The cursor is zero-based here.
  bool next() { return ++cursor_ < size(); }
  void reset() { cursor_ = 0; }
  OrientedTriangle* current() const { return getOrInvalid(cursor_); }
  OrientedTriangle* at(int32_t index) const;
  void set(int32_t index, const OrientedTriangle* t);
  // Where the number went.
  int32_t append(const OrientedTriangle* t);
  bool appendChecked(const OrientedTriangle* t) {
    append(t);
    return true;
  }
  OrientedTriangle* pop();
  void insertAt(int32_t index, const OrientedTriangle* t);
  void removeAt(int32_t index);
  // From the last entry to the first, by number; -1 when absent.
  int32_t indexOf(const OrientedTriangle* t) const;
  void clear();

  // These never raise: out of range gives index -1 and version 0, or false.
  OrientedTriangle* getOrInvalid(int32_t index) const;
  bool setIfValid(int32_t index, const OrientedTriangle* t);
  OrientedTriangle* last() const { return getOrInvalid(size() - 1); }
  OrientedTriangle* first() const { return getOrInvalid(0); }

  ClassifiedEdgeStack& stack() { return *stack_; }

 private:
  ClassifiedEdgeStack* stack_;
};

class OrientedTriangleStackList : public Collection {
 public:
  OrientedTriangleStackList() : entries_(20) {}
  ~OrientedTriangleStackList() override;
  OrientedTriangleStackList(const OrientedTriangleStackList&) = delete;
  OrientedTriangleStackList& operator=(const OrientedTriangleStackList&) = delete;
  const char* className() override { return "OrientedTriangleStackList"; }

  virtual int32_t size() const { return entries_.count(); }
  // cursor + 1; true while it is at most the size.
  bool next() { return ++cursor_ <= size(); }
  void reset() { cursor_ = 0; }
  // Null before the first next.
  OrientedTriangleStack* current() const { return cursor_ < 1 ? nullptr : entries_.get(cursor_); }
  OrientedTriangleStack* at(int32_t index) const;
  // Releases the old entry and holds the new one.
  void set(int32_t index, OrientedTriangleStack* s);
  // Null is allowed.
  void append(OrientedTriangleStack* s);
  // Releases the last entry before taking it off.
  void pop();
  void insertAt(int32_t index, OrientedTriangleStack* s);
  void removeAt(int32_t index);
  // From the last entry to the first, by pointer; -1 when absent.
  int32_t indexOf(const OrientedTriangleStack* s) const;
  void clear();

 private:
  IterStack<OrientedTriangleStack*> entries_;
};
