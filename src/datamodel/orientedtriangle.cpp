#include "datamodel/orientedtriangle.h"

#include "core/translate.h"

void OrientedTriangle::set(int32_t index, int32_t version) {
  if (static_cast<uint32_t>(version) >= 6)
    qor::classError("OrientedTriangle", "version must have a value >= 0 and <= 5");
  const int32_t n = index + 1 < 1 ? 0 : index + 1;
  value_ = static_cast<uint32_t>(n) * 8u + static_cast<uint32_t>(version);
}

void OrientedTriangle::setRawValue(uint32_t raw) {
  const uint32_t v = raw & 7u;
  value_ = (raw & ~7u) | (v < 5u ? v : 5u);
}

namespace {
uint32_t numberOf(const OrientedTriangle* t) {
  return t ? t->rawValue() : 0u;
}
}  // namespace

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
  stack_->push(numberOf(t));
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
  const int32_t n = size();
  stack_->setCount(n + 1);
  OrTri* items = stack_->items();
  for (int32_t i = n; i > index; --i) items[i + 1] = items[i];
  items[index + 1] = numberOf(t);
}

void OrientedTriangleStack::removeAt(int32_t index) {
  checkReadOnly();
  checkFixedSize();
  checkIndex(index, 0, size() - 1);
  stack_->removeAt(index + 1);
}

int32_t OrientedTriangleStack::indexOf(const OrientedTriangle* t) const {
  const uint32_t v = numberOf(t);
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
  if (index < 0 || index >= size()) return false;
  stack_->items()[index + 1] = numberOf(t);
  return true;
}

OrientedTriangleStackList::~OrientedTriangleStackList() {
  readOnly_ = fixedSize_ = false;
  clear();
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

void OrientedTriangleStackList::pop() {
  checkReadOnly();
  checkFixedSize();
  checkIndex(1, 1, size());
  if (OrientedTriangleStack* s = entries_.pop()) s->release();
}

void OrientedTriangleStackList::insertAt(int32_t index, OrientedTriangleStack* s) {
  checkReadOnly();
  checkFixedSize();
  checkIndex(index, 0, size());
  const int32_t n = size();
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
