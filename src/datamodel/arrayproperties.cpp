#include "datamodel/arrayproperties.h"

#include "core/translate.h"
#include "persistence/qorfile.h"

namespace qor {
template <>
bool writeElement(IQorDataModelWriter* w, const QorColor& c) {
  bool ok = w->write(c.red);
  ok = w->write(c.green) && ok;
  ok = w->write(c.blue) && ok;
  return w->write(c.alpha) && ok;
}
template <>
bool readElement(IQorDataModelReader* r, QorColor& c) {
  bool ok = r->read(c.red);
  ok = r->read(c.green) && ok;
  ok = r->read(c.blue) && ok;
  return r->read(c.alpha) && ok;
}
}  // namespace qor

QorID DoubleArrayProperty::classIdentifier() {
  return QorID(0xc452b508, 0xdf90, 0x454d, {0x91, 0x50, 0x73, 0xb8, 0x3e, 0x58, 0x75, 0xf1});
}
QorID IntArrayProperty::classIdentifier() {
  return QorID(0xa5a2f718, 0x2cac, 0x4edf, {0x85, 0x39, 0x41, 0x62, 0xba, 0xc4, 0x5e, 0x9a});
}
QorID ByteArrayProperty::classIdentifier() {
  return QorID(0x02bf0bf9, 0x293a, 0x49be, {0xaa, 0x47, 0xfc, 0x3e, 0x29, 0x55, 0x5d, 0xe1});
}
QorID StringArrayProperty::classIdentifier() {
  return QorID(0x63917132, 0xea1e, 0x456f, {0x89, 0x88, 0xce, 0xea, 0x96, 0xdb, 0xf8, 0xe4});
}
QorID ColorArrayProperty::classIdentifier() {
  return QorID(0x7d80de14, 0xbcb9, 0x4a40, {0xb2, 0x6b, 0x57, 0x1b, 0x9e, 0x2d, 0xa5, 0xa4});
}
QorID Vector2DArrayProperty::classIdentifier() {
  return QorID(0xefac4ae5, 0x11bf, 0x459e, {0x91, 0xe2, 0x75, 0x1f, 0x97, 0xfc, 0x74, 0xf6});
}
QorID Vector2FArrayProperty::classIdentifier() {
  return QorID(0x71f58aca, 0xa311, 0x4968, {0x8c, 0xe4, 0xd8, 0x7d, 0x6e, 0x4d, 0x25, 0xe2});
}
QorID Vector3DArrayProperty::classIdentifier() {
  return QorID(0xe0797a59, 0xe841, 0x4fec, {0xbe, 0xb0, 0x53, 0x65, 0x61, 0x2c, 0x7d, 0x93});
}
QorID Array3DProperty::classIdentifier() {
  return QorID(0xf951cc30, 0xd0be, 0x4061, {0xb5, 0x24, 0xd6, 0xf5, 0x78, 0x8e, 0x35, 0x31});
}
QorID Transform3DArrayProperty::classIdentifier() {
  return QorID(0xd572d89d, 0x7ea5, 0x4ab0, {0x83, 0x65, 0x1a, 0x9e, 0x0a, 0x31, 0x43, 0xe4});
}
QorID DoubleArray2DProperty::classIdentifier() {
  return QorID(0x4dc2ce87, 0x8432, 0x469f, {0x94, 0xf9, 0xc4, 0x62, 0x0a, 0xb1, 0x65, 0xc7});
}
QorID Vector3DArray2DProperty::classIdentifier() {
  return QorID(0x7aa5c883, 0x0fcf, 0x43e9, {0xbd, 0x49, 0xe0, 0x00, 0x7f, 0x40, 0xf8, 0xed});
}
QorID ImageArrayProperty::classIdentifier() {
  return QorID(0x159242ad, 0x004d, 0x4a57, {0x85, 0x44, 0x61, 0x0d, 0xcc, 0xa0, 0x28, 0x0b});
}
QorID DirIndexProperty::classIdentifier() {
  return QorID(0x6b3c68a9, 0x804c, 0x4631, {0xb4, 0xe4, 0xc2, 0x9c, 0x75, 0xc9, 0x8e, 0x2c});
}

int64_t StringArrayProperty::contentBytes(StringArray* array) {
  int64_t bytes = 0;
  const IterStack<QorString>& items = array->items();
  for (int32_t i = 1; i <= items.count(); ++i)
    bytes += static_cast<int64_t>(sizeof(QorString)) + int64_t{2} * items.get(i).length();
  return bytes;
}

void Vector3DArrayProperty::writeElements(IQorDataModelWriter* w, Vector3DArray* array,
                                          int32_t count) {
  const IterStack<QorVector>& items = array->items();
  if (items.count() != count) {  // a view whose points live elsewhere
    writeThroughAt(w, array, count);
    return;
  }
  // The file writer formats the chunks in blocks; the points lie in slots 1 to count.
  if (auto* file = qorQuery<QorFileWrite>(w, "QorFileWrite"); file && count > 0) {
    file->writeVectorChunks(&items.get(1), count);
    return;
  }
  for (int32_t i = 1; i <= count; ++i) w->write(items.get(i));
}

int64_t ImageArrayProperty::contentBytes(ImageArray* array) {
  int64_t bytes = 0;
  for (int32_t i = 0; i < array->size(); ++i)
    if (QorImage* image = array->at(i)) bytes += image->byteSize();
  return bytes;
}

void ImageArrayProperty::writeElements(IQorDataModelWriter* w, ImageArray* array, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    QorImage* image = array->at(i);
    QorImage empty;
    QorBinaryIO<QorImage> io(image ? image : &empty);
    w->write(&io);
  }
}

void ImageArrayProperty::readValue(IQorDataModelReader* reader, int32_t version) {
  if (version < 1) return;
  int32_t count = 0;
  if (!reader->read(count)) return;
  if (count < 0) {
    setValue(nullptr);
    return;
  }
  IPtr<ImageArray> array(new ImageArray(storedCountRoom(count)));
  setValue(array.get());
  for (int32_t i = 0; i < count && !reader->atEnd(); ++i) {
    IPtr<QorImage> image(new QorImage());
    QorBinaryIO<QorImage> io(image.get());
    if (!reader->read(&io)) break;
    array->append(image.get());
  }
}

void DirIndexProperty::printValue(const QorString&, QorString& out) {
  const DirIndex* d = value_.get();
  tr(out, "(%1, %2)", QorString(d ? d->index() : -1), QorString(d ? d->version() : 0));
}

void DirIndexProperty::writeValue(IQorDataModelWriter* writer) {
  writer->write(value_ ? value_->rawValue() : int32_t{0});
}

void DirIndexProperty::readValue(IQorDataModelReader* reader, int32_t) {
  int32_t raw = 0;
  if (!reader->read(raw)) return;
  if (!value_) value_ = new DirIndex();
  value_->setRawValue(raw);
}
