// Point arrays in real coordinates. IRealPArray is the one interface for the ordered 3D
// points of a model; RealPArray holds what does not depend on the storage (extra data
// for colours through the host's "IQorPointExtraInfo", a scale, sorting with duplicate
// removal, bounds, compaction), and QorVectorArray (bulk/qorvectorarray.h) stores the
// points. Indices run from 1 to size; index 0 is never a point.
//
// Operations a storage class must provide take the assertion road with the expression "0"
// here and answer 0 or false. One array belongs to one thread at a time.
#pragma once
#include <cstdint>

#include "bulk/pagedarray.h"
#include "core/qorobject.h"
#include "math/qorcolor.h"
#include "math/qorvector.h"

class BinInput;
class BitVector;
class IQorPointExtraInfo;
class QorMatrix;

// A point with its colour: three coordinates, a fourth element of the same type, then the
// red, green and blue channels.
template <class T>
struct QorPointRecord {
  T point[4];
  T color[3];
};
using QorPointRecordF = QorPointRecord<float>;
using QorPointRecordD = QorPointRecord<double>;

// Points read by index, for code that needs only positions: the same indices as the
// array behind it. Both forms answer false, leaving `point` alone, for an index it does not
// hold.
class VertexArrayImp : public virtual IQorUnknown {
 public:
  virtual bool vertex(int32_t index, double* point) = 0;
  virtual bool vertex(int32_t index, float* point) = 0;
};

class RealPArray;

// The vertex array of a RealPArray: it reads through the array's get and holds the
// array's size plus one, taken when it was made, as its end. It holds no count on the
// array; the array holds one on it and cuts it off (every index then answers false) when
// it dies or makes a newer one. Indices past the array's present size answer false too.
class VertexArrayRPA : public VertexArrayImp {
 public:
  explicit VertexArrayRPA(RealPArray* array);
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "VertexArrayRPA"; }
  bool vertex(int32_t index, double* point) override;
  bool vertex(int32_t index, float* point) override;
  void detach() { array_ = nullptr; }

 private:
  bool holds(int32_t index);
  RealPArray* array_;
  int32_t end_;  // size + 1 when made
};

class IRealPArray : public virtual IQorUnknown {
 public:
  virtual int32_t size() = 0;
  virtual bool clear() = 0;
  virtual void reserve(int32_t capacity) = 0;
  virtual IRealPArray* clone() = 0;
  virtual int32_t push(const QorVector& v) = 0;
  virtual int32_t push(const float* point) = 0;
  virtual int32_t push(const double* point) = 0;
  virtual int32_t push(double x, double y, double z) = 0;
  virtual void setSize(int32_t size) = 0;
  virtual void set(int32_t index, const QorVector& v) = 0;
  virtual void set(int32_t index, const float* point) = 0;
  virtual void set(int32_t index, const double* point) = 0;
  virtual void set(int32_t index, double x, double y, double z) = 0;
  virtual void get(int32_t index, QorVector* out) = 0;
  virtual void get(int32_t index, float* point) = 0;
  virtual void get(int32_t index, double* point) = 0;
  virtual void get(int32_t index, double* x, double* y, double* z) = 0;
  virtual bool enableExtra(bool on) = 0;
  virtual bool color(int32_t index, float* color) = 0;
  virtual bool color(int32_t index, double* color) = 0;
  virtual bool color(int32_t index, double* r, double* g, double* b) = 0;
  virtual bool hasExtra() = 0;
  virtual void bounds(QorVector* min, QorVector* max, const BitVector& mask) = 0;
  virtual void bounds(QorVector* min, QorVector* max) = 0;
  virtual void transform(const QorMatrix& matrix) = 0;
  virtual bool read(BinInput& in) = 0;
  virtual void reserved26() = 0;
  virtual void reserved27() = 0;
  virtual IRealPArray* cloneWithExtra() = 0;
};

class RealPArray : public IRealPArray {
 public:
  RealPArray() = default;
  // Copies scale and flags; with `withExtra` the extra data are cloned.
  RealPArray(const RealPArray& other, bool withExtra);
  RealPArray(const RealPArray&) = delete;
  RealPArray& operator=(const RealPArray&) = delete;
  ~RealPArray() override;

  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RealPArray"; }

  // ---- IRealPArray ----
  int32_t size() override;
  bool clear() override { return true; }
  void reserve(int32_t capacity) override;
  IRealPArray* clone() override { return copy(false); }
  int32_t push(const QorVector& v) override { return push(v.data()); }
  int32_t push(const float* point) override;
  int32_t push(const double* point) override;
  int32_t push(double x, double y, double z) override;
  void setSize(int32_t size) override;
  void set(int32_t index, const QorVector& v) override { set(index, v.data()); }
  void set(int32_t index, const float* point) override;
  void set(int32_t index, const double* point) override;
  void set(int32_t index, double x, double y, double z) override;
  void get(int32_t index, QorVector* out) override { get(index, out->data()); }
  void get(int32_t index, float* point) override;
  void get(int32_t index, double* point) override = 0;
  void get(int32_t index, double* x, double* y, double* z) override;
  // False when the extra data already are in that state (holding data or not). Off clears
  // them and lets them go once empty; on makes them through the host when missing and
  // allocates them for the size.
  bool enableExtra(bool on) override;
  bool color(int32_t index, float* color) override;
  bool color(int32_t index, double* color) override;
  bool color(int32_t index, double* r, double* g, double* b) override;
  bool hasExtra() override;
  // Size 0 gives (0, 0, 0) twice; otherwise the extremes, starting from 1e42 and -1e42,
  // which stay when no bit of the mask is set.
  void bounds(QorVector* min, QorVector* max, const BitVector& mask) override;
  void bounds(QorVector* min, QorVector* max) override;
  // Nothing for the identity; a pure translation adds; an affine matrix applies three rows;
  // anything else also divides by the fourth row's result.
  void transform(const QorMatrix& matrix) override;
  bool read(BinInput&) override { return false; }
  void reserved26() override;
  void reserved27() override;
  IRealPArray* cloneWithExtra() override { return copy(true); }

  // ---- own operations ----
  virtual int32_t capacity();
  // Pushes zero points until the size is at least n; the size.
  virtual int32_t ensureSize(int32_t n);
  // Pushes the record's point, then sets its colour when the extra data hold data; the
  // new point's index.
  virtual int32_t pushRecord(const QorPointRecordF& r);
  virtual int32_t pushRecord(const QorPointRecordD& r);
  virtual bool pop();
  virtual bool pop(int32_t count);
  // Writes every point's grey value into its three colour channels; false without data.
  virtual bool toGrey();
  virtual bool setColor(int32_t index, const float* color);
  virtual bool setColor(int32_t index, const double* color);
  virtual bool setColor(int32_t index, double r, double g, double b);
  // The twins of pushRecord for an existing point.
  virtual void setRecord(int32_t index, const QorPointRecordF& r);
  virtual void setRecord(int32_t index, const QorPointRecordD& r);
  virtual QorVector point(int32_t index);
  // The colour with alpha 1.0 (black without data).
  virtual QorColor pointColor(int32_t index);
  // The point and its colour (black without one); whether it had a colour. The fourth
  // element is left as it was.
  virtual bool record(int32_t index, QorPointRecordF* r);
  virtual bool record(int32_t index, QorPointRecordD* r);
  // The point, with the grey of its colour as the fourth element (0 without a colour); the
  // colour channels are left as they were. Whether it had a colour.
  virtual bool greyRecord(int32_t index, QorPointRecordF* r);
  virtual bool greyRecord(int32_t index, QorPointRecordD* r);
  virtual void scaleColors(double factor);
  // The factory: a new array of the same class with these points, or null here.
  virtual RealPArray* copy(bool withExtra);
  // Orders the points by x, then y, then z. With `unique` only the first of each run of
  // equal points stays. `indices`, when given, receives the permutation (entries 1 to n:
  // the old index of each sorted place); `kept`, when given, the sorted places that
  // survived.
  virtual void sort(bool unique, QorMM::Array<int>* indices, BitVector* kept);
  // A new empty array of the same class, or null here.
  virtual RealPArray* create(int32_t capacity);
  double scale() const { return scale_; }
  void setScale(double s) { scale_ = s; }
  // Reorders in place: the new point at p is the old point at indices[p].
  virtual void permute(const QorMM::Array<int>& indices);
  // Moves the points whose bit is set in keep, the last one included, together with their
  // extra records, to the places 1, 2, ... in order, and sets the size to their number.
  virtual void compact(const BitVector& keep);
  virtual void materialise();
  void trimExtra();
  bool extraValid();

  // The grey of a colour: 0.3 r + 0.59 g + 0.11 b.
  static double grey(double r, double g, double b) { return 0.3 * r + 0.59 * g + 0.11 * b; }
  // The largest absolute coordinate, at least 1e-16.
  double maxMagnitude();
  // Same size, extra data both or neither and equal, and coordinates exactly equal.
  bool equals(RealPArray& other);
  // Takes the other's points, scale and extra data; the listener becomes null.
  void assign(RealPArray& other);
  // The array of the class that stores the stream's next 32-bit word, from the host's
  // "IRealPArrayFactory"; null without the service or when no class knows the word.
  static RealPArray* createFor(BinInput& in);
  // A new vertex array over this array's present points, held by the array (borrowed by
  // the caller, who takes a reference to keep it longer). The one made before is cut off.
  VertexArrayImp* makeVertexArray();

  IQorPointExtraInfo* extra() const { return extra_; }
  uint64_t flags() const { return flags_; }
  void setFlags(uint64_t f) { flags_ = f; }
  // Told the index of each point whose colour changes through setColorNotify.
  using ColorListener = void (*)(void* context, int32_t index);
  void setColorListener(ColorListener l, void* context) {
    listener_ = l, listenerContext_ = context;
  }
  virtual bool setColorNotify(int32_t index, const float* color);
  virtual bool setColorNotify(int32_t index, const double* color);

 protected:
  // Sorts the entries 1 to n of idx by the points they name (the array's own quicksort).
  // True when it also put the points in their new places, so that no permutation is left.
  virtual bool sortIndices(int* idx, int32_t n);
  void setExtra(IQorPointExtraInfo* e);

  IQorPointExtraInfo* extra_ = nullptr;
  VertexArrayRPA* vertexArray_ = nullptr;  // counted
  double scale_ = 1.0;
  ColorListener listener_ = nullptr;
  void* listenerContext_ = nullptr;
  uint64_t flags_ = 0;
};

namespace qor {

// x, then y, then z: -1 when p comes first, 1 when q does, 0 otherwise (NaN compares 0).
inline int comparePoints(const double* p, const double* q) {
  for (int k = 0; k < 3; ++k) {
    if (p[k] < q[k]) return -1;
    if (p[k] > q[k]) return 1;
  }
  return 0;
}

// The quicksort of point arrays over the entries lo to hi of a, with a three-way compare of
// two entries (negative, 0, positive). Non-recursive, median of three, and insertion sort
// below 5 elements; which of equal entries ends first is part of its result, so the order
// of operations is fixed. Its moves depend only on the compare's answers: sorting records
// that carry their key gives the same permutation as sorting indices.
template <class T, class Cmp>
void pointQuickSort(T* a, int32_t lo, int32_t hi, Cmp&& cmp);

}  // namespace qor

#include "bulk/realparray_sort.h"  // IWYU pragma: export
