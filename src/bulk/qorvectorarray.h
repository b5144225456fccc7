// QorVectorArray: the point storage behind RealPArray, a paged array of QorVector with
// 1024 points to a 24 KiB page. Element 0 is never a point; the points sit at 1 to count.
// Pages that were never written hold zero points and cost nothing.
//
// Stream form, big-endian: the magic 0x0B916B00 (id 0xB916B, version 0), the count as a
// 32-bit signed integer, then x, y, z as doubles for the points 1 to count. Absent pages go
// out as zero points; a read makes every page.
#pragma once
#include <cstdint>

#include "bulk/pagedarray.h"
#include "bulk/realparray.h"

class BinOutput;

namespace QorMM {
template <>
struct Splitter<QorVector> {
  static constexpr int32_t kShift = 10;
  static constexpr int32_t kPageElements = 1024;
  static constexpr uint32_t kPageBytes = 24576;
};
}  // namespace QorMM

class QorVectorArray : public RealPArray {
 public:
  using Storage = QorMM::Array<QorVector, QorMM::Splitter<QorVector>>;
  static constexpr int32_t kStreamId = 0xB916B;
  // The largest count a stream may announce: its pages still fit a 32-bit capacity.
  static constexpr int32_t kMaxCount = (INT32_MAX / 1024) * 1024 - 1024;

  // Room for `capacity` elements (negative counts as 0), no page yet.
  explicit QorVectorArray(int32_t capacity = 0);
  // Page by page; the extra data cloned with `withExtra`.
  QorVectorArray(const QorVectorArray& other, bool withExtra);
  // Any array, point by point through point(); zero points on absent pages make nothing.
  explicit QorVectorArray(RealPArray& other);

  const char* className() override { return "QorVectorArray"; }
  using RealPArray::bounds;
  using RealPArray::get;
  using RealPArray::push;
  using RealPArray::set;

  int32_t size() override { return count_; }
  // Count 0; the pages stay (reserve(0) never shrinks).
  bool clear() override;
  // Grows to `capacity` when above the present capacity; the count stays within it.
  void reserve(int32_t capacity) override;
  void setSize(int32_t size) override { count_ = size < 0 ? 0 : size; }
  int32_t push(const QorVector& v) override;
  int32_t push(const double* point) override;
  int32_t push(const float* point) override;
  void set(int32_t index, const QorVector& v) override { array_.set(index, v); }
  void set(int32_t index, const double* point) override;
  void set(int32_t index, const float* point) override;
  void get(int32_t index, QorVector* out) override { *out = array_.get(index); }
  void get(int32_t index, double* point) override;
  bool read(BinInput& in) override;
  void transform(const QorMatrix& matrix) override;
  void bounds(QorVector* min, QorVector* max) override;
  void reserved26() override;
  void reserved27() override;

  int32_t capacity() override { return array_.size(); }
  bool pop() override { return pop(1); }
  bool pop(int32_t count) override;
  RealPArray* copy(bool withExtra) override { return new QorVectorArray(*this, withExtra); }
  RealPArray* create(int32_t capacity) override { return new QorVectorArray(capacity); }
  // Negative count: the positions 0 to the index array's capacity - 1; positive: 1 to
  // count; 0: nothing. The new point at p is the old point at indices[p].
  void permute(const QorMM::Array<int>& indices, int32_t count);
  void permute(const QorMM::Array<int>& indices) override { permute(indices, -1); }
  // Makes every absent page, zero-filled.
  void materialise() override;
  // Count 0 and every page given back.
  void clearAll();
  bool write(BinOutput& out) const;
  static bool isMagic(uint32_t word) { return (word >> 8) == uint32_t(kStreamId); }

  void insert(int32_t index, const QorVector& v);
  void remove(int32_t index);
  void reverse();
  // Exchanges capacity, pages and count with other; the extra data stay.
  void swap(QorVectorArray& other);

  const Storage& storage() const { return array_; }
  // Copies the points first to first + count - 1 into out as x, y, z doubles, one block
  // copy per page; absent pages give zeros.
  void copyOut(int32_t first, int32_t count, double* out) const;
  // Stores count points from in at first, first + 1, ..., making their pages.
  void copyIn(int32_t first, int32_t count, const double* in);

 protected:
  bool sortIndices(int* idx, int32_t n) override;

 private:
  Storage array_;
  int32_t count_ = 0;
};
