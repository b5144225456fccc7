#include "datamodel/imageproperty.h"

#include "core/locator.h"
#include "persistence/iqorwriteable.h"

void ImageProperty::printValue(const QorString&, QorString& out) {
  out = QorString(value_ ? value_->className() : "None");
}

IQorWriteable* ImageProperty::storedView() {
  return value_ ? qorQuery<IQorWriteable>(static_cast<IQorUnknown*>(value_.get()), "IQorWriteable")
                : nullptr;
}

bool ImageProperty::isWriteable() {
  IQorWriteable* w = Property::isWriteable() ? storedView() : nullptr;
  return w && w->isWriteable();
}

bool ImageProperty::write(IQorDataModelWriter* writer) {
  IQorWriteable* w = storedView();
  return w ? w->write(writer) : true;
}

bool ImageProperty::read(IQorDataModelReader* reader) {
  QorID id = reader->peekObjectId();
  value_.reset();
  void* out = nullptr;
  createInstance(&id, QorCString(kBorrow, "QorImage"), &out);
  IPtr<QorImage> made(static_cast<QorImage*>(out));
  if (!made) return true;
  value_ = made;
  IQorWriteable* w = storedView();
  return w ? w->read(reader) : true;
}
