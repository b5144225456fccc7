#include "datamodel/arrays.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "bulk/qorimage.h"
#include "bulk/realparray.h"
#include "core/listing.h"
#include "core/translate.h"
#include "hostapi/irealparrayfactory.h"
#include "persistence/binio.h"

namespace {

// Answers `cls` and `iface` (when given) itself, then the names of Primitive.
template <class Iface, class Self>
void answer(Self* self, const char* cls, const char* iface, const char* name, void** out,
            uintptr_t reserved) {
  if (!out) return;
  if (!name) {
    walkEnterClass(cls, out);
    if (iface) walkAddInterface(iface, out);
    self->Primitive::queryInterface(nullptr, out, reserved);
    return;
  }
  *out = nullptr;
  if (qorNameIs(name, cls))
    *out = self;
  else if (iface && qorNameIs(name, iface))
    *out = static_cast<Iface*>(self);
  else
    self->Primitive::queryInterface(name, out, reserved);
}

[[noreturn]] void reserveOverflow(const char* label, int32_t n) {
  char text[128];
  std::snprintf(text, sizeof text,
                "Cannot reserve room for %d entries: the slot count would overflow a 32-bit int",
                n);
  qor::classError(label, QorString(text));
}

}  // namespace

// ---- iterators ----

template <class T>
void StackIter<T>::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<Primitive>(this, name_, nullptr, name, out, reserved);
}

template <class S>
void IntIterBase<S>::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorIntIter>(this, name_, "IntIter", name, out, reserved);
}

Vector3DIter::Vector3DIter(IRealPArray* points)
    : StackIter<QorVector>(nullptr, "Vector3DIter"), points_(points) {
  if (points_) points_->addRef();
}

Vector3DIter::~Vector3DIter() {
  if (points_) points_->release();
}

int32_t Vector3DIter::size() const {
  return points_ ? points_->size() : StackIter<QorVector>::size();
}

QorVector Vector3DIter::current() const {
  if (!points_) return StackIter<QorVector>::current();
  QorVector v;
  if (position_ >= 1 && position_ <= points_->size()) points_->get(position_, &v);
  return v;
}

void ImageIter::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<Primitive>(this, "ImageIter", nullptr, name, out, reserved);
}

StringIter::StringIter(const IterStack<QorString>& stack) : strings_(stack), size_(stack.count()) {}

void StringIter::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorStringIter>(this, "StringIter", "IQorStringIter", name, out, reserved);
}

QorString& StringIter::current(QorString& out) {
  return out = position_ >= 1 && position_ <= size_ ? strings_.get(position_) : QorString();
}

QorString& StringIter::at(QorString& out, int32_t index) {
  return out = index >= 0 && index < size_ ? strings_.get(index + 1) : QorString();
}

// ---- the shared work of the stack arrays ----

template <class T>
const T& StackArrayBase<T>::doAt(int32_t index) const {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkIndex(slot, 1, stack_->count());
  return stack_->get(slot);
}

template <class T>
void StackArrayBase<T>::doSet(int32_t index, const T& value) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkIndex(slot, 1, stack_->count());
  stack_->items()[slot] = value;
}

template <class T>
void StackArrayBase<T>::doAppend(const T& value) {
  checkReadOnly();
  checkFixedSize();
  stack_->push(value);
}

template <class T>
T StackArrayBase<T>::doPop() {
  checkReadOnly();
  checkFixedSize();
  checkIndex(1, 1, stack_->count());
  return stack_->pop();
}

template <class T>
void StackArrayBase<T>::doInsertAt(int32_t index, const T& value) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkFixedSize();
  const int32_t n = stack_->count();
  checkIndex(slot, 1, n + 1);
  if (slot == n + 1) {
    stack_->push(value);
    return;
  }
  T copy(value);  // the value may live in this stack
  stack_->push(stack_->get(n));
  T* items = stack_->items();
  if constexpr (qor::kPlainElement<T>)
    std::memmove(static_cast<void*>(items + slot + 1), items + slot,
                 sizeof(T) * static_cast<size_t>(n - slot));
  else
    for (int32_t k = n; k > slot; --k) items[k] = std::move(items[k - 1]);
  items[slot] = std::move(copy);
}

template <class T>
void StackArrayBase<T>::doRemoveAt(int32_t index) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkFixedSize();
  checkIndex(slot, 1, stack_->count());
  stack_->removeAt(slot);
}

template <class T>
int32_t StackArrayBase<T>::doIndexOf(const T& value) const {
  const T* items = stack_->items();
  for (int32_t k = stack_->count(); k >= 1; --k)
    if (items[k] == value) return ZeroToOneIndexConverter::toZeroBased(k);
  return -1;
}

template <class T>
void StackArrayBase<T>::doClear() {
  checkReadOnly();
  checkFixedSize();
  stack_->clear();
}

template <class T>
bool StackArrayBase<T>::doReserve(int32_t n, const char* label) {
  if (n <= stack_->capacity()) return true;
  if (n == INT32_MAX) reserveOverflow(label, n);
  try {
    stack_->reserve(n);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return stack_->capacity() > n;
}

template class StackIter<double>;
template class StackIter<uint8_t>;
template class StackIter<QorColor>;
template class StackIter<Vector2D>;
template class StackIter<Vector2F>;
template class StackIter<QorVector>;
template class StackIter<QorMatrix>;
template class IntIterBase<IterStack<int32_t>>;
template class IntIterBase<IterBlockStack<int32_t>>;
template class IntIterBase<IterLargeStack<int32_t>>;
template class StackArrayBase<double>;
template class StackArrayBase<uint8_t>;
template class StackArrayBase<QorString>;
template class StackArrayBase<QorColor>;
template class StackArrayBase<Vector2D>;
template class StackArrayBase<Vector2F>;
template class StackArrayBase<QorVector>;
template class StackArrayBase<QorMatrix>;

// ---- the classes ----

void DoubleArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorDoubleArray>(this, "DoubleArray", "IQorDoubleArray", name, out, reserved);
}

void ByteArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorByteArray>(this, "ByteArray", "IQorByteArray", name, out, reserved);
}

bool ByteArray::read(BinInput& in) {
  clear();
  int32_t count = 0;
  in.read(&count, 1);
  for (int32_t i = 0; i < count; ++i) {
    uint8_t b = 0;
    in.read(&b, 1);
    append(b);
  }
  return true;
}

bool ByteArray::write(BinOutput& out) {
  const int32_t n = size();
  out.write(n);
  for (int32_t i = 0; i < n; ++i) out.write(at(i));
  return true;
}

void StringArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorStringArray>(this, "StringArray", "IQorStringArray", name, out, reserved);
}

void ColorArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorColorArray>(this, "ColorArray", "IQorColorArray", name, out, reserved);
}

void Vector2DArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorVector2DArray>(this, "Vector2DArray", "IQorVector2DArray", name, out, reserved);
}

void Vector2FArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorVector2FArray>(this, "Vector2FArray", "IQorVector2FArray", name, out, reserved);
}

void Vector3DArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorVector3DArray>(this, "Vector3DArray", "IQorVector3DArray", name, out, reserved);
}

namespace {
template <class A>
bool resizeArray(A* array, int32_t n) {
  if (n < 0) {
    char text[96];
    std::snprintf(text, sizeof text, "Cannot resize to %d entries: a count is never negative", n);
    qor::classError(array->className(), QorString(text));
  }
  if (!array->reserve(n)) return false;
  array->items().setCount(n);
  return true;
}
}  // namespace

bool Vector3DArray::resize(int32_t n) {
  return resizeArray(this, n);
}

void Transform3DArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorTransform3DArray>(this, "Transform3DArray", "IQorTransform3DArray", name, out,
                               reserved);
}

bool Transform3DArray::resize(int32_t n) {
  return resizeArray(this, n);
}

// ---- ImageArray ----

ImageArray::ImageArray(int32_t capacity) : images_(capacity > 0 ? capacity : 0) {}

ImageArray::ImageArray(const ImageArray& other)
    : IQorUnknown(), Collection(other), IQorImageArray(), images_(other.images_) {
  // A stack copy copies the slots up to its own capacity; slots past the count must not
  // hold references.
  for (int32_t i = images_.count() + 1; i < images_.capacity(); ++i) images_.items()[i].reset();
}

ImageArray::~ImageArray() = default;

void ImageArray::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorImageArray>(this, "ImageArray", "IQorImageArray", name, out, reserved);
}

QorImage* ImageArray::at(int32_t index) const {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkIndex(slot, 1, images_.count());
  return images_.get(slot).get();
}

QorImage* ImageArray::at(int32_t index) {
  return static_cast<const ImageArray*>(this)->at(index);
}

void ImageArray::set(int32_t index, QorImage* image) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkIndex(slot, 1, images_.count());
  images_.at(slot) = image;
}

void ImageArray::append(QorImage* image) {
  checkReadOnly();
  checkFixedSize();
  images_.push(IPtr<QorImage>(image));
}

QorImage* ImageArray::pop() {
  checkReadOnly();
  checkFixedSize();
  checkIndex(1, 1, images_.count());
  // The slot keeps its reference until it is written again, so the image stays valid.
  QorImage* image = images_.get(images_.count()).get();
  images_.setCount(images_.count() - 1);
  return image;
}

void ImageArray::insertAt(int32_t index, QorImage* image) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkFixedSize();
  checkIndex(slot, 1, images_.count() + 1);
  const int32_t n = images_.count() + 1;
  images_.at(n);  // grows when needed
  images_.setCount(n);
  IPtr<QorImage>* items = images_.items();
  for (int32_t k = n; k > slot; --k) items[k] = std::move(items[k - 1]);
  items[slot] = image;
}

void ImageArray::removeAt(int32_t index) {
  const int32_t slot = ZeroToOneIndexConverter::toOneBased(index);
  checkReadOnly();
  checkFixedSize();
  checkIndex(slot, 1, images_.count());
  const int32_t n = images_.count();
  IPtr<QorImage>* items = images_.items();
  items[slot].reset();
  for (int32_t k = slot; k < n; ++k) items[k] = std::move(items[k + 1]);
  items[n].reset();
  images_.setCount(n - 1);
}

int32_t ImageArray::indexOf(QorImage* image) {
  for (int32_t k = images_.count(); k >= 1; --k)
    if (images_.get(k).get() == image) return ZeroToOneIndexConverter::toZeroBased(k);
  return -1;
}

void ImageArray::clear() {
  checkReadOnly();
  checkFixedSize();
  for (int32_t k = 0; k < images_.capacity(); ++k) images_.items()[k].reset();
  images_.clear();
}

// ---- Array3D ----

namespace {
constexpr const char* kArray3D = "Array3D";

IRealPArray* newPointArray() {
  void* service = nullptr;
  getService("IRealPArrayFactory", &service);
  auto* factory = static_cast<IRealPArrayFactory*>(service);
  if (!factory)
    qor::classError(kArray3D, "The host offers no IRealPArrayFactory to make its point array");
  return factory->create(int32_t{1024});
}
}  // namespace

Array3D::Array3D() : realArray_(newPointArray()) {
  if (realArray_) realArray_->addRef();
}

Array3D::Array3D(IRealPArray* realArray) : realArray_(realArray) {
  if (realArray_) realArray_->addRef();
}

Array3D::Array3D(const Array3D& other)
    : IQorUnknown(),
      Vector3DArray(other),
      IQorArray3D(),
      realArray_(other.realArray_ ? other.realArray_->cloneWithExtra() : nullptr) {
  if (realArray_) realArray_->addRef();
}

Array3D::~Array3D() {
  if (realArray_) realArray_->release();
}

void Array3D::queryInterface(const char* name, void** out, uintptr_t reserved) {
  if (out && name && qorNameIs(name, "IQorArray3D")) {
    *out = static_cast<IQorArray3D*>(this);
    return;
  }
  if (out && name && qorNameIs(name, kArray3D)) {
    *out = this;
    return;
  }
  if (out && !name) {
    walkEnterClass(kArray3D, out);
    walkAddInterface("IQorArray3D", out);
  }
  Vector3DArray::queryInterface(name, out, reserved);
}

int32_t Array3D::size() {
  return realArray_ ? realArray_->size() : 0;
}

QorVector& Array3D::current(QorVector& out) {
  out = QorVector();
  if (realArray_) realArray_->get(cursor_, &out);
  return out;
}

namespace {
void array3DCheck(bool ok, const char* text) {
  if (!ok) qor::classError(kArray3D, text);
}
constexpr const char* kOutOfRange = "Index is out of range.";
constexpr const char* kReadOnly = "Collection is readonly.";
constexpr const char* kFixedSize = "Collection has a fixed size.";
}  // namespace

QorVector& Array3D::at(QorVector& out, int32_t index) {
  array3DCheck(index >= 0 && index < size(), kOutOfRange);
  realArray_->get(index + 1, &out);
  return out;
}

void Array3D::set(int32_t index, const QorVector& value) {
  array3DCheck(!readOnly_, kReadOnly);
  array3DCheck(index >= 0 && index < size(), kOutOfRange);
  realArray_->set(index + 1, value);
}

void Array3D::append(const QorVector& value) {
  array3DCheck(!readOnly_, kReadOnly);
  array3DCheck(!fixedSize_, kFixedSize);
  if (realArray_) realArray_->push(value);
}

namespace {
// The bulk array's pop: through the class when it is one, else by size.
void popPoint(IRealPArray* points) {
  if (auto* r = dynamic_cast<RealPArray*>(points))
    r->pop();
  else
    points->setSize(points->size() - 1);
}
}  // namespace

QorVector& Array3D::pop(QorVector& out) {
  array3DCheck(!readOnly_, kReadOnly);
  array3DCheck(!fixedSize_, kFixedSize);
  const int32_t n = size();
  array3DCheck(n > 0, "Collection is empty.");
  realArray_->get(n, &out);
  popPoint(realArray_);
  return out;
}

void Array3D::insertAt(int32_t index, const QorVector& value) {
  array3DCheck(!readOnly_, kReadOnly);
  array3DCheck(!fixedSize_, kFixedSize);
  array3DCheck(index >= 0 && index < size(), kOutOfRange);
  realArray_->push(value);
}

void Array3D::removeAt(int32_t index) {
  array3DCheck(!readOnly_, kReadOnly);
  array3DCheck(!fixedSize_, kFixedSize);
  array3DCheck(index >= 0 && index < size(), kOutOfRange);
  popPoint(realArray_);
}

int32_t Array3D::indexOf(const QorVector& value) {
  const int32_t n = size();
  if (n < 2) return -1;
  QorVector p;
  for (int32_t k = 1; k < n; ++k) {
    realArray_->get(k, &p);
    if (p == value) return k;
  }
  return -1;
}

void Array3D::clear() {
  array3DCheck(!readOnly_, kReadOnly);
  array3DCheck(!fixedSize_, kFixedSize);
  if (realArray_) realArray_->clear();
}

Vector3DIter* Array3D::newIterator() {
  return realArray_ ? new Vector3DIter(realArray_) : new Vector3DIter(&items());
}

// ---- the 2D shells ----

void DoubleArray2D::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorDoubleArray2D>(this, "DoubleArray2D", "IQorDoubleArray2D", name, out, reserved);
}

void Vector3DArray2D::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorVector3DArray2D>(this, "Vector3DArray2D", "IQorVector3DArray2D", name, out, reserved);
}
