#include "datamodel/ortriproperties.h"

#include "core/translate.h"

QorID OrientedTriangleProperty::classIdentifier() {
  return QorID(0x074bc6fa, 0xab3b, 0x472d, {0xbf, 0x25, 0x63, 0x4d, 0xc2, 0x5e, 0xb1, 0x72});
}

void OrientedTriangleProperty::printValue(const QorString&, QorString& out) {
  const OrientedTriangle* t = value_.get();
  tr(out, "(%1, %2)", QorString(t ? t->index() : -1), QorString(t ? t->version() : 0));
}

void OrientedTriangleProperty::writeValue(IQorDataModelWriter* writer) {
  writer->write(static_cast<int32_t>(value_ ? value_->rawValue() : 0));
}

void OrientedTriangleProperty::readValue(IQorDataModelReader* reader, int32_t) {
  int32_t raw = 0;
  if (!reader->read(raw)) return;
  if (!value_) value_ = new OrientedTriangle();
  value_->setRawValue(static_cast<uint32_t>(raw));
}

QorID OrientedTriangleStackProperty::classIdentifier() {
  return QorID(0x9521a7f5, 0x8d91, 0x44bd, {0x9a, 0x34, 0xdb, 0xa6, 0x7a, 0xbd, 0xbd, 0x69});
}

void OrientedTriangleStackProperty::printValue(const QorString&, QorString& out) {
  tr(out, "(%1)", QorString(value_ ? value_->count() : 0));
}

void OrientedTriangleStackProperty::writeValue(IQorDataModelWriter* writer) {
  if (!value_) {
    writer->write(int32_t{0});
    return;
  }
  const ClassifiedEdgeStack& stack = value_->stack();
  writer->write(stack.count());
  for (int32_t i = 1; i <= stack.count(); ++i) writer->write(static_cast<int32_t>(stack.get(i)));
}

void OrientedTriangleStackProperty::readValue(IQorDataModelReader* reader, int32_t) {
  int32_t count = 0;
  if (!reader->read(count)) return;
  if (!value_) value_ = new OrientedTriangleStack(6);
  ClassifiedEdgeStack& stack = value_->stack();
  stack.setCount(0);
  for (int32_t i = 0; i < count && reader->good(); ++i) {
    int32_t raw = 0;
    if (reader->read(raw)) stack.push(static_cast<OrTri>(raw));
  }
}

QorID OrientedTriangleStackListProperty::classIdentifier() {
  return QorID(0x99ec161a, 0xe9e7, 0x45d2, {0xb3, 0x68, 0x67, 0x72, 0x18, 0xad, 0x47, 0xb5});
}

OrientedTriangleStackList* OrientedTriangleStackListProperty::copyOf(
    OrientedTriangleStackList* list) {
  auto* copy = new OrientedTriangleStackList();
  for (int32_t i = 0; i < list->size(); ++i) {
    OrientedTriangleStack* s = list->at(i);
    copy->append(s ? new OrientedTriangleStack(*s) : nullptr);
  }
  return copy;
}

int64_t OrientedTriangleStackListProperty::contentBytes(OrientedTriangleStackList* list) {
  int64_t bytes = 0;
  for (int32_t i = 0; i < list->size(); ++i)
    if (OrientedTriangleStack* s = list->at(i)) bytes += int64_t{80} * s->count();
  return bytes;
}

void OrientedTriangleStackListProperty::writeValue(IQorDataModelWriter* writer) {
  const int32_t count = value_ ? value_->size() : 0;
  writer->write(count);
  for (int32_t i = 0; i < count; ++i) {
    OrientedTriangleStack* s = value_->at(i);
    ClassifiedEdgeStack empty;
    QorBinaryIO<ClassifiedEdgeStack> io(s ? &s->stack() : &empty);
    writer->write(&io);
  }
}

void OrientedTriangleStackListProperty::readValue(IQorDataModelReader* reader, int32_t) {
  int32_t count = 0;
  if (!reader->read(count)) return;
  if (!value_)
    value_ = new OrientedTriangleStackList();
  else
    value_->reset();
  // A stack's stream form goes past the reader, which then cannot tell a short file: the
  // end of the chunk stops the loop.
  for (int32_t i = 0; i < count && !reader->atEnd(); ++i) {
    IPtr<OrientedTriangleStack> stack(new OrientedTriangleStack(6));
    QorBinaryIO<ClassifiedEdgeStack> io(&stack->stack());
    reader->read(&io);
    value_->append(stack.get());
  }
}
