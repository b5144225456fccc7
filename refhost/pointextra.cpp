#include "refhost/pointextra.h"

#include "bulk/qorvectorarray.h"

namespace refhost {

void RefPointExtraInfo::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefPointExtraInfo") || qorNameIs(name, "IQorPointExtraInfo"))
    *out = static_cast<IQorPointExtraInfo*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

IQorPointExtraInfo* RefPointExtraInfo::clone() {
  auto* c = new RefPointExtraInfo;
  c->rgb_ = rgb_;
  return c;
}

bool RefPointExtraInfo::allocate(int32_t size) {
  rgb_.assign(size_t(size < 0 ? 0 : size) * 3 + 3, 0.0f);
  return true;
}

bool RefPointExtraInfo::setColor(int32_t index, const double* c) {
  const float f[3] = {float(c[0]), float(c[1]), float(c[2])};
  return setColor(index, f);
}

bool RefPointExtraInfo::setColor(int32_t index, const float* c) {
  if (index < 0) return false;
  if (!inside(index)) rgb_.resize(size_t(index) * 3 + 3, 0.0f);
  for (int k = 0; k < 3; ++k) rgb_[size_t(index) * 3 + k] = c[k];
  return true;
}

bool RefPointExtraInfo::color(int32_t index, double* c) {
  float f[3];
  if (!color(index, f)) return false;
  for (int k = 0; k < 3; ++k) c[k] = f[k];
  return true;
}

bool RefPointExtraInfo::color(int32_t index, float* c) {
  if (!inside(index)) return false;
  for (int k = 0; k < 3; ++k) c[k] = rgb_[size_t(index) * 3 + k];
  return true;
}

bool RefPointExtraInfo::equals(IQorPointExtraInfo* other, int32_t size) {
  for (int32_t i = 1; i <= size; ++i) {
    float a[3] = {0, 0, 0}, b[3] = {0, 0, 0};
    color(i, a);
    other->color(i, b);
    if (a[0] != b[0] || a[1] != b[1] || a[2] != b[2]) return false;
  }
  return true;
}

void RefPointExtraInfo::move(int32_t to, int32_t from) {
  float c[3] = {0, 0, 0};
  color(from, c);
  setColor(to, c);
}

void RefPointExtraInfo::setSize(int32_t size) {
  rgb_.resize(size_t(size < 0 ? 0 : size) * 3 + 3, 0.0f);
}

void RefPointExtraInfo::assign(IQorPointExtraInfo* other) {
  const int32_t n = other->size();
  allocate(n);
  for (int32_t i = 1; i <= n; ++i) other->color(i, &rgb_[size_t(i) * 3]);
}

void RefPointExtraInfo::permute(const QorMM::Array<int>& indices, int32_t first, int32_t last) {
  const std::vector<float> old = rgb_;
  for (int32_t p = first; p <= last; ++p) {
    const int32_t from = indices.get(p);
    if (!inside(p) || from < 0 || size_t(from) * 3 + 3 > old.size()) continue;
    for (int k = 0; k < 3; ++k) rgb_[size_t(p) * 3 + k] = old[size_t(from) * 3 + k];
  }
}

void RefRealPArrayFactory::queryInterface(const char* name, void** out, uintptr_t) {
  if (!out || !name) return;
  *out = nullptr;
  if (qorNameIs(name, "RefRealPArrayFactory") || qorNameIs(name, "IRealPArrayFactory"))
    *out = static_cast<IRealPArrayFactory*>(this);
  else if (qorNameIs(name, "IQorUnknown"))
    *out = static_cast<IQorUnknown*>(this);
}

RealPArray* RefRealPArrayFactory::create(int32_t capacity) {
  return new QorVectorArray(capacity);
}

RealPArray* RefRealPArrayFactory::create(uint32_t word, int32_t capacity) {
  return QorVectorArray::isMagic(word) ? new QorVectorArray(capacity) : nullptr;
}

RefPointExtraInfo& pointExtraInfo() {
  static auto* p = new RefPointExtraInfo;
  return *p;
}

RefRealPArrayFactory& realPArrayFactory() {
  static auto* f = new RefRealPArrayFactory;
  return *f;
}

}  // namespace refhost
