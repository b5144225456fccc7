// Oriented triangles: one 32-bit number names a directed side of a mesh triangle. Bits 0..2
// hold the version (0..5), bits 3..31 the triangle index + 1 (0: no triangle). Even versions
// run round the triangle one way, odd ones the other; toggling bit 0 reverses a side.
//
//   version  from  to  rotated  rotatedBack
//      0      0    1     2         4
//      1      1    0     5         3
//      2      1    2     4         0
//      3      2    1     1         5
//      4      2    0     0         2
//      5      0    2     3         1
//
// A ClassifiedEdgeStack is a one-based stack of these numbers (a path or a loop on a mesh)
// with a flag byte; a ClassifiedEdgeStackList owns such stacks. The helpers on paged int
// arrays serve as triangle maps and as disjoint sets.
#pragma once
#include <cstdint>
#include <iosfwd>

#include "base/iterstack.h"
#include "bulk/pagedarray.h"

class BinInput;
class BinOutput;
class BitVector;
class ProgressCallbackBase;

using OrTri = uint32_t;

namespace ortri {

inline constexpr uint8_t kRotated[8] = {2, 5, 4, 1, 0, 3, 0, 0};
inline constexpr uint8_t kRotatedBack[8] = {4, 3, 0, 5, 2, 1, 0, 0};

inline uint32_t version(OrTri t) {
  return t & 7u;
}
// The stored triangle number: index + 1.
inline uint32_t triangle(OrTri t) {
  return t >> 3;
}
inline OrTri make(uint32_t triangleNumber, uint32_t v) {
  return triangleNumber << 3 | (v & 7u);
}
inline OrTri flipped(OrTri t) {
  return t ^ 1u;
}
inline OrTri rotated(OrTri t) {
  return (t & ~7u) | kRotated[t & 7u];
}
inline OrTri rotatedBack(OrTri t) {
  return (t & ~7u) | kRotatedBack[t & 7u];
}
// The version of the side from corner `from` to corner `to`.
inline uint32_t versionOf(int from, int to) {
  if (from == 0) return to == 1 ? 0 : 5;
  if (from == 1) return to == 0 ? 1 : 2;
  return to == 0 ? 4 : 3;
}
// `b` turned by the version of `a`; a version of 6 or 7 in `a` fails the check "0" and
// gives `b`.
OrTri compose(OrTri a, OrTri b);
// Version `v` turned by `w`; a `w` of 6 or above fails the check "0" and gives `v`.
uint32_t composeVersions(uint32_t v, uint32_t w);
// "(", the triangle number, ", ", the version, ") ".
std::ostream& print(std::ostream& os, OrTri t);

}  // namespace ortri

// A one-based stack of oriented triangles with a flag byte: 1 boundary, 2 closed, 4 and 8
// free for the mesh code. The flags never go to a stream.
class ClassifiedEdgeStack : public IterStack<OrTri> {
 public:
  static constexpr uint8_t kBoundary = 1, kClosed = 2, kFlag4 = 4, kFlag8 = 8;

  explicit ClassifiedEdgeStack(int32_t capacity = 0) : IterStack<OrTri>(capacity) {}
  explicit ClassifiedEdgeStack(const IterStack<OrTri>& plain) : IterStack<OrTri>(plain) {}
  ClassifiedEdgeStack(const ClassifiedEdgeStack& other)
      : IterStack<OrTri>(other), flags_(other.flags_) {}
  // Count 0, capacity exactly the source's count + 1, then each entry pushed.
  ClassifiedEdgeStack& operator=(const ClassifiedEdgeStack& other);
  ClassifiedEdgeStack& operator=(const IterStack<OrTri>& plain);

  // Capacity exactly count + other's count + 1, then other's entries pushed; flags stay.
  void append(const IterStack<OrTri>& other);
  void swap(ClassifiedEdgeStack& other) noexcept {
    IterStack<OrTri>::swap(other);
    std::swap(flags_, other.flags_);
  }
  void clear() {
    count_ = 0;
    flags_ = 0;
  }

  uint8_t flags() const { return flags_; }
  void setFlags(uint8_t value) { flags_ = value; }
  int isBoundary() const { return flags_ & kBoundary ? 1 : 0; }
  int isClosed() const { return flags_ & kClosed ? 1 : 0; }
  int flag4() const { return flags_ & kFlag4 ? 1 : 0; }
  int flag8() const { return flags_ & kFlag8 ? 1 : 0; }
  void setBoundary(bool on) { setBit(kBoundary, on); }
  void setClosed(bool on) { setBit(kClosed, on); }
  void setFlag4(bool on) { setBit(kFlag4, on); }
  void setFlag8(bool on) { setBit(kFlag8, on); }

  // Version v of every entry becomes (7 - v) mod 6, as when corners 0 and 1 change places.
  bool swapCorners();
  // Each entry e, last first, becomes compose(e, map[triangle number of e]).
  bool remap(const QorMM::Array<int>& map);
  // The same path backwards: entries change places end for end and each is flipped.
  // False on an empty stack.
  bool reverseDirection();

  // The count as a 32-bit signed value, then each entry as 32-bit unsigned. Answers true;
  // a bad stream shows in its good().
  bool write(BinOutput& out, ProgressCallbackBase* progress = nullptr) const;
  // Count 0, then the stated number of entries pushed; reading stops at the first value the
  // stream cannot give. Flags stay. Answers true.
  bool read(BinInput& in, ProgressCallbackBase* progress = nullptr);

  void dump(std::ostream& os) const;
  // On standard output, with one more end of line.
  void dump() const;

 private:
  void setBit(uint8_t bit, bool on) { flags_ = on ? flags_ | bit : flags_ & ~bit; }
  void reshape(int32_t capacity);

  uint8_t flags_ = 0;
};

// A one-based stack of owned edge stacks, room for 20 at start. Entries may be null between
// a removal and compact.
class ClassifiedEdgeStackList : public IterStack<ClassifiedEdgeStack*> {
 public:
  explicit ClassifiedEdgeStackList(int32_t capacity = 20)
      : IterStack<ClassifiedEdgeStack*>(capacity) {}
  ClassifiedEdgeStackList(const ClassifiedEdgeStackList& other);
  ClassifiedEdgeStackList& operator=(const ClassifiedEdgeStackList& other);
  ~ClassifiedEdgeStackList() { clear(); }

  // Takes the entries off from the last to the first, deleting each.
  void clear();
  // Deletes entry i and nulls it; with compactNow the list is compacted too.
  void remove(int32_t i, bool compactNow);
  void removeBoundary() { removeWhere(ClassifiedEdgeStack::kBoundary, true); }
  void removeClosed() { removeWhere(ClassifiedEdgeStack::kClosed, true); }
  void removeNonBoundary() { removeWhere(ClassifiedEdgeStack::kBoundary, false); }
  void removeOpen() { removeWhere(ClassifiedEdgeStack::kClosed, false); }
  // Moves the non-null entries down in order; the count becomes what is left.
  void compact();
  void swapEntries(int32_t i, int32_t j) { std::swap(at(i), at(j)); }
  // The sum of the counts of the non-null entries.
  int64_t totalEdges() const;
  // Largest stack first; stacks of equal size come in no fixed order.
  void sortBySize();

 private:
  void removeWhere(uint8_t bit, bool set);
};

// Helpers on paged int arrays. Indices are zero-based; reads past the end give 0.
namespace QorMM {
// The size as 32-bit signed (the lower of size and limit when limit >= 0), then the
// elements. Answers the stream's good().
bool write(BinOutput& out, const Array<int>& a, int32_t limit = -1);
// The count, then the array takes that size and its elements. False on a negative count.
bool read(BinInput& in, Array<int>& a);
// Elements first..last, one page stretch per stream call; absent pages are made. False
// when the progress object asks to stop or a read fails.
bool writeRange(BinOutput& out, Array<int>& a, int32_t first, int32_t last,
                ProgressCallbackBase* progress = nullptr);
bool readRange(BinInput& in, Array<int>& a, int32_t first, int32_t last,
               ProgressCallbackBase* progress = nullptr);
// Equal up to the shorter size, and the longer's tail all zero.
bool equals(const Array<int>& a, const Array<int>& b);
// Follows parents from i to the root (a[x] == x) and stores the root in a[i] only.
int32_t findRoot(Array<int>& a, int32_t i);
// The higher of the two roots gets the lower as parent; answers the lower.
int32_t unite(Array<int>& a, int32_t i, int32_t j);
// a[i] = i for i in from..to; a negative `to` means the last element.
void setIdentity(Array<int>& a, int32_t from, int32_t to);
void setIdentity(Array<int>& a, const BitVector& bits);
// target[a[i]] = i for each non-zero a[i].
void invertInto(const Array<int>& a, Array<int>& target);
// Moves element i to map[i] (0 clears it); the size becomes the last target + 1, or 1.
void moveByMap(Array<int>& a, const Array<int>& map);
}  // namespace QorMM
