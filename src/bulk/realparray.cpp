#include "bulk/realparray.h"

#include <cmath>
#include <vector>

#include "base/bitvector.h"
#include "core/locator.h"
#include "hostapi/iqorpointextrainfo.h"
#include "hostapi/irealparrayfactory.h"
#include "math/qormatrix.h"
#include "persistence/binio.h"

namespace {

constexpr double kBig = 1e42;

// Transforms one point by the rows of m; `divide` also divides by the fourth row's result.
void applyMatrix(const QorMatrix& m, const double* p, double* out, bool divide) {
  double r[4];
  for (int row = 0; row < (divide ? 4 : 3); ++row)
    r[row] = m.at(row, 0) * p[0] + m.at(row, 1) * p[1] + m.at(row, 2) * p[2] + m.at(row, 3);
  if (divide) {
    const double inv = 1.0 / r[3];
    r[0] *= inv, r[1] *= inv, r[2] *= inv;
  }
  out[0] = r[0], out[1] = r[1], out[2] = r[2];
}

// The record operations, the same for float and double records.
template <class T>
int32_t pushRecordOf(RealPArray& a, const QorPointRecord<T>& r) {
  const int32_t index = a.push(r.point);
  if (a.hasExtra()) a.setColor(index, r.color);
  return index;
}

template <class T>
void setRecordOf(RealPArray& a, int32_t index, const QorPointRecord<T>& r) {
  a.set(index, r.point);
  if (a.hasExtra()) a.setColor(index, r.color);
}

template <class T>
bool recordOf(RealPArray& a, int32_t index, QorPointRecord<T>* r) {
  a.get(index, r->point);
  if (a.color(index, r->color)) return true;
  r->color[0] = r->color[1] = r->color[2] = T(0);
  return false;
}

template <class T>
bool greyRecordOf(RealPArray& a, int32_t index, QorPointRecord<T>* r) {
  a.get(index, r->point);
  double c[3];
  const bool has = a.color(index, c);
  r->point[3] = has ? static_cast<T>(RealPArray::grey(c[0], c[1], c[2])) : T(0);
  return has;
}

}  // namespace

VertexArrayRPA::VertexArrayRPA(RealPArray* array)
    : array_(array), end_(array ? array->size() + 1 : 0) {}

void VertexArrayRPA::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "VertexArrayRPA") || qorNameIs(name, "VertexArrayImp"))
    *out = static_cast<VertexArrayImp*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

bool VertexArrayRPA::holds(int32_t index) {
  return array_ && index >= 1 && index < end_ && index <= array_->size();
}

bool VertexArrayRPA::vertex(int32_t index, double* point) {
  if (!holds(index)) return false;
  array_->get(index, point);
  return true;
}

bool VertexArrayRPA::vertex(int32_t index, float* point) {
  if (!holds(index)) return false;
  array_->get(index, point);
  return true;
}

RealPArray::RealPArray(const RealPArray& other, bool withExtra)
    : IQorUnknown(), scale_(other.scale_), flags_(other.flags_) {
  if (withExtra && other.extra_) setExtra(other.extra_->clone());
}

RealPArray::~RealPArray() {
  setExtra(nullptr);
  if (vertexArray_) {
    vertexArray_->detach();
    vertexArray_->release();
  }
}

VertexArrayImp* RealPArray::makeVertexArray() {
  auto* made = new VertexArrayRPA(this);
  made->addRef();
  if (vertexArray_) {
    vertexArray_->detach();
    vertexArray_->release();
  }
  vertexArray_ = made;
  return made;
}

void RealPArray::setExtra(IQorPointExtraInfo* e) {
  if (e == extra_) return;
  if (e) e->addRef();
  if (extra_) extra_->release();
  extra_ = e;
}

void RealPArray::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RealPArray") || qorNameIs(name, className()))
    *out = this;
  else if (qorNameIs(name, "IRealPArray"))
    *out = static_cast<IRealPArray*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

// ---- what a storage class provides ----

int32_t RealPArray::size() {
  QOR_ASSERT(0);
  return 0;
}
void RealPArray::reserve(int32_t) {
  QOR_ASSERT(0);
}
int32_t RealPArray::push(const float*) {
  QOR_ASSERT(0);
  return 0;
}
int32_t RealPArray::push(const double*) {
  QOR_ASSERT(0);
  return 0;
}
void RealPArray::setSize(int32_t) {
  QOR_ASSERT(0);
}
void RealPArray::set(int32_t, const float*) {
  QOR_ASSERT(0);
}
void RealPArray::set(int32_t, const double*) {
  QOR_ASSERT(0);
}
void RealPArray::reserved26() {
  QOR_ASSERT(0);
}
void RealPArray::reserved27() {
  QOR_ASSERT(0);
}
int32_t RealPArray::capacity() {
  QOR_ASSERT(0);
  return 0;
}
bool RealPArray::pop() {
  QOR_ASSERT(0);
  return false;
}
bool RealPArray::pop(int32_t) {
  QOR_ASSERT(0);
  return false;
}
void RealPArray::permute(const QorMM::Array<int>&) {
  QOR_ASSERT(0);
}
RealPArray* RealPArray::copy(bool) {
  return nullptr;
}
RealPArray* RealPArray::create(int32_t) {
  return nullptr;
}

// ---- points ----

int32_t RealPArray::push(double x, double y, double z) {
  const double p[3] = {x, y, z};
  return push(p);
}
void RealPArray::set(int32_t index, double x, double y, double z) {
  const double p[3] = {x, y, z};
  set(index, p);
}
void RealPArray::get(int32_t index, float* point) {
  double p[3];
  get(index, p);
  for (int k = 0; k < 3; ++k) point[k] = static_cast<float>(p[k]);
}
void RealPArray::get(int32_t index, double* x, double* y, double* z) {
  double p[3];
  get(index, p);
  *x = p[0], *y = p[1], *z = p[2];
}
QorVector RealPArray::point(int32_t index) {
  QorVector v;
  get(index, v.data());
  return v;
}
int32_t RealPArray::ensureSize(int32_t n) {
  while (size() < n) push(QorVector::zero());
  return size();
}

// ---- extra data ----

bool RealPArray::hasExtra() {
  return extra_ && extra_->hasData();
}

bool RealPArray::enableExtra(bool on) {
  if (hasExtra() == on) return false;
  if (!on) {
    extra_->clear();
    if (extra_->isEmpty()) setExtra(nullptr);
    return true;
  }
  if (!extra_) {
    void* service = nullptr;
    getService("IQorPointExtraInfo", &service);
    auto* factory = static_cast<IQorPointExtraInfo*>(service);
    if (!factory) return false;
    setExtra(factory->clone());
  }
  return extra_->allocate(size());
}

bool RealPArray::color(int32_t index, float* c) {
  return hasExtra() && extra_->color(index, c);
}
bool RealPArray::color(int32_t index, double* c) {
  return hasExtra() && extra_->color(index, c);
}
bool RealPArray::color(int32_t index, double* r, double* g, double* b) {
  double c[3];
  if (!color(index, c)) return false;
  *r = c[0], *g = c[1], *b = c[2];
  return true;
}
bool RealPArray::setColor(int32_t index, const float* c) {
  return hasExtra() && extra_->setColor(index, c);
}
bool RealPArray::setColor(int32_t index, const double* c) {
  return hasExtra() && extra_->setColor(index, c);
}
bool RealPArray::setColor(int32_t index, double r, double g, double b) {
  const double c[3] = {r, g, b};
  return setColorNotify(index, c);
}
bool RealPArray::setColorNotify(int32_t index, const float* c) {
  if (!setColor(index, c)) return false;
  if (listener_) listener_(listenerContext_, index);
  return true;
}
bool RealPArray::setColorNotify(int32_t index, const double* c) {
  if (!setColor(index, c)) return false;
  if (listener_) listener_(listenerContext_, index);
  return true;
}
int32_t RealPArray::pushRecord(const QorPointRecordF& r) {
  return pushRecordOf(*this, r);
}
int32_t RealPArray::pushRecord(const QorPointRecordD& r) {
  return pushRecordOf(*this, r);
}
void RealPArray::setRecord(int32_t index, const QorPointRecordF& r) {
  setRecordOf(*this, index, r);
}
void RealPArray::setRecord(int32_t index, const QorPointRecordD& r) {
  setRecordOf(*this, index, r);
}
bool RealPArray::record(int32_t index, QorPointRecordF* r) {
  return recordOf(*this, index, r);
}
bool RealPArray::record(int32_t index, QorPointRecordD* r) {
  return recordOf(*this, index, r);
}
bool RealPArray::greyRecord(int32_t index, QorPointRecordF* r) {
  return greyRecordOf(*this, index, r);
}
bool RealPArray::greyRecord(int32_t index, QorPointRecordD* r) {
  return greyRecordOf(*this, index, r);
}
QorColor RealPArray::pointColor(int32_t index) {
  float c[3] = {0, 0, 0};
  color(index, c);
  return QorColor(c[0], c[1], c[2], 1.0f);
}
bool RealPArray::toGrey() {
  if (!hasExtra()) return false;
  const int32_t n = size();
  for (int32_t i = 1; i <= n; ++i) {
    double c[3];
    if (!extra_->color(i, c)) continue;
    const double g = grey(c[0], c[1], c[2]);
    const double out[3] = {g, g, g};
    extra_->setColor(i, out);
  }
  return true;
}
void RealPArray::scaleColors(double factor) {
  if (!hasExtra()) return;
  const int32_t n = size();
  for (int32_t i = 1; i <= n; ++i) {
    double c[3];
    if (!extra_->color(i, c)) continue;
    for (double& v : c) v *= factor;
    extra_->setColor(i, c);
  }
}
void RealPArray::materialise() {
  if (extra_) extra_->materialise();
}
void RealPArray::trimExtra() {
  if (extra_) extra_->trim();
}
bool RealPArray::extraValid() {
  return !extra_ || extra_->isValid();
}

// ---- whole-array operations ----

void RealPArray::bounds(QorVector* min, QorVector* max) {
  const int32_t n = size();
  if (n == 0) {
    *min = *max = QorVector::zero();
    return;
  }
  QorVector lo(kBig, kBig, kBig), hi(-kBig, -kBig, -kBig);
  for (int32_t i = 1; i <= n; ++i) {
    double p[3];
    get(i, p);
    for (int k = 0; k < 3; ++k) {
      if (p[k] < lo[k]) lo[k] = p[k];
      if (p[k] > hi[k]) hi[k] = p[k];
    }
  }
  *min = lo, *max = hi;
}

void RealPArray::bounds(QorVector* min, QorVector* max, const BitVector& mask) {
  const int32_t n = size();
  if (n == 0) {
    *min = *max = QorVector::zero();
    return;
  }
  QorVector lo(kBig, kBig, kBig), hi(-kBig, -kBig, -kBig);
  for (int32_t i = mask.nextSet(0); i >= 1 && i <= n; i = mask.nextSet(i)) {
    double p[3];
    get(i, p);
    for (int k = 0; k < 3; ++k) {
      if (p[k] < lo[k]) lo[k] = p[k];
      if (p[k] > hi[k]) hi[k] = p[k];
    }
  }
  *min = lo, *max = hi;
}

double RealPArray::maxMagnitude() {
  double m = 1e-16;
  const int32_t n = size();
  for (int32_t i = 1; i <= n; ++i) {
    double p[3];
    get(i, p);
    for (double v : p) m = std::max(m, std::fabs(v));
  }
  return m;
}

void RealPArray::transform(const QorMatrix& m) {
  if (m.isIdentity()) return;
  const int32_t n = size();
  const bool translateOnly = m.isRotationIdentity();
  const bool divide = !m.isAffine();
  for (int32_t i = 1; i <= n; ++i) {
    QorVector v;
    get(i, &v);
    if (translateOnly) {
      v.translate(m.at(0, 3), m.at(1, 3), m.at(2, 3));
    } else {
      double out[3];
      applyMatrix(m, v.data(), out, divide);
      v = QorVector(out);
    }
    set(i, v);
  }
}

bool RealPArray::equals(RealPArray& other) {
  const int32_t n = size();
  if (other.size() != n || hasExtra() != other.hasExtra()) return false;
  if (hasExtra() && !extra_->equals(other.extra_, n)) return false;
  for (int32_t i = 1; i <= n; ++i) {
    double a[3], b[3];
    get(i, a);
    other.get(i, b);
    if (!(a[0] == b[0] && a[1] == b[1] && a[2] == b[2])) return false;
  }
  return true;
}

void RealPArray::assign(RealPArray& other) {
  if (&other == this) return;
  listener_ = nullptr, listenerContext_ = nullptr;
  scale_ = other.scale_;
  clear();
  const int32_t n = other.size();
  reserve(n);
  for (int32_t i = 1; i <= n; ++i) push(other.point(i));
  if (extra_ && other.extra_)
    extra_->assign(other.extra_);
  else if (other.extra_)
    setExtra(other.extra_->clone());
  else
    setExtra(nullptr);
}

bool RealPArray::sortIndices(int* idx, int32_t n) {
  qor::pointQuickSort(idx, 1, n, [this](int a, int b) {
    double p[3], q[3];
    get(a, p);
    get(b, q);
    return qor::comparePoints(p, q);
  });
  return false;
}

void RealPArray::sort(bool unique, QorMM::Array<int>* indices, BitVector* kept) {
  const int32_t n = size();
  std::vector<int> idx(static_cast<size_t>(n) + 2);
  for (int32_t i = 1; i <= n; ++i) idx[i] = i;
  const bool placed = n > 1 && sortIndices(idx.data(), n);
  QorMM::Array<int> own(0);
  QorMM::Array<int>& table = indices ? *indices : own;
  table.resize(0);
  table.resize(n + 2);
  for (int32_t i = 1; i <= n; ++i) table.ref(i) = idx[i];
  if (!placed) permute(table);
  if (extra_) extra_->permute(table, 1, n);
  if (kept) kept->clearAll();
  if (!unique) {
    if (kept)
      for (int32_t i = 1; i <= n; ++i) kept->set(i);
    return;
  }
  if (kept && n >= 1) kept->set(1);
  int32_t last = n == 0 ? 0 : 1;
  double prev[3] = {0, 0, 0};
  if (n >= 1) get(1, prev);
  for (int32_t i = 2; i <= n; ++i) {
    double p[3];
    get(i, p);
    if (qor::comparePoints(p, prev) == 0) continue;
    ++last;
    if (last != i) {
      set(last, p);
      if (extra_) extra_->move(last, i);
    }
    prev[0] = p[0], prev[1] = p[1], prev[2] = p[2];
    if (kept) kept->set(i);
  }
  setSize(last);
  if (extra_) extra_->setSize(last);
}

void RealPArray::compact(const BitVector& keep) {
  const int32_t n = size();
  int32_t next = 1;
  for (int32_t i = keep.nextSet(0); i >= 1 && i <= n; i = keep.nextSet(i), ++next) {
    if (i == next) continue;
    double p[3];
    get(i, p);
    set(next, p);
    if (extra_) extra_->move(next, i);
  }
  setSize(next - 1);
  if (extra_) extra_->setSize(next - 1);
}

RealPArray* RealPArray::createFor(BinInput& in) {
  void* service = nullptr;
  getService("IRealPArrayFactory", &service);
  auto* factory = static_cast<IRealPArrayFactory*>(service);
  if (!factory) return nullptr;
  return factory->create(static_cast<uint32_t>(in.peekInt()), 1024);
}
