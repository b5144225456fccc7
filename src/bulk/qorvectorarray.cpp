#include "bulk/qorvectorarray.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "base/bitvector.h"
#include "math/qormatrix.h"
#include "persistence/binio.h"

static_assert(sizeof(QorVector) == 3 * sizeof(double), "a point is three packed doubles");

namespace {
constexpr int32_t kPage = QorMM::Splitter<QorVector>::kPageElements;
const double kZeros[3 * kPage] = {};
}  // namespace

QorVectorArray::QorVectorArray(int32_t capacity) : array_(capacity < 0 ? 0 : capacity) {}

QorVectorArray::QorVectorArray(const QorVectorArray& other, bool withExtra)
    : RealPArray(other, withExtra), array_(0), count_(other.count_) {
  array_.copyFrom(other.array_, other.array_.size());
}

QorVectorArray::QorVectorArray(RealPArray& other) : array_(0) {
  scale_ = other.scale();
  flags_ = other.flags();
  const int32_t n = other.size();
  reserve(n + 1);
  for (int32_t i = 1; i <= n; ++i) array_.set(i, other.point(i));
  count_ = n;
}

bool QorVectorArray::clear() {
  count_ = 0;
  reserve(0);
  return true;
}

void QorVectorArray::reserve(int32_t capacity) {
  if (capacity <= array_.size()) return;
  array_.resize(capacity);
  if (count_ > array_.size()) count_ = array_.size();
}

int32_t QorVectorArray::push(const QorVector& v) {
  ++count_;
  while (count_ >= array_.size()) {
    const int64_t want = std::max<int64_t>(int64_t{2} * array_.size(), 16);
    reserve(static_cast<int32_t>(std::min<int64_t>(want, kMaxCount + 1024)));
  }
  array_.set(count_, v);
  return count_;
}

int32_t QorVectorArray::push(const double* point) {
  return push(point ? QorVector(point) : QorVector::zero());
}

int32_t QorVectorArray::push(const float* point) {
  return point ? push(QorVector(point[0], point[1], point[2])) : push(QorVector::zero());
}

void QorVectorArray::set(int32_t index, const double* point) {
  if (index >= 0) array_.ref(index) = QorVector(point);
}

void QorVectorArray::set(int32_t index, const float* point) {
  if (index >= 0) array_.ref(index) = QorVector(point[0], point[1], point[2]);
}

void QorVectorArray::get(int32_t index, double* point) {
  const QorVector& v = array_.get(index);
  point[0] = v.x, point[1] = v.y, point[2] = v.z;
}

void QorVectorArray::reserved26() {
  QOR_ASSERT(0);
}
void QorVectorArray::reserved27() {
  QOR_ASSERT(0);
}

bool QorVectorArray::pop(int32_t count) {
  count_ = std::max(0, count_ - std::max(0, count));
  return true;
}

void QorVectorArray::materialise() {
  array_.materialise(true);
  RealPArray::materialise();
}

void QorVectorArray::clearAll() {
  count_ = 0;
  array_.resize(0, false);
}

void QorVectorArray::copyOut(int32_t first, int32_t count, double* out) const {
  int32_t i = first;
  const int32_t end = first + count;
  while (i < end) {
    const int32_t stop = std::min(end, (i | (kPage - 1)) + 1);
    const size_t bytes = size_t(stop - i) * sizeof(QorVector);
    const void* page = i < array_.size() ? array_.page(i >> 10) : nullptr;
    if (page)
      std::memcpy(out, static_cast<const QorVector*>(page) + (i & (kPage - 1)), bytes);
    else
      std::memset(out, 0, bytes);
    out += 3 * (stop - i);
    i = stop;
  }
}

void QorVectorArray::copyIn(int32_t first, int32_t count, const double* in) {
  int32_t i = first;
  const int32_t end = first + count;
  while (i < end) {
    const int32_t stop = std::min(end, (i | (kPage - 1)) + 1);
    std::memcpy(static_cast<void*>(&array_.ref(i)), in, size_t(stop - i) * sizeof(QorVector));
    in += 3 * (stop - i);
    i = stop;
  }
}

bool QorVectorArray::write(BinOutput& out) const {
  bool ok = BinMagic(kStreamId, 0).write(out) && out.write(count_);
  for (int32_t i = 1; ok && i <= count_;) {
    const int32_t stop = std::min(count_ + 1, (i | (kPage - 1)) + 1);
    const int32_t n = stop - i;
    const void* page = i < array_.size() ? array_.page(i >> 10) : nullptr;
    if (page) {
      ok =
          out.write(&(static_cast<const QorVector*>(page) + (i & (kPage - 1)))->x, uint64_t(3) * n);
    } else {
      ok = out.write(kZeros, uint64_t(3) * n);
    }
    i = stop;
  }
  return ok;
}

bool QorVectorArray::read(BinInput& in) {
  clear();
  BinMagic magic(static_cast<uint32_t>(-1));
  magic.read(in);
  int32_t count = -1;
  if (magic.id() != kStreamId || magic.version() != 0 || !in.read(&count, 1)) return false;
  if (count < 0 || count > kMaxCount) return false;
  reserve(count + 1);
  count_ = count;
  // Whole pages at a time; a failed read leaves the rest of the points zero and absent.
  double buffer[3 * kPage];
  for (int32_t i = 1; i <= count;) {
    const int32_t stop = std::min(count + 1, (i | (kPage - 1)) + 1);
    if (!in.read(buffer, uint64_t(3) * (stop - i))) return false;
    copyIn(i, stop - i, buffer);
    i = stop;
  }
  return true;
}

void QorVectorArray::transform(const QorMatrix& m) {
  for (int32_t i = 1; i <= count_; ++i) {
    const QorVector& p = array_.get(i);
    double r[4];
    for (int row = 0; row < 4; ++row)
      r[row] = m.at(row, 0) * p.x + m.at(row, 1) * p.y + m.at(row, 2) * p.z + m.at(row, 3);
    if (!(r[3] == 1.0)) {
      const double inv = 1.0 / r[3];
      r[0] *= inv, r[1] *= inv, r[2] *= inv;
    }
    array_.set(i, QorVector(r[0], r[1], r[2]));
  }
}

void QorVectorArray::bounds(QorVector* min, QorVector* max) {
  if (count_ == 0) {
    *min = *max = QorVector::zero();
    return;
  }
  double lo[3] = {1e42, 1e42, 1e42}, hi[3] = {-1e42, -1e42, -1e42};
  for (int32_t i = 1; i <= count_;) {
    const int32_t stop = std::min(count_ + 1, (i | (kPage - 1)) + 1);
    const void* page = i < array_.size() ? array_.page(i >> 10) : nullptr;
    if (!page) {
      for (int k = 0; k < 3; ++k) lo[k] = std::min(lo[k], 0.0), hi[k] = std::max(hi[k], 0.0);
    } else {
      const double* p = &(static_cast<const QorVector*>(page) + (i & (kPage - 1)))->x;
      const double* e = p + 3 * (stop - i);
      for (; p < e; p += 3)
        for (int k = 0; k < 3; ++k) {
          if (p[k] < lo[k]) lo[k] = p[k];
          if (p[k] > hi[k]) hi[k] = p[k];
        }
    }
    i = stop;
  }
  *min = QorVector(lo), *max = QorVector(hi);
}

bool QorVectorArray::sortIndices(int* idx, int32_t n) {
  // The points travel with their indices, so that compares read neighbouring memory
  // instead of jumping through the pages; the permutation is the same.
  struct Record {
    double p[3];
    int index;
  };
  std::vector<Record> records(static_cast<size_t>(n) + 1);
  for (int32_t i = 1; i <= n; ++i) {
    const QorVector& v = array_.get(idx[i]);
    records[i] = {{v.x, v.y, v.z}, idx[i]};
  }
  qor::pointQuickSort(records.data(), 1, n, [](const Record& a, const Record& b) {
    return qor::comparePoints(a.p, b.p);
  });
  // The records already stand in the new order: the points go back in one sequential pass.
  for (int32_t i = 1; i <= n; ++i) {
    idx[i] = records[i].index;
    array_.set(i, QorVector(records[i].p));
  }
  return true;
}

void QorVectorArray::permute(const QorMM::Array<int>& indices, int32_t count) {
  if (count == 0) return;
  const int32_t first = count > 0 ? 1 : 0;
  const int32_t last = count > 0 ? count : indices.size() - 1;
  BitVector todo(last + 1);
  for (int32_t p = first; p <= last; ++p) todo.set(p);
  for (int32_t p = todo.nextSet(first - 1); p >= 0; p = todo.nextSet(p)) {
    int32_t next = indices.get(p);
    todo.clear(p);
    if (next == p) continue;
    const QorVector kept = array_.get(p);
    int32_t place = p;
    while (next >= first && next <= last && todo.test(next)) {
      array_.set(place, array_.get(next));
      todo.clear(next);
      place = next;
      next = indices.get(place);
    }
    array_.set(place, kept);
  }
}

void QorVectorArray::insert(int32_t index, const QorVector& v) {
  if (index == count_ + 1) {
    push(v);
    return;
  }
  push(v);
  for (int32_t i = count_ - 1; i >= index; --i) array_.set(i + 1, array_.get(i));
  array_.set(index, v);
}

void QorVectorArray::remove(int32_t index) {
  if (index <= count_)
    for (int32_t i = index + 1; i <= count_; ++i) array_.set(i - 1, array_.get(i));
  pop(1);
}

void QorVectorArray::reverse() {
  for (int32_t i = 1; i <= count_ / 2; ++i) {
    const QorVector a = array_.get(i);
    array_.set(i, array_.get(count_ - i + 1));
    array_.set(count_ - i + 1, a);
  }
}

void QorVectorArray::swap(QorVectorArray& other) {
  const int32_t mine = array_.size(), theirs = other.array_.size();
  // Capacities follow their pages: grow both tables to the larger count, swap, then size.
  const int32_t big = std::max(mine, theirs);
  array_.resize(big);
  other.array_.resize(big);
  array_.swapPages(other.array_);
  array_.resize(theirs);
  other.array_.resize(mine);
  std::swap(count_, other.count_);
}
