// ImageProperty: a property whose value is an image, held through a counted reference;
// typeName "qorapi.datamodel.Image". It has no class identifier and is stored only when its
// image stores itself, which a QorImage never does: images persist through an
// ImageArrayProperty. A copy holds a new copy of the image; it prints the image's class
// name, or "None".
#pragma once
#include <cstdint>

#include "bulk/qorimage.h"
#include "datamodel/arrayproperty.h"

class IQorImageProperty : public IQorHeldValueProperty<QorImage> {};

class ImageProperty : public HeldProperty<ImageProperty, QorImage, IQorImageProperty> {
 public:
  using HeldProperty::HeldProperty;
  static constexpr const char* kClassName = "ImageProperty";
  static constexpr const char* kInterfaceName = "IQorImageProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.Image";
  static constexpr int32_t kVersion = 0;
  static QorImage* copyOf(QorImage* image) { return new QorImage(*image); }
  // No class identifier: classId raises "Serialization not supported for ImageProperty".

  // The image's class name, or "None".
  void printValue(const QorString& name, QorString& out) override;
  // Only with a value that stores itself and says it would.
  bool isWriteable() override;
  // The image's own object chunk, through its IQorWriteable; nothing without one.
  bool write(IQorDataModelWriter* writer) override;
  // Drops the image and makes the class the chunk names as an image; if that worked, the
  // image reads its own chunk. A class that cannot be made leaves no image.
  bool read(IQorDataModelReader* reader) override;

 private:
  // The value's IQorWriteable view, or null.
  IQorWriteable* storedView();
};
