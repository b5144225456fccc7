#include "datamodel/orientedtriangle.h"

#include "core/listing.h"
#include "core/translate.h"

void OrientedTriangle::set(int32_t index, int32_t version) {
  if (static_cast<uint32_t>(version) >= 6)
    qor::classError("OrientedTriangle", "version must have a value >= 0 and <= 5");
  const int64_t n = int64_t{index} + 1;  // 32 bits hold the number: a large index wraps
  value_ = static_cast<uint32_t>(n < 1 ? 0 : n) * 8u + static_cast<uint32_t>(version);
}

void OrientedTriangle::setRawValue(uint32_t raw) {
  const uint32_t v = raw & 7u;
  value_ = (raw & ~7u) | (v < 5u ? v : 5u);
}

namespace {

// The number of an argument; a null one raises after the collection's checks.
uint32_t numberOf(const OrientedTriangle* t) {
  if (!t) qor::classError("OrientedTriangleStack", "An oriented triangle is required, not null");
  return t->rawValue();
}

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

}  // namespace

void OrientedTriangle::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorOrientedTriangle>(this, "OrientedTriangle", "IQorOrientedTriangle", name, out,
                               reserved);
}

void OrientedTriangleIter::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<Primitive>(this, "OrientedTriangleIter", nullptr, name, out, reserved);
}

OrientedTriangle* OrientedTriangleIter::current() const {
  if (position_ < 1 || position_ > stack_->count()) return new OrientedTriangle();
  return new OrientedTriangle(stack_->get(position_));
}

void OrientedTriangleStack::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorOrientedTriangleStack>(this, "OrientedTriangleStack", "IQorOrientedTriangleStack",
                                    name, out, reserved);
}

void OrientedTriangleStackIter::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorOrientedTriangleStackIter>(this, "OrientedTriangleStackIter",
                                        "IQorOrientedTriangleStackIter", name, out, reserved);
}

void OrientedTriangleStackList::queryInterface(const char* name, void** out, uintptr_t reserved) {
  answer<IQorOrientedTriangleStackList>(this, "OrientedTriangleStackList",
                                        "IQorOrientedTriangleStackList", name, out, reserved);
}

OrientedTriangle* OrientedTriangleStack::at(int32_t index) {
  return static_cast<const OrientedTriangleStack*>(this)->at(index);
}

OrientedTriangle* OrientedTriangleStack::at(int32_t index) const {
  checkIndex(index, 0, size() - 1);
  return new OrientedTriangle(stack_->items()[index + 1]);
}

void OrientedTriangleStack::set(int32_t index, const OrientedTriangle* t) {
  checkReadOnly();
  checkIndex(index, 0, size() - 1);
  stack_->items()[index + 1] = numberOf(t);
}

int32_t OrientedTriangleStack::append(const OrientedTriangle* t) {
  checkReadOnly();
  checkFixedSize();
  const uint32_t v = numberOf(t);
  stack_->push(v);
  return size() - 1;
}

OrientedTriangle* OrientedTriangleStack::pop() {
  checkReadOnly();
  checkFixedSize();
  checkIndex(1, 1, size());
  return new OrientedTriangle(stack_->pop());
}

void OrientedTriangleStack::insertAt(int32_t index, const OrientedTriangle* t) {
  checkReadOnly();
  checkFixedSize();
  checkIndex(index, 0, size());
  const uint32_t v = numberOf(t);
  const int32_t n = size();
  stack_->at(n + 1);  // grows when needed
  stack_->setCount(n + 1);
  OrTri* items = stack_->items();
  for (int32_t i = n; i > index; --i) items[i + 1] = items[i];
  items[index + 1] = v;
}

void OrientedTriangleStack::removeAt(int32_t index) {
  checkReadOnly();
  checkFixedSize();
  checkIndex(index, 0, size() - 1);
  stack_->removeAt(index + 1);
}

int32_t OrientedTriangleStack::indexOf(const OrientedTriangle* t) const {
  if (!t) return -1;
  const uint32_t v = t->rawValue();
  for (int32_t i = size(); i >= 1; --i)
    if (stack_->items()[i] == v) return i - 1;
  return -1;
}

void OrientedTriangleStack::clear() {
  checkReadOnly();
  checkFixedSize();
  while (stack_->count() > 0) stack_->pop();
}

OrientedTriangle* OrientedTriangleStack::getOrInvalid(int32_t index) const {
  if (index < 0 || index >= size()) return new OrientedTriangle();
  return new OrientedTriangle(stack_->items()[index + 1]);
}

bool OrientedTriangleStack::setIfValid(int32_t index, const OrientedTriangle* t) {
  if (!t || index < 0 || index >= size()) return false;
  stack_->items()[index + 1] = t->rawValue();
  return true;
}

OrientedTriangleStackList::~OrientedTriangleStackList() {
  readOnly_ = fixedSize_ = false;
  clear();
}

OrientedTriangleStack* OrientedTriangleStackList::at(int32_t index) {
  return static_cast<const OrientedTriangleStackList*>(this)->at(index);
}

OrientedTriangleStack* OrientedTriangleStackList::at(int32_t index) const {
  checkIndex(index, 0, size() - 1);
  return entries_.get(index + 1);
}

void OrientedTriangleStackList::set(int32_t index, OrientedTriangleStack* s) {
  checkReadOnly();
  checkIndex(index, 0, size() - 1);
  OrientedTriangleStack*& slot = entries_.at(index + 1);
  if (s) s->addRef();
  if (slot) slot->release();
  slot = s;
}

void OrientedTriangleStackList::append(OrientedTriangleStack* s) {
  checkReadOnly();
  checkFixedSize();
  if (s) s->addRef();
  entries_.push(s);
}

OrientedTriangleStack* OrientedTriangleStackList::pop() {
  checkReadOnly();
  checkFixedSize();
  checkIndex(1, 1, size());
  OrientedTriangleStack* s = entries_.pop();
  if (s && s->release()) return nullptr;  // nobody else held it
  return s;
}

void OrientedTriangleStackList::insertAt(int32_t index, OrientedTriangleStack* s) {
  checkReadOnly();
  checkFixedSize();
  checkIndex(index, 0, size());
  const int32_t n = size();
  entries_.at(n + 1);  // grows when needed
  entries_.setCount(n + 1);
  OrientedTriangleStack** items = entries_.items();
  for (int32_t i = n; i > index; --i) items[i + 1] = items[i];
  if (s) s->addRef();
  items[index + 1] = s;
}

void OrientedTriangleStackList::removeAt(int32_t index) {
  checkReadOnly();
  checkFixedSize();
  checkIndex(index, 0, size() - 1);
  if (OrientedTriangleStack* s = entries_.get(index + 1)) s->release();
  entries_.removeAt(index + 1);
}

int32_t OrientedTriangleStackList::indexOf(const OrientedTriangleStack* s) const {
  for (int32_t i = size(); i >= 1; --i)
    if (entries_.get(i) == s) return i - 1;
  return -1;
}

void OrientedTriangleStackList::clear() {
  checkReadOnly();
  checkFixedSize();
  while (entries_.count() > 0)
    if (OrientedTriangleStack* s = entries_.pop()) s->release();
}
