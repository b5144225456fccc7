// QorColorProperty: a colour of four float channels; typeName "qorapi.datamodel.QorColor". Every
// setValue fires, also with the value it already holds. Stored as one packed colour word,
// so a stored colour keeps 8 bits per channel.
#pragma once
#include <cstdint>

#include "datamodel/valueproperty.h"
#include "math/qorcolor.h"

// The typed interface of a QorColorProperty, in slot order.
class IQorColorProperty : public virtual IQorUnknown {
 public:
  // Stores name, value and read-only flag without firing.
  virtual void initialize(const QorString& name, const QorColor& value, bool readOnly) = 0;
  // The value, into `out`.
  virtual void getValue(QorColor& out) = 0;
  // Stores, and fires.
  virtual void setValue(const QorColor& value) = 0;
};

class QorColorProperty : public ValueProperty<QorColorProperty, IQorColorProperty, QorColor> {
 public:
  using ValueProperty::ValueProperty;

  static constexpr const char* kClassName = "QorColorProperty";
  static constexpr const char* kInterfaceName = "IQorColorProperty";
  static constexpr const char* kTypeName = "qorapi.datamodel.QorColor";
  static constexpr bool kFiresOnSameValue = true;
  static constexpr bool kStored = true;
  // The empty value: the value class's default.
  static QorColor emptyValue() { return QorColor(); }
  // 9faedea4-6f30-4b1b-be1d-af1513c7eb1a.
  static QorID classIdentifier() {
    return QorID(0x9faedea4, 0x6f30, 0x4b1b, {0xbe, 0x1d, 0xaf, 0x15, 0x13, 0xc7, 0xeb, 0x1a});
  }
  // The value inside the object chunk.
  static bool writeValue(IQorDataModelWriter* w, const QorColor& v) {
    return w->write(v.packedWord());
  }
  static bool readValue(IQorDataModelReader* r, QorColor& v) {
    uint32_t word = 0;
    bool ok = r->read(word);
    v = QorColor::fromPackedWord(word);
    return ok;
  }

  void getValue(QorColor& out) override { out = value_; }
  // an empty text.
  void printValue(const QorString&, QorString& out) override { out = QorString(); }
};
